/* Video buffer layout library: sizes, row pitches and plane heights of the
 * buffer layouts (linear and tiled MOSA) identified by colour-format codes.
 * All arguments and results are unsigned 32-bit; results are deterministic. */
#ifndef VIDEO_BUFFER_LAYOUT_H
#define VIDEO_BUFFER_LAYOUT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Total bytes of a buffer of `format` whose luma row pitch is `stride` and
 * whose luma plane height is `scanlines`. */
uint32_t VideoBufferLayout_GetBufferSize(uint32_t format, uint32_t stride, uint32_t scanlines);

/* Bytes a width x height picture occupies in `format`, metadata included;
 * `interlaced` is 1 for a picture stored as two fields. */
uint32_t VideoBufferLayout_GetBufferSizeUsed(uint32_t format, uint32_t width, uint32_t height,
                                             uint32_t interlaced);

/* Row pitch in bytes of `plane` (1 luma, 3 interleaved chroma) for a picture
 * `width` pixels wide. */
uint32_t VideoBufferLayout_GetStrideInBytes(uint32_t format, uint32_t width, uint32_t plane);

/* Rows allocated to `plane` (1 luma, 3 chroma) for a picture `height` rows high. */
uint32_t VideoBufferLayout_GetScanlines(uint32_t format, uint32_t height, uint32_t plane);

#ifdef __cplusplus
}
#endif

#endif /* VIDEO_BUFFER_LAYOUT_H */
