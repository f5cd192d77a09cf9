"""AAC: headers and elements as records, the channels of a block, the spectral tools, filter bank and predictions.

A decoder of a block reads its elements from a `BitReader`, each channel as a `Channel`, runs the tools on the channels and
their lines through a `Synthesis`. Spectral words carry `SPECTRUM_FRAC_BITS` fraction bits, samples `TIME_FRAC_BITS`."""
from collections.abc import Iterator

import numpy as np

from . import tables
from ._arrays import as_array, call, output
from ._library import ffi, lib
from .contexts import Context, block, sizes
from .records import BitReader, Record

SPECTRUM_FRAC_BITS = lib.MOX_AAC_SPECTRUM_FRAC_BITS
TIME_FRAC_BITS = lib.MOX_AAC_TIME_FRAC_BITS
SAMPLING_RATES = tuple(tables.moxAacSampleRates.tolist())
SCE, CPE, CCE, LFE, DSE, PCE, FIL, END = range(8)  #: what the three bits before an element say


def band_offsets(rate_index: int, window_len: int = 1024) -> np.ndarray:
    """Where the scale-factor bands of a window of 1024 or 128 lines begin, and behind the last one its end."""
    kinds = {1024: (tables.moxAacNumSwbLong, tables.moxAacSwbOffsetLong),
             128: (tables.moxAacNumSwbShort, tables.moxAacSwbOffsetShort)}
    if window_len not in kinds or not 0 <= rate_index < len(SAMPLING_RATES):
        raise ValueError(f"a window of 1024 or 128 lines at a rate of index 0 to 11, not {window_len} at {rate_index}")
    counts, offsets = kinds[window_len]
    return offsets[rate_index, : counts[rate_index] + 1]


# ---- Headers and elements ------------------------------------------------------------------------------------


def adts_header(reader: BitReader) -> Record:
    """Reads an ADTS frame header; nothing is checked but that it is there."""
    header = Record("MoxAacADTSFrameHeader")
    call("moxsUnpackADTSFrameHeader_AAC", reader.byte_cursor, header)
    reader.within()
    return header


def adts_frames(data) -> Iterator[tuple[Record, bytes]]:
    """Header and payload of every ADTS frame of a stream; bytes between frames are passed over."""
    data, at = bytes(data), 0
    while at + 7 <= len(data):
        if data[at] == 0xFF and data[at + 1] & 0xF6 == 0xF0:
            header = adts_header(BitReader(data[at : at + 9].ljust(9, b"\0")))
            head = 7 if header.protectionAbsent else 9
            if header.frameLen > head and at + header.frameLen <= len(data) and header.samplingRateIndex < 12:
                yield header, data[at + head : at + header.frameLen]
                at += header.frameLen
                continue
        at += 1


def adif_header(reader: BitReader) -> tuple[Record, list[Record]]:
    """An ADIF header and its program configuration elements."""
    header, programs = Record("MoxAacADIFHeader"), ffi.new("MoxAacPrgCfgElt[16]")
    call("moxsUnpackADIFHeader_AAC", reader.byte_cursor, header, programs, 16)
    reader.within()
    made = []
    for i in range(header.numPrgCfgElt):
        made.append(Record("MoxAacPrgCfgElt"))
        ffi.memmove(made[-1].pointer, programs + i, ffi.sizeof("MoxAacPrgCfgElt"))
    return header, made


def program_config(reader: BitReader) -> Record:
    """A program configuration element, behind its three bits."""
    program = Record("MoxAacPrgCfgElt")
    call("moxsDecodePrgCfgElt_AAC", *reader.cursor, program)
    reader.within()
    return program


def data_stream(reader: BitReader) -> tuple[int, bytes]:
    """(tag, bytes) of a data stream element, behind its three bits."""
    tag, count, data = ffi.new("int32_t *"), ffi.new("int32_t *"), ffi.new("uint8_t[510]")
    call("moxsDecodeDatStrElt_AAC", *reader.cursor, tag, count, data)
    reader.within()
    return tag[0], bytes(ffi.buffer(data, count[0]))


def fill(reader: BitReader) -> bytes:
    """The payload of a fill element, behind its three bits."""
    count, data = ffi.new("int32_t *"), ffi.new("uint8_t[269]")
    call("moxsDecodeFillElt_AAC", *reader.cursor, count, data)
    reader.within()
    return bytes(ffi.buffer(data, count[0]))


class Channel:
    """One channel of one block: what the noiseless decoder leaves.

    ics, stream     records; ltp the long-term-prediction data, when there are some
    spectrum        1024 int32: quantised values, in grouped order; `dequantise` turns them into spectral words
    scale_factors   (groups, bands) views: scale factors, noise energies and intensity positions
    code_books      likewise
    """

    def __init__(self, rate_index: int, ics: Record | None = None):
        self.ics = Record("MoxAacIcsInfo") if ics is None else ics
        self.ltp = Record("MoxAacLtpInfo")
        self.stream = Record("MoxAacChanStream", samplingRateIndex=rate_index,
                             pIcsInfo=int(ffi.cast("uintptr_t", self.ics.pointer)))
        self.spectrum = np.zeros(1024, np.int32)
        self.tns_coef = np.zeros(60, np.int8)
        self._scale_factors = np.zeros(120, np.int16)
        self._code_books = np.zeros(120, np.uint8)

    def _by_group(self, values: np.ndarray) -> np.ndarray:
        groups, bands = self.ics.numWindowGroups, self.ics.maxSfb
        return values[: groups * bands].reshape(groups, bands)

    @property
    def scale_factors(self) -> np.ndarray:
        return self._by_group(self._scale_factors)

    @property
    def code_books(self) -> np.ndarray:
        return self._by_group(self._code_books)

    @property
    def rate_index(self) -> int:
        return self.stream.samplingRateIndex

    @property
    def _groups(self) -> tuple:
        return self.ics.numWindowGroups, self.ics.windowGroupLen

    def read(self, reader: BitReader, common_window: bool = False, object_type: int = 2, prediction_bands: int = 0) -> None:
        """Reads an individual channel stream. Noise energies are taken apart from the scale factors."""
        holder = Record("MoxAacMainHeader")
        self.stream.predSfbMax = prediction_bands
        call("moxsNoiselessDecode_AAC", *reader.cursor, holder, self._scale_factors, self.spectrum, self._code_books,
             self.tns_coef, self.stream, 0, 0, int(common_window), 0, object_type)
        reader.within()
        if self.ics.maxSfb > self.stream.numSwb:
            raise ValueError(f"the block codes {self.ics.maxSfb} bands of {self.stream.numSwb}")
        if not common_window:
            ffi.memmove(self.ltp.pointer, ffi.addressof(holder.pointer, "ltp"), ffi.sizeof("MoxAacLtpInfo"))
        self._separate_noise_energies()

    def _separate_noise_energies(self) -> None:
        """The noiseless decoder adds up both chains of differences in one; streams have two."""
        books, values = self.code_books.reshape(-1), self.scale_factors.reshape(-1)
        noise = np.flatnonzero(books == lib.MOX_AAC_BOOK_NOISE)
        if not noise.size:
            return
        coded = np.flatnonzero((books >= 1) & (books <= lib.MOX_AAC_BOOK_NOISE))
        differences = np.diff(values[coded].astype(np.int32), prepend=self.stream.globalGain)
        is_noise = books[coded] == lib.MOX_AAC_BOOK_NOISE
        first = np.flatnonzero(is_noise)[0]
        energies = np.where(is_noise, differences, 0)
        energies[first] = values[noise[0]]
        scales = np.where(is_noise, 0, differences)
        values[coded] = np.where(is_noise, np.cumsum(energies), self.stream.globalGain + np.cumsum(scales))

    def dequantise(self) -> None:
        """Quantised values to spectral words, in place."""
        call("moxsQuantInv_AAC_32s_I", self.spectrum, self._scale_factors, *self._groups, self.ics.maxSfb, self._code_books,
             self.rate_index, self.stream.windowLen)

    def lines(self, *, out: np.ndarray | None = None) -> np.ndarray:
        """The spectrum in window order: (1, 1024) or (8, 128)."""
        shape = (1024 // self.stream.windowLen, self.stream.windowLen)
        out, spectrum = output(out, shape, np.int32, self.spectrum)
        if not out.flags.c_contiguous:
            raise ValueError("out: the array must be contiguous")
        call("moxsDeinterleaveSpectrum_AAC_32s", spectrum, out, *self._groups, self.rate_index, self.stream.windowLen)
        return out

    def tns(self, lines: np.ndarray, *, encode: bool = False) -> np.ndarray:
        """Runs the channel's temporal noise shaping over its lines in window order, in place."""
        stream = self.stream
        if stream.tnsDataPresent:
            lengths, filter_ = stream.length.copy(), 0
            for count in stream.nFilt[: stream.numWindows]:
                left = stream.numSwb  # filters may reach below line 0, where they end
                for filter_ in range(filter_, filter_ + count):
                    lengths[filter_] = min(lengths[filter_], left)
                    left -= lengths[filter_]
                filter_ += int(count > 0)
            tns(lines, stream.nFilt, lengths, stream.order, stream.coefRes, self.tns_coef, stream.direction,
                self.ics.maxSfb, self.rate_index, encode=encode, out=lines)
        return lines


def channel_pair(reader: BitReader, rate_index: int, object_type: int = 2,
                 prediction_bands: int = 0) -> tuple[Channel, Channel, Record]:
    """Both channels of a channel pair element, behind its three bits and tag, and the record of the pair."""
    holder, pair = Record("MoxAacMainHeader"), Record("MoxAacChanPairElt")
    left = Channel(rate_index)
    call("moxsDecodeChanPairElt_MP4_AAC", *reader.cursor, left.ics, pair, holder, prediction_bands, object_type)
    reader.within()
    common = bool(pair.commonWindow)
    right = Channel(rate_index, left.ics.copy() if common else None)
    for channel in (left, right):
        channel.read(reader, common, object_type, prediction_bands)
    if common:
        for i, channel in enumerate((left, right)):
            ffi.memmove(channel.ltp.pointer, ffi.addressof(holder.pointer, "ltp", i), ffi.sizeof("MoxAacLtpInfo"))
    return left, right, pair


def read_block(payload, rate_index: int, object_type: int = 2) -> Iterator[tuple[int, list[Channel], Record | None]]:
    """(element, channels, pair record) of every channel element of a raw data block. Coupling channels are refused."""
    reader = BitReader(payload)
    while (element := reader.read(3)) != END:
        if element == DSE:
            data_stream(reader)
        elif element == FIL:
            fill(reader)
        elif element == PCE:
            program_config(reader)
        elif element == CPE:
            reader.read(4)
            left, right, pair = channel_pair(reader, rate_index, object_type)
            yield element, [left, right], pair
        elif element in (SCE, LFE):
            reader.read(4)
            channel = Channel(rate_index)
            channel.read(reader, False, object_type)
            yield element, [channel], None
        else:
            raise ValueError("coupling channels are not read")


# ---- Spectral tools ------------------------------------------------------------------------------------------


def _together(left: Channel, right: Channel) -> None:
    """Pairs share their windows: what runs over both takes one channel's for both."""
    same = (left.rate_index == right.rate_index and left.stream.windowLen == right.stream.windowLen and
            left.ics.maxSfb == right.ics.maxSfb and left.ics.numWindowGroups == right.ics.numWindowGroups and
            np.array_equal(left.ics.windowGroupLen[: left.ics.numWindowGroups],
                           right.ics.windowGroupLen[: right.ics.numWindowGroups]))
    if not same:
        raise ValueError("the channels have different windows")


def mid_side(left: Channel, right: Channel, pair: Record) -> None:
    """Undoes mid/side of a pair with a common window, in place; nothing without a mask."""
    if pair.commonWindow and pair.msMaskPresent:
        _together(left, right)
        call("moxsDecodeMsStereo_AAC_32s_I", left.spectrum, right.spectrum, pair.msMaskPresent,
             _mask(pair), right._code_books, *right._groups, right.ics.maxSfb, right.rate_index, right.stream.windowLen)


def _mask(pair: Record) -> np.ndarray:
    return pair.msUsed.view(np.uint8)


def intensity(left: Channel, right: Channel) -> None:
    """Fills the right channel's intensity bands from the left one, in place."""
    if (right.code_books >= lib.MOX_AAC_BOOK_INTENSITY_INVERTED).any():
        call("moxsDecodeIsStereo_AAC_32s", left.spectrum, right.spectrum, right._scale_factors, right._code_books,
             *right._groups, right.ics.maxSfb, right.rate_index, right.stream.windowLen)


def substitute_noise(channels: list[Channel], pair: Record | None = None, seed: int = 1) -> int:
    """Fills the noise bands of a channel or pair, in place; returns the generator's state for the next."""
    state = ffi.new("uint32_t *", seed)
    used = [ffi.cast("int32_t *", int(ffi.cast("uintptr_t", c.ltp.pointer)) + ffi.offsetof("MoxAacLtpInfo", "longUsedAll"))
            for c in channels]
    first = channels[0]
    if pair is not None and pair.commonWindow:
        left, right = channels
        _together(left, right)
        call("moxsDecodeMsPNS_AAC_32s", left.spectrum, right.spectrum, *used, left._code_books, right._code_books,
             left._scale_factors, right._scale_factors, pair.msMaskPresent, _mask(pair), first.ics.maxSfb, *first._groups,
             first.rate_index, first.stream.windowLen, state)
    else:
        for c, flags in zip(channels, used):
            call("moxsDecodePNS_AAC_32s", c.spectrum, flags, c._code_books, c._scale_factors, c.ics.maxSfb, *c._groups,
                 c.rate_index, c.stream.windowLen, state)
    return state[0]


def tns(lines, n_filt, length, order, coef_res, coef, direction, max_sfb: int, rate_index: int, *, encode: bool = False,
        out: np.ndarray | None = None) -> np.ndarray:
    """Temporal noise shaping of (1, 1024) or (8, 128) lines: synthesis filters, or analysis ones with `encode`.

    n_filt, coef_res          a value for each window
    length, order, direction  a value for each filter, all windows' filters one after another
    coef                      the coefficients of all filters one after another
    """
    lines = as_array(lines, np.int32, "lines")
    if lines.shape not in ((1024,), (1, 1024), (8, 128)):
        raise ValueError(f"lines: (1, 1024) or (8, 128) is wanted, not {lines.shape}")
    windows = 8 if lines.shape == (8, 128) else 1
    side = {}
    for name, value, size in [("n_filt", n_filt, windows), ("coef_res", coef_res, windows)]:
        side[name] = as_array(np.atleast_1d(value), np.int32, name, ndim=1)
        if len(side[name]) < size:
            raise ValueError(f"{name}: {size} values are wanted")
    filters = int(side["n_filt"][:windows].clip(min=0).sum())
    for name, value in [("length", length), ("order", order), ("direction", direction)]:
        values = as_array(np.atleast_1d(value), np.int32, name, ndim=1)
        if len(values) < filters:
            raise ValueError(f"{name}: {filters} values are wanted")
        side[name] = np.ascontiguousarray(np.concatenate([values, np.zeros(1, np.int32)]))
    coef = np.ascontiguousarray(as_array(np.atleast_1d(coef), np.int8, "coef", ndim=1))
    if len(coef) < side["order"][:filters].clip(min=0).sum():
        raise ValueError(f"coef: {side['order'][:filters].sum()} values are wanted")
    in_place = out is lines
    if not in_place:
        out, lines = output(out, lines.shape, np.int32, lines)
        out[...] = lines
    if not out.flags.c_contiguous:
        raise ValueError("out: the array must be contiguous")
    call("moxsEncodeTNS_AAC_32s_I" if encode else "moxsDecodeTNS_AAC_32s_I", out, side["n_filt"], side["length"],
         side["order"], side["coef_res"], coef, side["direction"], max_sfb, 1, rate_index, 1024 // windows)
    return out


# ---- Filter bank and predictions -----------------------------------------------------------------------------


def forward_mdct(samples, window_sequence: int = 0, window_shape: int = 0, previous_shape: int = 0, *,
                 out: np.ndarray | None = None) -> np.ndarray:
    """2048 samples with TIME_FRAC_BITS fraction bits, the frame before and this one, to 1024 spectral words."""
    samples = np.ascontiguousarray(as_array(samples, np.int32, "samples", ndim=1))
    if len(samples) != 2048:
        raise ValueError(f"samples: 2048 are wanted, not {len(samples)}")
    out, samples = output(out, (1024,), np.int32, samples)
    call("moxsMDCTFwd_AAC_32s", samples, out, window_sequence, window_shape, previous_shape, _work())
    return out


def _work() -> np.ndarray:
    return np.empty(lib.MOX_AAC_MDCT_BUFFER_WORDS, np.int32)


class Synthesis(Context):
    """The inverse filter bank of one channel, with its overlap, and the history that long-term prediction looks back at."""

    def __init__(self):
        self._memory = np.zeros(1024, np.int32)
        self.history = np.zeros(lib.MOX_AAC_LTP_HISTORY, np.int32)
        self.previous_shape = 0
        self._buffer = _work()

    def process(self, lines, window_sequence: int = 0, window_shape: int = 0, *, out: np.ndarray | None = None) -> np.ndarray:
        """1024 spectral words in window order, of any shape, to 1024 int16 samples."""
        self._open()
        lines = np.ascontiguousarray(as_array(lines, np.int32, "lines"))
        if lines.size != 1024:
            raise ValueError(f"lines: 1024 are wanted, not {lines.size}")
        out, lines = output(out, (1024,), np.int16, lines)
        call("moxsMDCTInv_AAC_32s16s", lines, out, self._memory, window_sequence, window_shape, self.previous_shape, 1,
             self._buffer)
        call("moxsLtpUpdate_AAC_32s", self._buffer, self._memory, self.history)
        self.previous_shape = window_shape
        return out

    def predict(self, ltp: Record, window_sequence: int = 0, window_shape: int = 0) -> np.ndarray:
        """The spectrum that long-term prediction expects of the next frame: 1024 spectral words."""
        self._open()
        out = np.empty(1024, np.int32)
        call("moxsLongTermPredict_AAC_32s", self.history, out, window_sequence, window_shape, self.previous_shape, ltp,
             self._buffer)
        return out


def add_prediction(prediction, lines, ltp: Record, max_sfb: int, rate_index: int, *, window_sequence: int = 0,
                   tns_info: Record | None = None, out: np.ndarray | None = None) -> np.ndarray:
    """Decoded lines and the predicted ones of the bands that use them, 1024 spectral words each."""
    prediction, lines = (as_array(a, np.int32, name).reshape(-1) for a, name in
                         ((prediction, "prediction"), (lines, "lines")))
    if prediction.shape != (1024,) or lines.shape != (1024,):
        raise ValueError("prediction, lines: 1024 words each are wanted")
    out, lines, prediction = output(out, (1024,), np.int32, lines, prediction)
    out[...] = lines
    call("moxsLongTermReconstruct_AAC_32s", prediction.copy(), out, window_sequence, max_sfb, rate_index, ltp,
         ffi.NULL if tns_info is None else tns_info)
    return out


class Predictor(Context):
    """The Main profile's prediction of every line from the lines before it, `lines` of them, one channel."""

    def __init__(self, lines: int):
        self.lines = int(lines)
        memory, made = block(sizes("moxsFDPGetSize_32f", self.lines)[0]), ffi.new("MoxAacFdpState **")
        call("moxsFDPInit_32f", made, self.lines, memory)
        self._state, self._memory = made[0], memory

    def encode(self, x, *, out: np.ndarray | None = None) -> np.ndarray:
        """What is left of the lines after prediction, which then learns from them."""
        self._open()
        x = as_array(x, np.float32, "x", ndim=1)
        if len(x) != self.lines:
            raise ValueError(f"x: {self.lines} lines are wanted, not {len(x)}")
        out, x = output(out, x.shape, np.float32, x)
        call("moxsFDPFwd_32f", x, out, self._state)
        return out

    def decode(self, x, band_offsets=None, used=True, *, out: np.ndarray | None = None) -> np.ndarray:
        """The lines from what was left. `used`: for each band whether it was predicted."""
        self._open()
        x = as_array(x, np.float32, "x", ndim=1)
        offsets = np.ascontiguousarray(as_array([0, self.lines] if band_offsets is None else band_offsets, np.int32,
                                                "band_offsets", ndim=1))
        if len(offsets) < 2 or offsets.min() < 0 or offsets.max() > len(x):
            raise ValueError(f"band_offsets: two or more between 0 and {len(x)} are wanted")
        flags = np.ascontiguousarray(np.broadcast_to(np.asarray(used, bool), len(offsets) - 1)).astype(np.uint8)
        out, x = output(out, x.shape, np.float32, x)
        out[...] = x
        call("moxsFDPInv_32f_I", out, offsets, len(flags), flags, self._state)
        return out

    def reset(self, group: int | None = None) -> None:
        """Forgets what was learnt: every line, or those of a reset group, 1 to 30."""
        self._open()
        if group is None:
            call("moxsFDPReset_32f", self._state)
        else:
            call("moxsFDPResetGroup_32f", group - 1, 30, self._state)
