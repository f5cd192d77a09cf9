#!/usr/bin/env python3
"""Writes transform/dts_tables.h, the two 512-tap prototypes of the DTS core bank, from tools/tables/sbr.

usage: gen_dts_tables.py [--check]     (--check: compare with the committed file and write nothing)
"""
import csv
import sys
from pathlib import Path

SOURCE = Path(__file__).resolve().parent.parent
TARGET = SOURCE / "transform" / "dts_tables.h"
COLUMNS = (("kDtsNonPerfect", "nonperfect"), ("kDtsPerfect", "perfect_b"))

with open(SOURCE / "tools" / "tables" / "sbr" / "dts_qmf_window.csv", newline="") as file:
    table = list(csv.DictReader(file))
lines = ["// Made by tools/gen_dts_tables.py from tools/tables/sbr/dts_qmf_window.csv; not edited by hand.",
         "// ETSI TS 102 114, annex D: the 512-tap prototypes. Of the two printed sets for perfect reconstruction",
         "// this is the one of bit-exact decoders; they differ by 5.9e-6 at most.", "#pragma once", "",
         "namespace moxac {", "", "// clang-format off"]
for name, column in COLUMNS:
    lines.append(f"inline constexpr float {name}[512] = {{")
    values = [row[column] + "f" for row in table]
    lines += ["    " + ", ".join(values[i:i + 5]) + "," for i in range(0, 512, 5)]
    lines += ["};", ""]
lines[-1] = "// clang-format on"
text = "\n".join(lines + ["", "}  // namespace moxac", ""])
if "--check" in sys.argv:
    if TARGET.read_text() != text:
        sys.exit(f"{TARGET} is not what this script writes")
else:
    TARGET.write_text(text)
