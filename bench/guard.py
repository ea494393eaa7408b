# SPDX-License-Identifier: MIT
"""Compares the instruction counts of documents and requests with the committed baseline.

A library of another point release must neither fail nor hide anything, so three figures of each
are compared, none of which depends on how a library does its work:

  own          instructions in the daemon's own code
  allocations  calls of malloc, calloc and realloc
  ratio        all instructions, the libraries' included, over those of plain cJSON calls that make
               the same text with the same libraries; of a request, over the bare client's
"""
import argparse
import json
import sys

from counts import count_documents, count_requests

TOLERANCE = 1.05


def figures(build):
    rows = {}
    for name, sides in {**count_documents(build), **count_requests(build)}.items():
        ours, plain = sides["ours"], sides["plain"]
        rows[name] = {"own": round(ours.own), "allocations": round(ours.allocations),
                      "ratio": round(ours.instructions / plain.instructions, 4)}
    return dict(sorted(rows.items()))


def complaints(rows, baseline):
    for name, wanted in baseline.items():
        if name not in rows:
            yield f"{name}: no longer measured"
            continue
        for figure, before in wanted.items():
            now = rows[name][figure]
            if now > before * TOLERANCE:
                yield f"{name}: {figure} {now}, baseline {before} ({now / before - 1:+.1%})"
    for name in rows.keys() - baseline.keys():
        yield f"{name}: not in the baseline"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("baseline")
    parser.add_argument("--update", action="store_true", help="write the baseline anew")
    arguments = parser.parse_args()
    rows = figures(arguments.build)
    if arguments.update:
        with open(arguments.baseline, "w") as file:
            json.dump(rows, file, indent=1)
            file.write("\n")
        return
    with open(arguments.baseline) as file:
        found = list(complaints(rows, json.load(file)))
    for line in found:
        print(f"check-instructions: {line}", file=sys.stderr)
    if found:
        sys.exit(1)
    print(f"instruction counts: {len(rows)} rows within {TOLERANCE - 1:.0%} of the baseline")


if __name__ == "__main__":
    main()
