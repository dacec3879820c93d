// The factory's keys as a client lists them: what each processor reads or
// writes, and which kind of buffer it fills.
#pragma once

#include <cstdint>
#include <vector>

#include "tessaro/Export.h"

namespace tessaro {

enum class ProcessorFamily : uint32_t {
    Compressed,  // elementary-stream parser: linear buffers, one frame or slice each
    Raw,         // raw picture reader: graphic buffers
    Pattern,     // pattern generator: graphic buffers, no input file
    Container,   // container track parser: linear buffers
    Writer,      // drains buffers into a file
};

struct ProcessorKeyInfo {
    const char* key;          // the factory key, such as "Parse/AVC"
    ProcessorFamily family;
    const char* description;  // one line on what it reads or writes
    // Raw and pattern keys: the raw writer's mPixFormat code for the same
    // layout, 0 when it has none; 0 for every other family.
    uint32_t pixFormat;
};

// Every key the factory of this build knows, in the factory's order (a build
// without the container parser leaves its key out).
TESSARO_EXPORT const std::vector<ProcessorKeyInfo>& ProcessorKeys();

}  // namespace tessaro
