// The factory's key table: one row per key, in the order the factory builds
// them, with what clients are told about it (ProcessorKeys()), how its
// processor is made and how a failed insertion is reported. Internal to the
// library; TessaroFactory and ProcessorKeys() read it, tests reach it through
// the static archive.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "tessaro/ProcessorKeys.h"
#include "tessaro/TessaroInterface.h"

namespace tessaro::factory {

using ProcessorMap = std::unordered_map<std::string, std::shared_ptr<TessaroInterface>>;

constexpr int kInsertedDirectly = 0;  // put straight into the map
constexpr int kNotChecked = -1;       // through InsertProcessor, its result ignored

struct FactoryRow {
    ProcessorKeyInfo info;  // key, family, one line on what it reads or writes, raw writer code
    std::shared_ptr<TessaroInterface> (*make)();  // a fresh instance with defaults only
    int line;  // the line logged when its insertion fails, or one of the two kinds above
};

// The rows of this build (without a media extractor there is no container row).
const FactoryRow* FactoryRows(size_t* count);

// Inserts instance under key, replacing any earlier value, and returns TS_OK;
// a null instance is not inserted: logs "Error. Could not allocate <key>
// Instance" under "Tessaro::Factory" and returns -2.
int32_t InsertProcessor(ProcessorMap& processors, const std::string& key,
                        std::shared_ptr<TessaroInterface> instance);

// Builds every row in table order. A failed insertion of a checked row is
// reported as "ret != TS_OK" with the row's line and ends the build with its
// status (the map keeps what was built).
int32_t BuildAllProcessors(ProcessorMap& processors);

}  // namespace tessaro::factory
