// The factory keys as the tool knows them: what each reads or writes, which
// kind of buffer it fills, and which writer takes its output.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tessaro::cli {

enum class Family {
    Compressed,  // elementary-stream parser: linear buffers, one frame or slice each
    Raw,         // raw picture reader: graphic buffers
    Pattern,     // pattern generator: graphic buffers, no input file
    Container,   // container track parser: linear buffers
    Writer,      // drains buffers into a file
};

struct KeyInfo {
    std::string key;
    Family family;
    std::string description;
    // Raw and pattern keys: the raw writer's pixel-format code for the same
    // layout (0 when the raw writer has none). Unused for other families.
    uint32_t writerPixFormat;
};

// All 27 keys in the factory's order.
const std::vector<KeyInfo>& AllKeys();

// The key's entry, or null when the factory does not know it (exact match).
const KeyInfo* FindKey(const std::string& key);

// "compressed parser", "raw reader", ...
const char* FamilyName(Family family);

// Producers fill linear buffers (compressed, container) or graphic ones.
inline bool FillsGraphicBuffers(Family family) { return family == Family::Raw || family == Family::Pattern; }

// The writer key that takes a producer's buffers.
inline const char* MatchingWriter(Family family) {
    return FillsGraphicBuffers(family) ? "Write/UnCompressed" : "Write/Compressed";
}

// Compressed parser key for an input file, from an IVF header's fourcc or the
// file name's extension; empty when neither tells.
std::string GuessCompressedKey(const std::string& path);

}  // namespace tessaro::cli
