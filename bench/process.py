# SPDX-License-Identifier: MIT
"""What the system's books tell of a running process."""
import os


def memory(pid):
    """kB of smaps_rollup, by name."""
    with open(f"/proc/{pid}/smaps_rollup") as lines:
        return {line.split(":")[0]: int(line.split()[1]) for line in lines if " kB" in line}


def threads(pid):
    return os.listdir(f"/proc/{pid}/task")


def descriptors(pid):
    return os.listdir(f"/proc/{pid}/fd")


def cpu_seconds(pid):
    """Of all threads that live, from the scheduler's books, which count nanoseconds."""
    total = 0
    for task in threads(pid):
        with open(f"/proc/{pid}/task/{task}/schedstat") as line:
            total += int(line.read().split()[0])
    return total * 1e-9


def switches(pid):
    """Context switches of all threads that live."""
    total = 0
    for task in threads(pid):
        with open(f"/proc/{pid}/task/{task}/status") as lines:
            total += sum(int(line.split()[1]) for line in lines if "ctxt_switches" in line)
    return total


def spent(pid):
    return cpu_seconds(pid), switches(pid)
