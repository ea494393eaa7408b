# SPDX-License-Identifier: MIT
"""The daemon in real time, asked for everything that it serves as fast as it answers."""
import os
import subprocess
import time

import probe
import report
from load import Load

BODIES = "lab/platform/bodies"
COUNT = 100  # of each request in a round
FLIGHT = 8   # so many of them on their way at once: the gateway never waits for the next
WARM_ROUNDS = 3
SAMPLE_SECONDS = 10
GETS = ("ntwk/wandiagnose", "system/HostInfo", "system/deviceinfo", "ntwk/lan_host",
        "ntwk/WlanBasic", "ntwk/wlanfilterenhance", "ntwk/wlantimeswitch", "ntwk/guest_network",
        "ntwk/wan")
POSTS = (("system/changedevicename", "rename"), ("app/qosclass_host", "qos-set"),
         ("ntwk/WlanBasic", "wlan-set"), ("ntwk/WlanBasic", "wlan-ssid-set"),
         ("ntwk/WlanBasic", "wlan-send"), ("ntwk/WlanGuideBasic", "guide-set"),
         ("ntwk/wlanfilterenhance", "mac-filter-set"), ("ntwk/wlantimeswitch", "time-switch-set"),
         ("ntwk/guest_network", "guest-set"), ("service/reboot.cgi", "reboot"))


class Course:
    """The daemon on a gateway that answers from memory, and the load generator as its platform."""

    def __init__(self, build, folder):
        self.probe = probe.Probe(os.path.join(build, "bench/soak/libsoak_heap.so"), folder)
        self.load = Load(build, "--tls", folder, "--gateway")
        environment = self.probe.environment(BENCH_PORT=self.load.port, BENCH_TLS="1",
                                             LD_LIBRARY_PATH=os.path.join(build, "bench"))
        self.daemon = subprocess.Popen([os.path.join(build, "src/vxquilan_main/vxquilan")],
                                       env=environment, stdin=subprocess.DEVNULL,
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.probe.pid = self.daemon.pid
        for word in ("first", "online"):
            self.load.expect(word)

    def ask(self, method, path, body="-"):
        return self.load.ask(method, f".sys/gateway/{path}", COUNT, body, FLIGHT)["requests"]

    def round(self):
        return (sum(self.ask("GET", path) for path in GETS) +
                sum(self.ask("POST", path, f"{BODIES}/{body}.json") for path, body in POSTS))

    def close(self):
        self.daemon.terminate()
        self.daemon.wait()
        self.load.close()


def run(build, folder, seconds):
    """Samples at the end of a round every ten seconds, and what was asked for in all."""
    course = Course(build, folder)
    try:
        for _ in range(WARM_ROUNDS):
            course.round()
        # The warm-up ends with the thread that sends heartbeats; the first one comes at once.
        return measure(course, seconds)
    finally:
        course.close()


def measure(course, seconds):
    series = report.Series("hour", "second", "")
    start = time.monotonic()
    asked, due = 0, 0
    while True:
        elapsed = time.monotonic() - start
        if elapsed >= due or elapsed >= seconds:
            course.probe.settle()
            series.add(round(time.monotonic() - start, 1), course.probe.sample(), alike=True,
                       requests=asked)
            due = elapsed + min(SAMPLE_SECONDS, seconds / 6)
        if elapsed >= seconds:
            break
        asked += course.round()
    series.title = f"{asked:,} requests over TLS, {FLIGHT} on their way at once, in real time"
    rate = asked / (time.monotonic() - start)
    return series, f"{asked:,} requests in {seconds:,} s, {rate:,.0f} a second", []
