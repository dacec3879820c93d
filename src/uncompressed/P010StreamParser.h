// P010StreamParser: reads P010 pictures: 16-bit samples, a luma plane of mHeight rows of
// 2 x mWidth bytes and an interleaved chroma plane of (mHeight+1)/2 such rows,
// at 2 x mStride pitch with the chroma plane mScanlines rows down.
#pragma once

#include "uncompressed/StreamParserUncompressed.h"

namespace tessaro {

class P010StreamParser : public StreamParserUncompressed {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::UnCompressed::P010";

    // Fixes the picture sizes on the first call and returns mSuperFrame x
    // mBufferSize; 0 when not running, on a zero stride or scanlines or after EOS.
    uint32_t GetBufferLength() override;

    // Reads mSuperFrame pictures, picture i at i x mBufferSize, one read a row.
    int32_t ReadfromInputFile(std::shared_ptr<Buffer> buffer) override;
};

}  // namespace tessaro
