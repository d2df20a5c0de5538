#!/usr/bin/python3
"""Sends 5,000 mails through the outbox while one worker is killed and the database restarts.

outbox_test.py WORKER    checks what became of every mail
"""
import asyncio
import collections
import logging
import pathlib
import re
import signal
import subprocess
import sys
import threading
import time

from aiosmtpd.smtp import SMTP, AuthResult

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "examples/outbox"))
from trial_database import trial_database

WORKER = sys.argv[1]
MAILS = 5000
LONGEST_WAIT = 120  # Seconds, which only a hang takes.
logging.disable()  # aiosmtpd's notes.
KINDS = "CASE WHEN n % 25 = 0 THEN 'never' WHEN n % 10 = 0 THEN 'later' ELSE 'soon' END"


class Server:
    """Takes mails, but for those to later-N, twice, and to never-N."""

    def __init__(self, connection=SMTP):
        self.taken, self.tried = collections.Counter(), collections.Counter()
        loop = asyncio.new_event_loop()
        server = loop.run_until_complete(loop.create_server(lambda: connection(
            self, loop=loop, authenticator=lambda *_: AuthResult(success=True), auth_require_tls=False),
            "127.0.0.1", 0))
        self.port = server.sockets[0].getsockname()[1]
        threading.Thread(target=loop.run_forever, daemon=True).start()

    async def handle_RCPT(self, _server, _session, envelope, address, _options):
        kind = address.split("-")[0]
        self.tried[address] += 1
        if kind == "never":
            return "550 5.1.1 no such user"
        if kind == "later" and self.tried[address] <= 2:
            return "450 4.2.0 try again"
        envelope.rcpt_tos.append(address)
        return "250 ok"

    async def handle_DATA(self, _server, _session, envelope):
        self.taken[int(re.search(rb"^Subject: (\d+)", envelope.content, re.M)[1])] += 1
        return "250 taken"


def add(outbox, count, kinds):
    outbox.ask(f"""INSERT INTO outbox_mail (sender, recipients, subject, text_body)
                   SELECT 'a@example.org', ARRAY[{kinds} || '-' || n || '@example.org'], n::text, 'hello'
                   FROM generate_series(1, {count}) AS n""")


def counts(outbox):
    return outbox.ask("SELECT under_way, due, later, sent, failed FROM outbox_counts")[0]


def start_worker(outbox, server, *options):
    password = outbox.folder / "password"
    password.write_text("p\n")
    return subprocess.Popen([WORKER, f"--database={outbox.connection}", "--host=127.0.0.1", f"--port={server.port}",
                             "--no-tls", "--user=u", f"--password-file={password}", *options],
                            stderr=subprocess.DEVNULL)


def wait_until(holds):
    deadline = time.monotonic() + LONGEST_WAIT
    while not holds():
        assert time.monotonic() < deadline, "it takes too long"
        time.sleep(0.05)


def prove(outbox, server):
    add(outbox, MAILS, KINDS)
    outbox.ask("INSERT INTO outbox_mail (sender, recipients, subject, attachments)"
                " VALUES ('a@example.org', ARRAY['b@example.org'], '0', ARRAY['/no/such/file'])")
    options = ["--threads=4", "--minute=200", "--lease=15"]
    workers = [start_worker(outbox, server, *options) for _ in range(3)]
    wait_until(lambda: counts(outbox)[3] > MAILS / 4)
    workers[0].kill()
    workers[0].wait()
    under_way = {int(number) for number, in outbox.ask(
        f"SELECT subject FROM outbox_mail WHERE state = 'queued' AND leased_until > now()"
        f" AND worker LIKE '{workers[0].pid}.%'")}
    wait_until(lambda: counts(outbox)[3] > MAILS / 2)
    outbox.control("restart", "--mode=fast")
    wait_until(lambda: counts(outbox)[:3] == (0, 0, 0))
    for worker in workers[1:]:
        worker.send_signal(signal.SIGTERM)
        assert worker.wait(LONGEST_WAIT) == 0

    sendable = {number for number in range(1, MAILS + 1) if number % 25 != 0}
    assert set(server.taken) == sendable, "not all mails, or others"
    twice = {number for number, times in server.taken.items() if times > 1}
    assert twice <= under_way, f"sent twice: {twice - under_way}"
    states = dict(outbox.ask("SELECT subject::int, state FROM outbox_mail"))
    assert states == {number: "sent" if number in sendable else "failed" for number in range(MAILS + 1)}
    reasons = outbox.ask("SELECT DISTINCT last_text FROM outbox_mail WHERE state = 'failed' ORDER BY 1")
    assert len(reasons) == 2 and "550 5.1.1 no such user" in reasons[0][0] and "regular file" in reasons[1][0], reasons
    print(f"{len(sendable)} mails sent, {len(twice)} of them twice, of {len(under_way)} that were under way at the kill")


if __name__ == "__main__":
    with trial_database() as trial:
        prove(trial, Server())
