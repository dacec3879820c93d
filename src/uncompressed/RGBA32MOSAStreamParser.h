// RGBA32MOSAStreamParser: reads RGBA 8:8:8:8 pictures in the MOSA layout,
// as formats::kRGBA32Mosa says.
#pragma once
#include "uncompressed/StreamParserUncompressed.h"
namespace tessaro {
class RGBA32MOSAStreamParser : public StreamParserUncompressed {
public:
    RGBA32MOSAStreamParser() : StreamParserUncompressed(formats::kRGBA32Mosa) {}
protected:
    explicit RGBA32MOSAStreamParser(const PictureFormat& format) : StreamParserUncompressed(format) {}
};
}  // namespace tessaro
