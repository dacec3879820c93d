// What the robustness tests share: one producer per family with a committed
// sample, a driver that runs it to the end of the stream, and the process's
// resource figures (resident memory, descriptors, mappings).
#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "tessaro/Tessaro.h"

namespace tessaro::test {

// A producer and the configuration that runs it over its sample.
struct Producer {
    const char* name;    // case name for TEST_P
    const char* key;     // factory key
    const char* sample;  // under tests/data, "" for generators
    uint32_t bufferType; // 0 linear, 1 graphic
    ConfigParam config;  // input file name filled in by the test
};

// Test names and failure output show the case by its name.
inline void PrintTo(const Producer& producer, std::ostream* os) { *os << producer.name; }

// One producer per family: the five compressed parsers, a linear and a tiled
// raw reader, a pattern generator and the container parser (where built).
std::vector<Producer> ProducerFamilies();
// Those that read an input file (all but the generator).
std::vector<Producer> FamiliesWithInput();
// The five compressed parsers.
std::vector<Producer> CompressedFamilies();

// Outcome of DriveToEnd.
struct Run {
    int calls = 0;            // Process calls made
    int32_t lastStatus = 0;   // status of the last call
    bool sawEos = false;
    bool stayedInside = true; // every delivery had mOffset + mLength <= mCapacity
    std::vector<uint8_t> bytes;  // delivered bytes, concatenated
};

// Calls Process with buffers of GetBufferLength() bytes (4096 when it gives
// none) until EOS, a negative status, or `maxCalls`.
Run DriveToEnd(TessaroInterface& processor, uint32_t bufferType, int maxCalls);

// Resident set in KiB, open descriptors, and lines of /proc/self/maps.
struct Resources {
    long rssKiB = 0;
    int descriptors = 0;
    int mappings = 0;
};
Resources CurrentResources();

}  // namespace tessaro::test
