# SPDX-License-Identifier: MIT
"""Runs the measurements and writes the table, as JSON and as text, and the pictures."""
import argparse
import atexit
import contextlib
import json
import os
import re
import shutil
import statistics
import struct
import subprocess
import tempfile
import time

import pictures
import process
from counts import count_documents, count_requests
from load import Load

PAIRS = 7
QOS_BODY = "lab/platform/bodies/qos-set.json"
DEVICE_INFO = ".sys/gateway/system/deviceinfo"
HOST_INFO = ".sys/gateway/system/HostInfo"
WAN = ".sys/gateway/ntwk/wan"
QOS = ".sys/gateway/app/qosclass_host"


class Table:
    """Rows of: figure, ours, reference, ratio, goal, met."""

    def __init__(self):
        self.rows = []

    def add(self, figure, ours, reference=None, unit="", goal="", met=None):
        ratio = ours / reference if reference else None
        if callable(met):
            met = met(ratio if reference else ours)
        self.rows.append({"figure": figure, "ours": ours, "reference": reference, "unit": unit,
                          "ratio": ratio, "goal": goal, "met": met})

    def at_least(self, figure, ours, reference, goal, **more):
        self.add(figure, ours, reference, goal=f"at least {goal}", met=lambda r: r >= goal, **more)

    def at_most(self, figure, ours, reference, goal, **more):
        self.add(figure, ours, reference, goal=f"at most {goal}", met=lambda r: r <= goal, **more)

    def text(self):
        def number(value):
            return "" if value is None else f"{value:,.0f}" if abs(value) >= 100 else f"{value:.3g}"
        lines = ["| Figure | Ours | Reference | Unit | Ratio | Goal | Met |",
                 "| --- | ---: | ---: | --- | ---: | --- | --- |"]
        for row in self.rows:
            ratio = "" if row["ratio"] is None else f"{row['ratio']:.2f}"
            met = {True: "yes", False: "**no**", None: ""}[row["met"]]
            lines.append(f"| {row['figure']} | {number(row['ours'])} | {number(row['reference'])} "
                         f"| {row['unit']} | {ratio} | {row['goal']} | {met} |")
        return "\n".join(lines) + "\n"


class Peer:
    """A program that is measured, and the load generator that it is connected to."""

    def __init__(self, bench, command, tls=False, gateway=False, bench_libraries=True, wrap=()):
        options = (["--tls", bench.folder] if tls else []) + (["--gateway"] if gateway else [])
        self.load = Load(bench.build, *options)
        environment = {**os.environ, "BENCH_PORT": self.load.port, "BENCH_TLS": str(int(tls)),
                       "BENCH_GATEWAY": bench.size_file}
        if bench_libraries:
            environment["LD_LIBRARY_PATH"] = bench.path("bench")
        command = [word.replace("PORT", self.load.port) for word in command]
        started = time.monotonic()
        self.process = subprocess.Popen([*wrap, *command], env=environment,
                                        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        self.pid = self.process.pid
        self.first = float(self.load.expect("first")) - started
        self.online = float(self.load.expect("online")) - started

    def ask(self, method, path, count, body="-"):
        before = process.cpu_seconds(self.pid)
        result = self.load.ask(method, path, count, body)
        return {**result, "cpu": process.cpu_seconds(self.pid) - before}

    def close(self):
        self.process.terminate()
        self.process.wait()
        self.load.close()

    def heap(self):
        """Private memory of the heap, in kB."""
        return self._private_dirty("heap")

    def stacks(self):
        """Private memory of each thread's stack, in kB: 512 KB and the main thread's own."""
        mapped = re.findall(
            r"\n[0-9a-f-]+ rw-p 00000000 00:00 0 *\nSize: +(\d+) kB.*?\nPrivate_Dirty: +(\d+)",
            self._mappings(), re.S)
        return [self._private_dirty("stack")] + [int(dirty) for size, dirty in mapped
                                                 if 500 <= int(size) <= 540]

    def _private_dirty(self, name):
        found = re.search(rf"\[{name}\]\n.*?\nPrivate_Dirty: +(\d+)", self._mappings(), re.S)
        return int(found.group(1)) if found else 0

    def _mappings(self):
        with open(f"/proc/{self.pid}/smaps") as file:
            return file.read()


@contextlib.contextmanager
def one_processor():
    """Whatever is started inside runs on one processor, this program too: else most of a short
    round trip is the time that the system takes to wake the other one, and no two runs are alike."""
    before = os.sched_getaffinity(0)
    os.sched_setaffinity(0, {max(before)})
    try:
        yield
    finally:
        os.sched_setaffinity(0, before)


def of_pairs(ours, reference):
    """Our figure and the reference's: what counts is the median of the pairs' ratios, not the ratio
    of the medians."""
    middle = statistics.median(reference)
    return statistics.median(o / r for o, r in zip(ours, reference)) * middle, middle


class Bench:
    def __init__(self, build, size_build, out, haste):
        self.build = build
        self.size_build = size_build
        self.out = out
        self.haste = haste
        self.table = Table()
        self.folder = tempfile.mkdtemp(prefix="vxquilan-bench-")
        atexit.register(shutil.rmtree, self.folder)
        self.size_file = os.path.join(self.folder, "size")
        self.set_size(16, 16)

    def path(self, name):
        return os.path.join(self.build, name)

    @property
    def daemon(self):
        return self.path("src/vxquilan_main/vxquilan")

    def set_size(self, hosts, filters):
        # In place: the programs have the file mapped.
        with open(self.size_file, "r+b" if os.path.exists(self.size_file) else "w+b") as file:
            file.write(struct.pack("=ii", hosts, filters))

    @contextlib.contextmanager
    def peer(self, *arguments, **options):
        peer = Peer(self, *arguments, **options)
        try:
            yield peer
        finally:
            peer.close()

    # ---- the app channel against its ceilings

    def app_channel(self, tls):
        name = "TLS" if tls else "TCP"
        bare = self.path("bench/bench_bare")
        with one_processor(), self.peer([self.daemon], tls=tls, gateway=True) as ours, \
                self.peer([bare, "ready"], tls=tls) as ready, \
                self.peer([bare, "plain"], tls=tls) as plain:
            for label, method, path, hosts, count, of_ready in (
                    ("wan", "GET", WAN, 16, 600, 0.6),
                    ("deviceinfo", "GET", DEVICE_INFO, 16, 600, 0.6),
                    ("HostInfo-0", "GET", HOST_INFO, 0, 600, None),
                    ("HostInfo-16", "GET", HOST_INFO, 16, 150, None),
                    ("HostInfo-64", "GET", HOST_INFO, 64, 60, None),
                    ("settings POST", "POST", QOS, 16, 600, 0.6)):
                self.set_size(hosts, 16)
                body = QOS_BODY if method == "POST" else "-"
                rates = []
                for turn in range(PAIRS + 1):
                    results = [peer.ask(method, path, max(count // self.haste, 10), body)
                               for peer in (ours, plain, ready)]
                    if turn > 0:  # the first warms up
                        rates.append(results)
                self._channel_rows(f"{label}, {name}", rates, of_ready)

    def _channel_rows(self, label, rates, of_ready):
        def per_second(index):
            return [turn[index]["requests"] / turn[index]["seconds"] for turn in rates]

        # What the processor was really busy for: other programs on the machine do not count.
        def cost(index):
            return [turn[index]["cpu"] / turn[index]["requests"] * 1e6 for turn in rates]

        def row(add, what, index, *goal):
            add(f"{label}: requests a second, of {what}",
                *of_pairs(per_second(0), per_second(index)), *goal, unit="1/s")
        row(self.table.at_least, "(b) plain cJSON", 1, 1.0)
        if of_ready is not None:
            row(self.table.at_least, "(a) ready text", 2, of_ready)
        else:
            row(self.table.add, "(a) ready text", 2)
        for index, what in ((1, "(b)"), (2, "(a)")):
            self.table.add(f"{label}: CPU a request, beside {what}",
                           *of_pairs(cost(0), cost(index)), unit="µs")
        for quantile in ("p50", "p99"):
            ours, plain = ([turn[index][quantile] * 1e6 for turn in rates] for index in (0, 1))
            self.table.add(f"{label}: {quantile}, beside (b)", statistics.median(ours),
                           statistics.median(plain), unit="µs")

    # ---- documents

    def documents(self):
        counted = count_documents(self.build)
        for name, sides in counted.items():
            ours, plain = sides["ours"], sides["plain"]
            self.table.at_most(f"{name}: instructions", ours.instructions, plain.instructions, 1.0)
            self.table.add(f"{name}: allocations", ours.allocations, plain.allocations)
        for name, sides in count_requests(self.build).items():
            for figure in ("instructions", "allocations"):
                self.table.add(f"{name}: {figure}", getattr(sides["ours"], figure),
                               getattr(sides["plain"], figure))
        self.growth(counted)
        pictures.draw(counted, self.times(), self.out)

    def times(self):
        """Microseconds of each document's runs, by name and side."""
        output = subprocess.run(
            [self.path("bench/bench_time"), "--benchmark_format=json",
             "--benchmark_enable_random_interleaving=true", "--benchmark_repetitions=7",
             "--benchmark_min_time=0.01", "--benchmark_report_aggregates_only=true"],
            capture_output=True, text=True, check=True).stdout
        return {run["run_name"].removesuffix("/repeats:7"): run["cpu_time"] / 1000
                for run in json.loads(output)["benchmarks"] if run["aggregate_name"] == "median"}

    def growth(self, counted):
        for prefix in ("HostInfo-", "wlanfilterenhance-", "wlanfilterenhance body-"):
            for what in ("instructions", "allocations"):
                value = {n: getattr(counted[f"{prefix}{n}"]["ours"], what)
                         for n in (0, 16, 32, 48, 64)}
                steps = [(value[n] - value[n - 16]) / 16 for n in (16, 32, 48, 64)]
                spread = max(steps) / min(steps) - 1
                self.table.add(f"{prefix}0 to 64: spread of {what} per entry", spread * 100,
                               unit="%", goal="at most 10 %", met=lambda r: r <= 10)

    # ---- the platform channel

    def frames(self):
        output = subprocess.run([self.path("bench/bench_frames")], capture_output=True, text=True,
                                check=True).stdout
        pairs = [json.loads(line) for line in output.splitlines()]
        for size in (64, 1024, 10000):
            own = [pair for pair in pairs if pair["size"] == size]
            self.table.at_least(f"frames of {size} bytes, sent and received",
                                *of_pairs([pair["ours"] for pair in own],
                                          [pair["reference"] for pair in own]), 0.9, unit="1/s")

        self.status_queries()

    def status_queries(self):
        with one_processor():
            output = subprocess.run([self.path("bench/bench_status")], capture_output=True,
                                    text=True, check=True).stdout
        turns = [json.loads(line) for line in output.splitlines()]
        self.table.add("status queries, asked and answered",
                       statistics.median(turn["requests"] / turn["seconds"] for turn in turns),
                       unit="1/s")

    # ---- footprint, idle cost, start

    def footprint(self):
        os.sync()  # pages of a fresh build, not yet on the disk, count as dirty memory
        client = ["coap-client-openssl", "-m", "get", "-B", "300", "-s", "300",
                  "coaps+tcp://127.0.0.1:PORT/x"]
        with self.peer([self.daemon], tls=True, gateway=True) as ours, \
                self.peer(client, tls=True, bench_libraries=False) as bare:
            time.sleep(3)
            mine, other = process.memory(ours.pid), process.memory(bare.pid)
            self.table.at_most("private dirty memory, online over TLS and idle",
                               mine["Private_Dirty"], other["Private_Dirty"], 1.1, unit="kB")
            self.table.add("PSS, the same", mine["Pss"], other["Pss"], unit="kB")
            for what in (process.threads, process.descriptors):
                self.table.add(what.__name__, len(what(ours.pid)), len(what(bare.pid)))
        self.heap_and_stacks()
        self.sizes()

    def heap_and_stacks(self):
        with self.peer([self.daemon], gateway=True) as ours:
            self.set_size(64, 64)
            for path in (HOST_INFO, WAN, DEVICE_INFO):
                ours.ask("GET", path, 200)
            self.set_size(16, 16)
            ours.ask("GET", WAN, 200)
            before = ours.heap()
            for _ in range(100):
                ours.ask("GET", DEVICE_INFO, 1000 // self.haste)
            self.table.add(f"heap after {100_000 // self.haste:,} requests, beside before",
                           ours.heap(), before, unit="kB", goal="the same",
                           met=lambda ratio: ratio == 1)
            for number, used in enumerate(ours.stacks()):
                self.table.add(f"stack in use, thread {number}", used, unit="kB")

    def sizes(self):
        stripped = os.path.join(self.folder, "stripped")
        program = os.path.join(self.size_build, "src/vxquilan_main/vxquilan")
        subprocess.run(["strip", "-o", stripped, program], check=True)
        client = "/usr/bin/coap-client-openssl"

        def text_of(path):
            output = subprocess.run(["size", "-A", path], capture_output=True, text=True,
                                    check=True).stdout
            return int(re.search(r"^\.text +(\d+)", output, re.M).group(1))

        def libraries(path):
            output = subprocess.run(["readelf", "-d", path], capture_output=True, text=True,
                                    check=True).stdout
            return output.count("(NEEDED)")
        self.table.add(".text at -Os", text_of(stripped), text_of(client), unit="bytes",
                       goal="under 73728", met=text_of(stripped) < 73728)
        self.table.add("size at -Os, stripped", os.path.getsize(stripped), os.path.getsize(client),
                       unit="bytes")
        self.table.add("libraries needed", libraries(stripped), libraries(client))

    def peak_heap(self):
        out = os.path.join(self.folder, "massif")
        wrap = ["valgrind", "--tool=massif", f"--massif-out-file={out}", "--quiet"]
        with self.peer([self.daemon], gateway=True, wrap=wrap) as ours:
            self.set_size(64, 16)
            ours.ask("GET", HOST_INFO, 3)
            self.set_size(16, 16)
        with open(out) as lines:
            peak = max(int(line.split("=")[1]) for line in lines if line.startswith("mem_heap_B"))
        self.table.add("peak heap with HostInfo-64", peak / 1024, unit="kB")

    def idle(self, seconds=3.0):
        programs = [("10 ms", self.daemon), ("100 ms", self.path("bench/bench_step_100")),
                    ("1 s", self.path("bench/bench_step_1000"))]
        with one_processor(), contextlib.ExitStack() as stack:
            sleeper = subprocess.Popen([self.path("bench/bench_sleeper")])
            stack.callback(sleeper.wait)
            stack.callback(sleeper.terminate)
            peers = [(name, stack.enter_context(self.peer([program], gateway=True)))
                     for name, program in programs]
            time.sleep(3)
            pids = [("sleeper", sleeper.pid)] + [(name, peer.pid) for name, peer in peers]
            windows = []
            for _ in range(PAIRS):
                # All in the same window: they see the same machine.
                begin = {name: process.spent(pid) for name, pid in pids}
                time.sleep(seconds)
                windows.append({name: [now - before for now, before
                                       in zip(process.spent(pid), begin[name])]
                                for name, pid in pids})
        for name, _ in programs:
            goal = {"goal": "at most 1.3", "met": lambda r: r <= 1.3} if name == "10 ms" else {}
            for index, what, unit in ((0, "CPU", "ms"), (1, "context switches", "")):
                scale = 60 / seconds * (1000 if index == 0 else 1)
                ours, sleeping = ([window[who][index] * scale for window in windows]
                                  for who in (name, "sleeper"))
                self.table.add(f"idle, step {name}: {what} a minute", *of_pairs(ours, sleeping),
                               unit=unit, **goal)

    def start(self):
        firsts, onlines, siblings = [], [], []
        for _ in range(7):
            start = time.monotonic()
            subprocess.run(["sh", "-c", "killall -9 statpush"], stdout=subprocess.DEVNULL,
                           stderr=subprocess.DEVNULL, check=False)
            siblings.append(time.monotonic() - start)
            with self.peer([self.daemon], gateway=True) as ours:
                firsts.append(ours.first)
                onlines.append(ours.online)
        sibling = statistics.median(siblings)
        self.table.add("start: exec to first byte sent", statistics.median(firsts) * 1000,
                       unit="ms")
        self.table.add("start: of that, ending the sibling daemon", sibling * 1000, unit="ms")
        self.table.add("start: exec to online", statistics.median(onlines) * 1000, unit="ms")
        # One poll of a second lies between the login's reply and the device information.
        own = statistics.median(onlines) - 1 - sibling
        self.table.add("start: to online, our own share", own * 1000, unit="ms",
                       goal="under 20", met=own < 0.020)


MEASUREMENTS = {"tcp": lambda bench: bench.app_channel(tls=False),
                "tls": lambda bench: bench.app_channel(tls=True),
                "documents": Bench.documents, "frames": Bench.frames,
                "footprint": Bench.footprint, "heap": Bench.peak_heap, "idle": Bench.idle,
                "start": Bench.start}


def main():
    parser = argparse.ArgumentParser(prog="bench")
    parser.add_argument("--build", required=True)
    parser.add_argument("--size-build", required=True)
    parser.add_argument("--out", required=True, help="folder for the table and the pictures")
    parser.add_argument("--only", choices=MEASUREMENTS, help="one of the measurements")
    parser.add_argument("--haste", type=int, default=1,
                        help="so many times fewer requests: for a machine that is busy")
    arguments = parser.parse_args()
    if arguments.haste < 1:
        parser.error(f"--haste: {arguments.haste} is not a number above 0")
    bench = Bench(arguments.build, arguments.size_build, arguments.out, arguments.haste)
    os.makedirs(arguments.out, exist_ok=True)
    for name, measure in MEASUREMENTS.items():
        if arguments.only in (None, name):
            print(f"bench: {name}", flush=True)
            measure(bench)
    with open(os.path.join(arguments.out, "performance.json"), "w") as file:
        json.dump({"load": os.getloadavg()[0], "rows": bench.table.rows}, file, indent=1)
    with open(os.path.join(arguments.out, "performance-table.md"), "w") as file:
        file.write(bench.table.text())
    print(bench.table.text())


if __name__ == "__main__":
    main()
