# SPDX-License-Identifier: MIT
"""The lab's programs, as a soak runs them: the emulator, and a daemon on the simulated gateway."""
import collections
import fcntl
import json
import os
import re
import subprocess
import time

import probe

ANSWER_SECONDS = 60
EVENT = re.compile(r'"event":"([^"]*)"(?:,"name":"([^"]*)")?')
FAILURE = re.compile(r'"errcode":(-?[1-9]\d*)')


class Platform:
    """The emulator: takes commands, and its journal is counted. The journal is a file, not a pipe:
    a platform that waits for its reader would look as if it had nothing to do."""

    def __init__(self, build, folder, *options, **variables):
        self.counts = collections.Counter()
        self.port = None
        path = os.path.join(folder, "journal")
        open(path, "wb").close()
        self.journal = open(path, "rb")
        self.process = subprocess.Popen(
            [os.path.join(build, "lab/platform/vxplatform"), "--quiet", "--prompt", "--bodies",
             "lab/platform/bodies", "--journal", path, *options],
            env={**os.environ, **variables}, text=True, stdin=subprocess.PIPE,
            stdout=subprocess.DEVNULL)
        self.rest = b""
        self.wait("listening", 1)

    def read(self):
        *lines, self.rest = (self.rest + self.journal.read()).split(b"\n")
        for line in lines:
            self._note(line.decode(errors="replace"))

    def _note(self, line):
        event, name = EVENT.search(line).groups()
        if event == "listening":
            self.port = json.loads(line)["port"]
        self.counts[event] += 1
        if name and event in ("request", "answer"):
            self.counts[f"{event}:{name}"] += 1
        failure = FAILURE.search(line) if event in ("answer", "response") else None
        if failure:
            self.counts[f"{event}:{name} errcode {failure.group(1)}"] += 1

    def take_counts(self):
        self.read()
        return self.counts.copy()

    def wait(self, what, count):
        deadline = time.monotonic() + ANSWER_SECONDS
        self.read()
        while self.counts[what] < count:
            if time.monotonic() > deadline:
                raise SystemExit(f"soak: waited in vain for {what} number {count}; "
                                 f"so far: {dict(self.counts)}")
            time.sleep(0.0005)
            self.read()

    def do(self, command):
        """Has the command carried out; a command is done when the next one begins."""
        begun = self.counts["command"] + 2
        self.process.stdin.write(f"{command}\necho\n")
        self.process.stdin.flush()
        self.wait("command", begun)

    def ask(self, command):
        answers = f"answer:{command.split()[0]}"
        expected = self.counts[answers] + 1
        self.do(command)
        self.wait(answers, expected)

    def close(self):
        self.process.terminate()
        self.process.wait()


class Gateway:
    """The daemon, and the simulated gateway's own side: its state, and its visitors."""

    def __init__(self, build, folder, program, members, *libraries, **variables):
        """The sample gateway with other members: {"app_platform": {"port": 5683}, ...}."""
        self.probe = probe.Probe(os.path.join(build, "bench/soak/libsoak_heap.so"), folder)
        self.state = os.path.join(folder, "gateway.json")
        self.control = os.path.join(folder, "control")
        with open("lab/device/gateway.json") as file:
            state = json.load(file)
        state.pop("registration", None)
        for name, values in members.items():
            state[name].update(values)
        self._write(state)
        lab = [os.path.join(build, "lab", library) for library in ("device", "log")]
        environment = self.probe.environment(
            *libraries, VX_DEVICE_STATE=self.state, VX_DEVICE_CONTROL=self.control,
            LD_LIBRARY_PATH=":".join(lab), **variables)
        self.process = subprocess.Popen([os.path.join(build, program)], env=environment,
                                        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        self.probe.pid = self.process.pid

    def _write(self, state):
        with open(self.state + ".new", "w") as file:
            json.dump(state, file, indent=2)
        os.rename(self.state + ".new", self.state)

    def set_mode(self, mode):
        folder = os.open(os.path.dirname(self.state), os.O_RDONLY | os.O_DIRECTORY)
        fcntl.flock(folder, fcntl.LOCK_EX)
        with open(self.state) as file:
            state = json.load(file)
        state["settings"]["mode"] = mode
        self._write(state)
        os.close(folder)

    def obey(self, command):
        with open(self.control, "w") as fifo:
            fifo.write(command + "\n")

    def close(self):
        self.process.terminate()
        self.process.wait()
