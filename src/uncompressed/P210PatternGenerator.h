// P210PatternGenerator: the moving block in the P210 layout, drawn byte by byte;
// chroma on the same rows as the luma block; mBufferSize bytes are cleared.
#pragma once

#include "uncompressed/PatternGenerator.h"

namespace tessaro {

class P210PatternGenerator : public PatternGenerator {
public:
    P210PatternGenerator() : PatternGenerator(formats::kPatternP210) {}
};

}  // namespace tessaro
