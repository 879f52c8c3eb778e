#!/usr/bin/env python3
"""Checks the documents against the tree: relative links lead to files and headings; README.md
mentions every public header; docs/intended-surprises.md has a section on each header with an
intended result, and each row there names tests, which exist.

    scripts/check-docs.py [SOURCE_DIR]
"""
import os
import re
import sys
from pathlib import Path

SURPRISES = Path("docs/intended-surprises.md")


def links_of(document):
    """Without code, which is in fences or between backticks."""
    text = re.sub(r"^```.*?^```", "", document.read_text("utf-8"), flags=re.M | re.S)
    text = re.sub(r"`[^`\n]*`", "", text)
    return [link for link in re.findall(r"\]\(([^) \n]+)\)", text)
            if not re.match("[a-z]+:", link)]


def anchors_of(document):
    """What "#" links to its headings."""
    headings = re.findall(r"^#+ (.*)", document.read_text("utf-8"), re.M)
    return {re.sub("[^a-z0-9_-]", "", heading.lower().replace(" ", "-")) for heading in headings}


def all_documents():
    for place in Path(".").iterdir():
        if place.is_dir() and not place.name.startswith("build"):
            yield from place.rglob("*.md")
        elif place.suffix == ".md":
            yield place


def wrong_links(links):
    for document, link in links:
        path, _, heading = link.partition("#")
        target = document.parent / path if path else document
        if not target.exists():
            yield f"{document}: no file {link}"
        elif heading and not (target.is_file() and heading in anchors_of(target)):
            yield f"{document}: no heading {link}"


def missing_headers(readme, surprises):
    for header in sorted(Path("include").glob("*.h")):
        if not re.search(rf"(?<!\w){re.escape(header.name)}(?!\w)", readme):
            yield f"README.md: no mention of {header}"
        if re.search(r"\bintended\b", header.read_text("utf-8"), re.I) and \
                f"## {header.name}" not in surprises:
            yield f"{SURPRISES}: no section on {header}"


def rows_of(surprises):
    """Without the heads of the tables, below the first header's name."""
    begin = next((i for i, line in enumerate(surprises) if re.match(r"## .*\.h$", line)), None)
    return [line for line in surprises[begin or 0:]
            if line.startswith("|") and not re.match(r"\|(---| Operation )", line)]


def rows_without_tests(rows):
    tests = {f"{suite}.{case}" for path in Path("tests").rglob("*.cpp") for suite, case in
             re.findall(r"\bTEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)", path.read_text("utf-8"))}
    for row in rows:
        names = re.findall(r"\w+\.\w+", row.removesuffix(" |").rpartition(" | ")[2])
        if not names:
            yield f"{SURPRISES}: no test in the row {row}"
        yield from (f"{SURPRISES}: no test {name}" for name in names if name not in tests)


def main(root=Path(__file__).parent.parent):
    os.chdir(root)
    links = [(document, link) for document in sorted(all_documents())
             for link in links_of(document)]
    surprises = SURPRISES.read_text("utf-8").splitlines()
    rows = rows_of(surprises)
    found = [*wrong_links(links), *rows_without_tests(rows),
             *missing_headers(Path("README.md").read_text("utf-8"), surprises)]
    if not links or not rows:
        found.append(f"{len(links)} links and {len(rows)} rows: nothing to look at")
    print("\n".join(found) or
          f"{len(links)} links, every public header, {len(rows)} surprises with tests: clean")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
