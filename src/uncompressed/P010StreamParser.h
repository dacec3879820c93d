// P010StreamParser: reads P010 pictures, as formats::kP010 says.
#pragma once
#include "uncompressed/StreamParserUncompressed.h"
namespace tessaro {
class P010StreamParser : public StreamParserUncompressed {
public:
    P010StreamParser() : StreamParserUncompressed(formats::kP010) {}
};
}  // namespace tessaro
