#include "framework/Log.h"

namespace tessaro {

int32_t ReportFailure(const char* tag, const char* condition, int line, int32_t status) {
    __android_log_print(kLogError, tag, "%s : Line# %d", condition, line);
    return status;
}

}  // namespace tessaro
