# SPDX-License-Identifier: MIT
"""Draws how the documents' costs grow."""
import os

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plot

ENTRIES = (0, 16, 32, 48, 64)
KILOBYTES = (1, 2, 4, 6, 8)
FAMILIES = (("HostInfo-", "", ENTRIES, "hosts"),
            ("wlanfilterenhance-", "", ENTRIES, "filters of each band"),
            ("wlanfilterenhance body-", "", ENTRIES, "filters of each band, read"),
            ("qosclass_host body-", "K", KILOBYTES, "KB of body, read"))


def draw(counted, times, folder):
    """One picture for each family: instructions, and time beside it."""
    for prefix, suffix, sizes, label in FAMILIES:
        figure, (left, right) = plot.subplots(1, 2, figsize=(9, 3.2))
        names = [f"{prefix}{size}{suffix}" for size in sizes]
        for side, text in (("plain", "plain cJSON"), ("ours", "ours")):
            instructions = [counted[n][side].instructions for n in names]
            left.plot(sizes, [count / 1e6 for count in instructions], "o-", label=text)
            right.plot(sizes, [times[f"{n}/{side}"] for n in names], "o-", label=text)
        for axes, quantity in ((left, "million instructions"), (right, "µs")):
            axes.set(xlabel=label, ylabel=quantity, ylim=(0, None))
            axes.grid(True, alpha=0.3)
            axes.legend()
        figure.tight_layout()
        name = prefix.rstrip("-").replace(" ", "-").lower()
        figure.savefig(os.path.join(folder, f"growth-{name}.png"), dpi=90,
                       metadata={"Software": None})
        plot.close(figure)
