#include "compressed/ObuReader.h"

#include "compressed/Leb128.h"
#include "framework/Log.h"
#include "tessaro/Status.h"

namespace tessaro {
namespace {

// The names logged for the OBU types, by obu_type; nullptr for types the scanner does not know.
constexpr const char* kObuTypeNames[16] = {
    nullptr,          "OBU_SEQUENCE_HEADER", "OBU_TEMPORAL_DELIMITER", "OBU_FRAME_HEADER",
    "OBU_TILE_GROUP", "OBU_METADATA",        "OBU_FRAME",              "OBU_REDUNDANT_FRAME_HEADER",
    "OBU_TILE_LIST",  nullptr,               nullptr,                  nullptr,
    nullptr,          nullptr,               nullptr,                  "OBU_PADDING"};

// The line numbers of the probes' failed checks.
constexpr struct {
    int annexBSizes[3] = {119, 122, 125};  // temporal_unit_size, frame_unit_size, obu_length unreadable
    int annexBHeader = 133;                // the first OBU header of an Annex-B unit unreadable
    int annexBNoDelimiter = 137;           // ... or not a temporal delimiter
    int obuHeader = 161;                   // the first OBU header of an OBU stream unreadable
} kLines;

}  // namespace

int32_t ObuReader::ReadLeb128(ByteSource& in, unsigned long& length, unsigned long& value) {
    TS_LOGI("ReadLeb128");
    Leb128Decoder decoder;
    const Leb128Decoder::Step step = decoder.Decode([&in](uint8_t& byte) { return static_cast<bool>(in.get(byte)); });
    if (step == Leb128Decoder::Step::kNeedMore) {
        if (decoder.length() == 0 && in.eof()) {
            TS_LOGI("Reached End Of File");
            length = 0;
            return TS_OK;
        }
        TS_LOGE("Error. Ran out-of-data before completing Read of Value");
        return TS_ERROR;
    }
    length = decoder.length();
    value = static_cast<unsigned long>(decoder.value());
    if (step == Leb128Decoder::Step::kInvalid) {
        TS_LOGE("Error. Failed to Decode LEB for Index[%d]", static_cast<int>(length));
        return TS_ERROR;
    }
    return TS_OK;
}

int32_t ObuReader::ReadHeader(ByteSource& in, unsigned long& obuHdrSize, ObuHeader& obuHdr) {
    TS_LOGI("ReadObuHeader");
    uint8_t byte = 0;
    if (!in.get(byte)) {
        TS_LOGE("Error. Failed to Read from File");
        return TS_ERROR;
    }
    if (byte & 0x80) {  // obu_forbidden_bit
        TS_LOGE("Error. Invalid OBU Header");
        return TS_ERROR;
    }
    const uint32_t type = (byte >> 3) & 0x0F;
    const char* name = kObuTypeNames[type];
    if (name != nullptr) {
        obuHdr.mType = type;
    } else {
        TS_LOGE("Unknown Obu Type: %d", static_cast<int>(type));
        obuHdr.mType = 0;
        name = "";
    }
    obuHdr.mHasSizeField = (byte >> 1) & 1;
    obuHdr.mExtensionFlag = (byte >> 2) & 1;
    obuHdrSize += 1;
    if (obuHdr.mExtensionFlag) {
        obuHdrSize += 1;
        in.seekg(1, std::ios_base::cur);
    }
    TS_LOGI("-- OBU header Info Start --");
    TS_LOGI("obu_type : %d (%s)", static_cast<int>(obuHdr.mType), name);
    TS_LOGI("has_size_field : %u", static_cast<unsigned>(obuHdr.mHasSizeField));
    TS_LOGI("obu_extension_flag : %u", static_cast<unsigned>(obuHdr.mExtensionFlag));
    TS_LOGI("-- OBU header Info End --");
    return TS_OK;
}

bool ObuReader::IsAnnexB(ByteSource& in) {
    TS_LOGI("IsAnnexBInBitstream");
    // temporal_unit_size, frame_unit_size and obu_length: read, not used.
    for (int line : kLines.annexBSizes) {
        unsigned long length = 0;
        unsigned long value = 0;
        if (ReadLeb128(in, length, value) != TS_OK) {
            TS_LOGE("Error. ReadLeb128 Failed");
            TS_REPORT("readInputFile() != TS_OK", line);
            return false;
        }
    }
    unsigned long obuHdrSize = 0;
    ObuHeader obuHdr;
    if (ReadHeader(in, obuHdrSize, obuHdr) != TS_OK) {
        TS_REPORT(kReadHeaderFailed, kLines.annexBHeader);
        return false;
    }
    if (obuHdr.mType != OBU_TEMPORAL_DELIMITER) {
        TS_REPORT("obuHdr.mType != ObuType::OBU_TEMPORAL_DELIMITER", kLines.annexBNoDelimiter);
        return false;
    }
    return true;
}

bool ObuReader::SawObuStream(ByteSource& in, bool* annexB) {
    TS_LOGI("SawObuHeader");
    in.seekg(0, std::ios_base::beg);
    if (IsAnnexB(in)) {
        *annexB = true;
        TS_LOGI("Bitstream is of type Annex-B");
        return true;
    }
    in.seekg(0, std::ios_base::beg);
    unsigned long obuHdrSize = 0;
    ObuHeader obuHdr;
    if (ReadHeader(in, obuHdrSize, obuHdr) != TS_OK) {
        TS_REPORT(kReadHeaderFailed, kLines.obuHeader);
        return false;
    }
    if (obuHdr.mHasSizeField && (obuHdr.mType == OBU_SEQUENCE_HEADER || obuHdr.mType == OBU_TEMPORAL_DELIMITER)) {
        TS_LOGI("Saw OBU Header");
        return true;
    }
    return false;
}

}  // namespace tessaro
