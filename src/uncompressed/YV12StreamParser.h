// YV12StreamParser: reads YV12 pictures, as formats::kYV12 says.
#pragma once
#include "uncompressed/StreamParserUncompressed.h"
namespace tessaro {
class YV12StreamParser : public StreamParserUncompressed {
public:
    YV12StreamParser() : StreamParserUncompressed(formats::kYV12) {}
};
}  // namespace tessaro
