"""Whole streams: decoding at once, piece by piece and after seeking, from paths, bytes and files; what is refused."""
import io

import numpy as np
import pytest

import moxac
from conftest import ROOT

STREAMS = ROOT / "tests/data/streams"


@pytest.mark.parametrize("name", ["mp3_44100_joint128_short.mp3", "mp3_11025_mono24.mp3", "aac_44100_stereo128.aac",
                                  "aac_48000_51_320.aac", "heaac_44100_stereo48.aac"])
def test_streams_decode_to_their_references(stream, name):
    data, want = stream(name)
    rate, samples = moxac.decode(STREAMS / name, raw=True)
    assert rate == int(name.split("_")[1]) and samples.shape == want.shape and samples.dtype == np.int16
    assert np.abs(samples.astype(int) - want).max() <= 1
    for source in (data, bytearray(data), io.BytesIO(data), str(STREAMS / name)):
        assert np.array_equal(moxac.decode(source, raw=True)[1], samples)
    floats = moxac.decode(data, raw=True, dtype=np.float32)[1]
    assert np.abs(floats * 32768 - samples).max() <= 1


def test_pieces_seeking_and_what_is_told(stream):
    data, _ = stream("aac_44100_stereo128.aac")
    rate, whole = moxac.decode(data)
    with moxac.open(data) as decoder:
        assert decoder.format == (44100, 2, 0) and "AAC LC" in decoder.description["format"]
        assert np.array_equal(np.concatenate(list(decoder.blocks(777))), whole)
        assert decoder.position == len(whole) and decoder.duration == (len(whole), "exact") and len(decoder.read()) == 0
        out = np.zeros((500, 2), np.int16)
        for position in (20000, 3, len(whole) - 100):
            decoder.seek(position)
            filled = decoder.read(out=out)
            assert np.array_equal(filled, whole[position : position + 500]) and filled.base is out
        with pytest.raises(ValueError, match="out"):
            decoder.read(out=np.zeros((500, 1), np.int16))
        assert decoder.tags == [] and decoder.damage == []
    with pytest.raises(ValueError, match="closed"):
        decoder.read()


def test_a_format_that_changes_is_told(stream):
    first, second = stream("mp3_44100_joint128_short.mp3")[0], stream("mp3_22050_joint64.mp3")[0]
    with moxac.open(first + second) as decoder:
        assert decoder.format.rate == 44100 and len(decoder.read()) > 40_000
        assert decoder.format.rate == 22050 and len(decoder.read()) > 20_000
        assert len(decoder.read()) == 0
    with pytest.raises(ValueError, match="changes"):
        moxac.decode(first + second)


def test_refusals_say_why(tmp_path):
    with pytest.raises(FileNotFoundError):
        moxac.decode(tmp_path / "nothing")
    with pytest.raises(moxac.CodecError) as caught:
        moxac.decode(b"fLaC" + bytes(1000))
    assert caught.value.name == "moxcStatusUnsupported" and "FLAC" in caught.value.message
    with pytest.raises(moxac.CodecError, match="moxcStatusNoStream"):
        moxac.decode(b"no sound at all" * 100)

    class Torn(io.RawIOBase):
        def read(self, size=-1):
            raise KeyError("torn")

    with pytest.raises(KeyError, match="torn"):
        moxac.open(Torn())
    with pytest.raises(TypeError):
        moxac.open(b"", dtype=np.int32)
