// P210StreamParser: reads P210 pictures: 16-bit samples, luma and as many interleaved
// chroma rows of 2 x mWidth bytes at 2 x mStride pitch, the chroma mScanlines rows down.
#pragma once

#include "uncompressed/StreamParserUncompressed.h"

namespace tessaro {

class P210StreamParser : public StreamParserUncompressed {
public:
    P210StreamParser() : StreamParserUncompressed(formats::kP210) {}
};

}  // namespace tessaro
