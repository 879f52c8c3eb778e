#!/usr/bin/env python3
"""Draws the pictures of docs/pictures: each NAME.dot there becomes NAME.svg, by graphviz.

    scripts/draw.py            draws all
    scripts/draw.py --check    reports what is not as it should be; draws nothing

In a NAME.dot, the first comment line is the picture's title and the others describe it. "$name" is
a colour of COLOURS, "$table" a box of lines, "$drawn" what DATA makes of figures. A picture holds a
digest of all that it was drawn from, and the check compares that: another release of graphviz may
place things elsewhere.
"""
import hashlib
import importlib
import math
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
FONT = {"font-family": "sans-serif", "font-size": "13"}  # of all texts, unless they have their own
MEASURED_WITH = "DejaVu Sans"  # wider than what browsers take for it, so that texts have room
SVG = "{http://www.w3.org/2000/svg}"
PICTURES = Path("docs/pictures")
RESULTS = Path("bench/RESULTS.md")
GROUPS = {"log": "Logs", "settings": "Settings", "channel": "Channel", "command": "Commands",
          "ini": "INI files", "xml": "XML", "object": "Class objects", "record": "Text records"}


# --- What is drawn of figures, as statements of dot(1) ---


def includes():
    """The folders of src/, lowest first, each with those that it includes."""
    return subprocess.run(["scripts/check-layers.sh", "--list"], check=True, text=True,
                          stdout=subprocess.PIPE).stdout


def draw_layers(text):
    for number, line in enumerate(text.splitlines(), 1):
        folder, _, homes = line.partition(":")
        yield f'"{folder}" [label="{number} {folder}"]'
        yield from (f'"{home}" -> "{folder}" [dir=back]' for home in homes.split())


# Places are in points, to the right and downwards. Lines connect two nodes that do not show.


def words(x, y, text, colour="ink", side="l", size=12):
    """From x on ("l"), up to it ("r") or around it ("n")."""
    width = 0.75 * size * max(len(text), 2)  # more than they take
    centre = x + {"l": width / 2, "r": -width / 2, "n": 0}[side]
    return (f'"{x:.1f} {y:.1f}" [shape=plaintext margin=0 fixedsize=true width={width / 72:.3f}'
            f' height=0.3 pos="{centre:.1f},{-y:.1f}" fontsize={size}'
            f' fontcolor="{COLOURS[colour][0]}" label="{text}\\{side}"]')


def mark(x, y, shape, colour, fill, size):
    return (f'"{shape} {x:.1f} {y:.1f}" [shape={shape} label="" fixedsize=true style=filled'
            f' width={size / 72:.3f} height={size / 72:.3f} pos="{x:.1f},{-y:.1f}"'
            f' color="{COLOURS[colour][0]}" fillcolor="{COLOURS[fill][0]}"]')


OURS, PEER = ("circle", "ours", "ours", 6.5), ("diamond", "peer", "ground", 8)  # of mark()


def line(points, colour, style="solid", width=1.0):
    places = [f"{x:.1f},{-y:.1f}" for x, y in points]
    spline = " ".join([places[0], *(f"{a} {b} {b}" for a, b in zip(places, places[1:]))])
    return (f'from -> to [dir=none pos="{spline}" color="{COLOURS[colour][0]}" style={style}'
            f' penwidth={width}]')


def report():
    """The program that prints the results: it knows the operations, and how sizes are written."""
    sys.dont_write_bytecode = True
    sys.path.insert(0, "bench")
    return importlib.import_module("report")


def best_peer(times):
    return min((who for who in times if who not in ("ours", "limit")), key=times.get, default=None)


def figures():
    """The rows of the table of times."""
    table = RESULTS.read_text(encoding="utf-8").partition("\n|--")[2].partition("\n\n")[0]
    return table.partition("\n")[2]


def read_series(text):
    """Series -> its operations by size: (size or 0, unit, {who: nanoseconds})."""
    goals, times, series = report().read_goals(), report().read_ratios(text.splitlines()), {}
    missing = set(goals) - set(times)
    if missing:
        sys.exit(f"{RESULTS}: no figures of {', '.join(sorted(missing))}")
    for name, operation in goals.items():
        series.setdefault(operation.series, []).append(
            (operation.size or 0, operation.unit, times[name]))
    return {name: sorted(members, key=lambda member: member[0]) for name, members in series.items()}


def draw_ratios(text):
    """A row for each series, all on one scale."""
    series = {name: [times for _, _, times in members]
              for name, members in read_series(text).items()}
    ratios = [times[who] / times["limit"] for rows in series.values() for times in rows
              for who in ("ours", best_peer(times)) if who]
    low, high = math.log10(min(ratios)) - 0.1, math.log10(max(ratios)) + 0.1
    left, decade, step = 134, 52, 17
    right = left + decade * (high - low)

    def x_of(ratio):
        return left + decade * (math.log10(ratio) - low)

    y, group, rows = 0, None, []
    for name, members in series.items():
        if name.split(".")[0] != group:
            group = name.split(".")[0]
            y += step + 6
            rows.append(words(0, y, GROUPS.get(group, group), size=13))
        y += step
        yield line([(left, y), (right, y)], "shade", width=5)
        peers = [(times, best_peer(times)) for times in members if best_peer(times)]
        rows += [mark(x_of(times[peer] / times["limit"]), y, *PEER) for times, peer in peers]
        rows += [mark(x_of(times["ours"] / times["limit"]), y, *OURS) for times in members]
        rows += [words(10, y, name, "soft"),
                 words(right + 8, y, ", ".join(dict.fromkeys(peer for _, peer in peers)), "soft")]
    for power in range(math.ceil(low), math.floor(high) + 1):
        x = x_of(10**power)
        yield line([(x, 12), (x, y + 8)], "line" if power else "ink")
        yield words(x, 2, f"{10**power:g}", side="n")
        yield words(x, y + 18, f"{10**power:g}", side="n")
    yield from rows
    yield from (mark(left + 4, -38, *OURS), words(left + 14, -38, "ours"),
                mark(left + 64, -38, *PEER),
                words(left + 74, -38, "the best peer, named at the right"),
                words(left, -18, "time, where the limit takes 1; faster is to the left", "soft"))


def draw_growth(text):
    """A panel for each series of several sizes; a step is as long to the right as upwards."""
    width, height, columns = 160, 80, 3
    looks = {"ours": ("ours", "solid", 2), "limit": ("ink", "dashed", 1.3),
             "peer": ("peer", "dotted", 1.8)}
    for x, who, label in ((0, "ours", "ours"), (80, "limit", "the limit"),
                          (180, "peer", "a peer, named above its panel")):
        yield line([(x, -40), (x + 24, -40)], *looks[who])
        yield words(x + 30, -40, label)

    series = {name: [member for member in members if member[0]]
              for name, members in read_series(text).items()}
    panels = {name: members for name, members in series.items() if len(members) > 1}
    for number, (name, members) in enumerate(panels.items()):
        x0, y0 = number % columns * (width + 28), number // columns * (height + 60)
        peer = best_peer(members[-1][2])
        lines = {look: [(math.log10(size), math.log10(times[who]))
                        for size, _, times in members if who in times]
                 for look, who in (("limit", "limit"), ("peer", peer), ("ours", "ours"))}
        ends = [(min(values), max(values)) for values in zip(*(sum(lines.values(), [])))]
        scale = min((room - 12) / (high - low) for room, (low, high) in zip((width, height), ends))
        middles = [(low + high) / 2 for low, high in ends]

        def place(size, time):
            return (x0 + width / 2 + scale * (size - middles[0]),
                    y0 + height / 2 - scale * (time - middles[1]))

        yield words(x0, y0 - 9, name)
        if peer:
            yield words(x0 + width, y0 - 9, peer, "peer", "r", 11)
        yield line([(x0, y0), (x0, y0 + height), (x0 + width, y0 + height)], "line")
        for look, points in lines.items():
            if points:
                yield line([place(*point) for point in points], *looks[look])
        yield from (mark(*place(*point), *OURS[:3], 5) for point in lines["ours"])
        for x, side, (size, unit, times) in ((x0, "l", members[0]), (x0 + width, "r", members[-1])):
            shown = str(size) if side == "l" and unit != "bytes" else report().shown(size, unit)
            yield words(x, y0 + height + 11, shown, "soft", side, 11)
            yield words(x, y0 + height + 25, report().human(times["ours"]), "ours", side, 11)


# Of a picture: what gives its figures, as a text, and what draws them.
DATA = {
    "growth": (figures, draw_growth),
    "layers": (includes, draw_layers),
    "ratios": (figures, draw_ratios),
}


# --- From dot(1) to the picture ---


def digest(path, data):
    total = hashlib.sha256()
    for text in (Path("scripts/draw.py").read_text(encoding="utf-8"),
                 path.read_text(encoding="utf-8"), data):
        total.update(hashlib.sha256(text.encode()).digest())
    return total.hexdigest()


def slim(element):
    """Drops what graphviz adds for programs: names, measured fonts, needless digits and groups.
    Pieces of one line follow one another, whatever the width of the browser's font."""
    children, row = [], None
    for child in element:
        slim(child)
        if child.tag == SVG + "title":
            continue
        if child.tag == SVG + "text" and child.get("text-anchor") == "start":
            if row is None or row.get("y") != child.get("y"):
                row = ET.Element(SVG + "text", {name: child.get(name) for name in ("x", "y")})
                children.append(row)
            child.tag = SVG + "tspan"
            child.attrib = {name: value for name, value in child.attrib.items()
                            if name not in ("x", "y", "text-anchor")}
            row.append(child)
        else:
            children += list(child) if child.tag == SVG + "g" and not child.attrib else [child]
            row = None
    element[:] = children
    for name, value in list(element.attrib.items()):
        if name in ("id", "class", "font-family") or (name, value) == ("font-size", "13.00"):
            del element.attrib[name]
        elif name not in ("fill", "stroke"):
            element.set(name, re.sub(r"-?\d+\.\d+", lambda n: f"{round(float(n[0]), 1):g}", value))


def draw(path):
    source = path.read_text(encoding="utf-8")
    title, *rest = (text.lstrip("/ ") for text in re.match(r"(?://.*\n)+", source)[0].splitlines())
    get_data, draw_data = DATA.get(path.stem, (str, str.splitlines))
    data = get_data()
    fonts = f'fontname="{MEASURED_WITH}" fontsize={FONT["font-size"]} fontcolor="$ink"'
    defaults = f"""{{
        graph [{fonts} bgcolor="$ground" pad=0.15 charset="UTF-8"]
        node [{fonts} color="$soft" fillcolor="$shade"]
        edge [{fonts} color="$soft" arrowsize=0.7 penwidth=1.3]"""
    statements = string.Template(source.replace("{", defaults, 1)).substitute(
        {name: light for name, (light, _) in COLOURS.items()},
        table='table border="1" cellborder="0" cellspacing="0" cellpadding="5"',
        drawn="\n".join(draw_data(data)))
    output = subprocess.run(["dot", "-Tsvg"], input=statements, text=True, encoding="utf-8",
                            capture_output=True)
    if output.stderr or output.returncode:
        sys.exit(f"{path}: {output.stderr}")

    drawn = ET.fromstring(output.stdout)
    width, height = (str(round(float(size))) for size in drawn.get("viewBox").split()[2:])
    slim(drawn)
    picture = ET.Element(SVG + "svg", {
        "viewBox": f"0 0 {width} {height}", "width": width, "height": height, "role": "img",
        "aria-labelledby": "title description", **FONT})
    dark = "".join(f'[fill="{light}"]{{fill:{dark}}}[stroke="{light}"]{{stroke:{dark}}}'
                   for light, dark in COLOURS.values() if light in output.stdout)
    for name, text, attributes in (
            ("title", title, {"id": "title"}), ("desc", " ".join(rest), {"id": "description"}),
            ("metadata", "drawn from " + digest(path, data), {}),
            ("style", f"@media(prefers-color-scheme:dark){{{dark}}}", {})):
        ET.SubElement(picture, SVG + name, attributes).text = text
    picture.extend(drawn)
    for element in picture.iter():
        element.tail = "" if element.tag == SVG + "tspan" else "\n"
    target = path.with_suffix(".svg")
    target.write_text(ET.tostring(picture, encoding="unicode") + "\n", encoding="utf-8")
    print(f"{target}: {target.stat().st_size} bytes")


def faults():
    """What is wrong with the pictures that are there."""
    documents = [Path("README.md"), Path("CONTRIBUTING.md"), *Path("docs").glob("*.md")]
    shown = "".join(path.read_text(encoding="utf-8") for path in documents)
    names = {path.stem for path in PICTURES.glob("*.*")}
    if not names:
        yield f"{PICTURES} is empty"
    for name in sorted(names):
        svg, dot = PICTURES / f"{name}.svg", PICTURES / f"{name}.dot"
        if not (svg.exists() and dot.exists()):
            yield f"{svg} or {dot} is missing"
            continue
        if digest(dot, DATA.get(name, (str,))[0]()) not in svg.read_text(encoding="utf-8"):
            yield f"{svg}: its sources have changed; run scripts/draw.py"
        if svg.stat().st_size > LIMIT:
            yield f"{svg}: {svg.stat().st_size} bytes, more than {LIMIT}"
        if not re.search(rf"!\[[^\]]+\]\((docs/)?pictures/{name}\.svg\)", shown):
            yield f"{svg}: no document shows it with a text for those who cannot see it"


def main(arguments):
    os.chdir(Path(__file__).resolve().parent.parent)
    if arguments == ["--check"]:
        found = list(faults())
        print("\n".join(found) or "every picture is up to date")
        sys.exit(bool(found))
    if not shutil.which("dot"):
        sys.exit("dot is missing: scripts/install-deps.sh draw")
    for path in sorted(PICTURES.glob("*.dot")):
        draw(path)


if __name__ == "__main__":
    ET.register_namespace("", SVG.strip("{}"))
    main(sys.argv[1:])
