#!/usr/bin/env python3
"""Writes apps/mox/sbr_tables.cpp, the program's SBR tables, from tools/tables/sbr.

usage: gen_mox_sbr_tables.py [--check]     (--check: compare with the committed file and write nothing)
"""
import csv
import sys
from pathlib import Path

SOURCE = Path(__file__).resolve().parent.parent
TABLES = SOURCE / "tools" / "tables" / "sbr"
OUTPUT = SOURCE / "apps" / "mox" / "sbr_tables.cpp"
LEAF = 256  # a leaf holds its difference less this, which is below 0


def rows(name):
    with open(TABLES / name, newline="") as file:
        return list(csv.DictReader(file))


def wrapped(values, indent="    ", width=110):
    """The values as comma-separated lines of at most `width` columns."""
    lines, line = [], indent
    for value in values:
        word = f"{value},"
        if len(line) + len(word) > width:
            lines.append(line.rstrip())
            line = indent
        line += word + " "
    return lines + [line.rstrip()]


def tree(book):
    """Pairs of next nodes or leaves, by bit."""
    nodes = [[None, None]]
    for row in book:
        node, length, code = 0, int(row["length"]), int(row["code"], 16)
        for shift in range(length - 1, -1, -1):
            bit = code >> shift & 1
            if shift == 0:
                assert nodes[node][bit] is None
                nodes[node][bit] = int(row["delta"]) - LEAF
            else:
                if nodes[node][bit] is None:
                    nodes.append([None, None])
                    nodes[node][bit] = len(nodes) - 1
                node = nodes[node][bit]
                assert node > 0
    assert all(value is not None for node in nodes for value in node)
    return [f"{{{zero}, {one}}}" for zero, one in nodes]


def main():
    out = ["// Made by tools/gen_mox_sbr_tables.py from tools/tables/sbr; do not edit.", "// clang-format off",
           '#include "mox/sbr_tables.h"', "", "namespace mox {", "namespace {", ""]
    books, names = {}, {}
    for row in rows("sbr_huffman.csv"):
        books.setdefault(row["book"], []).append(row)
    for book, codes in books.items():
        names[book] = "k" + "".join(part[0].upper() + part[1:] for part in book.replace("dB", "").split("_"))
        out += [f"constexpr SbrCodeNode {names[book]}[] = {{"] + wrapped(tree(codes)) + ["};", ""]
    out += ["}  // namespace", "", "const SbrCodeNode* const kSbrEnvelopeCodes[2][2][2] = {"]
    for kind in ("env", "env_bal"):
        pairs = [f"{{{names[f'f_huffman_{kind}_{step}']}, {names[f't_huffman_{kind}_{step}']}}}"
                 for step in ("1_5dB", "3_0dB")]
        out.append("    {" + ", ".join(pairs) + "},")
    out += ["};", "", "const SbrCodeNode* const kSbrNoiseCodes[2][2] = {"]
    for kind in ("", "bal_"):
        out.append(f"    {{{names[f'f_huffman_env_{kind}3_0dB']}, {names[f't_huffman_noise_{kind}3_0dB']}}},")
    out += ["};", "", "const SbrRate kSbrRates[9] = {"]
    for row in rows("sbr_limits.csv"):
        k0, k2 = (", ".join(row[f"{key}_{i}"] for i in range(count)) for key, count in (("k0", 16), ("k2", 14)))
        out += [f"    {{{row['fs_sbr_hz']}, {row['goal_sb']}, {row['max_subbands']},", f"     {{{k0}}},", f"     {{{k2}}}}},"]
    out += ["};", ""]
    constants = rows("sbr_constants.csv")
    for name, key in (("kSbrChirps", "chirp_new_bw"), ("kSbrLimiterGains", "limiter_gain"),
                      ("kSbrSmoothing", "h_smooth")):
        values = [f"{float(row['value'])!r}f" for row in constants if row["name"] == key]
        out += [f"const float {name}[{len(values)}] = {{{', '.join(values)}}};", ""]
    noise = [f"{{{float(row['re'])!r}f, {float(row['im'])!r}f}}" for row in rows("sbr_noise_table.csv")]
    assert len(noise) == 512
    out += ["const Mox32fc kSbrNoise[512 + 64] = {"] + wrapped(noise + noise[:64]) + ["};", ""]
    window = [f"{float(row['c'])!r}f" for row in rows("sbr_qmf_window.csv")]
    out += ["const float kSbrWindow[640] = {"] + wrapped(window) + ["};", ""]
    out += ["const float kSbrHalfWindow[320] = {"] + wrapped(window[::2]) + ["};", "", "}  // namespace mox"]

    text = "\n".join(out) + "\n"
    if "--check" not in sys.argv:
        OUTPUT.write_text(text)
    elif not OUTPUT.exists() or OUTPUT.read_text() != text:
        sys.exit(f"{OUTPUT.name} differs from what tools/gen_mox_sbr_tables.py makes")


main()
