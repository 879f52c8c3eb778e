#!/usr/bin/env python3
"""Tells which functions the code of an operation does not call, by the program's machine code.

    calls.py PROGRAM SOURCE... < LINES

A line of the standard input is an operation, a tab and a function: "CTraceWrite.rotate", or an
overload as "CTraceRead::ReadLog(string, list<string>&)". The functions that nothing calls come out,
with their operations. Looked at is all that can be reached from the library's function of the
operation's name, and from its entry in the table in SOURCE: the lambdas there, and the functions of
the same file that it names. Who makes an object counts as calling its virtual functions. For builds
without inlining, with line numbers.
"""
import os
import re
import subprocess
import sys

# Offset, info, type, addend of what depends on where the program lies.
RELOCATION = r"([0-9a-f]+) +[0-9a-f]+ +R_\w+_RELATIVE? +([0-9a-f]+)"
NAMESPACE = "qor::proof::(anonymous namespace)::"
STRING = "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >"


def output(*command, text=None):
    return subprocess.run(command, input=text, stdout=subprocess.PIPE, check=True, text=True).stdout


def virtual_tables(program):
    """The functions that each table of virtual functions names, by its symbol and its address."""
    tables = {}
    for line in output("nm", "-S", program).splitlines():
        if symbol := re.fullmatch(r"([0-9a-f]+) ([0-9a-f]+) \w (_ZTV\w+)", line):
            tables[symbol[3]] = (int(symbol[1], 16), int(symbol[2], 16), set())
    for line in output("readelf", "-rW", program).splitlines():
        relocation = re.fullmatch(RELOCATION, line)
        if relocation is not None:
            place, function = int(relocation[1], 16), int(relocation[2], 16)
            for begin, size, functions in tables.values():
                if begin <= place < begin + size:
                    functions.add(function)
    return {name: functions for name, (_, _, functions) in tables.items()}


def disassembled(program):
    """The functions by address, and the addresses that each function's code names."""
    names, targets, current = {}, {}, None
    tables = virtual_tables(program)
    for line in output("objdump", "-d", "--no-show-raw-insn", "--section=.text",
                       program).splitlines():
        if head := re.fullmatch(r"([0-9a-f]+) <(.*)>:", line):
            current = int(head[1], 16)
            names[current] = head[2]
            targets[current] = set()
        elif operand := re.search(r"\b([0-9a-f]+) <([^>+]+)(\+[^>]*)?>$", line):
            if operand[2] in tables:
                targets[current] |= tables[operand[2]]
            elif operand[3] is None:
                targets[current].add(int(operand[1], 16))
    plain = output("c++filt", text="\n".join(names.values())).splitlines()
    return dict(zip(names, plain)), targets


def short(name):
    """A demangled name as the tables of operations spell it."""
    name = re.sub(r"\[abi:cxx11\]", "", name).replace(STRING, "string")
    name = name.replace("std::__cxx11::", "").replace("std::", "")
    former = None
    while former != name:
        former, name = name, re.sub(r", allocator<([^<>]|<[^<>]*>)*>", "", name)
        name = name.replace(" >", ">")
    return name


def entries(operations, sources):
    """Where each operation's entry stands: file, first line, line behind it, functions named."""
    found = {}
    for source in sources:
        with open(source, encoding="utf-8") as file:
            lines = file.read().splitlines()
        current, begin = None, 0
        for number, line in enumerate(lines + ["}"], 1):
            names = [name for name in re.findall(r'"([\w.=]+)"', line) if name in operations]
            if current is not None and (names or line == "}"):
                named = set(re.findall(r"\b(\w+)\(", "\n".join(lines[begin - 1:number - 1])))
                found[current] = (os.path.basename(source), begin, number, named)
                current = None
            if names:
                current, begin = names[0], number
    return found


class Program:
    def __init__(self, path, sources):
        self.names, self.targets = disassembled(path)
        self.entries = entries(set(output(path, "--list").split()), sources)
        own = [address for address, name in self.names.items() if name.startswith(NAMESPACE)]
        places = output("addr2line", "-e", path, text="".join(f"{a:x}\n" for a in own)).splitlines()
        self.places = {}  # of the table's functions: file and line
        for address, place in zip(own, places):
            file, line = place.split(" ")[0].rsplit(":", 1)
            self.places[address] = (os.path.basename(file), int(line) if line.isdigit() else 0)
        self.reached = {}
        self.lambdas = {}  # of a function's name: the addresses of its lambdas' code
        for address, name in self.names.items():
            owner = re.split(r"::(?:\{lambda|\$_)", name, maxsplit=1)[0]  # by g++, by clang
            if owner != name:
                self.lambdas.setdefault(owner, []).append(address)

    def roots(self, operation):
        own = operation.replace(".", "::")
        functions = tuple(f"{name}(" for name in (own, own.rpartition("::")[0]) if name)
        found = [address for address, name in self.names.items() if name.startswith(functions)]
        source, begin, end, named = self.entries.get(operation, ("", 0, 0, set()))
        for address, (file, line) in self.places.items():
            name = self.names[address][len(NAMESPACE):]
            if file == source and (begin <= line < end or name.split("(")[0] in named):
                found.append(address)
        return found

    def reach(self, operation):
        """The short names of all functions behind an operation."""
        if operation not in self.reached:
            seen, todo = set(), self.roots(operation)
            while todo:
                address = todo.pop()
                if address in seen or address not in self.names:
                    continue
                seen.add(address)
                todo += self.targets[address]
                todo += self.lambdas.get(self.names[address], ())
            self.reached[operation] = {short(self.names[address]) for address in seen}
        return self.reached[operation]

    def calls(self, operation, function):
        names = self.reach(operation)
        if "(" in function:
            return function in names
        beginning = function.replace(".", "::") + "("
        return any(name.startswith(beginning) for name in names)


def main():
    program = Program(sys.argv[1], sys.argv[2:])
    for line in sys.stdin:
        operation, function = line.rstrip("\n").split("\t")
        if not program.calls(operation, function):
            print(f"{function} in {operation}")


main()
