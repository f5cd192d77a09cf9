"""Conjugate vector quantisation: two code books, each vector the mean of one entry of either."""
import numpy as np

from ._arrays import address, as_array, call, output
from ._library import ffi
from .contexts import Context, block, sizes


class CodeBook(Context):
    """(entries, length) vectors. `signed`: entries are used with either sign; a code word of the negative one is the
    entry's number plus `entries`."""

    def __init__(self, vectors, signed: bool = False):
        vectors = np.ascontiguousarray(as_array(vectors, np.float32, "vectors", ndim=2))
        if not np.isfinite(vectors).all():
            raise ValueError("vectors: finite values are wanted")
        self.entries, self.length = vectors.shape
        memory = block(sizes("moxsVQCodeBookGetSize_32f", self.length, self.entries)[0])
        self._book = ffi.cast("MoxVqCodeBook *", address(memory))
        call("moxsVQCodeBookInit_32f", vectors, self.length, self.entries, int(signed), self._book)
        self._memory = memory

    def nearest(self, x, candidates: int = 1, weights=None) -> np.ndarray:
        """The entries nearest to one vector, the nearest first."""
        self._open()
        x = as_array(x, np.float32, "x", ndim=1)
        out = np.empty(max(candidates, 0), np.int32)
        call("moxsVQPreliminarySelect_32f", x, _weights(weights, x), out, len(x), candidates, self._book)
        return out


def _weights(weights, x: np.ndarray) -> np.ndarray:
    """Weights for every value of x; not negative."""
    weights = np.ones_like(x) if weights is None else as_array(weights, np.float32, "weights")
    if weights.size and not weights.min() >= 0:
        raise ValueError("weights: none below 0")
    return np.ascontiguousarray(np.broadcast_to(weights, x.shape))


def search(x, book0: CodeBook, book1: CodeBook, *, candidates: int | tuple[int, int] = 16, weights=None,
           out: tuple[np.ndarray, np.ndarray] | None = None) -> tuple[np.ndarray, np.ndarray]:
    """The best code words of both books for each vector along the last axis, in one call: (..., length) to two arrays
    (...), so that (entry of book0 + entry of book1) / 2 comes near. `candidates` kept of each book before pairs are
    tried: the more, the slower and the better."""
    book0._open(), book1._open()
    x = np.ascontiguousarray(as_array(x, np.float32, "x"))
    count0, count1 = (candidates, candidates) if isinstance(candidates, int) else candidates
    count0, count1 = min(count0, book0.entries), min(count1, book1.entries)
    shape = x.shape[:-1]
    made = [output(given, shape, np.int32, x)[0] if shape else np.empty((), np.int32) for given in (out or (None, None))]
    words = [np.ascontiguousarray(m) for m in made]
    lengths = np.full(words[0].size, x.shape[-1], np.int32)
    if lengths.size:
        call("moxsVQIndexSelect_32f", x, _weights(weights, x), lengths, *(w.reshape(-1) for w in words), lengths.size,
             count0, count1, book0._book, book1._book)
    for m, w in zip(made, words):
        if m is not w:
            m[...] = w
    return made[0], made[1]


def reconstruct(index0, index1, book0: CodeBook, book1: CodeBook, *, length: int | None = None,
                out: np.ndarray | None = None) -> np.ndarray:
    """The vectors of code words, (...) to (..., length), in one call."""
    book0._open(), book1._open()
    index0, index1 = (np.ascontiguousarray(as_array(np.atleast_1d(i), np.int32, "index")) for i in (index0, index1))
    if index0.shape != index1.shape:
        raise ValueError(f"index1: shape {index0.shape} is wanted, not {index1.shape}")
    length = min(book0.length, book1.length) if length is None else length
    out, = output(out, (*index0.shape, length), np.float32)
    if not out.flags.c_contiguous:
        raise ValueError("out: the array must be contiguous")
    if index0.size:
        call("moxsVQReconstruction_32f", index0, index1, np.full(index0.size, length, np.int32), out, index0.size, book0._book,
             book1._book)
    return out
