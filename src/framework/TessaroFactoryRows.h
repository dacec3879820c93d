// The factory's key table: builds one instance of every processor into a map
// keyed by factory key. Internal to the library; TessaroFactory uses it, tests
// reach it through the static archive.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "tessaro/TessaroInterface.h"

namespace tessaro::factory {

using ProcessorMap = std::unordered_map<std::string, std::shared_ptr<TessaroInterface>>;

// Inserts instance under key, replacing any earlier value, and returns TS_OK;
// a null instance is not inserted: logs "Error. Could not allocate <key>
// Instance" under "Tessaro::Factory" and returns -2.
int32_t InsertProcessor(ProcessorMap& processors, const std::string& key,
                        std::shared_ptr<TessaroInterface> instance);

// Builds every row of the key table in table order. The first rows are
// inserted directly; the rest go through InsertProcessor, and a failed
// insertion among the checked rows is reported as "ret != TS_OK" with the row's
// line number and ends the build with its status (the map keeps what was
// built). The two writer rows are not checked.
int32_t BuildAllProcessors(ProcessorMap& processors);

}  // namespace tessaro::factory
