// P210PatternGenerator: draws the moving block in the P210 layout, as formats::kPatternP210 says.
#pragma once
#include "uncompressed/PatternGenerator.h"
namespace tessaro {
class P210PatternGenerator : public PatternGenerator {
public:
    P210PatternGenerator() : PatternGenerator(formats::kPatternP210) {}
};
}  // namespace tessaro
