# The servers of the suite, at fixed ports of a private network namespace. In their private mount
# namespace the packages lie over /usr, /etc and /var, so that each server finds its files where its
# package puts them. What is written lands in a tmpfs at /mnt: it is gone with the namespaces, and
# so is every process.
import asyncio
import contextlib
import fcntl
import json
import pathlib
import re
import socket
import struct
import subprocess
import threading
import time

BOXES = pathlib.Path("/mnt/boxes")
LOGS = "/var/log/interop"
HOST, OTHER_HOST, PROXY_ONLY_HOST = "mail.example.test", "other.example.test", "inside.example.test"
USER, PASSWORD, TOKEN = "user", "secret", "good-token"

PLAIN, ANY_TLS, UNTRUSTED, EXPIRED, ONLY_12, ONLY_13, HUNDRED = range(2500, 2507)
MECHANISMS = {"PLAIN": 2511, "LOGIN": 2512, "CRAM-MD5": 2513, "XOAUTH2": 2514, "OAUTHBEARER": 2515}
EXIM, SILENT, UNWILLING, DYING, REFUSING = range(2600, 2605)
OPENSMTPD, SUBMISSION, SASL, INTROSPECTION = range(2700, 2704)
MICROSOCKS, MICROSOCKS_LOGIN, DANTE, DANTE_LOGIN, SOCKS4A = range(2800, 2805)

POSTFIX_OPTIONS = {
    PLAIN: "sasl_auth_enable=no", ANY_TLS: "tls_security_level=may", HUNDRED: "recipient_limit=100",
    UNTRUSTED: "tls_chain_files=/etc/interop/untrusted.pem",
    EXPIRED: "tls_chain_files=/etc/interop/expired.pem",
    ONLY_12: "tls_security_level=encrypt -o smtpd_tls_mandatory_protocols=TLSv1.2",
    ONLY_13: "tls_security_level=encrypt -o smtpd_tls_mandatory_protocols=TLSv1.3",
    **{port: f"sasl_mechanism_filter={name.lower()} -o "
             "smtpd_client_restrictions=permit_sasl_authenticated,reject"
       for name, port in MECHANISMS.items()}}
POSTFIX_SERVICES = "".join(f"127.0.0.1:{port} inet n - n - - smtpd -o smtpd_{options}\n"
                           for port, options in POSTFIX_OPTIONS.items()) + "".join(
    f"{name} unix {rest}\n" for name, rest in [
        ("postlog", "-dgram n - n - 1 postlogd"), ("cleanup", "n - n - 0 cleanup"),
        ("qmgr", "n - n 300 1 qmgr"), ("rewrite", "- - n - - trivial-rewrite"),
        ("tlsmgr", "- - n 1000? 1 tlsmgr"), ("bounce", "- - n - 0 bounce"),
        ("defer", "- - n - 0 bounce"), ("virtual", "- n n - - virtual"),
        ("proxymap", "- - n - - proxymap"), ("error", "- - n - - error"),
        ("retry", "- - n - - error"), ("anvil", "- - n - 1 anvil")]).replace("unix -d", "unix-d")

# Configuration files; " | " stands for a line end.
FILES = {
    "/etc/postfix/master.cf": POSTFIX_SERVICES,
    "/etc/postfix/main.cf": f"""compatibility_level = 3.6 | maillog_file = {LOGS}/postfix.log
        notify_classes = | myhostname = {HOST} | mydestination = | mynetworks = 127.0.0.0/8
        virtual_mailbox_domains = example.test | virtual_mailbox_base = {BOXES}
        virtual_mailbox_maps = texthash:/mnt/postfix-boxes | virtual_uid_maps = static:65534
        virtual_gid_maps = static:65534 | smtpd_sasl_auth_enable = yes | smtpd_sasl_type = dovecot
        smtpd_sasl_path = inet:127.0.0.1:{SASL} | smtpd_tls_chain_files = /etc/interop/good.pem
        smtpd_tls_security_level = may""",
    "/etc/exim4/exim4.conf": f"""local_interfaces = 127.0.0.1 | primary_hostname = {HOST}
        daemon_smtp_ports = {EXIM} : {SILENT} : {UNWILLING} : {DYING} : {REFUSING}
        log_file_path = {LOGS}/exim-%s.log | keep_environment = | tls_advertise_hosts = *
        tls_certificate = /etc/interop/good.pem | tls_ocsp_file = /etc/interop/good.ocsp
        acl_smtp_connect = connecting | acl_smtp_mail = mailing
        acl_smtp_rcpt = accept local_parts = lsearch;/mnt/exim-users
        acl_smtp_data = ${{if eq{{$received_port}}{{{REFUSING}}}{{deny}}{{accept}}}}
        begin acl | connecting:
        deny condition = ${{if eq{{$received_port}}{{{UNWILLING}}}}}
        accept condition = ${{if eq{{$received_port}}{{{SILENT}}}}} | delay = 10m | accept
        mailing: | deny sender_domains = refused.test | accept condition = \
        ${{if eq{{$received_port}}{{{DYING}}}{{${{run{{/bin/kill -9 $pid}}}}}}{{yes}}}}
        begin routers | box: | driver = accept | local_parts = lsearch;/mnt/exim-users
        transport = box | begin transports | box: | driver = appendfile | maildir_format
        directory = {BOXES}/$local_part_data | user = nobody | begin authenticators | plain:
        driver = plaintext | public_name = PLAIN | server_prompts = : | server_condition = \
        ${{if and{{{{eq{{$auth2}}{{{USER}}}}}{{eq{{$auth3}}{{{PASSWORD}}}}}}}}}""",
    "/etc/smtpd.conf": f"""table box {{ "@" = nobody }} | listen on 127.0.0.1 port {OPENSMTPD}
        action deliver maildir "{BOXES}/%{{rcpt.user}}" virtual <box>
        match from any for domain example.test action deliver""",
    "/etc/dovecot/dovecot.conf": f"""log_path = {LOGS}/dovecot.log | listen = 127.0.0.1
        protocols = submission | hostname = {HOST} | mail_location = maildir:/mnt/dovecot
        auth_mechanisms = plain login cram-md5 xoauth2 oauthbearer | auth_failure_delay = 0
        ssl_cert = </etc/interop/good.pem | ssl_key = </etc/interop/good.pem
        submission_relay_host = 127.0.0.1 | submission_relay_port = {PLAIN}
        userdb {{ | driver = static | args = uid=65534 gid=65534 home=/mnt/dovecot | }}
        passdb {{ | driver = oauth2 | mechanisms = xoauth2 oauthbearer
        args = /mnt/dovecot-oauth2 | }} | passdb {{ | driver = passwd-file
        mechanisms = plain login cram-md5 | args = scheme=PLAIN /mnt/dovecot-users | }}
        service auth {{ | inet_listener {{ | port = {SASL} | }} | }}
        service anvil {{ | unix_listener anvil-auth-penalty {{ | mode = 0 | }} | }}
        service submission-login {{ | inet_listener submission {{ | port = {SUBMISSION}
        }} | }}""",
    "/mnt/dovecot-users": f"{USER}:{PASSWORD}",
    "/mnt/dovecot-oauth2": f"""introspection_mode = post | force_introspection = yes
        introspection_url = http://127.0.0.1:{INTROSPECTION}/ | username_attribute = username""",
    **{f"/mnt/danted-{port}.conf": f"""logoutput: stderr | internal: 127.0.0.1 port = {port}
        external: 127.0.0.1 | socksmethod: {method} | user.privileged: root
        user.unprivileged: nobody | client pass {{ from: 0.0.0.0/0 to: 0.0.0.0/0 }}
        socks pass {{ from: 0.0.0.0/0 to: 0.0.0.0/0 }}"""
       for port, method in [(DANTE, "none"), (DANTE_LOGIN, "username")]},
    # Every name that no hosts file has is unknown, at once.
    "/etc/resolv.conf": "", "/etc/hosts": f"127.0.0.1 localhost {HOST} {OTHER_HOST}",
    "/mnt/proxy-hosts": f"127.0.0.1 {HOST} {PROXY_ONLY_HOST}",
}
COMMANDS = ["postfix start-fg", "exim4 -bdf", "smtpd -d", "dovecot -F"]
PROXY_COMMANDS = [f"microsocks -i 127.0.0.1 -p {MICROSOCKS}",
                  f"microsocks -i 127.0.0.1 -p {MICROSOCKS_LOGIN} -u {USER} -P {PASSWORD}",
                  *[f"danted -f /mnt/danted-{port}.conf" for port in (DANTE, DANTE_LOGIN)]]


def write(path, text):
    pathlib.Path(path).write_text("\n".join(re.split(r" \| |\n", text)) + "\n", "utf-8")


# This process starts in namespaces of its own; here they get their loopback and their files.
def prepare(packages):
    with socket.socket() as any_socket:  # SIOCSIFFLAGS with IFF_UP | IFF_RUNNING
        fcntl.ioctl(any_socket, 0x8914, struct.pack("16sH14x", b"lo", 0x41))
    subprocess.run(f"""mount -t tmpfs tmpfs /run && mount -t tmpfs tmpfs /mnt && cd /mnt || exit
        for name in usr etc var; do
            mkdir -p over/$name work/$name && mount -t overlay overlay /$name -o \
                lowerdir={packages}/root/$name:/$name,upperdir=over/$name,workdir=work/$name || exit
        done""", shell=True, check=True)
    for path, text in FILES.items():
        write(path, re.sub(r"\n {8}", "\n", text))


# Tells Dovecot whose token it is (RFC 7662).
async def introspect(reader, writer):
    head = await reader.readuntil(b"\r\n\r\n")
    form = await reader.readexactly(int(re.search(rb"(?i)content-length: (\d+)", head)[1]))
    answer = json.dumps({"active": f"token={TOKEN}".encode() in form, "username": USER}).encode()
    writer.write(b"HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nConnection: close\r\n"
                 b"Content-Length: %d\r\n\r\n%s" % (len(answer), answer))
    writer.close()


# SOCKS 4a: the name stands behind the user id, and an address 0.0.0.x in front says so.
async def socks4a(reader, writer):
    _, _, port, address = struct.unpack(">BBHI", await reader.readexactly(8))
    _, name = [await reader.readuntil(b"\0") for _ in range(2)]
    granted = 0 < address < 256 and name == PROXY_ONLY_HOST.encode() + b"\0"
    writer.write(struct.pack(">BBHI", 0, 90 if granted else 91, 0, 0))
    if granted:
        server_reader, server_writer = await asyncio.open_connection("127.0.0.1", port)
        await asyncio.gather(pass_on(reader, server_writer), pass_on(server_reader, writer))
    writer.close()


async def pass_on(reader, writer):
    with contextlib.suppress(ConnectionError):
        while data := await reader.read(65536):
            writer.write(data)
    writer.close()


async def serve():
    await asyncio.start_server(introspect, "127.0.0.1", INTROSPECTION)
    await asyncio.start_server(socks4a, "127.0.0.1", SOCKS4A)
    await asyncio.Event().wait()


def start(users):
    write("/mnt/exim-users", "\n".join(f"{user}: {user}" for user in users))
    write("/mnt/postfix-boxes", "\n".join(f"{user}@example.test {user}/" for user in users))
    threading.Thread(target=asyncio.run, args=(serve(),), daemon=True).start()
    own_names = "mount --bind /mnt/proxy-hosts /etc/hosts && exec "
    for number, command in enumerate(COMMANDS + [own_names + proxy for proxy in PROXY_COMMANDS]):
        with open(f"{LOGS}/start-{number}.log", "wb") as log:
            subprocess.Popen(["unshare", "--mount", "sh", "-c", command], stdout=log, stderr=log)
    for port in [*POSTFIX_OPTIONS, EXIM, *range(OPENSMTPD, INTROSPECTION),
                 *range(MICROSOCKS, SOCKS4A)]:
        if not wait_for(lambda: socket.socket().connect_ex(("127.0.0.1", port)) == 0):
            raise RuntimeError(f"no server at port {port}")


# False if it is not done within half a minute.
def wait_for(done):
    deadline = time.monotonic() + 30
    while not done() and time.monotonic() < deadline:
        time.sleep(0.02)
    return done()
