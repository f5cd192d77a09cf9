#!/usr/bin/env python3
"""What lame encodes, decoded by mox: as long as it was, and equal to what mpg123 makes of it.

mp3_peers.py MOX. Needs lame, and mpg123 for the values; exit code 77 (skipped) without lame. The bundled streams
have references by other decoders, which the unit tests compare.
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

MOX = sys.argv[1]
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


def mpg123(stream, gapless):
    return array.array("f", run("mpg123", "-q", "-s", "-e", "f32", "--gapless" if gapless else "--no-gapless", stream))


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
            for options in ([], ["--raw"]):
                compare(" ".join([name, *options]), mox(mp3, *options)[1], mox(mp3, *options, "--float")[1],
                        mpg123(mp3, not options))


def main():
    if shutil.which("lame") is None:
        print("SKIPPED: lame is not installed")
        return 77
    have_mpg123 = shutil.which("mpg123") is not None
    if not have_mpg123:
        print("mpg123 is not installed: left out")
    with tempfile.TemporaryDirectory() as scratch:
        gapless(scratch, have_mpg123)
    print("all within bounds" if not failures else f"{len(failures)} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
