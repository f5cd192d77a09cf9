#!/usr/bin/env python3
"""Writes sbr/hybrid_tables.h, the prototypes of the hybrid analysis, from tools/tables/sbr.

usage: gen_sbr_tables.py [--check]     (--check: compare with the committed file and write nothing)
"""
import struct

from table_files import deliver, rows


def as_float(value):
    """The float nearest to value, in the fewest digits that read back as the same float."""
    single = struct.unpack("f", struct.pack("f", value))[0]
    for digits in range(1, 10):
        text = f"{single:.{digits}g}"
        if struct.unpack("f", struct.pack("f", float(text)))[0] == single:
            break
    return text if "." in text or "e" in text else text + ".0"


def hybrid_prototypes():
    """The 13 taps are symmetric: the first seven say all."""
    taps = {}
    for row in rows("sbr/ps_hybrid_filters.csv"):
        name = f"kHybrid{row['config']}Band{row['qmf_bands'].split()[0]}"
        taps.setdefault(name, []).append(float(row["g"]))
    out = ["// Made by tools/gen_sbr_tables.py from tools/tables/sbr/ps_hybrid_filters.csv; not edited by hand.",
           "// The 13-tap prototypes of the hybrid analysis, g[0..6]; g[12 - n] = g[n]. ISO/IEC 14496-3, 8.6.4.3.",
           "#pragma once", "", "namespace moxac::sbr {", "", "// clang-format off"]
    for name, g in taps.items():
        assert len(g) == 13 and g == g[::-1]
        out.append(f"inline constexpr float {name}[7] = {{{', '.join(as_float(v) + 'f' for v in g[:7])}}};")
    return "\n".join(out + ["// clang-format on", "", "}  // namespace moxac::sbr", ""])


deliver({"sbr/hybrid_tables.h": hybrid_prototypes})
