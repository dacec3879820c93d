#include "core/LogRouter.h"

#include <android/log.h>

#include <cstdio>
#include <stdexcept>

namespace tessaro::cli {
namespace {

LogRouter* gRouter = nullptr;

// Messages the compressed scanners log at error (or warning) priority when
// their last read meets the end of the input, as every stream's end does.
constexpr const char* kEndOfInputLines[] = {
    "Error. Failed to Read from File.",
    "Error. Failed to Read from File",
    "File Read Error.",
    "File Read Error",
};

void RouteLine(const struct __android_logger_data* data, const char* message) {
    if (gRouter != nullptr) gRouter->Record(data->priority, data->tag ? data->tag : "", message ? message : "");
}

char PriorityLetter(int priority) {
    static const char kLetters[] = "??VDIWEF";
    return priority >= 0 && priority < int(sizeof kLetters - 1) ? kLetters[priority] : '?';
}

}  // namespace

bool LogRouter::IsEndOfInputLine(const std::string& message) {
    for (const char* line : kEndOfInputLines) {
        if (message == line) return true;
    }
    return false;
}

LogRouter::LogRouter(bool verbose) : mVerbose(verbose) {
    if (gRouter != nullptr) throw std::logic_error("one LogRouter at a time");
    gRouter = this;
    // Errors are always seen (to name failed checks); liblog drops the rest
    // before formatting them unless they are shown.
    __android_log_set_minimum_priority(verbose ? ANDROID_LOG_VERBOSE : ANDROID_LOG_ERROR);
    __android_log_set_logger(RouteLine);
}

LogRouter::~LogRouter() {
    __android_log_set_logger(__android_log_stderr_logger);
    gRouter = nullptr;
}

void LogRouter::Record(int priority, const char* tag, const char* message) {
    const bool endOfInput = IsEndOfInputLine(message);
    if (priority >= ANDROID_LOG_ERROR && !endOfInput && mFirstError.empty()) {
        mFirstMessage = message;
        mFirstError = mFirstMessage + " [" + tag + "]";
    }
    if (!mVerbose) return;
    std::fprintf(stderr, "%s%c %s: %s%s\n", mBarVisible ? "\r\033[K" : "", PriorityLetter(priority), tag, message,
                 endOfInput ? " (logged at every end of input)" : "");
}

}  // namespace tessaro::cli
