#!/usr/bin/env python3
"""Reads every #include of our own files and fails on one that the order of the rooms forbids.

check_includes.py [SOURCE_DIR]. ROOMS says which rooms each room may look into, besides itself and the public headers;
docs/architecture.md says why. No include climbs ("../"), none goes in a circle, and the library needs no header but its
own and the language's.
"""
import os
import re
import subprocess
import sys

CODEC_FLOORS = ["codec/io", "codec/stream", "codec/ps", "codec/sbr"]  # each may look into those before it
LIBRARY = {
    "moxcore": [],
    "frame": ["moxcore"],
    "util": ["frame"],
    "transform": ["frame", "util"],
    "vlc": ["frame"],
    "mp3": ["frame", "util", "transform"],
    "aac": ["frame", "util", "transform"],
    "sbr": ["frame", "util", "transform"],
}
ROOMS = {
    "include": [],
    **LIBRARY,
    **{room: CODEC_FLOORS[:i] for i, room in enumerate(CODEC_FLOORS)},
    "codec/mp3": ["codec/io", "codec/stream"],
    "codec/aac": CODEC_FLOORS,
    "codec": [*CODEC_FLOORS, "codec/mp3", "codec/aac"],
    "apps": ["codec"],
    "examples": [],
}
# A room of tests looks into what it tests, whatever that looks into, and the tests' own support.
TESTS = ["tests", "bench", "fuzz"]
PATHS = ["", "include", "moxcore", "tests", "apps", "bench"]
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def room(path):
    """The innermost room that holds a file, and for tests the room under test."""
    parts = path.split("/")
    if parts[0] in TESTS:
        parts = parts[1:]
    for depth in (2, 1):
        if "/".join(parts[:depth]) in ROOMS and len(parts) > depth:
            return "/".join(parts[:depth])
    return None


def reach(name):
    """What a room may look into, and for the codec's and the program's whole folder its rooms."""
    seen = {name, "include", "moxcore", *ROOMS[name]}
    return seen | {inner for inner in ROOMS if inner.split("/")[0] in seen}


def allowed(path, target):
    of, to = room(path), room(target)
    if path.split("/")[0] not in TESTS:
        return target.split("/")[0] not in TESTS and to in reach(of)
    if of is None or target.split("/")[0] in TESTS and (to is None or of.startswith(to)):
        return True  # drivers and what tests share; a test may use what the tests of a room around its own share
    return to in reach(of) | (reach("codec") if of.startswith("codec") else set())


def main():
    os.chdir(sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
    files = set(subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard", "*.cpp", "*.h", "*.c"],
                               check=True, stdout=subprocess.PIPE, text=True).stdout.split("\n")[:-1])
    files = {path for path in files if os.path.isfile(path)}
    faults, graph = [], {}
    for path in sorted(files):
        if path.split("/")[0] not in TESTS and room(path) is None:
            faults.append(f"{path}: in no room")
            continue
        with open(path, encoding="utf-8") as file:
            found = [(i, m.group(1), m.group(2)) for i, line in enumerate(file, 1) if (m := INCLUDE.match(line))]
        for number, kind, name in found:
            where = f"{path}:{number}: {name}"
            if ".." in name.split("/"):
                faults.append(f"{where} climbs")
                continue
            places = [os.path.normpath(os.path.join(base, name)) for base in [os.path.dirname(path), *PATHS]]
            target = next((place for place in places if place in files), None)
            if target is not None:
                graph.setdefault(path, []).append(target)
                if not allowed(path, target):
                    faults.append(f"{where} is not for {path.split('/')[0] if room(path) is None else room(path)}")
            elif kind == '"':
                faults.append(f"{where} is not ours, or does not exist")
            elif room(path) in LIBRARY and room(path) != "moxcore" and path.split("/")[0] in LIBRARY and "." in name and name != "immintrin.h":
                faults.append(f"{where} is no header of the language")
    faults += circles(graph)
    print("\n".join(faults) or f"{len(files)} files, {sum(map(len, graph.values()))} includes of our own, all allowed")
    return 1 if faults else 0


def circles(graph):
    found, done = [], set()

    def visit(path, trail):
        if path in trail:
            found.append("circle: " + " > ".join(trail[trail.index(path):] + [path]))
        elif path not in done:
            for target in graph.get(path, []):
                visit(target, trail + [path])
            done.add(path)

    for path in sorted(graph):
        visit(path, [])
    return found


sys.exit(main())
