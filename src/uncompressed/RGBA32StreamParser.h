// RGBA32StreamParser: reads RGBA 8:8:8:8 pictures, as formats::kRGBA32 says.
#pragma once
#include "uncompressed/StreamParserUncompressed.h"
namespace tessaro {
class RGBA32StreamParser : public StreamParserUncompressed {
public:
    RGBA32StreamParser() : StreamParserUncompressed(formats::kRGBA32) {}
protected:
    explicit RGBA32StreamParser(const PictureFormat& format) : StreamParserUncompressed(format) {}
};
}  // namespace tessaro
