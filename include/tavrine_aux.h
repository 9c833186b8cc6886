/* libtavrine_aux: pictures in and out, and pixel operations on frames.
 *
 * It loads and saves pictures; crops, resizes, rotates, warps and colour-converts frames; writes
 * frames to network tensors; and finds transforms between points. It has one exact kernel for each
 * operation, and no choice of filters.
 *
 * Promises. The same call gives the same bytes on every machine (a NaN stays a NaN; its payload may
 * differ), provided that the calling thread uses the default rounding mode and, on x86, does not
 * flush denormal numbers to zero. Frames in device memory are the exception: see below. Nothing is
 * written outside the rows of a destination. A failed call leaks nothing.
 *
 * Frames, buffers and tensors belong to the SDK core (tavrine_core.h), which makes and releases
 * them.
 *
 * Destination slots. An operation with a `tavrine_frame_t **out` puts a new frame into a slot that
 * holds null; the caller releases it with tavrine_frame_free. A slot that holds a frame is used as
 * it is: this is called the caller's frame. When an operation fails, a frame that it allocated is
 * released and the slot holds null again, except where its description says that the frame stays,
 * and when the source is in an unknown memory type. A caller's frame is never released, and its
 * pixels are undefined after a failure, except where nothing could have been written.
 *
 * Sharing pixels. Source and destination must not share pixels, unless a description allows it:
 * the destination's pixels are then undefined. Nothing else is harmed.
 *
 * Device frames. A frame in device memory is offered to the image engine first. What the engine
 * refuses is downloaded, done by the CPU and uploaded again, with a notice in the log. The engine
 * converts colours in another range (docs/device.md). The fallback does not report failed
 * transfers as such: a failed download makes the operation fail as for a null frame, and after a
 * failed upload the call returns TAVRINE_OK although the destination has not changed.
 *
 * Threads. Every function may be called from any thread. A frame, tensor or buffer that a call
 * writes must not be used by another call meanwhile, and that includes its record: a conversion
 * from GREY changes the destination's format for a moment. Sources may be shared by any number of
 * calls. Each thread needs a workspace of its own.
 *
 * Memory and stack. Scratch memory is of the order of a few rows, except where a description says
 * more; it is released before the call returns. Every call runs on a thread with 64 KiB of stack.
 *
 * Status codes are those of tavrine_types.h. TAVRINE_FAILURE includes lack of memory everywhere,
 * and it is what a frame gets whose record is broken (no pixels, strides that do not hold a row)
 * unless said otherwise. Codes of core operations are passed on unchanged.
 *
 * Log. Records have the tag "aux", "aux.host" (CPU) or "aux.hisvp" (image engine) and the level 0
 * (notice), 3 (warning) or 4 (error). The core decides where they go.
 */
#ifndef TAVRINE_AUX_H
#define TAVRINE_AUX_H

#include "tavrine_types.h"

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define TAVRINE_API __attribute__((visibility("default")))
#else
#define TAVRINE_API
#endif

/* The version of this header. tavrine_aux_version returns that of the library. */
#define TAVRINE_AUX_VERSION_MAJOR 1
#define TAVRINE_AUX_VERSION_MINOR 2
#define TAVRINE_AUX_VERSION_PATCH 0

/* ---- Pictures in and out --------------------------------------------------- */

/* Reads a picture file into a new host frame: GREY for a grey picture, RGB24 for a coloured one.
 *
 * Read are JPEG (baseline and progressive), PNG, BMP, GIF, TGA, PSD, HDR, PIC and PNM (P5 and P6
 * with any maximum). Not read are JPEG with arithmetic coding or 12 bits, plain and bitmap PNM (P1
 * to P4), TGA with 1 bit, GIF without an initial clear code or a palette or with a picture beyond
 * its area, and BMP with run-length coding, with a header of 64 bytes, with a gap before the
 * pixels, or with a palette beside 16 or 24 bits.
 *
 *   Alpha is dropped, not blended.
 *   An animated GIF gives its first picture, a PSD file the merged one.
 *   PNM samples are scaled to the range of their bits.
 *   16-bit samples of PNG, PSD and PNM keep their high byte.
 *   HDR values are clipped to 0..1 and encoded with gamma 2.2.
 *   Colour profiles and the orientation in EXIF data are ignored.
 *
 * A picture is refused when its pixels, alpha included, exceed 512 MiB, or 16 MiB plus 32,768 times
 * the file's size (JPEG: 2,048 times), when a side exceeds 2^24, when the file ends too early, when
 * a JPEG has more than 100 scans, and when decoding needs more than 64 MiB plus 16 times the bytes
 * of the pixels.
 *
 * Returns the frame, or null when the file cannot be read or decoded, and when out of memory. The
 * reason is not logged, except a null path. */
TAVRINE_API tavrine_frame_t *tavrine_frame_load(const char *path);

/* The same from `length` bytes at `data`, which may be released after the call. Returns null for
 * null `data` and when `length` is not positive. */
TAVRINE_API tavrine_frame_t *tavrine_frame_load_from_memory(const void *data, int32_t length);

/* Writes a frame to a picture file. The extension of `path`, in any case, says which: .jpg or .jpeg
 * (quality 100), .bmp, .png.
 *
 *   frame  any memory type; a format that converts to RGB24. GREY becomes a one-channel PNG, and
 *          everything else is written as 24-bit colour.
 *
 * An existing file is replaced. It is untouched when the frame cannot be converted, and undefined
 * after a failed write. The sides of a JPEG are at most 65535. Needs memory for a converted copy of
 * the frame and for the encoder, a few times the bytes of the pixels.
 *
 * Returns TAVRINE_OK, the code of a failed download, or
 *   TAVRINE_NOT_SUPPORTED     null path or another extension, whatever else is wrong
 *   TAVRINE_INVALID_ARGUMENT  null frame
 *   TAVRINE_FAILURE           the conversion, the encoder or the file failed */
TAVRINE_API int32_t tavrine_frame_save(const tavrine_frame_t *frame, const char *path);

/* Picture formats of tavrine_frame_encode. */
enum { TAVRINE_ENCODE_JPEG = 1, TAVRINE_ENCODE_BMP = 2, TAVRINE_ENCODE_PNG = 3 };

/* Encodes a frame as tavrine_frame_save does, into a buffer.
 *
 *   buffer  in host memory. Its former content is discarded; on success it has exactly the bytes
 *           of the file.
 *
 * Returns TAVRINE_OK, or
 *   TAVRINE_NOT_SUPPORTED     unknown format, whatever else is wrong
 *   TAVRINE_INVALID_ARGUMENT  null frame, null buffer, or a buffer in other memory
 *   TAVRINE_FAILURE           the download, the conversion, the encoder or the growth of the buffer
 *                             failed; the content of the buffer is undefined */
TAVRINE_API int32_t tavrine_frame_encode(const tavrine_frame_t *frame, int32_t format,
                                         tavrine_buffer_t *buffer);

/* ---- Geometry of frames ---------------------------------------------------- */

/* Resamples a frame to width x height.
 *
 *   in   GREY, RGB24, BGR24, BGRA, ARGB, NV12, NV21 or YU12. The planes of the last three are
 *        resampled one by one, chroma at half size, and both sizes must be even.
 *   out  empty: a new frame of width x height, in the format and memory type of `in`
 *        a caller's frame: the same format and memory type, at least width x height; its top left
 *        part is written
 *
 * Bilinear with half-pixel centres. Along each axis with s source and d destination samples, index
 * i of the destination lies at
 *
 *   scale = 1 / (d / s)                     float; both quotients rounded
 *   p = (i + 0.5) * scale - 0.5             double, then rounded to float
 *   k = floor(p), f = p - k                 float
 *   w0 = round((1 - f) * 2048), w1 = round(f * 2048)    float, ties to even
 *
 * Columns are clamped before the weights are computed: k < 0 becomes k = 0 with f = 0, and
 * k >= s - 1 becomes k = s - 1 with f = 0. Rows are not: rows k and k + 1 outside the plane are
 * read as its first or last row. With the column weights a0 and a1 and the row weights b0 and b1,
 *
 *   R0 = (a0 * S[row k][column k] + a1 * S[row k][column k + 1]) >> 4       R1: row k + 1
 *   result = (((R0 * b0) >> 16) + ((R1 * b1) >> 16) + 2) >> 2       saturated to 0..255
 *
 * Reductions of exactly 2:1 and 4:1 in both directions are the rounded mean of the 2 x 2 samples
 * around each centre, which is the same value.
 *
 * The size of `in` itself is a plain copy, of any format.
 *
 * Returns TAVRINE_OK, or
 *   TAVRINE_INVALID_ARGUMENT  null argument; odd size in a 4:2:0 format, of `in`, of the caller's
 *                             frame or as requested (a frame allocated for the latter stays in
 *                             `out`); a caller's frame that does not match
 *   TAVRINE_FAILURE           empty or negative size; a format that cannot be resized */
TAVRINE_API int32_t tavrine_frame_resize(const tavrine_frame_t *in, tavrine_frame_t **out,
                                         int32_t width, int32_t height);

/* Resizes to width * ratio by height * ratio. The products are computed in single precision and
 * truncated; a NaN gives 0. Returns what tavrine_frame_resize returns for that size, so
 * TAVRINE_FAILURE for a ratio that leaves no pixels or needs too many. */
TAVRINE_API int32_t tavrine_frame_scale(const tavrine_frame_t *in, tavrine_frame_t **out,
                                        float ratio);

/* Cuts `area` out of a frame of any format.
 *
 *   out  empty: a new frame of the area's size. What lies outside `in` is byte 0, also in chroma
 *        (undefined for BGRA, ARGB and Y16, and when clearing failed, which is not reported).
 *        a caller's frame: format and memory type of `in`, at least as large as the area. Its top
 *        left part is written; what lies outside `in` keeps its value.
 *
 * Offsets in 4:2:0 formats must be even. An area wholly inside may have an odd size; the other
 * operations refuse the result.
 *
 * Returns TAVRINE_OK, or
 *   TAVRINE_INVALID_ARGUMENT  null argument
 *   for an area wholly inside: the code of the core's copy, which fails for an empty area, an odd
 *   4:2:0 offset and a caller's frame that does not match
 *   for one that reaches outside:
 *   TAVRINE_INVALID_ARGUMENT  odd 4:2:0 size of `in`, of the caller's frame or of the area (a frame
 *                             allocated for the latter stays in `out`); a caller's frame that does
 *                             not match
 *   TAVRINE_FAILURE           empty area and empty slot
 *   the code of the core's copy, with an error in the log, when the area and `in` have no pixel in
 *   common or the 4:2:0 offset is odd */
TAVRINE_API int32_t tavrine_frame_crop(const tavrine_frame_t *in, tavrine_frame_t **out,
                                       tavrine_area2d_t area);

/* Rotations of tavrine_frame_rotate, clockwise. */
enum { TAVRINE_ROTATE_90 = 0, TAVRINE_ROTATE_180 = 1, TAVRINE_ROTATE_270 = 2 };

/* Rotates a frame clockwise.
 *
 *   in   formats as for tavrine_frame_resize
 *   out  empty: a new frame, width and height exchanged for 90 and 270 degrees
 *        a caller's frame: format and memory type of `in`, exactly that size. Sharing pixels with
 *        `in` is never allowed.
 *
 * Pixels and chroma pairs move as a unit. With the rows and columns of `in` counted H x W, row r
 * and column c of the result take
 *
 *   TAVRINE_ROTATE_90   row H - 1 - c, column r
 *   TAVRINE_ROTATE_180  row H - 1 - r, column W - 1 - c
 *   TAVRINE_ROTATE_270  row c, column W - 1 - r
 *
 * NV12 and NV21 with padded rows are copied first, and need the memory for it.
 *
 * Returns TAVRINE_OK, or
 *   TAVRINE_INVALID_ARGUMENT  null argument; another code; odd 4:2:0 size; a caller's frame that is
 *                             too small or does not match
 *   TAVRINE_FAILURE           a caller's frame that is too large; a format that cannot be
 *                             rotated */
TAVRINE_API int32_t tavrine_frame_rotate(const tavrine_frame_t *in, tavrine_frame_t **out,
                                         int32_t code);

/* Warps a frame into an existing one by an affine map.
 *
 *   in      formats as for tavrine_frame_resize
 *   out     format and memory type of `in`, any size; every pixel is written
 *   matrix  { a, b, c, d, e, f }, any numbers. Maps destination pixels to source positions, pixel
 *           centres at whole numbers, and is not inverted: pixel (x, y) takes the source at
 *           (a x + b y + c, d x + e y + f).
 *
 * Bilinear with positions in 1/32 pixels, found in 1/1024 pixels in single precision as
 *
 *   X = round(x a 1024) + trunc((b y + c) 1024) + 16        ties to even
 *   Y = round(x d 1024) + trunc((e y + f) 1024) + 16        each term saturated, NaN to 0, to 32
 *                                                           bits; sums wrap
 *
 * The four samples are those from column X >> 10 and row Y >> 10 on (saturated to -32768..32767).
 * With the five bits u = (X >> 5) & 31 and v = (Y >> 5) & 31, a byte is
 *
 *   (w0 p00 + w1 p01 + w2 p10 + w3 p11 + 16384) >> 15
 *   w0 = 32 (32 - u) (32 - v)   w1 = 32 u (32 - v)   w2 = 32 (32 - u) v   w3 = 32 u v
 *
 * with weights of at most 32767. Whole positions give the source's bytes exactly.
 *
 * Samples outside the source are 0, in each plane of YU12 too. For NV12 and NV21 they are read at
 * the source's edge instead. Half-size chroma is warped with c and f halved: it belongs to the top
 * left pixel of each 2x2 block.
 *
 * Returns TAVRINE_OK, or
 *   TAVRINE_INVALID_ARGUMENT  null frame or one without pixels
 *   TAVRINE_FAILURE           other format or memory type in `out`; odd 4:2:0 size; a format that
 *                             cannot be warped; null matrix */
TAVRINE_API int32_t tavrine_frame_warpaffine(const tavrine_frame_t *in, tavrine_frame_t *out,
                                             const float matrix[6]);

/* Warps a frame into an existing one by a projective map.
 *
 *   in      GREY, RGB24, BGR24. NV12, NV21 and YU12 are converted to RGB24 and back, with a warning
 *           in the log and memory for an RGB24 frame of either size.
 *   out     format and memory type of `in`, any size; every pixel is written
 *   matrix  m, row-major 3 x 3, any numbers, again from destination to source
 *
 * In single precision, pixel (x, y) takes the source at
 *
 *   w = y m[7] + x m[6] + m[8]
 *   X = (y m[1] + x m[0] + m[2]) / w        Y = (y m[4] + x m[3] + m[5]) / w
 *
 * Bilinear with the columns trunc(X) and trunc(X) + 1 and the fraction fx = X - trunc(X), rows
 * likewise. (trunc saturates to 32 bits; NaN gives 0.) Between -1 and 0 the fraction is negative,
 * which extrapolates. Samples outside the source are read at its edge. A byte is
 *
 *   trunc(p01 (fx (1 - fy)) + p00 ((1 - fx) (1 - fy)) + p10 (fy (1 - fx)) + p11 (fx fy) + 0.5)
 *
 * added in this order and saturated to 0..255. A position that is not finite, as where w is 0,
 * gives 0.
 *
 * Returns TAVRINE_OK (also when the intermediate destination of a 4:2:0 format could not be
 * allocated: `out` is then unchanged), the code of a failed conversion, or
 *   TAVRINE_INVALID_ARGUMENT  null argument; a frame without pixels or with a broken record;
 *                             another format
 *   TAVRINE_FAILURE           other format or memory type in `out`; odd 4:2:0 size */
TAVRINE_API int32_t tavrine_frame_warpperspective(const tavrine_frame_t *in, tavrine_frame_t *out,
                                                  const float matrix[9]);

/* ---- Colour ---------------------------------------------------------------- */

/* Converts a frame to another pixel format.
 *
 *   out  empty: a new frame of the size and memory type of `in`, or only a reference (see below)
 *        a caller's frame: `format`, memory type and exactly the size of `in`
 *
 * Conversions, full range, results saturated to 0..255, >> rounding down:
 *
 *   RGB24, BGR24 -> NV12, NV21  Y = (38 R + 74 G + 16 B + 64) >> 7; from the top left pixel
 *                               of each 2x2 block U = ((-22 R - 43 G + 65 B + 64) >> 7) + 128
 *                               and V = ((67 R - 55 G - 12 B + 64) >> 7) + 128
 *                               (the BT.601 matrix times 128)
 *   NV12, NV21 -> RGB24, BGR24  with u = U - 128 and v = V - 128: R = (64 Y + 32 + 86 v) >> 6,
 *                               G = (64 Y + 32 - 44 v - 24 u) >> 6, B = (64 Y + 32 + 110 u) >> 6
 *                               (its inverse times 64), one pair for each 2x2 block
 *   RGB24, BGR24 -> GREY        trunc(0.587 G + 0.299 R + 0.114 B) in double precision
 *   NV12, NV21, YU12 -> GREY    the luma plane
 *   GREY -> RGB24, BGR24        each byte three times
 *   GREY -> NV12, NV21          the bytes as luma; every chroma byte is 128
 *   RGB24 <-> BGR24, NV12 <-> NV21, YU12 <-> NV12, YU12 -> NV21    bytes moved
 *   Y16 -> GREY                 contrast stretched, see below
 *   GREY, RGB24, BGR24, NV21 -> YU12 and YU12 -> RGB24, BGR24      through a new NV12 frame
 *
 * Y16: t = trunc(width * 0.0001 * height) pixels may saturate at each end. `low` is the first value
 * that occurs and has at least t pixels below it, `high` the last value that has at least t pixels
 * at or above it; t and the counts are kept modulo 65536. Without such a value they are the lowest
 * and highest that occur. Values below `low` become 0, above `high` 255, and between them
 * trunc((value - low) * 255 / (high - low)). A uniform frame becomes 0. Needs 256 KiB of memory.
 *
 * No pixel is converted in three cases. Into an empty slot, the format of `in` itself gives a
 * reference to it (with a notice), and GREY from a 4:2:0 format a reference to its luma: writing
 * through either changes `in`. Into a caller's frame, the format of `in` gives a copy (with a
 * warning).
 *
 * Sizes must be even between RGB24 or BGR24 and the 4:2:0 formats. Rows of chroma must be as far
 * apart as rows of luma in these conversions.
 *
 * Returns TAVRINE_OK, or
 *   TAVRINE_INVALID_ARGUMENT  null argument; a frame without a format; a caller's frame that does
 *                             not match
 *   TAVRINE_NOT_SUPPORTED     any other pair of known formats
 *   TAVRINE_FAILURE           an unknown `format` and an empty slot: the new frame cannot be
 *                             allocated; odd sizes; planes that do not fit each other */
TAVRINE_API int32_t tavrine_frame_cvt_color(const tavrine_frame_t *in, tavrine_frame_t **out,
                                            uint32_t format);

/* ---- Tensors --------------------------------------------------------------- */

/* Colour types of tensors: what the channels hold, from channel 0 on. */
enum {
  TAVRINE_TENSOR_BGR = 0, /* blue, green, red */
  TAVRINE_TENSOR_RGB = 1, /* red, green, blue */
  TAVRINE_TENSOR_GRAY = 2 /* one channel */
};

/* Writes a frame into one image of a tensor.
 *
 *   tensor          TAVRINE_ELEMENT_FLOAT32 or TAVRINE_ELEMENT_UINT8, any memory type
 *   element_offset  where the image starts: n * strides[0] for image n. The image has C x H x W
 *                   elements, rows strides[2] and channels strides[1] apart. The caller must
 *                   ensure that it fits.
 *   color_type      TAVRINE_TENSOR_BGR or _RGB with RGB24 and BGR24 frames, _GRAY also with GREY
 *   in              its top left H rows by W columns are used; the rest of the image, to the right
 *                   and below, is padding
 *   mean, scale, pad  in red, green, blue order for every colour type; a GRAY tensor uses the first
 *                   of each
 *
 * Nothing else of the tensor is written: channels beyond those of the colour type keep their
 * elements.
 *
 *   BGR, RGB                 (byte - mean) * (1 / scale), the reciprocal rounded first
 *   GRAY from RGB24, BGR24   (0.587 G + 0.299 R + 0.114 B - mean) / scale in double precision
 *   GRAY from GREY           (byte - mean) / scale
 *
 * in single precision unless said otherwise. Float elements take the value. 8-bit elements take the
 * low byte of the value truncated to an unsigned 32-bit integer: 0 for values below 0 and for NaN,
 * 0 for 256, and 255 from 2^32 on. Padding is stored in the same way, without mean and scale.
 *
 * When tensor and frame are in different memories, the frame is copied to the tensor's memory
 * first, with a notice in the log; the frame itself does not change. The CPU fills device tensors
 * in place.
 *
 * Returns TAVRINE_OK, the code of a failed transfer, or
 *   TAVRINE_INVALID_ARGUMENT  null argument; a frame without pixels or with a stride that does not
 *                             hold a row; a tensor with no or unaligned data, a negative stride, or
 *                             fewer channels than its colour type
 *   TAVRINE_NOT_SUPPORTED     unknown colour type or element type; a frame's format that does not
 *                             suit the colour type
 * After any failure the tensor is unchanged. */
TAVRINE_API int32_t tavrine_frame_to_tensor(tavrine_tensor_t *tensor, uint32_t element_offset,
                                            int32_t color_type, const tavrine_frame_t *in,
                                            float mean_r, float mean_g, float mean_b, float scale_r,
                                            float scale_g, float scale_b, float pad_r, float pad_g,
                                            float pad_b);

/* How the regions of a batch are scaled to H x W. */
enum {
  TAVRINE_RESIZE_FIT = 0,    /* one ratio for both axes, so that the whole region fits */
  TAVRINE_RESIZE_STRETCH = 1 /* a ratio for each axis, so that the region fills the image */
};

/* Fills all images of a tensor: image i with region areas[i] of frames[i], scaled, normalised as by
 * tavrine_frame_to_tensor, and padded.
 *
 *   n                 the tensor's N
 *   frames            all in one memory type, which may differ from the tensor's: for a device
 *                     tensor, host frames are uploaded whole; for a host tensor, the regions of
 *                     device frames are downloaded one by one; both with a message in the log
 *   areas             may reach outside their frames, but must overlap them
 *   paddings          n triples in red, green, blue order; null: all 0
 *   workspace         scratch memory that the caller keeps between calls. Its slot starts as null;
 *                     release it with tavrine_buffer_free. A buffer in the wrong memory is replaced
 *                     and sizes change, so the slot may hold another buffer after the call, or null
 *                     when out of memory.
 *   vertical_ratios,  n floats each, or null. Receive region pixels per tensor pixel, to map
 *   horizontal_ratios results back to the frame. After a refusal they may be partly written.
 *
 * The ratios are vertical = height / H and horizontal = width / W in single precision;
 * TAVRINE_RESIZE_FIT takes the larger for both.
 *
 * The part of a region inside its frame, from x0 = max(x, 0), y0 = max(y, 0) on and w x h large, is
 * scaled as by tavrine_frame_resize to round(w / horizontal) x round(h / vertical) and placed at
 * column round((x0 - x) / horizontal), row round((y0 - y) / vertical), halves away from zero. If
 * rounding pushes the last row or column past the image it is dropped; if the scaled part is empty
 * the image is all padding.
 *
 * Bands of padding surround that part. Float elements take the channel's value; a GRAY tensor takes
 * the middle value of the triple. TAVRINE_ELEMENT_UINT8 takes the value truncated as above, but in
 * channel 0 alone: in the bands, the other channels keep what they held, so clear such a tensor
 * first. TAVRINE_ELEMENT_INT8 gets its bands in every channel, truncated toward zero, although its
 * pixels are refused.
 *
 * Memory: the workspace grows to the largest scaled region; frames in another memory are copied.
 *
 * Returns TAVRINE_OK, or, before the tensor is written,
 *   TAVRINE_INVALID_ARGUMENT  null argument or frame; another n; unknown resize mode; a tensor
 *                             without data or with too few channels; frames of several memory
 *                             types; a region that does not overlap its frame
 *   TAVRINE_NOT_SUPPORTED     unknown colour type; a frame's format that does not suit it
 * and, with all images complete that could be filled,
 *   TAVRINE_FAILURE           an element type that is not supported; a region whose size is not
 *                             positive; out of memory; a failed transfer. After a failed upload, an
 *                             unknown memory type or without a workspace, no image is written. */
TAVRINE_API int32_t tavrine_frame_transform_to_tensor_batch(
    tavrine_tensor_t *tensor, int32_t color_type, int32_t n, tavrine_frame_t *const *frames,
    const tavrine_area2d_t *areas, int32_t resize_mode, float mean_r, float mean_g, float mean_b,
    float scale_r, float scale_g, float scale_b, const float (*paddings)[3],
    tavrine_buffer_t **workspace, float *vertical_ratios, float *horizontal_ratios);

/* ---- Transforms between points --------------------------------------------- */

/* Both functions find the transform that takes three source points to three destination points, and
 * its inverse:
 *
 *   x' = m[0] x + m[1] y + m[2]     y' = m[3] x + m[4] y + m[5]     m[6..8] = 0, 0, 1
 *
 * in any unit, in single precision. Warps take the map from destination to source: to move picture
 * points from `source` to `destination`, warp with the first six floats of `inverse`.
 *
 * Pointers are not checked and must not be null. There is no failure: when the points determine no
 * transform, the closest fit is returned; its determinant is 0 or close to it, and the inverse then
 * contains infinities, NaNs or meaningless values. Coordinates that are not finite give meaningless
 * results. */

/* The affine transform, exact up to rounding: full-pivoting LU. Unknowns that collinear points do
 * not determine are 0. */
TAVRINE_API void tavrine_find_affine_transform(const tavrine_point2f_t source[3],
                                               const tavrine_point2f_t destination[3],
                                               tavrine_matrix3x3f_t *forward,
                                               tavrine_matrix3x3f_t *inverse);

/* The similarity transform (one scale, a rotation, a shift, never a reflection) with the smallest
 * sum of squared distances: x' = a x + b y + c, y' = -b x + a y + d, by singular values. When the
 * points coincide, the smallest such parameters. Used to align faces to a template.
 *
 * The only function that throws: std::bad_alloc, when out of memory. */
TAVRINE_API void tavrine_find_similarity_transform(const tavrine_point2f_t source[3],
                                                   const tavrine_point2f_t destination[3],
                                                   tavrine_matrix3x3f_t *forward,
                                                   tavrine_matrix3x3f_t *inverse);

/* ---- Identity -------------------------------------------------------------- */

/* Constant texts that live as long as the library: a banner of several lines, the version as
 * "major.minor.patch", the source revision, and the name for the plug-in loader. The library file
 * started as a program prints the banner to standard error. */
TAVRINE_API const char *tavrine_aux_meta(void);
TAVRINE_API const char *tavrine_aux_version(void);
TAVRINE_API const char *tavrine_aux_revision(void);
TAVRINE_API const char *__plugin_name(void); /* NOLINT(bugprone-reserved-identifier) */

#ifdef __cplusplus
}
#endif

#endif
