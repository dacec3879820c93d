// P210StreamParser: reads P210 pictures, as formats::kP210 says.
#pragma once
#include "uncompressed/StreamParserUncompressed.h"
namespace tessaro {
class P210StreamParser : public StreamParserUncompressed {
public:
    P210StreamParser() : StreamParserUncompressed(formats::kP210) {}
};
}  // namespace tessaro
