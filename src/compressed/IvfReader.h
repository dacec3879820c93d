// IvfReader: the IVF framing of VP8, VP9 and AV1 input. An IVF file is a
// 32-byte file header that starts with "DKIF", then per frame a 12-byte frame
// header (the frame size, unsigned 32-bit little-endian, and an 8-byte
// timestamp that is read and not used) and the frame's bytes. The headerless
// ".ivfnh" form has the frame headers only. IVF reading began in the VP8/VP9
// scanner, and its log lines keep that scanner's tag when the AV1 scanner reads
// IVF too.
#pragma once

#include <cstdint>

#include "framework/ByteSource.h"

namespace tessaro {

class IvfReader {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::Compressed::VPX";

    // Framings. Any other value: frames behind a 4-byte size only.
    static constexpr uint32_t kWithFileHeader = 1;  // "DKIF" file header, 12-byte frame headers
    static constexpr uint32_t kHeaderless = 2;      // ".ivfnh": 12-byte frame headers only

    // Logs "SawDKIFHeader", reads the first four bytes of the input and tells
    // whether they are "DKIF"; the position is left after them.
    static bool SawSignature(ByteSource& in);

    // Reads the next frame header in framing, preceded by the file header when
    // fileHeader is set, and stores the frame size. A short read logs its
    // failed check and returns TS_ERROR.
    static int32_t ReadFrameHeader(ByteSource& in, uint32_t framing, bool fileHeader, uint32_t* frameSize);

    // Reads exactly n bytes into dst; when fewer arrive, logs
    // "Error. Failed to Read from File" and returns TS_ERROR.
    static int32_t ReadExact(ByteSource& in, void* dst, uint64_t n);
};

}  // namespace tessaro
