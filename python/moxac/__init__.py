"""moxac: signal-processing primitives for audio coding, on NumPy arrays.

The transforms, banks and filters work along the last axes of arrays of any shape; `out=` takes an array for the results.
`vlc`, `vq`, `aac`, `mp3`, `qmf` and `vectors` hold what belongs to one family; `tables` the standards' numbers; `raw` every operation of the C interface.
A refusal by the library is a MoxacError, a wrong shape or dtype a ValueError or TypeError, before anything is computed.
"""
from . import aac, mp3, qmf, raw, tables, vectors, vlc, vq
from ._library import ffi, lib
from ._psychoacoustics import PsychoacousticModel, psychoacoustics
from .codec import CodecError, Decoder, decode, open  # noqa: A004
from .errors import MoxacError
from .qmf import QmfAnalysis, QmfSynthesis, qmf_analysis, qmf_synthesis
from .records import BitReader, Record
from .transform import (DtsSynthesis, MdctPlan, imdct, imdct_frames, kaiser_bessel_window, mdct, mdct_frames,
                        sine_window)
from .vectors import FirBlock, fir_block

__version__ = "8.1.1"


def library_version() -> str:
    """What the loaded library says of itself, "8.1.1 (r42291)"."""
    return ffi.string(lib.moxacGetLibVersion().versionText).decode()


__all__ = ["BitReader", "CodecError", "Decoder", "DtsSynthesis", "FirBlock", "MdctPlan", "MoxacError", "PsychoacousticModel", "QmfAnalysis",
           "QmfSynthesis", "Record", "aac", "decode", "fir_block", "imdct", "imdct_frames", "kaiser_bessel_window",
           "library_version", "mdct", "mdct_frames", "mp3", "open", "psychoacoustics", "qmf", "qmf_analysis", "qmf_synthesis", "raw",
           "sine_window", "tables", "vectors", "vlc", "vq"]
