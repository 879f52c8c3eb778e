#!/usr/bin/env python3
"""Prints how the cost of each operation grows with its input.

usage: growth.py PROFILE_DIR RESULT.json...

PROFILE_DIR is that of instructions.py, the results are those of the benchmarks. Operations whose
names differ in a size at the end (ini.key.last.16K) are a series. Its slope is that of log(cost)
over log(size) between the two largest sizes: 0 when the size does not matter, 1 when cost and size
grow alike, 2 when the cost grows with the square. Exits with 1 when a slope of ours is above its
bound.
"""

import collections
import math
import re
import statistics
import sys

from instructions import counts
from table import human, print_table, read_times

# Times also tell of the processor's caches, which a large input outgrows, and of other programs.
TIME_BOUND = 1.4
INSTRUCTIONS_BOUND = 1.2

# What the sizes count, by how a series begins; otherwise bytes.
UNITS = {
    "channel.scan": "entry",
    "log.operation": "message",
    "log.rejected": "component",
    "log.uninitialised": "file",
    "object": "property",
    "record.array": "element",
    "record": "record",
    "settings": "message",
}
NAME = re.compile(r"^(?P<series>.+)\.(?P<number>\d+)(?P<suffix>[BKM]?)$")
POWERS = {"": 0, "B": 0, "K": 1, "M": 2}


def unit_of(series):
    return next((unit for start, unit in UNITS.items() if series.startswith(start)), "byte")


def thousand(series):
    return 1024 if unit_of(series) == "byte" else 1000


def short(series, size):
    for suffix in ("M", "K"):
        factor = thousand(series) ** POWERS[suffix]
        if size % factor == 0:
            return f"{size // factor}{suffix}"
    return str(size)


def in_series(costs):
    """(series, who) -> [(size, cost)] by size, from operation -> who -> cost."""
    result = collections.defaultdict(list)
    for operation, subjects in costs.items():
        name = NAME.match(operation)
        if name:
            series = name["series"]
            size = int(name["number"]) * thousand(series) ** POWERS[name["suffix"]]
            for who, cost in subjects.items():
                result[series, who].append((size, cost))
    return {key: sorted(points) for key, points in result.items() if len(points) > 1}


def slope(points):
    """None when there are no points."""
    if not points:
        return None
    (small, before), (large, after) = points[-2:]
    return math.log(after / before) / math.log(large / small)


def main():
    medians = {operation: {who: statistics.median(values) for who, values in subjects.items()}
               for operation, subjects in read_times(sys.argv[2:]).items()}
    times, instructions = in_series(medians), in_series(counts(sys.argv[1]))

    rows, all_straight = [], True
    for series, who in sorted(times):
        if who != "ours":
            continue
        ours = times[series, who]
        slopes = [slope(points) for points in (ours, times.get((series, "limit")),
                                               instructions.get((series, who)))]
        shown = ["-" if value is None else f"{round(value, 2) + 0.0:.2f}" for value in slopes]
        straight = slopes[0] <= TIME_BOUND and (slopes[2] or 0) <= INSTRUCTIONS_BOUND
        all_straight = all_straight and straight
        rows.append([series, unit_of(series),
                     ", ".join(f"{short(series, size)}: {human(time / size)}"
                               for size, time in ours),
                     *shown, "straight" if straight else "STEEPER"])
    print_table(["operation", "unit", "time of ours for a unit, by size", "slope",
                 "limit's slope", "slope in instructions", "verdict"], rows)
    sys.exit(0 if all_straight else 1)


if __name__ == "__main__":
    main()
