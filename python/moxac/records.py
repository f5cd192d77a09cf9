"""Records of the C interface as objects, and the reader that parsers move along a stream."""
from typing import Any

import numpy as np

from ._library import ffi
from ._arrays import address


def dtype_of(name: str) -> np.dtype:
    """The NumPy dtype of a C record, field by field at the compiler's own offsets. Pointers are words."""
    return _dtype(ffi.typeof(name))


def _dtype(ctype) -> np.dtype:
    if ctype.kind == "primitive":
        kind = {"float": "f", "double": "f"}.get(ctype.cname) or ("S" if ctype.cname == "char" else
                                                                  "u" if ctype.cname.startswith("u") else "i")
        return np.dtype(f"{kind}{ffi.sizeof(ctype)}")
    if ctype.kind == "array":
        return np.dtype((_dtype(ctype.item), (ctype.length,)))
    if ctype.kind == "pointer":
        return np.dtype(np.uintp)
    fields = ctype.fields
    return np.dtype({"names": [n for n, _ in fields], "formats": [_dtype(f.type) for _, f in fields],
                     "offsets": [f.offset for _, f in fields], "itemsize": ffi.sizeof(ctype)})


class Record:
    """One C record: fields are attributes. Numbers are read and set, arrays are NumPy views of the record's memory."""

    __slots__ = ("_array", "_type")

    def __init__(self, type_name: str, **fields):
        object.__setattr__(self, "_type", type_name)
        object.__setattr__(self, "_array", np.zeros(1, dtype_of(type_name)))
        for name, value in fields.items():
            setattr(self, name, value)

    @property
    def pointer(self):
        return ffi.cast(f"{self._type} *", address(self._array))

    def __getattr__(self, name: str) -> Any:
        if name.startswith("__") or name not in self._array.dtype.names:
            raise AttributeError(f"{self._type} has no field {name}")
        value = self._array[name][0]
        return value if isinstance(value, np.ndarray) else value.item()

    def __setattr__(self, name: str, value) -> None:
        if name not in self._array.dtype.names:
            raise AttributeError(f"{self._type} has no field {name}")
        self._array[name][0] = value

    def __dir__(self):
        return [*super().__dir__(), *self._array.dtype.names]

    def copy(self) -> "Record":
        other = Record(self._type)
        other._array[:] = self._array
        return other

    def as_dict(self) -> dict:
        return {name: getattr(self, name) for name in self._array.dtype.names}

    def __repr__(self):
        return f"{self._type}({', '.join(f'{n}={v}' for n, v in self.as_dict().items() if not isinstance(v, np.ndarray))})"


class BitReader:
    """A place in a stream. Parsers begin there and move it behind what they read; `position` is in bits.

    The bytes are copied, with room behind for parsers that run over the end. Those do not see it: whoever reads calls
    `within`, which raises EOFError when the position is past the end. The package's own parsers do."""

    ROOM = 8192  # a channel of AAC runs over by less than 4608 bytes

    def __init__(self, data, position: int = 0):
        bytes_ = np.frombuffer(bytes(data), np.uint8)
        self.bits = 8 * len(bytes_)
        self._buffer = np.zeros(len(bytes_) + self.ROOM, np.uint8)
        self._buffer[: len(bytes_)] = bytes_
        self._base = address(self._buffer)
        self._cursor = ffi.new("uint8_t *[1]")
        self._offset = ffi.new("int32_t *")
        self.position = position

    @property
    def position(self) -> int:
        return 8 * (int(ffi.cast("uintptr_t", self._cursor[0])) - self._base) + self._offset[0]

    @position.setter
    def position(self, bits: int) -> None:
        if not 0 <= bits <= self.bits:
            raise ValueError(f"position: 0 to {self.bits} bits, not {bits}")
        self._cursor[0] = ffi.cast("uint8_t *", self._base + bits // 8)
        self._offset[0] = bits % 8

    @property
    def cursor(self) -> tuple:
        """The two arguments of an operation that reads at a bit cursor."""
        self.within()
        return ffi.cast("uint8_t const * *", self._cursor), self._offset

    @property
    def byte_cursor(self):
        """The one argument of an operation that reads from a byte boundary."""
        self.within()
        if self._offset[0] != 0:
            raise ValueError("this is read from a byte boundary on")
        return ffi.cast("uint8_t const * *", self._cursor)

    def within(self) -> None:
        if self.position > self.bits:
            raise EOFError(f"the data end at bit {self.bits}, {self.position - self.bits} bits too early")

    def read(self, count: int) -> int:
        """The next `count` bits as a number, the first one highest."""
        start = self.position
        if start + count > self.bits:
            raise EOFError(f"the data end at bit {self.bits}")
        word = int.from_bytes(self._buffer[start // 8 : (start + count + 7) // 8].tobytes(), "big")
        self.position = start + count
        return (word >> (-(start + count) % 8)) & ((1 << count) - 1)

    def align(self) -> None:
        self.position = -(-self.position // 8) * 8
