#!/usr/bin/env python3
"""Writes include/moxac/tables.h, the numbers of the standards that the library and its callers share, from
tools/tables.

usage: gen_public_tables.py [--check]     (--check: compare with the committed file and write nothing)
"""
from table_files import deliver, rows, wrapped

HEAD = """/* moxac, tables: numbers of the standards that decoders and encoders need. Data only: nothing is exported.
 *
 * C99 and C++11. Not part of moxac.h: include it where it is wanted.
 * Made by tools/gen_public_tables.py from tools/tables; do not edit. */
#ifndef MOXAC_TABLES_H
#define MOXAC_TABLES_H

#include "aac.h"
#include "mp3.h"

#if !defined(__cplusplus)
#define MOXAC_TABLE static const
#elif __cplusplus >= 201703L
#define MOXAC_TABLE inline constexpr
#else
#define MOXAC_TABLE constexpr
#endif

/* clang-format off */
"""

TAIL = """/* clang-format on */

#endif
"""


def comment(text):
    lines = text.split("\n")
    return ["/* " + "\n * ".join(lines) + " */"]


def braced(values):
    """One initialiser, wrapped and indented as an element of an array."""
    body = wrapped(values, indent="     ")
    body[0] = "    {" + body[0].lstrip()
    body[-1] = body[-1].rstrip(",") + "},"
    return body


def vector(type_, name, extent, values):
    return [f"MOXAC_TABLE {type_} {name}[{extent}] = {{"] + wrapped(values) + ["};", ""]


def matrix(type_, name, extents, lines):
    out = [f"MOXAC_TABLE {type_} {name}{''.join(f'[{e}]' for e in extents)} = {{"]
    for values in lines:
        out += braced(values)
    return out + ["};", ""]


def numbered(row, prefix):
    return [v for k, v in row.items() if k.startswith(prefix) and k[len(prefix):].isdigit() and v]


def offsets(row, length, cells):
    """The row's band offsets, filled up to `cells` entries with the window length."""
    found = numbered(row, "o")
    assert int(found[-1]) == length and len(found) == int(row["num_swb"]) + 1
    return found + [length] * (cells - len(found))


def aac():
    out = ["/* ---- AAC, ISO/IEC 14496-3; rates by samplingRateIndex --------------------------------------------- */", ""]
    rates, longs, shorts = rows("aac_sampling_rates.csv")[:12], rows("aac_swb_long_1024.csv"), rows("aac_swb_short_128.csv")
    tns = rows("aac_tns_max_bands.csv")
    n = "MOX_AAC_SAMPLE_RATES"
    out += comment("Hz.") + vector("int32_t", "moxAacSampleRates", n, [r["rate_hz"] for r in rates])
    out += comment("Scale-factor bands of a long and of a short window.")
    out += vector("int32_t", "moxAacNumSwbLong", n, [r["num_swb"] for r in longs])
    out += vector("int32_t", "moxAacNumSwbShort", n, [r["num_swb"] for r in shorts])
    out += comment("First line of each band, the window's length behind the last; cells past that repeat the length.")
    out += matrix("int32_t", "moxAacSwbOffsetLong", [n, "MOX_AAC_MAX_SFB_LONG + 1"], [offsets(r, 1024, 52) for r in longs])
    out += matrix("int32_t", "moxAacSwbOffsetShort", [n, "MOX_AAC_MAX_SFB_SHORT + 1"], [offsets(r, 128, 16) for r in shorts])
    out += comment("Bands that a filter of temporal noise shaping may reach, in long and in short windows.")
    out += vector("int32_t", "moxAacTnsMaxBandsLong", n, [r["long"] for r in tns])
    out += vector("int32_t", "moxAacTnsMaxBandsShort", n, [r["short"] for r in tns])
    out += comment("Bands that Main-profile prediction may use.")
    out += vector("int32_t", "moxAacPredSfbMax", n, [r["pred_sfb_max"] for r in rows("aac_pred_sfb_max.csv")])
    out += comment("Gains of long-term prediction by their 3-bit code; 4.6.7.")
    out += vector("double", "moxAacLtpGains", 8, [r["coef"] for r in rows("sbr/aac_ltp_coef.csv")])
    out += comment("The alpha of the Kaiser-Bessel derived windows of 2048 and of 256 samples; 4.6.11.3.2.")
    out += ["MOXAC_TABLE double moxAacKaiserBesselAlphaLong = 4;", "MOXAC_TABLE double moxAacKaiserBesselAlphaShort = 6;", ""]
    return out


def mp3():
    out = ["/* ---- Layer III; ISO/IEC 11172-3 (id 1), ISO/IEC 13818-3 (id 0) ------------------------------------- */", ""]
    rates, hertz = rows("mp3_bitrates.csv"), rows("mp3_sampling_rates.csv")
    out += comment("kbit/s by id and bitRateIndex; 0 is the free format.")
    out += matrix("int32_t", "moxMp3BitRates", [2, 15], [[r[f"mpeg{2 - i}_kbps"] for r in rates] for i in range(2)])
    out += comment("Hz by id and samplingFreq.")
    out += matrix("int32_t", "moxMp3SampleRates", [2, 3], [[r[f"mpeg{2 - i}_hz"] for r in hertz] for i in range(2)])
    out += comment("First line of each scale-factor band, the end behind the last: of long blocks, and of one window of\n"
                   "short blocks. Row id * 3 + samplingFreq, the layout of the Sfb operations.")
    out += matrix("int16_t", "moxMp3SfbLong", [6, "MOX_MP3_LONG_BANDS + 1"],
                  [numbered(r, "s") for r in rows("mp3_sfb_long.csv")])
    out += matrix("int16_t", "moxMp3SfbShort", [6, "MOX_MP3_SHORT_BANDS + 1"],
                  [numbered(r, "s") for r in rows("mp3_sfb_short.csv")])
    return out


def sbr():
    window = [repr(float(r["c"])) for r in rows("sbr/sbr_qmf_window.csv")]
    assert len(window) == 640
    out = ["/* ---- Spectral band replication, ISO/IEC 14496-3 ----------------------------------------------------- */", ""]
    out += comment("The prototype of the QMF banks in the order and with the signs of Table 4.A.87. Rounded to float it is the\n"
                   "window of the 64-band banks, and every second value of it that of the 32-band banks.")
    return out + vector("double", "moxSbrQmfPrototype", 640, window)


deliver({"include/moxac/tables.h": lambda: HEAD + "\n" + "\n".join(aac() + mp3() + sbr()) + TAIL})
