// The factory keys as the tool uses them, looked up in the library's own list.
#pragma once

#include <string>

#include <tessaro/ProcessorKeys.h>

namespace tessaro::cli {

// The key's row of ProcessorKeys(), or null when the factory does not know it
// (exact, case-sensitive match).
const ProcessorKeyInfo* FindKey(const std::string& key);

// "compressed parser", "raw reader", ...
const char* FamilyName(ProcessorFamily family);

// Raw readers and pattern generators fill graphic buffers; the rest linear ones.
inline bool FillsGraphicBuffers(ProcessorFamily family) {
    return family == ProcessorFamily::Raw || family == ProcessorFamily::Pattern;
}

// The writer key that takes a producer's buffers.
inline const char* MatchingWriter(ProcessorFamily family) {
    return FillsGraphicBuffers(family) ? "Write/UnCompressed" : "Write/Compressed";
}

}  // namespace tessaro::cli
