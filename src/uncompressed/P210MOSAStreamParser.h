// P210MOSAStreamParser: reads P210 pictures in the MOSA layout, as formats::kP210Mosa says.
#pragma once
#include "uncompressed/StreamParserUncompressed.h"
namespace tessaro {
class P210MOSAStreamParser : public StreamParserUncompressed {
public:
    P210MOSAStreamParser() : StreamParserUncompressed(formats::kP210Mosa) {}
};
}  // namespace tessaro
