#!/usr/bin/env python3
"""Counts the lines of code by folder, and what share of all other code the tests are.

count_lines.py [SOURCE_DIR]. Blank lines, comment lines and generated tables do not count; what git ignores neither.
"""
import os
import re
import subprocess
import sys

KINDS = ("product", "bench", "tools", "tests")
SUFFIXES = (".cpp", ".h", ".c", ".py", ".sh")
TABLES = re.compile(r"(_tables?|/tables)\.(cpp|h)$")
EMPTY = re.compile(r"^\s*((//|\*|/\*).*)?$")
EMPTY_SCRIPT = re.compile(r"^\s*(#.*)?$")


def kind(path):
    top = path.split("/")[0]
    if top in ("tests", "fuzz"):
        return "tests"
    return top if top in ("bench", "tools") else "product"


def folder(path):
    """The folder that the table shows: two deep where a room has rooms."""
    parts = path.split("/")[:-1]
    return "/".join(parts[:3 if path.startswith("tests/codec/") else 2]) or "."


def lines(path):
    empty = EMPTY_SCRIPT if path.endswith((".py", ".sh")) else EMPTY
    with open(path, encoding="utf-8", errors="replace") as file:
        return sum(not empty.match(line) for line in file)


def main():
    os.chdir(sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
    files = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], check=True,
                           stdout=subprocess.PIPE, text=True).stdout.split("\0")
    counts = {name: {} for name in KINDS}
    for path in files:
        if path.endswith(SUFFIXES) and not TABLES.search(path) and os.path.isfile(path):
            of = counts[kind(path)]
            of[folder(path)] = of.get(folder(path), 0) + lines(path)
    totals = {name: sum(of.values()) for name, of in counts.items()}
    for name in KINDS:
        print(f"{name:<24}{totals[name]:7}")
        for path, count in sorted(counts[name].items()):
            print(f"  {path:<22}{count:7}")
    others = sum(totals.values()) - totals["tests"]
    print(f"tests are {100 * totals['tests'] / others:.1f} % of the other {others} lines (wanted: 25 to 33 %)")


main()
