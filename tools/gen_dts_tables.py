#!/usr/bin/env python3
"""Writes transform/dts_tables.h, the two 512-tap prototypes of the DTS core bank, from tools/tables/sbr.

usage: gen_dts_tables.py [--check]     (--check: compare with the committed file and write nothing)
"""
from table_files import deliver, rows

COLUMNS = (("kDtsNonPerfect", "nonperfect"), ("kDtsPerfect", "perfect_b"))


def prototypes():
    table = rows("sbr/dts_qmf_window.csv")
    lines = ["// Made by tools/gen_dts_tables.py from tools/tables/sbr/dts_qmf_window.csv; not edited by hand.",
             "// ETSI TS 102 114, annex D: the 512-tap prototypes. Of the two printed sets for perfect reconstruction",
             "// this is the one of bit-exact decoders; they differ by 5.9e-6 at most.", "#pragma once", "",
             "namespace moxac::transform {", "", "// clang-format off"]
    for name, column in COLUMNS:
        lines.append(f"inline constexpr float {name}[512] = {{")
        values = [row[column] + "f" for row in table]
        lines += ["    " + ", ".join(values[i:i + 5]) + "," for i in range(0, 512, 5)]
        lines += ["};", ""]
    lines[-1] = "// clang-format on"
    return "\n".join(lines + ["", "}  // namespace moxac::transform", ""])


deliver({"transform/dts_tables.h": prototypes})
