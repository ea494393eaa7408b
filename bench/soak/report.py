# SPDX-License-Identifier: MIT
"""What came of a soak: its samples as CSV and as a picture, the table, and the verdict."""
import csv

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plot

import probe

ROWS = (("heap in use, bytes", "heap", 1), ("heap in use, blocks", "blocks", 1),
        ("PSS, kB", "pss", 1024), ("private dirty memory, kB", "private_dirty", 1024),
        ("descriptors", "descriptors", 1), ("threads", "threads", 1),
        ("stacks, in use or kept for the next thread", "stacks", 1))
# By how much these may be higher at a later point that is alike than at the first. A session that
# takes over from another may find two threads of that still ending, and needs stacks of its own.
GROWTH = {"heap": 0, "blocks": 0, "stacks": 2, "descriptors": 0, "threads": 0}


class Series:
    """Samples in the order of time. The marked ones were taken at points that are alike."""

    def __init__(self, name, unit, title):
        self.name = name
        self.unit = unit
        self.title = title
        self.samples = []

    def add(self, at, sample, alike=False, **more):
        self.samples.append({"at": at, "alike": int(alike), **more, **sample})

    def alike(self):
        return [sample for sample in self.samples if sample["alike"]]

    def growth(self):
        """What stands higher at a later point that is alike than at the first one, as lines."""
        first, *later = self.alike()
        lines = []
        for column, allowed in GROWTH.items():
            worst = max(later, key=lambda sample: sample[column])
            if worst[column] > first[column] + allowed:
                lines.append(f"{column}: {first[column]} at {self.unit} {first['at']:g}, "
                             f"{worst[column]} at {self.unit} {worst['at']:g}")
        return lines

    def table(self):
        alike = self.alike()
        points = (alike[0], alike[(len(alike) - 1) // 2], alike[-1])
        lines = [f"| {self.unit.capitalize()} | " +
                 " | ".join(f"{point['at']:,g}" for point in points) + " |",
                 "| --- | ---: | ---: | ---: |"]
        for label, column, divisor in ROWS:
            lines.append(f"| {label} | " +
                         " | ".join(f"{point[column] // divisor:,}" for point in points) + " |")
        return "\n".join(lines) + "\n"

    def write(self, folder):
        with open(f"{folder}/{self.name}.csv", "w", newline="") as file:
            writer = csv.DictWriter(file, self.samples[0].keys())
            writer.writeheader()
            writer.writerows(self.samples)
        with open(f"{folder}/{self.name}.md", "w") as file:
            file.write(self.table())
        self.draw(f"{folder}/{self.name}.png")

    def draw(self, path):
        figure, ((heap, memory), (descriptors, threads)) = plot.subplots(
            2, 2, figsize=(9, 5.4), sharex=True)
        self._lines(heap, "heap in use, kB", {"heap": None}, 1024)
        self._lines(memory, "memory, kB", {"pss": "PSS", "private_dirty": "private dirty"}, 1024)
        memory.legend(loc="lower right")
        self._lines(descriptors, "descriptors", {"descriptors": None})
        self._lines(threads, "threads", {"threads": None})
        for axes in (descriptors, threads):
            axes.set(xlabel=self.unit)
        figure.suptitle(self.title, fontsize=10)
        figure.tight_layout()
        figure.savefig(path, dpi=90, metadata={"Software": None})
        plot.close(figure)

    def _lines(self, axes, quantity, columns, divisor=1):
        """A line for each column; with dots where points are alike, unless all of them are."""
        alike = self.alike()
        dots = alike if len(alike) < len(self.samples) else []
        for column, label in columns.items():
            axes.plot([sample["at"] for sample in self.samples],
                      [sample[column] / divisor for sample in self.samples],
                      linewidth=0.9, label=label)
            axes.plot([sample["at"] for sample in dots],
                      [sample[column] / divisor for sample in dots], "k.", markersize=3)
        highest = max(sample[column] for sample in self.samples for column in columns) / divisor
        axes.set(ylabel=quantity, ylim=(0, highest * 1.15))
        axes.grid(True, alpha=0.3)


assert set(GROWTH) <= set(probe.COLUMNS)
