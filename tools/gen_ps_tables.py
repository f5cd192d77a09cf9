#!/usr/bin/env python3
"""Writes codec/ps/tables.h and .cpp, the constants of parametric stereo, from tools/tables/sbr/ps_*.csv.

usage: gen_ps_tables.py [--check]     (--check: compare with the committed files and write nothing)
"""
from table_files import deliver, difference_tree, rows, wrapped

MADE = "// Made by tools/gen_ps_tables.py from tools/tables/sbr; do not edit."


def camel(name):
    return "".join(part[0].upper() + part[1:] for part in name.split("_"))


def tree(name, codes):
    nodes = difference_tree(codes)
    return [f"const DifferenceCodeNode k{camel(name)}[{len(nodes)}] = {{"] + wrapped(nodes) + ["};", ""]


def books():
    found = {}
    for row in rows("sbr/ps_huffman.csv"):
        found.setdefault(row["book"], []).append(row)
    return found


# Constants that come in one kind, by the name in the table; what they are, for a reader.
DOUBLES = {"allpass_coef": "coefficient of each all-pass link",
           "allpass_fraction": "fractional delay of each link",
           "fraction_phi": "and of the delay in front of the links",
           "decay_slope": "by which the links' coefficients shrink a band, above the cutoff",
           "transient_peak_decay": "of the peak power, a slot",
           "transient_smooth": "of the powers",
           "transient_impact": "",
           "phase_smooth_previous": "weight of the phasor one envelope ago",
           "phase_smooth_before_previous": "and two envelopes ago",
           "mix_b_rho_min": "the least coherence in mixing procedure B"}
INTEGERS = {"allpass_delay": "slots", "base_delay": "slots; in front of the links",
            "long_delay": "slots; from allpass_bands on", "short_delay": "slots; from short_delay_band on",
            "hybrid_delay": "slots", "nr_iid_par": "by iid_mode", "nr_icc_par": "by icc_mode",
            "nr_ipdopd_par": "by iid_mode", "border_bits": "",
            "num_env_fixed": "by num_env_idx", "num_env_variable": "by num_env_idx"}
# What the hybrid filter bank's configurations differ in: the field's name, and what it counts.
CONFIGURED = {"decay_cutoff": ("decayCutoff", "the all-pass links' coefficients shrink above this band"),
              "allpass_bands": ("allpassBands", "all-pass links below, delays from here on"),
              "short_delay_band": ("shortDelayBand", "from here on the short delay"),
              "hybrid_bands": ("hybridBands", "in all"),
              "hybrid_subbands": ("splitBands", "of these, parts of QMF bands"),
              "param_bands": ("stereoBands", ""),
              "ipd_opd_bands": ("phaseBands", "of these, with phases")}


def header():
    constants = {}
    for row in rows("sbr/ps_constants.csv"):
        constants.setdefault(row["name"], []).append(row["value"])
    assert sorted(constants) == sorted([*DOUBLES, *INTEGERS, *CONFIGURED])
    quant = {}
    for row in rows("sbr/ps_quant.csv"):
        quant.setdefault(row["table"], []).append(row)

    out = [MADE, "// The constants of parametric stereo. ISO/IEC 14496-3, 8.6.4.", "// clang-format off",
           "#pragma once", "", "#include <cstdint>", "", '#include "codec/io/difference_code.h"', "", "namespace moxc::ps {", ""]

    def constant(kind, name, values, comment):
        text = f"inline constexpr {kind} {name}"
        array = f"{text}[{len(values)}] = {{"
        line = f"{text} = {values[0]};" if len(values) == 1 else f"{array}{', '.join(values)}}};"
        if len(line) + 4 + len(comment) <= 110:
            out.append(f"{line}  // {comment}" if comment else line)
        else:
            out.append(f"// {comment}")
            out.extend([line] if len(line) <= 110 else [array] + wrapped(values) + ["};"])

    for name, comment in INTEGERS.items():
        constant("int32_t", f"k{camel(name)}", constants[name], comment)
    for name, comment in DOUBLES.items():
        constant("double", f"k{camel(name)}", constants[name], comment)

    out += ["", "// What the two configurations of the hybrid filter bank differ in.",
            "struct Configuration {"]
    out += [f"  int32_t {name};  // {what}".removesuffix("  // ") for name, what in CONFIGURED.values()]
    out += ["};"]
    for at, bands in enumerate([20, 34]):
        values = ", ".join(constants[name][at] for name in CONFIGURED)
        out.append(f"inline constexpr Configuration kConfiguration{bands} = {{{values}}};")

    out += ["", "// The hybrid bands in their order: the QMF band each is part of, its stereo band, whether it",
            "// lies at negative frequencies, where phases turn the other way, and its centre in QMF bands.",
            "struct HybridBand {", "  int8_t qmfBand, stereoBand;", "  bool conjugate;", "  double centre;",
            "};"]
    bands = rows("sbr/ps_hybrid_bands.csv")
    for config in (20, 34):
        part = [row for row in bands if row["config"] == str(config)]
        assert [int(row["k"]) for row in part] == list(range(len(part)))
        out.append(f"extern const HybridBand kHybridBands{config}[{len(part)}];")

    out += ["", "// Terms of the conversions between numbers of stereo bands: out = sum of weight * in / divisor.",
            "struct MapTerm {", "  int8_t out, in, weight, divisor;", "};"]
    for name, terms in maps().items():
        out.append(f"extern const MapTerm k{name}[{len(terms)}];")

    out.append("")
    for name, table in (("IidCoarse", "iid_coarse"), ("IidFine", "iid_fine")):
        first = int(quant[table][0]["index"])
        assert len(quant[table]) == 1 - 2 * first
        values = [row["db"] for row in quant[table]]
        constant("int32_t", f"k{name}", values, f"level difference in dB, from {first} on")
    constant("double", "kIcc", [row["value"] for row in quant["icc"]], "coherence by index")

    out.append("")
    for name, codes in books().items():
        out.append(f"extern const DifferenceCodeNode k{camel(name)}[{len(codes) - 1}];")
    return "\n".join(out + ["", "}  // namespace moxc::ps", ""])


def maps():
    found = {}
    for row in rows("sbr/ps_band_maps.csv"):
        name = row["map"].replace("to", "To")
        term = ", ".join(row[key] for key in ("out_band", "in_band", "weight", "divisor"))
        found.setdefault(name, []).append(f"{{{term}}}")
    return found


def source():
    out = [MADE, "// clang-format off", '#include "codec/ps/tables.h"', "", "namespace moxc::ps {", ""]
    bands = rows("sbr/ps_hybrid_bands.csv")
    for config in (20, 34):
        truth = {"0": "false", "1": "true"}
        part = [row for row in bands if row["config"] == str(config)]
        cells = [f"{{{row['qmf_band']}, {row['param_band']}, {truth[row['conjugate_ipd']]}, {row['f_center']}}}"
                 for row in part]
        out += [f"const HybridBand kHybridBands{config}[{len(cells)}] = {{"] + wrapped(cells) + ["};", ""]
    for name, terms in maps().items():
        out += [f"const MapTerm k{name}[{len(terms)}] = {{"] + wrapped(terms) + ["};", ""]
    for name, codes in books().items():
        out += tree(name, codes)
    return "\n".join(out + ["}  // namespace moxc::ps", ""])


FILES = {"codec/ps/tables.h": header, "codec/ps/tables.cpp": source}


deliver(FILES)
