// What help() shows. The first line of each text is the signature of the function: its parameters
// are read from there, in the order of the function's enumerators.
#pragma once

namespace tavrine::python {

inline constexpr char kLoadDoc[] = R"(load(path)
--

Reads a picture file: JPEG, PNG, BMP, GIF, TGA, PSD, HDR, PIC or PNM.

path: str, bytes or os.PathLike.

Returns a uint8 array: (H, W) for a grey picture, (H, W, 3) RGB for a coloured one. Alpha is
dropped, 16-bit samples keep their high byte, and the orientation in EXIF data is ignored.

Raises OSError, with the path, if the file cannot be read or decoded.)";

inline constexpr char kDecodeDoc[] = R"(decode(data)
--

Reads a picture from memory, as load() does from a file.

data: bytes, or any contiguous buffer.

Raises ValueError if the data cannot be decoded.)";

inline constexpr char kSaveDoc[] = R"(save(image, path, *, format=None)
--

Writes a picture file. An existing file is replaced.

image: GREY, RGB, BGR, NV12, NV21 or YU12; GREY becomes a one-channel PNG, and everything else is
    written as 24-bit colour.
path: its extension says which kind: .jpg or .jpeg (quality 100), .png or .bmp.

Raises NotImplementedError for another extension, and OSError, with the path, if the file cannot be
written.)";

inline constexpr char kEncodeDoc[] = R"(encode(image, encoding, *, format=None)
--

Returns the bytes of the file that save() writes.

encoding: 'jpeg' (quality 100), 'png' or 'bmp'.)";

inline constexpr char kResizeDoc[] = R"(resize(image, size, *, out=None, format=None, device=False)
--

Resamples a picture, bilinear with half-pixel centres.

image: any format but Y16; NV12, NV21 and YU12 are resampled plane by plane.
size: (width, height) in pixels, even for these three.
out: at least of that size; its top left part is written.

Returns out, or a new array.)";

inline constexpr char kScaleDoc[] = R"(scale(image, ratio, *, out=None, format=None, device=False)
--

Resizes to width * ratio by height * ratio, computed in single precision and truncated.

ratio: one number for both axes.)";

inline constexpr char kCropDoc[] = R"(crop(image, area, *, out=None, format=None, device=False)
--

Copies an area out of a picture of any format.

area: (x, y, width, height) in pixels; x and y even for NV12, NV21 and YU12. It may reach outside
    the picture: there, a new array has the byte 0, and out keeps its bytes.
out: at least of the area's size; its top left part is written.)";

inline constexpr char kRotateDoc[] =
    R"(rotate(image, degrees, *, out=None, format=None, device=False)
--

Rotates a picture clockwise.

degrees: 90, 180 or 270.
out: exactly of the rotated size.)";

inline constexpr char kWarpAffineDoc[] =
    R"(warp_affine(image, matrix, size=None, *, out=None, format=None, device=False)
--

Warps a picture by an affine map, bilinear with positions in 1/32 pixels.

matrix: (2, 3) or (3, 3), used as float32. It maps positions of the result to positions of the
    image, with pixel centres at whole numbers: find_similarity() returns it as the inverse.
size: (width, height) of the result; that of out, or else of the image, if not given.

Outside the image the result is 0; for NV12 and NV21 the image's edge is repeated.)";

inline constexpr char kWarpPerspectiveDoc[] =
    R"(warp_perspective(image, matrix, size=None, *, out=None, format=None, device=False)
--

Warps a picture by a projective map, bilinear.

image: GREY, RGB or BGR; NV12, NV21 and YU12 are converted to RGB and back.
matrix: (3, 3), used as float32, from positions of the result to positions of the image.
size: (width, height) of the result; that of out, or else of the image, if not given.

Outside the image its edge is repeated.)";

inline constexpr char kCvtColorDoc[] =
    R"(cvt_color(image, to, *, out=None, format=None, device=False)
--

Converts a picture to another pixel format, in the full range of BT.601.

to: the format of the result.
format: the format of the image.
out: exactly of the image's size.
device: the camera's image engine converts between RGB and NV12 in the limited range (luma 16 to
    235), so that its colours differ from those of the CPU.

Between RGB or BGR and the formats NV12, NV21 and YU12 both sizes must be even. The result never
shares memory with the image. Raises NotImplementedError for a pair of formats without conversion.)";

inline constexpr char kToTensorDoc[] =
    R"(to_tensor(image, *, size=None, color='rgb', mean=0, scale=1, padding=0, dtype='float32', out=None, index=0, format=None, device=False)
--

Writes a picture, unscaled, into one image of a network tensor.

image: RGB or BGR, and GREY for a gray tensor.
size: (width, height) of a new tensor; the image's if not given. What the picture does not cover,
    to the right and below, is padding; what does not fit is left out.
color: 'rgb', 'bgr' or 'gray': what the channels hold, from the first on.
mean, scale: an element is (byte - mean) / scale. One number, or three for red, green and blue.
padding: the value of elements outside the picture, without mean and scale; likewise.
dtype: 'float32' or 'uint8' for a new tensor. uint8 takes the low byte of the truncated value.
out: a writable array (N, C, H, W) of float32 or uint8, also one of another library. Only the
    image `index` of it is written, and only the channels of `color`.

Returns out, or a new array (1, C, H, W).)";

inline constexpr char kTransformBatchDoc[] =
    R"(transform_batch(images, size=None, areas=None, *, mode='fit', color='rgb', mean=0, scale=1, padding=0, dtype='float32', out=None, format=None, device=False)
--

Scales regions of pictures into the images of a network tensor.

images: a list of RGB, BGR or (for a gray tensor) GREY pictures, or one picture for all areas.
size: (width, height) of the tensor in elements; not needed with out.
areas: (x, y, width, height) for each image, in pixels. They may reach outside their pictures but
    must overlap them. The whole pictures if not given.
mode: 'fit' keeps the aspect ratio of the regions; 'stretch' fills the images.
padding: one number, three for red, green and blue, or an array (N, 3); a gray tensor takes the
    middle one.
color, mean, scale, dtype, out: as for to_tensor().

Returns (tensor, ratios). ratios is a float32 array (N, 2): region pixels per tensor element,
horizontal and vertical. letterbox() does the same for one picture, and map_back() the way back.)";

inline constexpr char kFindAffineDoc[] = R"(find_affine(source, destination)
--

Finds the affine transform that takes three points to three points.

source, destination: (3, 2), x and y in any unit, used as float32.

Returns (forward, inverse), two float32 arrays (3, 3) with x' = m[0] . (x, y, 1) and
y' = m[1] . (x, y, 1). Warps take the inverse. For points that determine no transform, forward is
the closest fit and inverse contains infinities, NaNs or meaningless values.)";

inline constexpr char kFindSimilarityDoc[] = R"(find_similarity(source, destination)
--

Finds the similarity transform (one scale, a rotation, a shift) that takes three points as close as
possible to three points, by least squares. Used to align faces to a template.

Parameters and result are those of find_affine().)";

inline constexpr char kVersionDoc[] = R"(_version()
--

The version of the library, and the source revision that it was built from.)";

}  // namespace tavrine::python
