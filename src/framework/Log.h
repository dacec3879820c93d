// Logging through the platform log: one entry line per operation, and failed
// checks reported as "<condition> : Line# <n>" at error priority.
//
// Every class that logs declares `static constexpr const char* kLogTag` (its
// class path, e.g. "Tessaro::Impl"); the macros below use the kLogTag that is
// in scope, so an operation inherited from a base logs under the base's tag.
#pragma once

#include <android/log.h>

#include <cstdint>

namespace tessaro {

constexpr int kLogInfo = ANDROID_LOG_INFO;    // 4: operation entry and progress
constexpr int kLogWarn = ANDROID_LOG_WARN;    // 5: factory/container entry, warnings
constexpr int kLogError = ANDROID_LOG_ERROR;  // 6: failures

// Logs "<condition> : Line# <line>" at error priority under tag and returns
// status, so a call site can `return ReportFailure(...)`.
int32_t ReportFailure(const char* tag, const char* condition, int line, int32_t status);

}  // namespace tessaro

// liblog checks the priority before formatting, so a dropped line costs no formatting.
#define TS_LOGI(...) __android_log_print(::tessaro::kLogInfo, kLogTag, __VA_ARGS__)
#define TS_LOGW(...) __android_log_print(::tessaro::kLogWarn, kLogTag, __VA_ARGS__)
#define TS_LOGE(...) __android_log_print(::tessaro::kLogError, kLogTag, __VA_ARGS__)

// If cond holds: report it with its own source text and line, and return status.
// Write cond exactly as the reported text must read ("mState != STATE::RUNNING").
#define TS_CHECK(cond, line, status) \
    TS_CHECK_TEXT(cond, #cond, line, status)

// As TS_CHECK, for a report text that differs from the C++ condition.
#define TS_CHECK_TEXT(cond, text, line, status)                                   \
    do {                                                                          \
        if (cond) {                                                               \
            return ::tessaro::ReportFailure(kLogTag, text, line, (status));       \
        }                                                                         \
    } while (0)

// Reports a failed check without returning (for paths that go on).
#define TS_REPORT(text, line) \
    static_cast<void>(::tessaro::ReportFailure(kLogTag, text, line, 0))
