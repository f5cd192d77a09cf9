#!/usr/bin/env python3
"""Writes mp3/*_tables.{h,cpp} from the CSV files in tools/tables.

usage: gen_mp3_tables.py [--check]

With --check nothing is written: the exit status tells whether the committed files are what would be written.
"""
import csv
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
TABLES = ROOT / "tools" / "tables"
NOTE = "// Made by tools/gen_mp3_tables.py from tools/tables; edit neither by hand.\n"


def rows(name):
    with open(TABLES / name, newline="") as f:
        return list(csv.DictReader(f))


def columns(row, prefix):
    return [int(v) for k, v in row.items() if k.startswith(prefix) and k[len(prefix):].isdigit()]


def braced(values):
    return "{" + ", ".join(str(v) for v in values) + "}"


def lines(values, indent=4, width=110):
    """Values, comma-separated, broken into lines of at most `width` columns."""
    text, line = [], " " * indent
    for v in values:
        piece = f"{v}, "
        if len(line) + len(piece.rstrip()) > width:
            text.append(line.rstrip())
            line = " " * indent
        line += piece
    text.append(line.rstrip())
    return "\n".join(text)


def source(header, body):
    return f'{NOTE}#include "{header}"\n\n#include <cstdint>\n\nnamespace moxac {{\n\n{body}\n}}  // namespace moxac\n'


def band_tables():
    """Scale-factor-band starts of long and short blocks."""
    body = "// clang-format off\n"
    for name, file, n in (("kSfbLong", "mp3_sfb_long.csv", 23), ("kSfbShort", "mp3_sfb_short.csv", 14)):
        body += f"const int16_t {name}[6][{n}] = {{\n"
        for row in rows(file):
            body += f"    {braced(columns(row, 's'))},\n"
        body += "};\n\n"
    return source("mp3/band_tables.h", body + "// clang-format on\n")


def scale_factor_tables():
    """Widths of scale-factor fields (MPEG-1) and numbers of values (MPEG-2)."""
    widths = [braced([r["slen1"], r["slen2"]]) for r in rows("mp3_scalefac_slen.csv")]
    body = f"// clang-format off\nconst int8_t kScaleFactorWidths[16][2] = {{\n{lines(widths)}\n}};\n\n"
    counts = rows("mp3_scalefac_nr_of_sfb.csv")
    body += "const int8_t kScaleFactorCounts[6][3][4] = {\n"
    for case in range(6):
        kinds = {r["block"]: braced(columns(r, "n")) for r in counts if int(r["case"]) == case}
        body += f"    {{{kinds['long']}, {kinds['short']}, {kinds['mixed']}}},\n"
    return source("mp3/scale_factor_tables.h", body + "};\n// clang-format on\n")


FILES = {
    "mp3/band_tables.cpp": band_tables,
    "mp3/scale_factor_tables.cpp": scale_factor_tables,
}


def main():
    stale = []
    for name, make in FILES.items():
        path, text = ROOT / name, make()
        if "--check" not in sys.argv:
            path.write_text(text)
        elif not path.exists() or path.read_text() != text:
            stale.append(name)
    for name in stale:
        print(f"{name} is not what the tables give")
    sys.exit(bool(stale))


main()
