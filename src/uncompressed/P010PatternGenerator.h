// P010PatternGenerator: the moving block in the P010 layout, drawn byte by byte
// as NV12 is (so it covers mWidth/2 bytes, a quarter of the row in pixels); only mBufferSize
// bytes are cleared.
#pragma once

#include "uncompressed/PatternGenerator.h"

namespace tessaro {

class P010PatternGenerator : public PatternGenerator {
public:
    P010PatternGenerator() : PatternGenerator(formats::kPatternP010) {}
};

}  // namespace tessaro
