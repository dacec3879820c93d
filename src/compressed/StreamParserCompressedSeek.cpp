// StreamParserCompressed::Seek: moves the delivery cursor to a requested frame.
// Placeholder until the seek operation lands.
#include "compressed/StreamParserCompressed.h"

namespace tessaro {

int32_t StreamParserCompressed::Seek() {
    TS_LOGI("Seek");
    return TS_ERROR;
}

}  // namespace tessaro
