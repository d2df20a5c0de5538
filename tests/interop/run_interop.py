#!/usr/bin/python3
# Sends mails of every shape through the library to servers that others wrote, reads them back with
# a parser that others wrote, and provokes each failure that a server, a proxy or a certificate can cause.
#
# Usage, as root and in namespaces of its own (CMakeLists.txt has the command):
#     run_interop.py openssl|gnutls LIBRARY FOLDER-OF-THE-PACKAGES
import ctypes
import email.policy
import os
import pathlib
import re
import shutil
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "examples/python"))
import servers
import smtpclient
from servers import BOXES, HOST, OLD_TOKEN, OTHER_HOST, PASSWORD, TOKEN, USER

PASSWORD_LOGINS = {"PLAIN": servers.AUTH_PLAIN, "LOGIN": servers.AUTH_LOGIN,
                   "CRAM-MD5": servers.AUTH_CRAM_MD5}
TOKEN_LOGINS = {"XOAUTH2": servers.AUTH_XOAUTH2, "OAUTHBEARER": servers.AUTH_OAUTHBEARER}
SENDER, TO = "a@example.test", "r1@example.test"
PICTURE, PHOTO, DATA, NOTE = CONTENTS = {
    "/mnt/picture.png": b"\x89PNG\r\n\x1a\n" + bytes(range(256)), "/mnt/photo.jpg": b"\xff\xd8\xff",
    "/mnt/data.bin": bytes(range(256)) * 4000, "/mnt/note.txt": b"From here\n.\n..\nto there"}
TYPES = {".png": "image/png", ".jpg": "image/jpeg", ".txt": "text/plain",
         ".bin": "application/octet-stream"}
TEXT, HTML = "Hello\n.\n..dots\nFrom here, no further", "<html><body><p>Hello</p></body></html>"
JAPANESE = [("SetSubject", "日本語の件名です"), ("SetSender", SENDER, "山田太郎"),
            ("AddRecipient", TO, "鈴木花子"), ("SetTextBody", "日本語の本文です。\n二行目。"),
            ("SetHtmlBody", "<p>日本語</p>")]

# The operations that fill each message. Expected in the mailbox is what they say.
SHAPES = {
    "text": [("SetTextBody", TEXT)],
    "both, ISO-8859-1": [
        ("SetCharset", "ISO-8859-1"), ("SetSubject", "Grüße"), ("SetHtmlBody", HTML),
        ("SetSender", SENDER, "Josué Müßig"), ("AddRecipient", TO, "Åse Ørsted"),
        ("SetTextBody", "Schöne Grüße")],
    "everything": [("SetHtmlBody", HTML), ("SetTextBody", TEXT), ("AddAttachment", DATA),
                   ("AddAttachment", NOTE), ("AddInlineImage", PICTURE, "one@x"),
                   ("AddInlineImage", PHOTO, "two@x"), ("SetSender", SENDER, "The Sender"),
                   ("AddRecipient", TO, "The First"), ("AddCc", "r2@example.test", "The Second")],
    "200, one hidden": [
        ("SetTextBody", TEXT), ("AddBcc", "r200@example.test", "X"),
        *[("AddRecipient", f"r{number}@example.test", "") for number in range(1, 200)]],
    **{charset: [("SetCharset", charset), *JAPANESE]
       for charset in ("UTF-8", "Shift_JIS", "ISO-2022-JP")},
}
KEEP_BCC = {"Exim"}  # The others take the Bcc line out of the mail.


def at(port, **settings):
    return {"SetHost": HOST, "SetPort": port, "SetUserName": USER, "SetPassword": PASSWORD,
            **settings}


# Where the proxy is to resolve the host's name, it is one that nobody else knows.
def through(port, kind, user="", password="", host=None):
    return {"SetHost": host or (servers.PROXY_ONLY_HOST if kind in (1, 3) else HOST),
            "SetProxy": ("127.0.0.1", port, kind, user, password), "SetProxyEnabled": 1,
            "SetUseTls": 0}


def proxy(host):
    return {"SetProxy": (host, 1, 2, "", ""), "SetProxyEnabled": 1}


TLS = at(servers.ANY_TLS)
LOGIN, CHECKED = (USER, PASSWORD), {"SetVerifyPeer": 1}
OCSP = {**CHECKED, "SetVerifyStatus": 1, "SetConnectTimeout": 30}
ROADS = {
    "Postfix": {**TLS, **CHECKED}, "Exim": at(servers.EXIM, **CHECKED),
    "OpenSMTPD": at(servers.OPENSMTPD, SetUseTls=0),
    "Dovecot submission": at(servers.SUBMISSION, **CHECKED),
}
# These carry the shape that has everything, and no other.
SIDE_ROADS = {
    "TLS 1.2": at(servers.ONLY_12, SetTlsVersion=3),
    "TLS 1.3": at(servers.ONLY_13, SetTlsVersion=4),
    "OCSP answer good": at(servers.EXIM, **OCSP),
    **{name: at(port) for name, port in PASSWORD_LOGINS.items()},
    **{name: at(port, SetBearerToken=TOKEN) for name, port in TOKEN_LOGINS.items()},
    **{f"{name}, proxy type {kind}, {'login' if login else 'no login'}":
       at(servers.PLAIN, **through(ports[len(login) > 0], kind, *login))
       for name, kinds, *ports in [
           ("microsocks", (2, 3), servers.MICROSOCKS, servers.MICROSOCKS_LOGIN),
           ("dante", (2, 3), servers.DANTE, servers.DANTE_LOGIN),
           ("dante", (0,), servers.DANTE, servers.DANTE),
           ("our own", (1,), servers.SOCKS4A, servers.SOCKS4A)]
       for kind in kinds for login in ((), LOGIN)},
}
# Cause, what differs from a send that succeeds, internal and public code, and those with GnuTLS
# where they are others.
FAILURES = [
    ("name of an HTTPS proxy unknown", proxy("https://no.such.test"), 5, -3),
    ("name of a SOCKS proxy unknown", proxy("no.such.test"), 6, -4),
    ("name of the server unknown", {"SetHost": "no.such.test"}, 6, -4),
    ("server without TLS 1.3", {"SetPort": servers.ONLY_12, "SetTlsVersion": 4}, 35, -8),
    ("server without TLS 1.2", {"SetPort": servers.ONLY_13, "SetTlsVersion": 3}, 35, -8),
    ("TLS 1.0, with which GnuTLS succeeds", {"SetTlsVersion": 1}, 35, -8, 0, 1),
    ("certificate of a stranger", {"SetPort": servers.UNTRUSTED, **CHECKED}, 60, -9),
    ("certificate expired", {"SetPort": servers.EXPIRED, **CHECKED}, 60, -9),
    ("authority taken from the list", {"trust": "/etc/interop/stranger.pem", **CHECKED}, 60, -9),
    ("no authority in the list", {"trust": "/dev/null", **CHECKED}, 77, -1, 60, -9),
    ("authority back in the list, a success", {"trust": "/etc/interop/ca.pem", **CHECKED}, 0, 1),
    ("certificate for another host", {"SetHost": OTHER_HOST, **CHECKED}, 60, -9),
    *[(f"wrong password, {name}", {"SetPort": port, "SetPassword": "no"}, 67, -12)
      for name, port in PASSWORD_LOGINS.items()],
    *[(f"token expired, {name}", {"SetPort": port, "SetBearerToken": OLD_TOKEN}, 67, -12)
      for name, port in TOKEN_LOGINS.items()],
    ("sender refused", {"SetPort": servers.EXIM, "SetSender": ("a@refused.test", "")}, 55, -13),
    ("too many recipients", {"SetPort": servers.HUNDRED, "shape": "200, one hidden"}, 55, -13),
    ("OCSP answer absent", OCSP, 91, -1),
    ("certificate revoked", {"SetPort": servers.REVOKED, **OCSP}, 91, -1, 60, -9),
    ("OCSP answer outdated", {"SetPort": servers.OUTDATED, **OCSP}, 91, -1, 60, -9),
    ("proxy refuses the login", through(servers.MICROSOCKS_LOGIN, 2, USER, "no"), 97, -1),
    ("proxy wants a login", through(servers.DANTE_LOGIN, 3), 97, -1),
    ("proxy finds no server", {**through(servers.MICROSOCKS, 3), "SetPort": 1}, 97, -1),
    ("proxy does not know the host", through(servers.SOCKS4A, 1, host="no.such.test"), 97, -1),
    ("host unknown, SOCKS 5 without names", through(servers.DANTE, 2, host="no.such.test"), 97, -1),
]


# What parsers are to find: the headers, then the tree of parts.
def expected_mail(operations):
    def values(name):
        return [rest for operation, *rest in operations if operation == name]

    def files(name):
        return [(TYPES[path[-4:]], None if cid else os.path.basename(path), "".join(cid),
                 CONTENTS[path].decode() if path == NOTE else CONTENTS[path])
                for path, *cid in values(name)]

    def body(name, kind):
        return [(kind, None, "", text) for text, in values(name)]

    headers = [sorted((name, address) for address, name in values(operation))
               for operation in ("SetSender", "AddRecipient", "AddCc", "AddBcc")]
    bodies = body("SetHtmlBody", "text/html") + body("SetTextBody", "text/plain")
    children = {"alternative": bodies, "related": files("AddInlineImage"),
                "mixed": files("AddAttachment")}
    tree = [("multipart/" + kind, parts) for kind, parts in children.items() if parts]
    return headers, values("SetSubject")[0][0], ("multipart/mixed", tree)


def read(mail):
    def tree(part):
        if part.is_multipart():
            return part.get_content_type(), [tree(child) for child in part.iter_parts()]
        cid = (part["content-id"] or "").strip("<>")
        return part.get_content_type(), part.get_filename(), cid, part.get_content()

    found = email.message_from_bytes(mail, policy=email.policy.default)
    headers = [sorted((entry.display_name, entry.addr_spec) for entry in found[name].addresses)
               if found[name] else [] for name in ("from", "to", "cc", "bcc")]
    return headers, found["subject"], tree(found)


class Suite:
    def __init__(self, flavour, library):
        if flavour == "gnutls":
            ctypes.CDLL("libcurl-gnutls.so.4", ctypes.RTLD_GLOBAL)
        self.library, self.rows, self.failed = smtpclient.Library(library), 0, 0

    def check(self, row, expected, found):
        self.rows += 1
        if expected != found:
            self.failed += 1
            texts = (re.sub(r"(b'.{60}).*?'", r"\1...'", repr(it)) for it in (expected, found))
            print(f"FAILED: {row}", *texts, sep="\n  ", flush=True)
        return expected == found

    # The internal and the public code.
    def send(self, settings, operations):
        client, message = self.library.client(), self.library.message()
        client.SetMessage(message)
        for name, *values in [(name, *(value if isinstance(value, tuple) else (value,)))
                              for name, value in settings.items()] + operations:
            values = [value.replace("\n", "\r\n") if isinstance(value, str) else value for value in values]
            if name == "trust":
                shutil.copyfile(*values, "/etc/ssl/certs/ca-certificates.crt")
            else:
                (getattr(client, name, None) or getattr(message, name))(*values)
        code = client.Send()
        codes = client.GetLastResult(), code
        message.Release()
        client.Release()
        return codes

    def deliver(self, road, settings, shape):
        operations = list(SHAPES[shape])
        for default in [("SetSender", SENDER, ""), ("AddRecipient", TO, ""), ("SetSubject", shape)]:
            if default[0] not in [name for name, *_ in operations]:
                operations.append(default)
        shutil.rmtree(BOXES, ignore_errors=True)
        BOXES.mkdir()
        BOXES.chmod(0o777)  # Each server writes as somebody else.
        row = f"{road}, {shape}"
        if not self.check(row, (0, 1), self.send(settings, operations)):
            return
        boxes = sorted(values[0].split("@")[0] for name, *values in operations
                       if name in ("AddRecipient", "AddCc", "AddBcc"))
        servers.wait_for(lambda: len(list(BOXES.glob("*/new/*"))) >= len(boxes))
        mails = list(BOXES.glob("*/new/*"))
        self.check(row + ", boxes", boxes, sorted(mail.parts[-3] for mail in mails))
        if road not in KEEP_BCC:
            operations = [operation for operation in operations if operation[0] != "AddBcc"]
        # In front of the library's first line stands what the server adds to each copy.
        for mail in {mail.read_bytes().partition(b"\nContent-Type: ")[2] for mail in mails}:
            self.check(f"{row}, mail", expected_mail(operations), read(b"Content-Type: " + mail))


def main(flavour, library, packages):
    start = time.monotonic()
    servers.prepare(packages, [f"r{number}" for number in range(1, 201)])
    servers.start()
    for path, content in CONTENTS.items():
        pathlib.Path(path).write_bytes(content)
    os.dup2(os.open(f"{servers.LOGS}/library.log", os.O_CREAT | os.O_WRONLY), 2)
    sys.stderr = sys.stdout  # The old one has libcurl's reports now.
    suite = Suite(flavour, library)
    for road, settings in {**ROADS, **SIDE_ROADS}.items():
        for shape in SHAPES if road in ROADS else ["everything"]:
            suite.deliver(road, settings, shape)
    for cause, differs, *codes in FAILURES:
        settings = {**TLS, "SetSender": (SENDER, ""), "AddRecipient": (TO, ""), **differs}
        shape = SHAPES[settings.pop("shape", "text")]
        found = suite.send({k: v for k, v in settings.items() if v is not None}, shape)
        suite.check(cause, tuple(codes[-2:] if flavour == "gnutls" else codes[:2]), found)
    trace = pathlib.Path(f"{servers.LOGS}/library.log").read_text(errors="replace")
    suite.check("file of the authorities told", False, " CAfile: none\n" in trace)
    print(f"{flavour}: {suite.rows - suite.failed} of {suite.rows} checks passed in "
          f"{time.monotonic() - start:.0f} s")
    return int(suite.failed > 0)


if __name__ == "__main__":
    if os.getpid() != 1:
        sys.exit("needs namespaces of its own: it mounts over /usr, /etc and /var")
    status = 1
    try:
        status = main(*sys.argv[1:])
    finally:
        if status != 0:
            servers.show_logs()
    sys.exit(status)
