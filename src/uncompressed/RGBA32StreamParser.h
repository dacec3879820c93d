// RGBA32StreamParser: reads RGBA pictures of 4 bytes a pixel, mHeight rows at 4 x mStride
// pitch; picture i+1 of a buffer starts where picture i's last row pitch ended.
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
