// TessaroFactory: the process-wide factory. Every getProcessorInstance call
// builds one instance of every processor into a local map keyed by the factory
// key, then moves out the one asked for and lets the map destroy the rest.
// Construction only sets defaults, so building all of them is cheap, and the
// map doubles as the key table.
#include "tessaro/TessaroFactory.h"

#include <string>
#include <unordered_map>

#include "framework/Log.h"
#include "framework/TessaroFactoryRows.h"

namespace tessaro {

std::shared_ptr<TessaroFactory> TessaroFactory::mFactoryInstance;

namespace {
constexpr const char* kLogTag = "Tessaro::Factory";
}  // namespace

std::shared_ptr<TessaroFactory> TessaroFactory::getInstance() {
    TS_LOGW("getInstance");
    if (!mFactoryInstance) {
        mFactoryInstance = std::shared_ptr<TessaroFactory>(new TessaroFactory());
    }
    return mFactoryInstance;
}

std::shared_ptr<TessaroInterface> TessaroFactory::getProcessorInstance(std::string key) {
    TS_LOGW("getProcessorInstance");
    factory::ProcessorMap processors;
    processors.max_load_factor(1.0f);
    mProcessorKey = key;

    if (factory::BuildAllProcessors(processors) != TS_OK) return nullptr;

    auto found = processors.find(mProcessorKey);
    if (found == processors.end()) return nullptr;  // unknown keys are not logged
    std::shared_ptr<TessaroInterface> processor = std::move(found->second);
    processors.clear();
    return processor;
}

// The factory is only ever owned by mFactoryInstance (its constructor is
// private), so this destructor runs only while that pointer is itself being
// destroyed at exit and has already given up the factory. It therefore does not
// empty mFactoryInstance again: that would touch the pointer in the middle of
// its own destruction. mProcessorKey goes with the members.
TessaroFactory::~TessaroFactory() = default;

}  // namespace tessaro
