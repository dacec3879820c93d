#include "support/LogCapture.h"

#include <android/log.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace tessaro::test {
namespace {

LogCapture* gActiveCapture = nullptr;

void CaptureLogger(const struct __android_logger_data* data, const char* message) {
    if (gActiveCapture != nullptr) {
        gActiveCapture->Record(data->priority, data->tag ? data->tag : "", message ? message : "");
    }
}

void SilentLogger(const struct __android_logger_data*, const char*) {}

}  // namespace

LogCapture::LogCapture() {
    if (gActiveCapture != nullptr) throw std::logic_error("one LogCapture at a time");
    gActiveCapture = this;
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger(CaptureLogger);
}

LogCapture::~LogCapture() {
    gActiveCapture = nullptr;
    InstallDefaultTestLogger();
}

void LogCapture::Record(int priority, const char* tag, const char* message) {
    mLines.push_back(LogLine{priority, tag, message});
}

size_t LogCapture::Count(int priority, const std::string& tag, const std::string& message) const {
    size_t count = 0;
    for (const auto& line : mLines) count += line.priority == priority && line.tag == tag && line.message == message;
    return count;
}

::testing::AssertionResult LogCapture::Has(int priority, const std::string& tag, const std::string& message) const {
    return HasAll(priority, tag, {message});
}

::testing::AssertionResult LogCapture::HasAll(int priority, const std::string& tag,
                                              const std::vector<std::string>& messages) const {
    for (const auto& message : messages) {
        if (!Contains(priority, tag, message)) {
            return ::testing::AssertionFailure() << "not logged: " << priority << " " << tag << ": " << message << "\n"
                                                 << Dump();
        }
    }
    return ::testing::AssertionSuccess();
}

std::vector<std::string> LogCapture::Messages(const std::string& tag) const {
    std::vector<std::string> messages;
    for (const auto& line : mLines) {
        if (tag.empty() || line.tag == tag) messages.push_back(line.message);
    }
    return messages;
}

std::string LogCapture::Dump() const {
    std::string out;
    for (const auto& line : mLines) {
        out += std::to_string(line.priority) + " " + line.tag + ": " + line.message + "\n";
    }
    return out;
}

void InstallDefaultTestLogger() {
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger(std::getenv("TESSARO_TEST_LOG") != nullptr ? __android_log_stderr_logger : SilentLogger);
}

}  // namespace tessaro::test
