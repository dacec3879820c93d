#include "compressed/VPXStreamParser.h"

#include <string>

#include "compressed/FrameList.h"
#include "compressed/IvfReader.h"

namespace tessaro {
namespace {

// The line numbers of VPXStreamParser's failed checks (the IVF headers' are IvfReader's).
constexpr struct {
    StreamParserCompressed::ScannerLines scanner{VPXStreamParser::kLogTag, 44, 59, 66, 141, 142, 144};
    int noSignature = 51;   // "SawDKIFHeader() == false"
    int entryFailed = 187;  // "ret != TS_OK"
    int entryAtEof = 79;    // "mInputFile.eof()" in CreateEntryInFrameList
    int entryNullBuffer = 80;
    int entryTooLarge = 81;
} kLines;

}  // namespace

void VPXStreamParser::SeekInput(uint64_t offset) {
    mInputFile.clear();
    mInputFile.seekg(static_cast<int64_t>(offset), std::ios_base::beg);
}

bool VPXStreamParser::SawDKIFHeader() { return IvfReader::SawSignature(mInputFile); }

int32_t VPXStreamParser::Init() {
    return OpenAndIndex(kLines.scanner, false, [this] {
        // The extension runs from the last '.' to the end. A name without '.'
        // makes substr throw std::out_of_range, which leaves Init to the caller.
        const std::string& name = mConfigParam.mInputFileName;
        const std::string extension = name.substr(name.find_last_of('.'));
        if (extension == ".ivfnh") {
            mIvfMode = kIvfHeaderless;
        } else {
            TS_CHECK(SawDKIFHeader() == false, kLines.noSignature, TS_ERROR);
            mIvfMode = kIvfWithFileHeader;
        }
        return TS_OK;
    });
}

int32_t VPXStreamParser::ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                                           uint32_t maxBufSize,
                                           std::shared_ptr<unsigned char> buffer) {
    TS_LOGI("ReadfromInputFile");
    int32_t status = TS_OK;
    if (ScanEndsAtOnce(kLines.scanner, buffer, &status)) return status;

    // The file header is read on the first call and on the first after a rewind.
    const bool fileHeader = mIvfMode == kIvfWithFileHeader && (frameNum == 1 || mRestarted);
    if (fileHeader) mRestarted = false;
    uint32_t frameSize = 0;
    if (IvfReader::ReadFrameHeader(mInputFile, mIvfMode, fileHeader, &frameSize) != TS_OK) return TS_ERROR;

    int32_t ret = CreateEntryInFrameList(frameNum, framelist, maxBufSize, frameSize, buffer);
    TS_CHECK(ret != TS_OK, kLines.entryFailed, TS_ERROR);

    if (framelist.empty()) return TS_OK;
    LogLastEntry(kLogTag, framelist);
    return TS_OK;
}

int32_t VPXStreamParser::CreateEntryInFrameList(uint32_t frameNum,
                                                std::vector<FrameInfo>& framelist,
                                                uint32_t maxBufSize, uint32_t frameSize,
                                                std::shared_ptr<unsigned char> buffer) {
    TS_LOGI("CreateEntryInFrameList");
    TS_CHECK_TEXT(mInputFile.eof(), "mInputFile.eof()", kLines.entryAtEof, TS_OK);
    TS_CHECK(buffer == nullptr, kLines.entryNullBuffer, -2);
    TS_CHECK(maxBufSize < frameSize, kLines.entryTooLarge, -4);

    const uint64_t pos = static_cast<uint64_t>(mInputFile.tellg());
    FrameInfo& added = AppendUnit(framelist, pos, frameNum, 0);
    added.mLength = frameSize;

    uint64_t toRead = frameSize;
    const uint64_t remaining = pos < mFileSize ? mFileSize - pos : 0;
    if (remaining < frameSize) {
        added.mIsLastFrame = 1;
        added.mLength = remaining;
        toRead = remaining;
        if (toRead == 0) {
            TS_LOGI("Saw EOS. FrameSize = 0. Skip Reading input file.");
            return TS_OK;
        }
    }

    if (toRead != 0) {
        // Only the first byte is looked at; the rest of the frame, which lies
        // inside the file, is passed over.
        if (IvfReader::ReadExact(mInputFile, buffer.get(), 1) != TS_OK) return TS_ERROR;
        mInputFile.seekg(static_cast<int64_t>(toRead - 1), std::ios_base::cur);
        // Bit 0 of the first byte clear marks a key frame; the same test is
        // applied to VP9 and to AV1 temporal units.
        added.mFrameType = (buffer.get()[0] & 1) == 0 ? FRAME_TYPE_SYNC : FRAME_TYPE_NON_SYNC;
    } else {
        // A zero-size frame inside the file has no first byte to test.
        added.mFrameType = FRAME_TYPE_NON_SYNC;
    }

    if (mInputFile.eof() || static_cast<uint64_t>(mInputFile.tellg()) == mFileSize) {
        mInputFile.clear();
        if (RewindForMoreFrames(mInputFile, mConfigParam.mFrames, frameNum, added, 1, kLogTag)) {
            mRestarted = true;
            NotePassEnd();
        } else {
            TS_LOGI("Saw EOS after reading Last Frame");
        }
    }
    return TS_OK;
}

}  // namespace tessaro
