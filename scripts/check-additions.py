#!/usr/bin/env python3
"""What is still missing of operations that are new since the stored interfaces, all at once: the
comment, the exported name, the test, the page and the changelog's line. The row in the table of
operations is checked by tests/proof/operations/table_test.sh.

    scripts/check-additions.py

Exit status 1: something is missing; 3: only the stored interface is, which scripts/renew.sh stores
then; 77: a tool is missing.
"""
import lzma
import re
import subprocess
import sys
from pathlib import Path

import exports

ROOT = Path(__file__).resolve().parent.parent
# Each compiler has a baseline. A name is stored when it stands in one of them.
BASELINES = ROOT.glob("tests/package/abi/*[0-9].abi.xz")
ONLY_TO_STORE = 3


def texts(pattern, *words):
    """By path, the text of each file that holds all of the words."""
    found = {path: path.read_text("utf-8", "replace") for path in sorted(ROOT.glob(pattern))}
    return {path: text for path, text in found.items()
            if all(re.search(rf"\b{word}\b", text) for word in words if word)}


def functions():
    """Each function that the headers declare, as clang sees it, and its class or nothing."""
    for node in exports.parsed_headers()["inner"]:
        if exports.parts(node, "VisibilityAttr"):
            scope = node["name"] if node["kind"] == "CXXRecordDecl" else ""
            for part in node.get("inner", []) if scope else [node]:
                if "mangledName" in part and not part.get("isImplicit"):
                    yield part, scope


def signature(node):
    """As the header declares it: Split(std::string&, const std::string&)."""
    kind = node["type"]["qualType"]
    return node["name"] + re.sub(r" (?=[*&])", "", kind[kind.index("("):] if "(" in kind else "")


def subject(node, scope):
    """The name to look for: a destructor's and an operator's is the class."""
    return node["name"] if node["name"].isidentifier() else scope


def is_called(node, scope):
    """Whether a test calls this very function: the compiler chooses between those of one name. Of a
    virtual one the name has to do, since calls go through the class's table."""
    tests = texts("tests/**/*_test.cpp", subject(node, scope), scope)
    if node.get("virtual") or exports.parts(node, "OverrideAttr"):
        return bool(tests)
    folders = [f"-I{ROOT / folder}" for folder in ("include", "src", "tests")]
    names = "|".join(exports.names_of_member(node, False))
    return any(re.search(rf"\b({names})\b", subprocess.run(
        ["clang++", "-std=c++17", *folders, "-S", "-o", "-", str(test)], text=True,
        stdout=subprocess.PIPE, check=False).stdout) for test in tests)


def is_shown(pattern, node, scope, is_overload):
    """Whether a document shows the function's name as code; an overload's with its parameters."""
    if is_overload:
        wanted = re.sub(r"std::|\s", "", signature(node))
        return any(wanted in re.sub(r"std::|\s", "", text) for text in texts(pattern).values())
    shown = rf"(`({scope}::)?|{scope or '^ *'}::|\.|->){subject(node, scope)}\b"
    return any(re.search(shown, text, re.M) for text in texts(pattern, scope).values())


def lacks(node, scope, script, is_overload):
    if not exports.parts(node, "FullComment"):
        yield "a comment in its header"
    if node["mangledName"] not in script:
        yield "its name in cmake/qor_ComLib.map: scripts/renew.sh"
    if not is_called(node, scope):
        yield f"a test that calls it: tests/FOLDER/{scope or 'HEADER'}_test.cpp"
    name = signature(node) if is_overload else subject(node, scope)
    if not is_shown("docs/*.md", node, scope, is_overload):
        yield f"`{name}` on a page of docs/"
    if not is_shown("CHANGELOG.md", node, scope, is_overload):
        yield f"`{name}` in CHANGELOG.md"


def main():
    stored = {name for path in BASELINES
              for name in re.findall(r"<elf-symbol name='([^']*)'", lzma.open(path, "rt").read())}
    required = set(exports.interface()[0])
    script = (ROOT / "cmake/qor_ComLib.map").read_text("utf-8")
    known = {(scope, node["name"]) for node, scope in functions() if node["mangledName"] in stored}
    new = [(node, scope) for node, scope in functions()
           if node["mangledName"] in required - stored]
    missing = [f"{scope + '::' if scope else ''}{signature(node)} lacks {what}"
               for node, scope in new
               for what in lacks(node, scope, script, (scope, node["name"]) in known)]
    if missing:
        print("\n".join(missing))
        return 1
    print(f"{len(new)} new operations lack only the stored interface: scripts/renew.sh"
          if new else "nothing is missing")
    return ONLY_TO_STORE if new else 0


if __name__ == "__main__":
    sys.exit(main())
