#!/usr/bin/env python3
"""Checks one example: check.py NAME DIRECTORY_OF_PROGRAMS SOURCE_DIRECTORY, or check.py pages - SOURCE_DIRECTORY

Decoders are compared with the bundled references, the encoder by decoding what it wrote; programs without arguments
check themselves. `pages` looks at the sources: their length, and that every family of the library appears in one."""
import array
import cmath
import math
import random
import re
import subprocess
import sys
import tempfile
import wave
from pathlib import Path

name, programs, source = sys.argv[1], Path(sys.argv[2]), Path(sys.argv[3])
sys.path.insert(0, str(source / "tools"))
from compare_wav import read_wav  # noqa: E402

streams = source / "tests/data/streams"
DECODED = {
    "mp3_decode": ["mp3_44100_joint128_short.mp3", "mp3_22050_intensity48.mp3", "mp3_44100_random_mixed.mp3",
                   "mp3_24000_random_mixed.mp3", "mp3_32000_mono64_crc.mp3", "mp3_48000_random_intensity.mp3"],
    "aac_decode": ["aac_44100_stereo128.aac", "aac_44100_short_crc.aac", "aac_44100_random_lc.aac",
                   "aac_48000_mono64_tns.aac", "aac_96000_stereo160.aac"],
}
FAMILIES = ["moxsUnpack.*_AAC", "moxsDecode.*Elt_AAC", "moxsNoiseless", "moxsQuantInv_AAC", "moxsDecodeMsStereo",
            "moxsDecodePNS", "moxsDecodeTNS", "moxsMDCTInv_AAC", "moxsFDP", "moxsLongTerm", "moxsUnpackSideInfo_MP3",
            "moxsHuffmanDecode", "moxsReQuantize", "moxsMDCTInv_MP3", "moxsSynthPQMF", "moxsPsycho", "moxsJoint",
            "moxsQuantize_MP3", "moxsPack", "moxsMDCTFwd_32f", "_DTS_", "moxsAnalysisFilter_SBR",
            "moxsSynthesisFilter_SBR", "SBRHQ", "moxsPredictCoef", "moxsDetectTransient",
            "moxsAnalysisFilter_PS", "moxsVLCDecode",
            "moxsVLCEncode", "moxsVLCCount", "moxsCalcSF", "moxsFIRBlock", "moxsVQIndexSelect"]


def run(program, *arguments):
    done = subprocess.run([programs / f"example_{program}", *arguments], capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(f"{program} ends with {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


def expect(condition, what):
    if not condition:
        sys.exit(f"{name}: {what}")


def decoders(scratch):
    for stream in DECODED[name]:
        run(name, streams / stream, scratch / "out.wav")
        rate, channels, samples = read_wav(scratch / "out.wav")
        want_rate, want_channels, want = read_wav((streams / stream).with_suffix(".ref.wav"))
        expect((rate, channels, len(samples)) == (want_rate, want_channels, len(want)), f"{stream}: another format")
        worst = max(abs(a - b) for a, b in zip(samples, want))
        expect(worst <= 1, f"{stream}: off by {worst}")


def players(scratch):
    """Plain samples on standard output, from a file or from standard input."""
    for stream in ["mp3_44100_joint128_short.mp3", "aac_48000_mono64_tns.aac", "aac_48000_51_320.aac"]:
        arguments = [streams / stream] if name == "play_file" else []
        with open(streams / stream, "rb") as source_file:
            done = subprocess.run([programs / f"example_{name}", *arguments], stdin=source_file, capture_output=True)
        expect(done.returncode == 0, f"{stream}: ends with {done.returncode} {done.stderr}")
        _, _, want = read_wav((streams / stream).with_suffix(".ref.wav"))
        got = array.array("h", done.stdout)
        expect(len(got) == len(want), f"{stream}: {len(got)} samples for {len(want)}")
        expect(max(abs(a - b) for a, b in zip(got, want)) <= 1, f"{stream}: other samples")


def mp3_encode(scratch):
    original = streams / "aac_44100_ltp.ref.wav"
    run(name, original, scratch / "out.mp3")
    run("mp3_decode", scratch / "out.mp3", scratch / "out.wav")
    rate, channels, want = read_wav(original)
    got_rate, got_channels, got = read_wav(scratch / "out.wav")
    delay = (481 + 576) * channels  # both polyphase banks, and the hybrid ones
    expect((got_rate, got_channels) == (rate, channels) and len(got) >= len(want) + delay, "the decoder got less")
    expect(abs((scratch / "out.mp3").stat().st_size - len(got) / channels / rate * 16000) < 2, "not 128 kbit/s")
    error = sum((a - b) ** 2 for a, b in zip(want, got[delay:]))
    expect(error * 20 < sum(a * a for a in want), "the signal-to-noise ratio is below 13 dB")


def aac_spectrum(scratch):
    stream = streams / "aac_48000_mono64_tns.aac"
    text = run(name, stream)
    rows = re.findall(r"^ *\d+ [-/S\\] .{64}$", text, re.M)
    _, _, samples = read_wav(stream.with_suffix(".ref.wav"))
    expect(len(rows) == len(samples) // 1024, "a row for every frame")
    # The strongest of 64 columns, from the decoded samples: a plain Fourier sum at the columns' middles.
    energy = [0.0] * 64
    for start in range(0, len(samples) - 128, 512):
        for column in range(64):
            turn = cmath.exp(-1j * cmath.pi * (column + 0.5) / 64)
            value = 0
            for sample in samples[start : start + 128]:
                value = value * turn + sample
            energy[column] += abs(value) ** 2
    told = int(re.search(r"most energy in column (\d+)", text)[1])
    expect(abs(told - energy.index(max(energy))) <= 1, f"column {told}, the samples say {energy.index(max(energy))}")
    run(name, streams / "aac_44100_pns32.aac")  # which substitutes noise


def sbr_encoder_tools(scratch):
    noise, attacks = random.Random(1), [20000, 41000, 61000]
    samples = array.array("h")
    for n in range(80000):
        v = 0.02 * (math.sin(0.031 * n) + math.sin(0.11 * n) + math.sin(1.7 * n))
        v += sum(0.3 * math.exp((at - n) / 800) * noise.uniform(-1, 1) for at in attacks if n >= at)
        samples.append(round(32767 * v))
    with wave.open(str(scratch / "attacks.wav"), "wb") as file:
        file.setparams((1, 2, 44100, 0, "NONE", ""))
        file.writeframes(samples.tobytes())
    rows = re.findall(r"^ *(-?\d+)  \|(.{16})\|    \|(.{16})\|(?:    ([\d.]+) octaves)?$",
                      run(name, scratch / "attacks.wav"), re.M)
    slots = [int(slot) for slot, _, _, octaves in rows if octaves]
    expect(len(slots) == 4 and slots[0] < 3, f"an onset and three attacks, not {slots}")  # of 64 samples
    expect(all(abs(slot - at // 64) <= 1 for slot, at in zip(slots[1:], attacks)), f"attacks in slots {slots}")
    calm = [(energy, tone) for slot, energy, tone, _ in rows if 100 < int(slot) < 250]
    expect(all(tone[0] == tone[8] == "@" for _, tone in calm), "the chord is tonal in two groups of bands")
    expect(all(energy.replace(" ", "")[1:] and energy[4] == " " for energy, _ in calm), "and silent elsewhere")


def pages(scratch):
    texts = {path.name: path.read_text() for pattern in ("*.c", "*.cpp") for path in (source / "examples").glob(pattern)}
    for page, text in texts.items():
        expect(text.count("\n") <= 120, f"{page} has more than 120 lines")
    for pattern in FAMILIES:
        expect(any(re.search(pattern, text) for text in texts.values()), f"no example calls {pattern}")


with tempfile.TemporaryDirectory() as directory:
    special = {"play_file": players, "push_stream": players, "mp3_encode": mp3_encode, "aac_spectrum": aac_spectrum,
               "sbr_encoder_tools": sbr_encoder_tools, "pages": pages}
    check = decoders if name in DECODED else special.get(name, lambda scratch: print(run(name), end=""))
    check(Path(directory))
