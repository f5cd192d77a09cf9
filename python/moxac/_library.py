"""The shared library: where it is found, and its functions through cffi."""
import os
from pathlib import Path

import cffi

from . import _generated

ffi = cffi.FFI()
ffi.cdef(_generated.MOXAC)
ffi.cdef(_generated.MOXCODEC)


def load(name: str):
    """Opens a shared library: in MOXAC_LIBRARY_DIR when that is set, else where the loader looks."""
    directory = os.environ.get("MOXAC_LIBRARY_DIR")
    path = str(Path(directory) / name) if directory else name
    try:
        return ffi.dlopen(path)
    except OSError as error:
        raise ImportError(f"{name} could not be loaded ({error}); MOXAC_LIBRARY_DIR names the folder that holds it") from error


if "MOXAC_LIBRARY_DIR" in os.environ:
    # libmoxac needs it by name; one that is loaded already serves whatever the loader's own path is.
    core = load("libmoxcore.so.8")
lib = load("libmoxac.so.8")
