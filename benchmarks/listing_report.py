# SPDX-FileCopyrightText: 2026 The Tarnwick authors
# SPDX-License-Identifier: MIT

"""The rows of a result, as a table and as JSON."""

import json
import os
import statistics

from report_table import laid_out


def significant(number):
    return float(f"{number:.4g}")


def row(load, subject, times, peer=None, limit=None, **others):
    """One row; `peer` is the name and the times of what the subject is compared with."""
    median = statistics.median(times)
    made = {"load": load, "subject": subject}
    if peer is not None:
        name, peer_times = peer
        peer_median = statistics.median(peer_times)
        made |= {
            "peer": name,
            "median_ms": significant(median),
            "peer_median_ms": significant(peer_median),
            "ratio": significant(median / peer_median),
        }
    else:
        made["median_ms"] = significant(median)
    if limit is not None:
        made["limit"] = limit
    made |= {
        "min_ms": significant(min(times)),
        "max_ms": significant(max(times)),
        "runs": len(times),
    }
    return made | others


def verdict(made):
    for value, limit in (("ratio", "limit"), ("growth_kb", "limit_kb"), ("share", "limit_share")):
        if limit in made:
            return "reached" if made[value] <= made[limit] else "missed"
    return ""


def limit_text(made):
    if "limit_kb" in made:
        return f"{made['limit_kb']} kB"
    if "limit_share" in made:
        return f"{made['limit_share']:.1%}"
    return str(made.get("limit", ""))


def table(rows):
    lines = [("load", "subject", "ms", "peer", "ms", "ratio", "limit", "")]
    for made in rows:
        compared = "peer" in made
        lines.append(
            (
                made["load"],
                made["subject"],
                f"{made['median_ms']:.3f}",
                made["peer"] if compared else "",
                f"{made['peer_median_ms']:.3f}" if compared else "",
                f"{made['ratio']:.4f}" if compared else "",
                limit_text(made),
                verdict(made),
            )
        )
    return laid_out(lines, right={2, 4, 5})


def remarks(rows):
    """What the rows tell besides times, a line each."""
    for made in rows:
        if "rss_after_10_kb" in made:
            yield (
                f"{made['load']}: {made['rss_after_10_kb']} kB resident after 10 scans, "
                f"{made['rss_after_1000_kb']} kB after 1,000"
            )
        if "share" in made:
            yield f"{made['load']}: the watch took {made['share']:.3%} of a processor"
        if "full_walks" in made:
            yield (
                f"{made['load']}: {made['full_walks']} of {made['runs']} warm scans as nobody "
                "took more than half as long as a walk over the whole machine"
            )


def write(path, rows, name="listing", **others):
    """Writes the file whole or not at all."""
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path + ".part", "w", encoding="utf-8") as part:
        json.dump({"name": name, **others, "rows": rows}, part, indent=2)
        part.write("\n")
    os.replace(part.name, path)
