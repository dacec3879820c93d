// RGBA32PatternGenerator: an RGB raster with a block a quarter of the picture
// wide and half of it high that walks eight places and cycles through four
// colours, its rows packed at mWidth pixels whatever mStride is.
#pragma once

#include "uncompressed/PatternGenerator.h"

namespace tessaro {

class RGBA32PatternGenerator : public PatternGenerator {
public:
    RGBA32PatternGenerator() : PatternGenerator(formats::kPatternRGBA32) {}
    // Clears mBufferSize bytes and draws the block; 0, -4 for an empty pointer,
    // -2 when the buffer cannot be mapped or the block would reach past it.
    int32_t ReadfromInputFile(std::shared_ptr<Buffer> buffer) override;
    // Writes one 4-byte pixel from three 10-bit components: R, G, B each
    // shifted down to 8 bits, then an opaque alpha.
    virtual void setColor(uint8_t* pixel, uint16_t red, uint16_t green, uint16_t blue);

protected:
    explicit RGBA32PatternGenerator(const PictureFormat& format) : PatternGenerator(format) {}

    static constexpr uint16_t kColourLevels[4] = {1023, 699, 511, 273};
};

}  // namespace tessaro
