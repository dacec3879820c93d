// PatternGenerator: a raw-picture source that reads no file. Each Process draws
// pictures all zero but for a block that moves along a fixed cycle (or stays,
// with mStaticPattern); with mInterlaced two calls make one frame. mFrames must
// be set: its buffer is the last. DeInit and Seek are the reader base's.
#pragma once

#include "uncompressed/StreamParserUncompressed.h"

namespace tessaro {

class PatternGenerator : public StreamParserUncompressed {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::UnCompressed::Pattern";

    // Takes the configured frame rate and starts running; opens nothing, never fails.
    int32_t Init() override;

    // Draws the next buffer and stamps it; an empty EOS buffer once frame
    // mFrames is done. 0 when drawn or returned empty.
    int32_t Process(std::shared_ptr<Buffer> buffer) override;

    // Draws the YUV block (luma mPatternY, chroma pairs mPatternU, mPatternV) at
    // the layout library's pitches for the format's colour code. 0; -4 for an
    // empty pointer, -2 when unmappable or the drawing would reach past it.
    int32_t ReadfromInputFile(std::shared_ptr<Buffer> buffer) override;

protected:
    explicit PatternGenerator(const PictureFormat& format) : StreamParserUncompressed(format) {}

    uint8_t mPatternY = 120;
    uint8_t mPatternU = 160;
    uint8_t mPatternV = 200;
};

}  // namespace tessaro
