from collections.abc import Sequence
from os import PathLike
from typing import Any, Literal, Protocol, TypeVar, overload

import numpy as np
from numpy.typing import ArrayLike, DTypeLike, NDArray
from typing_extensions import TypeAlias

class _ArrayInterface(Protocol):
    @property
    def __array_interface__(self) -> dict[str, Any]: ...

class _DLPack(Protocol):
    def __dlpack__(self) -> Any: ...

# A NumPy array, or an object that shares its memory like one.
_Array: TypeAlias = NDArray[Any] | memoryview | _ArrayInterface | _DLPack
# NV12 and NV21: Y (H, W) and UV (H / 2, W / 2, 2).
_Pair: TypeAlias = tuple[_Array, _Array]
_Path: TypeAlias = str | bytes | PathLike[str] | PathLike[bytes]
_Size: TypeAlias = Sequence[int] | NDArray[np.integer[Any]]
_Area: TypeAlias = Sequence[int] | NDArray[np.integer[Any]]
_Color: TypeAlias = float | Sequence[float] | NDArray[Any]
_Out = TypeVar("_Out", bound=_Array | _Pair)
_Format: TypeAlias = Literal[
    "GREY", "RGB", "RGB24", "BGR", "BGR24", "NV12", "NV21", "YU12", "BGRA", "ARGB", "Y16"
]

class Error(RuntimeError):
    status: int

def _version() -> tuple[str, str]: ...
def load(path: _Path) -> NDArray[np.uint8]: ...
def decode(data: Any) -> NDArray[np.uint8]: ...
def save(image: _Array | _Pair, path: _Path, *, format: _Format | None = None) -> None: ...
def encode(
    image: _Array | _Pair,
    encoding: Literal["jpeg", "jpg", "png", "bmp"],
    *,
    format: _Format | None = None,
) -> bytes: ...
@overload
def resize(
    image: _Array, size: _Size, *, out: None = None, format: _Format | None = None, device: bool = False
) -> NDArray[Any]: ...
@overload
def resize(
    image: _Pair, size: _Size, *, out: None = None, format: _Format | None = None, device: bool = False
) -> tuple[NDArray[Any], NDArray[Any]]: ...
@overload
def resize(
    image: _Array | _Pair, size: _Size, *, out: _Out, format: _Format | None = None, device: bool = False
) -> _Out: ...
@overload
def scale(
    image: _Array, ratio: float, *, out: None = None, format: _Format | None = None, device: bool = False
) -> NDArray[Any]: ...
@overload
def scale(
    image: _Pair, ratio: float, *, out: None = None, format: _Format | None = None, device: bool = False
) -> tuple[NDArray[Any], NDArray[Any]]: ...
@overload
def scale(
    image: _Array | _Pair, ratio: float, *, out: _Out, format: _Format | None = None, device: bool = False
) -> _Out: ...
@overload
def crop(
    image: _Array, area: _Area, *, out: None = None, format: _Format | None = None, device: bool = False
) -> NDArray[Any]: ...
@overload
def crop(
    image: _Pair, area: _Area, *, out: None = None, format: _Format | None = None, device: bool = False
) -> tuple[NDArray[Any], NDArray[Any]]: ...
@overload
def crop(
    image: _Array | _Pair, area: _Area, *, out: _Out, format: _Format | None = None, device: bool = False
) -> _Out: ...
@overload
def rotate(
    image: _Array, degrees: Literal[90, 180, 270], *, out: None = None, format: _Format | None = None, device: bool = False
) -> NDArray[Any]: ...
@overload
def rotate(
    image: _Pair, degrees: Literal[90, 180, 270], *, out: None = None, format: _Format | None = None, device: bool = False
) -> tuple[NDArray[Any], NDArray[Any]]: ...
@overload
def rotate(
    image: _Array | _Pair, degrees: Literal[90, 180, 270], *, out: _Out, format: _Format | None = None, device: bool = False
) -> _Out: ...
@overload
def warp_affine(
    image: _Array, matrix: ArrayLike, size: _Size | None = None, *, out: None = None, format: _Format | None = None, device: bool = False
) -> NDArray[Any]: ...
@overload
def warp_affine(
    image: _Pair, matrix: ArrayLike, size: _Size | None = None, *, out: None = None, format: _Format | None = None, device: bool = False
) -> tuple[NDArray[Any], NDArray[Any]]: ...
@overload
def warp_affine(
    image: _Array | _Pair, matrix: ArrayLike, size: _Size | None = None, *, out: _Out, format: _Format | None = None, device: bool = False
) -> _Out: ...
@overload
def warp_perspective(
    image: _Array, matrix: ArrayLike, size: _Size | None = None, *, out: None = None, format: _Format | None = None, device: bool = False
) -> NDArray[Any]: ...
@overload
def warp_perspective(
    image: _Pair, matrix: ArrayLike, size: _Size | None = None, *, out: None = None, format: _Format | None = None, device: bool = False
) -> tuple[NDArray[Any], NDArray[Any]]: ...
@overload
def warp_perspective(
    image: _Array | _Pair, matrix: ArrayLike, size: _Size | None = None, *, out: _Out, format: _Format | None = None, device: bool = False
) -> _Out: ...
@overload
def cvt_color(
    image: _Array, to: _Format, *, out: None = None, format: _Format | None = None, device: bool = False
) -> NDArray[Any]: ...
@overload
def cvt_color(
    image: _Pair, to: _Format, *, out: None = None, format: _Format | None = None, device: bool = False
) -> Any: ...
@overload
def cvt_color(
    image: _Array | _Pair, to: _Format, *, out: _Out, format: _Format | None = None, device: bool = False
) -> _Out: ...
@overload
def to_tensor(
    image: _Array,
    *,
    size: _Size | None = None,
    color: Literal["rgb", "bgr", "gray"] = "rgb",
    mean: _Color = 0,
    scale: _Color = 1,
    padding: _Color = 0,
    dtype: DTypeLike = "float32",
    out: None = None,
    index: int = 0,
    format: _Format | None = None,
    device: bool = False,
) -> NDArray[Any]: ...
@overload
def to_tensor(
    image: _Array,
    *,
    size: _Size | None = None,
    color: Literal["rgb", "bgr", "gray"] = "rgb",
    mean: _Color = 0,
    scale: _Color = 1,
    padding: _Color = 0,
    dtype: DTypeLike = "float32",
    out: _Out,
    index: int = 0,
    format: _Format | None = None,
    device: bool = False,
) -> _Out: ...
@overload
def transform_batch(
    images: _Array | Sequence[_Array],
    size: _Size | None = None,
    areas: Sequence[_Area] | NDArray[np.integer[Any]] | None = None,
    *,
    mode: Literal["fit", "stretch"] = "fit",
    color: Literal["rgb", "bgr", "gray"] = "rgb",
    mean: _Color = 0,
    scale: _Color = 1,
    padding: _Color | NDArray[Any] = 0,
    dtype: DTypeLike = "float32",
    out: None = None,
    format: _Format | None = None,
    device: bool = False,
) -> tuple[NDArray[Any], NDArray[np.float32]]: ...
@overload
def transform_batch(
    images: _Array | Sequence[_Array],
    size: _Size | None = None,
    areas: Sequence[_Area] | NDArray[np.integer[Any]] | None = None,
    *,
    mode: Literal["fit", "stretch"] = "fit",
    color: Literal["rgb", "bgr", "gray"] = "rgb",
    mean: _Color = 0,
    scale: _Color = 1,
    padding: _Color | NDArray[Any] = 0,
    dtype: DTypeLike = "float32",
    out: _Out,
    format: _Format | None = None,
    device: bool = False,
) -> tuple[_Out, NDArray[np.float32]]: ...
def find_affine(
    source: ArrayLike, destination: ArrayLike
) -> tuple[NDArray[np.float32], NDArray[np.float32]]: ...
def find_similarity(
    source: ArrayLike, destination: ArrayLike
) -> tuple[NDArray[np.float32], NDArray[np.float32]]: ...
