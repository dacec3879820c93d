#include "compressed/HEVCStreamParser.h"

#include <string>

namespace tessaro {
namespace {

// The line numbers of HEVCStreamParser's failed checks.
constexpr StreamParserCompressed::ScannerLines kLines{HEVCStreamParser::kLogTag, 23, 29, 38, 212, 213, 215};
constexpr int kSlicesNullBufferLine = 48;

}  // namespace

int32_t HEVCStreamParser::Init() { return OpenAndIndex(kLines, true); }

bool HEVCStreamParser::ReadByte(uint8_t& byte) { return static_cast<bool>(mInputFile.get(byte)); }

void HEVCStreamParser::CloseLastEntry(std::vector<FrameInfo>& framelist) {
    FrameInfo& last = framelist.back();
    last.mLength = Position() - mPrefixLen - last.mOffset;
}

int32_t HEVCStreamParser::ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                                            uint32_t maxBufSize,
                                            std::shared_ptr<unsigned char> buffer) {
    TS_LOGW("ReadfromInputFile");
    int32_t status = TS_OK;
    if (ScanEndsAtOnce(kLines, buffer, &status)) return status;

    TS_LOGI("Resetting Configs..");
    mPicDone = false;
    mPicCount = 0;
    mBytesScanned = 0;
    mPicEnd = 0;
    mPrefixLen = 0;
    bool entryOpen = false;     // the last entry still has its length to be fixed
    bool sawStartCode = false;  // a start code was met in this call
    mFrameStart = Position();
    // The scan stops three bytes short of the scratch size.
    const uint64_t limit = maxBufSize > 3 ? maxBufSize - 3u : 0;

    StartCodeAccumulator startCode;
    while (mPicCount < 2 || !mPicDone) {
        if (mBytesScanned >= limit) {
            TS_LOGI("Buffer is Full.");
            break;
        }
        // Bulk data up to the next possible start code, as the loop would read it.
        if (const uint64_t skipped = mInputFile.SkipNoStartCode(startCode, limit - mBytesScanned)) {
            mBytesScanned += skipped;
            continue;
        }
        uint8_t byte = 0;
        if (!ReadByte(byte)) return HandleEndOfData(frameNum, framelist, sawStartCode);
        ++mBytesScanned;
        const uint32_t startCodeLen = startCode.Push(byte);
        if (startCodeLen == 0) continue;
        mPrefixLen = startCodeLen;
        sawStartCode = true;

        uint8_t b0 = 0;
        uint8_t b1 = 0;
        if (!ReadByte(b0)) return HandleEndOfData(frameNum, framelist, sawStartCode);
        ++mBytesScanned;
        ++mPrefixLen;
        if (!ReadByte(b1)) return HandleEndOfData(frameNum, framelist, sawStartCode);
        ++mBytesScanned;
        ++mPrefixLen;
        const uint32_t type = (b0 >> 1) & 0x3F;
        const uint32_t layerId = (b1 >> 3) | ((b0 & 1u) << 5);

        if (EndsPicture(type)) {
            // Counted only once a picture has started: the first such unit
            // after it marks where the picture ends.
            if (mPicCount != 0) {
                ++mPicCount;
                if (mPicCount == 2) mPicEnd = Position() - mPrefixLen;
            }
            if (!framelist.empty() && entryOpen) {
                CloseLastEntry(framelist);
                entryOpen = false;
            }
            // A VPS gets no entry: the SPS entry after it starts at mFrameStart
            // and so covers it.
            if (IsParameterSetEntry(type) && mPicCount == 0) {
                if (!framelist.empty()) {
                    LogLastEntry(kLogTag, framelist);
                    mFrameStart += framelist.back().mLength;
                }
                FrameInfo entry;
                entry.mOffset = mFrameStart;
                entry.mFrameNum = frameNum;
                entry.mLayerId = layerId;
                entry.mFrameType = FRAME_TYPE_CODEC_CONFIG;
                framelist.push_back(entry);
                entryOpen = true;
            }
        } else if (IsSliceSegment(type)) {
            uint8_t sliceHeader = 0;
            if (!ReadByte(sliceHeader)) return HandleEndOfData(frameNum, framelist, sawStartCode);
            ++mBytesScanned;
            if (sliceHeader & 0x80) {  // first_slice_segment_in_pic_flag
                ++mPrefixLen;
                ++mPicCount;
                if (mPicCount > 1) mPicDone = true;
                if (!framelist.empty() && entryOpen) {
                    CloseLastEntry(framelist);
                    entryOpen = false;
                }
                if (mPicCount > 1) continue;  // the next picture: the scan ends
                if (!framelist.empty()) {
                    LogLastEntry(kLogTag, framelist);
                    mFrameStart += framelist.back().mLength;
                }
                FrameInfo entry;
                entry.mOffset = mFrameStart;
                entry.mFrameNum = frameNum;
                entry.mLayerId = layerId;
                entry.mFrameType = IsSyncPicture(type) ? FRAME_TYPE_SYNC : FRAME_TYPE_NON_SYNC;
                framelist.push_back(entry);
                if (mSliceMode == 1 &&
                    ParseSlicesFromFrame(framelist, maxBufSize, buffer) != TS_OK) {
                    return HandleEndOfData(frameNum, framelist, sawStartCode);
                }
                entryOpen = true;
            } else if (mPicCount > 1) {
                // A non-VCL unit came between two slice segments of one
                // picture: the picture goes on over it.
                mPicCount = 1;
                if (!entryOpen && !framelist.empty()) {
                    mPicEnd = 0;
                    entryOpen = true;
                }
            }
        }
    }

    if (framelist.empty()) return TS_OK;
    FrameInfo& last = framelist.back();
    const uint64_t pos = Position();
    const uint64_t back = mPicEnd != 0 ? pos - mPicEnd : mPrefixLen;
    last.mLength = pos - back - last.mOffset;
    LogLastEntry(kLogTag, framelist);
    mInputFile.clear();
    mInputFile.seekg(static_cast<int64_t>(last.mOffset + last.mLength), std::ios_base::beg);
    return TS_OK;
}

int32_t HEVCStreamParser::HandleEndOfData(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                                          bool sawStartCode) {
    TS_LOGE("Error. Failed to Read from File");
    TS_LOGW("File Read Error.");
    if (!mInputFile.eof()) return TS_ERROR;
    mInputFile.clear();
    if (!framelist.empty()) {
        FrameInfo& last = framelist.back();
        last.mLength = mFileSize - last.mOffset;
        if (mConfigParam.mFrames != 0 && mConfigParam.mFrames > frameNum) {
            TS_LOGI("Frames To Parse > Frames in Inputfile. Restarting from begin..");
            last.mIsLastFrame = 0;
            mInputFile.seekg(0, std::ios_base::beg);
            NotePassEnd();
        } else {
            last.mIsLastFrame = sawStartCode ? 1 : 0;
        }
        LogLastEntry(kLogTag, framelist);
    }
    return TS_OK;
}

int32_t HEVCStreamParser::ParseSlicesFromFrame(std::vector<FrameInfo>& framelist,
                                               uint32_t /*maxBufSize*/,
                                               std::shared_ptr<unsigned char> buffer) {
    TS_LOGW("ParseSlicesFromFrame");
    TS_CHECK(buffer == nullptr, kSlicesNullBufferLine, -2);
    // Only ever called with the picture entry just appended.
    if (framelist.empty()) return TS_ERROR;

    auto& slices = framelist.back().mSliceOffsetTable;
    uint32_t sliceNum = 1;
    // The slice segment that opened the picture starts at its own start code.
    slices[sliceNum] = {Position() - mPrefixLen, 0};

    if (!(mPicCount >= 2 && mPicDone)) {
        StartCodeAccumulator startCode;
        for (;;) {
            // The slice scan has no scan limit of its own.
            if (const uint64_t skipped = mInputFile.SkipNoStartCode(startCode, UINT64_MAX)) {
                mBytesScanned += skipped;
                continue;
            }
            uint8_t byte = 0;
            if (!ReadByte(byte)) return HandleSliceEndOfData(framelist, sliceNum);
            ++mBytesScanned;
            const uint32_t startCodeLen = startCode.Push(byte);
            if (startCodeLen == 0) continue;
            mPrefixLen = startCodeLen;

            uint8_t b0 = 0;
            if (!ReadByte(b0)) return HandleSliceEndOfData(framelist, sliceNum);
            ++mBytesScanned;
            ++mPrefixLen;
            const uint32_t type = (b0 >> 1) & 0x3F;
            if (!IsSliceSegment(type)) {
                if (EndsPicture(type)) break;
                continue;
            }
            uint8_t b1 = 0;
            uint8_t sliceHeader = 0;
            if (!ReadByte(b1) || !ReadByte(sliceHeader)) {
                return HandleSliceEndOfData(framelist, sliceNum);
            }
            mBytesScanned += 2;
            mPrefixLen += 2;
            if (sliceHeader & 0x80) break;  // the next picture

            // A further slice segment of this picture (dependent ones too).
            const uint64_t p = Position() - mPrefixLen;
            auto& current = slices[sliceNum];
            current.second = p - current.first;
            LogSliceRange(kLogTag, sliceNum, current);
            ++sliceNum;
            slices[sliceNum] = {p, 0};
        }
        mPicCount = 2;
        mPicDone = true;
    }

    const uint64_t p = Position() - mPrefixLen;
    auto& current = slices[sliceNum];
    current.second = p - current.first;
    framelist.back().mLength = p - framelist.back().mOffset;
    LogSliceRange(kLogTag, sliceNum, current);
    return TS_OK;
}

int32_t HEVCStreamParser::HandleSliceEndOfData(std::vector<FrameInfo>& framelist,
                                               uint32_t sliceNum) {
    TS_LOGE("Error. Failed to Read from File");
    TS_LOGI("File Read Error");
    FrameInfo& entry = framelist.back();
    uint64_t sliceOffset = 0;
    if (mInputFile.eof()) {
        auto& current = entry.mSliceOffsetTable[sliceNum];
        current.second = mFileSize - current.first;
        sliceOffset = current.first;
        LogSliceRange(kLogTag, sliceNum, current);
    } else {
        entry.mSliceOffsetTable.erase(sliceNum);
    }
    // The entry runs from the current slice (offset 0 once it is removed).
    entry.mIsLastFrame = 1;
    entry.mLength = mFileSize - sliceOffset;
    return TS_ERROR;
}

}  // namespace tessaro
