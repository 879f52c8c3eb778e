#!/usr/bin/env python3
"""Draws the pictures of docs/pictures: each NAME.dot there becomes NAME.svg, by graphviz.

    scripts/draw.py            draws all
    scripts/draw.py --check    reports what is not as it should be; draws nothing

In a NAME.dot, the first comment line is the picture's title and the others describe it. "$name" is
a colour of COLOURS, "$table" a box of lines, each other one a text that DATA makes of figures. A picture holds a digest of all that it was
drawn from, and the check compares that: another release of graphviz may place things elsewhere.
"""
import hashlib
import os
import re
import shutil
import string
import subprocess
import sys
import xml.etree.ElementTree as ET
from pathlib import Path

LIMIT = 60 * 1024  # bytes of a picture
# On light and on dark ground.
COLOURS = {
    "ground": ("#ffffff", "#0d1117"),
    "ink": ("#1f2328", "#e6edf3"),
    "soft": ("#59636e", "#9aa4af"),
    "line": ("#c8d1da", "#444c56"),
    "shade": ("#f3f5f7", "#1a2029"),
    "ours": ("#0a5fc2", "#58a6ff"),
    "oursshade": ("#e4f1ff", "#10263f"),
    "peer": ("#b34700", "#f0883e"),
    "peershade": ("#fff0e2", "#3a2412"),
}

SVG = "{http://www.w3.org/2000/svg}"
FONT = {"font-family": "sans-serif", "font-size": "13"}  # of all texts, unless they have their own
MEASURED_WITH = "DejaVu Sans"  # wider than what browsers take for it, so that texts have room


def includes():
    """The folders of src/, lowest first, each with those that it includes."""
    return subprocess.run(["scripts/check-layers.sh", "--list"], check=True, text=True,
                          stdout=subprocess.PIPE).stdout


def layers():
    lines = []
    for number, line in enumerate(includes().splitlines(), 1):
        folder, _, homes = line.partition(":")
        lines.append(f'"{folder}" [label="{number} {folder}"]')
        lines += [f'"{home}" -> "{folder}" [dir=back]' for home in homes.split()]
    return {"layers": "\n".join(lines)}


# What is drawn beside a NAME.dot: a function that returns its sources, and one for its placeholders.
DATA = {
    "layers": (includes, layers),
}


def described(path):
    """Title and description of a picture's source."""
    title, *rest = re.match(r"(?://.*\n)+", path.read_text(encoding="utf-8"))[0].splitlines()
    return title.lstrip("/ "), " ".join(line.lstrip("/ ") for line in rest)


def digest(path):
    """Of what a picture is drawn from."""
    total = hashlib.sha256()
    data = DATA[path.stem][0]() if path.stem in DATA else ""
    for text in (Path("scripts/draw.py").read_text(encoding="utf-8"),
                 path.read_text(encoding="utf-8"), data):
        total.update(hashlib.sha256(text.encode()).digest())
    return total.hexdigest()


def style(text):
    """The dark colours of those that the picture has."""
    used = [pair for pair in COLOURS.values() if pair[0] in text]
    dark = "".join(f'[fill="{light}"]{{fill:{dark}}}[stroke="{light}"]{{stroke:{dark}}}'
                   for light, dark in used)
    return f"@media(prefers-color-scheme:dark){{{dark}}}"


def slim(element):
    """Drops what graphviz adds for programs: names, measured fonts, needless digits and groups.
    Pieces of one line follow one another, whatever the width of the browser's font."""
    children, line = [], None
    for child in element:
        slim(child)
        if child.tag == SVG + "title":
            continue
        if child.tag == SVG + "text" and child.get("text-anchor") == "start":
            if line is None or line.get("y") != child.get("y"):
                place = {name: child.attrib.pop(name) for name in ("x", "y")}
                line = ET.Element(SVG + "text", place)
                children.append(line)
            child.tag = SVG + "tspan"
            child.attrib = {name: value for name, value in child.attrib.items()
                            if name not in ("x", "y", "text-anchor")}
            line.append(child)
        else:
            children += list(child) if child.tag == SVG + "g" and not child.attrib else [child]
            line = None
    element[:] = children
    for name, value in list(element.attrib.items()):
        if name in ("id", "class", "font-family") or (name, value) == ("font-size", "13.00"):
            del element.attrib[name]
        elif name not in ("fill", "stroke"):
            element.set(name, re.sub(r"-?\d+\.\d+", lambda n: f"{round(float(n[0]), 1):g}", value))


def draw(path):
    title, description = described(path)
    texts = {name: light for name, (light, _) in COLOURS.items()}
    texts["table"] = 'table border="1" cellborder="0" cellspacing="0" cellpadding="5"'
    if path.stem in DATA:
        texts.update(DATA[path.stem][1]())
    fonts = f'fontname="{MEASURED_WITH}" fontsize={FONT["font-size"]} fontcolor="$ink"'
    source = path.read_text(encoding="utf-8").replace("{", f"""{{
        graph [{fonts} bgcolor="$ground" pad=0.15 charset="UTF-8"]
        node [{fonts} color="$soft" fillcolor="$shade"]
        edge [{fonts} color="$soft" arrowsize=0.7 penwidth=1.3]""", 1)
    output = subprocess.run(["dot", "-Tsvg"], input=string.Template(source).substitute(texts),
                            check=True, text=True, encoding="utf-8", capture_output=True)
    if output.stderr:
        sys.exit(f"{path}: {output.stderr}")

    drawn = ET.fromstring(output.stdout)
    width, height = (round(float(size)) for size in drawn.get("viewBox").split()[2:])
    slim(drawn)
    picture = ET.Element(SVG + "svg", {"viewBox": f"0 0 {width} {height}", "width": str(width),
                                       "height": str(height), "role": "img",
                                       "aria-labelledby": "title description", **FONT})
    ET.SubElement(picture, SVG + "title", id="title").text = title
    ET.SubElement(picture, SVG + "desc", id="description").text = description
    ET.SubElement(picture, SVG + "metadata").text = "drawn from " + digest(path)
    ET.SubElement(picture, SVG + "style").text = style(output.stdout)
    picture.extend(drawn)
    for element in picture.iter():
        element.tail = "" if element.tag == SVG + "tspan" else "\n"
    target = path.with_suffix(".svg")
    target.write_text(ET.tostring(picture, encoding="unicode") + "\n", encoding="utf-8")
    print(f"{target}: {target.stat().st_size} bytes")


def faults():
    """What is wrong with the pictures that are there."""
    sources = {path.stem for path in Path("docs/pictures").glob("*.dot")}
    pictures = {path.stem: path for path in Path("docs/pictures").glob("*.svg")}
    shown = " ".join(path.read_text(encoding="utf-8")
                     for path in (Path("README.md"), Path("CONTRIBUTING.md"), *Path("docs").glob("*.md")))
    for name in sorted(sources | set(pictures)):
        svg, dot = (Path(f"docs/pictures/{name}{suffix}") for suffix in (".svg", ".dot"))
        if name not in sources or name not in pictures:
            yield f"docs/pictures: one of {svg.name} and {dot.name} is missing"
            continue
        if digest(dot) not in svg.read_text(encoding="utf-8"):
            yield f"{svg}: its sources have changed; run scripts/draw.py"
        if svg.stat().st_size > LIMIT:
            yield f"{svg}: {svg.stat().st_size} bytes, more than {LIMIT}"
        if not re.search(rf"!\[[^\]]+\]\((docs/)?pictures/{name}\.svg\)", shown):
            yield f"{svg}: no document shows it with a text for those who cannot see it"
    if not sources:
        yield "docs/pictures: no source"


def main(arguments):
    if arguments[:1] == ["--check"]:
        found = list(faults())
        print("\n".join(found) or "every picture is up to date")
        sys.exit(bool(found))
    if not shutil.which("dot"):
        sys.exit("dot is missing: scripts/install-deps.sh draw")
    for path in sorted(Path("docs/pictures").glob("*.dot")):
        draw(path)


if __name__ == "__main__":
    os.chdir(Path(__file__).parent.parent)
    ET.register_namespace("", SVG.strip("{}"))
    main(sys.argv[1:])
