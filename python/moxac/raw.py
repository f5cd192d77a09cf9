"""Every operation and constant of libmoxac as cffi gives it: `moxac.raw.moxsMDCTFwd_32f(...)`.

Nothing is checked here: arrays go in as pointers (`ffi.from_buffer("float[]", array)`), statuses come back as numbers.
The rest of the package is what most callers want."""
from ._library import ffi, lib

__all__ = ["ffi", *dir(lib)]


def __getattr__(name):
    try:
        return getattr(lib, name)
    except AttributeError:
        raise AttributeError(f"libmoxac has no {name}") from None


def __dir__():
    return __all__
