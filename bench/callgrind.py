# SPDX-License-Identifier: MIT
"""Reads what valgrind --tool=callgrind dumps, and runs it."""
import os
import re
import subprocess
import tempfile

ALLOCATORS = ("malloc", "calloc", "realloc")


class Profile:
    """Instructions of one dump, by the object that they belong to."""

    def __init__(self, path):
        self.label = ""
        self.objects = {}
        self.allocations = 0
        self.total = 0
        self._names = {"fn": {}, "ob": {}}
        self._read(path)

    def of_object(self, name):
        return self.objects.get(name, 0)

    def _name(self, kind, text):
        """Names are written once, as "(number) name"; after that as "(number)"."""
        number, name = re.fullmatch(r"\((\d+)\)(?: (.*))?", text).groups()
        if name is not None:
            self._names[kind][number] = name
        return self._names[kind][number]

    def _read(self, path):
        place, callee, is_call = "", "", False
        with open(path, encoding="utf-8", errors="replace") as lines:
            for line in lines:
                line = line.rstrip("\n")
                if line.startswith("desc: Trigger: Client Request: "):
                    self.label = line.split(": ", 3)[3]
                if line.startswith("summary: "):
                    self.total = int(line.split()[1])
                key, _, value = line.partition("=")
                if key == "ob":
                    place = os.path.basename(self._name("ob", value))
                elif key == "cob":
                    self._name("ob", value)
                elif key == "fn":
                    self._name("fn", value)
                elif key == "cfn":
                    callee = self._name("fn", value)
                elif key == "calls":
                    is_call = True
                    if callee in ALLOCATORS:
                        self.allocations += int(value.split()[0])
                elif re.match(r"[+\-*\d]", line):
                    # The line behind "calls" repeats what the callee counts itself.
                    if not is_call:
                        self.objects[place] = self.objects.get(place, 0) + int(line.split()[1])
                    is_call = False


def run(command, options=(), environment=None, interact=None):
    """Runs a command under callgrind; gives the profiles of its dumps, the last one included."""
    with tempfile.TemporaryDirectory() as folder:
        full = ["valgrind", "--tool=callgrind", "--quiet", f"--callgrind-out-file={folder}/out",
                *options, *command]
        process = subprocess.Popen(full, env={**os.environ, **(environment or {})},
                                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
        if interact is not None:
            interact(process)
        errors = process.communicate()[1]
        if process.returncode not in (0, -15):
            raise SystemExit(f"bench: {' '.join(command)}: {errors.strip()}")
        return [Profile(os.path.join(folder, name)) for name in sorted(os.listdir(folder))]
