#!/usr/bin/env python3
"""What is still missing of operations that are new since the stored interface, all at once: the
comment, the exported name, the test, the row for the proofs, the page and the changelog's line.

    scripts/check-additions.py [--to-store]    --to-store: they are about to be stored

Exit status 1: something is missing; 77: a tool is.
"""
import lzma
import re
import sys
from pathlib import Path

import exports

ROOT = Path(__file__).resolve().parent.parent
# Each compiler's baseline names the same functions.
BASELINE = min(ROOT.glob("tests/package/abi/*[0-9].abi.xz"))


def words(*patterns, without=""):
    """The words of all files that match."""
    paths = {path for pattern in patterns for path in ROOT.glob(pattern) if path.is_file()}
    return {word for path in paths if not without or without not in str(path)
            for word in re.findall(r"~?\w+", path.read_text("utf-8", "replace"))}


def operations():
    """Of each exported function: its mangled name, its class or nothing, its name, its comment."""
    for node in exports.parsed_headers()["inner"]:
        if exports.parts(node, "VisibilityAttr"):
            scope = node["name"] if node["kind"] == "CXXRecordDecl" else ""
            for part in node.get("inner", []) if scope else [node]:
                if "mangledName" in part and not part.get("isImplicit"):
                    yield (part["mangledName"], scope, part["name"],
                           bool(exports.parts(part, "FullComment")))


def main():
    stored = set(re.findall(r"<elf-symbol name='([^']*)'", lzma.open(BASELINE, "rt").read()))
    required = set(exports.interface()[0])
    script = words("cmake/qor_ComLib.map")
    places = {
        "in a test: tests/FOLDER/CLASS_test.cpp":
            words("tests/**/*_test.cpp", without="/proof/"),
        "in the table of operations: tests/proof/operations/": words("tests/proof/**/*.cpp"),
        "on a page of docs/": words("docs/*.md"),
        "in CHANGELOG.md": words("CHANGELOG.md"),
    }
    missing = []
    for mangled, scope, name, commented in operations():
        if mangled not in required or mangled in stored:
            continue
        shown = f"{scope}::{name}" if scope else name
        if not commented:
            missing.append(f"{shown}: no comment in its header")
        if mangled not in script:
            missing.append(f"{shown}: not in cmake/qor_ComLib.map: scripts/renew.sh")
        missing += [f"{shown}: not {place}" for place, known in places.items()
                    if name.lstrip("~") not in known]
        if "--to-store" not in sys.argv:
            missing.append(f"{shown}: not in the stored interface: scripts/renew.sh --abi LIBRARY")
    print("\n".join(missing) or "nothing is missing")
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
