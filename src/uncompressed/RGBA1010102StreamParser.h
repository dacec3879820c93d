// RGBA1010102StreamParser: reads RGBA 10:10:10:2 pictures, as formats::kRGBA1010102 says.
#pragma once
#include "uncompressed/RGBA32StreamParser.h"
namespace tessaro {
class RGBA1010102StreamParser : public RGBA32StreamParser {
public:
    RGBA1010102StreamParser() : RGBA32StreamParser(formats::kRGBA1010102) {}
};
}  // namespace tessaro
