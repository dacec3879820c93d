#include "compressed/AV1StreamParser.h"

#include <functional>
#include <string>

#include "compressed/FrameList.h"
#include "compressed/Leb128.h"

namespace tessaro {
namespace {

constexpr const char* kReadTemporalUnitSizeFailed =
    "ReadTemporalUnitSize(std::ref(tuSize), std::ref(sliceOffsetTable)) != TS_OK";

// The line numbers of AV1StreamParser's failed checks (the probes' are ObuReader's).
constexpr struct {
    StreamParserCompressed::ScannerLines scanner{AV1StreamParser::kLogTag, 181, 201, 210, 431, 432, 434};
    int unitHeader = 374;                  // an OBU header of a temporal unit unreadable
    int noSizeField = 385;                 // "obuHdr.mHasSizeField == false"
    int ivfFrame = 449;                    // the IVF frame unreadable
    int ivfSlices = 456;                   // the tile groups after an IVF frame unreadable
    int unitSize = 483;                    // a temporal unit of an OBU stream unmeasurable
    int unitEntry = 489;                   // "ret != TS_OK"
} kLines;

}  // namespace

int32_t AV1StreamParser::ULebDecode(const unsigned char* data, unsigned long available,
                                    unsigned long* value, unsigned long* length) {
    if (data == nullptr || value == nullptr) return TS_ERROR;
    *value = 0;
    unsigned long used = 0;
    Leb128Decoder decoder;
    const Leb128Decoder::Step step = decoder.Decode([&](uint8_t& byte) {
        if (used == available) return false;
        byte = data[used++];
        return true;
    });
    *value = static_cast<unsigned long>(decoder.value());
    if (step != Leb128Decoder::Step::kDone) return TS_ERROR;  // invalid, or the bytes ran out
    if (length != nullptr) *length = decoder.length();
    return TS_OK;
}

int32_t AV1StreamParser::ReadLeb128(unsigned long& length, unsigned long& value) {
    return ObuReader::ReadLeb128(mInputFile, length, value);
}

int32_t AV1StreamParser::ReadObuHeader(unsigned long& obuHdrSize, ObuHeader& obuHdr) {
    return ObuReader::ReadHeader(mInputFile, obuHdrSize, obuHdr);
}

bool AV1StreamParser::IsAnnexBInBitstream() { return ObuReader::IsAnnexB(mInputFile); }

bool AV1StreamParser::SawObuHeader() { return ObuReader::SawObuStream(mInputFile, &mIsAnnexB); }

int32_t AV1StreamParser::Init() {
    return OpenAndIndex(kLines.scanner, true, [this] {
        if (IvfReader::SawSignature(mInputFile)) {
            TS_LOGI("Input File has IVF Header");
            mIvfMode = kIvfWithFileHeader;
            mFileType = kFileTypeIvf;
        } else if (!SawObuHeader()) {
            TS_LOGE("Error. Unsupported AV1 File Type");
            return TS_ERROR;
        } else {
            TS_LOGI("Input File has OBU Header");
            mFileType = kFileTypeObu;
        }
        return TS_OK;
    });
}

int32_t AV1StreamParser::ReadTemporalUnitSize(unsigned long& tuSize, SliceTable& sliceOffsetTable) {
    TS_LOGW("ReadTemporalUnitSize");
    if (mIsAnnexB) {
        unsigned long length = 0;
        unsigned long value = 0;
        if (ReadLeb128(length, value) != TS_OK) {
            TS_LOGE("Error. ReadLeb128 Failed");
            return TS_ERROR;
        }
        // The entry covers the temporal_unit_size field as well.
        tuSize = value + length;
        TS_LOGI("AV1 : Annex-B bitstream format. SliceList Size 0");
        return TS_OK;
    }

    const uint64_t start = static_cast<uint64_t>(mInputFile.tellg());
    uint32_t sliceCount = 0;
    uint64_t sliceStart = 0;
    uint64_t sliceSize = 0;
    bool passedDelimiter = false;
    bool firstObu = true;
    bool previousWasTileGroup = false;
    for (;;) {
        ObuHeader obuHdr;
        unsigned long obuHdrSize = 0;
        unsigned long lebLength = 0;
        unsigned long obuSize = 0;
        const uint64_t pos = static_cast<uint64_t>(mInputFile.tellg());
        if (mInputFile.eof() || pos == mFileSize) {
            TS_LOGI("Reached End of File. Return.");
            break;
        }
        TS_CHECK_TEXT(ReadObuHeader(obuHdrSize, obuHdr) != TS_OK, ObuReader::kReadHeaderFailed, kLines.unitHeader,
                      TS_ERROR);
        const bool isDelimiter = obuHdr.mType == ObuReader::OBU_TEMPORAL_DELIMITER;
        if (isDelimiter && passedDelimiter) break;  // the next temporal unit starts here
        TS_CHECK(obuHdr.mHasSizeField == false, kLines.noSizeField, TS_ERROR);
        if (ReadLeb128(lebLength, obuSize) != TS_OK) {
            TS_LOGE("Error. ReadLeb128 Failed");
            return TS_ERROR;
        }
        const uint64_t obuTotal = obuHdrSize + lebLength + obuSize;
        if (firstObu || previousWasTileGroup) sliceStart = pos;
        sliceSize += obuTotal;
        previousWasTileGroup = obuHdr.mType == ObuReader::OBU_TILE_GROUP;
        if (previousWasTileGroup) {
            ++sliceCount;
            sliceOffsetTable[sliceCount] = {sliceStart, sliceSize};
            TS_LOGI("Slice[%d]: Offset[%llu] Size[%llu]", static_cast<int>(sliceCount),
                    static_cast<unsigned long long>(sliceStart),
                    static_cast<unsigned long long>(sliceSize));
            sliceStart = 0;
            sliceSize = 0;
        }
        tuSize += obuTotal;
        if (isDelimiter) passedDelimiter = true;
        firstObu = false;
        mInputFile.seekg(static_cast<int64_t>(obuSize), std::ios_base::cur);
    }
    // A unit without tile groups (OBU_FRAMEs, for example) is one slice.
    if (sliceCount == 0) sliceOffsetTable[1] = {start, tuSize};
    TS_LOGI("Total TU size: %llu", static_cast<unsigned long long>(tuSize));
    return TS_OK;
}

int32_t AV1StreamParser::ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                                           uint32_t maxBufSize,
                                           std::shared_ptr<unsigned char> buffer) {
    TS_LOGW("ReadfromInputFile");
    int32_t status = TS_OK;
    if (ScanEndsAtOnce(kLines.scanner, buffer, &status)) return status;

    unsigned long tuSize = 0;
    SliceTable sliceOffsetTable;
    if (mFileType == kFileTypeObu) {
        const uint64_t unitStart = static_cast<uint64_t>(mInputFile.tellg());
        TS_CHECK_TEXT(ReadTemporalUnitSize(std::ref(tuSize), std::ref(sliceOffsetTable)) != TS_OK,
                      kReadTemporalUnitSizeFailed, kLines.unitSize, TS_ERROR);
        // Back to the unit's first byte: the entry reads the unit from there.
        SeekInput(unitStart);
        int32_t ret = VPXStreamParser::CreateEntryInFrameList(
            frameNum, framelist, maxBufSize, static_cast<uint32_t>(tuSize), buffer);
        TS_CHECK(ret != TS_OK, kLines.unitEntry, TS_ERROR);
        if (!framelist.empty()) framelist.back().mSliceOffsetTable = std::move(sliceOffsetTable);
    } else if (mFileType == kFileTypeIvf) {
        TS_CHECK_TEXT(
            VPXStreamParser::ReadfromInputFile(frameNum, framelist, maxBufSize, buffer) != TS_OK,
            "VPXStreamParser::ReadfromInputFile( frameNum, framelist, maxBufSize, buffer) != TS_OK",
            kLines.ivfFrame, TS_ERROR);
        if (mSliceMode == 1) {
            // The tile groups are looked for from the position after the frame
            // just read, without going back to its start.
            TS_CHECK_TEXT(
                ReadTemporalUnitSize(std::ref(tuSize), std::ref(sliceOffsetTable)) != TS_OK,
                kReadTemporalUnitSizeFailed, kLines.ivfSlices, TS_ERROR);
            if (!framelist.empty()) {
                framelist.back().mSliceOffsetTable = std::move(sliceOffsetTable);
            }
        }
        if (mInputFile.eof() || static_cast<uint64_t>(mInputFile.tellg()) == mFileSize) {
            mInputFile.clear();
            // Rewound without the restart mark: the next call reads a frame
            // header at offset 0 unless it is for frame 1.
            if (!framelist.empty() &&
                RewindForMoreFrames(mInputFile, mConfigParam.mFrames, frameNum, framelist.back(), 1, kLogTag)) {
                NotePassEnd();
            }
        }
    } else {
        TS_LOGE("Error. Unsupported AV1 File Type");
        return TS_ERROR;
    }

    if (!framelist.empty()) {
        LogLastEntry(kLogTag, framelist);
    }
    return TS_OK;
}

}  // namespace tessaro
