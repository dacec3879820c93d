// PatternGenerator: a raw-picture source that reads no file. Each Process draws
// mSuperFrame pictures, all zero but for one solid block that moves to the next
// place of a fixed cycle with every buffer (or stays, with mStaticPattern).
// With mInterlaced two calls make one frame and share its timestamp. There is
// no natural end: mFrames must be set, and the buffer of frame mFrames is the
// last. DeInit and Seek are the reader base's.
#pragma once

#include <cstdint>
#include <memory>

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
    // the pitches the layout library gives the format's colour code. 0; -4 for
    // an empty pointer, -2 when the buffer cannot be mapped or the drawing
    // would reach past it.
    int32_t ReadfromInputFile(std::shared_ptr<Buffer> buffer) override;

protected:
    explicit PatternGenerator(const PictureFormat& format) : StreamParserUncompressed(format) {}

    // Logs that the drawing would reach outside the client's buffer; -2.
    static int32_t RefuseOversizedPicture();

    uint8_t mPatternY = 120;
    uint8_t mPatternU = 160;
    uint8_t mPatternV = 200;
};

}  // namespace tessaro
