#!/usr/bin/env python3
"""mox decode beside installed AAC decoders: what ffmpeg encodes at every rate, with random high bands, in MP4 files.

aac_peers.py MOX SOURCE_DIR. Needs ffmpeg, and faad for a second opinion; exit code 77 (skipped) without
ffmpeg. The bundled streams have references by these decoders, which the unit tests compare.
"""
import array
import os
import shutil
import subprocess
import sys
import tempfile

import mp3_peers as peers
import sbr_writer

RATES = (96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000)


def faad(stream, scratch):
    """Float samples; the first frame is missing."""
    raw = os.path.join(scratch, "faad.raw")
    peers.run("faad", "-q", "-b", "4", "-f", "2", "-o", raw, stream)
    with open(raw, "rb") as file:
        return array.array("f", file.read())


def compare(name, stream, rate, scratch, have_faad):
    channels, got16 = peers.mox(stream)
    got_float = peers.mox(stream, "--float")[1]
    want = array.array("f", peers.run("ffmpeg", "-v", "error", "-i", stream, "-f", "f32le", "-"))
    peers.compare(f"ffmpeg {name}", got16, got_float, want)
    # faad makes two channels of one, twice the rate of low ones, and another order of more than two channels.
    if have_faad and channels == 2 and rate >= 32000:
        first = 1024 * channels
        peers.compare(f"faad {name}", got16[first:], got_float[first:], faad(stream, scratch))


def compare_high_band(core, rate, channels, seed, scratch):
    """A core below a high band that draws all of the syntax at random. ffmpeg makes two equal channels of one."""
    stream = os.path.join(scratch, "high.aac")
    with open(core, "rb") as source, open(stream, "wb") as target:
        target.write(sbr_writer.add_high_band(source.read(), seed))
    want = array.array("f", peers.run("ffmpeg", "-v", "error", "-i", stream, "-f", "f32le", "-"))
    peers.compare(f"ffmpeg {rate} Hz doubled, {channels} channels, seed {seed}", peers.mox(stream)[1],
                  peers.mox(stream, "--float")[1], want if channels == 2 else want[::2])


def compare_mp4(entry, scratch):
    """The same blocks in an MP4 file; the delay that ffmpeg writes down when it encodes is cut off."""
    stream, mp4 = os.path.join(sys.argv[2], "tests/data/streams", entry), os.path.join(scratch, "in.m4a")
    peers.run("ffmpeg", "-v", "error", "-y", "-i", stream, "-c", "copy", mp4)
    try:
        peers.check(peers.mox(mp4, "--raw") == peers.mox(stream), f"{entry} in MP4 differs")
    except subprocess.CalledProcessError:
        print("mox was built without MP4: left out")
        return
    wav = os.path.join(scratch, "in.wav")
    samples = peers.test_signal(44100, 2, 0.5)
    peers.write_wav(wav, 44100, 2, samples)
    peers.run("ffmpeg", "-v", "error", "-y", "-i", wav, "-c:a", "aac", mp4)
    got = len(peers.mox(mp4)[1])
    peers.check(len(samples) <= got < len(samples) + 2048, f"{got} values of {len(samples)} came back from MP4")


def main():
    if shutil.which("ffmpeg") is None:
        print("SKIPPED: ffmpeg is not installed")
        return 77
    have_faad = shutil.which("faad") is not None
    if not have_faad:
        print("faad is not installed: left out")
    with tempfile.TemporaryDirectory() as scratch:
        compare_mp4("aac_48000_51_320.aac", scratch)
        compare_mp4("heaac_44100_stereo48.aac", scratch)
        for rate, channels in zip(RATES, (2, 1, 6) * 4):
            wav, aac = os.path.join(scratch, "in.wav"), os.path.join(scratch, "in.aac")
            peers.write_wav(wav, rate, channels, peers.test_signal(rate, channels, 0.6))
            peers.run("ffmpeg", "-v", "error", "-y", "-i", wav, "-c:a", "aac", "-b:a", f"{channels * rate // 600}k",
                      "-aac_pns", "0", "-f", "adts", aac)
            compare(f"{rate} Hz, {channels} channels", aac, rate, scratch, have_faad)
            if rate <= 48000 and channels <= 2:
                for seed in (rate + 1, rate + 2):
                    compare_high_band(aac, rate, channels, seed, scratch)
    print("all within bounds" if not peers.failures else f"{len(peers.failures)} failures")
    return 1 if peers.failures else 0


if __name__ == "__main__":
    sys.exit(main())
