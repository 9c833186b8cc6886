"""The camera's picture operations on NumPy arrays: the same bytes on the workstation.

Pictures are uint8 arrays: (H, W) is GREY and (H, W, 3) RGB, unless `format` says otherwise. Named
formats are BGR (H, W, 3), BGRA and ARGB (H, W, 4), Y16 (H, W) of uint16, and NV12, NV21 and YU12
(H * 3 / 2, W); NV12 and NV21 also as a pair, Y (H, W) and UV (H / 2, W / 2, 2). Sizes are (width,
height), areas (x, y, width, height) and points (x, y), in pixels.

Nothing is copied or converted on the way in: views and padded rows are used where they are, and an
array that cannot be used is refused. `out` takes the result into an array of the caller's, which
must not share memory with the source. With `device=True` the operation runs on copies in device
memory, where the camera's image engine does what it can.

Functions raise ValueError for arguments, NotImplementedError for what the library does not offer,
MemoryError, OSError for files, and Error, with a status, for everything else. They release the
interpreter while they work.
"""

from ._letterbox import Letterbox, letterbox, map_back
from ._native import (
    Error,
    _version,
    crop,
    cvt_color,
    decode,
    encode,
    find_affine,
    find_similarity,
    load,
    resize,
    rotate,
    save,
    scale,
    to_tensor,
    transform_batch,
    warp_affine,
    warp_perspective,
)

__version__, __revision__ = _version()

__all__ = [
    "Error",
    "Letterbox",
    "crop",
    "cvt_color",
    "decode",
    "encode",
    "find_affine",
    "find_similarity",
    "letterbox",
    "load",
    "map_back",
    "resize",
    "rotate",
    "save",
    "scale",
    "to_tensor",
    "transform_batch",
    "warp_affine",
    "warp_perspective",
]
