"""Layer III: headers and side information as records, the stages of decoder and encoder.

Lines and sub-band samples of the fixed-point stages are int32 with `FRAC_BITS` fraction bits: 2^26 is full scale."""
from collections.abc import Iterator
from itertools import chain
from typing import NamedTuple

import numpy as np

from . import tables
from ._arrays import addresses, as_array, call, each, output, pointer, pointers, rows, same
from ._library import ffi, lib
from .contexts import Context, States, sizes
from ._psychoacoustics import ANALYSIS, encoder_parameters
from .records import BitReader, Record

FRAC_BITS = lib.MOX_MP3_FRAC_BITS
LINES, SLOTS, BANDS = 576, 18, 32


# ---- Parsers -------------------------------------------------------------------------------------------------


def frame_header(reader: BitReader) -> Record:
    """Reads a frame header; no value is checked."""
    header = Record("MoxMp3FrameHeader")
    call("moxsUnpackFrameHeader_MP3", reader.byte_cursor, header)
    reader.within()
    return header


def sampling_rate(header: Record) -> int:
    """Hz, of MPEG-1 and MPEG-2 frames."""
    return int(tables.moxMp3SampleRates[header.id, header.samplingFreq])


def channels(header: Record) -> int:
    return 1 if header.mode == 3 else 2


def granules(header: Record) -> int:
    """Granules of a frame: two in MPEG-1, one in MPEG-2."""
    return 1 + header.id


def frame_bytes(header: Record) -> int:
    """The length of a frame; not of the free format."""
    return 72000 * granules(header) * int(tables.moxMp3BitRates[header.id, header.bitRateIndex]) // sampling_rate(header) + header.paddingBit


def frames(data) -> Iterator[tuple[Record, bytes]]:
    """Header and bytes of every MPEG-1 and MPEG-2 Layer III frame of a stream; bytes between frames are passed over."""
    data, at = bytes(data), 0
    while at + 4 <= len(data):
        if data[at] == 0xFF and data[at + 1] & 0xF6 == 0xF2:
            header = frame_header(BitReader(data[at : at + 6].ljust(6, b"\0")))
            if 1 <= header.bitRateIndex <= 14 and header.samplingFreq < 3 and at + frame_bytes(header) <= len(data):
                if header.mode != 1:
                    header.modeExt = 0  # means something in joint stereo only
                yield header, data[at : at + frame_bytes(header)]
                at += frame_bytes(header)
                continue
        at += 1


class SideInfo(NamedTuple):
    """records[granule][channel]; scfsi (channels, 4)."""

    records: list[list[Record]]
    main_data_begin: int
    private_bits: int
    scfsi: np.ndarray


def side_info(reader: BitReader, header: Record) -> SideInfo:
    """Reads the side information behind a frame's header and CRC word."""
    made, numbers = ffi.new("MoxMp3SideInfo[4]"), ffi.new("int32_t[2]")
    scfsi = np.zeros((2, 4), np.int32)
    call("moxsUnpackSideInfo_MP3", reader.byte_cursor, made, numbers, numbers + 1, scfsi, header)
    reader.within()
    records, count = [], channels(header)
    for i in range(granules(header) * count):
        records.append(Record("MoxMp3SideInfo"))
        ffi.memmove(records[-1].pointer, made + i, ffi.sizeof("MoxMp3SideInfo"))
    return SideInfo([records[i : i + count] for i in range(0, len(records), count)], numbers[0], numbers[1], scfsi[:count])


def scale_factors(reader: BitReader, side: Record, scfsi, header: Record, granule: int, channel: int, *,
                  out: np.ndarray | None = None) -> np.ndarray:
    """Reads 39 int8 scale factors. Granule 1 goes into the array of granule 0, some of whose values may hold on."""
    if out is None:
        out = np.zeros(39, np.int8)
    out, = output(out, (39,), np.int8)
    call("moxsUnpackScaleFactors_MP3_1u8s", *reader.cursor, out, side, _four(scfsi), header, granule, channel)
    reader.within()
    return out


def _four(scfsi) -> np.ndarray:
    scfsi = np.ascontiguousarray(as_array(scfsi, np.int32, "scfsi", ndim=1))
    if len(scfsi) != 4:
        raise ValueError(f"scfsi: 4 values are wanted, not {len(scfsi)}")
    return scfsi


def huffman_decode(reader: BitReader, side: Record, header: Record, bits: int, *,
                   out: np.ndarray | None = None) -> tuple[np.ndarray, int]:
    """(576 quantised int32, the bound behind the last one that is not zero) from `bits` bits."""
    out, = output(out, (LINES,), np.int32)
    bound = ffi.new("int32_t *")
    call("moxsHuffmanDecode_MP3_1u32s", *reader.cursor, out, bound, side, header, bits)
    reader.within()
    return out, bound[0]


# ---- From lines to samples -----------------------------------------------------------------------------------


def _records(records: list[Record], type_name: str):
    """Records one behind another, as C has them."""
    made = ffi.new(f"{type_name}[]", len(records))
    for i, record in enumerate(records):
        ffi.memmove(made + i, record.pointer, ffi.sizeof(type_name))
    return made


def requantise(lines, bounds, factors, sides: list[Record], header: Record, *,
               out: np.ndarray | None = None) -> tuple[np.ndarray, np.ndarray]:
    """Quantised lines of one granule, (channels, 576), to lines in Q26, stereo undone; and their bounds.

    factors  (channels, 39) scale factors; sides: the record of each channel"""
    count = channels(header)
    lines, factors = as_array(lines, np.int32, "lines"), np.ascontiguousarray(as_array(factors, np.int8, "factors"))
    bounds = as_array(np.atleast_1d(bounds), np.int32, "bounds", ndim=1).copy()
    if lines.shape != (count, LINES) or factors.shape != (count, 39) or bounds.shape != (count,) or len(sides) != count:
        raise ValueError(f"{count} channels of 576 lines, 39 factors, a bound and a record are wanted")
    out, lines, factors = output(out, lines.shape, np.int32, lines, factors)
    words = lines.copy(order="C")
    call("moxsReQuantize_MP3_32s_I", words, bounds, factors, _records(sides, "MoxMp3SideInfo"), header,
         np.empty(LINES, np.int32))
    out[...] = words
    return out, bounds


class HybridSynthesis(Context):
    """The inverse hybrid of one channel: 576 lines to 18 slots of 32 sub-band samples."""

    def __init__(self):
        self._memory = np.zeros(LINES, np.int32)
        self._transforms = np.zeros(1, np.int32)

    def process(self, lines, block_type: int = 0, mixed: int = 0, bound: int = LINES, *,
                out: np.ndarray | None = None) -> np.ndarray:
        self._open()
        lines = as_array(lines, np.int32, "lines", ndim=1)
        if len(lines) != LINES:
            raise ValueError(f"lines: 576 are wanted, not {len(lines)}")
        out, lines = output(out, (SLOTS, BANDS), np.int32, np.ascontiguousarray(lines))
        _contiguous(out)
        call("moxsMDCTInv_MP3_32s", lines, out, self._memory, bound, self._transforms, block_type, mixed)
        return out


class HybridAnalysis(Context):
    """The forward hybrid of one channel: 18 slots of 32 sub-band samples to 576 lines."""

    def __init__(self):
        self._memory = np.zeros(LINES, np.int32)

    def process(self, sub_bands, header: Record, block_type: int = 0, mixed: int = 0, *,
                out: np.ndarray | None = None) -> np.ndarray:
        self._open()
        sub_bands = np.ascontiguousarray(as_array(sub_bands, np.int32, "sub_bands"))
        if sub_bands.shape != (SLOTS, BANDS):
            raise ValueError(f"sub_bands: (18, 32) is wanted, not {sub_bands.shape}")
        out, sub_bands = output(out, (LINES,), np.int32, sub_bands)
        call("moxsMDCTFwd_MP3_32s", sub_bands, out, self._memory, block_type, mixed, header)
        return out


def _contiguous(out: np.ndarray) -> None:
    if not out.flags.c_contiguous:
        raise ValueError("out: the array must be contiguous")


class _FloatPolyphase(States):
    _kind: str

    def __init__(self, shape: tuple = ()):
        super().__init__(shape, sizes(f"mox{self._kind}FilterGetSize_PQMF_MP3_32f")[0], f"MoxMp3{self._kind[1:]}State")
        each(f"mox{self._kind}FilterInit_PQMF_MP3_32f", self._states)

    def _run(self, x: np.ndarray, shape: tuple, out) -> np.ndarray:
        """One call a slot, each channel's slots in order."""
        out, x = output(out, shape, np.float32, x)
        _contiguous(out)
        source, target = np.ascontiguousarray(x).reshape(-1, BANDS), out.reshape(-1, BANDS)
        states = chain.from_iterable(same(state, len(source) // max(self._count, 1)) for state in self._states)
        each(f"mox{self._kind}Filter_PQMF_MP3_32f", rows(source), rows(target), states)
        return out


class PolyphaseAnalysis(_FloatPolyphase):
    """The float polyphase bank: 32 samples a slot to 32 sub-bands. `shape`: a bank for each of these channels."""

    _kind = "sAnalysis"

    def process(self, x, *, out: np.ndarray | None = None) -> np.ndarray:
        """(..., 32 * slots) samples to (..., slots, 32) sub-bands."""
        x = as_array(x, np.float32, "x")
        self._same_channels(x, 1, "x")
        if x.shape[-1] % BANDS:
            raise ValueError(f"x: a multiple of 32 samples is wanted, not {x.shape[-1]}")
        return self._run(x, (*self.shape, x.shape[-1] // BANDS, BANDS), out)


class PolyphaseSynthesis(_FloatPolyphase):
    """Its partner; together they delay by 481 samples."""

    _kind = "sSynthesis"

    def process(self, sub_bands, *, out: np.ndarray | None = None) -> np.ndarray:
        """(..., slots, 32) sub-bands to (..., 32 * slots) samples."""
        sub_bands = as_array(sub_bands, np.float32, "sub_bands")
        self._same_channels(sub_bands, 2, "sub_bands")
        if sub_bands.shape[-1] != BANDS:
            raise ValueError(f"sub_bands: 32 are wanted, not {sub_bands.shape[-1]}")
        return self._run(sub_bands, (*self.shape, sub_bands.shape[-2] * BANDS), out)


class _FixedPolyphase(Context):
    def __init__(self):
        self._memory = np.zeros(512, np.int32)
        self._place = ffi.new("int32_t *")

    def _run(self, operation: str, source: np.ndarray, target: np.ndarray) -> None:
        each(operation, rows(source), rows(target), same(pointer(self._memory)), same(self._place), same(1))


class FixedPolyphaseSynthesis(_FixedPolyphase):
    """One channel's bank between the stages in Q26 and 16-bit samples."""

    def process(self, sub_bands, *, out: np.ndarray | None = None) -> np.ndarray:
        """(slots, 32) sub-band samples in Q26 to 32 * slots int16 samples."""
        self._open()
        sub_bands = as_array(sub_bands, np.int32, "sub_bands", ndim=2)
        if sub_bands.shape[1] != BANDS:
            raise ValueError(f"sub_bands: 32 are wanted, not {sub_bands.shape[1]}")
        out, sub_bands = output(out, (sub_bands.size,), np.int16, sub_bands)
        self._run("moxsSynthPQMF_MP3_32s16s", sub_bands, out.reshape(-1, BANDS))
        return out


class FixedPolyphaseAnalysis(_FixedPolyphase):
    """Its partner."""

    def process(self, x, *, out: np.ndarray | None = None) -> np.ndarray:
        """32 * slots int16 samples to (slots, 32) sub-band samples in Q26."""
        self._open()
        x = np.ascontiguousarray(as_array(x, np.int16, "x", ndim=1))
        if len(x) % BANDS:
            raise ValueError(f"x: a multiple of 32 samples is wanted, not {len(x)}")
        out, x = output(out, (len(x) // BANDS, BANDS), np.int32, x)
        self._run("moxsAnalysisPQMF_MP3_16s32s", x.reshape(-1, BANDS), out)
        return out


# ---- Encoding ------------------------------------------------------------------------------------------------


def bit_reservoir(header: Record) -> Record:
    """An empty reservoir for the header's bit rate."""
    reservoir = Record("MoxMp3BitReservoir")
    call("moxsBitReservoirInit_MP3", reservoir, header)
    return reservoir


def joint_stereo(lines, psy, header: Record, parameters: Record | None = None) -> tuple[np.ndarray, np.ndarray]:
    """Chooses left/right or mid/side for a frame: (2, 2, 576) lines in Q26 and (2, 2) records of psychoacoustics, granule
    by channel, as they are to be coded. The header's modeExt tells the choice."""
    lines = as_array(lines, np.int32, "lines").copy(order="C")
    psy = np.array(psy, ANALYSIS, order="C")
    if lines.shape != (2, 2, LINES) or psy.shape != (2, 2):
        raise ValueError("lines and psy: two granules of two channels are wanted")
    call("moxsJointStereoEncode_MP3_32s_I", lines, _analyses(psy), header,
         parameters or encoder_parameters())
    return lines, psy


def _analyses(psy: np.ndarray):
    return pointers(addresses(psy.reshape(1, -1)), "MoxMp3PsychoacousticModelTwoAnalysis *")[0]


class Quantised(NamedTuple):
    """A frame as the packers take it: (2, channels) of everything, scfsi (channels, 4)."""

    lines: np.ndarray
    scale_factors: np.ndarray
    count1: np.ndarray
    side: SideInfo


def quantise(lines, psy, header: Record, reservoir: Record, mean_bits: int, constant_rate: bool = True,
             parameters: Record | None = None) -> Quantised:
    """Quantises a frame of MPEG-1: (2, channels, 576) lines in Q26 and (2, channels) records of psychoacoustics. The
    reservoir is updated; `mean_bits` of main data come with the frame."""
    count = channels(header)
    lines = as_array(lines, np.int32, "lines").copy(order="C")
    psy = np.array(psy, ANALYSIS, order="C")
    if lines.shape != (2, count, LINES) or psy.shape != (2, count):
        raise ValueError(f"lines and psy: two granules of {count} channels are wanted")
    factors, scfsi = np.zeros((2, count, 39), np.int8), np.zeros((count, 4), np.int32)
    count1, made = np.zeros((2, count), np.int32), ffi.new("MoxMp3SideInfo[4]")
    begin = reservoir.resBits // 8
    call("moxsQuantize_MP3_32s_I", lines, factors, scfsi, count1, made, reservoir, mean_bits, int(constant_rate),
         _analyses(psy), header, parameters or encoder_parameters())
    records = [Record("MoxMp3SideInfo") for _ in range(2 * count)]
    for i, record in enumerate(records):
        ffi.memmove(record.pointer, made + i, ffi.sizeof("MoxMp3SideInfo"))
    return Quantised(lines, factors, count1, SideInfo([records[:count], records[count:]], begin, 0, scfsi))


def pack_head(header: Record, side: SideInfo) -> bytes:
    """A frame's header and side information."""
    room = np.zeros(48, np.uint8)
    cursor = ffi.new("uint8_t *[1]", [pointer(room)])
    call("moxsPackFrameHeader_MP3", header, cursor)
    records = _records([r for granule in side.records for r in granule], "MoxMp3SideInfo")
    scfsi = np.zeros((2, 4), np.int32)
    scfsi[: len(side.scfsi)] = side.scfsi
    call("moxsPackSideInfo_MP3", records, cursor, side.main_data_begin, side.private_bits, scfsi, header)
    return room[: int(ffi.cast("uint8_t *", cursor[0]) - pointer(room))].tobytes()


def pack_main_data(frame: Quantised, header: Record) -> tuple[bytes, int]:
    """A frame's scale factors and codes, and their number of bits."""
    room = np.zeros(4 * 512 + 8, np.uint8)
    cursor, offset = ffi.new("uint8_t *[1]", [pointer(room)]), ffi.new("int32_t *")
    bits = 0
    for g, granule in enumerate(frame.side.records):
        for ch, record in enumerate(granule):
            call("moxsPackScaleFactors_MP3_8s1u", frame.scale_factors[g, ch], cursor, offset, header, record,
                 _four(frame.side.scfsi[ch]), g, ch)
            used = 8 * int(cursor[0] - pointer(room)) + offset[0] - bits
            call("moxsHuffmanEncode_MP3_32s1u", frame.lines[g, ch], cursor, offset, header, record, int(frame.count1[g, ch]),
                 record.part23Len - used)
            bits += record.part23Len
    return room[: (bits + 7) // 8].tobytes(), bits
