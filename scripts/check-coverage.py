#!/usr/bin/env python3
"""Compares the lines that no test reaches with the list of those that may be so.

    scripts/check-coverage.py GCOVR_JSON LIST

GCOVR_JSON: made by gcovr --json; its paths begin in the current directory. LIST: a line each, of
four fields between tabs: file, function, the line's text, reason. Empty lines and those that begin
with # are comments. Line numbers do not matter. It fails for

- a line that is not reached and not listed,
- a listed line that is reached or gone: the list stays true,
- a row without a reason,
- a function that is not reached, whether its lines are listed or not.
"""
import bisect
import collections
import json
import re
import sys

Line = collections.namedtuple("Line", "file function text")


def normal(text):
    return " ".join(text.split())


def short_name(signature):
    """Of "int qor::(anonymous namespace)::Find<int>(int)::{lambda()#1}..." that is "qor::Find"."""
    plain = signature.replace("(anonymous namespace)::", "")
    match = re.search(r"([\w:~]*\boperator *(?:\(\)|[^(]+)|[\w:~]+)(?:<.*>)?\(", plain)
    return match.group(1) if match else plain


def not_reached(report):
    """The lines, with their numbers, and the functions that no test reaches; how many there are."""
    lines, functions, line_count, function_count = [], [], 0, 0
    for file in report["files"]:
        with open(file["file"], encoding="utf-8") as source:
            texts = source.read().split("\n")
        begins = sorted((function["lineno"], function["name"]) for function in file["functions"])
        for line in file["lines"]:
            if line.get("gcovr/noncode"):
                continue
            line_count += 1
            if line["count"] == 0:
                number = line["line_number"]
                before = bisect.bisect(begins, (number + 1,)) - 1
                function = short_name(begins[before][1]) if before >= 0 else "-"
                lines.append((Line(file["file"], function, normal(texts[number - 1])), number))
        function_count += len(file["functions"])
        functions += [f"{file['file']}:{function['lineno']}: {function['name']}"
                      for function in file["functions"] if function["execution_count"] == 0]
    return lines, functions, line_count, function_count


def listed(path, report):
    rows = []
    with open(path, encoding="utf-8") as file:
        for number, row in enumerate(file, start=1):
            if not row.strip() or row.startswith("#"):
                continue
            fields = [normal(field) for field in row.split("\t")]
            if len(fields) != 4 or not all(fields):
                report(f"{path}:{number}: not a file, a function, a text and a reason")
            else:
                rows.append(Line(*fields[:3]))
    return rows


def main(json_path, list_path):
    failures = []

    def report(text):
        failures.append(text)
        print(text)

    with open(json_path, encoding="utf-8") as file:
        lines, functions, line_count, function_count = not_reached(json.load(file))
    if line_count == 0 or function_count == 0:
        report(f"{json_path}: {line_count} lines, {function_count} functions: nothing was counted")

    rows = listed(list_path, report)
    rest = collections.Counter(rows)
    for line, number in lines:
        if rest[line] > 0:
            rest[line] -= 1
        else:
            report(f"{line.file}:{number}: not reached and not listed, "
                   f"in {line.function}: {line.text}")
    for line in rest.elements():
        report(f"{list_path}: reached, or gone: {line.file}, {line.function}: {line.text}")
    for function in functions:
        report(f"function not reached: {function}")

    print(f"{line_count - len(lines)} of {line_count} lines and "
          f"{function_count - len(functions)} of {function_count} functions reached, "
          f"{len(rows)} listed" + ("" if failures else ": as it is to be"))
    return 1 if failures else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        raise SystemExit(__doc__)
    sys.exit(main(*sys.argv[1:]))
