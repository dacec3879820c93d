// RGBA1010102StreamParser: reads RGBA 10:10:10:2 pictures (4 bytes a pixel) exactly as
// RGBA32StreamParser does, and logs under its tag; only the sizes differ.
#pragma once

#include "uncompressed/RGBA32StreamParser.h"

namespace tessaro {

class RGBA1010102StreamParser : public RGBA32StreamParser {
public:
    // Fixes the picture sizes on the first call and returns mSuperFrame x
    // mBufferSize; 0 when not running, on a zero stride or scanlines or after EOS.
    uint32_t GetBufferLength() override;
};

}  // namespace tessaro
