// RGBAFP16StreamParser: reads RGBA half-float pictures, as formats::kRGBAFP16 says.
#pragma once
#include "uncompressed/RGBA32StreamParser.h"
namespace tessaro {
class RGBAFP16StreamParser : public RGBA32StreamParser {
public:
    RGBAFP16StreamParser() : RGBA32StreamParser(formats::kRGBAFP16) {}
};
}  // namespace tessaro
