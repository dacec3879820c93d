// P210PatternGenerator: the moving block in the P210 layout, drawn byte by byte;
// chroma on the same rows as the luma block; mBufferSize bytes are cleared.
#pragma once

#include "uncompressed/PatternGenerator.h"

namespace tessaro {

class P210PatternGenerator : public PatternGenerator {
public:
    // Sizes the buffer as GetBufferSize(6, mStride, mScanlines) on the first
    // call; 0 when not running, on a zero stride or scanlines, or after EOS.
    uint32_t GetBufferLength() override;

    // Draws the block; 0, -4 for an empty pointer, -2 when the buffer cannot be
    // mapped or the picture does not fit in it.
    int32_t ReadfromInputFile(std::shared_ptr<Buffer> buffer) override;
};

}  // namespace tessaro
