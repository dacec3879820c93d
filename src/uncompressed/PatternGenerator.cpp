#include "uncompressed/PatternGenerator.h"

#include <VideoBufferLayout.h>

#include <cstring>

namespace tessaro {

int32_t PatternGenerator::Init() {
    TS_LOGI("Init");
    if (mConfigParam.mFrameRateNum != 0 && mConfigParam.mFrameRateDen != 0) {
        mTimestampDelta = static_cast<float>(mConfigParam.mFrameRateDen * 1000000.0 /
                                             mConfigParam.mFrameRateNum);
    }
    mState = STATE::RUNNING;
    return TS_OK;
}

int32_t PatternGenerator::Process(std::shared_ptr<Buffer> buffer) {
    TS_LOGI("Process");
    TS_CHECK(buffer == nullptr, 31, -4);
    TS_CHECK(mState != STATE::RUNNING, 32, -3);
    TS_CHECK(mConfigParam.mFrames == 0, 33, -4);
    TS_CHECK(buffer->isGraphic() == false, 34, -4);
    TS_CHECK_TEXT(buffer->capacity() < (mBufferSize * mConfigParam.mSuperFrame),
                  "buffer->capacity() < ( mBufferSize * mConfigParam.mSuperFrame)", 36, -2);

    ++mFrameCount;
    if (mSawEOS) {
        DeliverEmptyEos(kLogTag, *buffer, "Already Saw EOS. Return");
        return TS_OK;
    }
    // Interlaced: calls 2k and 2k+1 are the two fields of frame k.
    const uint32_t frame = mConfigParam.mInterlaced ? mFrameCount >> 1 : mFrameCount;
    if (frame > mConfigParam.mFrames) {
        mSawEOS = true;
        DeliverEmptyEos(kLogTag, *buffer, "Reached EOS. Return");
        return TS_OK;
    }
    TS_CHECK(ReadfromInputFile(buffer) != TS_OK, 65, TS_ERROR);
    // The first field of a frame keeps the timestamp for the second.
    const bool firstField = mConfigParam.mInterlaced && (mFrameCount & 1u) != 0;
    StampBuffer(*buffer, !firstField);
    if (frame == mConfigParam.mFrames) MarkLastBuffer(kLogTag, *buffer, frame);
    return TS_OK;
}

int32_t PatternGenerator::ReadfromInputFile(std::shared_ptr<Buffer> buffer) {
    TS_LOGI("ReadfromInputFile");
    if (buffer == nullptr) return Refuse("buffer == nullptr", mFormat.nullLine, -4);
    PictureCanvas canvas(*buffer, mCanvasBlock);  // for this call only
    if (!canvas.usable()) return Refuse("vaddr == nullptr", mFormat.vaddrLine, -2);
    const uint32_t format = mFormat.bufferSize.code;
    const bool clearAll = mFormat.pattern == Pattern::kYuvClearCapacity;
    const bool fullHeightChroma = mFormat.planes == Planes::kSemiPlanar422;

    const uint64_t width = mConfigParam.mWidth, height = mConfigParam.mHeight;
    const uint64_t lumaPitch = VideoBufferLayout_GetStrideInBytes(format, mConfigParam.mWidth, 1);
    const uint64_t lumaRows = VideoBufferLayout_GetScanlines(format, mConfigParam.mHeight, 1);
    const uint64_t chromaPitch = VideoBufferLayout_GetStrideInBytes(format, mConfigParam.mWidth, 3);

    // The block is half the picture in each direction and visits the quadrants
    // clockwise from the top left; the first buffer (count 1) is drawn top right.
    const uint32_t phase = mConfigParam.mStaticPattern ? 0 : mFrameCount % 4;
    const uint64_t x0 = (phase == 1 || phase == 2) ? width / 2 : 0;
    const uint64_t y0 = (phase >= 2) ? height / 2 : 0;
    const RowRun luma{y0 * lumaPitch + x0, height / 2, width / 2, lumaPitch};
    const uint64_t chromaTop = fullHeightChroma ? y0 : ((phase >= 2) ? height / 4 : 0);
    const uint64_t chromaRows = fullHeightChroma ? height / 2 : (height >= 4 ? height / 4 : 0);
    // Chroma pairs are filled from the right, so with an odd block width the
    // last pair reaches one byte left of the block, a boundary that is kept.
    const uint64_t pairs = (width / 2 + 1) / 2;
    const uint64_t lastColumn = x0 + width / 2 - 1;
    const RowRun chroma{lumaRows * lumaPitch + chromaTop * chromaPitch + lastColumn + 1 - 2 * pairs,
                        chromaRows, 2 * pairs, chromaPitch};

    // Everything drawn must lie inside the mapping (a block reaching left of the
    // plane wraps to a huge offset): checked here, before the first byte.
    const uint64_t capacity = buffer->capacity();
    const uint64_t cleared = clearAll ? capacity : mBufferSize;
    if (cleared > capacity || luma.End() > capacity || chroma.End() > capacity) {
        return RefuseOversizedPicture();
    }

    // Every picture of the buffer is drawn at its start, one over the other, so
    // drawing it once gives the same bytes.
    uint8_t* const vaddr = canvas.Clear(cleared, {luma, chroma});
    if (vaddr == nullptr) return Refuse("vaddr == nullptr", mFormat.vaddrLine, -2);
    PaintRun(vaddr, luma, [&](uint8_t* row) { std::memset(row, mPatternY, luma.rowBytes); });
    PaintRun(vaddr, chroma, [&](uint8_t* row) {
        for (uint64_t p = 0; p < pairs; ++p) {
            row[2 * p] = mPatternU;
            row[2 * p + 1] = mPatternV;
        }
    });
    if (!canvas.Finish()) return Refuse("vaddr == nullptr", mFormat.vaddrLine, -2);
    return TS_OK;
}

}  // namespace tessaro
