// YV12StreamParser: reads YV12 pictures: mHeight luma rows of mWidth bytes, then mHeight rows
// of mWidth/2 bytes holding both chroma planes, right after the last luma row at a 64-aligned
// half pitch.
#pragma once

#include "uncompressed/StreamParserUncompressed.h"

namespace tessaro {

class YV12StreamParser : public StreamParserUncompressed {
public:
    YV12StreamParser() : StreamParserUncompressed(formats::kYV12) {}
};

}  // namespace tessaro
