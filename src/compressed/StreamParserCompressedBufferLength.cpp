// StreamParserCompressed::GetBufferLength: a dry run of Process that adds up
// the bytes the next call would write, reading nothing and changing nothing.
#include <algorithm>

#include "compressed/StreamParserCompressed.h"
#include "compressed/StreamParserCompressedLines.h"

namespace tessaro {

using namespace compressed_lines;

uint32_t StreamParserCompressed::GetBufferLength() {
    TS_LOGI("GetBufferLength");
    TS_CHECK(mState != STATE::RUNNING, kLengthNotRunning, static_cast<uint32_t>(-3));
    // Unlike Process this ignores mSawEOS and mLoopForever.
    if (FrameLimitPassed()) {
        TS_LOGI("Already reached EOS.");
        return 0;
    }
    const FetchContent::BufferInfo& cursor = mFetchContent.bufferInfo;
    uint32_t frame = EffectiveFrame(cursor.frameNum);
    std::vector<FrameInfo> holder;
    const std::vector<FrameInfo>* units = FindFrame(frame, holder);
    TS_CHECK_TEXT(units == nullptr,
                  "(mFrameOffsetTable.find(frameNum) == mFrameOffsetTable.end())",
                  kLengthFrameMissing, static_cast<uint32_t>(TS_ERROR));

    uint32_t total = 0;
    if (mIsSeekSet) {
        uint32_t sequenceHeaders = 0;
        for (const FrameSpan& span : EarlierFrameSpans(frame)) {
            uint32_t spanBytes = 0;
            for (uint32_t k = span.first; k <= span.last && k != 0; ++k) {
                std::vector<FrameInfo> earlierHolder;
                const std::vector<FrameInfo>* earlier = FindFrame(k, earlierHolder);
                if (earlier == nullptr) continue;
                for (const FrameInfo& unit : *earlier) {
                    if (unit.mFrameType == FRAME_TYPE_CODEC_CONFIG) {
                        spanBytes += static_cast<uint32_t>(unit.mLength);
                    }
                }
            }
            sequenceHeaders += spanBytes * static_cast<uint32_t>(span.repeats);
        }
        TS_LOGI("Total length of SEQ_HEADER before Seekpoint = %d",
                static_cast<int>(sequenceHeaders));
        total += sequenceHeaders;
    }

    // The walk has its own cursor; the skip list applies until it runs off a frame.
    uint32_t frameNum = cursor.frameNum;
    uint32_t bufferNum = cursor.bufferNum;
    uint32_t sliceNum = cursor.sliceNum;
    bool skipping = !mConfigParam.mSkipSlices.empty();
    const std::vector<uint32_t>& skip = mConfigParam.mSkipSlices;

    while (bufferNum < units->size()) {
        const FrameInfo& unit = (*units)[bufferNum];
        const bool lastUnit = bufferNum + 1 == units->size();
        if (mSliceMode == 0 || unit.mSliceOffsetTable.empty()) {
            TS_LOGI("GetBufferLength Frame[%d] BufferNum[%d] length[%d]", frame, bufferNum,
                    static_cast<int>(unit.mLength));
            total += static_cast<uint32_t>(unit.mLength);
            if (lastUnit) break;
            ++bufferNum;
            sliceNum = 1;
            continue;
        }

        const uint32_t sliceCount = static_cast<uint32_t>(unit.mSliceOffsetTable.size());
        bool ranOff = false;
        while (skipping && std::find(skip.begin(), skip.end(), sliceNum) != skip.end()) {
            TS_LOGW("GetBufferLength: Skipping slice %u of frame %u", sliceNum, frameNum);
            if (sliceNum < sliceCount) {
                ++sliceNum;
                continue;
            }
            ranOff = true;
            break;
        }
        if (ranOff) {
            // The rest of the frame is left out; the next frame follows.
            ++frameNum;
            skipping = false;
            if (mConfigParam.mFrames != 0 && mConfigParam.mFrames < mFrameCount + 1) {
                TS_LOGI("Already reached EOS.");
                return 0;
            }
            if (mConfigParam.mLoopFrames == 0 && IndexedFrames() < frameNum) frameNum = 1;
            units = FindFrame(frameNum, holder);
            TS_CHECK_TEXT(units == nullptr,
                          "(mFrameOffsetTable.find(frameNum) == mFrameOffsetTable.end())",
                          kLengthFrameMissing, static_cast<uint32_t>(TS_ERROR));
            frame = frameNum;
            bufferNum = 0;
            sliceNum = 1;
            continue;
        }

        uint32_t slice = sliceNum;
        if (!mConfigParam.mSliceOrder.empty() && OrderedSlice(unit, slice, true) != TS_OK) {
            return static_cast<uint32_t>(TS_ERROR);
        }
        auto found = unit.mSliceOffsetTable.find(slice);
        const uint64_t sliceLength =
            found == unit.mSliceOffsetTable.end() ? 0 : found->second.second;
        TS_LOGI("GetBufferLength Frame[%d] BufferNum[%d] SliceNum[%d] length[%d]", frame,
                bufferNum, slice, static_cast<int>(sliceLength));
        total += static_cast<uint32_t>(sliceLength);
        if (sliceNum < sliceCount || lastUnit) break;
        ++bufferNum;
        sliceNum = 1;
    }
    TS_LOGI("Total Buffer length Required = %d", static_cast<int>(total));
    return total;
}

}  // namespace tessaro
