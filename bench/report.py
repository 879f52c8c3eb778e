#!/usr/bin/env python3
"""Prints the results of the benchmarks as tables; scripts/draw.py reads the first one.

usage: report.py RESULT_DIR PROFILE_DIR

RESULT_DIR holds what the benchmarks wrote as JSON, PROFILE_DIR what instructions.py left. A
benchmark is named OPERATION/WHO: "ours", "limit" or the name of a peer; goals.tsv has the
operations. Times are medians over the repetitions: processor time of the thread, or the wall clock
where the name says so. Exits with 1 when an operation has no result, when ours misses its goal, or
when its cost grows faster than its input. A peer that is faster is only shown: docs/performance.md
says why.
"""

import collections
import csv
import json
import math
import re
import statistics
import sys
from pathlib import Path

GOALS = Path(__file__).with_name("goals.tsv")
NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
POWERS = {"": 0, "B": 0, "K": 1, "M": 2}
WALL_CLOCK = ("real_time", "manual_time")

# The steepest slopes: those of times show the processor's caches, too, which a large input
# outgrows, and other programs.
TIME_BOUND = 1.4
INSTRUCTIONS_BOUND = 1.2

# name: of the benchmarks. size: None, or of the input, in units. goal: for ours : limit. rival: the
# peer that ours should not be slower than, or "".
Operation = collections.namedtuple("Operation", "name series size unit title goal rival")


def size_of(text, unit):
    number, suffix = re.fullmatch(r"(\d+)([BKM]?)", text).groups()
    return int(number) * (1024 if unit == "bytes" else 1000) ** POWERS[suffix]


def shown(size, unit):
    if unit != "bytes":
        one = re.sub("ie$", "y", unit[:-1])
        return f"{size:,} {one if size == 1 else unit}"
    for suffix, factor in (("MiB", 1 << 20), ("KiB", 1 << 10)):
        if size % factor == 0:
            return f"{size // factor} {suffix}"
    return f"{size} B"


def read_goals():
    """The operations in the file's order, by name."""
    operations = {}
    with GOALS.open(encoding="utf-8", newline="") as file:
        lines = (line for line in file if line.strip() and not line.startswith("#"))
        for row in csv.reader(lines, delimiter="\t", quoting=csv.QUOTE_NONE):
            series, sizes, unit, title, goals, _, rival = row + [""] * (7 - len(row))
            sizes, goals = sizes.split() or [""], [float(goal) for goal in goals.split()]
            goals *= len(sizes) if len(goals) == 1 else 1
            for text, goal in zip(sizes, goals, strict=True):
                size = size_of(text, unit) if text else None
                name = f"{series}.{text}" if text else series
                operations[name] = Operation(
                    name, series, size, unit,
                    title.format(shown(size, unit)) if text else title, goal, rival)
    return operations


def read_times(paths):
    """operation -> who -> nanoseconds."""
    times = collections.defaultdict(lambda: collections.defaultdict(list))
    for path in paths:
        for run in json.loads(path.read_text(encoding="utf-8"))["benchmarks"]:
            if run.get("error_occurred"):
                sys.exit(f"{run['name']}: {run.get('error_message', 'failed')}")
            if run["run_type"] != "iteration":
                continue
            operation, who, *options = run["run_name"].split("/")
            wall = any(option in WALL_CLOCK for option in options)
            value = run["real_time" if wall else "cpu_time"]
            times[operation][who].append(value * NANOSECONDS[run["time_unit"]])
    return {operation: {who: statistics.median(values) for who, values in subjects.items()}
            for operation, subjects in times.items()}


def read_instructions(directory):
    """operation -> who -> instructions for each iteration, from the profiles."""
    result = collections.defaultdict(dict)
    for path in directory.iterdir() if directory.is_dir() else ():
        text = path.read_text(encoding="utf-8", errors="replace")
        loop = re.search(r"^desc: Trigger: Client Request: (\S+) (\d+)$", text, re.MULTILINE)
        if loop:
            operation, who = loop[1].split("/")[:2]
            total = re.search(r"^summary: (\d+)$", text, re.MULTILINE)[1]
            result[operation][who] = int(total) / int(loop[2])
    return result


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


def print_ratios(operations, times, instructions):
    """True when every goal is met."""
    rows, all_met = [], True
    for name, operation in operations.items():
        if not {"ours", "limit"} <= set(times[name]):
            sys.exit(f"{name}: measured {sorted(times[name])}, needs ours and limit")
        ours, limit = times[name]["ours"], times[name]["limit"]
        peers = {who: time for who, time in times[name].items() if who not in ("ours", "limit")}
        fastest_first = sorted(peers, key=peers.get)
        counts = instructions.get(name, {})
        met = ours / limit <= operation.goal
        all_met = all_met and met
        verdict = "met" if met else "MISSED"
        if operation.rival and ours > peers[operation.rival]:
            verdict += f", slower than {operation.rival}"
        rows.append([
            operation.title, human(ours), human(limit),
            ", ".join(f"{who} {human(peers[who])}" for who in fastest_first) or "-",
            f"{ours / limit:.2f}", f"{ours / peers[fastest_first[0]]:.2f}" if peers else "-",
            f"{operation.goal:g}", verdict,
            f"{counts['ours']:,.0f}" if counts else "-",
            f"{counts['ours'] / counts['limit']:.2f}" if counts else "-"])
    print_table(["operation", "ours", "limit", "peers, the fastest first", "ours : limit",
                 "ours : best peer", "goal", "verdict", "instructions of ours", "ours : limit"], rows)
    return all_met


def read_ratios(lines):
    """What print_ratios printed: operation -> who -> nanoseconds."""
    names = {operation.title: name for name, operation in read_goals().items()}
    times = {}
    for line in lines:
        title, ours, limit, peers, *_ = (cell.strip() for cell in line.strip("|").split("|"))
        cells = [f"ours {ours}", f"limit {limit}", *(peers.split(", ") if peers != "-" else ())]
        times[names[title]] = {who: float(number) * NANOSECONDS[unit] for who, number, unit in
                               (cell.rsplit(" ", 2) for cell in cells)}
    return times


def slope(points):
    """Of log(cost) over log(size) between the two largest sizes; None without points."""
    if len(points) < 2:
        return None
    (small, before), (large, after) = points[-2:]
    return math.log(after / before) / math.log(large / small)


def print_growth(operations, times, instructions):
    """True when no cost of ours grows faster than its bound."""
    series = collections.defaultdict(list)
    for operation in operations.values():
        if operation.size is not None:
            series[operation.series].append(operation)

    rows, all_straight = [], True
    for name, members in series.items():
        def points(costs, who, members=members):
            return sorted((member.size, costs[member.name][who]) for member in members
                          if who in costs.get(member.name, ()))
        ours = points(times, "ours")
        slopes = [slope(ours), slope(points(times, "limit")), slope(points(instructions, "ours"))]
        if slopes[0] is None:
            continue
        straight = slopes[0] <= TIME_BOUND and (slopes[2] or 0) <= INSTRUCTIONS_BOUND
        all_straight = all_straight and straight
        rows.append([name,
                     ", ".join(f"{shown(size, members[0].unit)}: {human(time / size)}"
                               for size, time in ours),
                     *("-" if value is None else f"{round(value, 2) + 0.0:.2f}" for value in slopes),
                     "straight" if straight else "STEEPER"])
    print_table(["operation", "time of ours for a unit, by size", "slope", "limit's slope",
                 "slope in instructions", "verdict"], rows)
    return all_straight


def main():
    results, profiles = Path(sys.argv[1]), Path(sys.argv[2])
    goals, times = read_goals(), read_times(sorted(results.glob("*.json")))
    instructions = read_instructions(profiles)
    unknown = sorted(set(times) - set(goals))
    if unknown:
        sys.exit(f"no goal for: {', '.join(unknown)}")
    operations = {name: goal for name, goal in goals.items() if name in times}

    print("## Times and instructions\n")
    all_met = print_ratios(operations, times, instructions)
    print("\n## Growth\n")
    all_straight = print_growth(operations, times, instructions)
    sys.exit(0 if all_met and all_straight else 1)


if __name__ == "__main__":
    main()
