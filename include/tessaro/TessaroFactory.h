// The process-wide factory that hands out processors by key.
#pragma once

#include <memory>
#include <string>

#include "tessaro/Export.h"
#include "tessaro/TessaroInterface.h"

namespace tessaro {

// Singleton reached through getInstance(). getProcessorInstance(key) builds a
// fresh, unconfigured processor for one of the 27 keys ("Parse/AVC",
// "Pattern/NV12", "Write/Compressed", ...), matched exactly and
// case-sensitively, or returns an empty pointer for any other key. The factory
// keeps no reference to what it returns. Not safe against concurrent first use.
class TESSARO_EXPORT TessaroFactory {
public:
    static std::shared_ptr<TessaroFactory> getInstance();
    std::shared_ptr<TessaroInterface> getProcessorInstance(std::string key);
    ~TessaroFactory();

private:
    TessaroFactory() = default;
    static std::shared_ptr<TessaroFactory> mFactoryInstance;
    std::string mProcessorKey;  // key of the most recent getProcessorInstance call
};

}  // namespace tessaro
