// Captures what the library logs, through liblog's logger hook, so a test can
// say "this exact message, at this priority, under this tag, was logged".
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace tessaro::test {

struct LogLine {
    int priority;
    std::string tag;
    std::string message;
};

// While an instance lives, every log line is recorded (all priorities). Only
// one instance may live at a time.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const std::vector<LogLine>& lines() const { return mLines; }
    bool Contains(int priority, const std::string& tag, const std::string& message) const {
        return Count(priority, tag, message) != 0;
    }
    // Contains as an assertion: a failure shows the message and the whole log.
    ::testing::AssertionResult Has(int priority, const std::string& tag, const std::string& message) const;
    // Like Has for every message; a failure names the first one missing and shows the log.
    ::testing::AssertionResult HasAll(int priority, const std::string& tag,
                                      const std::vector<std::string>& messages) const;
    size_t Count(int priority, const std::string& tag, const std::string& message) const;
    // Messages only, in order, of the lines logged under tag (all tags when empty).
    std::vector<std::string> Messages(const std::string& tag = "") const;
    void Clear() { mLines.clear(); }
    // Every line as "<priority> <tag>: <message>", for failure output.
    std::string Dump() const;

    // Internal: called by the logger hook.
    void Record(int priority, const char* tag, const char* message);

private:
    std::vector<LogLine> mLines;
};

// Installs the test programs' default logger: silent unless TESSARO_TEST_LOG is set.
void InstallDefaultTestLogger();

}  // namespace tessaro::test
