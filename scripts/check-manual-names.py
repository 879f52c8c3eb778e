#!/usr/bin/env python3
"""Proves that the manual pages tell about every public name, by reading them as a user sees them.

    scripts/check-manual-names.py MAN_DIR

The names come from ctags(1), which reads the headers by itself, and from the list of exported
names; the pages are rendered by mandoc(1). Checked, for section 3:

- Each class, free function, enumeration and macro has a page of its name that names it.
- Each public member, overload, enumerator and field has its entry there, with text below.
- Each exported name is one that the headers declare.
- Each sentence of the headers' comments stands on some page.

And for all sections: what SEE ALSO names is there.
"""
import collections
import glob
import os
import re
import subprocess
import sys

Name = collections.namedtuple("Name", "kind access scope name")
SECTION = "3qor"


def declared_names():
    """What the headers declare, but for include guards and what has no name."""
    command = ["ctags", "-x", "--_xformat=%K|%a|%s|%N", "--language-force=C++",
               "--kinds-C++=degmpstc", "-D", "QOR_API="] + sorted(glob.glob("include/*.h"))
    output = subprocess.run(command, check=True, text=True, capture_output=True).stdout
    names = [Name(*(field.replace("-", "") if field == "-" else field for field in
                    line.split("|"))) for line in output.splitlines()]
    return [name._replace(name=name.name.replace("operator =", "operator=")) for name in names
            if "__anon" not in name.scope + name.name
            and not (name.kind == "macro" and re.fullmatch(r"QOR_\w+_H", name.name))]


class Pages:
    def __init__(self, folder):
        self.folder, self.texts = folder, {}

    def path(self, name, section=SECTION):
        return os.path.join(self.folder, "man" + section[0], f"{name}.{section}")

    def text(self, path):
        """A page as it is shown, without bold and underlined."""
        path = os.path.realpath(path)
        if path not in self.texts:
            shown = subprocess.run(["mandoc", "-T", "utf8", path], check=True, text=True,
                                   capture_output=True).stdout
            self.texts[path] = re.sub(".\x08", "", shown)
        return self.texts[path]

    def section(self, path, title):
        match = re.search(rf"(?ms)^{title}\n(.*?)(?=^\S)", self.text(path))
        return " ".join(match.group(1).split()) if match else ""

    def entries(self, path):
        """The declarations that have text below: how often each name is declared so."""
        body = re.sub(r"(?ms)^SYNOPSIS\n.*?(?=^\S)", "", self.text(path))
        lines = [line for line in body.split("\n") if line.strip()]
        found = collections.Counter()
        for number, line in enumerate(lines):
            if not re.match(r" {7}\S| {11}\w+( = \w+)?$", line):
                continue
            indent = len(line) - len(line.lstrip())
            declaration, after = line.strip(), number + 1
            while "(" in declaration and not declaration.endswith((";", ")")) and \
                    after < len(lines) and after < number + 9:
                declaration += " " + lines[after].strip()
                after += 1
            below = lines[after] if after < len(lines) else ""
            if len(below) - len(below.lstrip()) < indent + 4:
                continue
            match = re.match(r"#define (\w+)", declaration) or \
                re.search(r"(operator=|~?\w+)\(", declaration) or \
                re.match(r"enum (\w+)|(\w+)(?: = \w+)?$", declaration) or \
                re.search(r"(\w+)(?:\[\d+\])?(?: = [^;]+)?;$", declaration)
            if match:
                found[next(group for group in match.groups() if group)] += 1
        return found


def check_names(names, pages, report):
    public = [name for name in names if name.access != "private"]
    wanted = collections.Counter(name for name in public)
    for name, count in wanted.items():
        own = name.scope.split("::")[0] if name.scope else name.name
        if name.kind == "enumerator" and own not in {n.name for n in names if n.kind in
                                                     ("class", "struct")}:
            own = name.scope        # of a free enumeration
        path = pages.path(own)
        if not os.path.exists(path):
            report(f"{own}: no page for {name.name}")
            continue
        if not name.scope and own not in re.split(r"[ ,]+", pages.section(path, "NAME")):
            report(f"{own}: its page does not name it")
        if name.kind in ("class", "struct"):
            continue
        if pages.entries(path)[name.name] < count:
            report(f"{own}: {pages.entries(path)[name.name]} of {count} entries with text for "
                   f"{name.kind} {name.name}")
        special = name.name == name.scope or not re.match(r"[A-Za-z]", name.name) \
            or name.name == "operator="
        if name.kind in ("prototype", "enum") and name.scope and not special \
                and not os.path.exists(pages.path(f"{name.scope}::{name.name}")):
            report(f"{name.scope}::{name.name}: no page of this name")
    return len(public)


def check_exports(names, report):
    """The library exports what the headers declare. ctags passes over some private members and
    destructors: those are looked for in the text."""
    known = {(name.scope, name.name) for name in names}
    classes = {name.name for name in names if name.kind in ("class", "struct")}
    private = ""
    for header in glob.glob("include/*.h"):
        with open(header, encoding="utf-8") as file:
            private += "".join(re.findall(r"(?ms)^private:\n.*?^};", file.read()))
    with open("tests/package/exported_names.txt", encoding="utf-8") as file:
        lines = [re.sub(r"^(virtual|non-virtual) thunk to ", "", line)
                 for line in file.read().splitlines()]
    for line in lines:
        if match := re.match(r"(?:vtable|typeinfo|typeinfo name|VTT) for (\w+)$", line):
            found = match.group(1) in classes
        else:
            match = re.match(r"(?:(\w+)::)?(~?\w+|operator=)(?:\(|$)", line)
            scope, name = match.groups(default="") if match else ("", "")
            found = (scope, name) in known or scope in classes and (
                name == "~" + scope or re.search(rf"\b{name}\(", private))
        if not found:
            report(f"exported, but in no header: {line}")
    return len(lines)


def check_comments(pages, report):
    """Sentence by sentence; what pages say in other places or words is passed over."""
    def normal(text):
        return re.sub(r"\W+", " ", re.sub(r"docs/[\w-]+\.md|qor_\w+\(\d\)", "PAGE", text)).strip()
    everything = " ".join(normal(pages.text(path)) for path in
                          sorted(glob.glob(os.path.join(pages.folder, "man3", "*")))
                          if not os.path.islink(path)).lower()
    count = 0
    for header in sorted(glob.glob("include/*.h")):
        with open(header, encoding="utf-8") as file:
            text = file.read()
        public = re.sub(r"(?ms)^private:\n.*?^};", "", text)
        for comment in re.findall(r"(?m)(?:^ *///? .*\n)+|///< .*", public):
            comment = re.sub(r"(?m)^ *///?<? ?|///<", "", comment)
            for sentence in re.split(r"(?<=[.:;])\s|\n(?=    )", comment):
                words = normal(sentence).lower()
                words = re.sub(r"^(\w+) h ", "", words)         # "CName.h - " of the first line
                count += 1
                if len(words) > 3 and words not in everything:
                    report(f"{header}: on no page: {' '.join(sentence.split())}")
    return count


def check_references(pages, report):
    count = 0
    for path in sorted(glob.glob(os.path.join(pages.folder, "man?", "*"))):
        if os.path.islink(path):
            if not os.path.exists(path):
                report(f"{path} leads nowhere")
            continue
        for name, number in re.findall(r"([\w.]+)\((\d)\)", pages.section(path, "SEE ALSO")):
            count += 1
            if not os.path.exists(pages.path(name, number + "qor")):
                report(f"{os.path.basename(path)}: no page {name}({number})")
    return count


def main(folder):
    failures = []

    def report(text):
        failures.append(text)
        print(text)

    pages, names = Pages(folder), declared_names()
    counts = (check_names(names, pages, report), check_exports(names, report),
              check_comments(pages, report), check_references(pages, report))
    if min(counts) == 0:
        report("nothing was checked: %d names, %d exports, %d sentences, %d references" % counts)
    if not failures:
        print("%d public names, %d exports, %d sentences, %d references: all there" % counts)
    return 1 if failures else 0


if __name__ == "__main__":
    if len(sys.argv) != 2:
        raise SystemExit(__doc__)
    sys.exit(main(sys.argv[1]))
