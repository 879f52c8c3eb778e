#!/usr/bin/env python3
"""Prints the library's size, and what linking it costs a program before its first line.

usage: startup.py BUILD_DIR

Exits with 1 when more of the library runs at load time than CONSTRUCTORS lists.
"""

import os
import re
import statistics
import subprocess
import sys

from report import human, print_table

RUNS = 300
POINTER = 8  # bytes
PROGRAMS = (
    ("libc", "libc alone"),
    ("needs", "libstdc++ and libxml2, which ours needs"),
    ("empty", "an empty library that needs the same"),
    ("library", "ours"),
)

# The source files with code that runs at load time, and why.
CONSTRUCTORS = {
    "CTraceUtilityCom.cpp": "the public map settingInfoMap, empty, is there from the start",
}


def output(*command, stream=subprocess.PIPE):
    done = subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT if stream is subprocess.STDOUT else None)
    return done.stdout


def print_size(library):
    text, data, zeroed = output("size", library).split("\n")[1].split()[:3]
    kinds = re.findall(r"\bR_\w+", output("readelf", "--relocs", "--wide", library))
    relative = sum(kind.endswith("_RELATIVE") for kind in kinds)
    print_table(["the library", "figure"], [
        ["code and constants", f"{int(text):,} bytes"],
        ["data, written at load time or later", f"{int(data) + int(zeroed):,} bytes"],
        ["relocations by name", f"{len(kinds) - relative}"],
        ["relocations by address alone", f"{relative}"],
    ])


def constructors(library):
    """The source files with code that runs at load time."""
    found = re.findall(r"_GLOBAL__sub_I_(\S+)", output("nm", library))
    size = re.search(r"INIT_ARRAYSZ\)\s+(\d+)", output("readelf", "--dynamic", library))
    entries = int(size.group(1)) // POINTER - 1  # the first one is the compiler's
    if len(found) != entries:
        sys.exit(f"{library}: {entries} constructors, of which nm names {len(found)}")
    return found


def instructions(program, *options):
    """Of the whole process: callgrind counts in user space."""
    report = output("valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", *options,
                    program, stream=subprocess.STDOUT)
    return int(re.search(r"Collected : (\d+)", report).group(1))


def print_constructors(library, program):
    """True when they are those expected."""
    found = constructors(library)
    rows = [[source, f"{instructions(program, f'--toggle-collect=_GLOBAL__sub_I_{source}'):,}",
             CONSTRUCTORS.get(source, "UNEXPECTED")] for source in found]
    print_table(["code of ours before the first call", "instructions", "what for"], rows)
    return set(found) <= set(CONSTRUCTORS)


def start(program):
    """Nanoseconds of CPU time, from the new process to its end."""
    child = os.posix_spawn(program, [program], {})
    _, status, usage = os.wait4(child, 0)
    if status != 0:
        sys.exit(f"{program}: status {status}")
    return (usage.ru_utime + usage.ru_stime) * 1e9


def print_starts(programs):
    times = {program: [] for program in programs}
    for _ in range(RUNS):
        for program, taken in times.items():
            taken.append(start(program))
    medians = [statistics.median(taken) for taken in times.values()]
    print_table(["an empty program that links", "CPU time", "of ours' needs", "instructions"], [
        [title, human(median), f"{median / medians[1]:.2f}", f"{instructions(program):,}"]
        for (_, title), program, median in zip(PROGRAMS, programs, medians)])


def main():
    build = os.path.abspath(sys.argv[1])
    library = f"{build}/libqor_ComLib.so"
    programs = [f"{build}/bench/qor_start_{name}" for name, _ in PROGRAMS]

    print_size(library)
    print()
    as_expected = print_constructors(library, programs[-1])
    print()
    print_starts(programs)
    sys.exit(0 if as_expected else 1)


if __name__ == "__main__":
    main()
