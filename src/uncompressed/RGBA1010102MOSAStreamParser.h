// RGBA1010102MOSAStreamParser: reads RGBA 10:10:10:2 pictures in the MOSA layout,
// as formats::kRGBA1010102Mosa says.
#pragma once
#include "uncompressed/RGBA32MOSAStreamParser.h"
namespace tessaro {
class RGBA1010102MOSAStreamParser : public RGBA32MOSAStreamParser {
public:
    RGBA1010102MOSAStreamParser() : RGBA32MOSAStreamParser(formats::kRGBA1010102Mosa) {}
};
}  // namespace tessaro
