"""MDCT: plans, frames, windows; the synthesis bank of the DTS core."""
import threading
from functools import lru_cache

import numpy as np

from ._arrays import as_array, each, output, pointer, rows, same
from ._library import ffi, lib
from .contexts import Context, States, block, sizes


class MdctPlan(Context):
    """The MDCT of n samples, in one direction and data type. Threads may share a plan.

    direction  "forward" (n samples to n/2 lines) or "inverse" (n/2 lines to n samples)
    dtype      numpy.float32, or numpy.int16 for a forward plan
    """

    _buffers = threading.local()

    def __init__(self, n: int, direction: str = "forward", dtype=np.float32):
        kinds = {("forward", "f4"): "Fwd", ("inverse", "f4"): "Inv", ("forward", "i2"): "Fwd"}
        self.dtype = np.dtype(dtype)
        if (direction, self.dtype.str[1:]) not in kinds:
            raise ValueError(f"there is no {direction} MDCT of {self.dtype}")
        kind, suffix = kinds[direction, self.dtype.str[1:]], {"f": "32f", "i": "16s"}[self.dtype.kind]
        self.n, self.direction = int(n), direction
        size, init_size, self._work_size = sizes(f"moxsMDCT{kind}GetSize_{suffix}", self.n, results=3)
        memory, init, spec = block(size), np.empty(init_size + 1, np.uint8), ffi.new("MoxMdctSpec **")
        status = getattr(lib, f"moxsMDCT{kind}Init_{suffix}")(spec, self.n, pointer(memory), pointer(init))
        assert status == 0, status
        self._spec, self._memory = spec[0], memory
        self._operation = f"moxsMDCT{kind}_{suffix}" + ("_Sfs" if suffix == "16s" else "")

    def _work(self):
        """This thread's work buffer."""
        held = getattr(self._buffers, "held", None)
        if held is None or len(held) < self._work_size:
            held = self._buffers.held = ffi.new("uint8_t[]", self._work_size + 1)
        return held

    def __call__(self, x, *, scale_factor: int | None = None, out: np.ndarray | None = None) -> np.ndarray:
        """Transforms along the last axis. With 16-bit samples, the lines are scaled by 2^-scale_factor; log2(n) + 1, the
        default, never saturates."""
        self._open()
        x = as_array(x, self.dtype, "x")
        n_in, n_out = (self.n, self.n // 2) if self.direction == "forward" else (self.n // 2, self.n)
        if x.shape[-1] != n_in:
            raise ValueError(f"x: a last axis of {n_in} is wanted, not {x.shape[-1]}")
        out, x = output(out, (*x.shape[:-1], n_out), self.dtype, x)
        constants = [same(self._spec)]
        if self.dtype.kind == "i":
            constants.append(same(self.n.bit_length() if scale_factor is None else int(scale_factor)))
        elif scale_factor is not None:
            raise ValueError("scale_factor: for 16-bit samples only")
        each(self._operation, rows(x), rows(out), *constants, same(self._work()))
        return out


@lru_cache(maxsize=64)
def _plan(n: int, direction: str, kind: str) -> MdctPlan:
    return MdctPlan(n, direction, kind)


def mdct(x, *, scale_factor: int | None = None, out: np.ndarray | None = None) -> np.ndarray:
    """The MDCT along the last axis, N samples to N/2 lines (N a power of two from 32 on; 12 and 36 in floats):

    X[k] = 2 * sum over n < N of x[n] * cos(2*pi/N * (n + 1/2 + N/4) * (k + 1/2))

    16-bit samples give 16-bit lines, scaled by 2^-scale_factor; everything else is computed as float32. Plans are cached."""
    x = np.asarray(x)
    return _plan(x.shape[-1] if x.ndim else 0, "forward", "i2" if x.dtype == np.int16 else "f4")(
        x, scale_factor=scale_factor, out=out)


def imdct(X, *, out: np.ndarray | None = None) -> np.ndarray:
    """The inverse MDCT along the last axis, N/2 lines to N samples:

    y[n] = 2/N * sum over k < N/2 of X[k] * cos(2*pi/N * (n + 1/2 + N/4) * (k + 1/2))

    Frames windowed before `mdct` and again after `imdct`, overlapped by half, add up to the signal."""
    X = np.asarray(X)
    return _plan(2 * X.shape[-1] if X.ndim else 0, "inverse", "f4")(X, out=out)


def sine_window(n: int) -> np.ndarray:
    """sin(pi/n * (k + 1/2)) for k < n."""
    return np.sin(np.pi / n * (np.arange(n) + 0.5)).astype(np.float32)


def kaiser_bessel_window(n: int, alpha: float = 4.0) -> np.ndarray:
    """The Kaiser-Bessel derived window; AAC has alpha 4 at n = 2048 and 6 at n = 256."""
    rising = np.cumsum(np.kaiser(n // 2 + 1, np.pi * alpha))
    half = np.sqrt(rising[:-1] / rising[-1])
    return np.concatenate([half, half[::-1]]).astype(np.float32)


def _window(window, n: int) -> np.ndarray:
    if isinstance(window, str):
        named = {"sine": sine_window, "kaiser-bessel": kaiser_bessel_window}
        if window not in named:
            raise ValueError(f"window: {' or '.join(named)}, or an array, not {window!r}")
        return named[window](n)
    window = as_array(window, np.float32, "window", ndim=1)
    if len(window) != n:
        raise ValueError(f"window: {n} values are wanted, not {len(window)}")
    return window


def mdct_frames(x, n: int, window="sine", *, out: np.ndarray | None = None) -> np.ndarray:
    """A signal as MDCT frames, as a codec sees it: n samples each, overlapped by half, windowed.

    x       (..., samples)
    window  "sine", "kaiser-bessel" or n values with w[k]^2 + w[k + n/2]^2 = 1
    out     (..., frames, n/2): one frame more than begun halves, the first and the last half filled with silence
    """
    x = as_array(x, np.float32, "x")
    hop = n // 2
    frames = -(-x.shape[-1] // hop) + 1
    padded = np.zeros((*x.shape[:-1], (frames + 1) * hop), np.float32)
    padded[..., hop : hop + x.shape[-1]] = x
    windowed = np.lib.stride_tricks.sliding_window_view(padded, n, axis=-1)[..., ::hop, :] * _window(window, n)
    return mdct(windowed, out=out)


def imdct_frames(X, window="sine", length: int | None = None, *, out: np.ndarray | None = None) -> np.ndarray:
    """The signal of `mdct_frames`, by windowing and overlap-add: (..., frames, n/2) to (..., length). Without a length,
    (frames - 1) * n/2 samples."""
    X = as_array(X, np.float32, "X")
    if X.ndim < 2:
        raise ValueError("X: frames and lines are wanted, at least two dimensions")
    hop = X.shape[-1]
    parts = imdct(X)
    parts *= _window(window, 2 * hop)
    signal = parts[..., 1:, :hop] + parts[..., :-1, hop:]
    signal = signal.reshape(*X.shape[:-2], -1)
    length = signal.shape[-1] if length is None else length
    if length > signal.shape[-1]:
        raise ValueError(f"length: {signal.shape[-1]} at most, not {length}")
    out, signal = output(out, (*X.shape[:-2], length), np.float32, signal)
    out[...] = signal[..., :length]
    return out


class DtsSynthesis(States):
    """The 32-band synthesis bank of the DTS core. `shape`: one bank for each of these channels."""

    def __init__(self, perfect: bool = True, shape: tuple = ()):
        super().__init__(shape, sizes("moxsSynthesisFilterGetSize_DTS_32f")[0], "MoxDtsSynthesisState")
        self.perfect = perfect
        each("moxsSynthesisFilterInit_DTS_32f", self._states)

    def process(self, bands, *, out: np.ndarray | None = None) -> np.ndarray:
        """(..., slots, 32) sub-band samples to (..., 32 * slots) samples."""
        bands = np.ascontiguousarray(as_array(bands, np.float32, "bands"))
        self._same_channels(bands, 2, "bands")
        if bands.shape[-1] != 32:
            raise ValueError(f"bands: 32 are wanted, not {bands.shape[-1]}")
        slots = bands.shape[-2]
        flat = bands.reshape(*self.shape, 32 * slots)
        out, flat = output(out, flat.shape, np.float32, flat)
        if slots:
            each("moxsSynthesisFilter_DTS_32f", rows(flat), rows(out), same(slots),
                 same(lib.moxDtsPerfect if self.perfect else lib.moxDtsNonPerfect), self._states)
        return out
