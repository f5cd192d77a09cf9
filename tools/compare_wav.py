#!/usr/bin/env python3
"""Compares two 16-bit WAV files: compare_wav.py DECODED REFERENCE [MAX_LSB]

Prints format, length, and the largest and the rms difference in units of the last place (LSB). Exit code 1
when the files differ in format or length, or by more than MAX_LSB (1 by default) anywhere. The reference may be
shorter by up to 2048 samples at one end.
"""
import array
import struct
import sys


def read_wav(path):
    """(rate, channels, samples) of a 16-bit WAV file, plain or extensible."""
    with open(path, "rb") as file:
        data = file.read()
    if data[:4] != b"RIFF" or data[8:12] != b"WAVE":
        sys.exit(f"{path}: no WAV file")
    rate = channels = 0
    at = 12
    while at + 8 <= len(data):
        name, size = struct.unpack_from("<4sI", data, at)
        if name == b"fmt ":
            channels, rate = struct.unpack_from("<HI", data, at + 10)
            if struct.unpack_from("<H", data, at + 22)[0] != 16:
                sys.exit(f"{path}: not 16-bit")
        elif name == b"data":
            samples = array.array("h", data[at + 8 : at + 8 + size // 2 * 2])
            if sys.byteorder == "big":
                samples.byteswap()
            return rate, channels, samples
        at += 8 + size + size % 2
    sys.exit(f"{path}: no samples")


def differences(decoded, reference):
    return [abs(a - b) for a, b in zip(decoded, reference)]


def main():
    decoded, reference = read_wav(sys.argv[1]), read_wav(sys.argv[2])
    limit = float(sys.argv[3]) if len(sys.argv) > 3 else 1
    rate, channels, samples = decoded
    # Some decoders leave out the first or the last block.
    extra = len(samples) - len(reference[2])
    if decoded[:2] != reference[:2] or not 0 <= extra <= 2048 * channels:
        print(f"differs in format or length: {decoded[:2]}, {len(samples)} values;"
              f" wanted {reference[:2]}, {len(reference[2])}")
        return 1
    found = min((differences(samples[start:], reference[2]) for start in {0, extra}), key=sum)
    largest = max(found, default=0)
    rms = (sum(d * d for d in found) / max(1, len(found))) ** 0.5
    print(f"{rate:6d} Hz, {channels} channel{'s' if channels != 1 else ' '}, {len(samples) // channels / rate:6.3f} s:"
          f" differs by at most {largest} LSB, rms {rms:.4f} LSB"
          + (f"; the reference lacks {extra // channels} samples" if extra else ""))
    return 0 if largest <= limit else 1


if __name__ == "__main__":
    sys.exit(main())
