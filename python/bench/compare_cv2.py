"""Times the package beside cv2 in one run, and prints the table of docs/python.md.

Both are called in the way that does the same work and take turns; the fastest of the rounds counts.
cv2 uses one thread, as this library does.
"""

import platform
import sys
import timeit

import cv2
import numpy as np

import tavrine

ROUNDS = 15
SECONDS = 0.004  # of each round
INVERSE = cv2.INTER_LINEAR | cv2.WARP_INVERSE_MAP
MEAN = 124, 116, 104

cv2.setNumThreads(1)
random = np.random.default_rng(1)


def picture(width, height, *channels):
    """Smooth enough to be encoded like a photograph."""
    noise = random.integers(0, 256, (height // 8, width // 8, *channels), np.uint8)
    return cv2.resize(noise, (width, height), interpolation=cv2.INTER_CUBIC)


def overhead():
    """Pictures of 8x8, where the call takes longer than its work."""
    rgb = picture(8, 8, 3)
    out = np.zeros_like(rgb)
    affine = np.eye(2, 3, dtype=np.float32)
    perspective = np.eye(3, dtype=np.float32)
    points = np.array([[0, 0], [1, 0], [0, 1]], np.float32)
    yield "rotate by 180", lambda: tavrine.rotate(rgb, 180), lambda: cv2.rotate(rgb, cv2.ROTATE_180)
    yield "rotate by 180, out", lambda: tavrine.rotate(rgb, 180, out=out), lambda: cv2.rotate(rgb, cv2.ROTATE_180, out)
    yield "RGB to BGR", lambda: tavrine.cvt_color(rgb, "BGR"), lambda: cv2.cvtColor(rgb, cv2.COLOR_RGB2BGR)
    yield "RGB to BGR, out", lambda: tavrine.cvt_color(rgb, "BGR", out=out), lambda: cv2.cvtColor(rgb, cv2.COLOR_RGB2BGR, out)
    yield "RGB to GREY", lambda: tavrine.cvt_color(rgb, "GREY"), lambda: cv2.cvtColor(rgb, cv2.COLOR_RGB2GRAY)
    yield "resize to the same size", lambda: tavrine.resize(rgb, (8, 8)), lambda: cv2.resize(rgb, (8, 8))
    yield "resize to 16x16", lambda: tavrine.resize(rgb, (16, 16)), lambda: cv2.resize(rgb, (16, 16))
    yield "warp_affine", lambda: tavrine.warp_affine(rgb, affine), lambda: cv2.warpAffine(rgb, affine, (8, 8), flags=INVERSE)
    yield "warp_perspective", lambda: tavrine.warp_perspective(rgb, perspective), lambda: cv2.warpPerspective(rgb, perspective, (8, 8), flags=INVERSE)
    yield "find_affine", lambda: tavrine.find_affine(points, points), lambda: cv2.getAffineTransform(points, points)


def operations():
    """What both libraries do, on whole pictures and into arrays that exist."""
    rgb, grey = picture(1920, 1080, 3), picture(1920, 1080)
    nv12 = tavrine.cvt_color(rgb, "NV12")
    small = picture(640, 360, 3)
    like, grey_like = np.zeros_like(rgb), np.zeros_like(grey)

    def resize(name, source, width, height):
        out = np.zeros((height, width, *source.shape[2:]), np.uint8)
        return (f"resize {name} to {width}x{height}",
                lambda: tavrine.resize(source, (width, height), out=out),
                lambda: cv2.resize(source, (width, height), out))

    yield resize("GREY 1920x1080", grey, 640, 360)
    yield resize("RGB 1920x1080", rgb, 960, 540)
    yield resize("RGB 1920x1080", rgb, 800, 450)
    yield resize("RGB 1920x1080", rgb, 224, 224)
    yield resize("RGB 640x360", small, 1920, 1080)
    turned = np.zeros((1920, 1080, 3), np.uint8)
    yield "rotate RGB 1920x1080 by 90", lambda: tavrine.rotate(rgb, 90, out=turned), lambda: cv2.rotate(rgb, cv2.ROTATE_90_CLOCKWISE, turned)
    yield "rotate RGB 1920x1080 by 180", lambda: tavrine.rotate(rgb, 180, out=like), lambda: cv2.rotate(rgb, cv2.ROTATE_180, like)
    yield "RGB to BGR 1920x1080", lambda: tavrine.cvt_color(rgb, "BGR", out=like), lambda: cv2.cvtColor(rgb, cv2.COLOR_RGB2BGR, like)
    yield "RGB to GREY 1920x1080", lambda: tavrine.cvt_color(rgb, "GREY", out=grey_like), lambda: cv2.cvtColor(rgb, cv2.COLOR_RGB2GRAY, grey_like)
    yield "GREY to RGB 1920x1080", lambda: tavrine.cvt_color(grey, "RGB", out=like), lambda: cv2.cvtColor(grey, cv2.COLOR_GRAY2RGB, like)
    yield "NV12 to RGB 1920x1080", lambda: tavrine.cvt_color(nv12, "RGB", format="NV12", out=like), lambda: cv2.cvtColor(nv12, cv2.COLOR_YUV2RGB_NV12, like)
    affine = np.float32([[0.9, 0.2, 30], [-0.2, 0.9, 200]])
    perspective = np.float32([[1, 0.1, 0], [0, 1, 0], [1e-4, 1e-4, 1]])
    yield "warp_affine RGB 1920x1080", lambda: tavrine.warp_affine(rgb, affine, out=like), lambda: cv2.warpAffine(rgb, affine, (1920, 1080), like, INVERSE)
    yield "warp_perspective RGB 1920x1080", lambda: tavrine.warp_perspective(rgb, perspective, out=like), lambda: cv2.warpPerspective(rgb, perspective, (1920, 1080), like, INVERSE, cv2.BORDER_REPLICATE)
    for name, source in (("1920x1080", rgb), ("640x360", small)):
        for kind in ("jpeg", "png"):
            file = np.frombuffer(tavrine.encode(source, kind), np.uint8)
            yield f"decode {kind} {name}", lambda f=file: tavrine.decode(f), lambda f=file: cv2.imdecode(f, cv2.IMREAD_COLOR)


def tensors():
    """A float tensor of one picture, mean and scale applied; cv2.dnn.blobFromImage."""
    for width, height in ((224, 224), (1920, 1080)):
        rgb = picture(width, height, 3)
        out = np.zeros((1, 3, 224, 224), np.float32)

        def blob(rgb=rgb):
            return cv2.dnn.blobFromImage(rgb, 1 / 58, (224, 224), MEAN)

        def batch(rgb=rgb, out=None):
            return tavrine.transform_batch(rgb, (224, 224), mode="stretch", mean=MEAN, scale=58, out=out)

        if (width, height) == (224, 224):
            yield "to_tensor 224x224", lambda rgb=rgb: tavrine.to_tensor(rgb, mean=MEAN, scale=58), blob
        yield f"transform_batch {width}x{height} to 224x224", batch, blob
        yield f"transform_batch {width}x{height} to 224x224, out", lambda rgb=rgb, out=out, batch=batch: batch(rgb, out), blob


def fastest(ours, theirs):
    """Seconds of a call of each, in turns."""
    counts = [max(1, int(SECONDS / max(timeit.timeit(call, number=1), 1e-7))) for call in (ours, theirs)]
    times = [float("inf")] * 2
    for _ in range(ROUNDS):
        for i, call in enumerate((ours, theirs)):
            times[i] = min(times[i], timeit.timeit(call, number=counts[i]) / counts[i])
    return times


def main():
    pattern = sys.argv[1] if len(sys.argv) > 1 else ""
    with open("/proc/cpuinfo") as file:
        cpu = next((line.split(":")[1].strip() for line in file if line.startswith("model name")), "")
    print(f"Measured with `scripts/bench-python`: {cpu}; Python {platform.python_version()}, NumPy "
          f"{np.__version__}, OpenCV {cv2.__version__} as packaged, one thread; tavrine "
          f"{tavrine.__version__}. Microseconds, the fastest of {ROUNDS} rounds.")
    for title, group in (("call", overhead), ("operation", operations), ("tensor", tensors)):
        print(f"\n| {title} | tavrine | cv2 | cv2 / tavrine |\n| :-- | --: | --: | --: |")
        for name, ours, theirs in group():
            if pattern in name:
                a, b = fastest(ours, theirs)
                print(f"| {name} | {a * 1e6:.2f} | {b * 1e6:.2f} | {b / a:.2f} |", flush=True)


main()
