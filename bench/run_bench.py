#!/usr/bin/python3
"""Measures the library beside bare libcurl and other mail libraries, and shows tables and plots.

run_bench.py BUILD OUTPUT [--rounds N] [--scale F] [--only NAME...]

All ways of a workload take turns, round by round. A figure beside another is the median, over the
rounds, of the ratio within a round: only that says something, whatever else the machine does. The
targets hold for the default scale, and a run of any other says so instead of judging.
"""
import argparse
import dataclasses
import json
import os
import pathlib
import random
import shutil
import statistics
import subprocess
import sys
import tempfile

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

TRUST_FILE = "/etc/ssl/certs/ca-certificates.crt"
HTML = "<p>" + "Hello. " * 300 + "</p>"


@dataclasses.dataclass
class Target:
    """way beside base: how many times its rate (or its processor time) at least (or at the most)."""
    way: str
    base: str
    figure: str  # "rate" or "cpu"
    bound: float

    def ratio(self, runs):
        figure = "seconds" if self.figure == "rate" else "cpu"
        pairs = zip(runs[self.way], runs[self.base])
        ratios = [way[figure] / base[figure] for way, base in pairs]
        return statistics.median(1 / ratio if self.figure == "rate" else ratio for ratio in ratios)

    def is_met(self, ratio):
        return ratio >= self.bound if self.figure == "rate" else ratio <= self.bound


@dataclasses.dataclass
class Workload:
    name: str
    title: str
    times: int
    arguments: list
    ways: list
    targets: list
    peers: bool = True
    variants: dict = dataclasses.field(default_factory=dict)  # Of arguments, by the name of a way.
    peak_mebibytes: float = 0  # Memory that send-async may take at the most; 0: any.
    mebibytes: float = 0  # On the wire for one mail; 0: the rate is in mails.


class Bench:
    def __init__(self, options, folder):
        self.options = options
        self.folder = folder
        self.programs = pathlib.Path(options.build) / "bench"
        self.peers = self.find_peers()
        make_certificate(folder)
        self.server = subprocess.Popen([self.programs / "sink_server", folder / "server.pem"],
                                       stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.port = self.server.stdout.readline().strip()

    def find_peers(self):
        here = pathlib.Path(__file__).parent / "peers"
        peers = {"smtplib": ["/usr/bin/python3", here / "smtplib_peer.py"]}
        modules = pathlib.Path(self.options.output) / "node"
        if shutil.which("npm") and not (modules / "node_modules/nodemailer").exists():
            subprocess.run(["npm", "install", "--silent", "--prefix", modules, "nodemailer@6"], check=False)
        if (modules / "node_modules/nodemailer").exists():
            shutil.copy(here / "nodemailer_peer.mjs", modules)
            peers["Nodemailer"] = ["node", modules / "nodemailer_peer.mjs"]
        else:
            print("Nodemailer is left out: npm is not here, or could not install it.")
        return peers

    def run_once(self, workload, way):
        program = self.peers.get(way, [self.programs / "sender"])
        name, _, _ = way.partition("/")
        arguments = workload.variants.get(way, workload.arguments)
        times = max(1, round(workload.times * self.options.scale))
        command = [*program, name, times, f"port={self.port}", f"log={self.folder / 'log'}", *arguments]
        environment = dict(os.environ, NODE_EXTRA_CA_CERTS=str(self.folder / "ca.pem"))
        done = subprocess.run(list(map(str, command)), capture_output=True, text=True, env=environment)
        if done.returncode != 0:
            sys.exit(f"{workload.name}, {way}: failed\n{done.stderr}")
        return dict(json.loads(done.stdout), times=times)

    def run(self, workload):
        ways = workload.ways + (list(self.peers) if workload.peers else [])
        runs = {way: [] for way in ways}
        for number in range(self.options.rounds):
            for way in ways:
                progress(f"{workload.name}: round {number + 1} of {self.options.rounds}, {way}")
                runs[way].append(self.run_once(workload, way))
        progress("")
        return runs


def progress(text):
    if sys.stdout.isatty():
        print(f"\r\x1b[K{text}", end="", flush=True)


def make_certificate(folder):
    """An authority, and a certificate of it for the server."""
    def openssl(*arguments, **more):
        subprocess.run(["openssl", *arguments], cwd=folder, check=True, stderr=subprocess.DEVNULL, **more)
    openssl("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=bench authority",
            "-keyout", "ca.key", "-out", "ca.pem")
    openssl("req", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=127.0.0.1", "-keyout", "key.pem", "-out", "csr.pem")
    (folder / "names").write_text("subjectAltName=IP:127.0.0.1\n")
    openssl("x509", "-req", "-in", "csr.pem", "-CA", "ca.pem", "-CAkey", "ca.key", "-days", "2", "-set_serial", "1",
            "-extfile", "names", "-out", "certificate.pem")
    (folder / "server.pem").write_bytes((folder / "certificate.pem").read_bytes() + (folder / "key.pem").read_bytes())


def trust_authority(folder):
    """Adds the authority to the system's, in the mount namespace of the run. False without the right to."""
    both = folder / "trusted.pem"
    both.write_bytes(pathlib.Path(TRUST_FILE).read_bytes() + (folder / "ca.pem").read_bytes())
    return subprocess.run(["mount", "--bind", both, TRUST_FILE], stderr=subprocess.DEVNULL).returncode == 0


def noise(path, size):
    generator = random.Random(size)
    with path.open("wb") as file:
        while size > 0:
            piece = min(size, 1 << 20)
            file.write(generator.randbytes(piece))
            size -= piece
    return path


def workloads(folder, scale):
    library = ["send-async", "send-log"]
    bare = ["curl", "curl-trace"]
    large = round((256 << 20) * scale)
    large_file = noise(folder / "large.bin", large)
    rich = ["recipients=1", f"html={HTML}", "body=2000"]
    for kind, name, size in (("picture", "a.png", 90_000), ("picture", "b.jpg", 110_000),
                             ("attach", "c.pdf", 200_000), ("attach", "d.zip", 125_000)):
        rich.append(f"{kind}={noise(folder / name, size)}")
    for tls, name, at_large, at_rich in ((0, "plain", (10, 6), (7, 4.5)), (1, "TLS", (8, 5), (5, 3.5))):
        yield Workload(f"large-{name.lower()}", f"One attachment of {large >> 20} MiB, {name}", 1,
                       [f"tls={tls}", f"attach={large_file}"], bare + library,
                       [Target("send-async", "curl", "rate", at_large[0]),
                        Target("send-log", "curl-trace", "rate", at_large[1])], peak_mebibytes=16, mebibytes=large / 2**20 * 78 / 57)
        yield Workload(f"rich-{name.lower()}", f"Mails of 0.7 MB with two pictures and two files, {name}", 60,
                       [f"tls={tls}", *rich], bare + library,
                       [Target("send-async", "curl", "rate", at_rich[0]),
                        Target("send-log", "curl-trace", "rate", at_rich[1]),
                        *(Target(way, peer, "rate", 1.0) for way in library for peer in ("smtplib", "Nodemailer"))])
    yield Workload("verified", "Small mails to a server whose certificate is checked, and is not", 100,
                   ["tls=1"], ["send-async", "send-async/checked", "curl/checked"],
                   [Target("send-async/checked", "send-async", "cpu", 1.3)],
                   variants={"send-async/checked": ["tls=1", "verify=1"], "curl/checked": ["tls=1", "verify=1"]},
                   peers=False)
    yield Workload("small", "Small mails", 1500, ["tls=0"], ["curl-trace", "send", "curl-thread", "send-async"],
                   [Target("send", "curl-trace", "rate", 0.95), Target("send", "curl-trace", "cpu", 1.10),
                    Target("send-async", "curl-thread", "rate", 0.97),
                    Target("send-async", "curl-thread", "cpu", 1.06)])
    yield Workload("recipients", "One mail to 10,000 recipients", 3, ["tls=0", "recipients=10000"],
                   ["curl-thread", "send-async", "curl-trace", "send"],
                   [Target("send-async", "curl-thread", "cpu", 1.05), Target("send", "curl-trace", "cpu", 1.05)],
                   peers=False)
    yield from growth(folder)


def growth(folder):
    """Eight times as much of one thing: ten times the processor time at the most."""
    few = noise(folder / "few.bin", 1000)
    sizes = {
        "body": lambda n: [f"body={n << 20}"],
        "recipients": lambda n: [f"recipients={2000 * n}"],
        "attachments": lambda n: [f"attach={few}"] * (200 * n),
        "one-attachment": lambda n: [f"attach={noise(folder / f'grown{n}.bin', n << 23)}"],
    }
    for name, arguments in sizes.items():
        for way in ("send-log", "send-async"):
            yield Workload(f"growth-{name}-{way}", f"{name} × 8, {way}", 3, arguments(1), [way, f"{way}/8"],
                           [Target(f"{way}/8", way, "cpu", 10)], variants={f"{way}/8": arguments(8)}, peers=False)


def table(workload, runs):
    """Rows of Markdown, and whether every target was met."""
    unit = "MiB/s" if workload.mebibytes else "mails/s"
    rows = [f"### {workload.title}", "", f"| way | {unit} | cpu ms a mail | peak MiB |", "|---|---:|---:|---:|"]
    for way, measured in runs.items():
        rate = statistics.median(run["times"] / run["seconds"] for run in measured) * (workload.mebibytes or 1)
        cpu = statistics.median(1000 * run["cpu"] / run["times"] for run in measured)
        peak = statistics.median(run["peak_kib"] / 1024 for run in measured)
        rows.append(f"| {way} | {rate:.4g} | {cpu:.4g} | {peak:.1f} |")
    rows.append("")
    is_met = True
    for target in workload.targets:
        if target.base not in runs:
            continue
        ratio = target.ratio(runs)
        met = target.is_met(ratio)
        is_met &= met
        relation = "at least" if target.figure == "rate" else "at most"
        rows.append(f"- {target.figure} of {target.way} beside {target.base}: {ratio:.2f} times, "
                    f"wanted {relation} {target.bound}: {'met' if met else '**missed**'}")
    if workload.peak_mebibytes:
        peak = statistics.median(run["peak_kib"] / 1024 for run in runs["send-async"])
        met = peak <= workload.peak_mebibytes
        is_met &= met
        rows.append(f"- peak memory of send-async: {peak:.1f} MiB, wanted at most {workload.peak_mebibytes}: "
                    f"{'met' if met else '**missed**'}")
    return "\n".join(rows) + "\n", is_met


def plot(workload, runs, path):
    colours = {"send": "#2a6f97", "curl": "#9aa5b1"}
    medians = {way: statistics.median(run["times"] / run["seconds"] for run in measured) * (workload.mebibytes or 1)
               for way, measured in runs.items()}
    figure, axes = plt.subplots(figsize=(6, 0.4 * len(medians) + 0.9))
    bars = axes.barh(list(medians), list(medians.values()),
                     color=[colours.get(way.split("-")[0].split("/")[0], "#c9a227") for way in medians])
    axes.bar_label(bars, fmt="%.4g", padding=3)
    axes.invert_yaxis()
    axes.margins(x=0.15)
    axes.set_xlabel("MiB a second" if workload.mebibytes else "mails a second")
    axes.set_title(workload.title, fontsize=10)
    axes.spines[["top", "right"]].set_visible(False)
    figure.tight_layout()
    figure.savefig(path, dpi=110)
    plt.close(figure)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build")
    parser.add_argument("output")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--scale", type=float, default=1.0, help="of sizes and counts")
    parser.add_argument("--only", nargs="*", help="names of workloads, or how they begin")
    options = parser.parse_args()
    output = pathlib.Path(options.output)
    output.mkdir(parents=True, exist_ok=True)
    all_met = True
    with tempfile.TemporaryDirectory(prefix="smtpclient-bench-") as scratch:
        folder = pathlib.Path(scratch)
        bench = Bench(options, folder)
        is_trusted = trust_authority(folder)
        tables = []
        for workload in workloads(folder, options.scale):
            if options.only and not workload.name.startswith(tuple(options.only)):
                continue
            if workload.name == "verified" and not is_trusted:
                print("Checked certificates are left out: only root can have the system trust one.\n")
                continue
            runs = bench.run(workload)
            text, is_met = table(workload, runs)
            all_met &= is_met
            print(text, flush=True)
            tables.append(text)
            if not workload.name.startswith("growth"):
                plot(workload, runs, output / f"{workload.name}.png")
        bench.server.stdin.close()
        (output / "tables.md").write_text("\n".join(tables))
    if options.scale != 1:
        print("The targets hold for the default scale alone; nothing was judged.")
        return 0
    print("All targets met." if all_met else "A target was missed.")
    return 0 if all_met else 1


sys.exit(main())
