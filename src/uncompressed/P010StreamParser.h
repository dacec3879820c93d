// P010StreamParser: reads P010 pictures: 16-bit samples, luma and (mHeight+1)/2 interleaved
// chroma rows of 2 x mWidth bytes at 2 x mStride pitch, the chroma mScanlines rows down.
#pragma once

#include "uncompressed/StreamParserUncompressed.h"

namespace tessaro {

class P010StreamParser : public StreamParserUncompressed {
public:
    P010StreamParser() : StreamParserUncompressed(formats::kP010) {}
};

}  // namespace tessaro
