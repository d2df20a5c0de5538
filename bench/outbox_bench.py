#!/usr/bin/python3
"""Prints the outbox's mails a second, and the time from the insert's commit to the server's 250.

outbox_bench.py WORKER SCHEMA
"""
import pathlib
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "tests/outbox"))
from outbox_test import Server, database, start_worker, wait_until

with database() as (cluster, folder):
    for processes in (1, 2, 4):
        server = Server(delay=0.02)
        workers = [start_worker(cluster, server, folder) for _ in range(processes)]
        wait_until(lambda: cluster.ask("SELECT count(*) FROM pg_stat_activity WHERE query LIKE '%outbox_claim%'"
                                       " AND state = 'idle'") == [(4 * processes,)])
        cluster.add(400 * processes, "'soon'")
        wait_until(lambda: cluster.counts()[:3] == (0, 0, 0))
        rate = len(server.times) / (max(server.times.values()) - min(server.times.values()))
        begin = time.monotonic()
        cluster.add(1, "'soon'")
        wait_until(lambda: server.times[1] > begin)
        print(f"{processes} processes: {rate:.0f} mails a second, {1000 * (server.times[1] - begin):.0f} ms to 250")
        for worker in workers:
            worker.terminate()
            worker.wait()
        cluster.ask("TRUNCATE outbox_mail")
