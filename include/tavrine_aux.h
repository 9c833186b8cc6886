/* libtavrine_aux: pictures in and out, and pixel operations on frames.
 *
 * What it does     loads and saves pictures; crops, resizes, turns, warps and colour-converts
 *                  frames; writes them as network tensors; finds transforms between points.
 * What it promises the same bytes on every machine for the same call (of a float NaN only that
 *                  it is one); nothing written outside the rows of a destination; nothing
 *                  leaked by a failure.
 * What it is not   a scaler with a choice of filters: one exact kernel per operation.
 *
 * Frames, buffers and their release belong to the SDK core (tavrine_core.h). A frame in
 * device memory is offered to the image engine first; what the engine declines is
 * downloaded, done on the CPU and uploaded again, with a notice in the log.
 *
 * Destination slots. An operation with a `tavrine_frame_t **out` fills a slot that holds
 * null with a new frame, which the caller releases with tavrine_frame_free; a slot that
 * holds a frame is used as it is. When an operation fails, a frame that it allocated is
 * freed and the slot is null again; a caller's frame stays, its pixels undefined.
 *
 * Threads. Every function may be called from any thread; calls that write the same frame
 * must not overlap.
 *
 * Status codes are those of tavrine_types.h; codes of core operations pass unchanged.
 */
#ifndef TAVRINE_AUX_H
#define TAVRINE_AUX_H

#include "tavrine_types.h"

/* The version of this header; tavrine_aux_version() returns that of the library. */
#define TAVRINE_AUX_VERSION_MAJOR 1
#define TAVRINE_AUX_VERSION_MINOR 2
#define TAVRINE_AUX_VERSION_PATCH 0

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define TAVRINE_API __attribute__((visibility("default")))
#else
#define TAVRINE_API
#endif

/* ---- Pictures in and out --------------------------------------------------- */

/* Reads a picture file. Any format of the decoder: JPEG, PNG, BMP, GIF, TGA, PSD, HDR,
 * PIC, PNM. Grey pictures become GREY, colour pictures RGB24; alpha is dropped. A picture
 * is refused when its pixels, with alpha, have more than 512 MiB, when it ends too early,
 * and when its decoder would need many times the memory of its pixels.
 * Returns a host frame that the caller releases with tavrine_frame_free, or null when
 * the file cannot be read or decoded (a null path is also logged). */
TAVRINE_API tavrine_frame_t *tavrine_frame_load(const char *path);

/* The same from `length` bytes at `data`, which may be released after the call. */
TAVRINE_API tavrine_frame_t *tavrine_frame_load_from_memory(const void *data, int32_t length);

/* Writes a frame of any memory type and format that converts to RGB24 as the file that the
 * extension of `path` names, in any case: .jpg and .jpeg (quality 100), .bmp, .png. A GREY
 * frame becomes a one-channel PNG; everything else is written as 24-bit colour. An
 * existing file is replaced, and is undefined after a failed write.
 * Returns 0; -1000 for a null path or another extension; -1 for a null frame; -4 when the
 * conversion, the encoder or the file failed; the code of a failed download. */
TAVRINE_API int32_t tavrine_frame_save(const tavrine_frame_t *frame, const char *path);

/* Picture formats of tavrine_frame_encode. */
enum { TAVRINE_ENCODE_JPEG = 1, TAVRINE_ENCODE_BMP = 2, TAVRINE_ENCODE_PNG = 3 };

/* Encodes a frame as tavrine_frame_save does, into a host buffer, whose former content
 * is discarded and which holds exactly the encoded file on success.
 * Returns 0; -1000 for an unknown format, whatever else is wrong; -1 for a null frame, a
 * null buffer or one in other than host memory; -4 when the download, the conversion, the
 * encoder or the growth of the buffer failed (the buffer's content is then undefined). */
TAVRINE_API int32_t tavrine_frame_encode(const tavrine_frame_t *frame, int32_t format,
                                         tavrine_buffer_t *buffer);

/* ---- Geometry of frames ---------------------------------------------------- */

/* Resamples `in` to width x height. GREY, RGB24, BGR24, BGRA, ARGB, and NV12, NV21, YU12
 * plane by plane (chroma at half size), sizes even. A caller's frame must have the format
 * and memory type of `in` and be at least as large; its top left part is written.
 *
 * Bilinear with half-pixel centres: destination column x samples source position
 * (x + 0.5) * scale - 0.5, edges replicated, weights in 1/2048. Exact reductions 2:1 and
 * 4:1 are the rounded mean of the two by two samples around each centre, the same value.
 * The source's own size is a plain copy.
 *
 * Returns 0; -1 for null arguments, odd sizes in a 4:2:0 format or a caller's frame that
 * does not match (an odd 4:2:0 size that was allocated stays in the slot); -4 when
 * memory ran out or the format cannot be resized. */
TAVRINE_API int32_t tavrine_frame_resize(const tavrine_frame_t *in, tavrine_frame_t **out,
                                         int32_t width, int32_t height);

/* Resizes to width * ratio by height * ratio, each product in single precision and
 * truncated. Returns as tavrine_frame_resize; -1 for a null frame. */
TAVRINE_API int32_t tavrine_frame_scale(const tavrine_frame_t *in, tavrine_frame_t **out,
                                        float ratio);

/* Cuts `area` out of a frame of any format. An area wholly inside is copied. What an area
 * takes from outside the frame is byte 0 in a new destination (BGRA and ARGB: undefined)
 * and stays as it was in a caller's frame, which must match as for tavrine_frame_resize.
 * Offsets into 4:2:0 frames must be even.
 * Returns 0; -1 for null arguments, odd 4:2:0 sizes or a caller's frame that does not
 * match; -4 when memory ran out; the core's code when there is nothing to copy. */
TAVRINE_API int32_t tavrine_frame_crop(const tavrine_frame_t *in, tavrine_frame_t **out,
                                       tavrine_area2d_t area);

/* Turns `in` clockwise: code 0 by 90, 1 by 180, 2 by 270 degrees. Formats as for
 * tavrine_frame_resize; pixels and chroma pairs move whole. With the rows and columns of `in`
 * counted H x W, row r and column c of the result take
 *
 *   code 0  row H - 1 - c, column r            code 2  row c, column W - 1 - r
 *   code 1  row H - 1 - r, column W - 1 - c
 *
 * A caller's frame must have the format and memory type of `in` and exactly the turned size,
 * and must not share pixels with it.
 * Returns 0; -1 for null arguments, another code, odd 4:2:0 sizes or a caller's frame that
 * is too small or does not match; -4 for a larger one, when memory ran out (NV12 and NV21
 * with padded rows are copied first) or the format cannot be turned. */
TAVRINE_API int32_t tavrine_frame_rotate(const tavrine_frame_t *in, tavrine_frame_t **out,
                                         int32_t code);

/* Warps into an existing frame of the same format and memory type, of any size. The row-major
 * matrix { a, b, c, d, e, f } maps destination pixels to source positions, pixel centres at
 * whole numbers, and is not inverted: pixel (x, y) takes (a x + b y + c, d x + e y + f).
 * Formats as for tavrine_frame_resize.
 *
 * Bilinear with positions in 1/32 pixels, found in 1/1024 pixels as
 *
 *   X = round(x a 1024) + trunc((b y + c) 1024) + 16
 *   Y = round(x d 1024) + trunc((e y + f) 1024) + 16
 *
 * in single precision, ties to even; source columns and rows saturate at 32767. With u and v
 * the five bits X >> 5 and Y >> 5, a byte is
 *
 *   (w0 p00 + w1 p01 + w2 p10 + w3 p11 + 16384) >> 15
 *
 * of the four samples from (X >> 10, Y >> 10) on, the weights being 32 (32 - u) (32 - v),
 * 32 u (32 - v), 32 (32 - u) v and 32 u v, at most 32767. Whole positions give the source's
 * bytes exactly.
 *
 * Half-size chroma has c and f halved: it belongs to the top left pixel of each 2x2 block.
 * Samples outside the source are 0, in each plane of YU12 too; for NV12 and NV21, instead,
 * they are read at the source's edge.
 * Returns 0; -1 for null frames or frames without pixels; -4 when formats or memory types
 * differ, a 4:2:0 size is odd, the format cannot be warped, there is no matrix or memory ran
 * out. */
TAVRINE_API int32_t tavrine_frame_warpaffine(const tavrine_frame_t *in, tavrine_frame_t *out,
                                             const float matrix[6]);

/* The same with a row-major 3 x 3 matrix m, again from destination to source: in single
 * precision
 *
 *   w = y m[7] + x m[6] + m[8]
 *   X = (y m[1] + x m[0] + m[2]) / w      Y = (y m[4] + x m[3] + m[5]) / w
 *
 * Bilinear with fx = X - trunc(X) and fy = Y - trunc(Y), which extrapolates between -1 and 0;
 * samples outside the source are read at its edge, sums are rounded and saturated. Any matrix
 * is taken: a position that is not finite, as where w is 0, gives 0.
 *
 * GREY, RGB24 and BGR24. NV12, NV21 and YU12 are converted to RGB24 and back, with a warning in
 * the log; when the memory between fails, the result is 0 and the destination is untouched.
 * Returns 0; -1 for null arguments, frames without pixels or another format; -4 when formats or
 * memory types differ or a 4:2:0 size is odd; the code of a failed conversion. */
TAVRINE_API int32_t tavrine_frame_warpperspective(const tavrine_frame_t *in, tavrine_frame_t *out,
                                                  const float matrix[9]);

/* ---- Colour ---------------------------------------------------------------- */

/* Converts to another pixel format, full range:
 *
 *   RGB24, BGR24 -> NV12, NV21  Y = (38 R + 74 G + 16 B + 64) >> 7; from the top left pixel
 *                               of each 2x2 block U = ((-22 R - 43 G + 65 B + 64) >> 7) + 128
 *                               and V = ((67 R - 55 G - 12 B + 64) >> 7) + 128
 *                               (the BT.601 matrix times 128)
 *   NV12, NV21 -> RGB24, BGR24  with u = U - 128 and v = V - 128: R = (64 Y + 32 + 86 v) >> 6,
 *                               G = (64 Y + 32 - 44 v - 24 u) >> 6, B = (64 Y + 32 + 110 u) >> 6
 *                               (its inverse times 64), one pair for each 2x2 block
 *   RGB24, BGR24 -> GREY        trunc(0.587 G + 0.299 R + 0.114 B) in double precision
 *   NV12, NV21, YU12 -> GREY    the luma plane; a reference to it when the slot is empty
 *   GREY -> RGB24, BGR24        replicated; GREY -> NV12, NV21 with neutral chroma (128)
 *   RGB24 <-> BGR24, NV12 <-> NV21, YU12 <-> NV12, YU12 -> NV21  bytes moved
 *   Y16 -> GREY                 stretched so that 0.01 % of the pixels saturate at each end
 *   GREY, RGB24, BGR24, NV21 -> YU12 and YU12 -> RGB24, BGR24  through NV12
 *   the same format             a reference in an empty slot, a copy into a caller's frame
 *
 * all saturated to 0..255. A caller's frame must have exactly the size of `in`.
 * Returns 0; -1 for null arguments, a frame without a format or a caller's frame that does
 * not match; -1000 for any other pair; -4 when memory ran out, or for odd sizes between
 * RGB24 or BGR24 and the 4:2:0 formats, or planes that do not fit each other. */
TAVRINE_API int32_t tavrine_frame_cvt_color(const tavrine_frame_t *in, tavrine_frame_t **out,
                                            uint32_t format);

/* ---- Tensors --------------------------------------------------------------- */

/* Colour types of tensors: what the channels hold, from channel 0 on. */
enum {
  TAVRINE_TENSOR_BGR = 0, /* blue, green, red */
  TAVRINE_TENSOR_RGB = 1, /* red, green, blue */
  TAVRINE_TENSOR_GRAY = 2 /* one channel */
};

/* Writes a frame into one image of a tensor: C x H x W planar elements that begin
 * `element_offset` elements behind the tensor's data (image n: n * strides[0]), rows
 * strides[2] and channels strides[1] elements apart. Nothing else of the tensor is touched;
 * that the image lies inside it is the caller's care. The frame's top left H rows by W columns
 * are used; what a smaller frame leaves open, to the right and below, is padding.
 *
 * BGR and RGB tensors take RGB24 and BGR24 frames, GRAY tensors also GREY frames. Means, scales
 * and padding are red, green, blue for every colour type; a GRAY tensor uses the first of each.
 *
 *   BGR, RGB                 (byte - mean) * (1 / scale), the reciprocal rounded first
 *   GRAY from RGB24, BGR24   (0.587 G + 0.299 R + 0.114 B - mean) / scale in double precision
 *   GRAY from GREY           (byte - mean) / scale
 *
 * in single precision unless said. TAVRINE_ELEMENT_FLOAT32 takes the value;
 * TAVRINE_ELEMENT_UINT8 the low byte of the value truncated to an unsigned 32-bit integer, so
 * 0 below 0, and 0 for 256. Padding is stored likewise, without mean and scale.
 *
 * A frame in another memory than the tensor's is copied there first, with a notice in the log;
 * it is never changed itself. Tensors in device memory are written by the CPU.
 *
 * Returns 0; -1 for a null tensor or frame, a frame without pixels or with a stride that does
 * not hold a row, and a tensor without data, with negative strides or with fewer channels than
 * its colour type has (further channels are left alone); -1000 for an unknown colour type, a
 * frame's format that does not suit it, or another element type; the code of a failed transfer.
 * After a failure the tensor is as it was. */
TAVRINE_API int32_t tavrine_frame_to_tensor(tavrine_tensor_t *tensor, uint32_t element_offset,
                                            int32_t color_type, const tavrine_frame_t *in,
                                            float mean_r, float mean_g, float mean_b, float scale_r,
                                            float scale_g, float scale_b, float pad_r, float pad_g,
                                            float pad_b);

/* How regions of a batch are scaled to H x W. */
enum {
  TAVRINE_RESIZE_FIT = 0,    /* one ratio for both axes, so that the whole region fits */
  TAVRINE_RESIZE_STRETCH = 1 /* a ratio for each axis, so that the region fills the image */
};

/* Fills all n images of a tensor (n must be its N): image i with the region areas[i] of
 * frames[i], scaled, normalised as by tavrine_frame_to_tensor, and padded.
 *
 * Ratios are region pixels per tensor pixel, vertical = height / H and horizontal = width / W;
 * TAVRINE_RESIZE_FIT takes the larger for both. They are written to `vertical_ratios` and
 * `horizontal_ratios` (n floats each, or null) for whoever maps results back to the frame.
 *
 * A region may reach outside its frame. The part inside, from x0 = max(x, 0), y0 = max(y, 0) on
 * and w x h large, is scaled as by tavrine_frame_resize to round(w / horizontal) x
 * round(h / vertical), and lands at column round((x0 - x) / horizontal), row
 * round((y0 - y) / vertical), halves away from zero. So FIT leaves a band at the right or at
 * the bottom, and a region that reaches outside on the left begins with a band. A last column or
 * row that roundings push beyond the image is cut off; a part that rounds to nothing leaves
 * the image all padding.
 *
 * `paddings` holds n triples in red, green, blue order, or is null for 0. Float elements take
 * the channel's value; a GRAY tensor takes the middle value. TAVRINE_ELEMENT_UINT8 takes the
 * value truncated as above in channel 0 alone: what the bands of its other channels held before
 * stays there, so clear such a tensor first. Bands of TAVRINE_ELEMENT_INT8 are filled in every
 * channel, toward zero, although its pixels are refused.
 *
 * Frames share one memory type. Tensor and frames may lie in different memories: for a device
 * tensor host frames are uploaded whole, for a host tensor the regions of device frames are
 * downloaded one by one, both with a message in the log.
 *
 * `*workspace` is scratch memory that the caller keeps between calls, begins as null and
 * releases with tavrine_buffer_free. A buffer in the wrong memory is freed and replaced, and its
 * size changes: the handle may be another one after the call, or null when memory ran out.
 *
 * Returns 0; -1 for null arguments, another n, an unknown resize mode, a tensor without data or
 * with too few channels, frames of several memory types, or a region that does not meet its
 * frame; -1000 as tavrine_frame_to_tensor: all these before the tensor is touched. -4 when
 * memory ran out, a memory type is unknown, an upload failed or some image could not be filled
 * (an element type that is not supported, or a region without size): the others are complete
 * unless an upload failed. */
TAVRINE_API int32_t tavrine_frame_transform_to_tensor_batch(
    tavrine_tensor_t *tensor, int32_t color_type, int32_t n, tavrine_frame_t *const *frames,
    const tavrine_area2d_t *areas, int32_t resize_mode, float mean_r, float mean_g, float mean_b,
    float scale_r, float scale_g, float scale_b, const float (*paddings)[3],
    tavrine_buffer_t **workspace, float *vertical_ratios, float *horizontal_ratios);

/* ---- Transforms between points --------------------------------------------- */

/* Both find the transform that takes three source points to three destination points, and its
 * inverse:
 *
 *   x' = m[0] x + m[1] y + m[2]     y' = m[3] x + m[4] y + m[5]     m[6..8] = 0, 0, 1
 *
 * in any unit, single precision. Warps take the map from destination to source, so to move
 * picture points from `source` to `destination`, warp with the first six floats of `inverse`.
 *
 * No pointer is checked, and there is no failure: when the points determine no transform, one
 * that answers them as far as possible is returned, the determinant is 0 or close to it, and the
 * inverse then holds infinities, numbers without meaning, or what is not a number. Coordinates
 * that are not finite give a result without meaning. */

/* The affine transform, exact up to rounding: full-pivoting LU, where unknowns that collinear
 * points leave open are 0. */
TAVRINE_API void tavrine_find_affine_transform(const tavrine_point2f_t source[3],
                                               const tavrine_point2f_t destination[3],
                                               tavrine_matrix3x3f_t *forward,
                                               tavrine_matrix3x3f_t *inverse);

/* The similarity transform (one scale, a rotation, a shift, never a reflection) with the least
 * sum of squared distances: x' = a x + b y + c, y' = -b x + a y + d, by singular values. Points
 * that coincide give the smallest such parameters. Used to align faces to a template. From C++,
 * memory that runs out shows as std::bad_alloc. */
TAVRINE_API void tavrine_find_similarity_transform(const tavrine_point2f_t source[3],
                                                   const tavrine_point2f_t destination[3],
                                                   tavrine_matrix3x3f_t *forward,
                                                   tavrine_matrix3x3f_t *inverse);

/* ---- Identity -------------------------------------------------------------- */

/* Constant texts that live as long as the library: the build banner of several lines,
 * the version "1.2.0", the source revision, the name for the plug-in loader. The library
 * file started as a program prints the banner to standard error. */
TAVRINE_API const char *tavrine_aux_meta(void);
TAVRINE_API const char *tavrine_aux_version(void);
TAVRINE_API const char *tavrine_aux_revision(void);
TAVRINE_API const char *__plugin_name(void); /* NOLINT(bugprone-reserved-identifier) */

#ifdef __cplusplus
}
#endif

#endif
