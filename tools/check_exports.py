#!/usr/bin/env python3
"""Compares three lists of names: the dynamic symbols of libmoxac.so, the functions that the public headers
declare, and exports.txt. The first two must be equal, and both within the third (with --complete: equal to it).

usage: check_exports.py LIBMOXAC_SO SOURCE_DIR [--complete]
"""
import re
import subprocess
import sys
from pathlib import Path


def dynamic_symbols(library):
    out = subprocess.run(["nm", "-D", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    return {line.split()[-1] for line in out.splitlines()}


def declared_functions(source):
    names = set()
    for header in sorted((source / "include").rglob("*.h")):
        text = re.sub(r"/\*.*?\*/", "", header.read_text(), flags=re.S)
        names |= set(re.findall(r"^MOXAC_API\s[^;(]*?\b(mox\w+)\s*\(", text, flags=re.M))
    return names


def main():
    library, source = sys.argv[1], Path(sys.argv[2])
    exported, declared = dynamic_symbols(library), declared_functions(source)
    listed = {line for line in (source / "exports.txt").read_text().splitlines() if line.startswith("mox")}
    faults = [("exported but not declared", exported - declared), ("declared but not exported", declared - exported),
              ("exported but not listed", exported - listed)]
    if "--complete" in sys.argv:
        faults.append(("listed but not exported", listed - exported))
    for what, names in faults:
        for name in sorted(names):
            print(f"{what}: {name}")
    print(f"{len(exported)} exported, {len(declared)} declared, {len(listed)} listed")
    sys.exit(any(names for _, names in faults))


main()
