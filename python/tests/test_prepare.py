"""Data sets: the same files whoever makes them, and whatever interrupts them."""

import contextlib
import csv
import hashlib
import os
import signal
import subprocess
import sys
import time
from pathlib import Path

import numpy as np
import pytest

import tavrine
from tavrine import prepare

OPTIONS = "--size 40x30 --mean 124,116,104 --scale 58 --pad 7 --shard 4".split()
STYLE = {"mean": (124, 116, 104), "scale": 58, "padding": 7}
TOOL = Path(os.environ["TAVRINE_BUILD_FOLDER"]) / "bin/tavrine-aux"


@pytest.fixture
def pictures(tmp_path, monkeypatch):
    """Twenty files, four of which are refused. Shards 2 and 3 have pictures alone, 4 has none."""
    monkeypatch.chdir(tmp_path)
    random = np.random.default_rng(7)
    Path("in").mkdir()
    names = [f"in/{number:02}.png" for number in range(20)]
    for number, name in enumerate(names):
        shape = (20 + 3 * number, 60 - number) + ((3,) if number % 5 else ())
        tavrine.save(random.integers(0, 256, shape, np.uint8), name)
    Path(names[16]).unlink()
    for name, content in ((17, b""), (18, b"no picture"), (19, Path(names[0]).read_bytes()[:99])):
        Path(names[name]).write_bytes(content)
    return names


def run(*arguments):
    return subprocess.run([sys.executable, "-m", "tavrine.prepare", *map(str, arguments)],
                          capture_output=True, text=True)


def files_of(folder):
    return {path.name: path.read_bytes() for path in Path(folder).iterdir()}


def index_of(folder):
    with open(Path(folder) / "index.csv", newline="") as file:
        return list(csv.DictReader(file))


@contextlib.contextmanager
def started(*arguments):
    process = subprocess.Popen([sys.executable, *map(str, arguments)], stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
    try:
        yield process
    finally:
        process.kill()
        process.wait()


def wait_for(condition):
    deadline = time.monotonic() + 60
    while not condition():
        assert time.monotonic() < deadline
        time.sleep(0.01)


@pytest.mark.parametrize("mode, color, dtype", [
    ("fit", "rgb", "float32"), ("centred", "bgr", "uint8"), ("stretch", "gray", "float32")])
def test_rows_are_the_tensors_of_single_calls(pictures, mode, color, dtype):
    options = [*OPTIONS, "--mode", mode, "--color", color, "--type", dtype]
    first = run("in/", "one", *options)
    assert first.returncode == 0, first.stderr
    # The folder does not have the sixteenth file, and empty ones are refused.
    assert len(first.stderr.splitlines()) == 3
    assert first.stdout.startswith("16 tensors in 4 shards, 3 pictures refused: ")
    assert run("in/", "four", *options, "--jobs", 4).returncode == 0
    assert files_of("one") == files_of("four")
    lines = index_of("one")
    assert [line["file"] for line in lines] == [name for name in pictures if Path(name).exists()]
    for line in lines:
        data = Path(line["file"]).read_bytes()
        assert line["sha256"] == hashlib.sha256(data).hexdigest()
        if line["refused"]:
            assert line["shard"] == line["row"] == line["ratio_vertical"] == ""
            continue
        shard = np.load(Path("one") / line["shard"], mmap_mode="r")
        assert isinstance(shard, np.memmap) and shard.dtype == dtype
        image = tavrine.decode(data)
        if image.ndim == 2 and color != "gray":
            image = tavrine.cvt_color(image, "RGB")
        style = {**STYLE, "color": color, "dtype": dtype}
        if mode == "stretch":
            tensor, ratios = tavrine.transform_batch(image, (40, 30), mode=mode, **style)
            box = tavrine.Letterbox((0, 0, image.shape[1], image.shape[0]), ratios[0])
        else:
            tensor, box = tavrine.letterbox(image, (40, 30), mode=mode, **style)
        assert shard[int(line["row"])].tobytes() == tensor.tobytes()
        assert tuple(int(line[f"area_{side}"]) for side in "x y width height".split()) == box.area
        assert np.float32(line["ratio_horizontal"]) == np.float32(box.ratios[0])
        assert np.float32(line["ratio_vertical"]) == np.float32(box.ratios[1])
        if mode != "centred" and line["row"] == "2":
            subprocess.run([TOOL, "tensor", line["file"], "one.npy", "--mode", mode, *OPTIONS[:-2],
                            "--color", color], check=True)
            assert np.load("one.npy").tobytes() == tensor.tobytes()


def test_a_killed_run_goes_on(pictures):
    assert run(*pictures, "whole", *OPTIONS).returncode == 0
    whole = files_of("whole")
    # First at a known moment: while the ninth picture, a pipe, is being read.
    content = Path(pictures[8]).read_bytes()
    Path(pictures[8]).unlink()
    os.mkfifo(pictures[8])
    command = ["-m", "tavrine.prepare", *pictures, "out", *OPTIONS]
    with started(*command):
        wait_for(Path("out/shard-00001.csv").exists)
        assert run(*pictures, "out", *OPTIONS).stderr.endswith("another run is at work here\n")
    Path(pictures[8]).unlink()
    Path(pictures[8]).write_bytes(content)
    assert set(files_of("out")) >= {"run.json", "shard-00000.npy", "shard-00001.npy"}
    kept = Path("out/shard-00001.npy").stat()
    kills = 0
    for number in range(40):  # then whenever it happens
        with started(*command, "--jobs", 2) as process:
            with contextlib.suppress(subprocess.TimeoutExpired):
                process.wait(0.12 + 0.005 * number)
            kills += process.poll() is None
        files = files_of("out")
        for name in files.keys() & whole.keys():
            assert files[name] == whole[name], name
        if "index.csv" in files:
            break
    assert run(*pictures, "out", *OPTIONS).returncode == 0
    assert kills > 0
    assert files_of("out") == whole
    after = Path("out/shard-00001.npy").stat()
    assert (after.st_ino, after.st_mtime_ns) == (kept.st_ino, kept.st_mtime_ns)
    # A shard that lost bytes is made again.
    Path("out/index.csv").unlink()
    os.truncate("out/shard-00002.npy", 1000)
    assert run(*pictures, "out", *OPTIONS).returncode == 0
    assert files_of("out") == whole


def test_strict_runs_stop_and_wrong_ones_do_not_begin(pictures):
    strict = run(*pictures, "out", *OPTIONS, "--strict")
    assert strict.returncode == 1
    assert strict.stderr == "tavrine.prepare: in/16.png: No such file or directory\n"
    assert not Path("out/index.csv").exists() and Path("out/shard-00003.npy").exists()
    begun = files_of("out")
    Path("empty").mkdir()
    cases = [([*pictures, "out", *OPTIONS[:-1], "5"], 1, "of an earlier run with another shard"),
             ([*pictures[1:], "out", *OPTIONS], 1, "of an earlier run with another pictures"),
             ([*pictures, "in", *OPTIONS], 1, "in: the folder is not empty"),
             (["empty", "new", *OPTIONS], 1, "no pictures"),
             ([*pictures, "new", *OPTIONS, "--scale", "0"], 1, "must not be 0"),
             ([*pictures, "new", *OPTIONS, "--size", "0x3"], 2, "--size"),
             ([*pictures, "new", *OPTIONS, "--jobs", "0"], 2, "--jobs")]
    for arguments, status, text in cases:
        outcome = run(*arguments)
        assert (outcome.returncode, text in outcome.stderr) == (status, True), outcome.stderr
    assert files_of("out") == begun and not Path("new").exists()
    Path("list.txt").write_text("\n".join(pictures))
    assert run("@list.txt", "out", *OPTIONS).returncode == 0


def test_a_cluster_that_loses_a_worker(pictures):
    distributed = pytest.importorskip("distributed")
    assert run(*pictures, "whole", *OPTIONS).returncode == 0
    content = Path(pictures[5]).read_bytes()
    Path(pictures[5]).unlink()
    os.mkfifo(pictures[5])  # its reader waits for this test
    worker = ["-m", "distributed.cli.dask_worker", "--scheduler-file", "scheduler.json",
              "--nthreads", "1", "--no-nanny", "--no-dashboard"]
    with contextlib.ExitStack() as stack:
        stack.enter_context(started("-m", "distributed.cli.dask_scheduler", "--scheduler-file",
                                    "scheduler.json", "--port", "0", "--no-dashboard"))
        first = stack.enter_context(started(*worker))
        wait_for(Path("scheduler.json").exists)
        with distributed.Client(scheduler_file="scheduler.json") as client:
            client.wait_for_workers(1, timeout=60)
            address = client.scheduler.address
            main = stack.enter_context(started("-m", "tavrine.prepare", *pictures, "out", *OPTIONS,
                                               "--scheduler", address))
            wait_for(Path("out/shard-00000.csv").exists)
            stack.enter_context(started(*worker))
            client.wait_for_workers(2, timeout=60)
            # The second takes what waits behind the pipe.
            wait_for(Path("out/shard-00004.csv").exists)
            first.send_signal(signal.SIGKILL)
            wait_for(lambda: len(client.scheduler_info()["workers"]) == 1)
            Path(pictures[5]).write_bytes(content)
            assert main.wait(60) == 0
    assert files_of("out") == files_of("whole")


def test_progress_is_for_terminals(pictures):
    pytest.importorskip("tqdm")
    command = f"{sys.executable} -m tavrine.prepare in out {' '.join(OPTIONS)}"
    shown = subprocess.run(["script", "--quiet", "--return", "--command", command, "/dev/null"],
                           capture_output=True, text=True, stdin=subprocess.DEVNULL)
    assert "19/19" in shown.stdout
    assert "/" + prepare.INDEX in shown.stdout
