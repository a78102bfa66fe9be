# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

"""The figures of the desktop as rows, each with what is to be reached."""

import statistics

from listing_report import significant
from report_table import laid_out

MS = "ms"
MB = "MB"


def row(subject, values, unit=MS, program="tarnwick", target=None, **others):
    """A target is for the median."""
    made = {
        "subject": subject,
        "program": program,
        "unit": unit,
        "median": significant(statistics.median(values)),
        "min": significant(min(values)),
        "max": significant(max(values)),
        "runs": len(values),
    }
    if target is not None:
        made |= {"target": target, "reached": made["median"] <= target}
    return made | others


def compare(ours, peers):
    """Our row and those of the others, which tell how many times as much as ours theirs is."""
    return [ours] + [
        {**peer, "times_ours": significant(peer["median"] / max(ours["median"], 1e-3))} for peer in peers
    ]


def table(rows):
    lines = [("subject", "program", "median", "worst", "", "ours x", "target", "")]
    for made in rows:
        lines.append(
            (
                made["subject"],
                made["program"],
                f"{made['median']:.1f}",
                f"{made['max']:.1f}",
                made["unit"],
                f"{made['times_ours']:.1f}" if "times_ours" in made else "",
                f"{made['target']:.1f}" if "target" in made else "",
                ("reached" if made["reached"] else "MISSED") if "reached" in made else "",
            )
        )
    return laid_out(lines, right={2, 3, 5, 6})
