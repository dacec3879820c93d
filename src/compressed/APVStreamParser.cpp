#include "compressed/APVStreamParser.h"

#include "compressed/FrameList.h"

namespace tessaro {
namespace {

// The line numbers of APVStreamParser's failed checks.
constexpr struct {
    StreamParserCompressed::ScannerLines scanner{APVStreamParser::kLogTag, 23, 29, 36, 88, 89, 91};
    int entryFailed = 158;     // "ret != TS_OK"
    int entryAtEof = 50;       // "mInputFile.eof()" in CreateEntryInFrameList
    int entryNullBuffer = 51;  // "buffer == nullptr" in CreateEntryInFrameList
    int entryTooLarge = 52;    // "maxBufSize < frameSize"
} kLines;

}  // namespace

int32_t APVStreamParser::Init() { return OpenAndIndex(kLines.scanner, false); }

int32_t APVStreamParser::ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                                           uint32_t maxBufSize,
                                           std::shared_ptr<unsigned char> buffer) {
    TS_LOGW("ReadfromInputFile");
    int32_t status = TS_OK;
    if (ScanEndsAtOnce(kLines.scanner, buffer, &status)) return status;

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
        TS_CHECK(ret != TS_OK, kLines.entryFailed, TS_ERROR);
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
    // A rewind here ends no pass: later entries are never marked last again.
    RewindForMoreFrames(mInputFile, mConfigParam.mFrames, frameNum, last, 1, kLogTag);
    LogLastEntry(kLogTag, framelist);
    return TS_OK;
}

int32_t APVStreamParser::CreateEntryInFrameList(uint32_t frameNum,
                                                std::vector<FrameInfo>& framelist,
                                                uint32_t maxBufSize, uint32_t frameSize,
                                                std::shared_ptr<unsigned char> buffer) {
    TS_LOGI("CreateEntryInFrameList");
    TS_CHECK_TEXT(mInputFile.eof(), "mInputFile.eof()", kLines.entryAtEof, TS_OK);
    TS_CHECK(buffer == nullptr, kLines.entryNullBuffer, -2);
    TS_CHECK(maxBufSize < frameSize, kLines.entryTooLarge, -4);

    FrameInfo& added = AppendUnit(framelist, static_cast<uint64_t>(mInputFile.tellg()) - mSizeFieldLen,
                                  frameNum, FRAME_TYPE_SYNC);
    added.mLength = frameSize;
    LogLastEntry(kLogTag, framelist);

    mBytesListed += frameSize;
    if (mBytesListed == mFileSize) {
        added.mIsLastFrame = 1;
        TS_LOGI("Saw EOS. Further Skip Reading input file.");
    }
    return TS_OK;
}

}  // namespace tessaro
