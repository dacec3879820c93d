// Status codes and processor states shared by every processor.
#pragma once

#include <cstdint>

namespace tessaro {

// Every operation returns a signed 32-bit status. Individual checks return
// further negative values (-2 missing pointer or buffer too small, -3 not
// running, -4 wrong buffer kind or empty input); any non-zero value is a failure.
constexpr int32_t TS_OK = 0;
constexpr int32_t TS_ERROR = -1;

// Life-cycle state of a processor. Value 3 is not used.
enum class STATE : uint32_t {
    UNINITIALIZED = 0,  // constructed, never configured
    CONFIGURED = 1,     // at least one SetConfig, Init not yet successful
    RUNNING = 2,        // Init succeeded
    STOPPED = 4,        // set by the compressed-stream parser's DeInit
};

}  // namespace tessaro
