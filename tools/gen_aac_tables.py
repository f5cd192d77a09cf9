#!/usr/bin/env python3
"""Writes the code tables of AAC from tools/tables.

usage: gen_aac_tables.py [--check]     (--check: compare with the committed files and write nothing)
"""
from table_files import deliver, rows, wrapped


def huffman_codes():
    out = ["// Made by tools/gen_aac_tables.py from tools/tables; do not edit.", "// clang-format off",
           "// The Huffman codes of ISO/IEC 14496-3, 4.A: {length, code word}. Spectral codes stand in the order of",
           "// their values read as digits, first value most significant; scale-factor codes in the order of the",
           "// difference, which is the index less 60.",
           "#pragma once", "", "#include <cstdint>", "", "namespace moxac::aac {", "",
           "struct HuffmanCode {", "  uint8_t length;", "  uint32_t code;", "};", ""]

    def book(name, codes):
        out.append(f"inline constexpr HuffmanCode {name}[{len(codes)}] = {{")
        out.extend(wrapped([f"{{{row['length']}, {row['code']}}}" for row in codes]))
        out.extend(["};", ""])

    book("kScaleFactorCodes", rows("aac_huffman_scalefactor.csv"))
    spectral = rows("aac_huffman_spectral.csv")
    for number in range(1, 12):
        codes = [row for row in spectral if int(row["book"]) == number]
        assert [int(row["index"]) for row in codes] == list(range(len(codes)))
        book(f"kSpectralCodes{number}", codes)
    out.append("}  // namespace moxac::aac")
    return "\n".join(out) + "\n"


def scale_factor_rows():
    """The codec's own: it knows the library by its public headers only."""
    out = ["// Made by tools/gen_aac_tables.py from tools/tables; do not edit.", "// clang-format off",
           '#include "codec/aac/tables.h"', "", "namespace moxc::aac {", "", "const int32_t kScaleFactorRows[121][3] = {"]
    out += wrapped([f"{{{row['index']}, {row['code']}, {row['length']}}}"
                    for row in rows("aac_huffman_scalefactor.csv")])
    return "\n".join(out + ["};", "", "}  // namespace moxc::aac"]) + "\n"


FILES = {"aac/huffman_codes.h": huffman_codes, "codec/aac/tables.cpp": scale_factor_rows}


deliver(FILES)
