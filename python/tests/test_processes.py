"""Threads, processes and long runs, and what is shipped beside the module."""

import multiprocessing
import os
import resource
import subprocess
import sys
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import numpy as np
import pytest

import tavrine

PACKAGE = Path(tavrine.__file__).parent
RGB = np.random.default_rng(1).integers(0, 256, (480, 640, 3), np.uint8)


def work(seed):
    """The sum of some results; a refusal in between must not disturb it."""
    total = 0
    for i in range(10):
        size = 100 + (seed + i) % 7, 80
        total += int(tavrine.resize(RGB, size).sum()) + int(tavrine.rotate(RGB, 90)[seed].sum())
        try:
            tavrine.crop(RGB, (1000 + seed, 0, 4, 4))
        except ValueError as error:
            total += str(1000 + seed) in str(error)
    return total


@pytest.mark.parametrize("start", ["threads", "fork", "spawn"])
def test_workers(start):
    expected = [work(seed) for seed in range(8)]
    if start == "threads":
        with ThreadPoolExecutor(8) as pool:
            assert list(pool.map(work, range(8))) == expected
        return
    # Other threads log while the processes are started.
    stop = threading.Event()

    def log_until_stopped():
        while not stop.is_set():
            tavrine.resize(RGB[:4, :4], (4, 4))

    threads = [threading.Thread(target=log_until_stopped) for _ in range(2)]
    for thread in threads:
        thread.start()
    try:
        for _ in range(5 if start == "fork" else 1):
            with multiprocessing.get_context(start).Pool(2) as pool:
                assert pool.map_async(work, range(8)).get(timeout=60) == expected
    finally:
        stop.set()
        for thread in threads:
            thread.join()


def test_other_threads_run_during_a_call():
    large = np.zeros((4000, 4000, 3), np.uint8)
    ticks = []
    done = threading.Event()

    def tick():
        while not done.is_set():
            ticks.append(time.perf_counter())
            time.sleep(0.001)

    thread = threading.Thread(target=tick)
    thread.start()
    start = time.perf_counter()
    while time.perf_counter() - start < 0.3:
        tavrine.warp_perspective(large, np.eye(3) + 1e-7)
    done.set()
    thread.join()
    # A call takes some 100 ms; with the interpreter held there would be a tick for each.
    assert len(ticks) > 50


def resident_kib():
    pages = int(Path("/proc/self/statm").read_text().split()[1])
    return pages * resource.getpagesize() // 1024


def test_memory_is_flat():
    small = np.zeros((16, 16, 3), np.uint8)
    out = np.zeros((8, 8, 3), np.uint8)
    tensor = np.zeros((1, 3, 16, 16), np.float32)
    nv12 = tavrine.cvt_color(small, "NV12")
    pair = nv12[:16], nv12[16:].reshape(8, 8, 2)
    file = tavrine.encode(small, "png")

    def refused():
        try:
            tavrine.resize(small, (8, 8), out=small)
        except ValueError:
            pass

    calls = [
        (200_000, lambda: tavrine.resize(small, (8, 8), out=out)),
        (400_000, lambda: tavrine.rotate(small, 90)),
        (100_000, lambda: tavrine.to_tensor(small, out=tensor, mean=(1, 2, 3))),
        (100_000, lambda: tavrine.cvt_color(nv12, "RGB", format="NV12")),
        (100_000, lambda: tavrine.rotate(pair, 180, format="NV12")),
        (50_000, lambda: tavrine.transform_batch(small, (8, 8), [(0, 0, 9, 9)])),
        (20_000, lambda: tavrine.decode(file)),
        (20_000, refused),
        (10_000, lambda: tavrine.resize(small, (8, 8), device=True)),
    ]

    def run(share):
        for count, call in calls:
            for _ in range(count // share):
                call()

    run(100)
    before = resident_kib()
    run(1)
    assert sum(count for count, _ in calls) >= 1_000_000
    assert resident_kib() - before < 1024


def test_stubs_agree_with_the_module(tmp_path):
    folder = str(PACKAGE.parent)
    done = subprocess.run(
        [sys.executable, "-m", "mypy.stubtest", "tavrine"], cwd=tmp_path, capture_output=True, text=True,
        env={**os.environ, "MYPYPATH": folder, "PYTHONPATH": folder})
    assert done.returncode == 0, done.stdout + done.stderr


def test_every_function_says_what_it_does():
    for name in tavrine.__all__:
        assert len(getattr(tavrine, name).__doc__) > 40, name
