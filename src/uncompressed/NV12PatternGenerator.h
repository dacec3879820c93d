// NV12PatternGenerator: the moving block in NV12. The whole capacity is cleared
// first; chroma is drawn on a quarter of the picture's rows when mHeight >= 4.
#pragma once

#include "uncompressed/PatternGenerator.h"

namespace tessaro {

class NV12PatternGenerator : public PatternGenerator {
public:
    // Sizes the buffer as GetBufferSize(0, mStride, mScanlines) on the first
    // call; 0 when not running, on a zero stride or scanlines, or after EOS.
    uint32_t GetBufferLength() override;

    // Draws the block; 0, -4 for an empty pointer, -2 when the buffer cannot be
    // mapped or the picture does not fit in it.
    int32_t ReadfromInputFile(std::shared_ptr<Buffer> buffer) override;
};

}  // namespace tessaro
