// RGBA1010102MOSAStreamParser: reads RGBA 10:10:10:2 pictures in the MOSA layout; reads
// and logs as RGBA32MOSAStreamParser.
#pragma once

#include "uncompressed/RGBA32MOSAStreamParser.h"

namespace tessaro {

class RGBA1010102MOSAStreamParser : public RGBA32MOSAStreamParser {
public:
    // Fixes the picture size (the same in the buffer and in the file) on the
    // first call and returns mSuperFrame x mBufferSize; 0 when not running, on
    // a zero stride or scanlines, after EOS, or when the layout has no size for it.
    uint32_t GetBufferLength() override;
};

}  // namespace tessaro
