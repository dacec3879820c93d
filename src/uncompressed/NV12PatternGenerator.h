// NV12PatternGenerator: the moving block in NV12. The whole capacity is cleared
// first; chroma is drawn on a quarter of the picture's rows when mHeight >= 4.
#pragma once

#include "uncompressed/PatternGenerator.h"

namespace tessaro {

class NV12PatternGenerator : public PatternGenerator {
public:
    NV12PatternGenerator() : PatternGenerator(formats::kPatternNV12) {}
};

}  // namespace tessaro
