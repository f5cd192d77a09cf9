#!/usr/bin/env python3
"""Makes source files from the SBR tables in tools/tables/sbr.

usage: gen_sbr_tables.py [--check]     (--check: compare with the committed files and write nothing)

examples/qmf_prototype.h    the QMF prototype, for programs that need to pass a window
sbr/hybrid_tables.h         the prototypes of the hybrid analysis
sbr/qmf_window_tables.h     the QMF prototype in double precision, for the banks that hold their own window
"""
import struct

from table_files import deliver, rows


def prototype():
    return [float(row["c"]) for row in rows("sbr/sbr_qmf_window.csv")]


def as_float(value):
    """The float nearest to value, in the fewest digits that read back as the same float."""
    single = struct.unpack("f", struct.pack("f", value))[0]
    for digits in range(1, 10):
        text = f"{single:.{digits}g}"
        if struct.unpack("f", struct.pack("f", float(text)))[0] == single:
            break
    return text if "." in text or "e" in text else text + ".0"


def floats(values, per_line):
    lines = [", ".join(as_float(v) + "f" for v in values[i:i + per_line]) for i in range(0, len(values), per_line)]
    return ",\n    ".join(lines)


def prototype_header():
    c = prototype()
    return f"""/* The prototype of the SBR filter banks, c[0..639] in the order and with the signs of ISO/IEC 14496-3
 * (Table 4.A.87). The 64-band bank takes it as it is, the 32-band banks every second value.
 * Made by tools/gen_sbr_tables.py; do not edit. */
/* clang-format off */
static const float kQmfPrototype[640] = {{
    {floats(c, 8)}}};
"""


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


def qmf_window():
    c = prototype()
    text = ",\n    ".join(", ".join(repr(v) for v in c[i:i + 4]) for i in range(0, len(c), 4))
    return f"""// Made by tools/gen_sbr_tables.py from tools/tables/sbr/sbr_qmf_window.csv; not edited by hand.
// The prototype of the QMF banks, c[0..639] in the order and with the signs of ISO/IEC 14496-3, Table 4.A.87.
#pragma once

namespace moxac::sbr {{

// clang-format off
inline constexpr double kQmfPrototype[640] = {{
    {text}}};
// clang-format on

}}  // namespace moxac::sbr
"""


OUTPUTS = {"examples/qmf_prototype.h": prototype_header, "sbr/hybrid_tables.h": hybrid_prototypes,
           "sbr/qmf_window_tables.h": qmf_window}


deliver(OUTPUTS)
