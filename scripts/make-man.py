#!/usr/bin/env python3
"""Makes a manual page of each document of docs/, by lowdown(1).

    scripts/make-man.py OUT_DIR VERSION DATE

docs/x-y.md becomes qor_x_y(7), overview.md qor(7), and the doctor's README.md qor_doctor(8). The
document's title is the page's purpose.
A file format that the page describes is a name in section 5 that leads there.
"""
import os
import re
import subprocess
import sys

FORMATS = {
    "channel": ["socket.conf"],
    "host": ["devices.tmp", "motd.dat", "qorinfo.ini", "qorversion.ver"],
    "ini": ["qor_ini"],
    "logging": ["qor_log", "TraceSetting.ini", "TraceSettingMsg.ini"],
    "object-model": ["qor_text_record"],
    "providers": ["qor_provider_definition", "qor_vendor_factory"],
}
DOCTOR = "tools/doctor/README.md"
TABLE_WIDTH = 66    # of the columns and what separates them, on a terminal of 80
LONG_WORDS_BREAK = (r"(?!)", r"(?<=\w\w[/,(_:])(?=\w)",
                    r"(?<=\w\w[/,(_:.])(?=\w)|(?<=[a-z]{2})(?=[A-Z])")


def name_of(stem):
    return "qor" if stem == "overview" else "qor_" + stem.replace("-", "_")


def link(match):
    """A link as a reference to the other document's page; what lies elsewhere keeps its text."""
    text, target = match.groups()
    if target.endswith(DOCTOR):
        return r"**qor\_doctor**(8)"
    document = re.match(r"([\w-]+)\.md", target)
    if not document:
        return match.group(0) if ":" in target else text
    page = "**" + name_of(document.group(1)).replace("_", r"\_") + "**(7)"
    return page if re.sub(r"\W", "-", text.lower()) == document.group(1) else f"{text} ({page})"


def markdown(name, text):
    """The document with NAME, one level of headings less, and references for links."""
    title, rest = text.split("\n", 1)
    lines, fenced = [], False
    for line in rest.split("\n"):
        fenced ^= line.startswith("```")
        if line.startswith("!["):  # a picture; the text does without it
            continue
        if not fenced and not line.startswith("    "):
            line = re.sub(r"^#(#+ )", r"\1", line)
            line = re.sub(r"\[([^\]]+)\]\(([^) ]+)\)", link, line)
        lines.append(line)
    purpose = name.replace("_", r"\_") + r" \- " + title.lstrip("# ")
    return "\n".join(["# NAME", "", purpose, "", "# DESCRIPTION", ""] + lines)


def with_widths(match):
    """lowdown's table with columns as wide as their texts, or with a share of the room."""
    count = len(re.search(r"(?m)^lb.*$", match[0])[0].split())
    room = TABLE_WIDTH - 3 * (count - 1)
    for places in LONG_WORDS_BREAK:
        table = re.sub(places, r"\\:", match[0])
        cells = [re.sub(r"\\f.|\\(?!:)", "", cell) for cell in
                 re.findall(r"T\{\n(.*?)\n?T\}", table, re.S)]
        columns = [cells[index::count] for index in range(count)]
        widths = [max(len(word) for cell in column for word in re.split(r"\s|\\:", cell))
                  for column in columns]
        if sum(widths) <= room:
            break
    wanted = [max(map(len, column)) for column in columns]
    while sum(widths) < min(room, sum(wanted)):
        # To the column whose cells take the most lines.
        lines = [sum(len(cell) / width for cell in column if len(cell) > width)
                 for column, width in zip(columns, widths)]
        widths[lines.index(max(lines))] += 1
    formats = [" ".join(f"{style}w({width}n)" for width in widths) for style in ("lb", "l")]
    head = "\n".join(["tab(|) allbox;"] + formats)+ "."
    table = re.sub(r"(?m)T\{$", "T{\n.ad l", table)  # groff 1.23 adjusts a cell's lines by itself
    return re.sub(r"(?m)^tab.*\n.*\n.*$", head, table, count=1)


def page(path, name, section, version, date):
    with open(path, encoding="utf-8") as file:
        source = markdown(name, file.read())
    text = subprocess.run(["lowdown", "-s", "-Tman", "--out-no-smarty"], check=True, text=True,
                          input=source, capture_output=True).stdout
    text = re.sub(r"(?ms)^\.TS\n.*?^\.TE$", with_widths, re.sub(r"\\f(?:C|\(CR)", r"\\fB", text))
    text = re.sub(r"(?m)^\.TE$", ".TE\n.sp", text)
    text = re.sub(r"(?m)^(\.S[HS])[ \n](.*)\n(?:\.[LP]P\n)?", r'\1 "\2"' + "\n", text)
    head = [r"""'\" t""", f'.TH "{name}" "{section}qor" "{date}" "libqor_ComLib {version}"',
            ".nr HY 0", ".ad l", ".nh", ""]
    return "\n".join(head) + re.sub(r"(?ms)\A.*?^\.TH .*?\n", "", text, count=1)


def write(out, path, name, section, version, date):
    file = f"man{section}/{name}.{section}qor"
    with open(os.path.join(out, file), "w", encoding="utf-8") as stream:
        stream.write(page(path, name, section, version, date))
    return file


def main(out, version, date):
    for section in ("man5", "man7", "man8"):
        os.makedirs(os.path.join(out, section))
    for stem in sorted(name[:-3] for name in os.listdir("docs") if name.endswith(".md")):
        file = write(out, f"docs/{stem}.md", name_of(stem), 7, version, date)
        for name in FORMATS.pop(stem, []):
            os.symlink("../" + file, os.path.join(out, "man5", name + ".5qor"))
    write(out, DOCTOR, "qor_doctor", 8, version, date)
    if FORMATS:
        raise SystemExit("no such documents: " + " ".join(FORMATS))


if __name__ == "__main__":
    if len(sys.argv) != 4:
        raise SystemExit(__doc__)
    main(*sys.argv[1:])
