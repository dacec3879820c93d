// ObuReader: AV1's OBU framing as read from the input - LEB128 values, OBU
// headers, and the probes that tell a low-overhead OBU stream (every OBU with
// its size field) and an Annex-B length-delimited stream from other input.
// It logs under the AV1 scanner's tag.
#pragma once

#include <cstdint>

#include "framework/ByteSource.h"

namespace tessaro {

class ObuReader {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::Compressed::AV1";

    enum ObuType : uint32_t {
        OBU_SEQUENCE_HEADER = 1,
        OBU_TEMPORAL_DELIMITER = 2,
        OBU_FRAME_HEADER = 3,
        OBU_TILE_GROUP = 4,
        OBU_METADATA = 5,
        OBU_FRAME = 6,
        OBU_REDUNDANT_FRAME_HEADER = 7,
        OBU_TILE_LIST = 8,
        OBU_PADDING = 15,
    };

    // One parsed OBU header. The two int32 fields stay -1: the extension byte
    // is skipped unread.
    struct ObuHeader {
        bool mHasSizeField = false;
        bool mExtensionFlag = false;
        int32_t mTemporalId = -1;
        int32_t mSpatialId = -1;
        uint32_t mType = 0;  // an ObuType, 0 for a type the scanner does not know
    };

    // The failed check a scanner reports when ReadHeader fails.
    static constexpr const char* kReadHeaderFailed = "ReadObuHeader(std::ref(obuHdrSize), std::ref(obuHdr)) != TS_OK";

    // Reads a LEB128 value. At the end of the file, before any byte, returns
    // TS_OK with length 0 and value unchanged.
    static int32_t ReadLeb128(ByteSource& in, unsigned long& length, unsigned long& value);

    // Reads one OBU header and logs it; adds its size (1, or 2 with the
    // extension byte, which is skipped) to obuHdrSize.
    static int32_t ReadHeader(ByteSource& in, unsigned long& obuHdrSize, ObuHeader& obuHdr);

    // From the current position: three LEB128 sizes then a temporal delimiter
    // OBU header make an Annex-B stream.
    static bool IsAnnexB(ByteSource& in);

    // From the start of the input: an Annex-B stream (*annexB set), or a first
    // OBU that is a sequence header or temporal delimiter with its size field.
    static bool SawObuStream(ByteSource& in, bool* annexB);
};

}  // namespace tessaro
