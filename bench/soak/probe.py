# SPDX-License-Identifier: MIT
"""Looks at a running daemon from outside: its heap, memory, descriptors and threads."""
import os
import stat
import struct
import time

import process

HEAP_COUNT = struct.Struct("=qqqqq")
COLUMNS = ("heap", "blocks", "stacks", "pss", "private_dirty", "descriptors", "threads")


class Probe:
    """Of a daemon that is started with Probe.environment(), and whose process ID is set then."""

    def __init__(self, library, folder):
        self.library = library
        self.path = os.path.join(folder, "heap")
        self.siblings = siblings_stand_in(folder)
        self.pid = None
        with open(self.path, "wb") as file:
            file.write(bytes(HEAP_COUNT.size))

    def environment(self, *libraries, **variables):
        return {**os.environ, "LD_PRELOAD": ":".join((self.library, *libraries)),
                "SOAK_HEAP": self.path, "PATH": f"{self.siblings}:{os.environ['PATH']}",
                **variables}

    def heap(self):
        """Bytes and blocks of the program, of the loader, blocks freed but never counted."""
        with open(self.path, "rb") as file:
            return HEAP_COUNT.unpack(file.read(HEAP_COUNT.size))

    def settle(self, threads=None, seconds=30.0):
        """Waits until the heap has stood still for a while: what was asked for is all done. On a
        busy machine a thread that has nothing more to do than to end may take its time, too."""
        deadline = time.monotonic() + seconds
        last, same = self.heap(), 0
        while same < 10 and time.monotonic() < deadline:
            time.sleep(0.005)
            now = self.heap()
            ended = threads is None or len(process.threads(self.pid)) <= threads
            last, same = now, same + 1 if now == last and ended else 0

    def sample(self):
        """One value for each of COLUMNS; the memory's in bytes."""
        memory = process.memory(self.pid)
        size, blocks, _, stacks, strange = self.heap()
        if strange or not blocks:
            raise SystemExit(f"soak: the heap is not counted as it should be ({strange} blocks "
                             "freed that were never counted)")
        return {"heap": size, "blocks": blocks, "stacks": stacks, "pss": memory["Pss"] * 1024,
                "private_dirty": memory["Private_Dirty"] * 1024,
                "descriptors": len(process.descriptors(self.pid)),
                "threads": len(process.threads(self.pid))}


def siblings_stand_in(folder):
    """A folder with a killall that ends nobody: the daemon's siblings may be at work elsewhere."""
    place = os.path.join(folder, "bin")
    os.makedirs(place)
    killall = os.path.join(place, "killall")
    with open(killall, "w") as file:
        file.write("#!/bin/sh\nexit 0\n")
    os.chmod(killall, stat.S_IRWXU)
    return place
