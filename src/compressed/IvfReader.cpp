#include "compressed/IvfReader.h"

#include <cstring>

#include "framework/Log.h"
#include "tessaro/Status.h"

namespace tessaro {
namespace {

constexpr const char* kLogTag = IvfReader::kLogTag;

// One field of an IVF header as the reader takes it: its size and the failed
// check (text and line number) a short read reports.
struct Field {
    uint32_t size;
    const char* check;
    int line;
};
constexpr Field kFileHeader{32, "readInputFile(ivfHeader, 32) != TS_OK", 163};

// The frame header of each framing: its fields in file order, the frame size first.
struct FrameHeader {
    size_t count;
    Field fields[2];
};
constexpr FrameHeader kWithFileHeaderFrame{2, {{4, "readInputFile(&frameSize, 4) != TS_OK", 167},
                                               {8, "readInputFile(&timestamp, 8) != TS_OK", 170}}};
constexpr FrameHeader kHeaderlessFrame{2, {{4, "readInputFile(&frameSize, 4) != TS_OK", 174},
                                           {8, "readInputFile(&timestamp, 8) != TS_OK", 177}}};
constexpr FrameHeader kSizeOnlyFrame{1, {{4, "readInputFile(&frameSize, 4) != TS_OK", 181}}};

int32_t ReadField(ByteSource& in, const Field& field, unsigned char* dst) {
    TS_CHECK_TEXT(IvfReader::ReadExact(in, dst, field.size) != TS_OK, field.check, field.line, TS_ERROR);
    return TS_OK;
}

}  // namespace

int32_t IvfReader::ReadExact(ByteSource& in, void* dst, uint64_t n) {
    in.read(dst, n);
    if (!in || in.gcount() != n) {
        TS_LOGE("Error. Failed to Read from File");
        return TS_ERROR;
    }
    return TS_OK;
}

bool IvfReader::SawSignature(ByteSource& in) {
    TS_LOGI("SawDKIFHeader");
    in.seekg(0, std::ios_base::beg);
    char signature[4] = {};
    if (ReadExact(in, signature, sizeof(signature)) != TS_OK) return false;
    return std::memcmp(signature, "DKIF", sizeof(signature)) == 0;
}

int32_t IvfReader::ReadFrameHeader(ByteSource& in, uint32_t framing, bool fileHeader, uint32_t* frameSize) {
    unsigned char bytes[kFileHeader.size];
    if (framing == kWithFileHeader && fileHeader && ReadField(in, kFileHeader, bytes) != TS_OK) return TS_ERROR;
    const FrameHeader& header = framing == kWithFileHeader ? kWithFileHeaderFrame
                                : framing == kHeaderless   ? kHeaderlessFrame
                                                           : kSizeOnlyFrame;
    for (size_t i = 0; i < header.count; ++i) {
        if (ReadField(in, header.fields[i], bytes + 4 * i) != TS_OK) return TS_ERROR;
    }
    *frameSize = static_cast<uint32_t>(bytes[0]) | (static_cast<uint32_t>(bytes[1]) << 8) |
                 (static_cast<uint32_t>(bytes[2]) << 16) | (static_cast<uint32_t>(bytes[3]) << 24);
    return TS_OK;
}

}  // namespace tessaro
