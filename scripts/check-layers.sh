#!/usr/bin/env bash
# Checks that a folder of src/ includes only headers of its own layer and of those before it, in the
# order of src/CMakeLists.txt, and that nothing but src/base/Paths.h spells the install root. A
# public header belongs to the folder that holds its source, and is held to the same order. tests/
# mirrors src/: a source has its test file, and test files begin with what they test.
#   scripts/check-layers.sh [SOURCE_DIR]
#   scripts/check-layers.sh --list [SOURCE_DIR]    prints "FOLDER: INCLUDED FOLDER ..." in that order
set -euo pipefail
list=
[[ ${1:-} != --list ]] || { list=$1; shift; }
cd "${1:-$(dirname "$0")/..}"

python3 - "$list" <<'END'
import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*["<]([^">]+)[">]', re.M)
# Public headers without a source of their name.
HOMES = {"CQorDefs.h": "object", "QorExport.h": "base", "winapi.h": "util/winapi"}
# Of tests/: what is about all folders of src/, or none.
UNMIRRORED = ("exchange", "package", "proof", "support")

src = pathlib.Path("src")
layers = re.findall(r"^add_subdirectory\((.*)\)$", (src / "CMakeLists.txt").read_text(), re.M)
sources = {p: p.read_text() for p in sorted(src.rglob("*")) if p.suffix in (".h", ".cpp")}
included = {}
faults = []


def layer_of(folder, what):
    if folder in layers:
        return layers.index(folder)
    faults.append(f"{what}: src/CMakeLists.txt does not list the folder {folder}")
    return 0


homes = dict(HOMES)
for path in sources:
    if path.suffix == ".cpp":
        homes.setdefault(path.stem + ".h", path.parent.relative_to(src).as_posix())


def folder_of_include(name, including):
    """The folder of src/ that an included header belongs to; None for one that is not ours."""
    for candidate in (including.parent / name, src / name):
        if candidate.is_file() and src in candidate.parents:
            return candidate.resolve().parent.relative_to(src.resolve()).as_posix()
    if (pathlib.Path("include") / name).is_file():
        if name not in homes:
            faults.append(f"include/{name}: no source of its name; add its folder to HOMES")
        return homes.get(name)
    return None


def check(path, folder, text):
    for name in INCLUDE.findall(text):
        home = folder_of_include(name, path)
        if home is not None and layer_of(home, name) > layer_of(folder, path):
            faults.append(f"{path} includes {name}, of the higher layer {home}")
        if home not in (None, folder):
            included.setdefault(folder, set()).add(home)


for path, text in sources.items():
    check(path, path.parent.relative_to(src).as_posix(), text)
    if '"/opt' in text and path != src / "base/Paths.h":
        faults.append(f"{path} spells the install root; base/Paths.h is its home")
for path in sorted(pathlib.Path("include").glob("*.h")):
    if path.name in homes:
        check(path, homes[path.name], path.read_text())

tests = pathlib.Path("tests")
subjects = {}
for name, folder in homes.items():
    subjects.setdefault(folder, set()).add(name[:-len(".h")])
for path in sources:
    folder = path.parent.relative_to(src)
    subjects.setdefault(folder.as_posix(), set()).add(path.stem)
    if path.suffix == ".cpp" and not (tests / folder / f"{path.stem}_test.cpp").is_file():
        faults.append(f"{path}: no tests/{folder}/{path.stem}_test.cpp")
for path in sorted(tests.rglob("*_test.cpp")):
    folder = path.parent.relative_to(tests)
    if path.parts[1] not in UNMIRRORED and \
            not path.name.startswith(tuple(subjects.get(folder.as_posix(), ()))):
        faults.append(f"{path}: begins with no name of src/{folder}")

if sys.argv[1] and not faults:
    for folder in layers:
        print(" ".join([folder + ":", *sorted(included.get(folder, ()), key=layers.index)]))
    sys.exit()
print("\n".join(dict.fromkeys(faults)) or f"{len(layers)} layers, no violation")
sys.exit(bool(faults))
END
