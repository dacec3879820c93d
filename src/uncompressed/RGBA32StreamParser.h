// RGBA32StreamParser: reads RGBA pictures of 4 bytes a pixel, mHeight rows of 4 x mWidth
// bytes, at 4 x mStride pitch. The write position runs on from picture to
// picture: picture i+1 starts where picture i's last row pitch ended.
#pragma once

#include "uncompressed/StreamParserUncompressed.h"

namespace tessaro {

class RGBA32StreamParser : public StreamParserUncompressed {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::UnCompressed::RGBA32";

    // Fixes the picture sizes on the first call and returns mSuperFrame x
    // mBufferSize; 0 when not running, on a zero stride or scanlines or after EOS.
    uint32_t GetBufferLength() override;

    // Reads mSuperFrame pictures back to back at 4 x mStride a row, one read a row.
    int32_t ReadfromInputFile(std::shared_ptr<Buffer> buffer) override;
};

}  // namespace tessaro
