"""NumPy arrays as arguments: dtypes and shapes checked, pointers to rows, calls row by row."""
from collections.abc import Iterable
from itertools import repeat

import numpy as np

from ._library import ffi, lib
from .errors import MoxacError

_POINTERS = {np.dtype(name): ffi.typeof(f"{ctype} *") for name, ctype in [
    ("f4", "float"), ("i2", "int16_t"), ("i4", "int32_t"), ("u1", "uint8_t"), ("i1", "int8_t"), ("u2", "uint16_t"),
    ("c8", "Mox32fc")]}
_ROWS = {dtype: ffi.typeof(f"{ffi.getctype(kind)} []") for dtype, kind in _POINTERS.items()}
_VALUES = {dtype: ffi.typeof(f"{ffi.getctype(kind.item)}[]") for dtype, kind in _POINTERS.items()}
_COMPLEX_WORDS = np.dtype([("re", "i4"), ("im", "i4")])
_POINTERS[_COMPLEX_WORDS] = ffi.typeof("Mox32sc *")
_ROWS[_COMPLEX_WORDS] = ffi.typeof("Mox32sc * []")


def address(array: np.ndarray) -> int:
    return array.__array_interface__["data"][0]


def pointer(array: np.ndarray):
    """The array's first element; the array must outlive the call."""
    return ffi.cast(_POINTERS[array.dtype], address(array))


def as_array(value, dtype, name: str, *, ndim: int | None = None) -> np.ndarray:
    """`value` as an array of the dtype, contiguous along its last axis. Real numbers become floats; integers must fit."""
    dtype = np.dtype(dtype)
    array = np.asarray(value)
    if array.dtype != dtype:
        if dtype.kind in "iu":
            limits = np.iinfo(dtype)
            if array.dtype.kind not in "iub" and array.size:
                raise TypeError(f"{name}: {dtype} is wanted, not {array.dtype}")
            if array.size and (array.min() < limits.min or array.max() > limits.max):
                raise TypeError(f"{name}: values that do not fit {dtype}")
        elif not np.can_cast(array.dtype, dtype, "same_kind"):
            raise TypeError(f"{name}: {dtype} is wanted, not {array.dtype}")
        array = array.astype(dtype)
    if ndim is not None and array.ndim != ndim:
        raise ValueError(f"{name}: {ndim} dimensions are wanted, not {array.ndim}")
    if array.ndim == 0:
        raise ValueError(f"{name}: an array is wanted, not a number")
    if array.shape[-1] > 1 and array.strides[-1] != array.itemsize:
        array = np.ascontiguousarray(array)
    return array


def output(out, shape: tuple, dtype, *sources: np.ndarray) -> tuple:
    """(the array that takes the results, the sources): a new array, or `out` when it is of that shape and dtype. Sources
    that share memory with `out` are copied."""
    if out is None:
        return (np.empty(shape, dtype), *sources)
    if not isinstance(out, np.ndarray) or out.dtype != np.dtype(dtype):
        raise TypeError(f"out: an array of {np.dtype(dtype)} is wanted")
    if out.shape != tuple(shape):
        raise ValueError(f"out: shape {tuple(shape)} is wanted, not {out.shape}")
    if not out.flags.writeable:
        raise ValueError("out: the array is read-only")
    if out.shape[-1] > 1 and out.strides[-1] != out.itemsize:
        raise ValueError("out: the array must be contiguous along its last axis")
    return (out, *(s.copy() if np.may_share_memory(s, out) else s for s in sources))


def addresses(array: np.ndarray) -> np.ndarray:
    """Where each row along the last axis begins, in C order of the other axes."""
    at = np.array(address(array), np.uintp)
    for count, stride in zip(array.shape[:-1], array.strides[:-1]):
        at = at[..., None] + np.arange(count, dtype=np.uintp) * np.array(stride).astype(np.uintp)
    return at.reshape(-1)


def pointers(at: np.ndarray, ctype: str):
    """Addresses as C pointers, to be iterated over in C."""
    return ffi.from_buffer(f"{ctype}[]", np.ascontiguousarray(at, np.uintp))


def rows(array: np.ndarray):
    """A pointer to each row along the last axis."""
    if array.ndim == 1:
        return (ffi.from_buffer(_VALUES[array.dtype], array),)
    return ffi.from_buffer(_ROWS[array.dtype], addresses(array))


def check(status: int, operation: str) -> None:
    if status < 0:
        raise MoxacError(status, operation)


def call(operation: str, *arguments) -> None:
    """One call. Arrays go in as pointers to their first elements, objects with a `pointer` as that."""
    converted = [pointer(a) if isinstance(a, np.ndarray) else getattr(a, "pointer", a) for a in arguments]
    check(getattr(lib, operation)(*converted), operation)


def each(operation: str, *columns: Iterable) -> None:
    """One call a row: the n-th with the n-th of every column. The loop runs in the interpreter's C code, without Python
    byte code between the calls; the first failure stops it."""
    for status in filter(_FAILED, map(getattr(lib, operation), *columns)):
        raise MoxacError(status, operation)


_FAILED = (0).__gt__  # a negative status; warnings leave complete results

same = repeat
