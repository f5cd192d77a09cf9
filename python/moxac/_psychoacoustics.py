"""Psychoacoustic model two: what is heard of a signal, granule by granule."""
import numpy as np

from ._arrays import addresses, as_array, each, output, pointers, same
from ._generated import MP3_ENCODER_PARAMETERS
from .contexts import Context
from .records import Record, dtype_of

_RATES = {44100: 0, 48000: 1, 32000: 2}

#: One granule of one channel: energies and masking thresholds by scale-factor band, perceptual entropy, block type.
ANALYSIS = dtype_of("MoxMp3PsychoacousticModelTwoAnalysis")


def encoder_parameters(initialiser: str = "DEFAULTS", **changes) -> Record:
    """What may be chosen of the MP3 encoder's operations: DEFAULTS or ANNEX, with the named fields changed."""
    parameters = Record("MoxMp3EncoderParameters")
    for name, value in zip(parameters.as_dict(), MP3_ENCODER_PARAMETERS[initialiser]):
        setattr(parameters, name, value)
    for name, value in changes.items():
        setattr(parameters, name, value)
    return parameters


class PsychoacousticModel(Context):
    """The model of one stream of one or two channels at 44.1, 48 or 32 kHz. `joint`: an attack counts in both.
    `parameters`: see encoder_parameters."""

    GRANULE = 576

    def __init__(self, rate: int, channels: int = 1, joint: bool = False,
                 parameters: Record | None = None):
        if rate not in _RATES or channels not in (1, 2):
            raise ValueError(f"one or two channels at 32000, 44100 or 48000 Hz are wanted, not {channels} at {rate}")
        self.channels = channels
        self._header = Record("MoxMp3FrameHeader", id=1, layer=1, samplingFreq=_RATES[rate],
                              mode=3 if channels == 1 else int(joint))
        self._parameters = parameters or encoder_parameters()
        self._memory = Record("MoxMp3PsychoacousticModelTwoState")

    def process(self, x, *, out: np.ndarray | None = None) -> np.ndarray:
        """(576 * granules,) or (576 * granules, channels) int16 samples to (granules, channels) records of ANALYSIS. A
        record is of the granule before the one given: the first ever says nothing."""
        self._open()
        x = as_array(x, np.int16, "x")
        granules, rest = divmod(x.shape[0], self.GRANULE)
        if rest or x.shape[1:] not in ((self.channels,), () if self.channels == 1 else (self.channels,)):
            raise ValueError(f"x: (576 * granules, {self.channels}) is wanted, not {x.shape}")
        x = np.ascontiguousarray(x).reshape(granules, -1)
        out, x = output(out, (granules, self.channels), ANALYSIS, x)
        each("moxsPsychoacousticModelTwo_MP3_16s", pointers(addresses(x), "int16_t *"),
             pointers(addresses(out), "MoxMp3PsychoacousticModelTwoAnalysis *"), same(self._header.pointer),
             same(self._parameters.pointer), same(self._memory.pointer))
        return out


def psychoacoustics(x, rate: int, joint: bool = False) -> np.ndarray:
    """Energies and thresholds of a whole signal, (samples,) or (samples, channels) int16, as (granules, channels)
    records: one for every begun 576 samples, the first for the first."""
    x = as_array(x, np.int16, "x")
    x = x[:, None] if x.ndim == 1 else x
    granules = -(-len(x) // PsychoacousticModel.GRANULE)
    padded = np.zeros(((granules + 1) * PsychoacousticModel.GRANULE, x.shape[1]), np.int16)
    padded[: len(x)] = x
    with PsychoacousticModel(rate, x.shape[1], joint) as model:
        return model.process(padded)[1:]
