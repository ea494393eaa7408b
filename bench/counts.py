# SPDX-License-Identifier: MIT
"""What bench_count counts: each document's instructions and allocations."""
import callgrind

TURNS = 4  # of each profile, as documents/count.cpp takes them


def count_documents(program):
    """Profiles of TURNS turns of a document, by name and side."""
    counted = {}
    for profile in callgrind.run([program]):
        if "/" in profile.label:
            name, side = profile.label.rsplit("/", 1)
            counted.setdefault(name, {})[side] = profile
    return counted
