// P010PatternGenerator: draws the moving block in the P010 layout, as formats::kPatternP010 says.
#pragma once
#include "uncompressed/PatternGenerator.h"
namespace tessaro {
class P010PatternGenerator : public PatternGenerator {
public:
    P010PatternGenerator() : PatternGenerator(formats::kPatternP010) {}
};
}  // namespace tessaro
