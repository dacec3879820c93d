#include "compressed/HEVCStreamParser.h"

#include "compressed/FrameList.h"
#include "compressed/NalIterator.h"
#include "compressed/PictureSlices.h"

namespace tessaro {
namespace {

// The line numbers of HEVCStreamParser's failed checks.
constexpr struct {
    StreamParserCompressed::ScannerLines scanner{HEVCStreamParser::kLogTag, 23, 29, 38, 212, 213, 215};
    int slicesNullBuffer = 48;  // "buffer == nullptr" in ParseSlicesFromFrame
} kLines;

constexpr const char* kReadError = "Error. Failed to Read from File";

uint32_t NalType(uint8_t b0) { return (b0 >> 1) & 0x3F; }

}  // namespace

int32_t HEVCStreamParser::Init() { return OpenAndIndex(kLines.scanner, true); }

int32_t HEVCStreamParser::ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                                            uint32_t maxBufSize,
                                            std::shared_ptr<unsigned char> buffer) {
    TS_LOGW("ReadfromInputFile");
    int32_t status = TS_OK;
    if (ScanEndsAtOnce(kLines.scanner, buffer, &status)) return status;

    TS_LOGI("Resetting Configs..");
    mPicDone = false;
    mPicCount = 0;
    mBytesScanned = 0;
    mPicEnd = 0;
    mPrefixLen = 0;
    bool entryOpen = false;     // the last entry still has its length to be fixed
    bool sawStartCode = false;  // a start code was met in this call
    mFrameStart = static_cast<uint64_t>(mInputFile.tellg());
    // The scan stops three bytes short of the scratch size.
    NalIterator nal(mInputFile, mBytesScanned, mPrefixLen, maxBufSize > 3 ? maxBufSize - 3u : 0, kLogTag);
    auto closeLast = [&]() {
        if (!framelist.empty() && entryOpen) framelist.back().mLength = nal.UnitStart() - framelist.back().mOffset;
        entryOpen = false;
    };
    // A new entry at mFrameStart, after the one before it is logged and passed.
    auto append = [&](uint32_t frameType, uint32_t layerId) {
        if (!framelist.empty()) {
            LogLastEntry(kLogTag, framelist);
            mFrameStart += framelist.back().mLength;
        }
        AppendUnit(framelist, mFrameStart, frameNum, frameType, layerId);
    };

    while (mPicCount < 2 || !mPicDone) {
        const NalIterator::Step step = nal.Next();
        if (step == NalIterator::Step::kFull) break;
        sawStartCode = sawStartCode || step == NalIterator::Step::kUnit;
        uint8_t header[2] = {};
        if (step == NalIterator::Step::kNoData || !nal.Take(header, 2)) {
            return HandleEndOfData(frameNum, framelist, sawStartCode);
        }
        const uint32_t type = NalType(header[0]);
        const uint32_t layerId = (header[1] >> 3) | ((header[0] & 1u) << 5);

        if (EndsPicture(type)) {
            // Counted only once a picture has started: the first such unit
            // after it marks where the picture ends.
            if (mPicCount != 0 && ++mPicCount == 2) mPicEnd = nal.UnitStart();
            closeLast();
            // A VPS gets no entry: the SPS entry after it starts at mFrameStart
            // and so covers it.
            if (IsParameterSetEntry(type) && mPicCount == 0) {
                append(FRAME_TYPE_CODEC_CONFIG, layerId);
                entryOpen = true;
            }
        } else if (IsSliceSegment(type)) {
            uint8_t sliceHeader = 0;
            if (!nal.Take(&sliceHeader, 1, false)) return HandleEndOfData(frameNum, framelist, sawStartCode);
            if (sliceHeader & 0x80) {  // first_slice_segment_in_pic_flag
                ++mPrefixLen;
                if (++mPicCount > 1) mPicDone = true;
                closeLast();
                if (mPicCount > 1) continue;  // the next picture: the scan ends
                append(IsSyncPicture(type) ? FRAME_TYPE_SYNC : FRAME_TYPE_NON_SYNC, layerId);
                if (mSliceMode == 1 && ParseSlicesFromFrame(framelist, maxBufSize, buffer) != TS_OK) {
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
    const uint64_t pos = static_cast<uint64_t>(mInputFile.tellg());
    const uint64_t back = mPicEnd != 0 ? pos - mPicEnd : mPrefixLen;
    last.mLength = pos - back - last.mOffset;
    LogLastEntry(kLogTag, framelist);
    mInputFile.clear();
    mInputFile.seekg(static_cast<int64_t>(last.mOffset + last.mLength), std::ios_base::beg);
    return TS_OK;
}

int32_t HEVCStreamParser::HandleEndOfData(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                                          bool sawStartCode) {
    TS_LOGE("%s", kReadError);
    TS_LOGW("File Read Error.");
    if (!mInputFile.eof()) return TS_ERROR;
    mInputFile.clear();
    if (!framelist.empty()) {
        FrameInfo& last = framelist.back();
        last.mLength = mFileSize - last.mOffset;
        if (RewindForMoreFrames(mInputFile, mConfigParam.mFrames, frameNum, last, sawStartCode ? 1 : 0, kLogTag)) {
            NotePassEnd();
        }
        LogLastEntry(kLogTag, framelist);
    }
    return TS_OK;
}

int32_t HEVCStreamParser::ParseSlicesFromFrame(std::vector<FrameInfo>& framelist,
                                               uint32_t /*maxBufSize*/,
                                               std::shared_ptr<unsigned char> buffer) {
    TS_LOGW("ParseSlicesFromFrame");
    TS_CHECK(buffer == nullptr, kLines.slicesNullBuffer, -2);
    // Only ever called with the picture entry just appended.
    if (framelist.empty()) return TS_ERROR;

    // The slice scan has no scan limit of its own.
    NalIterator nal(mInputFile, mBytesScanned, mPrefixLen, UINT64_MAX, kLogTag);
    PictureSlices slices(framelist.back(), nal.UnitStart(), kLogTag, LogSliceRange);
    if (!(mPicCount >= 2 && mPicDone)) {
        for (;;) {
            uint8_t b0 = 0;
            if (nal.Next() != NalIterator::Step::kUnit || !nal.Take(&b0, 1)) {
                return slices.EndOfData(mInputFile.eof(), mFileSize, kReadError);
            }
            if (!IsSliceSegment(NalType(b0))) {
                if (EndsPicture(NalType(b0))) break;
                continue;
            }
            uint8_t rest[2] = {};  // the second header byte and the first slice byte
            if (!nal.Take(rest, 2)) return slices.EndOfData(mInputFile.eof(), mFileSize, kReadError);
            if (rest[1] & 0x80) break;  // the next picture
            slices.Next(nal.UnitStart());  // a further slice segment (dependent ones too)
        }
        mPicCount = 2;
        mPicDone = true;
    }
    return slices.Finish(nal.UnitStart());
}

}  // namespace tessaro
