#include "compressed/APVStreamParser.h"

namespace tessaro {
namespace {

// The line numbers of APVStreamParser's failed checks.
constexpr StreamParserCompressed::ScannerLines kLines{APVStreamParser::kLogTag, 23, 29, 36, 88, 89, 91};
constexpr int kEntryFailedLine = 158;
constexpr struct {
    int atEof = 50;
    int nullBuffer = 51;
    int tooLarge = 52;
} kEntryLines;

}  // namespace

int32_t APVStreamParser::Init() { return OpenAndIndex(kLines, false); }

int32_t APVStreamParser::ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                                           uint32_t maxBufSize,
                                           std::shared_ptr<unsigned char> buffer) {
    TS_LOGW("ReadfromInputFile");
    int32_t status = TS_OK;
    if (ScanEndsAtOnce(kLines, buffer, &status)) return status;

    unsigned char sizeField[4];
    mInputFile.read(sizeField, sizeof(sizeField));
    if (mInputFile && mInputFile.gcount() == sizeof(sizeField)) {
        const uint32_t auSize = (static_cast<uint32_t>(sizeField[0]) << 24) |
                                (static_cast<uint32_t>(sizeField[1]) << 16) |
                                (static_cast<uint32_t>(sizeField[2]) << 8) |
                                static_cast<uint32_t>(sizeField[3]);
        if (auSize >= maxBufSize) {
            TS_LOGE("Buffer is full, allocated:%u required:%llu", maxBufSize,
                    static_cast<unsigned long long>(auSize));
            return TS_ERROR;
        }
        if (auSize == 0) return TS_ERROR;
        // auSize < maxBufSize, so adding the size field cannot wrap.
        int32_t ret = CreateEntryInFrameList(frameNum, framelist, maxBufSize,
                                             auSize + static_cast<uint32_t>(mSizeFieldLen), buffer);
        TS_CHECK(ret != TS_OK, kEntryFailedLine, TS_ERROR);
        mInputFile.seekg(static_cast<int64_t>(auSize), std::ios_base::cur);
        return TS_OK;
    }

    TS_LOGE("Error. Failed to Read from File");
    TS_LOGW("File Read Error.");
    if (!mInputFile.eof()) return TS_ERROR;
    mInputFile.clear();
    if (framelist.empty()) return TS_OK;
    FrameInfo& last = framelist.back();
    last.mLength = mFileSize - last.mOffset;
    if (mConfigParam.mFrames > frameNum) {
        TS_LOGI("Frames To Parse > Frames in Inputfile. Restarting from begin..");
        last.mIsLastFrame = 0;
        mInputFile.seekg(0, std::ios_base::beg);
    } else {
        last.mIsLastFrame = 1;
    }
    LogLastEntry(kLogTag, framelist);
    return TS_OK;
}

int32_t APVStreamParser::CreateEntryInFrameList(uint32_t frameNum,
                                                std::vector<FrameInfo>& framelist,
                                                uint32_t maxBufSize, uint32_t frameSize,
                                                std::shared_ptr<unsigned char> buffer) {
    TS_LOGI("CreateEntryInFrameList");
    TS_CHECK_TEXT(mInputFile.eof(), "mInputFile.eof()", kEntryLines.atEof, TS_OK);
    TS_CHECK(buffer == nullptr, kEntryLines.nullBuffer, -2);
    TS_CHECK(maxBufSize < frameSize, kEntryLines.tooLarge, -4);

    FrameInfo entry;
    entry.mOffset =
        static_cast<uint64_t>(mInputFile.tellg()) - static_cast<uint64_t>(mSizeFieldLen);
    entry.mLength = frameSize;
    entry.mFrameNum = frameNum;
    entry.mFrameType = FRAME_TYPE_SYNC;
    framelist.push_back(entry);
    LogLastEntry(kLogTag, framelist);
    FrameInfo& added = framelist.back();

    mBytesListed += frameSize;
    if (mBytesListed == mFileSize) {
        added.mIsLastFrame = 1;
        TS_LOGI("Saw EOS. Further Skip Reading input file.");
    }
    return TS_OK;
}

}  // namespace tessaro
