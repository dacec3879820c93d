// RGBA1010102PatternGenerator: the RGBA32 pattern with 10:10:10:2 pixels (red
// in bits 0-9, green 10-19, blue 20-29, alpha 3 in 30-31 of a little-endian word).
#pragma once

#include "uncompressed/RGBA32PatternGenerator.h"

namespace tessaro {

class RGBA1010102PatternGenerator : public RGBA32PatternGenerator {
public:
    RGBA1010102PatternGenerator() : RGBA32PatternGenerator(formats::kPatternRGBA1010102) {}

    // Writes one 10:10:10:2 pixel; component bits above bit 9 are dropped.
    void setColor(uint8_t* pixel, uint16_t red, uint16_t green, uint16_t blue) override;
};

}  // namespace tessaro
