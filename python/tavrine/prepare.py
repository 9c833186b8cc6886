"""Makes a data set of pictures: tensors in shards that memory-map, and an index.

    python3 -m tavrine.prepare PICTURES... OUT --size 300x300

OUT then has shards, `numpy.load(shard, mmap_mode="r")` of the shape (rows, channels, height,
width), and index.csv with one line for each picture: the file and its SHA-256, the shard and the
row, the area of the picture that the tensor shows, the picture's pixels per element, or why it was
refused.
A `tavrine.Letterbox` of the area and the ratios leads back from the tensor to the picture.

A run that ended early, however it did, goes on where it stopped when the command is repeated. The
files do not depend on the number of workers.
"""

import argparse
import concurrent.futures
import contextlib
import csv
import dataclasses
import fcntl
import hashlib
import itertools
import json
import os
import pathlib
import sys
import threading
from collections import abc
from typing import Any

import numpy as np

from . import __version__
from .prepare_shards import (COLUMNS, TEMPORARY, Settings, Shard, TensorMaker, fill_shard,
                             shard_bytes, sync, whole_file, write_rows)

__all__ = ["INDEX", "PICTURES", "Problem", "main", "parser", "pictures_of", "prepare"]

INDEX = "index.csv"
RUN = "run.json"
PICTURES = {".bmp", ".gif", ".hdr", ".jpeg", ".jpg", ".pgm", ".pic", ".png", ".pnm", ".ppm", ".psd",
            ".tga"}


class Problem(Exception):
    """What ends a run, as one line of text."""


def pictures_of(names: abc.Iterable[str]) -> list[str]:
    """Files as they are named, and the pictures of folders in the order of their names."""
    pictures = []
    for name in names:
        if os.path.isdir(name):
            pictures += sorted(str(path) for path in pathlib.Path(name).rglob("*")
                               if path.suffix.lower() in PICTURES and path.is_file())
        else:
            pictures.append(name)
    if not pictures:
        raise Problem("the folders have no pictures")
    return pictures


def shards_of(pictures: abc.Sequence[str], length: int) -> list[Shard]:
    folder = os.getcwd()
    return [Shard(number, pictures[start:start + length], folder)
            for number, start in enumerate(range(0, len(pictures), length))]


def description_of(settings: Settings, pictures: abc.Sequence[str], length: int) -> dict[str, Any]:
    """What a repeated run must have in common with the first."""
    names = "\0".join(pictures).encode("utf-8", "surrogateescape")
    run = {"version": __version__, **dataclasses.asdict(settings), "shard": length,
           "pictures": [len(pictures), hashlib.sha256(names).hexdigest()]}
    return dict(json.loads(json.dumps(run)))


@contextlib.contextmanager
def claimed(out: pathlib.Path, run: dict[str, Any]) -> abc.Iterator[None]:
    """Makes the folder this run's: a new one, or one that the same run has begun."""
    out.mkdir(parents=True, exist_ok=True)
    descriptor = os.open(out, os.O_RDONLY)
    try:
        try:
            fcntl.flock(descriptor, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            raise Problem(f"{out}: another run is at work here") from None
        remove_temporary_files(out)
        if not (out / RUN).exists():
            if any(out.iterdir()):
                raise Problem(f"{out}: the folder is not empty, and not of an earlier run")
            with whole_file(out / RUN) as file:
                file.write(json.dumps(run, indent=1).encode() + b"\n")
        earlier = json.loads((out / RUN).read_text())
        if earlier != run:
            names = ", ".join(name for name in run if earlier.get(name) != run[name])
            raise Problem(f"{out}: the folder is of an earlier run with another {names}")
        yield
        remove_temporary_files(out)
    finally:
        os.close(descriptor)


def remove_temporary_files(out: pathlib.Path) -> None:
    """Those of workers that were killed."""
    for path in out.glob(TEMPORARY + "*"):
        path.unlink(missing_ok=True)


def read_rows(path: pathlib.Path) -> abc.Iterator[dict[str, str]]:
    with open(path, encoding="utf-8", errors="surrogateescape", newline="") as file:
        yield from csv.DictReader(file, COLUMNS)


def is_done(shard: Shard, out: pathlib.Path, settings: Settings) -> bool:
    """Whether the shard's rows are there, and the tensors that they name."""
    try:
        accepted = sum(not row["refused"] for row in read_rows(out / shard.rows))
        return (accepted == 0 or
                (out / shard.tensors).stat().st_size == shard_bytes(settings, accepted))
    except FileNotFoundError:
        return False


@contextlib.contextmanager
def workers(jobs: int, scheduler: str | None) -> abc.Iterator[Any]:
    """An executor: threads, which the library lets run side by side, or a cluster's workers."""
    if scheduler is None:
        with concurrent.futures.ThreadPoolExecutor(jobs) as threads:
            yield threads
    else:
        from distributed import Client  # the package python3-distributed

        with Client(scheduler) as client:  # type: ignore[no-untyped-call]
            yield client.get_executor(pure=False)


class Progress:
    """A bar on a terminal, when tqdm is there."""

    def __init__(self, total: int) -> None:
        self._lock = threading.Lock()
        try:
            from tqdm import tqdm  # type: ignore[import]
        except ImportError:
            self._bar = None
        else:
            self._bar = tqdm(total=total, unit=" pictures", disable=None)

    def advance(self, count: int = 1) -> None:
        if self._bar is not None:
            with self._lock:
                self._bar.update(count)

    def close(self) -> None:
        if self._bar is not None:
            self._bar.close()


class Stopped(Exception):
    """Ends the work of a thread when another one has failed."""


def fill_shards(shards: abc.Sequence[Shard], out: pathlib.Path, settings: Settings,
                options: argparse.Namespace) -> None:
    progress = Progress(sum(len(shard.names) for shard in shards))
    has_failed = threading.Event()

    def advance() -> None:
        if has_failed.is_set():
            raise Stopped
        progress.advance()

    with workers(options.jobs, options.scheduler) as executor:
        # A worker elsewhere cannot call back.
        callback = () if options.scheduler else (advance,)
        futures = {executor.submit(fill_shard, shard, str(out), settings, options.strict,
                                   *callback): shard for shard in shards}
        try:
            for future in concurrent.futures.as_completed(futures):
                future.result()
                shard = futures[future]
                if (out / shard.tensors).exists():
                    sync(out / shard.tensors)  # while the workers go on
                if options.scheduler:
                    progress.advance(len(shard.names))
        except BaseException:
            has_failed.set()
            for future in futures:
                future.cancel()
            raise
        finally:
            progress.close()


def write_index(shards: abc.Sequence[Shard], out: pathlib.Path) -> None:
    """When the index is there, so is everything that it names, also after a loss of power."""
    for path in out.glob("*.npy"):
        sync(path)
    with whole_file(out / INDEX) as index:
        write_rows(index, [COLUMNS])
        for shard in shards:
            index.write((out / shard.rows).read_bytes())
        index.flush()
        sync(out / index.name)
    sync(out)


def report(out: pathlib.Path) -> None:
    """Lists the refused pictures, and prints how many there are of which kind."""
    count, refused, shards = 0, 0, set()
    for row in itertools.islice(read_rows(out / INDEX), 1, None):
        count += 1
        if row["refused"]:
            refused += 1
            print(f"{row['file']}: {row['refused']}", file=sys.stderr)
        else:
            shards.add(row["shard"])
    print(f"{count - refused} tensors in {len(shards)} shards, {refused} pictures refused: "
          f"{out / INDEX}")


def prepare(options: argparse.Namespace) -> None:
    settings = Settings(options.size, options.mode, options.color, options.type, options.mean,
                        options.scale, options.pad)
    check(settings)
    pictures = pictures_of(options.pictures)
    shards = shards_of(pictures, options.shard)
    out = pathlib.Path(options.out).absolute()
    with claimed(out, description_of(settings, pictures, options.shard)):
        if not (out / INDEX).exists():
            fill_shards([shard for shard in shards if not is_done(shard, out, settings)], out,
                        settings, options)
            write_index(shards, out)
        for shard in shards:
            (out / shard.rows).unlink(missing_ok=True)
        report(out)


def check(settings: Settings) -> None:
    """Refuses settings that would refuse every picture."""
    if 0 in settings.scale:
        raise Problem("--scale: values are divided by it, so it must not be 0")
    try:
        TensorMaker(settings).fill(np.zeros((2, 2, 3), np.uint8))
    except ValueError as error:
        raise Problem(str(error)) from error


def size(text: str) -> tuple[int, int]:
    width, height = (int(number) for number in text.split("x"))
    if width < 1 or height < 1:
        raise ValueError
    return width, height


def color(text: str) -> tuple[float, ...]:
    numbers = tuple(float(number) for number in text.split(","))
    if len(numbers) not in (1, 3):
        raise ValueError
    return numbers * (3 // len(numbers))


def positive(text: str) -> int:
    if int(text) < 1:
        raise ValueError
    return int(text)


def parser() -> argparse.ArgumentParser:
    result = argparse.ArgumentParser(
        "python3 -m tavrine.prepare", fromfile_prefix_chars="@",
        description="Makes a data set of pictures: tensors in shards, and an index.",
        epilog="A run that ended early goes on where it stopped when the command is repeated.")
    add = result.add_argument
    add("pictures", nargs="+", metavar="PICTURES",
        help="picture files, folders of them, or @FILE with one on each line")
    add("out", metavar="OUT", help="a new folder, or that of an earlier run")
    add("--size", type=size, required=True, metavar="WIDTHxHEIGHT", help="of the tensors")
    add("--mode", choices=("fit", "centred", "stretch"), default="fit",
        help="how a picture fills its tensor, default fit: at the top left, padded elsewhere")
    add("--color", choices=("rgb", "bgr", "gray"), default="rgb", help="channels, default rgb")
    add("--type", choices=("float32", "uint8"), default="float32", help="default float32")
    for option, default, text in (("--mean", "0", "subtracted from the bytes"),
                                  ("--scale", "1", "divides the differences"),
                                  ("--pad", "0", "value of uncovered elements")):
        add(option, type=color, default=default, metavar="R,G,B", help=f"{text}, default {default}")
    add("--shard", type=positive, default=256, metavar="N", help="pictures a shard, default 256")
    add("--strict", action="store_true", help="stop at the first picture that is refused")
    where = result.add_mutually_exclusive_group()
    where.add_argument("--jobs", type=positive, default=1, metavar="N",
                       help="pictures at a time on this machine, default 1")
    where.add_argument("--scheduler", metavar="ADDRESS",
                       help="work on a Dask cluster that has this package and the same folders")
    return result


def main(arguments: abc.Sequence[str] | None = None) -> int:
    options = parser().parse_args(arguments)
    try:
        prepare(options)
    except KeyboardInterrupt:
        print("interrupted; repeat the command to go on", file=sys.stderr)
        return 130
    except Exception as error:  # a worker may fail in any way
        text = str(error) or type(error).__name__
        print(f"tavrine.prepare: {text}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
