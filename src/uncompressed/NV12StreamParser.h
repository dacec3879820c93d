// NV12StreamParser: reads NV12 (and NV21) pictures: mHeight luma rows of mWidth bytes and
// (mHeight+1)/2 interleaved chroma rows, at mStride pitch, the chroma mScanlines rows down.
#pragma once

#include "uncompressed/StreamParserUncompressed.h"

namespace tessaro {

class NV12StreamParser : public StreamParserUncompressed {
public:
    NV12StreamParser() : StreamParserUncompressed(formats::kNV12) {}
};

}  // namespace tessaro
