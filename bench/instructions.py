#!/usr/bin/env python3
"""Counts the instructions of each operation by callgrind; report.py prints them.

usage: instructions.py PROFILE_DIR FILTER PROGRAM...

Counted are the library and the limit, in the benchmark's loop alone. Operations that other
processes or threads take part in are left out, and instructions of the kernel are not seen.
PROFILE_DIR is emptied first; each profile in it stays for callgrind_annotate(1). It must not lie
below a directory that the programs hide (tests/support/PrivateMounts.h).
"""

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

from report import read_instructions

SUBJECTS = ("ours", "limit")
SHARED_WORK = ("manual_time", "process_time", "real_time", "threads:")
LOOP_SECONDS = 0.002  # under callgrind; enough iterations for the loop's first and last to vanish


def countable(program, pattern):
    """The names of the benchmarks to count."""
    listed = subprocess.run([program, "--benchmark_list_tests"], check=True, text=True,
                            stdout=subprocess.PIPE).stdout.split("\n")
    for name in filter(None, listed):
        _, who, *options = name.split("/")
        if (who in SUBJECTS and re.search(pattern, name)
                and not any(option.startswith(SHARED_WORK) for option in options)):
            yield name


def main():
    directory, pattern = Path(sys.argv[1]).absolute(), sys.argv[2]
    shutil.rmtree(directory, ignore_errors=True)
    directory.mkdir(parents=True)

    expected = set()
    for program in sys.argv[3:]:
        names = list(countable(program, pattern))
        if not names:
            continue
        expected.update(tuple(name.split("/")[:2]) for name in names)
        choice = "|".join(re.escape(name) for name in names).replace("\\/", "/")
        subprocess.run(["valgrind", "-q", "--tool=callgrind", "--collect-atstart=no",
                        f"--callgrind-out-file={directory}/{os.path.basename(program)}.%p",
                        program, f"--benchmark_filter=^({choice})$",
                        f"--benchmark_min_time={LOOP_SECONDS}"], check=True)

    counted = {(operation, who) for operation, subjects in read_instructions(directory).items()
               for who in subjects}
    if counted != expected:
        sys.exit(f"not counted: {sorted(expected - counted)}")


if __name__ == "__main__":
    main()
