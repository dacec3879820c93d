#include "uncompressed/RGBA1010102PatternGenerator.h"

namespace tessaro {

void RGBA1010102PatternGenerator::setColor(uint8_t* pixel, uint16_t red, uint16_t green,
                                           uint16_t blue) {
    pixel[0] = static_cast<uint8_t>(red & 0xFF);
    pixel[1] = static_cast<uint8_t>(((red >> 8) & 0x03) | ((green & 0x3F) << 2));
    pixel[2] = static_cast<uint8_t>(((green >> 6) & 0x0F) | ((blue & 0x0F) << 4));
    pixel[3] = static_cast<uint8_t>(((blue >> 4) & 0x3F) | 0xC0);
}

}  // namespace tessaro
