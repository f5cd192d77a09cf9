#!/usr/bin/env python3
"""Breaks the code of one folder on purpose, one small change at a time, and tells which changes its tests did not notice.

mutate.py FOLDER [--count N] [--seed S] [--build DIR] [--tests REGEX] [--targets NAME...] [--at FILE:LINE]
mutate.py FOLDER --list

Chooses N places by seed (swapped operators, constants and indices off by one, lost signs), changes the
file in place, builds what the folder's tests need (target test_FOLDER, or what --targets names) and runs those tests; the
file is put back whatever happens. Prints a line for each mutant and the survivors at the end; docs/testing.md says how to
judge them. DIR is a configured build (build by default). Tables that generators made are left alone.
"""
import argparse
import os
import random
import re
import signal
import subprocess
import sys
import time

SKIPPED = re.compile(r"(_tables?|/tables|_codes)\.(cpp|h)$")
LINE_SKIPPED = re.compile(r"^\s*(//|\*|/\*|#|using |static_assert|template|namespace|assert\(|\}|case .*:$|MOXAC_API|[-{\d])")
# (what is looked for, what stands there instead); binary operators stand between blanks, as clang-format leaves them
OPERATORS = [
    (" + ", [" - "]), (" - ", [" + "]), (" * ", [" + "]), (" / ", [" * "]), (" % ", [" / "]),
    (" < ", [" <= ", " > "]), (" <= ", [" < "]), (" > ", [" >= ", " < "]), (" >= ", [" > "]),
    (" == ", [" != "]), (" != ", [" == "]), (" && ", [" || "]), (" || ", [" && "]),
    (" << ", [" >> "]), (" >> ", [" << "]), (" & ", [" | "]), (" | ", [" & "]), (" ^ ", [" & "]),
    (" += ", [" -= "]), (" -= ", [" += "]), ("++", ["--"]), ("true", ["false"]), ("false", ["true"]),
]
BANKS = ("mp3", "sbr", "transform")  # their filter banks are tested together, in tests/frame
NUMBER = re.compile(r"(?<![\w.'])(\d+)(?![\w.'xXbB])")
REAL = re.compile(r"(?<![\w.])(\d+\.\d*)(?=f?\b)")
INDEX = re.compile(r"\[([a-z]\w*)\]")
NEGATION = re.compile(r"(?<=[(,=?:] )-(?=[a-zA-Z(])|(?<=[(\[])-(?=[a-zA-Z(])|return -(?=[a-zA-Z(])")


def code_of(line):
    """The line without its comment and with its strings blanked, at the same places."""
    line = re.sub(r'"(\\.|[^"\\])*"', lambda m: '"' + "\0" * (len(m[0]) - 2) + '"', line)
    cut = line.find("//")
    return line if cut < 0 else line[:cut]


def mutants_of(path):
    """(path, line number, new line, what) for every place of a file."""
    with open(path, encoding="utf-8") as file:
        lines = file.readlines()
    found = []
    for number, line in enumerate(lines):
        code = code_of(line)
        if LINE_SKIPPED.match(line) or not code.strip() or "operator" in code:
            continue

        def add(start, end, text, what):
            found.append((path, number, line[:start] + text + line[end:], what))

        for old, news in OPERATORS:
            for m in re.finditer(re.escape(old) if old[0] == " " or old[0] == "+" else rf"\b{old}\b", code):
                for new in news:
                    add(m.start(), m.end(), new, f"{old.strip()} for {new.strip()}")
        for m in NUMBER.finditer(code):
            add(m.start(), m.end(), str(int(m[1]) + 1), f"{m[1]} + 1")
            if int(m[1]) > 0:
                add(m.start(), m.end(), str(int(m[1]) - 1), f"{m[1]} - 1")
        for m in REAL.finditer(code):
            add(m.start(), m.end(), repr(float(m[1]) * 1.125 + (float(m[1]) == 0)), f"{m[1]} larger")
        for m in INDEX.finditer(code):
            add(m.start(), m.end(), f"[{m[1]} + 1]", f"index {m[1]} + 1")
        for m in NEGATION.finditer(code):
            add(m.end() - 1, m.end(), "", "a sign lost")
    return found


class Mutation:
    """One changed line, put back at the end."""

    def __init__(self, mutant):
        self.path, self.number, self.line, _ = mutant

    def __enter__(self):
        with open(self.path, encoding="utf-8") as file:
            self.before = file.read()
        lines = self.before.splitlines(keepends=True)
        lines[self.number] = self.line
        self.write("".join(lines))
        return self

    def __exit__(self, *_):
        self.write(self.before)

    def write(self, text):
        with open(self.path, "w", encoding="utf-8") as file:
            file.write(text)


def run(command, limit):
    """The exit code, or None when the time is over; the whole process group goes then."""
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
    try:
        return process.wait(timeout=limit)
    except BaseException as reason:  # out of time, or interrupted
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()
        if not isinstance(reason, subprocess.TimeoutExpired):
            raise
        return None


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("folder")
    parser.add_argument("--count", type=int, default=25)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--build", default="build")
    parser.add_argument("--tests", help="regular expression of ctest names; the folder's by default")
    parser.add_argument("--targets", nargs="+")
    parser.add_argument("--limit", type=float, default=0, help="seconds for a run of the tests; 4 times a good run by default")
    parser.add_argument("--at", help="only mutants of FILE:LINE")
    parser.add_argument("--list", action="store_true")
    options = parser.parse_args()
    os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))

    folder = options.folder.rstrip("/")
    top = folder.split("/")[0]
    files = subprocess.run(["git", "ls-files", f"{folder}/*.cpp", f"{folder}/*.h"], check=True, stdout=subprocess.PIPE,
                           text=True).stdout.split()
    mutants = [m for path in files if not SKIPPED.search(path) for m in mutants_of(path)]
    if options.at:
        mutants = [m for m in mutants if f"{m[0]}:{m[1] + 1}" == options.at]
    random.Random(options.seed).shuffle(mutants)
    if options.list:
        for path, number, line, what in mutants:
            print(f"{path}:{number + 1}: {what}: {line.strip()}")
        return 0

    banks = top in BANKS
    targets = options.targets or [f"test_{top}"] + (["test_frame"] if banks else [])
    build = ["ninja", "-C", options.build, "-j2", *targets]
    chosen = options.tests or f"^{top}\\." + ("|^frame.Banks" if banks else "")
    tests = ["ctest", "--test-dir", options.build, "-j2", "--stop-on-failure", "-R", chosen]
    if run(build, None) != 0 or run(tests, None) != 0:
        print("the tests must build and pass before anything is broken", file=sys.stderr)
        return 2
    start = time.monotonic()
    run(tests, None)
    limit = options.limit or 20 + 4 * (time.monotonic() - start)

    killed, survivors, unbuilt = 0, [], 0
    try:
        for mutant in mutants:
            if killed + len(survivors) >= options.count:
                break
            path, number, line, what = mutant
            with Mutation(mutant):
                if run(build, 900) != 0:
                    unbuilt += 1
                    continue
                noticed = run(tests, limit) != 0
            killed += noticed
            if not noticed:
                survivors.append(mutant)
            print(f"{'killed  ' if noticed else 'SURVIVED'} {path}:{number + 1}: {what}: {line.strip()}", flush=True)
    finally:
        run(build, None)
    tried = killed + len(survivors)
    print(f"{folder}: {tried} mutants, {killed} killed, {len(survivors)} survived ({unbuilt} did not compile)")
    for path, number, line, what in survivors:
        print(f"  {path}:{number + 1}: {what}: {line.strip()}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
