#include "compressed/AVCStreamParser.h"

#include "compressed/ExpGolomb.h"
#include "compressed/FrameList.h"
#include "compressed/NalIterator.h"
#include "compressed/PictureSlices.h"

namespace tessaro {
namespace {

// The line numbers of AVCStreamParser's failed checks.
constexpr struct {
    StreamParserCompressed::ScannerLines scanner{AVCStreamParser::kLogTag, 23, 29, 38, 199, 200, 202};
    int slicesNullBuffer = 48;  // "buffer == nullptr" in ParseSlicesFromFrame
} kLines;

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

int32_t AVCStreamParser::Init() { return OpenAndIndex(kLines.scanner, true); }

int32_t AVCStreamParser::ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                                           uint32_t maxBufSize,
                                           std::shared_ptr<unsigned char> buffer) {
    TS_LOGI("ReadfromInputFile");
    int32_t status = TS_OK;
    if (ScanEndsAtOnce(kLines.scanner, buffer, &status)) return status;

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
    NalIterator nal(mInputFile, mBytesScanned, mPrefixLen, ScanLimit(maxBufSize), kLogTag);
    auto closeLast = [&]() { framelist.back().mLength = nal.UnitStart() - framelist.back().mOffset; };
    auto logLastAndMoveOn = [&]() {
        LogLastEntry(kLogTag, framelist);
        mFrameStart += framelist.back().mLength;
    };

    while (mBoundaryCount < 2) {
        const NalIterator::Step step = nal.Next();
        if (step == NalIterator::Step::kFull) break;
        sawStartCode = sawStartCode || step == NalIterator::Step::kUnit;
        uint8_t header = 0;
        if (step == NalIterator::Step::kNoData || !nal.Take(&header, 1)) {
            return HandleEndOfData(frameNum, framelist, entryOpen, sawStartCode, true);
        }
        const uint32_t type = header & 0x1F;

        if (EndsPicture(header)) {
            if (mBoundaryCount == 1) mBoundaryCount = 2;
            if (!framelist.empty() && entryOpen) {
                closeLast();
                entryOpen = false;
            }
            if (mBoundaryCount != 2 && (type == kNalSps || type == kNalPps)) {
                if (!framelist.empty()) logLastAndMoveOn();
                AppendUnit(framelist, nal.UnitStart(), frameNum, FRAME_TYPE_CODEC_CONFIG);
                entryOpen = true;
            }
            continue;  // SEI and delimiters get no entry of their own
        }
        if (type == 0 || type > kNalLastKnown) continue;

        // A slice (types 1 to 5): peek at the start of its header.
        uint8_t peek[4] = {};
        if (!nal.Take(peek, sizeof peek)) {
            return HandleEndOfData(frameNum, framelist, entryOpen, sawStartCode, true);
        }
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
                logLastAndMoveOn();
            }
            if (mBoundaryCount != 2) {
                AppendUnit(framelist, mFrameStart, frameNum, type == kNalIdr ? FRAME_TYPE_SYNC : FRAME_TYPE_NON_SYNC);
                entryOpen = true;
                if (mSliceMode == 1 && ParseSlicesFromFrame(framelist, maxBufSize, buffer) != TS_OK) {
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
        AppendUnit(framelist, mFrameStart, frameNum, FRAME_TYPE_NON_SYNC);
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
    if (RewindForMoreFrames(mInputFile, mConfigParam.mFrames, frameNum, last, sawStartCode ? 1 : 0, kLogTag)) {
        NotePassEnd();
    }
    LogLastEntry(kLogTag, framelist);
    return TS_OK;
}

int32_t AVCStreamParser::ParseSlicesFromFrame(std::vector<FrameInfo>& framelist,
                                              uint32_t maxBufSize,
                                              std::shared_ptr<unsigned char> buffer) {
    TS_LOGI("ParseSlicesFromFrame");
    TS_CHECK(buffer == nullptr, kLines.slicesNullBuffer, -4);
    if (framelist.empty()) return TS_ERROR;

    NalIterator nal(mInputFile, mBytesScanned, mPrefixLen, ScanLimit(maxBufSize), kLogTag);
    PictureSlices slices(framelist.back(), nal.UnitStart(), kLogTag, LogSliceRange);
    auto endOfData = [&] { return slices.EndOfData(mInputFile.eof(), mFileSize, "Error. Failed to Read from File."); };
    while (mBoundaryCount <= 1) {
        const NalIterator::Step step = nal.Next();
        if (step == NalIterator::Step::kFull) break;
        uint8_t header = 0;
        if (step == NalIterator::Step::kNoData || !nal.Take(&header, 1)) return endOfData();
        if (!IsWholeSlice(header)) {
            // Data partitions (types 2 to 4) are passed over here.
            if (EndsPicture(header)) {
                ++mBoundaryCount;
                break;
            }
            continue;
        }
        uint8_t peek[4] = {};
        if (!nal.Take(peek, sizeof peek)) return endOfData();
        mPrevFirstMb = mCurFirstMb;
        mCurFirstMb = DecodeUeFromFourBytes(peek);
        if (mCurFirstMb <= mPrevFirstMb) {
            mConfigClosedBySlice = 0;
            ++mBoundaryCount;
            break;
        }
        slices.Next(nal.UnitStart());  // another slice of the same picture
    }
    return slices.Finish(nal.UnitStart());
}

}  // namespace tessaro
