"""Contexts as objects: usable with `with`, gone with their last reference."""
import numpy as np

from ._arrays import addresses, call, pointers
from ._library import ffi


class Context:
    """What an operation keeps precomputed, or remembers from call to call. `close` gives its memory back early; after
    that it refuses to be used."""

    _memory = None

    def __enter__(self):
        self._open()
        return self

    def __exit__(self, *_):
        self.close()

    def close(self) -> None:
        self._memory = None

    @property
    def closed(self) -> bool:
        return self._memory is None

    def _open(self) -> None:
        if self._memory is None:
            raise ValueError(f"this {type(self).__name__} is closed")


def block(size: int, count: int = 1) -> np.ndarray:
    """Memory for `count` contexts of `size` bytes, each on a boundary of 64 bytes."""
    pitch = -(-size // 64) * 64
    memory = np.zeros((count + 1) * pitch + 64, np.uint8)
    start = -memory.__array_interface__["data"][0] % 64
    return memory[start : start + count * pitch].reshape(count, pitch)


def sizes(operation: str, *arguments, results: int = 1) -> list[int]:
    """What a GetSize operation tells."""
    told = ffi.new("int32_t[]", results)
    call(operation, *arguments, *(told + i for i in range(results)))
    return list(told)


class States(Context):
    """One state for every channel of a signal, in one block of memory.

    shape  the leading axes of the arrays to come: () for one channel, (2,) for two ..."""

    def __init__(self, shape: tuple, size: int, ctype: str):
        self.shape = tuple(shape)
        self._count = int(np.prod(self.shape, dtype=int))
        self._memory = block(size, self._count)
        self._ctype = ctype
        self._states = pointers(addresses(self._memory), f"{ctype} *")

    def _same_channels(self, array: np.ndarray, axes: int, name: str) -> None:
        """Whether all but the last `axes` axes are the states' shape."""
        self._open()
        if array.ndim != len(self.shape) + axes or array.shape[: len(self.shape)] != self.shape:
            wanted = ", ".join([*map(str, self.shape), *["..."] * axes])
            raise ValueError(f"{name}: shape ({wanted}) is wanted, not {array.shape}")
