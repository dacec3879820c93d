// RGBA32MOSAStreamParser: reads RGBA 8:8:8:8 pictures stored in the MOSA layout, one
// block a picture, sized by the layout library for the buffer's mStride x
// mScanlines.
#pragma once

#include "uncompressed/StreamParserUncompressed.h"

namespace tessaro {

class RGBA32MOSAStreamParser : public StreamParserUncompressed {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::UnCompressed::RGBA32_MOSA";

    // Fixes the picture size (the same in the buffer and in the file) on the
    // first call and returns mSuperFrame x mBufferSize; 0 when not running, on
    // a zero stride or scanlines, after EOS, or when the layout has no size for it.
    uint32_t GetBufferLength() override;

    // Copies mSuperFrame pictures, each one read of mBufferSize bytes, back to
    // back from the buffer's start. mStride and mScanlines play no part.
    int32_t ReadfromInputFile(std::shared_ptr<Buffer> buffer) override;
};

}  // namespace tessaro
