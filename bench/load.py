# SPDX-License-Identifier: MIT
"""Starts the load generator, the platform of whoever is measured, and gives it its orders."""
import json
import os
import subprocess


class Load:
    def __init__(self, build, *options):
        self.process = subprocess.Popen(
            [os.path.join(build, "bench/bench_load"), *options], text=True,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.port = self.expect("listening")

    def expect(self, word):
        """Waits for a line that begins with the word; gives the one behind it."""
        line = self._line()
        if not line.startswith(word + " "):
            raise SystemExit(f"bench: the load generator says '{line}', not '{word}'")
        return line.split()[1]

    def ask(self, method, path, count, body="-", flight=1):
        """Has the gateway asked so many times; gives what came of it."""
        self.process.stdin.write(f"{method} {path} {count} {body} {flight}\n")
        self.process.stdin.flush()
        return json.loads(self._line())

    def _line(self):
        line = self.process.stdout.readline().strip()
        if not line:
            raise SystemExit("bench: the load generator has ended, see above")
        return line

    def close(self):
        self.process.stdin.close()
        self.process.wait()
