// Placeholder arithmetic; replaced by the real layout design.
#include "VideoBufferLayout.h"

extern "C" {

uint32_t VideoBufferLayout_GetBufferSize(uint32_t, uint32_t stride, uint32_t scanlines) {
    return stride * scanlines * 8u;
}

uint32_t VideoBufferLayout_GetBufferSizeUsed(uint32_t, uint32_t width, uint32_t height, uint32_t) {
    return width * height * 8u;
}

uint32_t VideoBufferLayout_GetStrideInBytes(uint32_t, uint32_t width, uint32_t) { return width * 8u; }

uint32_t VideoBufferLayout_GetScanlines(uint32_t, uint32_t height, uint32_t) { return height; }

}
