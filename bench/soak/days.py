# SPDX-License-Identifier: MIT
"""The daemon on the simulated gateway, with the emulator as its platform, for days."""
import collections
import os
import subprocess
import time

import report
from lab import Gateway, Platform

DAY = 86400
HOUR = 3600
OUTAGE = 15 * 60
LONG_TOKEN = 6 * HOUR
SHORT_TOKEN = 40 * 60
CLOCK_LIBRARY = "bench/soak/libsoak_clock.so"
REGISTRATION_CODE = "VX-4711-0815"
REQUESTS = ("wan-diagnose", "hosts", "rename", "device-info", "lan-hosts", "qos-set", "wlan",
            "wlan-set", "wlan-set wlan-ssid-set.json", "wlan-set wlan-send.json", "guide-set",
            "mac-filter", "mac-filter-set", "time-switch", "time-switch-set", "guest", "guest-set",
            "wan")
# What each day consists of: least and most. A session begins with a login and the device
# information; registering is a connection of its own. With short tokens a session has two
# refreshes, or three when the first heartbeat's reply comes late enough for the count of attempts
# to be reset, and an hour or less is spent without a device ID.
DAILY = {"connect": (6, 6), "close": (6, 6), "request:register": (1, 1),
         "request:activate": (3, 3), "request:login": (5, 5), "request:devinfo": (5, 5),
         "request:refresh": (4, 5), "request:data": (24, 24), "request:heartbeat": (1620, 1710),
         "answer": (24 * len(REQUESTS) + 3,) * 2}
UNWANTED = ("lost", "stray", "malformed", "silence", "error")
TOLD = (("connect", "connections"), ("request:login", "logins"), ("request:refresh", "refreshes"),
        ("request:activate", "activations"), ("request:heartbeat", "heartbeats"),
        ("answer", "answered requests"))


class Clock:
    """The clock that the gateway lives by. It only moves while someone advances it."""

    def __init__(self, program, folder):
        self.path = os.path.join(folder, "clock")
        self.process = subprocess.Popen([program, self.path], text=True, stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE)
        self.seconds = 0

    def order(self, text):
        self.process.stdin.write(text + "\n")
        self.process.stdin.flush()
        line = self.process.stdout.readline()
        if not line:
            raise SystemExit(f"soak: the clock has stopped at {self.seconds} s")
        self.seconds = int(line)

    def advance_to(self, seconds):
        if seconds > self.seconds:
            self.order(f"advance {seconds - self.seconds}")


class Course:
    """The three programs, and what happens on a day."""

    def __init__(self, build, folder):
        self.clock = Clock(os.path.join(build, "bench/soak/soak_clock"), folder)
        clock = os.path.join(build, CLOCK_LIBRARY)
        self.platform = Platform(build, folder, "--tls", "127.0.0.1:0", "--tls-dir", folder,
                                 "--code", REGISTRATION_CODE, "--token-timeout", str(LONG_TOKEN),
                                 "--serve", LD_PRELOAD=clock)
        endpoint = {"host": "127.0.0.1", "port": self.platform.port, "tls": True}
        self.gateway = Gateway(build, folder, "src/vxquilan_main/vxquilan",
                               {"app_platform": endpoint}, clock, SOAK_CLOCK=self.clock.path)
        for process in (self.gateway.process, self.platform.process):
            self.clock.order(f"watch {process.pid}")
        self.start = 0

    def at(self, hour, minute=0):
        self.clock.advance_to(self.start + hour * HOUR + minute * 60)

    def pass_seconds(self, seconds):
        self.clock.advance_to(self.clock.seconds + seconds)

    def rest(self):
        """What was asked for is not only answered, but all done with."""
        self.pass_seconds(1)

    def register(self):
        """The gateway's owner enters the code, and the gateway is online a little later."""
        logins = self.platform.take_counts()["request:login"]
        self.gateway.obey(f"register-code {REGISTRATION_CODE}")
        self.pass_seconds(30)
        self.platform.wait("request:login", logins + 1)

    def ask_for_everything(self):
        for request in REQUESTS:
            self.platform.ask(request)
        data = self.platform.counts["request:data"]
        self.gateway.obey("data-report 0")
        self.platform.wait("request:data", data + 1)

    # What happens at some hours of each day, besides the requests.

    def outage(self):
        self.platform.do("refuse")
        self.pass_seconds(OUTAGE)
        self.platform.do("accept")

    def change_mode(self):
        """Another mode means another session; from here on tokens live for a short time only."""
        self.platform.do(f"timeout {SHORT_TOKEN}")
        self.gateway.set_mode(1)

    def be_bound_again(self):
        """The session's refreshes are used up by now, and the device ID is forgotten."""
        self.platform.do(f"timeout {LONG_TOKEN}")
        self.register()

    def restart(self):
        self.platform.ask("reboot")

    def be_deleted(self):
        self.platform.ask("restore")
        self.pass_seconds(60)
        self.register()
        self.platform.ask("delete-device")
        self.pass_seconds(60)
        self.register()

    EVENTS = {3: outage, 11: restart, 12: change_mode, 15: be_bound_again, 22: be_deleted}

    def day(self, sample):
        for hour in range(1, 25):
            self.at(hour)
            if hour in self.EVENTS:
                self.EVENTS[hour](self)
                self.at(hour, 30)
            self.ask_for_everything()
            sample(hour)
        self.start += DAY

    def close(self):
        self.gateway.close()
        self.platform.close()
        self.clock.process.stdin.close()
        self.clock.process.wait()


def run(build, folder, days):
    """Samples at every hour; those at the end of a day are alike, the first of them warms up."""
    started = time.monotonic()
    course = Course(build, folder)
    series = report.Series("days", "day", "")
    total = collections.Counter()
    wrong = []
    try:
        course.at(0, 1)
        course.register()
        for day in range(days):
            before = course.platform.take_counts()

            def sample(hour):
                course.rest()
                series.add(round(day + hour / 24, 3), course.gateway.probe.sample(),
                           alike=hour == 24)
            course.day(sample)
            happened = course.platform.take_counts() - before
            total += happened
            wrong += [f"day {day + 1}: {line}" for line in unlike_the_others(happened)]
    finally:
        course.close()
    series.title = f"{days} days over TLS, on a clock of their own"
    summary = (f"{days} days in {time.monotonic() - started:,.0f} s: " +
               ", ".join(f"{total[what]:,} {name}" for what, name in TOLD))
    return series, summary, wrong


def unlike_the_others(happened):
    """A day that went otherwise has missed a wait, and proves nothing; says where."""
    lines = [f"{happened[what]} of {what} instead of {least} to {most}"
             for what, (least, most) in DAILY.items() if not least <= happened[what] <= most]
    return lines + [f"{times} of {what}" for what, times in happened.items()
                    if "errcode" in what or what in UNWANTED]
