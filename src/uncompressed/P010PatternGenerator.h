// P010PatternGenerator: the moving block in the P010 layout, drawn byte by byte
// as NV12 is (so it covers mWidth/2 bytes, a quarter of the row in pixels);
// only mBufferSize bytes are cleared.
#pragma once

#include "uncompressed/PatternGenerator.h"

namespace tessaro {

class P010PatternGenerator : public PatternGenerator {
public:
    // Sizes the buffer as GetBufferSize(3, mStride, mScanlines) on the first
    // call; 0 when not running, on a zero stride or scanlines, or after EOS.
    uint32_t GetBufferLength() override;

    // Draws the block; 0, -4 for an empty pointer, -2 when the buffer cannot be
    // mapped or the picture does not fit in it.
    int32_t ReadfromInputFile(std::shared_ptr<Buffer> buffer) override;
};

}  // namespace tessaro
