#!/usr/bin/env python3
"""Writes the constant tables of aac/ from tools/tables.

usage: gen_aac_tables.py [--check]     (--check: compare with the committed files and write nothing)
"""
from table_files import deliver, rows, wrapped


def offsets(row, length, cells):
    """The row's band offsets, filled up to `cells` entries with the window length."""
    found = [int(row[key]) for key in row if key.startswith("o") and row[key]]
    assert found[-1] == length and len(found) == int(row["num_swb"]) + 1
    return found + [length] * (cells - len(found))


def band_tables():
    long_rows, short_rows = rows("aac_swb_long_1024.csv"), rows("aac_swb_short_128.csv")
    tns_rows = rows("aac_tns_max_bands.csv")
    out = ["// Made by tools/gen_aac_tables.py from tools/tables; do not edit.", "// clang-format off",
           '#include "aac/band_tables.h"', "", "namespace moxac::aac {", ""]

    def vector(name, values):
        out.append(f"const int16_t {name}[kNumSampleRates] = {{")
        out.extend(wrapped(values))
        out.extend(["};", ""])

    def matrix(name, cells, count, table, length):
        out.append(f"const int16_t {name}[kNumSampleRates][{cells}] = {{")
        for row in table:
            body = wrapped(offsets(row, length, count), indent="     ")
            body[0] = "    {" + body[0].lstrip()
            body[-1] = body[-1].rstrip(",") + "},"
            out.extend([f"    // {row['rate_hz']} Hz"] + body)
        out.extend(["};", ""])

    vector("kNumSwbLong", [row["num_swb"] for row in long_rows])
    vector("kNumSwbShort", [row["num_swb"] for row in short_rows])
    matrix("kSwbOffsetLong", "kMaxSwbLong + 1", 52, long_rows, 1024)
    matrix("kSwbOffsetShort", "kMaxSwbShort + 1", 16, short_rows, 128)
    vector("kTnsMaxBandsLong", [row["long"] for row in tns_rows])
    vector("kTnsMaxBandsShort", [row["short"] for row in tns_rows])
    out.append("}  // namespace moxac::aac")
    return "\n".join(out) + "\n"


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


def program_tables():
    """The program's own: it knows the library by its public header only."""
    long_rows = rows("aac_swb_long_1024.csv")
    rates = [row["rate_hz"] for row in rows("aac_sampling_rates.csv")][:12]
    out = ["// Made by tools/gen_aac_tables.py from tools/tables; do not edit.", "// clang-format off",
           '#include "codec/aac/tables.h"', "", "namespace moxc::aac {", "",
           "const int32_t kRates[12] = {"] + wrapped(rates) + ["};", "",
           "const int32_t kPredSfbMax[12] = {"]
    out += wrapped([row["pred_sfb_max"] for row in rows("aac_pred_sfb_max.csv")]) + ["};", ""]
    out += ["const int32_t kTnsMaxBands[12] = {"]
    out += wrapped([row["long"] for row in rows("aac_tns_max_bands.csv")]) + ["};", ""]
    out.append("const int32_t kLongBands[12][52] = {")
    for row in long_rows:
        body = wrapped(offsets(row, 1024, 52), indent="     ")
        body[0] = "    {" + body[0].lstrip()
        body[-1] = body[-1].rstrip(",") + "},"
        out += [f"    // {row['rate_hz']} Hz"] + body
    out += ["};", "", "const int32_t kScaleFactorRows[121][3] = {"]
    out += wrapped([f"{{{row['index']}, {row['code']}, {row['length']}}}"
                    for row in rows("aac_huffman_scalefactor.csv")])
    return "\n".join(out + ["};", "", "}  // namespace moxc::aac"]) + "\n"


def ltp_gains():
    gains = ", ".join(row["coef"] for row in rows("sbr/aac_ltp_coef.csv"))
    return f"""// Made by tools/gen_aac_tables.py from tools/tables; do not edit.
// The gains of long-term prediction by their 3-bit code. ISO/IEC 14496-3, 4.6.7.
#pragma once

namespace moxac::aac {{

// clang-format off
inline constexpr double kLtpGains[8] = {{{gains}}};
// clang-format on

}}  // namespace moxac::aac
"""


FILES = {"aac/ltp_tables.h": ltp_gains, "aac/band_tables.cpp": band_tables, "aac/huffman_codes.h": huffman_codes,
         "codec/aac/tables.cpp": program_tables}


deliver(FILES)
