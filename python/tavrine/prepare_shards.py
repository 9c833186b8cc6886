"""Shards of a data set: what one worker makes of a slice of the pictures.

A shard's content follows from its pictures and the settings alone. Its two files appear under their
names when they are complete, the list of rows last, so a shard that has one is done.
"""

import contextlib
import csv
import dataclasses
import hashlib
import io
import os
import pathlib
import typing
import uuid
from collections import abc
from typing import Any

import numpy as np

from . import Error, cvt_color, decode, letterbox, transform_batch

__all__ = ["COLUMNS", "Outcome", "Refused", "Settings", "Shard", "TensorMaker", "fill_shard"]

COLUMNS = ("file", "sha256", "shard", "row", "area_x", "area_y", "area_width", "area_height",
           "ratio_horizontal", "ratio_vertical", "refused")

TEMPORARY = ".writing-"
_HEADER_BYTES = 128


@dataclasses.dataclass(frozen=True)
class Settings:
    """How pictures become tensors. It decides every byte of the data set, with the pictures."""

    size: tuple[int, int]
    mode: str = "fit"
    color: str = "rgb"
    dtype: str = "float32"
    mean: tuple[float, ...] = (0.0, 0.0, 0.0)
    scale: tuple[float, ...] = (1.0, 1.0, 1.0)
    padding: tuple[float, ...] = (0.0, 0.0, 0.0)


class Shard(typing.NamedTuple):
    """Consecutive pictures. `names` are those of the index, relative to `folder`."""

    number: int
    names: abc.Sequence[str]
    folder: str

    @property
    def tensors(self) -> str:
        return f"shard-{self.number:05}.npy"

    @property
    def rows(self) -> str:
        return f"shard-{self.number:05}.csv"


class Refused(Exception):
    """A picture that cannot be used, in a strict run."""


class Outcome(typing.NamedTuple):
    """What became of a picture."""

    sha256: str
    reason: str = ""  # why it was refused
    area: tuple[int, int, int, int] = (0, 0, 0, 0)
    ratios: tuple[float, float] = (0, 0)


class TensorMaker:
    """Makes tensors of pictures, one after another in the same memory.

    The memory of files is used again, too, and that of a picture is released before the next one is
    decoded: memory that is still in the cache saves a tenth of the time.
    """

    def __init__(self, settings: Settings) -> None:
        channels = 1 if settings.color == "gray" else 3
        width, height = settings.size
        self.tensor = np.empty((1, channels, height, width), settings.dtype)
        self._file = bytearray()
        self._settings = settings
        self._style = {name: getattr(settings, name)
                       for name in ("color", "mean", "scale", "padding")}

    def make(self, path: str) -> Outcome:
        try:
            data = self._bytes_of(path)
        except OSError as error:
            return Outcome("", error.strerror or str(error))
        digest = hashlib.sha256(data).hexdigest()
        try:
            return Outcome(digest, "", *self.fill(decode(data)))
        except (ValueError, NotImplementedError, Error) as error:
            return Outcome(digest, str(error))

    def fill(self, image: Any) -> tuple[tuple[int, int, int, int], tuple[float, float]]:
        if image.ndim == 2 and self._settings.color != "gray":
            image = cvt_color(image, "RGB")
        if self._settings.mode == "stretch":
            _, ratios = transform_batch(image, out=self.tensor, mode="stretch", **self._style)
            area = 0, 0, image.shape[1], image.shape[0]
            return area, (float(ratios[0, 0]), float(ratios[0, 1]))
        _, box = letterbox(image, out=self.tensor, mode=self._settings.mode, **self._style)
        return box.area, box.ratios

    def _bytes_of(self, path: str) -> memoryview:
        with open(path, "rb", buffering=0) as file:
            size = os.fstat(file.fileno()).st_size
            if len(self._file) < size:
                self._file = bytearray(size)
            count = file.readinto(memoryview(self._file)[:size])
            rest = file.read()  # of a file that is not a plain one, or grows
        if rest or count != size:
            return memoryview(bytes(self._file[:count]) + rest)
        return memoryview(self._file)[:size]


@contextlib.contextmanager
def whole_file(path: pathlib.Path) -> abc.Iterator[typing.BinaryIO]:
    """A file that gets its name when the block ends, and is removed when the block fails.

    A process that is killed never leaves a part of it under its name. Against loss of power, sync()
    it before anything refers to it.
    """
    temporary = path.parent / (TEMPORARY + uuid.uuid4().hex)
    try:
        with open(temporary, "xb") as file:
            yield file
        os.replace(temporary, path)
    except BaseException:
        temporary.unlink(missing_ok=True)
        raise


def sync(path: pathlib.Path) -> None:
    """Waits until a file, or the names in a folder, are on the disk."""
    descriptor = os.open(path, os.O_RDONLY)
    try:
        os.fsync(descriptor)
    finally:
        os.close(descriptor)


def _header(shape: tuple[int, ...], dtype: str) -> bytes:
    header = io.BytesIO()
    np.lib.format.write_array_header_1_0(  # type: ignore[no-untyped-call]
        header, {"descr": np.dtype(dtype).str, "fortran_order": False, "shape": shape})
    if header.tell() != _HEADER_BYTES:
        raise OverflowError(f"a shard of the shape {shape} needs a longer header")
    return header.getvalue()


def shard_bytes(settings: Settings, rows: int) -> int:
    return _HEADER_BYTES + rows * TensorMaker(settings).tensor.nbytes


def write_rows(file: typing.BinaryIO, rows: abc.Sequence[abc.Sequence[Any]]) -> None:
    text = io.StringIO()
    csv.writer(text, lineterminator="\n").writerows(rows)
    file.write(text.getvalue().encode("utf-8", "surrogateescape"))


def fill_shard(shard: Shard, out: str, settings: Settings, is_strict: bool = False,
               advance: abc.Callable[[], object] = lambda: None) -> list[tuple[str, str]]:
    """Writes a shard and its rows into the folder `out`. Returns the refused pictures.

    is_strict: raises Refused for the first of them, and writes nothing.
    advance: called after each picture.
    """
    maker = TensorMaker(settings)
    rows: list[tuple[Any, ...]] = []
    refused = []
    accepted = 0
    with contextlib.ExitStack() as stack:
        file = None
        for name in shard.names:
            made = maker.make(os.path.join(shard.folder, name))
            if made.reason:
                if is_strict:
                    raise Refused(f"{name}: {made.reason}")
                refused.append((name, made.reason))
                rows.append((name, made.sha256, *[""] * 8, made.reason))
            else:
                if file is None:
                    file = stack.enter_context(whole_file(pathlib.Path(out) / shard.tensors))
                    file.write(bytes(_HEADER_BYTES))
                file.write(maker.tensor.data)
                rows.append((name, made.sha256, shard.tensors, accepted, *made.area, *made.ratios,
                             ""))
                accepted += 1
            advance()
        if file is not None:
            file.seek(0)
            file.write(_header((accepted, *maker.tensor.shape[1:]), settings.dtype))
    with whole_file(pathlib.Path(out) / shard.rows) as file:
        write_rows(file, rows)
    return refused
