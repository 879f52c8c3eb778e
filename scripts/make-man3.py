#!/usr/bin/env python3
"""Writes the manual pages of the public names, from what Doxygen read in the headers.

    scripts/make-man3.py XML_DIR MANUALS OUT_DIR VERSION

One page per header, named after it; one per group of functions where a header has such groups.
Every other name, "Class::member" included, is a symbolic link to the page that tells about it.
MANUALS is docs/manuals.ini, which knows the pages of sections 5 and 7.
"""
import configparser
import os
import re
import sys
import textwrap
import xml.etree.ElementTree as ElementTree

SECTION = "3qor"
WIDTH = 78

# Where a description's sentences go that begin so; the others stay in DESCRIPTION.
ELSEWHERE = (
    ("RETURN VALUES", r"Unless a function says otherwise, 0|Status codes|Results are"),
    ("ERRORS", r"Failures:|Failures are|Failed searches|Nothing is thrown|Only allocation failures|"
               r"Only std::bad_alloc|Nothing is thrown or reported"),
    ("THREAD SAFETY", r"Threads:|Processes:|Safety between processes"),
)
PAGE_OF = {}      # document: its page, from docs/manuals.ini
KINDS = {"function", "enum", "variable", "define", "typedef"}


# ---- roff -----------------------------------------------------------------------------------

def plain(text):
    """Text with what roff would interpret written as escapes, and documents as their pages."""
    text = re.sub(r"docs/([\w-]+\.md)", lambda match: PAGE_OF.get(match.group(1), match.group(0)),
                  text)
    for char, name in (("\\", "\\e"), ("-", "\\-"), ("^", "\\(ha"), ("~", "\\(ti"),
                       ("`", "\\(ga"), ("'", "\\(aq")):
        text = text.replace(char, name)
    return text


def guard(line):
    """A line of text, never a request."""
    return "\\&" + line if line[:1] in (".", "'") else line


def argument(text):
    """An argument of a macro."""
    return '"' + plain(text).replace('"', "\\(dq") + '"'


def filled(text):
    """A paragraph as lines of at most WIDTH characters."""
    lines = textwrap.wrap(text, WIDTH, break_on_hyphens=False, break_long_words=False)
    return [guard(line) for line in lines]


def literal(text):
    """Lines that are kept as they are."""
    lines = [guard(plain(line.rstrip())) for line in text.strip("\n").split("\n")]
    return [".PP", ".RS 4", ".EX"] + [line or "\\&" for line in lines] + [".EE", ".RE"]


# ---- Doxygen's XML --------------------------------------------------------------------------

def inline(node):
    """The text of a paragraph's node in roff, fonts included."""
    text = plain(node.text or "")
    for child in node:
        inner = inline(child)
        if child.tag in ("computeroutput", "bold"):
            inner = "\\fB" + inner + "\\fR"
        elif child.tag not in ("ref", "emphasis", "ulink"):
            raise SystemExit(f"no way to show <{child.tag}> in a manual page")
        text += inner + plain(child.tail or "")
    return text


def joined(text):
    """A paragraph in one line; two spaces in a row are meant."""
    text = re.sub(r"\s*\n\s*", " ", text.strip())
    return re.sub(r" {2,}", lambda spaces: "\\ " * len(spaces.group(0)), text)


def blocks(node):
    """The paragraphs and examples below a description, as ("text" or "code", text)."""
    found = []
    for para in node.findall("para") if node is not None else []:
        text = plain(para.text or "")
        for child in para:
            if child.tag == "verbatim":
                found.append(("text", text))
                found.append(("code", child.text))
                text = plain(child.tail or "")
                continue
            wrapper = ElementTree.Element("para")
            tail, child.tail = child.tail, None
            wrapper.append(child)
            text += inline(wrapper) + plain(tail or "")
        found.append(("text", text))
    return [(kind, joined(text) if kind == "text" else text)
            for kind, text in found if text.strip()]


def described(node):
    """Brief and detailed description as one: the first sentence joins what follows it."""
    brief, detail = blocks(node.find("briefdescription")), blocks(node.find("detaileddescription"))
    if brief and detail and detail[0][0] == "text" and not detail[0][1].startswith("\\fBIntended"):
        brief[-1:] = [("text", brief[-1][1] + " " + detail.pop(0)[1])]
    return brief + detail


def show(parts):
    lines = []
    for kind, text in parts:
        lines += literal(text) if kind == "code" else ([".PP"] if lines else []) + filled(text)
    return lines


def spaced(text):
    """A piece of a declaration with its "*" and "&" at the type, as the headers have it."""
    text = re.sub(r" ([*&]+) ?(?=\w)", r"\1 ", text)
    text = re.sub(r" ([*&]+)", r"\1", text)
    text = re.sub(r",(?=\.)", ", ", text)
    return text.replace("< ", "<").replace(" >", ">")


def text_of(node):
    return "".join(node.itertext()) if node is not None else ""


class Member:
    """A function, variable, enumeration or macro."""

    def __init__(self, node, scope):
        self.kind = node.get("kind")
        self.name = node.findtext("name")
        self.full_name = scope + "::" + self.name if scope else self.name
        self.line = int(node.find("location").get("line"))
        self.node = node
        self.parts = described(node)
        self.values = [(value.findtext("name"), value.findtext("initializer", ""),
                        described(value)) for value in node.findall("enumvalue")]

    def declaration(self):
        node = self.node
        if self.kind == "define":
            return "#define " + self.name + " " + text_of(node.find("initializer"))
        result = spaced(text_of(node.find("type")))
        arguments = spaced(node.findtext("argsstring", ""))
        arguments = re.sub(r"=(0|delete|default)$", r" = \1", arguments)
        if self.kind == "enum":
            return f"enum {self.name}" + (f" : {result};" if result else ";")
        first = [word for word, attribute, value in (
            ("static", "static", "yes"), ("explicit", "explicit", "yes")
        ) if node.get(attribute) == value]
        if node.get("virt") in ("virtual", "pure-virtual") and "override" not in arguments:
            if not result.startswith("virtual"):
                first.append("virtual")
        initial = spaced(text_of(node.find("initializer")))
        declaration = " ".join(first + ([result] if result else []) + [self.name]) + arguments
        return declaration + (" " + initial if initial and self.kind == "variable" else "") + ";"


class Group:
    """Members under a common title; without one, what stands outside all groups."""

    def __init__(self, title, parts, members):
        self.title, self.parts = title, parts
        self.members = sorted(members, key=lambda member: member.line)


def groups_of(compound, scope):
    """The public members of a class or header, those outside groups first."""
    loose, titled = [], []
    for section in compound.findall("sectiondef"):
        members = [Member(node, scope) for node in section.findall("memberdef")
                   if node.get("kind") in KINDS and node.get("prot") != "private"]
        if section.get("kind") == "user-defined":
            titled.append(Group(section.findtext("header"), blocks(section.find("description")),
                                members))
        else:
            loose += members
    titled = [group for group in titled if group.members]
    titled.sort(key=lambda group: group.members[0].line)
    return ([Group(None, [], loose)] if loose else []) + titled


class Class:
    def __init__(self, compound):
        self.name = compound.findtext("compoundname")
        self.kind = compound.get("kind")
        self.line = int(compound.find("location").get("line"))
        self.file = compound.find("location").get("file")
        bases = [base.get("prot") + " " + text_of(base)
                 for base in compound.findall("basecompoundref")]
        self.head = f"{self.kind} {self.name}" + (" : " + ", ".join(bases) if bases else "")
        self.parts = described(compound)
        self.groups = groups_of(compound, self.name)
        self.members = [member for group in self.groups for member in group.members]


class Header:
    def __init__(self, compound, classes):
        self.file = compound.findtext("compoundname")
        self.name = self.file.rsplit(".", 1)[0]
        self.brief = blocks(compound.find("briefdescription"))[0][1]
        self.parts = blocks(compound.find("detaileddescription"))
        self.classes = sorted((entry for entry in classes if entry.file == self.file),
                              key=lambda entry: entry.line)
        self.groups = groups_of(compound, "")


# ---- pages ----------------------------------------------------------------------------------

class Manuals:
    """docs/manuals.ini: which page of section 5 or 7 stands beside a header or a document."""

    def __init__(self, path):
        self.pages = configparser.ConfigParser()
        self.pages.optionxform = str
        with open(path, encoding="utf-8") as file:
            self.pages.read_file(file)
        self.date = self.pages["DEFAULT"]["date"]
        for page in self.pages.sections():
            if "sections" not in self.pages[page]:
                PAGE_OF[self.pages[page]["source"]] = page

    def beside(self, header):
        return [page for page in self.pages.sections()
                if header in self.pages[page].get("headers", "").split()]


def declared(declaration, indent=0):
    """A declaration in lines that fit, its arguments below each other, in bold."""
    if len(declaration) + indent > WIDTH - 2 and "(" in declaration:
        column = declaration.index("(") + 1
        head, rest = declaration[:column], declaration[column:]
        pieces = re.split(r"(?<=,) (?![^<]*>)", rest)
        lines, current = [], head
        for piece in pieces:
            if len(current) > len(head) and len(current) + len(piece) + 1 + indent > WIDTH - 2:
                lines.append(current.rstrip())
                current = " " * min(column, 30)
            current += piece + " "
        lines.append(current.rstrip())
    else:
        lines = [declaration]
    return [" " * indent + line for line in lines]


def heading(declaration):
    """A declaration that the next paragraph is about."""
    lines = [".PP", ".nf"]
    for line in declared(declaration):
        lines.append("\\fB" + plain(line) + "\\fR")
    return lines + [".fi", ".RS 4"]


def synopsis_of(entry):
    lines = [entry.head, "{"] + (["public:"] if entry.kind == "class" else [])
    protected = False
    for group in entry.groups:
        for member in group.members:
            if member.node.get("prot") == "protected" and not protected:
                lines.append("protected:")
                protected = True
            lines += declared(member.declaration(), 4)
    return lines + ["};"]


def member_text(member):
    lines = heading(member.declaration()) + show(member.parts)
    for name, value, parts in member.values:
        lines += [".TP", "\\fB" + plain(f"{name} {value}".strip()) + "\\fR"]
        lines += show(parts)
    return lines + [".RE"]


def members_text(groups):
    lines = []
    for group in groups:
        if group.title:
            lines += [".SS " + argument(group.title)] + show(group.parts)
        for member in group.members:
            lines += member_text(member)
    return lines


def sorted_by_section(parts):
    """Distributes paragraphs by their first words, sentence by sentence; code follows its text."""
    starts = re.compile(r"(?:^|(?<=[.;] ))(?=(?:%s))" % "|".join(regex for _, regex in ELSEWHERE))
    sections, current = {"DESCRIPTION": []}, "DESCRIPTION"
    if parts and parts[0][0] == "code":
        sections["EXAMPLES"] = [parts[0]]
        parts = parts[1:]
    for kind, text in parts:
        if kind == "code":
            sections[current].append((kind, text))
            continue
        for piece in (part.strip() for part in starts.split(text)):
            if not piece:
                continue
            current = next((section for section, regex in ELSEWHERE if re.match(regex, piece)),
                           "DESCRIPTION")
            piece = re.sub(r"^(?:Threads|Failures): +(.)", lambda m: m.group(1).upper(), piece)
            sections.setdefault(current, []).append(("text", piece))
    return sections


class Writer:
    def __init__(self, manuals, out, version):
        self.manuals, self.out, self.version = manuals, out, version
        self.pages, self.links = 0, set()

    def page(self, name, names, purpose, header, synopsis, parts, body, see):
        """Writes one page. `body`: what stands between the description and the other sections."""
        def section(title, lines):
            return [".SH " + argument(title)] + lines if lines else []

        sections = sorted_by_section(parts)
        description = purpose.rstrip(".") + "."
        purpose = purpose[:1].lower() + purpose[1:]
        lines = [f".TH {argument(name)} {argument(SECTION)} \"{self.manuals.date}\" "
                 f"{argument('libqor_ComLib ' + self.version)} {argument('Library Functions')}",
                 ".nr HY 0", ".ad l", ".nh"]
        lines += section("NAME", filled(", ".join(plain(n) for n in names) + " \\- " +
                                        purpose.rstrip(".")))
        lines += section("LIBRARY", ["Common library of the qor suite "
                                     "(libqor_ComLib, \\fB\\-lqor_ComLib\\fR)"])
        shown = [f'#include "{header}"'] + ([""] + synopsis if synopsis else [])
        lines += section("SYNOPSIS", [".nf"] + [("\\fB" + plain(line) + "\\fR") if line else ".PP"
                                                for line in shown] + [".fi"])
        lines += section("DESCRIPTION", show(sections["DESCRIPTION"] or [("text", description)]))
        lines += body
        for title in ("RETURN VALUES", "ERRORS", "THREAD SAFETY", "EXAMPLES"):
            lines += section(title, show(sections.get(title, [])))
        lines += section("SEE ALSO", self.references(see))
        text = "\n".join(lines) + "\n"
        text = re.sub(r"(?m)(^\.S[HS] .*\n)\.PP\n", r"\1", text)
        self.write(name, text)

    def references(self, names):
        shown = []
        for name in names:
            match = re.match(r"(.+)\((\w+)\)$", name)
            title, number = match.groups() if match else (name, "3")
            shown.append(f".BR {plain(title)} ({number})")
        return [line + "," for line in shown[:-1]] + shown[-1:]

    def alias(self, name, target):
        if name != target and name not in self.links:
            self.links.add(name)
            os.symlink(f"{target}.{SECTION}", os.path.join(self.out, f"{name}.{SECTION}"))

    def write(self, name, text):
        if name in self.links:
            raise SystemExit(f"two pages of the name {name}")
        self.pages += 1
        with open(os.path.join(self.out, f"{name}.{SECTION}"), "x", encoding="utf-8") as file:
            file.write(text)


def class_body(header):
    """The classes of a header, described member by member."""
    lines = []
    for entry in header.classes:
        title = "MEMBERS" if len(header.classes) == 1 else entry.name.upper()
        if len(header.classes) > 1:
            title = entry.head
        lines += [".SH " + argument(title)]
        if len(header.classes) > 1 and entry.name != header.name:
            lines += show(entry.parts)
        lines += members_text(entry.groups)
    for title, kind in (("TYPES", "enum"), ("FUNCTIONS", "function"), ("MACROS", "define")):
        members = [member for group in header.groups for member in group.members
                   if member.kind == kind]
        if members:
            lines += [".SH " + title] + members_text([Group(None, [], members)])
    return lines


def header_page(writer, header, others):
    main = next((entry for entry in header.classes if entry.name == header.name), None)
    free = [member for group in header.groups for member in group.members]
    names = ([header.name] if main or not (header.classes or free) else [])
    names += [entry.name for entry in header.classes if entry is not main]
    names += list(dict.fromkeys(member.name for member in free))
    synopsis = []
    for entry in header.classes:
        synopsis += ([""] if synopsis else []) + synopsis_of(entry)
    for member in free:
        synopsis += ([""] if synopsis and member is free[0] else [])
        synopsis += declared(member.declaration())
    own = main or (header.classes[0] if len(header.classes) == 1 else None)
    parts = list(header.parts)
    if own:
        parts += own.parts
    if parts and parts[0][1].rstrip(".").lower() == header.brief.rstrip(".").lower():
        parts.pop(0)
    if own and not header.parts:
        parts = described_without_purpose(own, header)
    writer.page(header.name, names if main else [header.name] + names, header.brief, header.file,
                synopsis, parts, class_body(header), writer.manuals.beside(header.file) + others)
    add_aliases(writer, header.name, header, free)


def described_without_purpose(entry, header):
    """The description of a class that stands in the header's first lines, without the purpose."""
    parts = list(entry.parts)
    if parts and parts[0][1].startswith(header.brief):
        rest = parts[0][1][len(header.brief):].strip()
        parts[:1] = [("text", rest)] if rest else []
    return parts


def add_aliases(writer, page, header, free):
    for entry in header.classes:
        writer.alias(entry.name, page)
        for member in entry.members:
            if member.kind in ("function", "enum") and re.match(r"[A-Za-z]", member.name):
                if member.name not in (entry.name, "operator="):
                    writer.alias(member.full_name, page)
    for member in free:
        writer.alias(member.name, page)


def group_pages(writer, header):
    """A page for each group of functions, and one that tells what holds for all."""
    names = {}
    for group in header.groups:
        names[group.title] = header.name + "_" + re.match(r"\w+", group.title.lower()).group(0)
    pages = list(names.values())
    for group in header.groups:
        page = names[group.title]
        classes = [entry for entry in header.classes if any(
            entry.name in text_of(member.node.find("argsstring")) for member in group.members)]
        synopsis = []
        for entry in classes:
            synopsis += synopsis_of(entry) + [""]
        for member in group.members:
            synopsis += declared(member.declaration())
        body = []
        for entry in classes:
            body += [".SH " + argument(entry.head)] + show(entry.parts) + members_text(entry.groups)
            writer.alias(entry.name, page)
        functions = Group(None, [], group.members)
        body += [".SH FUNCTIONS"] + members_text([functions])
        listed = list(dict.fromkeys(member.name for member in group.members))
        purpose = group.title + " with Windows names"
        writer.page(page, [page] + [entry.name for entry in classes] + listed, purpose, header.file,
                    synopsis, header.parts + group.parts, body,
                    [f"{other}(3)" for other in [header.name] + pages if other != page]
                    + writer.manuals.beside(header.file))
        for member in group.members:
            writer.alias(member.name, page)
    overview = []
    for group in header.groups:
        overview += [".TP", f"\\fB{plain(names[group.title])}\\fR(3)"]
        overview += filled(", ".join(dict.fromkeys(plain(m.name) for m in group.members)))
    writer.page(header.name, [header.name], header.brief, header.file, [], header.parts,
                [".SH PAGES"] + overview,
                [f"{page}(3)" for page in pages] + writer.manuals.beside(header.file))


def main(xml, manuals, out, version):
    os.makedirs(out, exist_ok=True)
    known = Manuals(manuals)
    compounds = []
    for name in sorted(os.listdir(xml)):
        if name.startswith(("class", "struct")) or name.endswith("_8h.xml"):
            compounds.append(ElementTree.parse(os.path.join(xml, name)).getroot()
                             .find("compounddef"))
    classes = [Class(compound) for compound in compounds
               if compound.get("kind") in ("class", "struct")]
    headers = [Header(compound, classes) for compound in compounds
               if compound.get("kind") == "file"]
    writer = Writer(known, out, version)
    for header in headers:
        if any(group.title for group in header.groups):
            group_pages(writer, header)
        else:
            beside = writer.manuals.beside(header.file)
            others = [f"{other.name}(3)" for other in headers if other is not header
                      and set(beside) & set(writer.manuals.beside(other.file))]
            header_page(writer, header, others)
    print(f"section 3: {writer.pages} pages, {len(writer.links)} links to them")


if __name__ == "__main__":
    if len(sys.argv) != 5:
        raise SystemExit(__doc__)
    main(*sys.argv[1:])
