// NV12StreamParser: reads NV12 (and NV21) pictures, as formats::kNV12 says.
#pragma once
#include "uncompressed/StreamParserUncompressed.h"
namespace tessaro {
class NV12StreamParser : public StreamParserUncompressed {
public:
    NV12StreamParser() : StreamParserUncompressed(formats::kNV12) {}
};
}  // namespace tessaro
