# SPDX-License-Identifier: MIT
"""The figures as tables in Markdown and as CSV."""

import csv

import numpy as np

from quality.compare import REGIMES
from quality.material import GROUPS
from quality.scores import COLUMNS


def row(cells):
    return "| " + " | ".join(cells) + " |"


def figures(score, keys=None):
    """As text; a dash where there was nothing to measure."""
    columns = [(key, form) for key, _, form in COLUMNS if keys is None or key in keys]
    return ["-" if np.isnan(score[key]) else format(score[key], form) for key, form in columns]


def score_table(scored):
    """One row for each name."""
    yield ""
    yield row(["", *(heading for _, heading, _ in COLUMNS)])
    yield "|---" + "|---:" * len(COLUMNS) + "|"
    for name, score in scored.items():
        yield row([name, *figures(score)])


def before_line(before):
    return (
        f"SI-SDR {before['si_sdr']:.1f} dB, segmental SNR {before['segmental_snr']:.1f} dB, "
        f"STOI {before['stoi']:.3f} before."
    )


def group_tables(results):
    """A table for each group and regime."""
    for (group, regime), result in results.items():
        yield f"\n### {group.capitalize()}, {regime}: {GROUPS[group]}; {REGIMES[regime]}\n"
        yield f"Mean over {len(result.each)}. {before_line(result.before)}"
        yield from score_table(result.scores)


def write_csv(path, results):
    """A line for each group, regime, recording and contender, and with the recording "mean" their means."""
    keys = [key for key, _, _ in COLUMNS]
    with open(path, "w", newline="", encoding="utf-8") as file:
        writer = csv.writer(file)
        writer.writerow(["group", "regime", "recording", "contender", *keys])
        for kind, result in results.items():
            for recording, scored in {**result.each, "mean": result.scores}.items():
                for name, score in scored.items():
                    writer.writerow([*kind, recording, name, *(format(score[key], ".4f") for key in keys)])
