#include "compressed/VPXStreamParser.h"

#include <cstring>
#include <string>

namespace tessaro {
namespace {

// The line numbers of VPXStreamParser's failed checks.
constexpr StreamParserCompressed::ScannerLines kLines{VPXStreamParser::kLogTag, 44, 59, 66, 141, 142, 144};
constexpr int kNoSignatureLine = 51;

uint32_t LittleEndian32(const unsigned char* b) {
    return static_cast<uint32_t>(b[0]) | (static_cast<uint32_t>(b[1]) << 8) |
           (static_cast<uint32_t>(b[2]) << 16) | (static_cast<uint32_t>(b[3]) << 24);
}

}  // namespace

int32_t VPXStreamParser::readInputFile(void* dst, uint64_t size) {
    mInputFile.read(dst, size);
    if (!mInputFile || mInputFile.gcount() != size) {
        TS_LOGE("Error. Failed to Read from File");
        return TS_ERROR;
    }
    return TS_OK;
}

void VPXStreamParser::SeekInput(uint64_t offset) {
    mInputFile.clear();
    mInputFile.seekg(static_cast<int64_t>(offset), std::ios_base::beg);
}

bool VPXStreamParser::SawDKIFHeader() {
    TS_LOGI("SawDKIFHeader");
    mInputFile.seekg(0, std::ios_base::beg);
    char signature[4] = {};
    if (readInputFile(signature, sizeof(signature)) != TS_OK) return false;
    return std::memcmp(signature, "DKIF", sizeof(signature)) == 0;
}

int32_t VPXStreamParser::Init() {
    return OpenAndIndex(kLines, false, [this] {
        // The extension runs from the last '.' to the end. A name without '.'
        // makes substr throw std::out_of_range, which leaves Init to the caller.
        const std::string& name = mConfigParam.mInputFileName;
        const std::string extension = name.substr(name.find_last_of('.'));
        if (extension == ".ivfnh") {
            mIvfMode = kIvfHeaderless;
        } else {
            TS_CHECK(SawDKIFHeader() == false, kNoSignatureLine, TS_ERROR);
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
    if (ScanEndsAtOnce(kLines, buffer, &status)) return status;

    unsigned char sizeField[4];
    unsigned char timestamp[8];
    unsigned char ivfHeader[kIvfFileHeaderSize];
    if (mIvfMode == kIvfHeaderless) {
        TS_CHECK_TEXT(readInputFile(sizeField, 4) != TS_OK, "readInputFile(&frameSize, 4) != TS_OK",
                      174, TS_ERROR);
        TS_CHECK_TEXT(readInputFile(timestamp, 8) != TS_OK, "readInputFile(&timestamp, 8) != TS_OK",
                      177, TS_ERROR);
    } else if (mIvfMode == kIvfWithFileHeader) {
        if (frameNum == 1 || mRestarted) {
            mRestarted = false;
            TS_CHECK_TEXT(readInputFile(ivfHeader, kIvfFileHeaderSize) != TS_OK,
                          "readInputFile(ivfHeader, 32) != TS_OK", 163, TS_ERROR);
        }
        TS_CHECK_TEXT(readInputFile(sizeField, 4) != TS_OK, "readInputFile(&frameSize, 4) != TS_OK",
                      167, TS_ERROR);
        TS_CHECK_TEXT(readInputFile(timestamp, 8) != TS_OK, "readInputFile(&timestamp, 8) != TS_OK",
                      170, TS_ERROR);
    } else {
        TS_CHECK_TEXT(readInputFile(sizeField, 4) != TS_OK, "readInputFile(&frameSize, 4) != TS_OK",
                      181, TS_ERROR);
    }
    const uint32_t frameSize = LittleEndian32(sizeField);

    int32_t ret = CreateEntryInFrameList(frameNum, framelist, maxBufSize, frameSize, buffer);
    TS_CHECK(ret != TS_OK, 187, TS_ERROR);

    if (framelist.empty()) return TS_OK;
    LogLastEntry(kLogTag, framelist);
    return TS_OK;
}

int32_t VPXStreamParser::CreateEntryInFrameList(uint32_t frameNum,
                                                std::vector<FrameInfo>& framelist,
                                                uint32_t maxBufSize, uint32_t frameSize,
                                                std::shared_ptr<unsigned char> buffer) {
    TS_LOGI("CreateEntryInFrameList");
    TS_CHECK_TEXT(mInputFile.eof(), "mInputFile.eof()", 79, TS_OK);
    TS_CHECK(buffer == nullptr, 80, -2);
    TS_CHECK(maxBufSize < frameSize, 81, -4);

    const uint64_t pos = static_cast<uint64_t>(mInputFile.tellg());
    FrameInfo entry;
    entry.mOffset = pos;
    entry.mLength = frameSize;
    entry.mFrameNum = frameNum;
    framelist.push_back(entry);
    FrameInfo& added = framelist.back();

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
        if (readInputFile(buffer.get(), 1) != TS_OK) return TS_ERROR;
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
        if (mConfigParam.mFrames <= frameNum) {
            TS_LOGI("Saw EOS after reading Last Frame");
            added.mIsLastFrame = 1;
        } else {
            TS_LOGI("Frames To Parse > Frames in Inputfile. Restarting from begin..");
            added.mIsLastFrame = 0;
            SeekInput(0);
            mRestarted = true;
            NotePassEnd();
        }
    }
    return TS_OK;
}

}  // namespace tessaro
