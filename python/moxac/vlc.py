"""Variable-length codes of one's own code books."""
from typing import NamedTuple

import numpy as np

from ._arrays import address, as_array, call, each, output, pointer, rows, same
from ._library import ffi
from .contexts import Context, block, sizes


class Encoded(NamedTuple):
    """data: uint8 array, the last byte filled up with zeros. bits: how many of them count."""

    data: np.ndarray
    bits: int


class Decoded(NamedTuple):
    """values: int16 array. position: the bit behind the last code word."""

    values: np.ndarray
    position: int


def _table(values, codes, lengths) -> np.ndarray:
    values = as_array(values, np.int32, "values", ndim=1)
    codes = as_array(codes, np.int64, "codes", ndim=1)
    lengths = as_array(lengths, np.int32, "lengths", ndim=1)
    if not len(values) == len(codes) == len(lengths):
        raise ValueError("values, codes and lengths: as many of each are wanted")
    if len(codes) and (codes.min() < 0 or codes.max() >= 1 << 32):
        raise ValueError("codes: 0 to 2^32 - 1")
    return np.ascontiguousarray(np.column_stack([values, codes.astype(np.uint32).view(np.int32), lengths]))


def _levels(levels, lengths: np.ndarray) -> np.ndarray:
    if levels is None:  # nine bits resolve most symbols of an audio code book in one access
        longest = int(lengths.max(initial=1))
        levels = [min(longest, 9)] + [8] * 3
    return as_array(levels, np.int32, "levels", ndim=1)


class _Decoder(Context):
    """What plain and tuple code books share: streams in aligned words, with room for what a code word may take."""

    _longest = 32  # bits that a value can take, escapes and sign included
    _group = 1     # values of a code word

    def _decode(self, data, count: int, position: int, out, operation: str, *extra) -> Decoded:
        self._open()
        source = as_array(np.frombuffer(data, np.uint8) if not isinstance(data, np.ndarray) else data, np.uint8, "data",
                          ndim=1)
        if not 0 <= position <= 8 * len(source):
            raise ValueError(f"position: 0 to {8 * len(source)} bits, not {position}")
        if count % self._group:
            raise ValueError(f"count: a multiple of {self._group} is wanted, not {count}")
        # No code word is longer than this, so that a stream that ends early stays inside the buffer.
        stream = np.zeros(count * self._longest // 32 + 4, np.uint32).view(np.uint8)
        begin = position // 32 * 4
        held = source[begin : begin + len(stream)]
        stream[: len(held)] = held
        out, = output(out, (count,), np.int16)
        if count == 0:
            return Decoded(out, position)
        cursor, offset = ffi.new("uint8_t const *[1]"), ffi.new("int32_t *", position % 8)
        base = address(stream)
        cursor[0] = ffi.cast("uint8_t *", base + position % 32 // 8)
        call(operation, cursor, offset, out, count, *extra, self._decoder)
        end = 8 * (begin + int(ffi.cast("uintptr_t", cursor[0])) - base) + offset[0]
        if end > 8 * len(source):
            raise EOFError(f"the data end {end - 8 * len(source)} bits before the last code word does")
        return Decoded(out, end)


class Codebook(_Decoder):
    """A prefix code: row n gives `values[n]` the code word `codes[n]`, right-aligned, of `lengths[n]` bits (1 to 32).

    escape    None; "aac": rows hold 33 a + b for pairs of -16..16, magnitudes of 16 announce escape sequences;
              "mp3": rows hold 16 |x| + |y|, magnitudes of 15 are continued in `lin_bits` bits
    levels    widths in bits of the decoder's look-up levels
    """

    def __init__(self, values, codes, lengths, *, escape: str | None = None, lin_bits: int = 0, levels=None):
        if escape not in (None, "aac", "mp3"):
            raise ValueError(f"escape: None, 'aac' or 'mp3', not {escape!r}")
        self.escape, self.lin_bits = escape, int(lin_bits)
        self._group = 1 if escape is None else 2
        self._longest = 32 if escape is None else 64
        table = _table(values, codes, lengths)
        levels = _levels(levels, table[:, 2])
        arguments = table, len(table), levels, len(levels)
        encoder = block(sizes("moxsVLCEncodeGetSize_32s", table, len(table))[0])
        decoder = block(sizes("moxsVLCDecodeGetSize_32s", *arguments)[0])
        self._encoder = ffi.cast("MoxVlcEncodeSpec *", address(encoder))
        self._decoder = ffi.cast("MoxVlcDecodeSpec *", address(decoder))
        call("moxsVLCEncodeInit_32s", table, len(table), self._encoder)
        call("moxsVLCDecodeInit_32s", *arguments, self._decoder)
        self._memory = encoder, decoder

    @property
    def _extra(self) -> tuple:
        return (self.lin_bits,) if self.escape == "mp3" else ()

    def count(self, values, *, out: np.ndarray | None = None):
        """The bits that the values along the last axis would take: a number, or an array over the other axes."""
        self._open()
        values = as_array(values, np.int16, "values")
        operation = "moxsVLCCountBits_16s32s" if self.escape is None else f"moxsVLCCountEscBits_{self.escape.upper()}_16s32s"
        out, values = output(out, values.shape[:-1], np.int32, values) if values.ndim > 1 else (
            np.zeros((), np.int32), values)
        if values.shape[-1] == 0:
            out[...] = 0
        else:
            each(operation, rows(values), same(values.shape[-1]), *map(same, self._extra), rows(out[..., None]),
                 same(self._encoder))
        return out if out.ndim else int(out)

    def encode(self, values, *, out: np.ndarray | None = None) -> Encoded:
        """The code words of the values. `out`: a uint8 array with room for them and up to three bytes more."""
        values = as_array(values, np.int16, "values", ndim=1)
        bits = self.count(values)
        stream = np.zeros(bits // 32 + 2, np.uint32).view(np.uint8)
        size = (bits + 7) // 8
        if len(values):
            cursor, offset = ffi.new("uint8_t *[1]", [pointer(stream)]), ffi.new("int32_t *")
            operation = "moxsVLCEncodeBlock_16s1u" if self.escape is None else f"moxsVLCEncodeEscBlock_{self.escape.upper()}_16s1u"
            call(operation, values, len(values), *self._extra, cursor, offset, self._encoder)
            stream[bits // 8] &= 0xFF00 >> bits % 8 & 0xFF  # the writer leaves ones behind
        if out is None:
            return Encoded(stream[:size], bits)
        if not isinstance(out, np.ndarray) or out.dtype != np.uint8 or out.ndim != 1 or len(out) < size:
            raise ValueError(f"out: an array of at least {size} uint8 is wanted")
        out[:size] = stream[:size]
        return Encoded(out[:size], bits)

    def decode(self, data, count: int, position: int = 0, *, out: np.ndarray | None = None) -> Decoded:
        """`count` values from the bit `position` on."""
        operation = "moxsVLCDecodeBlock_1u16s" if self.escape is None else f"moxsVLCDecodeEscBlock_{self.escape.upper()}_1u16s"
        return self._decode(data, count, position, out, operation, *self._extra)


class TupleCodebook(_Decoder):
    """A prefix code of unsigned pairs or fours, whose signs stand behind the code words: a row's value is
    m0 + (m1 << value_bits) + ... Decodes only; `escape` as for Codebook."""

    def __init__(self, values, codes, lengths, size: int, value_bits: int, *, escape: str | None = None, lin_bits: int = 0,
                 levels=None):
        if escape not in (None, "aac", "mp3"):
            raise ValueError(f"escape: None, 'aac' or 'mp3', not {escape!r}")
        self.escape, self.lin_bits, self._group = escape, int(lin_bits), size
        self._longest = 64
        table = _table(values, codes, lengths)
        levels = _levels(levels, table[:, 2])
        arguments = table, len(table), levels, len(levels), size, value_bits
        decoder = block(sizes("moxsVLCDecodeUTupleGetSize_32s", *arguments)[0])
        self._decoder = ffi.cast("MoxVlcDecodeSpec *", address(decoder))
        call("moxsVLCDecodeUTupleInit_32s", *arguments, self._decoder)
        self._memory = decoder

    def decode(self, data, count: int, position: int = 0, *, out: np.ndarray | None = None) -> Decoded:
        """`count` values from the bit `position` on."""
        operation = "moxsVLCDecodeUTupleBlock_1u16s" if self.escape is None else (
            f"moxsVLCDecodeUTupleEscBlock_{self.escape.upper()}_1u16s")
        return self._decode(data, count, position, out, operation, *((self.lin_bits,) if self.escape == "mp3" else ()))
