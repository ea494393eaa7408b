# SPDX-License-Identifier: MIT
"""Runs a soak and judges it."""
import argparse
import os
import signal
import sys
import tempfile

import channel
import days
import hour


def positive(text):
    number = int(text)
    if number <= 0:
        raise argparse.ArgumentTypeError(f"'{text}' is not a number above 0")
    return number


def judge(out, series, summary, wrong):
    series.write(out)
    print(f"{series.name}: {summary}\n\n{series.table()}")
    wrong = wrong + [f"grows: {line}" for line in series.growth()]
    for line in wrong:
        print(f"soak: {series.name}: {line}", file=sys.stderr)
    return not wrong


def main():
    parser = argparse.ArgumentParser(prog="soak")
    parser.add_argument("--build", required=True)
    parser.add_argument("--out", required=True)
    parser.add_argument("--days", type=positive, metavar="N")
    parser.add_argument("--hour", type=positive, metavar="SECONDS")
    parser.add_argument("--channel", type=positive, metavar="SECONDS")
    arguments = parser.parse_args()
    os.makedirs(arguments.out, exist_ok=True)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # the programs end with this one
    good = True
    for run, length in ((days.run, arguments.days), (hour.run, arguments.hour),
                        (channel.run, arguments.channel)):
        if length:
            with tempfile.TemporaryDirectory(prefix="vxquilan-soak-") as folder:
                good &= judge(arguments.out, *run(arguments.build, folder, length))
    sys.exit(0 if good else 1)


if __name__ == "__main__":
    main()
