// YV12StreamParser: reads YV12 pictures: a luma plane of mHeight rows of mWidth bytes,
// then mHeight rows of mWidth/2 bytes holding both chroma planes. The chroma
// rows start right after the last luma row and use a 64-aligned half pitch.
#pragma once

#include "uncompressed/StreamParserUncompressed.h"

namespace tessaro {

class YV12StreamParser : public StreamParserUncompressed {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::UnCompressed::YV12";

    // Fixes the picture sizes on the first call and returns mSuperFrame x
    // mBufferSize; 0 when not running, on a zero width or height or after EOS.
    uint32_t GetBufferLength() override;

    // Reads mSuperFrame pictures, picture i at i x mBufferSize, one read a row.
    int32_t ReadfromInputFile(std::shared_ptr<Buffer> buffer) override;
};

}  // namespace tessaro
