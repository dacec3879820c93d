#include "compressed/AVCStreamParser.h"

#include "compressed/ExpGolomb.h"
#include "compressed/StartCodeAccumulator.h"

namespace tessaro {
namespace {

// The line numbers of AVCStreamParser's failed checks.
constexpr StreamParserCompressed::ScannerLines kLines{AVCStreamParser::kLogTag, 23, 29, 38, 199, 200, 202};
constexpr int kSlicesNullBufferLine = 48;

constexpr uint32_t kNalSps = 7;
constexpr uint32_t kNalPps = 8;
constexpr uint32_t kNalIdr = 5;
constexpr uint32_t kNalLastKnown = 9;  // access unit delimiter

// SEI (6), SPS (7), PPS (8) and access unit delimiters (9) end a picture.
bool EndsPicture(uint8_t header) {
    const uint8_t pair = header & 0x1E;
    return pair == 6 || pair == 8;
}

// Non-partitioned slices: types 1 and 5.
bool IsWholeSlice(uint8_t header) { return (header & 0x1B) == 1; }

// Bytes the scan may read before "Buffer is Full." ends the unit.
uint64_t ScanLimit(uint32_t maxBufSize) { return maxBufSize > 5 ? maxBufSize - 5 : 0; }

}  // namespace

int32_t AVCStreamParser::Init() { return OpenAndIndex(kLines, true); }

uint64_t AVCStreamParser::UnitStart() {
    return static_cast<uint64_t>(mInputFile.tellg()) - mPrefixLen;
}

int32_t AVCStreamParser::ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                                           uint32_t maxBufSize,
                                           std::shared_ptr<unsigned char> buffer) {
    TS_LOGI("ReadfromInputFile");
    int32_t status = TS_OK;
    if (ScanEndsAtOnce(kLines, buffer, &status)) return status;

    TS_LOGI("Resetting Configs..");
    mBoundaryCount = 0;
    mConfigClosedBySlice = 0;
    mCurFirstMb = 0;
    mPrevFirstMb = 0;
    mBytesScanned = 0;
    mPrefixLen = 0;
    bool entryOpen = false;     // the last entry's length is still to be fixed
    bool sawStartCode = false;  // this call found at least one start code
    mFrameStart = static_cast<uint64_t>(mInputFile.tellg());
    const uint64_t limit = ScanLimit(maxBufSize);
    StartCodeAccumulator startCode;

    auto closeLast = [&]() {
        FrameInfo& last = framelist.back();
        last.mLength = UnitStart() - last.mOffset;
    };

    while (mBoundaryCount < 2) {
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
        if (!mInputFile.get(byte)) {
            return HandleEndOfData(frameNum, framelist, entryOpen, sawStartCode, true);
        }
        ++mBytesScanned;
        const uint32_t startCodeLen = startCode.Push(byte);
        if (startCodeLen == 0) continue;
        mPrefixLen = startCodeLen;
        sawStartCode = true;

        uint8_t header = 0;
        if (!mInputFile.get(header)) {
            return HandleEndOfData(frameNum, framelist, entryOpen, sawStartCode, true);
        }
        ++mPrefixLen;
        ++mBytesScanned;
        const uint32_t type = header & 0x1F;

        if (EndsPicture(header)) {
            if (mBoundaryCount == 1) mBoundaryCount = 2;
            if (!framelist.empty() && entryOpen) {
                closeLast();
                entryOpen = false;
            }
            if (mBoundaryCount != 2 && (type == kNalSps || type == kNalPps)) {
                if (!framelist.empty()) {
                    LogLastEntry(kLogTag, framelist);
                    mFrameStart += framelist.back().mLength;
                }
                FrameInfo config;
                config.mOffset = UnitStart();
                config.mFrameNum = frameNum;
                config.mFrameType = FRAME_TYPE_CODEC_CONFIG;
                framelist.push_back(std::move(config));
                entryOpen = true;
            }
            continue;  // SEI and delimiters get no entry of their own
        }
        if (type == 0 || type > kNalLastKnown) continue;

        // A slice (types 1 to 5): peek at the start of its header.
        uint8_t peek[4] = {};
        if (!mInputFile.read(peek, sizeof peek)) {
            return HandleEndOfData(frameNum, framelist, entryOpen, sawStartCode, true);
        }
        mPrefixLen += 4;
        mBytesScanned += 4;

        bool pictureOpen = false;
        if (!framelist.empty() && entryOpen) {
            if (framelist.back().mFrameType == FRAME_TYPE_CODEC_CONFIG) {
                // The parameter set ends here; it is neither logged nor added to
                // mFrameStart, so the picture will start at its start code.
                closeLast();
                mConfigClosedBySlice = 1;
                entryOpen = false;
            } else {
                pictureOpen = true;
            }
        }
        mCurFirstMb = DecodeUeFromFourBytes(peek);
        if (mCurFirstMb <= mPrevFirstMb) {
            // first_mb_in_slice did not grow: a new picture starts here.
            mConfigClosedBySlice = 0;
            ++mBoundaryCount;
            if (!framelist.empty() && pictureOpen) {
                closeLast();
                LogLastEntry(kLogTag, framelist);
                mFrameStart += framelist.back().mLength;
            }
            if (mBoundaryCount != 2) {
                FrameInfo picture;
                picture.mOffset = mFrameStart;
                picture.mFrameNum = frameNum;
                picture.mFrameType = type == kNalIdr ? FRAME_TYPE_SYNC : FRAME_TYPE_NON_SYNC;
                framelist.push_back(std::move(picture));
                entryOpen = true;
                if (mSliceMode == 1 &&
                    ParseSlicesFromFrame(framelist, maxBufSize, buffer) != TS_OK) {
                    return HandleEndOfData(frameNum, framelist, entryOpen, sawStartCode, false);
                }
            }
        }
        mPrevFirstMb = mCurFirstMb;
    }

    if (framelist.empty()) return TS_OK;
    closeLast();
    LogLastEntry(kLogTag, framelist);
    // The next call starts at the start code of the unit that ended this picture.
    const FrameInfo& last = framelist.back();
    mInputFile.seekg(static_cast<int64_t>(last.mOffset + last.mLength));
    return TS_OK;
}

int32_t AVCStreamParser::HandleEndOfData(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                                         bool entryOpen, bool sawStartCode, bool readFailedHere) {
    if (readFailedHere) TS_LOGE("Error. Failed to Read from File.");
    TS_LOGE("File Read Error.");
    if (!mInputFile.eof()) return TS_ERROR;
    mInputFile.clear();

    if (!entryOpen && mConfigClosedBySlice == 1) {
        // Slices that continued no picture of this call: an empty picture entry.
        FrameInfo orphan;
        orphan.mOffset = mFrameStart;
        orphan.mFrameNum = frameNum;
        orphan.mFrameType = FRAME_TYPE_NON_SYNC;
        framelist.push_back(std::move(orphan));
    }
    if (framelist.empty() || !entryOpen) return TS_OK;

    FrameInfo& last = framelist.back();
    if (mBoundaryCount != 0) {
        last.mLength = mFileSize - mFrameStart;
    } else if (mConfigClosedBySlice == 0) {
        last.mLength = 0;
        last.mIsLastFrame = 1;
    } else {
        last.mLength = mFileSize - last.mOffset;
    }
    if (mConfigParam.mFrames != 0 && mConfigParam.mFrames > frameNum) {
        TS_LOGI("Frames To Parse > Frames in Inputfile. Restarting from begin..");
        last.mIsLastFrame = 0;
        mInputFile.seekg(0);
        NotePassEnd();
    } else {
        last.mIsLastFrame = sawStartCode ? 1 : 0;
    }
    LogLastEntry(kLogTag, framelist);
    return TS_OK;
}

int32_t AVCStreamParser::ParseSlicesFromFrame(std::vector<FrameInfo>& framelist,
                                              uint32_t maxBufSize,
                                              std::shared_ptr<unsigned char> buffer) {
    TS_LOGI("ParseSlicesFromFrame");
    TS_CHECK(buffer == nullptr, kSlicesNullBufferLine, -4);
    if (framelist.empty()) return TS_ERROR;

    FrameInfo& entry = framelist.back();
    auto& slices = entry.mSliceOffsetTable;
    uint32_t sliceNum = 1;
    // The slice that opened the picture starts at its own start code.
    slices[sliceNum] = {UnitStart(), 0};

    if (mBoundaryCount <= 1) {
        const uint64_t limit = ScanLimit(maxBufSize);
        StartCodeAccumulator startCode;
        for (;;) {
            if (mBytesScanned >= limit) {
                TS_LOGI("Buffer is Full.");
                break;
            }
            if (const uint64_t skipped =
                    mInputFile.SkipNoStartCode(startCode, limit - mBytesScanned)) {
                mBytesScanned += skipped;
                continue;
            }
            uint8_t byte = 0;
            if (!mInputFile.get(byte)) return HandleSliceEndOfData(entry, sliceNum);
            ++mBytesScanned;
            const uint32_t startCodeLen = startCode.Push(byte);
            if (startCodeLen == 0) continue;
            mPrefixLen = startCodeLen;

            uint8_t header = 0;
            if (!mInputFile.get(header)) return HandleSliceEndOfData(entry, sliceNum);
            ++mPrefixLen;
            ++mBytesScanned;
            if (!IsWholeSlice(header)) {
                // Data partitions (types 2 to 4) are passed over here.
                if (EndsPicture(header)) {
                    ++mBoundaryCount;
                    break;
                }
                continue;
            }

            uint8_t peek[4] = {};
            if (!mInputFile.read(peek, sizeof peek)) return HandleSliceEndOfData(entry, sliceNum);
            mPrevFirstMb = mCurFirstMb;
            mBytesScanned += 4;
            mPrefixLen += 4;
            mCurFirstMb = DecodeUeFromFourBytes(peek);
            if (mCurFirstMb <= mPrevFirstMb) {
                mConfigClosedBySlice = 0;
                ++mBoundaryCount;
                break;
            }
            // Another slice of the same picture.
            const uint64_t start = UnitStart();
            slices[sliceNum].second = start - slices[sliceNum].first;
            LogSliceRange(kLogTag, sliceNum, slices[sliceNum]);
            ++sliceNum;
            slices[sliceNum] = {start, 0};
            if (mBoundaryCount >= 2) break;
        }
    }

    const uint64_t end = UnitStart();
    slices[sliceNum].second = end - slices[sliceNum].first;
    entry.mLength = end - entry.mOffset;
    LogSliceRange(kLogTag, sliceNum, slices[sliceNum]);
    return TS_OK;
}

int32_t AVCStreamParser::HandleSliceEndOfData(FrameInfo& entry, uint32_t sliceNum) {
    TS_LOGE("Error. Failed to Read from File.");
    TS_LOGI("File Read Error");
    auto& slices = entry.mSliceOffsetTable;
    uint64_t sliceOffset = 0;
    if (mInputFile.eof()) {
        auto& slice = slices[sliceNum];
        slice.second = mFileSize - slice.first;
        LogSliceRange(kLogTag, sliceNum, slice);
        sliceOffset = slice.first;
    } else {
        slices.erase(sliceNum);
    }
    // The picture runs to the end of the file from the current slice's start.
    entry.mIsLastFrame = 1;
    entry.mLength = mFileSize - sliceOffset;
    return TS_ERROR;
}

}  // namespace tessaro
