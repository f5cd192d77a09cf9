#!/usr/bin/env python3
"""Writes mp3/*_tables.{h,cpp} from the CSV files in tools/tables.

usage: gen_mp3_tables.py [--check]

With --check nothing is written: the exit status tells whether the committed files are what would be written.
"""
from table_files import deliver, rows, wrapped

NOTE = "// Made by tools/gen_mp3_tables.py from tools/tables; edit neither by hand.\n"


def columns(row, prefix):
    return [int(v) for k, v in row.items() if k.startswith(prefix) and k[len(prefix):].isdigit()]


def braced(values):
    return "{" + ", ".join(str(v) for v in values) + "}"


def lines(values, indent=4):
    return "\n".join(wrapped(values, " " * indent))


def source(header, body):
    return (f'{NOTE}#include "{header}"\n\n#include <cstdint>\n\n'
            f"namespace moxac::mp3 {{\n\n{body}\n}}  // namespace moxac::mp3\n")


def bank_tables():
    """What requantisation and the filter banks take from the standard; the rest they compute."""
    body = "// clang-format off\n"
    body += "// Layer III, Table B.6: added to the scale factors of long blocks when preflag is set.\n"
    pretab = [r["pretab"] for r in rows("mp3_pretab.csv")]
    body += f"inline constexpr int8_t kPretab[22] = {{\n{lines(pretab)}\n}};\n\n"
    body += "// Table B.9: coefficients c of the alias-reduction butterflies.\n"
    alias = [r["c"] for r in rows("mp3_alias.csv")]
    body += f"inline constexpr double kAliasC[8] = {{\n{lines(alias)}\n}};\n\n"
    body += "// Table B.3, synthesis window D[i] * 65536; the analysis window is D[i] / 32.\n"
    window = [r["num_65536"] for r in rows("mp3_synthesis_window.csv")]
    body += f"inline constexpr int32_t kSynthesisWindow[512] = {{\n{lines(window)}\n}};\n// clang-format on\n"
    return (f"// Constants of requantisation and of the filter banks. ISO/IEC 11172-3.\n{NOTE}#pragma once\n\n"
            f"#include <cstdint>\n\nnamespace moxac::mp3 {{\n\n{body}\n}}  // namespace moxac::mp3\n")


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


def huffman_codes(table_rows, symbol):
    """The (code, length) pairs of one table, ordered by symbol(row)."""
    ordered = sorted(table_rows, key=symbol)
    assert [symbol(r) for r in ordered] == list(range(len(ordered)))
    return lines([braced([r["code"], r["length"]]) for r in ordered])


def huffman_code_tables():
    """Codes of the big-value pairs and of the quadruples; which table numbers use which."""
    tables = rows("mp3_huffman_tables.csv")
    width = {r["table"]: int(r["width"]) for r in tables}
    pairs = rows("mp3_huffman_pairs.csv")
    body = "// clang-format off\n"
    for t in sorted({r["table"] for r in pairs}, key=int):
        codes = huffman_codes([r for r in pairs if r["table"] == t],
                              lambda r: int(r["x"]) * width[t] + int(r["y"]))
        body += f"inline constexpr Layer3Code kPairCodes{t}[{width[t] ** 2}] = {{\n{codes}\n}};\n\n"
    quads = rows("mp3_huffman_quads.csv")
    for t in ("A", "B"):
        codes = huffman_codes([r for r in quads if r["table"] == t],
                              lambda r: int("".join(r[k] for k in "vwxy"), 2))
        body += f"inline constexpr Layer3Code kQuadCodes{t}[16] = {{\n{codes}\n}};\n\n"
    uses = [braced(["nullptr" if r["codes_of"] == "none" else "kPairCodes" + r["codes_of"], r["width"], r["linbits"]])
            for r in tables]
    body += f"inline constexpr PairTable kPairTables[32] = {{\n{lines(uses)}\n}};\n// clang-format on\n"
    return (f'{NOTE}#pragma once\n\n#include "mp3/huffman_codes.h"\n\n'
            f"namespace moxac::mp3 {{\n\n{body}\n}}  // namespace moxac::mp3\n")


# Entries that contradict the rest of their tables, with the value that fits; tools/tables/README.md has the
# reasons. The sum of spreading gives bval 24.542, the level of a line times two lines gives 9.064, and the weights
# of band 0 and the start of band 1 call for partition 3. Norms of the last short partitions stay as printed: they
# count one partition more, which the tables leave out.
PSY_CORRECTIONS = {
    ("mp3_psy2_long.csv", "44100", "62"): {"bval": "24.542"},
    ("mp3_psy2_long.csv", "32000", "0"): {"qthr": "9.064"},
    ("mp3_psy2_long.csv", "32000", "1"): {"qthr": "9.064"},
    ("mp3_psy2_sfb_short.csv", "44100", "0"): {"bo": "3"},
    ("mp3_psy2_sfb_short.csv", "48000", "0"): {"bo": "3"},
    ("mp3_psy2_sfb_short.csv", "32000", "0"): {"bo": "3"},
}


def psy_rows(name, rate):
    """Rows of one rate as C initialisers: without the rate and the row's number."""
    out = []
    for row in rows(name):
        if row["rate_hz"] != rate:
            continue
        index = row.get("partition", row.get("sfb"))
        fixed = {**row, **PSY_CORRECTIONS.get((name, rate, index), {})}
        out.append([f"{v}f" if "." in v else v for k, v in fixed.items() if k not in ("rate_hz", "partition", "sfb", "cbw")])
    return out


def psychoacoustic_tables():
    """Partitions of the psychoacoustic model, and the scale-factor bands made of them."""
    body = "// clang-format off\n"
    rates = [r["mpeg1_hz"] for r in rows("mp3_sampling_rates.csv")]
    for what, kind, name in (("lines, minval, qthr, norm, bval", "LongPartition", "mp3_psy2_long.csv"),
                             ("lines, qthr, norm, snr, bval", "ShortPartition", "mp3_psy2_short.csv"),
                             ("first and last partition, their weights", "PartitionSpan", "mp3_psy2_sfb_long.csv"),
                             ("", "PartitionSpan", "mp3_psy2_sfb_short.csv")):
        suffix = {"mp3_psy2_sfb_long.csv": "Long", "mp3_psy2_sfb_short.csv": "Short"}.get(name, "")
        if what:
            body += f"// {what}\n"
        for rate in rates:
            found = psy_rows(name, rate)
            body += f"inline constexpr {kind} k{kind}s{suffix}{rate}[{len(found)}] = {{\n"
            body += lines([braced(r) for r in found]) + "\n};\n"
        body += "\n"
    return (f'{NOTE}#pragma once\n\n#include "mp3/psychoacoustic_bands.h"\n\n'
            f"namespace moxac::mp3 {{\n\n{body}// clang-format on\n\n}}  // namespace moxac::mp3\n")


FILES = {
    "mp3/psychoacoustic_tables.h": psychoacoustic_tables,
    "mp3/bank_tables.h": bank_tables,
    "mp3/scale_factor_tables.cpp": scale_factor_tables,
    "mp3/huffman_code_tables.h": huffman_code_tables,
}


deliver(FILES)
