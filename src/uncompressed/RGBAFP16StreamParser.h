// RGBAFP16StreamParser: reads RGBA half-float pictures, mHeight rows of 8 x mWidth bytes at
// 8 x mStride pitch, back to back like RGBA32StreamParser, under its tag.
#pragma once

#include "uncompressed/RGBA32StreamParser.h"

namespace tessaro {

class RGBAFP16StreamParser : public RGBA32StreamParser {
public:
    // Fixes the picture sizes on the first call and returns mSuperFrame x
    // mBufferSize; 0 when not running, on a zero stride or scanlines or after EOS.
    uint32_t GetBufferLength() override;

    // Reads mSuperFrame pictures back to back at 8 x mStride a row, one read a row.
    int32_t ReadfromInputFile(std::shared_ptr<Buffer> buffer) override;
};

}  // namespace tessaro
