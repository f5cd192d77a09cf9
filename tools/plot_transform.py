#!/usr/bin/python3
"""Table and plot of the transforms' speed from a Google Benchmark result.

usage: build/bench_transform --benchmark_repetitions=60 --benchmark_min_time=0.01 \
           --benchmark_enable_random_interleaving=true --benchmark_out=transform.json
       tools/plot_transform.py transform.json      (needs python3-matplotlib)

Writes docs/performance/transform.md and docs/performance/transform.png.
"""
import json
import pathlib
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt

TITLES = {"fft": "Complex FFT, out of place", "mdct": "Forward MDCT", "imdct": "Inverse MDCT, all N outputs"}
OURS = "moxac"


def fastest(path):
    """{family: {size: {who: (ns, flops)}}} and the peaks, of the repetition with the least CPU time."""
    results, peaks = {}, {}
    for run in json.load(open(path))["benchmarks"]:
        if run["run_type"] != "iteration" or run.get("error_occurred"):
            continue
        family, *rest = run["run_name"].split("/")
        if family == "peak":
            peaks[rest[0]] = max(peaks.get(rest[0], 0), run["flops"])
        else:
            row = results.setdefault(family, {}).setdefault(int(rest[0]), {})
            row[rest[1]] = min(row.get(rest[1], (float("inf"),)), (run["cpu_time"], run["flops"]))
    return results, peaks


def time_text(ns):
    return f"{ns:.1f} ns" if ns < 1000 else f"{ns / 1000:.2f} us" if ns < 1e6 else f"{ns / 1e6:.2f} ms"


def table(family, sizes, peak):
    peers = sorted({who for row in sizes.values() for who in row} - {OURS})
    head = ["N", OURS, "GFLOP/s", "of peak"] + [f"{p}, times as long" for p in peers]
    lines = [f"## {TITLES[family]}", "", "| " + " | ".join(head) + " |", "|" + "---:|" * len(head)]
    for size in sorted(sizes):
        row = sizes[size]
        if OURS not in row:
            continue
        ns, flops = row[OURS]
        cells = [str(size), time_text(ns), f"{flops / 1e9:.1f}", f"{100 * flops / peak:.0f} %"]
        cells += [f"{time_text(row[p][0])}, {row[p][0] / ns:.2f}" if p in row else "" for p in peers]
        lines.append("| " + " | ".join(cells) + " |")
    return lines + [""]


def main(path):
    results, peaks = fastest(path)
    folder = pathlib.Path(__file__).parents[1] / "docs" / "performance"
    folder.mkdir(parents=True, exist_ok=True)
    peak = peaks["add_multiply"]
    families = [f for f in TITLES if f in results]

    text = [
        "# Speed of the transforms", "",
        "Least CPU time of 60 repetitions in random order on one core, written by `tools/plot_transform.py`",
        "from a run of `bench_transform`. The FFT counts as 5 N log2 N operations; the MDCT as the FFT of N/4",
        "points inside, two rotations and the folding. Beside each peer's time stands how many times as long it",
        "takes as moxac. FFTW runs measured plans (patiently measured ones to 8192 points; they chose its AVX",
        "kernels), for the MDCT with plain loops around its N/4 points; \"FFmpeg mdct\" is the older family with",
        "kernels in assembly, whose inverse writes all N outputs too.", "",
        f"Measured at most: additions {peaks['add'] / 1e9:.0f} GFLOP/s, additions and products mixed "
        f"{peak / 1e9:.0f} GFLOP/s (the peak below).", "", "![GFLOP/s by size](transform.png)", ""]
    for family in families:
        text += table(family, results[family], peak)
    (folder / "transform.md").write_text("\n".join(text).rstrip() + "\n")

    figure, axes = plt.subplots(1, len(families), figsize=(6 * len(families), 4.5), squeeze=False)
    for axis, family in zip(axes[0], families):
        sizes = results[family]
        for who in [OURS] + sorted({w for row in sizes.values() for w in row} - {OURS}):
            points = [(n, sizes[n][who][1] / 1e9) for n in sorted(sizes) if who in sizes[n]]
            axis.plot(*zip(*points), marker="o", markersize=3, linewidth=2.2 if who == OURS else 1.2, label=who)
        axis.set(title=TITLES[family], xlabel="N", ylabel="GFLOP/s", xscale="log", ylim=(0, None))
        axis.set_xscale("log", base=2)
        axis.grid(alpha=0.3)
        axis.legend()
    figure.tight_layout()
    figure.savefig(folder / "transform.png", dpi=110)


if __name__ == "__main__":
    main(sys.argv[1])
