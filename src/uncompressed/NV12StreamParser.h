// NV12StreamParser: reads NV12 (and NV21) pictures: a luma plane of mHeight rows of mWidth
// bytes and an interleaved chroma plane of (mHeight+1)/2 such rows, into the
// buffer at mStride pitch with the chroma plane mScanlines rows down.
#pragma once

#include "uncompressed/StreamParserUncompressed.h"

namespace tessaro {

class NV12StreamParser : public StreamParserUncompressed {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::UnCompressed::NV12";

    // Fixes the picture sizes on the first call and returns mSuperFrame x
    // mBufferSize; 0 when not running, on a zero stride or scanlines or after EOS.
    uint32_t GetBufferLength() override;

    // Reads mSuperFrame pictures, picture i at i x mBufferSize, one read a row.
    int32_t ReadfromInputFile(std::shared_ptr<Buffer> buffer) override;
};

}  // namespace tessaro
