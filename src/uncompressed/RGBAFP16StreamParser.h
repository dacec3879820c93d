// RGBAFP16StreamParser: reads RGBA half-float pictures (8 bytes a pixel) back to back like
// RGBA32StreamParser, under its tag.
#pragma once

#include "uncompressed/RGBA32StreamParser.h"

namespace tessaro {

class RGBAFP16StreamParser : public RGBA32StreamParser {
public:
    RGBAFP16StreamParser() : RGBA32StreamParser(formats::kRGBAFP16) {}
};

}  // namespace tessaro
