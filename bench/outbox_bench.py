#!/usr/bin/python3
"""Prints the outbox's mails a second, and the time from the insert's commit to the server's 250.

outbox_bench.py WORKER
"""
import asyncio
import pathlib
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "tests/outbox"))
from outbox_test import SMTP, Server, add, counts, start_worker, trial_database, wait_until

DELAY = 0.02  # Seconds, of every reply but the first lines of a longer one.


class SlowConnection(SMTP):
    async def push(self, status):
        if status[3:4] not in ("-", b"-"):
            await asyncio.sleep(DELAY)
        await super().push(status)
        if status == "250 taken":
            self.event_handler.times.append(time.monotonic())


with trial_database() as outbox:
    for processes in (1, 2, 4):
        server = Server(SlowConnection)
        server.times = []
        workers = [start_worker(outbox, server) for _ in range(processes)]
        wait_until(lambda: outbox.ask("SELECT count(*) FROM pg_stat_activity WHERE query LIKE '%outbox_claim%'"
                                      " AND state = 'idle'") == [(4 * processes,)])
        mails = 400 * processes
        add(outbox, mails, "'soon'")
        wait_until(lambda: counts(outbox)[:3] == (0, 0, 0))
        rate = mails / (server.times[-1] - server.times[0])
        begin = time.monotonic()
        add(outbox, 1, "'soon'")
        wait_until(lambda: len(server.times) > mails)
        print(f"{processes} processes: {rate:.0f} mails a second, {1000 * (server.times[-1] - begin):.0f} ms to 250")
        for worker in workers:
            worker.terminate()
            worker.wait()
        outbox.ask("TRUNCATE outbox_mail")
