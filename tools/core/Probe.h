// What a compressed input file looks like, from its first bytes: the tool
// warns or refuses before a parser indexes a file of another codec.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tessaro::cli {

enum class Framing {
    Unknown,
    AnnexBAvc,   // H.264 byte stream
    AnnexBHevc,  // H.265 byte stream
    IvfAv1,
    IvfVp8,
    IvfVp9,
    ObuAv1,      // AV1 low-overhead OBUs (section 5)
    AnnexBAv1,   // AV1 length-prefixed temporal units
    Apv,         // APV access units behind 4-byte sizes
};

// The framing the first bytes show. Structure is checked, not just a magic
// number: a byte stream's first NAL unit headers must all be valid for the codec.
Framing SniffFraming(const uint8_t* head, size_t size);

// SniffFraming over the first 64 KiB of path (Unknown when it cannot be read).
Framing SniffFile(const std::string& path);

// "H.264", "VP9 in IVF", ...; "unknown" for Unknown.
const char* FramingName(Framing framing);

// The parser key for a framing ("Parse/AVC" ...), empty for Unknown.
std::string ParserFor(Framing framing);

// What a compressed parser key reads: "H.264", "H.265", "AV1", "VP8 or VP9 in
// IVF", "APV"; the key itself for any other.
std::string KeyCodecName(const std::string& key);

// Parser key for an input file: from its content, else its extension; empty
// when neither tells.
std::string GuessCompressedKey(const std::string& path);

}  // namespace tessaro::cli
