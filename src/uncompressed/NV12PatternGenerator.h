// NV12PatternGenerator: draws the moving block in NV12, as formats::kPatternNV12 says.
#pragma once
#include "uncompressed/PatternGenerator.h"
namespace tessaro {
class NV12PatternGenerator : public PatternGenerator {
public:
    NV12PatternGenerator() : PatternGenerator(formats::kPatternNV12) {}
};
}  // namespace tessaro
