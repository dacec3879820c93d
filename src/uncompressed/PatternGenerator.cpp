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

int32_t PatternGenerator::RefuseOversizedPicture() {
    TS_LOGE("Error. Picture does not fit in the buffer.");
    return -2;
}

int32_t PatternGenerator::ReadfromInputFile(std::shared_ptr<Buffer> buffer) {
    TS_LOGI("ReadfromInputFile");
    if (buffer == nullptr) return Refuse("buffer == nullptr", mFormat.nullLine, -4);
    const Buffer::Mapping mapping(*buffer);  // for this call only
    uint8_t* const vaddr = mapping.vaddr();
    if (vaddr == nullptr) return Refuse("vaddr == nullptr", mFormat.vaddrLine, -2);
    const uint32_t format = mFormat.bufferSize.code;
    const bool clearAll = mFormat.pattern == Pattern::kYuvClearCapacity;
    const bool fullHeightChroma = mFormat.planes == Planes::kSemiPlanar422;

    const int64_t width = mConfigParam.mWidth;
    const int64_t height = mConfigParam.mHeight;
    const int64_t lumaPitch = VideoBufferLayout_GetStrideInBytes(format, mConfigParam.mWidth, 1);
    const int64_t lumaRows = VideoBufferLayout_GetScanlines(format, mConfigParam.mHeight, 1);
    const int64_t chromaPitch = VideoBufferLayout_GetStrideInBytes(format, mConfigParam.mWidth, 3);

    // The block is half the picture in each direction and visits the quadrants
    // clockwise from the top left; the first buffer (count 1) is drawn top right.
    const uint32_t phase = mConfigParam.mStaticPattern ? 0 : mFrameCount % 4;
    const int64_t x0 = (phase == 1 || phase == 2) ? width / 2 : 0;
    const int64_t y0 = (phase >= 2) ? height / 2 : 0;
    const int64_t blockWidth = width / 2;
    const int64_t blockRows = height / 2;
    const int64_t chromaTop = fullHeightChroma ? y0 : ((phase >= 2) ? height / 4 : 0);
    const int64_t chromaRows = fullHeightChroma ? blockRows : (height >= 4 ? height / 4 : 0);
    const int64_t chromaStart = lumaRows * lumaPitch;

    // Chroma pairs are filled from the right; with an odd block width the last
    // pair reaches one byte left of the block, a boundary that is kept.
    const int64_t lastColumn = x0 + blockWidth - 1;
    const int64_t firstPairByte = x0 - 1 + ((blockWidth - 1) % 2 + 2) % 2;

    // Everything drawn must lie inside the mapping: a geometry larger than the
    // buffer fails here, before the first byte is written.
    const int64_t capacity = static_cast<int64_t>(buffer->capacity());
    const int64_t cleared = clearAll ? capacity : static_cast<int64_t>(mBufferSize);
    if (cleared > capacity) return RefuseOversizedPicture();
    const bool drawLuma = blockRows > 0 && blockWidth > 0;
    if (drawLuma && (y0 + blockRows - 1) * lumaPitch + lastColumn >= capacity) {
        return RefuseOversizedPicture();
    }
    const bool drawChroma = chromaRows > 0 && blockWidth > 0;
    if (drawChroma) {
        const int64_t first = chromaStart + chromaTop * chromaPitch + firstPairByte;
        const int64_t last = chromaStart + (chromaTop + chromaRows - 1) * chromaPitch + lastColumn;
        if (first < 0 || last >= capacity) return RefuseOversizedPicture();
    }

    // Every picture of the buffer is drawn at its start, one over the other, so
    // drawing it once gives the same bytes.
    std::memset(vaddr, 0, static_cast<size_t>(cleared));
    if (drawLuma) {
        for (int64_t row = y0; row < y0 + blockRows; ++row) {
            std::memset(vaddr + row * lumaPitch + x0, mPatternY, static_cast<size_t>(blockWidth));
        }
    }
    if (drawChroma) {
        for (int64_t row = chromaTop; row < chromaTop + chromaRows; ++row) {
            uint8_t* const line = vaddr + chromaStart + row * chromaPitch;
            for (int64_t c = lastColumn; c >= x0; c -= 2) {
                line[c] = mPatternV;
                *(vaddr + (chromaStart + row * chromaPitch + c - 1)) = mPatternU;
            }
        }
    }
    return TS_OK;
}

}  // namespace tessaro
