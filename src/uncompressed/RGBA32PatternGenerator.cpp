#include "uncompressed/RGBA32PatternGenerator.h"

#include <cstring>

namespace tessaro {

void RGBA32PatternGenerator::setColor(uint8_t* pixel, uint16_t red, uint16_t green, uint16_t blue) {
    pixel[0] = static_cast<uint8_t>(red >> 2);
    pixel[1] = static_cast<uint8_t>(green >> 2);
    pixel[2] = static_cast<uint8_t>(blue >> 2);
    pixel[3] = 255;
}

int32_t RGBA32PatternGenerator::ReadfromInputFile(std::shared_ptr<Buffer> buffer) {
    TS_LOGI("ReadfromInputFile");
    if (buffer == nullptr) return Refuse("buffer == nullptr", mFormat.nullLine, -4);
    PictureCanvas canvas(*buffer, mCanvasBlock);  // for this call only
    if (!canvas.usable()) return Refuse("vaddr == nullptr", mFormat.vaddrLine, -2);

    const uint64_t width = mConfigParam.mWidth, height = mConfigParam.mHeight;
    const uint64_t p = mConfigParam.mStaticPattern ? 0 : mFrameCount;
    const uint64_t q = p % 4;
    const uint64_t blockWidth = width / 4, blockRows = height / 2;
    const uint64_t left = q * blockWidth;
    const uint64_t top = (p & 4) != 0 ? height / 2 : 0;
    const bool drawBlock = height >= 2 && width >= 4;

    // The packed rows run mWidth pixels apart, so a picture wider or taller
    // than the buffer's stride and scanlines can reach past the buffer: that
    // fails here, before anything is written.
    const uint64_t capacity = buffer->capacity();
    if (mBufferSize > capacity) return RefuseOversizedPicture();
    if (drawBlock) {
        const unsigned __int128 end =
            (static_cast<unsigned __int128>(top + blockRows - 1) * width + left + blockWidth) * 4;
        if (end > capacity) return RefuseOversizedPicture();
    }

    // Every picture of the buffer is drawn at its start, one over the other, so
    // drawing it once gives the same bytes.
    const RowRun block{(top * width + left) * 4, drawBlock ? blockRows : 0, blockWidth * 4, width * 4};
    uint8_t* const vaddr = canvas.Clear(mBufferSize, {block});
    if (vaddr == nullptr) return Refuse("vaddr == nullptr", mFormat.vaddrLine, -2);
    const uint16_t red = kColourLevels[q];
    const uint16_t green = kColourLevels[(p + 1) % 4];
    const uint16_t blue = kColourLevels[q ^ 2];
    PaintRun(vaddr, block, [&](uint8_t* row) {
        for (uint64_t column = 0; column < blockWidth; ++column) setColor(row + column * 4, red, green, blue);
    });
    if (!canvas.Finish()) return Refuse("vaddr == nullptr", mFormat.vaddrLine, -2);
    return TS_OK;
}

}  // namespace tessaro
