"""Vector conversions, power laws and block filters."""
import numpy as np

from ._arrays import as_array, call, each, output, pointer, rows, same
from ._library import ffi, lib
from .contexts import Context


def _channels(array: np.ndarray, dtype) -> np.dtype:
    if array.dtype not in (np.int16, np.float32):
        raise TypeError(f"{dtype}: int16 or float32 is wanted, not {array.dtype}")
    return array.dtype


def interleave(x, *, out: np.ndarray | None = None) -> np.ndarray:
    """(channels, samples) to (samples, channels); int16 or float32."""
    x = np.asarray(x)
    x = as_array(x, _channels(x, "x"), "x", ndim=2)
    out, x = output(out, x.shape[::-1], x.dtype, x)
    if x.size:
        _contiguous(out)
        call("moxsInterleave_16s" if x.dtype == np.int16 else "moxsInterleave_32f", rows(x), *x.shape, out)
    return out


def deinterleave(x, *, out: np.ndarray | None = None) -> np.ndarray:
    """(samples, channels) to (channels, samples); int16 or float32."""
    x = np.asarray(x)
    x = np.ascontiguousarray(as_array(x, _channels(x, "x"), "x", ndim=2))
    out, x = output(out, x.shape[::-1], x.dtype, x)
    if x.size:
        call("moxsDeinterleave_16s" if x.dtype == np.int16 else "moxsDeinterleave_32f", x, *out.shape, rows(out))
    return out


def join(x, *, out: np.ndarray | None = None) -> np.ndarray:
    """(channels, samples) floats at 16-bit scale to (samples, channels) int16, rounded and saturated."""
    x = as_array(x, np.float32, "x", ndim=2)
    out, x = output(out, x.shape[::-1], np.int16, x)
    if x.size:
        _contiguous(out)
        call("moxsJoin_32f16s_D2L", rows(x), *x.shape, out)
    return out


def _contiguous(out: np.ndarray) -> None:
    if not out.flags.c_contiguous:
        raise ValueError("out: the array must be contiguous")


def _elementwise(operation: str, x: np.ndarray, dtype, out, *constants) -> np.ndarray:
    """A call a row: rows may lie anywhere."""
    out, x = output(out, x.shape, dtype, x)
    if x.shape[-1]:
        each(operation, rows(x), rows(out), same(x.shape[-1]), *map(same, constants))
    return out


def pow43(x, *, out: np.ndarray | None = None) -> np.ndarray:
    """sign(x) |x|^(4/3), int16 to float32: how MP3 and AAC requantise."""
    return _elementwise("moxsPow43_16s32f", as_array(x, np.int16, "x"), np.float32, out)


def pow34(x, *, out: np.ndarray | None = None) -> np.ndarray:
    """sign(x) |x|^(3/4), how their encoders compand: float32 to float32, or rounded when `out` is int16."""
    to_words = isinstance(out, np.ndarray) and out.dtype == np.int16
    return _elementwise("moxsPow34_32f16s" if to_words else "moxsPow34_32f", as_array(x, np.float32, "x"),
                        np.int16 if to_words else np.float32, out)


def pow34_scaled(x, scale_factor: int, *, out: np.ndarray | None = None) -> np.ndarray:
    """The same law on int16, times 2^-scale_factor, rounded and saturated."""
    return _elementwise("moxsPow34_16s_Sfs", as_array(x, np.int16, "x"), np.int16, out, scale_factor)


def gains(scale_factors, offset: int = 100, *, out: np.ndarray | None = None) -> np.ndarray:
    """2^((scale factor - offset) / 4), int16 to float32; with offset 100 the gains of AAC."""
    return _elementwise("moxsCalcSF_16s32f", as_array(scale_factors, np.int16, "scale_factors"), np.float32, out, offset)


def make_float(mantissa, exponent, *, out: np.ndarray | None = None) -> np.ndarray:
    """mantissa * 2^(-15 - exponent), int16 and uint16 to float32."""
    mantissa, exponent = as_array(mantissa, np.int16, "mantissa"), as_array(exponent, np.uint16, "exponent")
    if mantissa.shape != exponent.shape:
        raise ValueError(f"exponent: shape {mantissa.shape} is wanted, not {exponent.shape}")
    out, mantissa, exponent = output(out, mantissa.shape, np.float32, mantissa, exponent)
    if mantissa.shape[-1]:
        each("moxsMakeFloat_16s32f", rows(mantissa), rows(exponent), same(mantissa.shape[-1]), rows(out))
    return out


def _bands(offsets, lines: int) -> np.ndarray:
    offsets = np.ascontiguousarray(as_array(offsets, np.int32, "band_offsets", ndim=1))
    if len(offsets) < 2 or offsets.min() < 0 or offsets.max() > lines:
        raise ValueError(f"band_offsets: two or more between 0 and {lines} are wanted")
    return offsets


def scale_bands(x, factors, band_offsets, *, out: np.ndarray | None = None) -> np.ndarray:
    """Each band of the spectra along the last axis times its factor: (..., lines) and (..., bands) or (bands,)."""
    x = as_array(x, np.float32, "x")
    offsets = _bands(band_offsets, x.shape[-1])
    factors = as_array(factors, np.float32, "factors")
    factors = as_array(np.broadcast_to(factors, (*x.shape[:-1], len(offsets) - 1)), np.float32, "factors")
    out, factors = output(out, x.shape, np.float32, factors)
    out[...] = x
    each("moxsScale_32f_I", rows(out), rows(factors), same(pointer(offsets)), same(len(offsets) - 1))
    return out


def spread_bands(values, band_offsets, lines: int, scale_factor: int = 0, *, out: np.ndarray | None = None) -> np.ndarray:
    """Band values times 2^-scale_factor, rounded, at every line of their band: (..., bands) to (..., lines) int16.
    Lines of no band are 0, or stay in `out`."""
    values = as_array(values, np.int16, "values")
    offsets = _bands(band_offsets, lines)
    if values.shape[-1] != len(offsets) - 1:
        raise ValueError(f"values: {len(offsets) - 1} bands are wanted, not {values.shape[-1]}")
    if out is None:
        out = np.zeros((*values.shape[:-1], lines), np.int16)
    out, values = output(out, (*values.shape[:-1], lines), np.int16, values)
    each("moxsSpread_16s_Sfs", rows(values), rows(out), same(pointer(offsets)), same(len(offsets) - 1), same(scale_factor))
    return out


def requantise_bands(x, scales, band_offsets, scale_factor: int = 0, *, out: np.ndarray | None = None) -> np.ndarray:
    """sign(x) |x|^(4/3) 2^(scale/4) 2^-scale_factor by band, int16 (..., lines) to int32. Lines of no band are 0, or
    stay in `out`."""
    x = as_array(x, np.int16, "x")
    offsets = _bands(band_offsets, x.shape[-1])
    scales = as_array(np.broadcast_to(as_array(scales, np.int16, "scales"), (*x.shape[:-1], len(offsets) - 1)), np.int16,
                      "scales")
    if out is None:
        out = np.zeros(x.shape, np.int32)
    out, x, scales = output(out, x.shape, np.int32, x, scales)
    each("moxsPow43Scale_16s32s_Sf", rows(x), rows(out), rows(scales), same(pointer(offsets)), same(len(offsets) - 1),
         same(scale_factor))
    return out


class FirBlock(Context):
    """A filter over successive blocks, one at every position: the sum of the newest `taps` blocks, weighted.

    taps       how many blocks count, the newest included
    block_len  values of a block
    """

    def __init__(self, taps: int, block_len: int):
        if not 1 <= taps <= 32767 or not 1 <= block_len <= 32767:
            raise ValueError("taps and block_len: 1 to 32767")
        self.taps, self.block_len = int(taps), int(block_len)
        made = ffi.new("MoxFirBlockState **")
        call("moxsFIRBlockInitAlloc_32f", made, self.taps, self.block_len)
        self._memory = ffi.gc(made[0], lib.moxsFIRBlockFree_32f)

    def close(self) -> None:
        if self._memory is not None:
            ffi.release(self._memory)
        super().close()

    def process(self, blocks, weights, *, out: np.ndarray | None = None) -> np.ndarray:
        """(block_len,) or (blocks, block_len), in order of time, to as many sums. weights[a] belongs to age a: the
        newest block is weights[0]."""
        self._open()
        blocks, weights = as_array(blocks, np.float32, "blocks"), _newest_first(weights, self.taps)
        if blocks.ndim > 2 or blocks.shape[-1] != self.block_len:
            raise ValueError(f"blocks: ({self.block_len},) or (blocks, {self.block_len}) is wanted, not {blocks.shape}")
        out, blocks = output(out, blocks.shape, np.float32, blocks)
        each("moxsFIRBlockOne_32f", rows(blocks), rows(out), same(self._memory), same(pointer(weights)))
        return out


def _newest_first(weights, taps: int) -> np.ndarray:
    weights = np.ascontiguousarray(as_array(weights, np.float32, "weights", ndim=1))
    if len(weights) != taps:
        raise ValueError(f"weights: {taps} are wanted, not {len(weights)}")
    return weights


def fir_block(x, weights, *, out: np.ndarray | None = None) -> np.ndarray:
    """The weighted sum of each block and those before it, (..., blocks, block_len): out[t] = sum over a of
    weights[a] * x[t - a]. Every leading index is a signal of its own, silent before its first block."""
    x = as_array(x, np.float32, "x")
    if x.ndim < 2:
        raise ValueError("x: at least two dimensions are wanted, blocks and values")
    out, x = output(out, x.shape, np.float32, x)
    weights = as_array(weights, np.float32, "weights", ndim=1)
    for signal in np.ndindex(x.shape[:-2]):  # a state and one loop in C each
        with FirBlock(len(weights), x.shape[-1]) as fir:
            fir.process(x[signal], weights, out=out[signal])
    return out
