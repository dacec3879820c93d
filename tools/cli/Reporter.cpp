#include "cli/Reporter.h"

#include <cstdio>

#include "core/Report.h"

namespace tessaro::cli {

int Reporter::Failed(const std::string& what, int32_t status) const {
    std::string line = what + " failed with status " + std::to_string(status) + " (" + StatusName(status) + ")";
    if (!mRouter.firstError().empty()) line += ": " + mRouter.firstError();
    return Error(line);
}

int Reporter::Error(const std::string& line) const {
    std::fprintf(stderr, "tessaro: %s\n", line.c_str());
    return 1;
}

void Reporter::Note(const std::string& line) const {
    if (!mQuiet) std::fprintf(stderr, "tessaro: %s\n", line.c_str());
}

void Reporter::Warn(const std::string& line) const {
    if (!mQuiet) std::fprintf(stderr, "tessaro: warning: %s\n", line.c_str());
}

}  // namespace tessaro::cli
