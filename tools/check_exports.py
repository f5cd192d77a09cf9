#!/usr/bin/env python3
"""Compares three lists of names: the dynamic symbols of libmoxac.so, the functions that the public headers
declare, and exports.txt. The first two must be equal, and both within the third (with --complete: equal to it).
Also what the library needs: the C library, its mathematics and libmoxcore, and nothing of C++.

usage: check_exports.py LIBMOXAC_SO SOURCE_DIR [--complete]
"""
import re
import subprocess
import sys
from pathlib import Path


ALLOWED = {"libc", "libm", "libmoxcore", "ld-linux-x86-64"}

# Two names, one implementation each.
SHARED = """
moxsAnalysisFilterGetSize_PQMF_MP3_32f moxsSynthesisFilterGetSize_PQMF_MP3_32f
moxsAnalysisFilterGetSize_SBRHQ_32s32sc moxsAnalysisFilterGetSize_SBRLP_32s
moxsAnalysisFilterGetSize_SBR_RToC_32f moxsAnalysisFilterGetSize_SBR_RToC_32f32fc
moxsSynthesisDownFilterGetSize_SBRHQ_32sc32s moxsSynthesisDownFilterGetSize_SBRLP_32s
moxsSynthesisDownFilterGetSize_SBR_CToR_32f moxsSynthesisDownFilterGetSize_SBR_CToR_32fc32f
moxsSynthesisFilterGetSize_SBRHQ_32sc32s moxsSynthesisFilterGetSize_SBRLP_32s
moxsSynthesisFilterGetSize_SBR_CToR_32f moxsSynthesisFilterGetSize_SBR_CToR_32fc32f
moxsVLCDecodeFree_32s moxsVLCDecodeUTupleFree_32s
"""


def dynamic_symbols(library):
    """Name to address."""
    out = subprocess.run(["nm", "-D", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    return {line.split()[-1]: line.split()[0] for line in out.splitlines()}


def undefined_symbols(library):
    out = subprocess.run(["nm", "-D", "--undefined-only", library], check=True, capture_output=True, text=True).stdout
    return [line.split()[-1] for line in out.splitlines()]


def needed_libraries(library):
    out = subprocess.run(["readelf", "-d", library], check=True, capture_output=True, text=True).stdout
    return {name.split(".so")[0] for name in re.findall(r"\(NEEDED\).*\[(.*)\]", out)}


def declared_functions(source):
    names = set()
    for header in sorted((source / "include").rglob("*.h")):
        text = re.sub(r"/\*.*?\*/", "", header.read_text(), flags=re.S)
        names |= set(re.findall(r"^MOXAC_API\s[^;(]*?\b(mox\w+)\s*\(", text, flags=re.M))
    return names


def main():
    library, source = sys.argv[1], Path(sys.argv[2])
    addresses, declared = dynamic_symbols(library), declared_functions(source)
    exported = set(addresses)
    listed = {line for line in (source / "exports.txt").read_text().splitlines() if line.startswith("mox")}
    faults = [("exported but not declared", exported - declared), ("declared but not exported", declared - exported),
              ("exported but not listed", exported - listed)]
    sanitized = any(symbol.startswith("__asan") or symbol.startswith("__tsan") for symbol in undefined_symbols(library))
    if not sanitized:
        faults.append(("needed but not allowed", needed_libraries(library) - ALLOWED))
    pairs = [line.split() for line in SHARED.splitlines() if line]
    faults.append(("not one implementation", {f"{a} {b}" for a, b in pairs if addresses.get(a) != addresses.get(b)}))
    if "--complete" in sys.argv:
        faults.append(("listed but not exported", listed - exported))
    for what, names in faults:
        for name in sorted(names):
            print(f"{what}: {name}")
    print(f"{len(exported)} exported, {len(declared)} declared, {len(listed)} listed")
    sys.exit(any(names for _, names in faults))


main()
