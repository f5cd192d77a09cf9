"""Numbers of the standards as moxac/tables.h has them, by their C names: read-only NumPy arrays, and plain numbers."""
import numpy as np

from ._generated import TABLES


def _frozen(value):
    if not isinstance(value, tuple):
        return value
    array = np.array(value)
    array.flags.writeable = False
    return array


globals().update({name: _frozen(value) for name, value in TABLES.items()})
__all__ = list(TABLES)


def __getattr__(name: str) -> np.ndarray:  # for type checkers, which do not see the line above
    raise AttributeError(f"there is no table {name}")
