#!/usr/bin/env python3
"""What the library exports: the members that the headers declare public or protected in classes
marked QOR_API, the functions that they mark so, and nothing else. Clang reads the headers.

    scripts/exports.py            prints the version script; kept as cmake/qor_ComLib.map
    scripts/exports.py LIBRARY    compares the names that LIBRARY exports with the headers

Functions with a body in a header are compiled into each program, and not exported. Exit status 1:
the names differ; 77: a tool is missing.
"""
import fnmatch
import functools
import json
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

STRING = "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >"
HEADERS = Path(__file__).resolve().parent.parent / "include"


def run(*command, **options):
    if not shutil.which(command[0]):
        print(f"{command[0]} is missing: scripts/install-deps.sh check package", file=sys.stderr)
        sys.exit(77)
    return subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE, **options).stdout


@functools.lru_cache
def parsed_headers():
    """Clang's tree of our declarations. Those of the system come precompiled: clang leaves them
    out then, which makes hundreds of megabytes a few."""
    headers = sorted(HEADERS.glob("*.h"))
    system = {line for header in headers for line in header.read_text("utf-8").splitlines()
              if line.startswith("#include <")}
    with tempfile.TemporaryDirectory() as work:
        (Path(work) / "system.h").write_text("\n".join(sorted(system)) + "\n", "utf-8")
        (Path(work) / "all.cpp").write_text(
            "".join(f'#include "{header.name}"\n' for header in headers), "utf-8")
        clang = ["clang++", "-std=c++17", "-I", str(HEADERS)]
        run(*clang, "-x", "c++-header", "system.h", "-o", "system.pch", cwd=work)
        return json.loads(run(*clang, "-include-pch", "system.pch", "-fsyntax-only",
                              "-Xclang", "-ast-dump=json", "all.cpp", cwd=work))


def parts(node, kind):
    return [part for part in node.get("inner", []) if part.get("kind") == kind]


def is_compiled(node):
    """Whether the library holds the function: it is declared here, and its body is elsewhere."""
    return not (parts(node, "CompoundStmt") or node.get("isImplicit") or node.get("pure") or
                node.get("explicitlyDefaulted") or node.get("explicitlyDeleted"))


def names_of_member(node, polymorphic):
    name = node["mangledName"]
    if node["kind"] == "CXXConstructorDecl":
        return [name, re.sub(r"C1(?=E)", "C2", name)]
    if node["kind"] == "CXXDestructorDecl":
        return [re.sub(r"D1(?=E)", kind, name) for kind in ("D0", "D1", "D2")[not polymorphic:]]
    return [name]


def names_of_class(node):
    """The names of a class that the library holds, and those that it may hold: patterns."""
    polymorphic = node["definitionData"].get("isPolymorphic", False)
    access = "public" if node["tagUsed"] == "struct" else "private"
    names, has_key_function = [], False
    for member in node["inner"]:
        if member["kind"] == "AccessSpecDecl":
            access = member["access"]
        elif "mangledName" in member and is_compiled(member):
            has_key_function |= member.get("virtual", False) or bool(parts(member, "OverrideAttr"))
            if access != "private":
                names += names_of_member(member, polymorphic)
    mangled = f"{len(node['name'])}{node['name']}"
    types = [f"_ZT{kind}{mangled}" for kind in "ISV"]
    if not has_key_function:  # each program that needs them has its own
        return names, types
    adjusted = []
    if len(node.get("bases", [])) > 1:
        adjusted = [f"_ZTT{mangled}", *(f"_ZT{kind}_{name[2:]}" for kind in ("hn*", "v0_n*")
                                        for name in names)]
    return names + types, adjusted


def interface():
    names, patterns = set(), set()
    for node in parsed_headers()["inner"]:
        if not parts(node, "VisibilityAttr"):
            continue
        if node["kind"] == "CXXRecordDecl" and node.get("completeDefinition"):
            required, allowed = names_of_class(node)
            names.update(required)
            patterns.update(allowed)
        elif node["kind"] in ("FunctionDecl", "VarDecl") and is_compiled(node):
            names.add(node["mangledName"])
    return sorted(names), sorted(patterns)


def version_script(names, patterns):
    return "\n".join([
        "# What the library exports, as the headers declare it. Made by scripts/renew.sh;",
        "# \"c++filt <cmake/qor_ComLib.map\" shows it as C++.",
        "QOR_1 {", "    global:", *(f"        {name};" for name in names + patterns),
        "    local:", "        *;", "};", ""])


def difference(library, names, patterns):
    symbols = [line.split() for line in run("nm", "--dynamic", "--defined-only", library).splitlines()]
    exported = {name.split("@")[0] for *_, kind, name in symbols if kind != "A"}
    unwanted = {name for name in exported - set(names)
                if not any(fnmatch.fnmatchcase(name, pattern) for pattern in patterns)}
    return [*(f"not exported: {name}" for name in sorted(set(names) - exported)),
            *(f"exported, but not declared public or protected: {name}"
              for name in sorted(unwanted))]


def demangled(lines):
    text = run("c++filt", input="".join(f"{line}\n" for line in lines))
    return text.replace(STRING, "std::string").replace("[abi:cxx11]", "")


def main(what=None):
    names, patterns = interface()
    if not what:
        print(version_script(names, patterns), end="")
        return 0
    found = difference(what, names, patterns)
    print(demangled(found or [f"{len(names)} names: as declared"]), end="")
    if found:
        print("Define in src/ what the headers declare; then run scripts/renew.sh.")
    return 1 if found else 0


if __name__ == "__main__":
    if len(sys.argv) > 2:
        raise SystemExit(__doc__)
    sys.exit(main(*sys.argv[1:]))
