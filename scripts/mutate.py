#!/usr/bin/env python3
"""Proves that the tests bite: makes one small change at a time to src/, builds and runs the tests.

    scripts/mutate.py [--seed N] [--count N]     makes N changes (240), spread over all files
    scripts/mutate.py --case ID...               makes these changes, whatever the seed
    scripts/mutate.py --folder FOLDER --count N  changes of src/FOLDER alone; builds and runs its own
                                                 tests alone, a matter of two minutes
    scripts/mutate.py --list                     prints the changes that would be made

A change is named FILE:LINE:COLUMN:OPERATOR; "*" in an ID stands for any text. It is caught when a
test fails, crashes or hangs: those of the file's own folder first, then all others but those
labelled "package" or "self_test", until one does. A change that does not compile makes room for the next one. Changes without any
effect are listed in tests/equivalent_mutants.tsv by function, code and reason: they are not
counted. Exit status 1: fewer than --share percent of the others are caught, or any of --case is not.

Works in copies of the tree in BUILD_DIR (build/mutation), two at a time; what it runs sees them and
all else read-only, and only its own processes. The outcomes are in BUILD_DIR/report.tsv.
"""
import argparse
import collections
import csv
import filecmp
import fnmatch
import itertools
import json
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path

Mutant = collections.namedtuple("Mutant", "file start end text operator id function before after")
Outcome = collections.namedtuple("Outcome", "verdict by")

CAUGHT, SURVIVED, EQUIVALENT, BROKEN = "caught", "survived", "equivalent", "does not compile"
EQUIVALENTS = "tests/equivalent_mutants.tsv"
LEAST_IN_A_FILE = 2
NICENESS = 5
NOT_OF_THE_LIBRARY = {"package", "self_test"}  # labels of tests


# ---- What can be changed ------------------------------------------------------------------------

# Comments, texts, characters and lines of the preprocessor, in one pass: none begins in another.
TOKEN = re.compile(r"""(?P<directive>^[ ]*\#(?:\\\n|[^\n])*) | (?P<comment>//[^\n]*|/\*.*?\*/)
                     | (?P<text>"(?:\\.|[^"\\\n])*") | (?P<character>'(?:\\.|[^'\\\n])+')""",
                   re.VERBOSE | re.MULTILINE | re.DOTALL)

# clang-format sets operators off by blanks, and nothing else that looks like them.
TURNED = {"boundary": {"<": "<=", "<=": "<", ">": ">=", ">=": ">"},
          "comparison": {"==": "!=", "!=": "==", "<": ">=", "<=": ">", ">": "<=", ">=": "<"},
          "arithmetic": {"+": "-", "-": "+", "*": "/", "/": "*", "+=": "-=", "-=": "+="},
          "logic": {"&&": "||", "||": "&&"},
          "bits": {"&": "|", "|": "&", ">>": "<<", "<<": ">>"}}
KEYWORDS = {"if", "while", "for", "switch", "return", "sizeof", "catch", "static_assert"}


def masked(source):
    """The source, place by place, with blanks for what is not code and for what texts hold."""
    def blank(match):
        kept = 1 if match.lastgroup in ("text", "character") else 0
        text = match.group()
        inner = re.sub(r"[^\n]", " ", text[kept:len(text) - kept])
        return text[:kept] + inner + text[len(text) - kept:]
    code = TOKEN.sub(blank, source)
    return re.sub(r"static_assert\([^;]*;|extern \"[^\n]*|__attribute__[^;]*;",
                  lambda match: re.sub(r"[^\n]", " ", match.group()), code)


def changes(source):
    """All changes: (start, end, replacement, operator)."""
    code = masked(source)
    for operator, turned in TURNED.items():
        for match in re.finditer(r"(?<= )[-+*/<>=!&|]+(?=\s)", code):
            if match.group() in turned and not joins_texts(code, match):
                yield *match.span(), turned[match.group()], operator
    for match in re.finditer(r"\+\+|--", code):
        yield *match.span(), {"++": "--", "--": "++"}[match.group()], "arithmetic"
    for match in re.finditer(r"!(?=[\w(:])", code):
        yield *match.span(), "", "not"
    for match in re.finditer(r"\b(true|false)\b", code):
        yield *match.span(), {"true": "false", "false": "true"}[match.group()], "bool"
    for match in re.finditer(r"(?<![\w.])(0x[0-9A-Fa-f]+|\d+)(?=[uUlL]*(?![\w.]))", code):
        yield from constants(match)
    for match in re.finditer(r"\breturn ([^;{}]+);", code):
        if not re.fullmatch(r"true|false|nullptr|-?\d+|\s*", match.group(1)):
            yield *match.span(1), "{}", "return"
    for match in TOKEN.finditer(source):
        if code[match.start()] == '"':
            yield match.end() - 1, match.end() - 1, "Z", "text"
        elif code[match.start()] == "'":
            yield *match.span(), "'Z'" if match.group() != "'Z'" else "'Y'", "text"
    yield from calls(code)


def joins_texts(code, match):
    """Whether a text stands beside the operator: no other operator takes that."""
    before, after = code[:match.start()].rstrip(), code[match.end():].lstrip()
    return before.endswith('"') or after.startswith('"')


def constants(match):
    digits = match.group()
    base, form = (16, "0x{:X}") if digits.startswith("0x") else \
        (8, "0{:o}") if digits.startswith("0") and digits != "0" else (10, "{}")
    value = int(digits, base)
    yield *match.span(), form.format(value + 1), "constant+1"
    if value > 0:
        yield *match.span(), form.format(value - 1), "constant-1"


def calls(code):
    """Statements that are one call."""
    for match in re.finditer(r"(?m)^ +((?:\(void\))?[\w:]+(?:(?:\.|->)\w+)*)\(", code):
        start = match.start(1)
        statement = code[start:code.find(";", start) + 1]
        before = code[:start].rstrip()
        if match.group(1) not in KEYWORDS and before.endswith((";", "{", "}", ")", ":", "else")) \
                and re.fullmatch(r"[^{}]*\);", statement) \
                and not re.search(r"\) = |\) \w", statement):
            yield start, start + len(statement), "(void)0;", "call"


def code_around(source, start, end):
    """The whole lines around a place, without comments, and where they begin."""
    begin = source.rfind("\n", 0, start) + 1
    stop = source.find("\n", end)
    return begin, source[begin:stop if stop >= 0 else len(source)]


def plain(text):
    return " ".join(re.sub(r"//.*", "", text).split())


def function_around(code, start):
    """The function that holds a place: named by the last line before it that begins at the margin."""
    heads = re.findall(r"^(?!namespace|#|//)\w[^\n]*", code[:code.find("\n", start)], re.MULTILINE)
    names = re.findall(r"([\w:~]+)\s*\(", heads[-1]) if heads else []
    return names[0] if names else "-"


def mutants_of(tree, file):
    source = (tree / file).read_text(encoding="utf-8")
    code = masked(source)
    found = []
    for start, end, text, operator in changes(source):
        begin, lines = code_around(source, start, end)
        line, column = source.count("\n", 0, start) + 1, start - begin + 1
        changed = lines[:start - begin] + text + lines[end - begin:]
        found.append(Mutant(file, start, end, text, operator, f"{file}:{line}:{column}:{operator}",
                            function_around(code, start), plain(lines), plain(changed)))
    return sorted(found)


# ---- Which of them are made ---------------------------------------------------------------------

def source_files(tree, folder=""):
    paths = [path for path in (tree / "src" / folder).rglob("*") if path.suffix in (".cpp", ".h")]
    return sorted(str(path.relative_to(tree)) for path in paths)


def shuffled(mutants, chance):
    """Each operator in turn, so that rare ones are met as well as common ones."""
    by_operator = collections.defaultdict(list)
    for mutant in mutants:
        by_operator[mutant.operator].append(mutant)
    rows = [chance.sample(row, len(row)) for _, row in sorted(by_operator.items())]
    chance.shuffle(rows)
    return [mutant for turn in itertools.zip_longest(*rows) for mutant in turn if mutant]


def choose(tree, folder, seed, count):
    """For each file its share of `count` by its lines, and the rest, to replace what is left out:
    {file: (chosen, reserve)}."""
    sizes, found = {}, {}
    for file in source_files(tree, folder):
        found[file] = shuffled(mutants_of(tree, file), random.Random(f"{seed} {file}"))
        code = masked((tree / file).read_text(encoding="utf-8"))
        sizes[file] = sum(1 for line in code.splitlines() if line.strip())
    total = sum(sizes.values())
    shares = {file: max(min(LEAST_IN_A_FILE, count), -(-count * sizes[file] // total))
              for file in found}
    return {file: (found[file][:shares[file]], found[file][shares[file]:]) for file in found}


def equivalents(tree):
    """The changes without effect, by function and code. Those that are gone are printed."""
    path = tree / EQUIVALENTS
    if not path.exists():
        return {}
    with path.open(encoding="utf-8", newline="") as file:
        known = {tuple(row[:3]): row[3]
                 for row in csv.reader(file, delimiter="\t", quoting=csv.QUOTE_NONE)
                 if row and not row[0].startswith("#")}
    there = {key for file in source_files(tree) for mutant in mutants_of(tree, file)
             for key in keys_of(mutant)}
    for function, before, after in known.keys() - there:
        print(f"{EQUIVALENTS}: no longer in the sources: {function}: {before} -> {after}")
    return known


def keys_of(mutant):
    return [(function, mutant.before, mutant.after) for function in (mutant.function, "*")]


# ---- Making them --------------------------------------------------------------------------------

# What a change makes of a command must harm nobody: but for its own build and an empty /tmp it sees
# a read-only disk below what the tests mount for themselves, no foreign process, and ends with all
# that it has started. The workshop stays where it is, below /tmp too. The shell stays: the first
# process of a name space gets all orphans.
SANDBOX = ["unshare", *([] if os.geteuid() == 0 else ["--user", "--map-root-user"]),
           "--mount", "--pid", "--fork", "--kill-child", "--mount-proc", "bash", "-c", """
               folder=${PWD%/*}
               exec 8<. 9<..
               mount -t tmpfs tmpfs /tmp && mkdir -p "$folder" &&
                   mount -c --bind /proc/self/fd/9 "$folder" &&
                   mount -o remount,bind,ro "$folder" &&
                   mount -c --bind /proc/self/fd/8 "$folder/build" && cd "$folder/build" &&
                   mount -o remount,bind,ro / && exec 8<&- 9<&- &&
                   ulimit -S -v 8000000 -f 8000000 && "$@"
               exit $?""", "sandbox"]


def files_of(tree):
    """All but what is hidden or built."""
    return {path.relative_to(tree) for place in tree.glob("[!.]*")
            if not re.match(r"build|obj-", place.name)
            for path in (place.rglob("*") if place.is_dir() else [place])
            if path.is_file() and "__pycache__" not in path.parts}


class Workshop:
    """A copy of the tree and its build."""

    def __init__(self, tree, folder, everything, definitions):
        self.source, self.build = folder / "source", folder / "build"
        self.log = folder / "log"
        folder.mkdir(parents=True, exist_ok=True)
        self.log.write_text("", encoding="utf-8")
        self.copy(tree)
        self.environment = dict(os.environ, CCACHE_BASEDIR=str(folder), CCACHE_NOHASHDIR="1",
                                GTEST_BRIEF="1", GTEST_FAIL_FAST="1")
        configure = ["cmake", "-S", str(self.source), "-B", str(self.build), "-G", "Ninja",
                     "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0",
                     f"-DQOR_BUILD_ALL={'ON' if everything else 'OFF'}",
                     *(f"-D{definition}" for definition in definitions)]
        if shutil.which("ccache"):
            configure.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
        self.run(configure)

    def copy(self, tree):
        """Files that are the same keep their time, so that they are not built again."""
        wanted = files_of(tree)
        for name in files_of(self.source) - wanted:
            (self.source / name).unlink()
        for name in wanted:
            target = self.source / name
            if not target.exists() or not filecmp.cmp(tree / name, target, shallow=False):
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(tree / name, target)

    def run(self, command):
        with self.log.open("a", encoding="utf-8") as log:
            subprocess.run(command, check=True, stdout=log, stderr=log, env=self.environment)

    def make(self, *targets, jobs=1):
        """Builds the targets, or everything."""
        try:
            self.run(["cmake", "--build", str(self.build), "--parallel", str(jobs),
                      *(["--target", *targets] if targets else [])])
            return True
        except subprocess.CalledProcessError:
            return False

    def find_program(self, folder):
        """The test program of a folder as the only test."""
        name = "qor_test_" + folder.replace("/", "_")
        self.tests = {name: [str(self.build / "tests" / folder / name)]}
        return name

    def find_tests(self):
        """The commands of all tests of the library. A program of many cases is one command. To be
        asked for before any change: it runs programs."""
        shown = subprocess.run(["ctest", "--test-dir", str(self.build), "--show-only=json-v1"],
                               check=True, text=True, capture_output=True, env=self.environment)
        self.tests = {}
        for test in json.loads(shown.stdout)["tests"]:
            command = test["command"]
            name = Path(command[0]).name
            labels = {label for each in test.get("properties", []) if each["name"] == "LABELS"
                      for label in each["value"]}
            if labels & NOT_OF_THE_LIBRARY:
                continue
            cases = any(argument.startswith("--gtest_filter") for argument in command)
            self.tests[name if cases else test["name"]] = command[:1] if cases else command

    def fails(self, command, limit):
        """How a command fails within `limit` seconds; nothing when it succeeds."""
        with self.log.open("a", encoding="utf-8") as log, subprocess.Popen(
                [*SANDBOX, *command], cwd=self.build, stdin=subprocess.DEVNULL, stdout=log,
                stderr=log, env=self.environment) as process:
            try:
                status = process.wait(limit)
            except subprocess.TimeoutExpired:
                process.send_signal(signal.SIGKILL)  # all that it started goes with it
                return "hangs"
        return f"exit status {status}" if status else ""

    def change(self, mutant):
        path = self.source / mutant.file
        original = path.read_text(encoding="utf-8")
        path.write_text(original[:mutant.start] + mutant.text + original[mutant.end:],
                        encoding="utf-8")
        return original

    def suites(self, file):
        """The option for the cases in the file's own test file, which are likely to notice."""
        suites = {suite for path in (self.source / "tests").rglob(Path(file).stem + "_test.cpp")
                  for suite in re.findall(r"\bTEST(?:_F|_P)?\(\s*(\w+)", path.read_text("utf-8"))}
        return ["--gtest_filter=" + ":".join(f"{suite}.*" for suite in sorted(suites))] \
            if suites else []

    def judge(self, mutant, targets, runs):
        """Makes one change, builds the targets (none: all), and runs tests until one notices."""
        original = self.change(mutant)
        try:
            if not self.make(*targets):
                return Outcome(BROKEN, "")
            for name, options, limit in runs:
                failure = self.fails(self.tests[name] + options, limit)
                if failure:
                    return Outcome(CAUGHT, f"{name}: {failure}")
            return Outcome(SURVIVED, "")
        finally:
            (self.source / mutant.file).write_text(original, encoding="utf-8")


def own_programs(workshop, file):
    """The test program with the file's own test file, or else of its folder, or of the nearest
    folder above that has one."""
    tests = workshop.source / "tests"
    folders = [path.parent.relative_to(tests)
               for path in tests.rglob(Path(file).stem + "_test.cpp")]
    for folder in [*folders, *Path(file).relative_to("src").parents]:
        place = workshop.build / "tests" / folder
        found = [name for name, command in workshop.tests.items()
                 if Path(command[0]).parent == place]
        if found:
            return found
    return []


def time_limits(workshop, names, patience):
    """Seconds after which a test counts as hanging, quickest test first."""
    taken = {}
    for name in names:
        begin = time.monotonic()
        failure = workshop.fails(workshop.tests[name], 1200)
        if failure:
            sys.exit(f"{name} fails without any change: {failure}; see {workshop.log}")
        taken[name] = time.monotonic() - begin
        print(f"{taken[name]:6.1f} s  {name}", flush=True)
    return {name: patience + 5 * taken[name] for name in sorted(taken, key=taken.get)}


class Campaign:
    """All changes, shared out between workshops."""

    def __init__(self, tree, known, options):
        self.tree, self.known, self.options = tree, known, options
        self.build = (options.build or tree / "build" / "mutation").resolve()
        self.lock, self.outcomes, self.queue = threading.Lock(), {}, []

    def open_workshops(self, jobs, everything):
        self.workshops = [Workshop(self.tree, self.build / str(number + 1), everything,
                                   self.options.define) for number in range(jobs)]

    def prepare(self, jobs, everything):
        """Builds one after the other: the later ones find the objects of the first. Sees that
        tests succeed: those of folders, or all."""
        self.open_workshops(jobs, True)
        for workshop in self.workshops:
            if not workshop.make(jobs=jobs):
                sys.exit(f"The tree does not build; see {workshop.log}")
            workshop.find_tests()
        first = self.workshops[0]
        self.own = {file: own_programs(first, file) for file in source_files(self.tree)}
        own = sorted(set(sum(self.own.values(), [])))
        self.limits = time_limits(first, first.tests if everything else own, self.options.patience)
        os.nice(NICENESS)

    def prepare_folder(self, jobs, folder):
        """The same with one folder's test program, and nothing else."""
        self.open_workshops(jobs, False)
        for workshop in self.workshops:
            name = workshop.find_program(folder)
            if not workshop.make(name, jobs=jobs):
                sys.exit(f"{name} does not build; see {workshop.log}")
        self.own = {file: [name] for file in source_files(self.tree, folder)}
        self.limits = time_limits(self.workshops[0], [name], self.options.patience)

    def judge_by_folder(self, workshop, mutant):
        for key in keys_of(mutant):
            if key in self.known:
                return Outcome(EQUIVALENT, self.known[key])
        own = self.own[mutant.file]
        runs = [(name, options, self.limits[name]) for name in own
                for options in (workshop.suites(mutant.file), [])]
        return workshop.judge(mutant, own, runs)

    def judge_by_others(self, workshop, mutant):
        own = self.own[mutant.file]
        runs = [(name, [], limit) for name, limit in self.limits.items() if name not in own]
        return workshop.judge(mutant, [], runs)

    def work(self, workshop, judge, reserve):
        while True:
            with self.lock:
                if not self.queue:
                    return
                mutant = self.queue.pop(0)
            begin = time.monotonic()
            outcome = judge(workshop, mutant)
            with self.lock:
                if outcome.verdict == BROKEN and reserve.get(mutant.file):
                    self.queue.insert(0, reserve[mutant.file].pop(0))
                self.outcomes[mutant] = outcome
                print(f"{outcome.verdict:10} {mutant.id}  {outcome.by}  "
                      f"({time.monotonic() - begin:.0f} s)", flush=True)
                if outcome.verdict == SURVIVED:
                    print(f"    {mutant.before}\n    {mutant.after}", flush=True)

    def share_out(self, mutants, judge, reserve):
        self.queue = list(mutants)
        threads = [threading.Thread(target=self.work, args=(workshop, judge, reserve))
                   for workshop in self.workshops]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()

    def run(self, chosen, reserve, everything):
        self.share_out(chosen, self.judge_by_folder, reserve)
        if not everything:
            return
        left = self.survivors()
        print(f"\n{len(left)} changes are left to the tests of other folders, and to the proofs.")
        first = self.workshops[0]
        if left and first.make():
            others = [name for name in first.tests if name not in self.limits]
            self.limits.update(time_limits(first, others, self.options.patience))
            self.share_out(left, self.judge_by_others, {})

    def survivors(self):
        return sorted(mutant for mutant, outcome in self.outcomes.items()
                      if outcome.verdict == SURVIVED)

    def report(self):
        with (self.build / "report.tsv").open("w", encoding="utf-8") as file:
            for mutant, outcome in sorted(self.outcomes.items()):
                print(mutant.id, outcome.verdict, outcome.by, mutant.before, mutant.after,
                      sep="\t", file=file)
        self.table("operator", lambda mutant: re.sub(r"[+-]1$", "", mutant.operator))
        self.table("folder", lambda mutant: os.path.dirname(mutant.file))

    def table(self, title, key):
        counts = collections.defaultdict(collections.Counter)
        for mutant, outcome in self.outcomes.items():
            counts[key(mutant)][outcome.verdict] += 1
            counts["all"][outcome.verdict] += 1
        verdicts = (CAUGHT, SURVIVED, EQUIVALENT, BROKEN)
        print(f"\n{title:16}" + "".join(f"{verdict:>18}" for verdict in verdicts))
        for name in sorted(counts, key=lambda name: (name == "all", name)):
            print(f"{name:16}" + "".join(f"{counts[name][verdict]:18}" for verdict in verdicts))

    def count(self, verdict):
        return sum(1 for outcome in self.outcomes.values() if outcome.verdict == verdict)


def arguments():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--count", type=int, default=240)
    parser.add_argument("--share", type=float, default=99, help="percent to be caught")
    parser.add_argument("--case", nargs="+", metavar="ID")
    parser.add_argument("--folder", default="", help="config, util/host ...")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--define", nargs="*", default=[], metavar="NAME=VALUE", help="for cmake")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--patience", type=float, default=20, metavar="SECONDS",
                        help="a test hangs that takes so much more than five times its time")
    parser.add_argument("--tree", type=Path, default=Path(__file__).resolve().parent.parent)
    parser.add_argument("--build", type=Path, metavar="BUILD_DIR")
    return parser.parse_args()


def cases(tree, ids):
    found = [mutant for file in source_files(tree) for mutant in mutants_of(tree, file)]
    for name in ids:
        if not any(fnmatch.fnmatchcase(mutant.id, name) for mutant in found):
            sys.exit(f"{name} is no change of the source; --list prints some")
    return [mutant for mutant in found
            if any(fnmatch.fnmatchcase(mutant.id, name) for name in ids)]


def main():
    options = arguments()
    tree = options.tree.resolve()
    known = equivalents(tree)
    if options.case:
        chosen, reserve = cases(tree, options.case), {}
    else:
        choice = choose(tree, options.folder, options.seed, options.count)
        chosen = sorted(mutant for some, _ in choice.values() for mutant in some)
        reserve = {file: rest for file, (_, rest) in choice.items()}
    if options.list:
        for mutant in chosen:
            print(mutant.id, mutant.before, mutant.after, sep="\t")
        return 0

    campaign = Campaign(tree, known, options)
    jobs = max(1, min(options.jobs, len(chosen)))
    if options.folder:
        campaign.prepare_folder(jobs, options.folder)
    else:
        campaign.prepare(jobs, everything=not options.case)
    campaign.run(chosen, reserve, everything=not options.folder)
    campaign.report()

    caught, survived = campaign.count(CAUGHT), campaign.count(SURVIVED)
    made = caught + survived + campaign.count(EQUIVALENT)
    if not options.case and made < options.count:
        sys.exit(f"Only {made} of {options.count} changes could be made")
    share = 100 * caught / (caught + survived) if caught + survived else 100
    print(f"\n{caught} of {caught + survived} changes caught, {share:.1f} %")
    return 1 if share < (100 if options.case else options.share) else 0


if __name__ == "__main__":
    sys.exit(main())
