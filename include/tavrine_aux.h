/* libtavrine_aux: pictures in and out, and pixel operations on frames.
 *
 * What it does     loads and saves pictures; crops, resizes and colour-converts frames.
 * What it promises the same bytes on every machine for the same call; nothing written
 *                  outside the pixel rows of a destination; nothing leaked by a failure.
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
 * PIC, PNM. Grey pictures become GREY, colour pictures RGB24; alpha is dropped.
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

/* Turns a frame clockwise: code 0 by 90, 1 by 180, 2 by 270 degrees. A quarter turn needs a
 * destination with the sides exchanged. This build answers -1000 for every turn.
 * Returns 0; -1 for null arguments, another code, odd 4:2:0 sizes or a caller's frame that
 * does not match; -1000. */
TAVRINE_API int32_t tavrine_frame_rotate(const tavrine_frame_t *in, tavrine_frame_t **out,
                                         int32_t code);

/* Warps into an existing frame of the same format and memory type, of any size. The row-major
 * matrix maps destination pixels to source positions: 2 x 3 for the affine warp, 3 x 3 for the
 * perspective warp. This build answers -1000 for every warp.
 * Returns 0; -1 for null arguments or frames without pixels; -4 when formats or memory types
 * differ or a 4:2:0 size is odd; -1000. */
TAVRINE_API int32_t tavrine_frame_warpaffine(const tavrine_frame_t *in, tavrine_frame_t *out,
                                             const float matrix[6]);
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
