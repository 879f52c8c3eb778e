#!/usr/bin/env python3
"""Counts the instructions of each operation by callgrind and prints them as a table.

usage: instructions.py GOALS.tsv PROFILE_DIR FILTER PROGRAM...

Counted are the library and the limit, in the benchmark's loop alone, and divided by its iterations.
Operations that other processes or threads take part in are left out, and instructions of the kernel
are not seen. PROFILE_DIR is made anew; each profile in it stays for callgrind_annotate(1). It must
not lie below a directory that the programs hide (tests/support/PrivateMounts.h).
"""

import collections
import os
import re
import shutil
import subprocess
import sys

from table import print_table, read_goals

SUBJECTS = ("ours", "limit")
SHARED_WORK = ("manual_time", "process_time", "real_time", "threads:")
LOOP_SECONDS = 0.002  # under callgrind; enough iterations for the loop's first and last to vanish


def countable(program, pattern):
    """The names of the benchmarks to count."""
    listed = subprocess.run([program, "--benchmark_list_tests"], check=True, text=True,
                            stdout=subprocess.PIPE).stdout.split("\n")
    for name in filter(None, listed):
        operation, who, *options = name.split("/")
        if (who in SUBJECTS and re.search(pattern, name)
                and not any(option.startswith(SHARED_WORK) for option in options)):
            yield name


def profile(program, names, directory):
    """Leaves a profile for each benchmark in the directory."""
    choice = "|".join(re.escape(name) for name in names).replace("\\/", "/")
    subprocess.run(["valgrind", "-q", "--tool=callgrind", "--collect-atstart=no",
                    f"--callgrind-out-file={directory}/{os.path.basename(program)}.%p",
                    program, f"--benchmark_filter=^({choice})$",
                    f"--benchmark_min_time={LOOP_SECONDS}"], check=True)


def counts(directory):
    """operation -> who -> instructions for each iteration."""
    result = collections.defaultdict(dict)
    for entry in os.scandir(directory):
        with open(entry.path, encoding="utf-8", errors="replace") as file:
            text = file.read()
        loop = re.search(r"^desc: Trigger: Client Request: (\S+) (\d+)$", text, re.MULTILINE)
        if loop:
            name, iterations = loop.groups()
            operation, who = name.split("/")[:2]
            total = re.search(r"^summary: (\d+)$", text, re.MULTILINE).group(1)
            result[operation][who] = int(total) / int(iterations)
    return result


def main():
    goals, directory, pattern = read_goals(sys.argv[1]), os.path.abspath(sys.argv[2]), sys.argv[3]
    shutil.rmtree(directory, ignore_errors=True)
    os.makedirs(directory)

    expected = set()
    for program in sys.argv[4:]:
        names = list(countable(program, pattern))
        expected.update(name.split("/")[0] for name in names)
        if names:
            profile(program, names, directory)

    result = counts(directory)
    rows = []
    for operation in [name for name in goals if name in expected] + sorted(expected - set(goals)):
        if set(result.get(operation, ())) != set(SUBJECTS):
            sys.exit(f"{operation}: counted {sorted(result.get(operation, ()))}")
        ours, limit = (result[operation][who] for who in SUBJECTS)
        title = goals[operation][0] if operation in goals else operation
        rows.append([title, f"{ours:,.0f}", f"{limit:,.0f}", f"{ours / limit:.2f}"])
    print_table(["operation", "ours", "limit", "ours : limit"], rows)


if __name__ == "__main__":
    main()
