"""Whole pictures in tensors of another shape, and positions back in the picture."""

import typing
from typing import Any

import numpy as np
from numpy.typing import ArrayLike, NDArray

from ._native import transform_batch


class Letterbox(typing.NamedTuple):
    """How an area of a picture lies in an image of a tensor.

    For image i of a batch it is Letterbox(areas[i], ratios[i]).
    """

    area: tuple[int, int, int, int]
    """x, y, width and height in picture pixels; it reaches outside where the image is padded."""
    ratios: tuple[float, float]
    """Picture pixels per element, horizontal and vertical."""


def letterbox(
    image: Any,
    size: Any = None,
    *,
    mode: str = "fit",
    out: Any = None,
    **style: Any,
) -> tuple[Any, Letterbox]:
    """Scales a whole picture into a tensor, keeping its aspect ratio, and pads the rest.

    image: RGB or BGR, and GREY for a gray tensor.
    size: (width, height) of the tensor in elements; that of out if not given.
    mode: 'fit' places the picture at the top left, 'centred' in the middle, to half a picture pixel.
    out: a writable array (1, C, H, W) of float32 or uint8.
    style: color, mean, scale, padding, dtype, format and device, as for transform_batch().

    Returns (tensor, Letterbox). map_back() takes positions in the tensor back to the picture.
    """
    height, width = image.shape[:2]
    if size is None:
        if out is None:
            raise ValueError("letterbox: size: is needed unless `out` is given")
        size = out.shape[3], out.shape[2]
    if mode == "centred":
        area = _around(width, height, *size)
    elif mode == "fit":
        area = 0, 0, width, height
    else:
        raise ValueError("letterbox: mode: must be 'fit' or 'centred'")
    tensor, ratios = transform_batch(image, size, [area], out=out, **style)
    return tensor, Letterbox(area, (float(ratios[0, 0]), float(ratios[0, 1])))


def _around(
    width: int, height: int, tensor_width: int, tensor_height: int
) -> tuple[int, int, int, int]:
    """The smallest area of the tensor's shape that holds the picture, which lies in its middle."""
    area_width = max(width, height * tensor_width // tensor_height)
    area_height = max(height, width * tensor_height // tensor_width)
    return (-((area_width - width) // 2), -((area_height - height) // 2), area_width, area_height)


def map_back(positions: ArrayLike, letterbox: Letterbox) -> NDArray[np.float32]:
    """Maps positions in a tensor to the picture.

    positions: an array (..., 2) of points x, y, where the first pixel's centre is at 0, as in warps;
        or an array (..., 4) of boxes left, top, right, bottom, where its edges are at 0 and 1.
    letterbox: what letterbox() returned.

    Returns a float32 array of the same shape, in picture pixels. Boxes are not clipped.
    """
    mapped = np.array(positions, np.float32)
    if mapped.ndim == 0 or mapped.shape[-1] not in (2, 4):
        raise ValueError(f"map_back: positions: (..., 2) or (..., 4), not {mapped.shape}")
    centre = np.float32(0.5 if mapped.shape[-1] == 2 else 0)
    for axis in (0, 1):
        origin = np.float32(letterbox.area[axis])
        ratio = np.float32(letterbox.ratios[axis])
        mapped[..., axis::2] = origin + (mapped[..., axis::2] + centre) * ratio - centre
    return mapped
