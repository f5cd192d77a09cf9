#!/usr/bin/env python3
"""Writes codec/sbr/tables.cpp, the program's SBR tables, from tools/tables/sbr.

usage: gen_codec_sbr_tables.py [--check]     (--check: compare with the committed file and write nothing)
"""
from table_files import deliver, difference_tree, rows, wrapped


def tables():
    out = ["// Made by tools/gen_codec_sbr_tables.py from tools/tables/sbr; do not edit.", "// clang-format off",
           '#include "codec/sbr/tables.h"', "", "namespace moxc::sbr {", "namespace {", ""]
    books, names = {}, {}
    for row in rows("sbr/sbr_huffman.csv"):
        books.setdefault(row["book"], []).append(row)
    for book, codes in books.items():
        names[book] = "k" + "".join(part[0].upper() + part[1:] for part in book.replace("dB", "").split("_"))
        out += [f"constexpr DifferenceCodeNode {names[book]}[] = {{"] + wrapped(difference_tree(codes)) + ["};", ""]
    out += ["}  // namespace", "", "const DifferenceCodeNode* const kEnvelopeCodes[2][2][2] = {"]
    for kind in ("env", "env_bal"):
        pairs = [f"{{{names[f'f_huffman_{kind}_{step}']}, {names[f't_huffman_{kind}_{step}']}}}"
                 for step in ("1_5dB", "3_0dB")]
        out.append("    {" + ", ".join(pairs) + "},")
    out += ["};", "", "const DifferenceCodeNode* const kNoiseCodes[2][2] = {"]
    for kind in ("", "bal_"):
        out.append(f"    {{{names[f'f_huffman_env_{kind}3_0dB']}, {names[f't_huffman_noise_{kind}3_0dB']}}},")
    out += ["};", "", "const Rate kRates[9] = {"]
    for row in rows("sbr/sbr_limits.csv"):
        k0, k2 = (", ".join(row[f"{key}_{i}"] for i in range(count)) for key, count in (("k0", 16), ("k2", 14)))
        out += [f"    {{{row['fs_sbr_hz']}, {row['goal_sb']}, {row['max_subbands']},", f"     {{{k0}}},", f"     {{{k2}}}}},"]
    out += ["};", ""]
    constants = rows("sbr/sbr_constants.csv")
    for name, key in (("kChirps", "chirp_new_bw"), ("kLimiterGains", "limiter_gain"),
                      ("kSmoothing", "h_smooth")):
        values = [f"{float(row['value'])!r}f" for row in constants if row["name"] == key]
        out += [f"const float {name}[{len(values)}] = {{{', '.join(values)}}};", ""]
    noise = [f"{{{float(row['re'])!r}f, {float(row['im'])!r}f}}" for row in rows("sbr/sbr_noise_table.csv")]
    assert len(noise) == 512
    out += ["const Mox32fc kNoiseVectors[512] = {"] + wrapped(noise) + ["};", ""]
    return "\n".join(out + ["}  // namespace moxc::sbr"]) + "\n"


deliver({"codec/sbr/tables.cpp": tables})
