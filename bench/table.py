#!/usr/bin/env python3
"""Prints one table of the benchmark results.

usage: table.py GOALS.tsv RESULT.json...

A benchmark is named OPERATION/WHO: "ours", "limit" or the name of a peer. Times are medians over
the repetitions; CPU time of the thread, or the wall clock where the name says so.
Exits with 1 when an operation has no result or takes longer than its goal allows, measured by the
limit. A peer that it is not to be behind is only told: docs/performance.md says why.
"""

import collections
import csv
import json
import statistics
import sys

NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
WALL_CLOCK = ("real_time", "manual_time")


def read_goals(path):
    """operation -> (title, goal, the peer not to be behind or ""), in the file's order."""
    with open(path, encoding="utf-8", newline="") as file:
        lines = (line for line in file if line.strip() and not line.startswith("#"))
        rows = csv.reader(lines, delimiter="\t", quoting=csv.QUOTE_NONE)
        return {row[0]: (row[1], float(row[2]), row[4] if len(row) > 4 else "") for row in rows}


def read_times(paths):
    """operation -> who -> list of nanoseconds, one a repetition."""
    times = collections.defaultdict(lambda: collections.defaultdict(list))
    for path in paths:
        with open(path, encoding="utf-8") as file:
            runs = json.load(file)["benchmarks"]
        for run in runs:
            if run.get("error_occurred"):
                sys.exit(f"{run['name']}: {run.get('error_message', 'failed')}")
            if run["run_type"] != "iteration":
                continue
            operation, who, *options = run["run_name"].split("/")
            wall = any(option in WALL_CLOCK for option in options)
            value = run["real_time" if wall else "cpu_time"]
            times[operation][who].append(value * NANOSECONDS[run["time_unit"]])
    return times


def human(nanoseconds):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def print_table(head, rows):
    """In Markdown, each column as wide as its longest cell."""
    table = [head, *rows]
    widths = [max(len(row[column]) for row in table) for column in range(len(head))]

    def line(row):
        return "| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |"

    print(line(head))
    print("|" + "|".join("-" * (width + 2) for width in widths) + "|")
    for row in rows:
        print(line(row))


def row_of(operation, title, goal, rival, times):
    medians = {who: statistics.median(values) for who, values in times.items()}
    if "ours" not in medians or "limit" not in medians:
        sys.exit(f"{operation}: measured {sorted(medians)}, needs 'ours' and 'limit'")
    ours, limit = medians["ours"], medians["limit"]
    peers = {who: time for who, time in medians.items() if who not in ("ours", "limit")}
    best = min(peers, key=peers.get) if peers else None
    met = ours / limit <= goal
    verdict = "met" if met else "MISSED"
    if rival and ours > peers[rival]:
        verdict += f", behind {rival}"
    return met, [
        title, human(ours), human(limit),
        f"{best} {human(peers[best])}" if best else "-",
        f"{ours / limit:.2f}", f"{ours / peers[best]:.2f}" if best else "-",
        f"{goal:g}", verdict,
    ]


def main():
    goals, times = read_goals(sys.argv[1]), read_times(sys.argv[2:])
    unknown = sorted(set(times) - set(goals))
    if unknown:
        sys.exit(f"no goal for: {', '.join(unknown)}")

    head = ["operation", "ours", "limit", "best peer", "ours : limit", "ours : best peer",
            "goal", "verdict"]
    rows, all_met = [], True
    for operation, (title, goal, rival) in goals.items():
        if operation not in times:
            continue
        met, row = row_of(operation, title, goal, rival, times[operation])
        rows.append(row)
        all_met = all_met and met
    print_table(head, rows)
    sys.exit(0 if all_met else 1)


if __name__ == "__main__":
    main()
