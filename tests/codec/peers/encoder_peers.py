#!/usr/bin/env python3
"""What mox encode writes, decoded by mpg123, ffmpeg and mox: no warning, and as many samples as went in.

encoder_peers.py MOX. Leaves out what is not installed; exit code 77 (skipped) when nothing is.
"""
import array
import math
import os
import random
import shutil
import subprocess
import sys
import tempfile

from mp3_peers import MOX, write_wav

OPTIONS = [["-b", str(b), "-m", m] for b in (32, 64, 96, 128, 192, 320) for m in ("joint", "stereo", "mono")]
OPTIONS += [["-V", str(q)] for q in range(10)]

DECODERS = {
    "mpg123": lambda mp3: ["mpg123", "-s", "-e", "s16", mp3],
    "ffmpeg": lambda mp3: ["ffmpeg", "-nostats", "-hide_banner", "-v", "warning", "-i", mp3, "-f", "s16le", "-"],
    "mox": lambda mp3: [MOX, "decode", "-q", mp3, "-"],
}
COMPLAINTS = ("warn", "error", "invalid", "illegal", "missing", "overread", "resync", "big value", "overflow")


def test_signal(rate, samples):
    """Two channels: chords, clicks, silence, noise at full scale; each a quarter."""
    noise = random.Random(rate)
    values = array.array("h")
    for i in range(samples):
        part = 4 * i // samples
        x = (9000 * math.sin(0.05 * i) + 5000 * math.sin(0.21 * i),
             20000 * noise.uniform(-1, 1) * math.exp(-(i % 4000) / 100), 0, noise.choice((-32768, 32767)))[part]
        values.extend((int(x), int(x * 0.6) if part != 3 else noise.choice((-32768, 32767))))
    return values


def main():
    decoders = {name: make for name, make in DECODERS.items() if name == "mox" or shutil.which(name)}
    for name in DECODERS.keys() - decoders.keys():
        print(f"{name} is not installed, left out")
    if len(decoders) == 1:
        sys.exit(77)
    failures = count = 0
    with tempfile.TemporaryDirectory() as scratch:
        for rate, samples in ((44100, 30001), (48000, 28800), (32000, 17777)):
            wav, mp3 = os.path.join(scratch, "in.wav"), os.path.join(scratch, "out.mp3")
            write_wav(wav, rate, 2, test_signal(rate, samples))
            for options in OPTIONS:
                subprocess.run([MOX, "encode", "-q", *options, wav, mp3], check=True)
                expected = samples * (2 if "mono" in options else 4)
                for name, make in decoders.items():
                    done = subprocess.run(make(mp3), stdout=subprocess.PIPE, stderr=subprocess.PIPE)
                    got = len(done.stdout) - (44 if name == "mox" else 0)
                    text = done.stderr.decode(errors="replace").lower()
                    said = [word for word in COMPLAINTS if word in text]
                    count += 1
                    if done.returncode != 0 or got != expected or said:
                        failures += 1
                        print(f"FAILED: {rate} Hz {' '.join(options)}, {name}: {got} bytes, not {expected}; {said}\n{text}")
    print(f"{count} decodings, {failures} failures")
    sys.exit(failures != 0)


main()
