#!/usr/bin/python3
"""Sends 5,000 mails through the outbox while one worker is killed and the database restarts.

outbox_test.py WORKER SCHEMA    checks what became of every mail
"""
import asyncio
import collections
import contextlib
import glob
import os
import pathlib
import pwd
import signal
import subprocess
import sys
import tempfile
import threading
import time

import psycopg2

WORKER, SCHEMA = sys.argv[1:3]
MAILS = 5000
LONGEST_WAIT = 120  # Seconds, which only a hang takes.


class Server:
    """Takes mails, but for those to later-N, twice, and to never-N."""

    def __init__(self, delay=0.0):
        self.delay, self.taken, self.put_off = delay, collections.Counter(), collections.Counter()
        self.times = {}
        started = threading.Event()
        threading.Thread(target=lambda: asyncio.run(self.serve(started)), daemon=True).start()
        started.wait()

    async def serve(self, started):
        server = await asyncio.start_server(self.talk, "127.0.0.1", 0)
        self.port = server.sockets[0].getsockname()[1]
        started.set()
        await asyncio.Event().wait()

    def answer(self, line):
        verb = line[:4].upper()
        if verb == "RCPT":
            kind = line.split("<")[1].split("-")[0]
            self.put_off[line] += kind == "later"
            if kind == "never":
                return "550 5.1.1 no such user"
            if kind == "later" and self.put_off[line] <= 2:
                return "450 4.2.0 try again"
        return {"EHLO": "250-x\r\n250 AUTH PLAIN", "AUTH": "334 ", "DATA": "354 go", "QUIT": "221 bye"}.get(verb, "250 ok")

    async def talk(self, reader, writer):
        with contextlib.suppress(ConnectionError, asyncio.IncompleteReadError):
            reply = "220 x"
            while reply != "221 bye":
                await asyncio.sleep(self.delay)
                writer.write(reply.encode() + b"\r\n")
                if reply == "250 taken":
                    self.times[number] = time.monotonic()
                line = (await reader.readuntil(b"\n")).decode()
                if reply == "354 go":
                    text = line + (await reader.readuntil(b"\r\n.\r\n")).decode()
                    number = int(text.split("Subject: ")[1].split("\r")[0])
                    self.taken[number] += 1
                    reply = "250 taken"
                else:
                    reply = "235 in" if reply == "334 " else self.answer(line)
        writer.close()


class Cluster:
    """A database of its own, in a folder and on a socket that go with it."""

    def __init__(self, folder):
        self.folder, self.user = folder, pwd.getpwnam("postgres")
        os.chown(folder, self.user.pw_uid, self.user.pw_gid)
        self.programs = sorted(glob.glob("/usr/lib/postgresql/*/bin"))[-1]
        self.run("initdb", "--auth=trust", "--no-sync")
        self.run("pg_ctl", "start", "--wait", "--log", folder / "log", "-o",
                 f"-c listen_addresses='' -c fsync=off -c unix_socket_directories={folder}")
        self.connection = f"host={folder} user=postgres dbname=postgres"

    def run(self, program, *arguments):
        as_owner = ["setpriv", "--reuid=postgres", "--regid=postgres", "--clear-groups"] if os.getuid() == 0 else []
        subprocess.run([*as_owner, f"{self.programs}/{program}", "-D", self.folder / "data", *arguments],
                       cwd="/", check=True, stdout=subprocess.DEVNULL)

    def ask(self, statement):
        with contextlib.closing(psycopg2.connect(self.connection)) as database, database.cursor() as cursor:
            cursor.execute(statement)
            rows = cursor.fetchall() if cursor.description else []
            database.commit()
            return rows

    def add(self, count, kinds="CASE WHEN n % 25 = 0 THEN 'never' WHEN n % 10 = 0 THEN 'later' ELSE 'soon' END"):
        self.ask(f"""INSERT INTO outbox_mail (sender, recipients, subject, text_body)
                     SELECT 'a@example.org', ARRAY[{kinds} || '-' || n || '@example.org'], n::text, 'hello'
                     FROM generate_series(1, {count}) AS n""")

    def counts(self):
        return self.ask("SELECT under_way, due, later, sent, failed FROM outbox_counts")[0]


def start_worker(cluster, server, folder, *options):
    return subprocess.Popen([WORKER, f"--database={cluster.connection}", "--host=127.0.0.1", f"--port={server.port}",
                             "--no-tls", "--user=u", f"--password-file={folder / 'password'}", *options],
                            stderr=subprocess.DEVNULL)


def wait_until(holds):
    deadline = time.monotonic() + LONGEST_WAIT
    while not holds():
        assert time.monotonic() < deadline, "it takes too long"
        time.sleep(0.05)


def prove(cluster, server, folder):
    cluster.add(MAILS)
    cluster.ask("INSERT INTO outbox_mail (sender, recipients, subject, attachments)"
                " VALUES ('a@example.org', ARRAY['b@example.org'], '0', ARRAY['/no/such/file'])")
    options = ["--threads=4", "--minute=200", "--lease=15"]
    workers = [start_worker(cluster, server, folder, *options) for _ in range(3)]
    wait_until(lambda: cluster.counts()[3] > MAILS / 4)
    workers[0].kill()
    workers[0].wait()
    under_way = {int(number) for number, in cluster.ask(
        f"SELECT subject FROM outbox_mail WHERE state = 'queued' AND leased_until > now()"
        f" AND worker LIKE '{workers[0].pid}.%'")}
    wait_until(lambda: cluster.counts()[3] > MAILS / 2)
    cluster.run("pg_ctl", "restart", "--wait", "--mode=fast", "--log", folder / "log")
    wait_until(lambda: cluster.counts()[:3] == (0, 0, 0))
    for worker in workers[1:]:
        worker.send_signal(signal.SIGTERM)
        assert worker.wait(LONGEST_WAIT) == 0

    sendable = {number for number in range(1, MAILS + 1) if number % 25 != 0}
    assert set(server.taken) == sendable, "not all mails, or others"
    twice = {number for number, times in server.taken.items() if times > 1}
    assert twice <= under_way, f"sent twice: {twice - under_way}"
    states = dict(cluster.ask("SELECT subject::int, state FROM outbox_mail"))
    assert states == {number: "sent" if number in sendable else "failed" for number in range(MAILS + 1)}
    reasons = cluster.ask("SELECT DISTINCT last_text FROM outbox_mail WHERE state = 'failed' ORDER BY 1")
    assert len(reasons) == 2 and "550 5.1.1 no such user" in reasons[0][0] and "regular file" in reasons[1][0], reasons
    print(f"{len(sendable)} mails sent, {len(twice)} of them twice, of {len(under_way)} that were under way at the kill")


@contextlib.contextmanager
def database():
    """An empty outbox, and the folder that it and the password file are in."""
    with tempfile.TemporaryDirectory(prefix="outbox-") as scratch:
        scratch = pathlib.Path(scratch)
        (scratch / "password").write_text("p\n")
        scratch.chmod(0o755)
        cluster = Cluster(scratch)
        try:
            cluster.ask(pathlib.Path(SCHEMA).read_text())
            yield cluster, scratch
        finally:
            cluster.run("pg_ctl", "stop", "--mode=immediate")


if __name__ == "__main__":
    with database() as (outbox, folder):
        prove(outbox, Server(), folder)
