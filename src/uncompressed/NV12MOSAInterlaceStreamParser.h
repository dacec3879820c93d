// NV12MOSAInterlaceStreamParser: reads interlaced NV12 MOSA pictures, each stored as two
// fields and sized for the full frame height; reads and logs as
// NV12MOSAStreamParser.
#pragma once

#include "uncompressed/NV12MOSAStreamParser.h"

namespace tessaro {

class NV12MOSAInterlaceStreamParser : public NV12MOSAStreamParser {
public:
    // Fixes the picture size (the same in the buffer and in the file) on the
    // first call and returns mSuperFrame x mBufferSize; 0 when not running, on
    // a zero width or height, after EOS, or when the layout has no size for it.
    uint32_t GetBufferLength() override;
};

}  // namespace tessaro
