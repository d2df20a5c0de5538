#!/usr/bin/python3
"""An empty outbox in a PostgreSQL of its own, to try the worker with: trial_database.py

Prints what the worker takes as --database, and ends with Ctrl-C. Nothing of it stays. As root it
runs as the user postgres, whom Debian's package has made.
"""
import contextlib
import glob
import os
import pathlib
import pwd
import signal
import subprocess
import tempfile

import psycopg2

SCHEMA = pathlib.Path(__file__).with_name("schema.sql")


class TrialDatabase:
    """Lives in a folder, and listens on a socket there alone."""

    def __init__(self, folder):
        self.folder = folder
        self.programs = sorted(glob.glob("/usr/lib/postgresql/*/bin"))[-1]
        self.connection = f"host={folder} user=postgres dbname=postgres"
        if os.getuid() == 0:
            owner = pwd.getpwnam("postgres")
            os.chown(folder, owner.pw_uid, owner.pw_gid)
        self.run("initdb", "--auth=trust", "--no-sync", "--username=postgres")
        self.control("start", "-o", f"-c listen_addresses='' -c fsync=off -c unix_socket_directories={folder}")
        self.ask(SCHEMA.read_text())

    def run(self, program, *arguments):
        as_owner = ["setpriv", "--reuid=postgres", "--regid=postgres", "--clear-groups"] if os.getuid() == 0 else []
        subprocess.run([*as_owner, f"{self.programs}/{program}", "-D", self.folder / "data", *arguments],
                       cwd="/", check=True, stdout=subprocess.DEVNULL)

    def control(self, action, *arguments):
        self.run("pg_ctl", action, "--wait", "--log", self.folder / "log", *arguments)

    def ask(self, statement):
        with contextlib.closing(psycopg2.connect(self.connection)) as database, database.cursor() as cursor:
            cursor.execute(statement)
            rows = cursor.fetchall() if cursor.description else []
            database.commit()
            return rows


@contextlib.contextmanager
def trial_database():
    with tempfile.TemporaryDirectory(prefix="outbox-") as folder:
        folder = pathlib.Path(folder)
        folder.chmod(0o755)
        database = TrialDatabase(folder)
        try:
            yield database
        finally:
            database.run("pg_ctl", "stop", "--mode=immediate")


if __name__ == "__main__":
    with trial_database() as trial:
        print(trial.connection, flush=True)
        with contextlib.suppress(KeyboardInterrupt):
            signal.pause()
