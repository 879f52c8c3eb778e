#!/usr/bin/env python3
"""Writes the manual pages of sections 5 and 7, from the documents, by lowdown(1).

    scripts/make-man57.py MANUALS OUT_DIR VERSION

MANUALS is docs/manuals.ini, beside the documents. Each heading of a document goes to one page.
Pages get their NAME and SEE ALSO, and links between documents become names of pages.
"""
import configparser
import os
import re
import subprocess
import sys
import textwrap

WIDTH = 78
TABLE_WIDTH = 66    # of the cells, without frames, on a terminal of 80 columns
LONG_WORD = 14


class Document:
    """A document in pieces: its title, what stands before the first heading, its sections."""

    def __init__(self, path):
        self.name = os.path.basename(path)
        with open(path, encoding="utf-8") as file:
            lines = file.read().split("\n")
        self.title = lines[0].lstrip("# ").strip()
        self.intro, self.sections = [], {}
        target, fenced = self.intro, False
        for line in lines[1:]:
            fenced ^= line.startswith("```")
            if line.startswith("## ") and not fenced:
                target = self.sections.setdefault(line[3:].strip(), [])
            else:
                target.append(line)


class Page:
    def __init__(self, name, options):
        match = re.fullmatch(r"(.+)\((\d)\)", name)
        if not match:
            raise SystemExit(f"{name}: no NAME(SECTION)")
        self.name, self.number = match.groups()
        self.full_name = name
        self.options = options
        self.source = options["source"]
        self.wanted, self.dropped, self.without = (
            [entry.strip() for entry in options.get(key, "").split(";") if entry]
            for key in ("sections", "drop", "without"))


def slug(title):
    return re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-")


def shown(name):
    """The name of a page in Markdown."""
    return re.sub(r"(.+)(\(\d\))", r"**\1**\2", name.replace("_", "\\_"))


class Manuals:
    def __init__(self, path):
        self.folder = os.path.dirname(path)
        parser = configparser.ConfigParser()
        parser.optionxform = str
        with open(path, encoding="utf-8") as file:
            parser.read_file(file)
        self.date = parser["DEFAULT"]["date"]
        self.pages = [Page(name, parser[name]) for name in parser.sections()]
        sources = sorted(name for name in os.listdir(self.folder) if name.endswith(".md"))
        self.documents = {name: Document(os.path.join(self.folder, name)) for name in sources}
        for source in sources:
            if not any(page.source == source and not page.wanted for page in self.pages):
                stem = source[:-3].replace("-", "_")
                self.pages.append(Page(f"qor_{stem}(7)", {
                    "source": source, "purpose": self.documents[source].title.lower()}))
        for page in self.pages:
            if page.source not in self.documents:
                raise SystemExit(f"{page.full_name}: no document {page.source}")
            for title in page.wanted + page.dropped:
                if title not in self.documents[page.source].sections:
                    raise SystemExit(f"{page.full_name}: {page.source} has no section '{title}'")
                if sum(title in other.wanted for other in self.pages
                       if other.source == page.source) > 1:
                    raise SystemExit(f"{page.source}: '{title}' is wanted by two pages")

    def owner(self, source, anchor):
        """The page that a link to a document leads to."""
        for page in self.pages:
            if page.source == source and anchor in [slug(title) for title in page.wanted]:
                return page
        return next(page for page in self.pages if page.source == source and not page.wanted)

    def titles(self, page):
        """The headings that go to a page."""
        if page.wanted:
            return page.wanted
        taken = [title for other in self.pages if other.source == page.source
                 for title in other.wanted + other.dropped]
        return [title for title in self.documents[page.source].sections if title not in taken]

    def beside(self, page):
        """What to see also: pages of the same document or about the same headers, and those."""
        headers = page.options.get("headers", "").split()
        found = [other.full_name for other in self.pages if other is not page and (
            other.source == page.source or
            set(headers) & set(other.options.get("headers", "").split()))]
        found += [header.rsplit(".", 1)[0] + "(3)" for header in headers]
        if page.name != "qor":
            found.append("qor(7)")
        return list(dict.fromkeys(found))


class Text:
    """A page's text, with links and tables as a manual page has them."""

    def __init__(self, manuals, page):
        self.manuals, self.page = manuals, page

    def link(self, match):
        text, target = match.groups()
        file, _, anchor = target.partition("#")
        base = os.path.basename(file)
        if re.match(r"[a-z]+:", target):
            return match.group(0)
        if base.endswith(".h"):
            return shown(base[:-2] + "(3)")
        if file and base not in self.manuals.documents:
            return text
        owner = self.manuals.owner(base or self.page.source, anchor)
        if owner is self.page:
            return f'"{text}"' if anchor else text
        name = shown(owner.full_name)
        plain = re.sub(r"[\W_]", "", text.lower())
        same = plain in (re.sub(r"[\W_]", "", base[:-3]), re.sub(r"[\W_]", "", owner.name))
        return name if same else f"{text} ({name})"

    def links(self, line):
        """Links outside code spans; a link's text may be code."""
        held = []

        def hold(match):
            held.append(match.group(0))
            return f"\x00{len(held) - 1}\x00"
        line = re.sub(r"`[^`]+`", hold, line)
        line = re.sub(r"\*\*(\[[^\]]+\]\([^)]+\))\*\*", r"\1", line)
        line = re.sub(r"\[([^\]]+)\]\(([^) ]+)\)", self.link, line)
        return re.sub("\x00(\\d+)\x00", lambda match: held[int(match.group(1))], line)

    def as_list(self, rows):
        """A table as headings (rows with a first cell alone) and paragraphs under a term."""
        head, lines, term = rows[0], [], ""
        for row in rows[2:]:
            if not any(row[1:]):
                lines += ["", "## " + row[0].replace("**", ""), ""]
                continue
            term = row[0] or term
            cells = [(title, cell) for title, cell in list(zip(head, row))[1:]
                     if cell and title not in self.page.without]
            text = re.sub(r"^[a-z]+(?=[ ,:;])", lambda word: word.group(0).capitalize(),
                          cells[0][1])
            for title, cell in cells[1:]:
                text += f". *{title}:* {cell}"
            lines += [term if row[0] else "", "", ": " + text + ".", ""] if row[0] else \
                     [f"    {text}.", ""]
        return lines

    def convert(self, lines):
        out, fenced, table = [], False, []
        for line in lines + [""]:
            fenced ^= line.startswith("```")
            code = fenced or line.startswith(("```", "    "))
            if not code:
                line = re.sub(r"^#(#+ )", r"\1", self.links(line))
            if line.startswith("|") and not code and self.page.options.get("lists"):
                table.append([cell.strip() for cell in re.split(r"(?<!\\)\|", line)[1:-1]])
                continue
            if table:
                out += self.as_list(table)
                table = []
            out.append(line)
        return out


def heading(title):
    """Upper case, but where a name would suffer."""
    return title if re.search(r"[a-z][A-Z]|::|\.", title) else title.upper()


def markdown(manuals, page):
    document = manuals.documents[page.source]
    text = Text(manuals, page)
    names = [page.name] + page.options.get("also", "").split()
    named = ", ".join(names).replace("_", "\\_")
    lines = ["# NAME", "", named + " \\- " + page.options["purpose"], ""]
    if not page.wanted:
        lines += ["# DESCRIPTION", ""] + text.convert(document.intro)
    for title in manuals.titles(page):
        body = document.sections[title]
        lines += ["# " + ("DESCRIPTION" if [title] == page.wanted else heading(title)), ""]
        lines += text.convert(body)
    beside = [shown(name) for name in manuals.beside(page)]
    return "\n".join(lines + ["# SEE ALSO", "", ", ".join(beside), ""])


def wrapped(text):
    """Text lines of at most 78 characters; examples stay as they are."""
    lines, literal = [], False
    for line in text.split("\n"):
        literal = literal and not line.startswith(".EE") or line.startswith(".EX")
        if literal or len(line) <= WIDTH or line[:1] in (".", "'"):
            lines.append(line)
            continue
        pieces = textwrap.wrap(line, WIDTH, break_on_hyphens=False, break_long_words=False)
        lines += ["\\&" + piece if piece[:1] in (".", "'") else piece for piece in pieces]
    return "\n".join(lines)


ESCAPE = re.compile(r"\\f\(..|\\f.|\\\(..|\\.|.", re.DOTALL)


def length(text):
    """How many columns a piece of roff text takes."""
    return sum(not piece.startswith(("\\f", "\\&", "\\:")) for piece in ESCAPE.findall(text))


def breakable(word):
    """A long word with places where it may be broken: behind signs, before capitals."""
    if length(word) <= LONG_WORD:
        return word
    pieces, out = ESCAPE.findall(word), ""
    for index, piece in enumerate(pieces):
        out += piece
        after = pieces[index + 1] if index + 1 < len(pieces) else ""
        if after and (piece in "/,(_.;=:<" and not after == piece or
                      piece.islower() and after.isupper()):
            out += "\\:"
    return out


def widths(rows):
    """The columns' widths: what the cells want, or shares of what there is."""
    columns = list(zip(*rows))
    room = TABLE_WIDTH - 3 * (len(columns) - 1)
    wanted = [max(length(cell) for cell in column) for column in columns]
    if sum(wanted) <= room:
        return wanted
    for divide in (lambda word: [word], lambda word: breakable(word).split("\\:")):
        least = [max(length(part) for cell in column for word in cell.split() or [""]
                     for part in divide(word)) for column in columns]
        if sum(least) <= room:
            break
    given = [min(want, max(need, 4)) for want, need in zip(wanted, least)]
    while sum(given) < room:
        # To the column whose cells take the most lines.
        lines = [(max(length(cell) / width for cell in column), -index)
                 for index, (column, width) in enumerate(zip(columns, given))]
        given[-max(lines)[1]] += 1
    return given


def table(match):
    """lowdown's table again, with widths that the cells' words fit into."""
    rows, cells = [], []
    for line in match.group(1).split("\n"):
        if line in ("T{", "T}|T{"):
            cells.append("")
        elif line == "T}":
            rows.append([cell.strip() for cell in cells])
            cells = []
        elif cells:
            cells[-1] += line + " "
    lines = [".TS", "tab(|) allbox;"]
    columns = widths(rows)
    lines += [" ".join(f"{style}w({width}n)" for width in columns) + end
              for style, end in (("lb", ""), ("l", "."))]
    for row in rows:
        cells = []
        for cell in row:
            text = " ".join(breakable(word) for word in cell.split())
            pieces = [("\\&" if piece[:1] in (".", "'") else "") + piece for piece in
                      textwrap.wrap(text, WIDTH, break_on_hyphens=False, break_long_words=False)]
            cells.append("T{\n" + "\n".join(pieces) + "\nT}" if cell else "")
        lines.append("|".join(cells))
    return "\n".join(lines) + "\n.TE\n"


def roff(manuals, page, version):
    """lowdown's page, in the dialect that mandoc(1) and groff(1) share."""
    done = subprocess.run(["lowdown", "-s", "-Tman", "--out-no-smarty"], check=True, text=True,
                          input=markdown(manuals, page), capture_output=True)
    lines = done.stdout.split("\n")
    while not lines[0].startswith(".TH"):
        lines.pop(0)
    number = page.number + "qor"
    lines[0] = (f'.TH "{page.name}" "{number}" "{manuals.date}" "libqor_ComLib {version}" '
                f'"{"File Formats" if page.number == "5" else "Miscellaneous Information"}"')
    text = re.sub(r"\\fC", r"\\fB", "\n".join(lines))
    text = re.sub(r"(?m)^\.(S[HS])\n(.*)\n", lambda m: f'.{m.group(1)} "{m.group(2)}"\n', text)
    text = re.sub(r"(?m)^(\.S[HS] .*\n)\.LP\n", r"\1", text)
    text = re.sub(r"(?ms)^\.TS\n(.*?)^\.TE\n", table, wrapped(text))
    text = text.replace("\n", "\n.nr HY 0\n.ad l\n.nh\n", 1)
    return "'\\\" t\n" + text if ".TS" in text else text


def main(path, out, version):
    manuals = Manuals(path)
    links = 0
    for page in manuals.pages:
        folder = os.path.join(out, "man" + page.number)
        os.makedirs(folder, exist_ok=True)
        file = f"{page.name}.{page.number}qor"
        with open(os.path.join(folder, file), "x", encoding="utf-8") as stream:
            stream.write(roff(manuals, page, version))
        for name in page.options.get("also", "").split():
            os.symlink(file, os.path.join(folder, f"{name}.{page.number}qor"))
            links += 1
    for number in "57":
        count = sum(page.number == number for page in manuals.pages)
        print(f"section {number}: {count} pages" + (f", {links} links" if number == "5" else ""))


if __name__ == "__main__":
    if len(sys.argv) != 4:
        raise SystemExit(__doc__)
    main(*sys.argv[1:])
