#!/usr/bin/env python3
"""mox decode beside installed MP3 decoders, and gapless trimming of what lame encodes.

compare_peers.py MOX SOURCE_DIR. Runs mpg123, ffmpeg and lame as programs where they are installed; says what it
leaves out; exit code 77 (skipped) when none is there.
"""
import array
import math
import os
import random
import shutil
import struct
import subprocess
import sys
import tempfile

MOX, SOURCE = sys.argv[1], sys.argv[2]
STREAMS = os.path.join(SOURCE, "tests", "data", "streams")
# Where ffmpeg is known to differ from the standard: mixed blocks, long blocks at 24 kHz, some MPEG-2 intensity
# bands; it reads no free format.
FFMPEG_DIFFERS = ("24000", "random_mixed", "22050_intensity", "freeformat")

failures = []


def check(condition, text):
    if not condition:
        failures.append(text)
        print("FAILED:", text)


def run(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout


def mox(stream, *options):
    """(channels, samples) as mox decodes them."""
    wav = run(MOX, "decode", "--quiet", *options, stream, "-")
    channels = struct.unpack_from("<H", wav, 22)[0]
    data = wav.index(b"data") + 8
    return channels, array.array("f" if "--float" in options else "h", wav[data:])


def mpg123(stream, encoding, gapless):
    raw = run("mpg123", "-q", "-s", "-e", encoding, "--gapless" if gapless else "--no-gapless", stream)
    return array.array("f" if encoding == "f32" else "h", raw)


def ffmpeg(stream):
    return array.array("f", run("ffmpeg", "-v", "error", "-i", stream, "-f", "f32le", "-"))


def compare(name, got16, got_float, want):
    """16-bit output against a peer's float output: within 1 LSB of it after rounding; float within 2^-18 rms."""
    check(len(got16) == len(want) == len(got_float),
          f"{name}: {len(got16)} and {len(got_float)} values, not {len(want)}")
    rounded = [min(32767, max(-32768, math.floor(x * 32768 + 0.5))) for x in want]
    largest = max((abs(a - b) for a, b in zip(got16, rounded)), default=0)
    rms = math.sqrt(sum((a - b) ** 2 for a, b in zip(got_float, want)) / max(1, len(want)))
    print(f"  {name:44s} 16-bit: max {largest} LSB; float: rms 2^{math.log2(max(rms, 1e-30)):.1f}")
    check(largest <= 1, f"{name}: differs by {largest} LSB")
    check(rms < 2.0 ** -18, f"{name}: float rms {rms}")


def test_signal(rate, channels, seconds):
    """Tones, a decaying click every third of a second, a little noise; 16-bit."""
    noise = random.Random(rate)
    samples = array.array("h")
    for i in range(int(rate * seconds)):
        since_click = i % (rate // 3)
        click = math.exp(-since_click / (0.004 * rate)) * math.sin(0.9 * since_click) * 12000
        for ch in range(channels):
            tone = 6000 * math.sin(2 * math.pi * (300 + 120 * ch) * i / rate)
            samples.append(int(tone + click + noise.uniform(-300, 300)))
    return samples


def write_wav(path, rate, channels, samples):
    data = samples.tobytes()
    with open(path, "wb") as file:
        file.write(b"RIFF" + struct.pack("<I", 36 + len(data)) + b"WAVEfmt " +
                   struct.pack("<IHHIIHH", 16, 1, channels, rate, rate * channels * 2, channels * 2, 16) +
                   b"data" + struct.pack("<I", len(data)) + data)


def gapless(scratch, have_mpg123):
    """What lame encodes comes back with the length it had; every rate, constant, average and variable."""
    cases = [(44100, 2, ["-b", "128"]), (44100, 2, ["-V", "2"]), (48000, 2, ["-b", "64", "-m", "j"]),
             (32000, 1, ["-b", "96", "-p"]), (22050, 2, ["--abr", "80"]), (24000, 1, ["-V", "4"]),
             (16000, 2, ["-b", "64"]), (11025, 1, ["-b", "40"]), (12000, 2, ["-b", "48"]),
             (8000, 1, ["-b", "40"]), (8000, 2, ["-b", "40", "-m", "s"])]
    # In these lame finds no room for the frame that tells delay and padding.
    bare = [(44100, 2, ["--freeformat", "-b", "410"]), (11025, 1, ["-b", "16"]), (8000, 1, ["-b", "16"])]
    for rate, channels, options in cases + bare:
        wav, mp3 = os.path.join(scratch, "in.wav"), os.path.join(scratch, "in.mp3")
        samples = test_signal(rate, channels, 1.7)
        write_wav(wav, rate, channels, samples)
        run("lame", "--quiet", *options, "--resample", str(rate / 1000), "--add-id3v2", "--tt", "title", wav, mp3)
        name = f"lame {rate} Hz {' '.join(options)}"
        if (rate, channels, options) in cases:
            got = mox(mp3)[1]
            check(len(got) == len(samples), f"{name}: {len(got)} values of {len(samples)} came back")
        if have_mpg123:
            compare(name, mox(mp3, "--raw")[1], mox(mp3, "--raw", "--float")[1], mpg123(mp3, "f32", False))


def main():
    have = {name: shutil.which(name) is not None for name in ("mpg123", "ffmpeg", "lame")}
    for name, found in have.items():
        if not found:
            print(f"SKIPPED: {name} is not installed")
    if not any(have.values()):
        return 77

    for entry in sorted(os.listdir(STREAMS)):
        if not entry.endswith(".mp3"):
            continue
        stream = os.path.join(STREAMS, entry)
        got16, got_float = mox(stream, "--raw")[1], mox(stream, "--raw", "--float")[1]
        if have["mpg123"]:
            compare(f"mpg123 {entry}", got16, got_float, mpg123(stream, "f32", False))
        if have["ffmpeg"] and not any(part in entry for part in FFMPEG_DIFFERS):
            compare(f"ffmpeg {entry}", got16, got_float, ffmpeg(stream))
    if have["lame"]:
        with tempfile.TemporaryDirectory() as scratch:
            gapless(scratch, have["mpg123"])
    print("all within bounds" if not failures else f"{len(failures)} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
