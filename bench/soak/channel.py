# SPDX-License-Identifier: MIT
"""The platform channel in real time: orders without a pause, and one lost connection after another."""
import os
import time

import report
from lab import Gateway, Platform

COUNT = 20  # of each order in a round
LEAST_ROUNDS = 2  # behind the one that warms up
ORDERS = ("net-wifi", "net-wifi-switch", "net-led", "net-wifi-switch net-timers.json", "net-wps",
          "net-status")


class Course:
    """The channel's host program on the simulated gateway, and the emulator as its platform."""

    def __init__(self, build, folder):
        # Gateways know one port only, so each soak has an address of its own.
        address = f"127.{os.getpid() >> 16 & 127 | 128}.{os.getpid() >> 8 & 255}.{os.getpid() & 255}"
        self.platform = Platform(build, folder, "--tcp", "127.0.0.1:0", "--net", address)
        self.gateway = Gateway(build, folder, "lab/net/vxquilan_net",
                               {"platform_channel": {"gateway_ip": address}})
        self.probe = self.gateway.probe

    def round(self):
        """A connection: key agreement, registration, heartbeat, all orders, and its end. The wait
        for the next is the daemon's own, ten seconds to half a minute."""
        heartbeats = self.platform.take_counts()["request:net-heartbeat"]
        self.platform.wait("request:net-heartbeat", heartbeats + 1)
        self.platform.ask("net-upgrade")  # has a thread of its own, which is gone in the end
        for order in ORDERS:
            for _ in range(COUNT):
                self.platform.ask(order)
        self.platform.do("net-drop")
        return COUNT * len(ORDERS) + 1

    def close(self):
        self.gateway.close()
        self.platform.close()


def run(build, folder, seconds):
    """Samples at the end of each round; the connection is gone then, but not noticed yet."""
    course = Course(build, folder)
    series = report.Series("channel", "second", "")
    threads = None  # at the first sample
    try:
        course.round()
        start = time.monotonic()
        asked = rounds = 0
        while rounds < LEAST_ROUNDS or time.monotonic() - start < seconds:
            asked += course.round()
            rounds += 1
            course.probe.settle(threads)
            sample = course.probe.sample()
            threads = threads or sample["threads"]
            series.add(round(time.monotonic() - start, 1), sample, alike=True, orders=asked)
    finally:
        course.close()
    series.title = f"{asked:,} orders on {rounds:,} connections of the platform channel"
    return series, f"{asked:,} orders on {rounds:,} connections", []
