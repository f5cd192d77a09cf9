"""Whole streams of coded audio, by libmoxcodec: MP3 and AAC to samples."""
import io
import os
from collections.abc import Iterator
from functools import lru_cache
from typing import NamedTuple

import numpy as np

from ._generated import CODEC_STATUSES
from ._library import ffi, load
from .contexts import Context
from .errors import MoxacError


@lru_cache(maxsize=1)
def _library():
    return load("libmoxcodec.so.1")


class CodecError(MoxacError):
    """A stream cannot be opened or read. `message` is what the decoder says of it."""

    def __init__(self, status: int, operation: str, message: str = ""):
        super().__init__(status, operation)
        self.name, self.sentence = CODEC_STATUSES.get(status, (f"status {status}", "unknown"))
        self.message = message
        self.args = (f"{operation}: {self.name} ({message or self.sentence})",)

    def __reduce__(self):
        return type(self), (self.status, self.operation, self.message)


class Format(NamedTuple):
    """rate in Hz; channel_mask: speakers as WAVE_FORMAT_EXTENSIBLE numbers them, or 0."""

    rate: int
    channels: int
    channel_mask: int


class Decoder(Context):
    """A stream that is read piece by piece.

    source  a path, bytes, or a binary file object that reads (and, to seek, seeks)
    dtype   numpy.int16, or numpy.float32 with full scale 1
    raw     keep the delay and padding that encoders put around the sound
    """

    def __init__(self, source, *, dtype=np.int16, raw: bool = False):
        self.dtype = np.dtype(dtype)
        if self.dtype not in (np.int16, np.float32):
            raise TypeError(f"dtype: int16 or float32, not {self.dtype}")
        self._codec = _library()
        options = ffi.new("MoxcDecoderOptions *", {"floatSamples": self.dtype == np.float32, "raw": bool(raw)})
        made = ffi.new("MoxcDecoder **")
        self._failure = None  # what a callback raised
        if isinstance(source, (str, os.PathLike)):
            operation = "moxcDecoderOpenFile"
            status = self._codec.moxcDecoderOpenFile(made, os.fsencode(source), options)
            if status == self._codec.moxcStatusReadFailed and ffi.errno:
                raise OSError(ffi.errno, os.strerror(ffi.errno), os.fspath(source))
        else:
            operation = "moxcDecoderOpen"
            file = source if hasattr(source, "read") else io.BytesIO(source)
            status = self._codec.moxcDecoderOpen(made, self._input(file), options)
        if made[0] != ffi.NULL:
            self._memory = ffi.gc(made[0], self._codec.moxcDecoderFree)
        self._check(status, operation)
        self._read(np.empty((1, 8), self.dtype))  # the format is told before the first sample

    def _input(self, file):
        """Callbacks that read a Python file. They live as long as the decoder."""
        def failed(kind, error, trace):
            self._failure = error
            return -1

        @ffi.callback("int64_t(void *, uint8_t *, size_t)", onerror=failed)
        def read(_, to, count):
            data = file.read(count)
            ffi.memmove(to, data, len(data))
            return len(data)

        @ffi.callback("int32_t(void *, int64_t)", onerror=failed)
        def seek(_, position):
            file.seek(start + position)
            return 0

        seekable = not hasattr(file, "seekable") or file.seekable()
        start = file.tell() if seekable else 0
        size = file.seek(0, io.SEEK_END) - start if seekable else -1
        if seekable:
            file.seek(start)
        self._callbacks = read, seek
        return ffi.new("MoxcInput *", {"read": read, "seek": seek if seekable else ffi.NULL, "size": size})

    def close(self) -> None:
        if self._memory is not None:
            ffi.release(self._memory)
        super().close()

    def _check(self, status: int, operation: str) -> None:
        if self._failure is not None:
            failure, self._failure = self._failure, None
            raise failure
        if status < 0:
            message = ffi.string(self._codec.moxcDecoderGetMessage(self._memory)).decode() if self._memory else ""
            raise CodecError(status, operation, message)

    def _call(self, operation: str, *arguments) -> None:
        self._open()
        self._check(getattr(self._codec, operation)(self._memory, *arguments), operation)

    @property
    def format(self) -> Format:
        """Of the samples that come next."""
        told = ffi.new("MoxcFormat *")
        self._call("moxcDecoderGetFormat", told)
        return Format(told.rate, told.channels, told.channelMask)

    @property
    def position(self) -> int:
        """Samples of each channel read so far."""
        told = ffi.new("int64_t *")
        self._call("moxcDecoderGetPosition", told)
        return told[0]

    @property
    def duration(self) -> tuple[int, str]:
        """(samples of each channel, "unknown", "estimated", "told" by the encoder or "exact")."""
        told, kind = ffi.new("int64_t *"), ffi.new("MoxcDuration *")
        self._call("moxcDecoderGetDuration", told, kind)
        return told[0], ("unknown", "estimated", "told", "exact")[int(kind[0])]

    def seek(self, position: int) -> None:
        """Goes to a sample: what is read then is what would be read there from the start."""
        self._call("moxcDecoderSeek", position)

    def scan(self) -> None:
        """Walks over the whole stream without making samples: `duration` is exact then. Seek back to read."""
        self._call("moxcDecoderScan")

    def read(self, frames: int = -1, *, out: np.ndarray | None = None) -> np.ndarray:
        """Up to `frames` samples of each channel, (samples, channels); none at the end. All that are left when `frames` is
        negative. Stops where the format changes, which `format` then tells: the next call goes on in the new one.
        `out`: an array of that many samples and channels; the part that was filled is returned."""
        self._open()
        channels = self.format.channels
        if out is not None:
            if not isinstance(out, np.ndarray) or out.dtype != self.dtype or out.ndim != 2 or out.shape[1] != channels or (
                    not out.flags.c_contiguous or not out.flags.writeable):
                raise ValueError(f"out: a contiguous array of {self.dtype}, (samples, {channels}), is wanted")
            frames = len(out) if frames < 0 else min(frames, len(out))
        parts, total = [], 0
        while frames < 0 or total < frames:
            wanted = 65536 if frames < 0 else frames - total
            part = np.empty((wanted, channels), self.dtype) if out is None else out[total:frames]
            got = self._read(part)
            if got is None:  # another format stands in front of what comes next
                if total or channels != self.format.channels:
                    break
                continue
            if got == 0:
                break
            parts.append(part[:got])
            total += got
        if out is not None:
            return out[:total]
        return parts[0] if len(parts) == 1 else np.concatenate(parts) if parts else np.empty((0, channels), self.dtype)

    def _read(self, part: np.ndarray) -> int | None:
        """Samples put to `part`, 0 at the end, None in front of another format."""
        count = ffi.new("size_t *")
        kind, ctype = ("16s", "int16_t[]") if self.dtype == np.int16 else ("32f", "float[]")
        operation = f"moxcDecoderRead_{kind}"
        status = getattr(self._codec, operation)(self._memory, ffi.from_buffer(ctype, part), len(part), count)
        self._check(status, operation)
        return None if status == self._codec.moxcStatusFormat else count[0]

    def blocks(self, frames: int = 4096) -> Iterator[np.ndarray]:
        """The rest of the sound in pieces."""
        while True:
            before = self.format
            block = self.read(frames)
            if len(block):
                yield block
            elif self.format == before:
                return

    def _texts(self, kind: int) -> list[tuple[str, str]]:
        self._open()
        lines, name, text = [], ffi.new("char const * *"), ffi.new("char const * *")
        while True:
            status = self._codec.moxcDecoderGetText(self._memory, kind, len(lines), name, text)
            self._check(status, "moxcDecoderGetText")
            if status == self._codec.moxcStatusEnd:
                return lines
            lines.append((ffi.string(name[0]).decode(), ffi.string(text[0]).decode()))

    @property
    def description(self) -> dict[str, str]:
        """What is known of the stream, as text: format, bit rate, duration ..."""
        return dict(self._texts(self._codec.moxcTextDescription))

    @property
    def tags(self) -> list[tuple[str, str]]:
        """(name, text) of title, artist and so on."""
        return self._texts(self._codec.moxcTextTag)

    @property
    def damage(self) -> list[str]:
        """What was damaged or missing."""
        return [text for _, text in self._texts(self._codec.moxcTextDamage)]


def open(source, *, dtype=np.int16, raw: bool = False) -> Decoder:  # noqa: A001
    """A Decoder, to be used with `with`."""
    return Decoder(source, dtype=dtype, raw=raw)


def decode(source, *, dtype=np.int16, raw: bool = False) -> tuple[int, np.ndarray]:
    """(rate, samples) of a whole stream, (samples, channels). A stream whose format changes midway is refused: read that
    piece by piece."""
    with Decoder(source, dtype=dtype, raw=raw) as decoder:
        told = decoder.format
        samples = decoder.read()
        if decoder.format != told:
            raise ValueError(f"the format changes from {told} to {decoder.format} after {len(samples)} samples")
        return told.rate, samples
