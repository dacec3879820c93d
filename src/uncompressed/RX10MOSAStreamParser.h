// RX10MOSAStreamParser: reads packed 10-bit 4:2:0 pictures (three samples in four
// bytes) in the MOSA layout; reads and logs as NV12MOSAStreamParser.
#pragma once

#include "uncompressed/NV12MOSAStreamParser.h"

namespace tessaro {

class RX10MOSAStreamParser : public NV12MOSAStreamParser {
public:
    // Fixes the picture size (the same in the buffer and in the file) on the
    // first call and returns mSuperFrame x mBufferSize; 0 when not running, on
    // a zero width or height, after EOS, or when the layout has no size for it.
    uint32_t GetBufferLength() override;
};

}  // namespace tessaro
