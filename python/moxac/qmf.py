"""The filter banks of spectral band replication and what works on their sub-bands."""
import numpy as np

from . import tables
from ._arrays import addresses, as_array, call, each, output, pointer, pointers, rows, same
from ._library import ffi, lib
from .contexts import Context, States, sizes

#: The standard's prototype low-pass, 640 values. Banks of 32 bands take every second one.
PROTOTYPE = tables.moxSbrQmfPrototype.astype(np.float32)
PROTOTYPE.flags.writeable = False

_ANALYSIS = {("complex", "f"): "AnalysisFilter{}_SBR_RToC_32f32fc", ("real", "f"): "AnalysisFilter{}_SBR_RToR_32f",
             ("complex", "i"): "AnalysisFilter{}_SBRHQ_32s32sc", ("real", "i"): "AnalysisFilter{}_SBRLP_32s"}
_SYNTHESIS = {("complex", "f"): "Filter{}_SBR_CToR_32fc32f", ("real", "f"): "Filter{}_SBR_RToR_32f",
              ("complex", "i"): "Filter{}_SBRHQ_32sc32s", ("real", "i"): "Filter{}_SBRLP_32s"}


class _Bank(States):
    """Either direction. Float banks take sub-bands as complex64 or float32, (..., slots, bands); fixed-point banks as
    int32, complex ones with a last axis of real and imaginary part, (..., slots, bands, 2)."""

    def __init__(self, pattern: str, kind: str, shape: tuple, dtype, bands: int, window):
        self.kind, self.dtype, self.bands = kind, np.dtype(dtype), bands
        if self.dtype not in (np.float32, np.int32):
            raise ValueError(f"dtype: float32 or int32, not {self.dtype}")
        self._operation = "moxs" + pattern.format("") + ("_D2L" if self.dtype.kind == "f" else "")
        side = "Analysis" if "Analysis" in pattern else "Synthesis"
        get_size, init = f"moxs{pattern.format('GetSize')}", f"moxs{pattern.format('Init')}"
        if self.dtype.kind == "i":
            super().__init__(shape, sizes(get_size)[0], f"MoxQmfFixed{side}State")
            each(init, self._states)
            return
        size, init_size, work_size = sizes(get_size, results=3)
        super().__init__(shape, size, "uint8_t")
        self._work_memory = np.zeros(max(init_size, work_size) + 1, np.uint8)
        self._work = pointer(self._work_memory)
        table = np.zeros(self._count, np.uintp)  # Init hands back where the contexts really begin
        each(init, pointers(addresses(table[:, None]), f"MoxQmf{side}Spec * *"), self._states, same(self._work))
        self._states = pointers(table, f"MoxQmf{side}Spec *")
        taps = 10 * bands if side == "Synthesis" else 320
        self._window = as_array(PROTOTYPE[:: 640 // taps] if window is None else window, np.float32, "window", ndim=1)
        if len(self._window) != taps:
            raise ValueError(f"window: {taps} values are wanted, not {len(self._window)}")

    def _sub_bands(self, slots: int) -> tuple:
        """Shape and dtype of the sub-band side."""
        shape = (*self.shape, slots, self.bands)
        if self.dtype.kind == "f":
            return shape, np.dtype(np.complex64 if self.kind == "complex" else np.float32)
        return ((*shape, 2) if self.kind == "complex" else shape), np.dtype(np.int32)

    def _row_tables(self, sub_bands: np.ndarray):
        """For each channel a pointer to its slots' row pointers."""
        table = addresses(sub_bands).reshape(self._count, -1)
        self._tables = table  # stays while the call lasts
        return pointers(addresses(table), "Mox32fc * *" if self.kind == "complex" else "float * *")

    def _words(self, sub_bands: np.ndarray):
        flat = sub_bands.reshape(self._count, -1)
        return pointers(addresses(flat), "Mox32sc *" if self.kind == "complex" else "int32_t *")


class QmfAnalysis(_Bank):
    """32 samples a slot to 32 sub-bands.

    kind   "complex" or "real" (low power)
    shape  leading axes of the signals: a bank, with a history of its own, for each channel
    dtype  numpy.float32, or numpy.int32 for the fixed-point banks
    """

    def __init__(self, kind: str = "complex", shape: tuple = (), dtype=np.float32, window=None):
        if kind not in ("complex", "real"):
            raise ValueError(f"kind: complex or real, not {kind!r}")
        super().__init__(_ANALYSIS[kind, np.dtype(dtype).kind], kind, shape, dtype, 32, window)

    def process(self, x, *, kept: int = 32, out: np.ndarray | None = None) -> np.ndarray:
        """(..., 32 * slots) samples to sub-bands. Those from `kept` on are set to 0."""
        x = as_array(x, self.dtype, "x")
        self._same_channels(x, 1, "x")
        slots, rest = divmod(x.shape[-1], 32)
        if rest:
            raise ValueError(f"x: a multiple of 32 samples is wanted, not {x.shape[-1]}")
        out, x = output(out, *self._sub_bands(slots), x)
        if slots == 0:
            return out
        if self.dtype.kind == "i":
            if not out.flags.c_contiguous:
                raise ValueError("out: the array must be contiguous")
            each(self._operation, rows(x), self._words(out), same(slots), same(kept), self._states)
        else:
            each(self._operation, rows(x), self._row_tables(out), same(pointer(self._window)), same(slots), same(0),
                 same(kept), self._states, same(self._work))
        return out


class QmfSynthesis(_Bank):
    """64 sub-bands to 64 samples a slot, or 32 to 32; otherwise as QmfAnalysis."""

    def __init__(self, kind: str = "complex", shape: tuple = (), dtype=np.float32, bands: int = 64, window=None):
        if kind not in ("complex", "real") or bands not in (32, 64):
            raise ValueError(f"kind: complex or real, bands: 32 or 64, not {kind!r}, {bands}")
        pattern = ("Synthesis" if bands == 64 else "SynthesisDown") + _SYNTHESIS[kind, np.dtype(dtype).kind]
        super().__init__(pattern, kind, shape, dtype, bands, window)

    def process(self, sub_bands, *, out: np.ndarray | None = None) -> np.ndarray:
        """(..., slots, bands) sub-bands to (..., bands * slots) samples."""
        sub_bands = as_array(sub_bands, self._sub_bands(0)[1], "sub_bands")
        axes = len(self._sub_bands(0)[0]) - len(self.shape)
        self._same_channels(sub_bands, axes, "sub_bands")
        slots = sub_bands.shape[len(self.shape)]
        if sub_bands.shape != self._sub_bands(slots)[0]:
            raise ValueError(f"sub_bands: shape {self._sub_bands(slots)[0]} is wanted, not {sub_bands.shape}")
        out, sub_bands = output(out, (*self.shape, self.bands * slots), self.dtype, sub_bands)
        if slots == 0:
            return out
        if self.dtype.kind == "i":
            words = np.ascontiguousarray(sub_bands)
            each(self._operation, self._words(words), rows(out), same(slots), self._states)
        else:
            each(self._operation, self._row_tables(sub_bands), rows(out), same(pointer(self._window)), same(slots),
                 self._states, same(self._work))
        return out


class QmfEncoderAnalysis(States):
    """The encoder's bank: 64 samples a slot to 64 complex sub-bands. `shape`: a bank for each of these channels."""

    def __init__(self, shape: tuple = ()):
        super().__init__(shape, sizes("moxsAnalysisFilterEncGetSize_SBR_32f")[0], "MoxQmfEncoderState")
        each("moxsAnalysisFilterEncInit_SBR_32f", self._states)

    def process(self, x, *, out: np.ndarray | None = None) -> np.ndarray:
        """(..., 64 * slots) samples to (..., slots, 64) sub-bands."""
        x = as_array(x, np.float32, "x")
        self._same_channels(x, 1, "x")
        slots, rest = divmod(x.shape[-1], 64)
        if rest:
            raise ValueError(f"x: a multiple of 64 samples is wanted, not {x.shape[-1]}")
        out, x = output(out, (*self.shape, slots, 64), np.complex64, x)
        if not out.flags.c_contiguous:
            raise ValueError("out: the array must be contiguous")
        if slots:
            each("moxsAnalysisFilterEnc_SBR_32f32fc", rows(x), _frames(out), same(pointer(PROTOTYPE)), same(slots), self._states)
        return out


def _frames(sub_bands: np.ndarray):
    """A pointer to the first slot of each channel."""
    return pointers(addresses(sub_bands.reshape(-1, sub_bands.shape[-2] * 64)), "Mox32fc *")


def _rows_of_64(sub_bands, ndim: int | None = None) -> np.ndarray:
    X = np.ascontiguousarray(as_array(sub_bands, np.complex64, "sub_bands", ndim=ndim))
    if X.ndim < 2 or X.shape[-1] != 64 or X.shape[-2] < 3:
        raise ValueError(f"sub_bands: (..., slots + 2, 64) is wanted, not {X.shape}")
    return X


def tonality(sub_bands, bands: int = 64, *, out: np.ndarray | None = None) -> np.ndarray:
    """Tone-to-noise ratios of the encoder's sub-bands, (..., slots + 2, 64) to (..., bands). The first two slots are
    history."""
    X = _rows_of_64(sub_bands)
    out, X = output(out, (*X.shape[:-2], bands), np.float32, X)
    each("moxsEstimateTNR_SBR_32f", _frames(X), rows(out), same(bands), same(X.shape[-2] - 2))
    return out


class TransientDetector(Context):
    """Looks for attacks in the encoder's sub-bands of one channel, relative to running levels of the lowest bands.

    threshold  octaves of energy; 2 is a good one for 8 bands and more"""

    def __init__(self, bands: int = 64, threshold: float = 2.0):
        if not 1 <= bands <= 64:
            raise ValueError(f"bands: 1 to 64, not {bands}")
        self.bands, self.threshold = bands, float(threshold)
        self._memory = np.zeros(bands, np.float32)

    def process(self, sub_bands) -> tuple[int | None, float]:
        """(the slot of the strongest attack or None, its octaves) of a frame, (slots + 2, 64): the last two slots lie
        ahead of it."""
        self._open()
        X = _rows_of_64(sub_bands, ndim=2)
        position, strength = ffi.new("int32_t *"), ffi.new("float *")
        call("moxsDetectTransient_SBR_32f", X, position, strength, self._memory, self.bands, len(X) - 2, self.threshold)
        return (position[0] if position[0] >= 0 else None), strength[0]


def qmf_analysis(x, kind: str = "complex", *, kept: int = 32, window=None, out: np.ndarray | None = None) -> np.ndarray:
    """Sub-bands of whole signals, (..., 32 * slots) to (..., slots, 32). int32 signals go through the fixed-point banks."""
    x = np.asarray(x)
    dtype = np.int32 if x.dtype == np.int32 else np.float32
    with QmfAnalysis(kind, x.shape[:-1], dtype, window) as bank:
        return bank.process(x, kept=kept, out=out)


def qmf_synthesis(sub_bands, *, window=None, out: np.ndarray | None = None) -> np.ndarray:
    """Whole signals from sub-bands, (..., slots, bands) to (..., bands * slots): 64 or 32 bands, complex or real, as the
    array is. 32 sub-bands of `qmf_analysis` give its signal 289 samples late."""
    sub_bands = np.asarray(sub_bands)
    kind = "complex" if sub_bands.dtype.kind == "c" else "real"
    if sub_bands.dtype.kind == "c":
        sub_bands = sub_bands.astype(np.complex64, copy=False)
    dtype, bands = np.float32, sub_bands.shape[-1] if sub_bands.ndim else 0
    shape = sub_bands.shape[:-2]
    if sub_bands.dtype == np.int32:
        dtype, kind = np.int32, "complex" if bands == 2 else "real"
        if bands == 2 and sub_bands.ndim >= 3:
            bands, shape = sub_bands.shape[-2], sub_bands.shape[:-3]
    with QmfSynthesis(kind, shape, dtype, bands, window) as bank:
        return bank.process(sub_bands, out=out)


def prediction_coefficients(sub_bands) -> tuple[np.ndarray, np.ndarray]:
    """(alpha0, alpha1) of the second-order predictor of each band, (..., slots + 2, bands) complex or real sub-bands to
    two arrays (..., bands). The first two slots are history."""
    dtype = np.complex64 if np.asarray(sub_bands).dtype.kind == "c" else np.float32
    X = as_array(sub_bands, dtype, "sub_bands")
    if X.ndim < 2 or X.shape[-2] < 3:
        raise ValueError("sub_bands: at least three slots are wanted")
    operation, ctype = ("moxsPredictCoef_SBR_C_32fc_D2L", "Mox32fc") if dtype == np.complex64 else (
        "moxsPredictCoef_SBR_R_32f_D2L", "float")
    alpha = [np.zeros((*X.shape[:-2], X.shape[-1]), dtype) for _ in range(2)]
    table = addresses(X).reshape(-1, X.shape[-2])
    each(operation, pointers(addresses(table), f"{ctype} * *"), rows(alpha[0]), rows(alpha[1]), same(X.shape[-1]),
         same(X.shape[-2] - 2))
    return alpha[0], alpha[1]


def hybrid_analysis(sub_bands, configuration: int = 20, *, out: np.ndarray | None = None) -> np.ndarray:
    """Parametric stereo's split of the lowest bands: (..., slots + 12, bands) complex sub-bands, of which 3 (or 5) are
    looked at, to (..., slots, 10), or 32 with configuration 34. The first twelve slots are history."""
    X = as_array(sub_bands, np.complex64, "sub_bands")
    wanted = {20: (3, lib.moxPsSubBands20), 34: (5, lib.moxPsSubBands34)}
    if configuration not in wanted:
        raise ValueError(f"configuration: 20 or 34, not {configuration}")
    bands, results = wanted[configuration]
    slots = X.shape[-2] - lib.moxPsHistorySlots if X.ndim >= 2 else 0
    if slots < 1 or X.shape[-1] < bands:
        raise ValueError(f"sub_bands: at least 13 slots of {bands} bands are wanted")
    out, X = output(out, (*X.shape[:-2], slots, results), np.complex64, X)
    source = addresses(X).reshape(-1, X.shape[-2])
    target = addresses(out).reshape(-1, slots)
    each("moxsAnalysisFilter_PS_32fc_D2", pointers(addresses(source), "Mox32fc * *"),
         pointers(addresses(target), "Mox32fc * *"), same(slots), same(configuration))
    return out
