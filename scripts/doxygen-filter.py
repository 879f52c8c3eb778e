#!/usr/bin/env python3
"""Doxygen's filter for a public header, or a document of docs/.

    scripts/doxygen-filter.py FILE

The headers are written to be read as they are. This adds what Doxygen does not know:

- The comment at the top describes the class that the header is named after, or else the first class
  without a comment; the header itself when there is no such class.
- A plain // comment that stands alone in the public part opens a group of members: its first
  sentence is the title, the rest is valid for all of them.
- "= delete" and "= default" without a comment get one, and so do the members of CQorDefs.h.
- A function that returns a pointer to a function gets a trailing return type. A class that is
  declared with a comment, and not defined, gets an empty body.

Markup characters in text are escaped, except in code (between backticks, or indented by four). The
name of a document becomes a link that shows its title. The headings of documents get the names by which links on web sites find them.
"""
import os
import re
import sys

POSITIONAL = re.compile(r"^    [\w:<>]+ (string|int|bool|\w+List)(\d+)( = \w+)?;$")
RETURNS_FUNCTION = re.compile(r"^( +)(.+?) ?\(\*(\w+)\((.*?)\)\)\((.*)\);$")
KINDS = {"string": "Text", "int": "Number", "bool": "Flag"}


def escape(line):
    """Escapes markup in a line of text. What stands between backticks or quotes is literal."""
    parts = re.split(r'(`[^`]*`|"[^"]*")', line)
    for index in range(0, len(parts), 2):
        part = re.sub(r"([\\@%#<>&*])", r"\\\1", parts[index])
        part = part.replace("--", r"\--")
        part = re.sub(r"\bdocs/([\w-]+)\.md", lambda name: "@ref " + page_id(name[1]), part)
        parts[index] = re.sub(r"\bIntended(?=[:,])", "<b>Intended</b>", part)
    return "".join(parts)


def doc(lines):
    """The text lines of a comment, as lines of a Doxygen comment."""
    return [("/// " + (line if line.startswith("    ") else escape(line))).rstrip()
            for line in lines]


def comment_block(lines, start, mark):
    """The texts after `mark` from line `start` on, and the number of the line after them."""
    texts = []
    while start < len(lines) and re.match(r"\s*" + mark + r"(?!/)", lines[start]):
        texts.append(re.sub(r"^\s*" + mark + r" ?", "", lines[start]))
        start += 1
    return texts, start


def group_opening(texts):
    """A group's comment: the first sentence, or what stands before its colon, is the title."""
    title, rest = re.match(r"(.+?)(?:[.:]\s+|[.:]?$)(.*)", "\n".join(texts), re.DOTALL).groups()
    body = doc((rest[:1].upper() + rest[1:]).split("\n"))
    return ["", "/// @name " + escape(" ".join(title.split()))] + body + ["/// @{"]


def special_member(line):
    """The comment of a deleted or defaulted member that has none."""
    operation = "Assignment" if "operator=" in line else "Copy"
    for end, text in (("= delete;", "is not possible."), ("= default;", "of every member.")):
        if line.endswith(end):
            return f"/// {operation} {text}"
    return None


def owner_of_head(name, lines):
    """The line of the class that the comment at the top describes, or None."""
    plain = {}
    for number, line in enumerate(lines):
        match = re.match(r"class QOR_API (\w+)", line)
        if match and not lines[number - 1].startswith("///"):
            plain.setdefault(match.group(1), number)
    return plain.get(name, next(iter(plain.values()), None))


def filtered(path):
    with open(path, encoding="utf-8") as file:
        lines = file.read().split("\n")
    base = os.path.basename(path)
    name = base.rsplit(".", 1)[0]

    head, number = comment_block(lines, 0, "//")
    purpose = head[0].split(" - ", 1)[1]
    body = head[1:]
    while body and body[0].strip():          # the purpose may take several lines
        purpose += " " + body.pop(0)
    brief = ["/// " + escape(purpose[:1].upper() + purpose[1:])]
    owner = owner_of_head(name, lines)
    out = ["/// @file"] + brief
    if owner is None:
        out += doc(body)
    out.append("")

    public, grouped = True, None             # grouped: the indentation of the open group
    while number < len(lines):
        line = lines[number]
        text = line.strip()
        if number == owner:
            out += brief + doc(body)
        ends_class = re.match(r"(public|private|protected):|};", text)
        if grouped == "" and text.startswith("#endif") or grouped and ends_class:
            out.append("/// @}")
            grouped = None
        if ends_class:
            public = text not in ("private:", "protected:")

        if text.startswith("///"):
            texts, number = comment_block(lines, number, "///")
            out += doc(texts)
            continue
        if public and text.startswith("//") and not lines[number - 1].strip():
            texts, after = comment_block(lines, number, "//")
            if not lines[after].strip():
                if grouped is not None:
                    out.append("/// @}")
                out += group_opening(texts)
                grouped, number = line[:len(line) - len(line.lstrip())], after
                continue

        documented = lines[number - 1].strip().startswith("///")
        if "///<" in line:
            code, trailing = line.split("///<", 1)
            line = code + "///<" + escape(trailing)
        elif public and not documented and special_member(text):
            out.append(special_member(text))
        elif name == "CQorDefs" and POSITIONAL.match(line):
            kind, position = POSITIONAL.match(line).group(1, 2)
            line += f" ///< {KINDS.get(kind, 'List')} {position} of the record."
        if documented:
            line = re.sub(r"^(class \w+);$", r"\1 {};", line)
        out.append(RETURNS_FUNCTION.sub(r"\1auto \3(\4) -> \2 (*)(\5);", line))
        number += 1
    return "\n".join(out)


def page_id(stem):
    """The name of a document's page. Doxygen's own would hold the path of the tree."""
    return "mainpage" if stem == "overview" else "qor_" + stem.replace("-", "_")


def linked(line, stem):
    """A line of a document with its links as Doxygen finds them; code spans stay."""
    def target(match):
        text, file, anchor = match.groups()
        if file.endswith(".h"):
            return f"[{text}](@ref {os.path.basename(file)})"
        if file.startswith("../"):
            return text
        if anchor:
            return f"[{text}](#{file[:-3] or stem}_{anchor})"
        return f"[{text}](@ref {page_id(file[:-3])})" if file.endswith(".md") else match.group(0)
    return re.sub(r"\[([^\]]+)\]\(([\w./-]*)(?:#([\w-]+))?\)", target, line)


def document(path):
    stem = os.path.basename(path)[:-3]
    out, fenced = [], False
    with open(path, encoding="utf-8") as file:
        for line in file.read().split("\n"):
            fenced ^= line.startswith("```")
            if not fenced and not line.startswith("    "):
                parts = re.split(r"(`[^`]*`)", line)
                parts[::2] = [re.sub("([%@])", r"\\\1", part) for part in parts[::2]]
                line = linked("".join(parts), stem)
                if line.startswith("# "):
                    line += f" {{#{page_id(stem)}}}"
                elif line.startswith("##"):
                    slug = re.sub(r"[^\w\- ]", "", line.lstrip("# ").lower()).replace(" ", "-")
                    line += f" {{#{stem}_{slug}}}"
            out.append(line)
    return "\n".join(out)


if __name__ == "__main__":
    name = sys.argv[1]
    sys.stdout.write(document(name) if name.endswith(".md") else filtered(name))
