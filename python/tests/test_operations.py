"""What the functions do with arrays: formats, views, destinations, refusals."""

import numpy as np
import pytest

import tavrine

random = np.random.default_rng(20210917)
RGB = random.integers(0, 256, (48, 64, 3), np.uint8)
GREY = RGB[:, :, 0].copy()
BGRA = random.integers(0, 256, (48, 64, 4), np.uint8)
Y16 = random.integers(0, 65536, (48, 64), np.uint16)
NV12 = tavrine.cvt_color(RGB, "NV12")
YU12 = tavrine.cvt_color(RGB, "YU12")
MATRIX = [[0.9, 0.2, 3], [-0.2, 0.9, 5], [0, 0, 1]]

OPERATIONS = {  # every operation from a picture to a picture
    "resize": lambda image, **named: tavrine.resize(image, (32, 24), **named),
    "scale": lambda image, **named: tavrine.scale(image, 0.5, **named),
    "crop": lambda image, **named: tavrine.crop(image, (-4, 2, 30, 20), **named),
    "rotate": lambda image, **named: tavrine.rotate(image, 90, **named),
    "warp_affine": lambda image, **named: tavrine.warp_affine(image, MATRIX, **named),
    "warp_perspective": lambda image, **named: tavrine.warp_perspective(image, MATRIX, **named),
    "cvt_color": lambda image, **named: tavrine.cvt_color(image, "GREY", **named),
}
TENSORS = {  # and to a tensor
    "to_tensor": tavrine.to_tensor,
    "transform_batch": lambda image, **named: tavrine.transform_batch(
        image, **{"size": (20, 16), **named})[0],
    "letterbox": lambda image, **named: tavrine.letterbox(
        image, **{"size": (20, 16), "mode": "centred", **named})[0],
}
PICTURES = {
    "GREY": GREY, "RGB": RGB, "BGR": RGB, "BGRA": BGRA, "ARGB": BGRA, "NV12": NV12, "NV21": NV12,
    "YU12": YU12, "Y16": Y16,
}


class Shared:
    """Memory that is offered by one protocol only."""

    def __init__(self, array, protocol):
        self.array = array
        setattr(self, protocol, getattr(array, protocol))


def in_the_middle(array):
    """A view with the same elements: rows apart, elements of others around them."""
    larger = np.full([n + 6 for n in array.shape], 0x5A, array.dtype)
    if array.ndim == 3:
        larger = np.full([array.shape[0] + 6, array.shape[1] + 6, array.shape[2]], 0x5A, array.dtype)
    if array.ndim == 4:
        larger = np.full([n + 6 for n in array.shape], 0x5A, array.dtype)
    view = larger[tuple(slice(3, 3 + n) if larger.shape[i] != n else slice(None)
                        for i, n in enumerate(array.shape))]
    view[...] = array
    return view


def read_only(array):
    copy = array.copy()
    copy.flags.writeable = False
    return copy


def same(a, b):
    return all(np.array_equal(x, y) for x, y in zip(a, b)) if isinstance(a, tuple) else np.array_equal(a, b)


LAYOUTS = {  # how the same picture can be passed
    "padded rows": in_the_middle,
    "read-only": read_only,
    "memoryview": memoryview,
    "array interface": lambda array: Shared(array, "__array_interface__"),
    "dlpack": lambda array: Shared(array, "__dlpack__"),
    "one row apart": lambda array: np.repeat(array, 2, axis=0)[::2],
}


@pytest.mark.parametrize("layout", LAYOUTS)
@pytest.mark.parametrize("operation", [*OPERATIONS, *TENSORS])
def test_layouts_of_sources_and_destinations(operation, layout):
    function = OPERATIONS.get(operation) or TENSORS[operation]
    for name in ("RGB", "BGR") if operation in TENSORS else ("GREY", "RGB", "BGR", "NV12"):
        if operation == "letterbox" and layout in ("array interface", "dlpack"):
            continue
        expected = function(PICTURES[name], format=name)
        assert same(function(LAYOUTS[layout](PICTURES[name]), format=name), expected), name
        if layout == "read-only":
            continue
        out = LAYOUTS[layout](np.zeros_like(expected))
        named = {"size": None} if operation in ("transform_batch", "letterbox") else {}
        if operation == "letterbox" and layout == "memoryview":
            continue
        assert function(PICTURES[name], out=out, format=name, **named) is out
        assert same(np.asarray(getattr(out, "array", out)), expected), name
        if layout == "padded rows":
            around = out.base.copy()
            around[tuple(slice(3, 3 + n) if around.shape[i] != n else slice(None)
                         for i, n in enumerate(out.shape))] = 0x5A
            assert (around == 0x5A).all(), name


@pytest.mark.parametrize("operation", [name for name in OPERATIONS if name != "cvt_color"])
def test_pairs_are_the_same_pictures(operation):
    function = OPERATIONS[operation]
    for name in ("NV12", "NV21"):
        def pair(packed):
            height, width = packed.shape[0] // 3 * 2, packed.shape[1]
            return packed[:height], packed[height:].reshape(height // 2, width // 2, 2)

        expected = pair(function(NV12, format=name))
        luma, chroma = pair(NV12)
        # The planes lie apart, and their rows are padded alike.
        apart = in_the_middle(luma), in_the_middle(chroma.reshape(24, 64)).reshape(24, 32, 2)
        assert same(function(apart, format=name), expected)
        out = tuple(np.zeros_like(plane) for plane in expected)
        assert function((luma, chroma), out=out, format=name) is out
        assert same(out, expected)
        uneven = luma, in_the_middle(chroma)
        if operation == "warp_perspective":  # which converts
            with pytest.raises(ValueError, match="of both arrays must be equally far apart"):
                function(uneven, format=name)
        else:
            assert same(function(uneven, format=name), expected)


def test_device_gives_the_cpus_bytes_except_for_the_engines_colours():
    for operation, function in {**OPERATIONS, **TENSORS}.items():
        for name in ("RGB",) if operation in TENSORS else ("GREY", "RGB", "YU12"):
            assert same(function(PICTURES[name], device=True, format=name),
                        function(PICTURES[name], format=name)), (operation, name)
    black = np.zeros((64, 64, 3), np.uint8)
    assert tavrine.cvt_color(black, "NV12")[0, 0] == 0
    assert tavrine.cvt_color(black, "NV12", device=True)[0, 0] == 16


def test_tensors():
    tensor = np.full((2, 4, 30, 80), -1, np.float32)
    assert tavrine.to_tensor(RGB, mean=(1, 2, 3), scale=(4, 5, 6), padding=7, out=tensor, index=1) is tensor
    exact = (RGB[:30].astype(np.float32) - np.float32([1, 2, 3])) * (1 / np.float32([4, 5, 6]))
    assert (tensor[1, :3, :, :64] == exact.transpose(2, 0, 1)).all()
    assert (tensor[1, :3, :, 64:] == 7).all() and (tensor[0] == -1).all() and (tensor[1, 3] == -1).all()
    grey = tavrine.to_tensor(GREY, color="gray", dtype=np.uint8)
    assert grey.dtype == np.uint8 and (grey[0, 0] == GREY).all()

    # Several regions of one picture, one region each of several, an area that reaches outside.
    areas = [(0, 0, 64, 48), (-16, 8, 32, 16)]
    batch, ratios = tavrine.transform_batch(RGB, (16, 8), areas, padding=[[1, 2, 3], [4, 5, 6]])
    assert ratios.dtype == np.float32 and (ratios == [[6, 6], [2, 2]]).all()
    assert (batch[0, :, :, 11:] == np.reshape([1, 2, 3], (3, 1, 1))).all()
    assert (batch[1, :, :, :8] == np.reshape([4, 5, 6], (3, 1, 1))).all()
    assert same(tavrine.transform_batch([RGB, RGB], (16, 8), np.array(areas), padding=[[1, 2, 3], [4, 5, 6]])[0], batch)
    # The bands of a byte tensor have the padding in every channel.
    bytes_batch, _ = tavrine.transform_batch([RGB], (16, 8), color="bgr", padding=(1, 2, 3), dtype="uint8")
    assert (bytes_batch[0, :, 0, 15] == [3, 2, 1]).all()


@pytest.mark.parametrize("size, mode, area", [
    ((32, 32), "fit", (0, 0, 64, 48)), ((32, 32), "centred", (0, -8, 64, 64)),
    ((32, 12), "centred", (-32, 0, 128, 48)), ((16, 12), "centred", (0, 0, 64, 48))])
def test_letterbox_and_the_way_back(size, mode, area):
    # A square whose place in the tensor is found and mapped back.
    picture = np.zeros((48, 64, 3), np.uint8)
    picture[8:24, 16:32] = 255
    tensor, box = tavrine.letterbox(picture, size, mode=mode, scale=255)
    assert box.area == area and tensor.shape == (1, 3, size[1], size[0])
    rows, columns = np.nonzero(tensor[0, 0] > 0.5)
    points = np.stack([columns, rows], axis=1)
    assert np.abs(tavrine.map_back(points, box).mean(axis=0) - [23.5, 15.5]).max() < 0.01
    edges = [columns.min(), rows.min(), columns.max() + 1, rows.max() + 1]
    assert np.abs(tavrine.map_back(edges, box) - [16, 8, 32, 24]).max() < 0.01


def test_transforms():
    source = np.array([[0, 0], [10, 0], [0, 10]])
    forward, inverse = tavrine.find_similarity(source, source[:, ::-1] * [-2, 2] + 5)
    assert np.allclose(forward @ inverse, np.eye(3), atol=1e-4)
    forward, _ = tavrine.find_affine(source.tolist(), [(1, 2), (21, 2), (1, 32)])
    assert np.allclose(forward, [[2, 0, 1], [0, 3, 2], [0, 0, 1]], atol=1e-5)


def test_pictures(tmp_path):
    for extension in ("png", "bmp"):
        tavrine.save(in_the_middle(RGB), tmp_path / f"picture.{extension}")
        back = tavrine.load(str(tmp_path / f"picture.{extension}"))
        assert same(back, RGB) and back.flags.writeable
        assert (tmp_path / f"picture.{extension}").read_bytes() == tavrine.encode(RGB, extension)
    assert tavrine.decode(np.frombuffer(tavrine.encode(GREY, "png"), np.uint8)).shape == GREY.shape
    tavrine.save(NV12, tmp_path / "picture.jpeg", format="NV12")
    assert tavrine.load(bytes(tmp_path / "picture.jpeg")).shape == RGB.shape
    with pytest.raises(tavrine.Error, match="65535"):
        tavrine.save(np.zeros((1, 65536, 3), np.uint8), tmp_path / "wide.jpg")


TEN = (10, 10)
REFUSALS = [  # what is called, the exception, and what its text names
    (lambda: tavrine.resize(RGB.astype(float), TEN), ValueError, "image: its elements are float64"),
    (lambda: tavrine.resize(RGB.astype(">u2"), TEN), ValueError, "image: its elements are >u2"),
    (lambda: tavrine.resize(Y16, TEN, format="GREY"), ValueError, "image: its elements are uint16"),
    (lambda: tavrine.resize(RGB[::-1], TEN), ValueError, "image: its rows are -192 bytes apart"),
    (lambda: tavrine.resize(RGB[:, ::-1], TEN), ValueError, "image: its stride along axis 1 is -3"),
    (lambda: tavrine.resize(RGB[:, :, ::-1], TEN), ValueError, "image: its stride along axis 2"),
    (lambda: tavrine.resize(RGB[:, ::2], TEN), ValueError, "image: its stride along axis 1 is 6"),
    (lambda: tavrine.resize(np.broadcast_to(RGB[0], (9, 64, 3)), TEN), ValueError, "image: its rows"),
    (lambda: tavrine.resize(RGB[:0], TEN), ValueError, "image: the array is empty"),
    (lambda: tavrine.resize(BGRA, TEN), ValueError, "image: name the format of four channels"),
    (lambda: tavrine.resize(RGB, TEN, format="GREY"), ValueError, r"image: GREY has the shape \(H, W\)"),
    (lambda: tavrine.resize(NV12[:-1], TEN, format="NV12"), ValueError, "image: NV12 has the shape"),
    (lambda: tavrine.resize(in_the_middle(YU12), TEN, format="YU12"), ValueError, "image: rows of YU12"),
    (lambda: tavrine.resize((NV12, NV12), TEN, format="NV12"), ValueError, "image: the two arrays"),
    (lambda: tavrine.resize((NV12, NV12), TEN), ValueError, "image: two arrays are NV12 or NV21"),
    (lambda: tavrine.resize(RGB, TEN, format="YUV"), ValueError, "format: 'YUV' is no pixel format"),
    (lambda: tavrine.resize(RGB, (0, 4)), ValueError, "size: width and height must be positive"),
    (lambda: tavrine.resize(RGB, (4.5, 4)), ValueError, "size: must be whole numbers"),
    (lambda: tavrine.resize(RGB, (2**31, 4)), ValueError, "size: must be whole numbers"),
    (lambda: tavrine.resize(NV12, (5, 4), format="NV12"), ValueError, "NV12 needs an even width"),
    (lambda: tavrine.resize(RGB, TEN, out=RGB), ValueError, "out: it shares memory"),
    (lambda: tavrine.resize(RGB[:24], TEN, out=RGB[20:]), ValueError, "out: it shares memory"),
    (lambda: tavrine.resize(RGB, TEN, out=read_only(RGB)), ValueError, "out: the array is read-only"),
    (lambda: tavrine.resize(RGB, TEN, out=GREY), ValueError, "out: RGB has the shape"),
    (lambda: tavrine.resize(RGB, TEN, out=RGB[:4].copy()), ValueError,
     r"not match.*aux:100\); image: uint8 \(48, 64, 3\), out: uint8 \(4, 64, 3\)"),
    (lambda: tavrine.scale(RGB, float("nan")), ValueError, "ratio: the picture would have no pixels"),
    (lambda: tavrine.crop(RGB, (1, 2, 3)), ValueError, "area: must be whole numbers"),
    (lambda: tavrine.crop(RGB, (99, 2, 3, 3)), ValueError, "Illegal RoI.*99"),
    (lambda: tavrine.crop(NV12, (1, 2, 4, 4), format="NV12"), ValueError, "area: x and y must be even"),
    (lambda: tavrine.rotate(RGB, 45), ValueError, "degrees: must be 90"),
    (lambda: tavrine.warp_affine(RGB, [1, 2]), ValueError, "matrix: must have the shape"),
    (lambda: tavrine.warp_affine(RGB, "matrix"), ValueError, "matrix: must be numbers"),
    (lambda: tavrine.warp_perspective(BGRA, MATRIX, format="BGRA"), ValueError, "image: uint8"),
    (lambda: tavrine.cvt_color(RGB, "Y16"), NotImplementedError, "RGB24 to Y16.*image: uint8"),
    (lambda: tavrine.cvt_color(RGB[:-1], "NV12"), ValueError, "image: NV12 needs an even"),
    (lambda: tavrine.resize(Y16, TEN), tavrine.Error, "format .Y16. is not supported"),
    (lambda: tavrine.to_tensor(NV12), NotImplementedError, "given frame's format: GREY"),
    (lambda: tavrine.to_tensor(RGB, dtype="int8"), ValueError, "dtype: its elements are int8"),
    (lambda: tavrine.to_tensor(RGB, mean=(1, 2)), ValueError, "mean: must be one number"),
    (lambda: tavrine.to_tensor(RGB, color="hsv"), ValueError, "color: must be"),
    (lambda: tavrine.to_tensor(RGB, out=np.zeros((1, 3, 4, 4))), ValueError, "out: its elements are float64"),
    (lambda: tavrine.to_tensor(RGB, out=np.zeros((3, 4, 4), "f4")), ValueError, "out: a tensor has the shape"),
    (lambda: tavrine.to_tensor(RGB, out=np.zeros((1, 4, 4, 3), "f4").transpose(0, 3, 1, 2)), ValueError,
     "out: its stride along axis 3"),
    (lambda: tavrine.to_tensor(RGB, out=np.zeros((1, 3, 4, 4), "f4")[:, ::-1]), ValueError, "out: its stride along axis 1"),
    (lambda: tavrine.to_tensor(RGB, out=np.zeros((1, 1, 4, 4), "f4")), ValueError, "image: .*out: "),
    (lambda: tavrine.to_tensor(RGB, out=np.zeros((1, 3, 4, 4), "f4"), index=1), ValueError, "index: there is no image 1"),
    (lambda: tavrine.to_tensor(GREY, color="gray", out=GREY.reshape(1, 1, 48, 64)), ValueError, "out: it shares"),
    (lambda: tavrine.transform_batch(RGB), ValueError, "size: is needed"),
    (lambda: tavrine.transform_batch([RGB], TEN, [(0, 0, 4, 4)] * 2), ValueError, "areas: 2 areas for 1"),
    (lambda: tavrine.transform_batch(RGB, TEN, [(99, 0, 4, 4)]), ValueError, "invalid roi.*99"),
    (lambda: tavrine.find_affine([1, 2], [3, 4]), ValueError, "source: must be three points"),
    (lambda: tavrine.map_back([1, 2, 3], tavrine.Letterbox((0, 0, 1, 1), (1, 1))), ValueError, "positions"),
    (lambda: tavrine.decode(b"no picture"), ValueError, "data: damaged"),
    (lambda: tavrine.save(RGB, "picture.tiff"), NotImplementedError, "Unsuppported save format"),
    (lambda: tavrine.encode(RGB, "tiff"), ValueError, "encoding: must be"),
    (lambda: tavrine.resize(RGB), TypeError, "needs the argument 'size'"),
    (lambda: tavrine.resize(RGB, TEN, TEN), TypeError, "at most 2 positional"),
    (lambda: tavrine.resize(RGB, TEN, image=RGB), TypeError, "several values for argument 'image'"),
    (lambda: tavrine.resize(RGB, TEN, filter=1), TypeError, "unexpected keyword argument 'filter'"),
    (lambda: tavrine.resize(7, TEN), TypeError, "image: not an array but int"),
    (lambda: tavrine.resize(RGB, (2**20, 2**20)), MemoryError, "allocate"),
]


@pytest.mark.parametrize("function, exception, text", REFUSALS, ids=range(len(REFUSALS)))
def test_refusals(function, exception, text, capfd):
    with pytest.raises(exception, match=text) as caught:
        function()
    assert caught.type is exception or exception is MemoryError  # NumPy raises a class of its own
    assert getattr(caught.value, "status", -4) == -4
    assert capfd.readouterr() == ("", "")


@pytest.mark.parametrize("function, exception", [
    (lambda path: tavrine.load(path / "none.png"), FileNotFoundError),
    (lambda path: tavrine.load(path), IsADirectoryError),
    (lambda path: tavrine.load("/dev/null"), OSError),
    (lambda path: tavrine.save(RGB, path / "none" / "out.png"), FileNotFoundError),
    (lambda path: tavrine.save(RGB, path / "full.png"), OSError),
])
def test_files_that_fail(tmp_path, function, exception, capfd):
    (tmp_path / "full.png").symlink_to("/dev/full")
    with pytest.raises(exception) as caught:
        function(tmp_path)
    assert caught.value.filename and caught.value.errno
    assert capfd.readouterr() == ("", "")


def test_side_by_side_is_no_overlap():
    canvas = np.zeros((48, 128, 3), np.uint8)
    canvas[:, :64] = RGB
    tavrine.rotate(canvas[:, :64], 180, out=canvas[:, 64:])
    assert same(canvas[:, 64:], RGB[::-1, ::-1]) and same(canvas[:, :64], RGB)


def test_a_loaded_picture_outlives_its_frame():
    views = [tavrine.decode(tavrine.encode(RGB, "png"))[5:, 3:] for _ in range(20)]
    assert all(same(view, RGB[5:, 3:]) for view in views)
