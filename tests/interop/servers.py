# The servers of the suite, at fixed ports of a private network namespace. In their private mount
# namespace the packages lie over /usr, /etc and /var, so that each server finds its files where its
# package puts them; those of the folder "system" are the suite's own. What is written lands in a
# tmpfs at /mnt: it is gone with the namespaces, and so is every process.
import asyncio
import contextlib
import fcntl
import pathlib
import re
import socket
import struct
import subprocess
import threading
import time

BOXES = pathlib.Path("/mnt/boxes")
LOGS = pathlib.Path("/var/log/interop")
SHOWN_LINES = 30
HOST, OTHER_HOST, PROXY_ONLY_HOST = "mail.example.test", "other.example.test", "inside.example.test"
USER, PASSWORD, TOKEN, OLD_TOKEN = "user", "secret", "good-token", "old-token"

POSTFIX_PORTS = range(2500, 2512)
(PLAIN, ANY_TLS, UNTRUSTED, EXPIRED, ONLY_12, ONLY_13, HUNDRED, AUTH_PLAIN, AUTH_LOGIN,
 AUTH_CRAM_MD5, AUTH_XOAUTH2, AUTH_OAUTHBEARER) = POSTFIX_PORTS
EXIM = 2600
OPENSMTPD, SUBMISSION, SASL, INTROSPECTION = OTHER_PORTS = range(2700, 2704)
MICROSOCKS, MICROSOCKS_LOGIN, DANTE, DANTE_LOGIN = PROXY_PORTS = range(2800, 2804)
REVOKED, OUTDATED, SOCKS4A = range(2900, 2903)
TLS_BEHIND = {REVOKED: 2910, OUTDATED: 2911}

COMMANDS = ["postfix start-fg", "exim4 -bdf", "smtpd -d", "dovecot -F",
            f"/usr/bin/python3 -m http.server -b 127.0.0.1 -d /mnt/tokens {INTROSPECTION}",
            *[f"openssl s_server -accept {TLS_BEHIND[port]} -cert /etc/interop/good.pem -www"
              f" -key /etc/interop/good.pem -status_file /etc/interop/{answer}.ocsp"
              for port, answer in ((REVOKED, "revoked"), (OUTDATED, "outdated"))]]
PROXY_COMMANDS = [f"microsocks -i 127.0.0.1 -p {MICROSOCKS}",
                  f"microsocks -i 127.0.0.1 -p {MICROSOCKS_LOGIN} -u {USER} -P {PASSWORD}",
                  "danted -f /mnt/dante.conf", "danted -f /mnt/dante-login.conf"]


# This process starts in namespaces of its own; here they get their loopback and their files. What a
# server keeps in /var/lib and /var/spool is hidden: one that is installed here has other owners.
def prepare(packages, users):
    with socket.socket() as any_socket:  # SIOCSIFFLAGS with IFF_UP | IFF_RUNNING
        fcntl.ioctl(any_socket, 0x8914, struct.pack("16sH14x", b"lo", 0x41))
    subprocess.run(f"""mount -t tmpfs tmpfs /run && mount -t tmpfs tmpfs /mnt && cd /mnt || exit
        for name in usr etc var; do
            mkdir -p over/$name work/$name && mount -t overlay overlay /$name -o \
                lowerdir={packages}/system/$name:/$name,upperdir=over/$name,workdir=work/$name \
                || exit
        done
        for name in $(cd {packages}/system && echo var/lib/* var/spool/*); do
            mount -t tmpfs tmpfs /$name && cp -a {packages}/system/$name/. /$name || exit
        done
        mkdir tokens""", shell=True, check=True)
    system = pathlib.Path(__file__).parent / "system"
    files = {path.relative_to(system): path.read_text()
             for path in system.glob("**/*") if path.is_file()}
    files["mnt/exim-users"] = "\n".join(f"{user}: {user}" for user in users)
    files["mnt/postfix-boxes"] = "\n".join(f"{user}@example.test {user}/" for user in users)
    for token, answer in ((TOKEN, '{"active": true, "username": "@USER@"}'),
                          (OLD_TOKEN, '{"active": false}')):
        files[f"mnt/tokens/{token}&client_id=&client_secret="] = answer  # What Dovecot asks for.
    for path, text in files.items():
        pathlib.Path("/", path).write_text(
            re.sub(r"@(\w+)@", lambda name: str(globals()[name[1]]), text))


# What is said before TLS. A TLS server has the rest.
async def start_tls(reader, writer):
    for reply in (b"220 hello\r\n", b"250 STARTTLS\r\n"):  # The second answers EHLO.
        writer.write(reply)
        await reader.readline()
    writer.write(b"220 go on\r\n")
    await pass_on_both(reader, writer, TLS_BEHIND[writer.get_extra_info("sockname")[1]])


# SOCKS 4a: the name stands behind the user id, and an address 0.0.0.x in front says so.
async def socks4a(reader, writer):
    _, _, port, address = struct.unpack(">BBHI", await reader.readexactly(8))
    _, name = [await reader.readuntil(b"\0") for _ in range(2)]
    granted = 0 < address < 256 and name == PROXY_ONLY_HOST.encode() + b"\0"
    writer.write(struct.pack(">BBHI", 0, 90 if granted else 91, 0, 0))
    if granted:
        await pass_on_both(reader, writer, port)
    writer.close()


async def pass_on_both(reader, writer, port):
    server_reader, server_writer = await asyncio.open_connection("127.0.0.1", port)
    await asyncio.gather(pass_on(reader, server_writer), pass_on(server_reader, writer))


async def pass_on(reader, writer):
    with contextlib.suppress(ConnectionError):
        while data := await reader.read(65536):
            writer.write(data)
    writer.close()


async def serve():
    for port, talk in ((REVOKED, start_tls), (OUTDATED, start_tls), (SOCKS4A, socks4a)):
        await asyncio.start_server(talk, "127.0.0.1", port)
    await asyncio.Event().wait()


def start():
    threading.Thread(target=asyncio.run, args=(serve(),), daemon=True).start()
    own_names = "mount --bind /mnt/proxy-hosts /etc/hosts && exec "
    for number, command in enumerate(COMMANDS + [own_names + proxy for proxy in PROXY_COMMANDS]):
        with open(f"{LOGS}/start-{number}.log", "wb") as log:
            subprocess.Popen(["unshare", "--mount", "sh", "-c", command], stdout=log, stderr=log)
    for port in [*POSTFIX_PORTS, EXIM, *OTHER_PORTS, *PROXY_PORTS, *TLS_BEHIND.values()]:
        if not wait_for(lambda: socket.socket().connect_ex(("127.0.0.1", port)) == 0):
            raise RuntimeError(f"no server at port {port}")


# The end of each: they are gone with the namespaces.
def show_logs():
    for log in sorted(LOGS.glob("*")):
        lines = log.read_text(errors="replace").splitlines()[-SHOWN_LINES:]
        print(f"--- {log.name}", *lines, sep="\n", flush=True)


# False if it is not done within half a minute.
def wait_for(done):
    deadline = time.monotonic() + 30
    while not done() and time.monotonic() < deadline:
        time.sleep(0.02)
    return done()
