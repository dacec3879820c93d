// StreamParserCompressed: indexing the input (BuildOffsetTable) and returning
// to the constructed state (DeInit). Delivery is in
// StreamParserCompressedDelivery.cpp, the dry run in
// StreamParserCompressedBufferLength.cpp.
#include "compressed/StreamParserCompressed.h"

#include <new>

#include "compressed/StreamParserCompressedLines.h"

namespace tessaro {

using namespace compressed_lines;

int32_t StreamParserCompressed::BuildOffsetTable() {
    TS_LOGI("BuildOffsetTable");
    uint32_t frameNum = 1;
    uint32_t unitCounter = 1;

    mBufferPtr.reset(new (std::nothrow) unsigned char[kScratchSize],
                     std::default_delete<unsigned char[]>());
    TS_CHECK(mBufferPtr == nullptr, kScratchMissing, -2);

    const ConfigParam& config = mConfigParam;
    for (;;) {
        if (config.mFrames != 0 && frameNum > config.mFrames) break;
        if (config.mLoopFrames != 0 && frameNum > config.mLoopFrames) break;

        std::vector<FrameInfo> framelist;
        const int32_t ret = ReadfromInputFile(frameNum, framelist, kScratchSize, mBufferPtr);
        TS_CHECK(ret != TS_OK, kScannerFailed, ret);
        TS_CHECK(framelist.size() == 0, kScannerAppendedNone, TS_ERROR);

        // Only the first scanner call of a frame number is kept: with mSuperFrame
        // above 1 the later calls move the file past their units, which are
        // dropped.
        auto entry = mFrameOffsetTable.find(frameNum);
        if (entry == mFrameOffsetTable.end()) {
            entry = mFrameOffsetTable.emplace(frameNum, std::move(framelist)).first;
        }
        if (entry->second.back().mIsLastFrame != 0) {
            TS_LOGI("Reached End of Frame");
            break;
        }

        if (unitCounter == config.mSuperFrame) {
            ++frameNum;
            unitCounter = 1;
            if (config.mRepeatInterval != 0 && config.mRepeatInterval < frameNum) {
                TS_LOGI("Skipping to Read Frame[%u]", frameNum);
                break;
            }
        } else {
            ++unitCounter;
        }
    }
    // The product is one more frame than indexed when a limit ended the loop.
    TS_LOGI("Total Parsed Frames = %u", config.mSuperFrame * frameNum);
    return TS_OK;
}

int32_t StreamParserCompressed::DeInit() {
    TS_LOGI("DeInit");
    mClientBuffers.Release();
    mState = STATE::STOPPED;
    mSawEOS = false;
    mIsSeekSet = false;
    mFileSize = 0;
    mFrameCount = 1;
    mFetchContent.bufferInfo = FetchContent::BufferInfo{};
    mSliceMode = 0;
    mBufferPtr.reset();
    mFrameOffsetTable.clear();
    if (mInputFile.is_open()) mInputFile.close();
    return TS_OK;
}

void StreamParserCompressed::MeasureInputSize() {
    mInputFile.seekg(0, std::ios_base::end);
    const int64_t end = mInputFile.tellg();
    mFileSize = end < 0 ? 0 : static_cast<uint64_t>(end);
}

void StreamParserCompressed::LogLastEntry(const char* tag, const std::vector<FrameInfo>& framelist) {
    const FrameInfo& last = framelist.back();
    __android_log_print(kLogInfo, tag, "Frame[%d] BufferNum[%d] Offset[%llu] length[%d]",
                        static_cast<int>(last.mFrameNum), static_cast<int>(framelist.size()),
                        static_cast<unsigned long long>(last.mOffset), static_cast<int>(last.mLength));
}

void StreamParserCompressed::LogSliceRange(const char* tag, uint32_t sliceNum,
                                           const std::pair<uint64_t, uint64_t>& slice) {
    __android_log_print(kLogInfo, tag, "Slice[%d] Offset[%llu] length[%llu]", static_cast<int>(sliceNum),
                        static_cast<unsigned long long>(slice.first),
                        static_cast<unsigned long long>(slice.second));
}

}  // namespace tessaro
