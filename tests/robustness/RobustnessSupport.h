// What the robustness tests share: one producer per family with a committed
// sample, a driver that runs it to the end of the stream, and the process's
// resource figures.
#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "tessaro/Tessaro.h"

namespace tessaro::test {

struct Producer {
    const char* name;    // case name for TEST_P
    const char* key;     // factory key
    const char* sample;  // under tests/data, "" for generators
    uint32_t bufferType; // 0 linear, 1 graphic
    ConfigParam config;  // input file name filled in by the test
    bool HasInput() const { return sample[0] != '\0'; }
    bool Compressed() const { return bufferType == 0 && std::string(key) != "Parse/Container"; }
};
inline void PrintTo(const Producer& producer, std::ostream* os) { *os << producer.name; }

// The five compressed parsers, a linear and a tiled raw reader, a pattern
// generator and the container parser (where built); with `withInput`, those
// that read a file.
std::vector<Producer> ProducerFamilies(bool withInput = false);

struct Run {
    int calls = 0;
    int32_t lastStatus = 0;      // status of the last call
    bool sawEos = false;
    bool stayedInside = true;    // every delivery had mOffset + mLength <= mCapacity
    std::vector<uint8_t> bytes;  // delivered bytes, concatenated
};

// Process with buffers of GetBufferLength() bytes (4096 when it gives none)
// until EOS, a negative status, or `maxCalls`.
Run DriveToEnd(TessaroInterface& processor, uint32_t bufferType, int maxCalls = 400);

// Resident set in KiB, open descriptors, and lines of /proc/self/maps.
struct Resources {
    long rssKiB = 0;
    int descriptors = 0;
    int mappings = 0;
};
Resources CurrentResources();

}  // namespace tessaro::test
