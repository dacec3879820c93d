// Routes the library's log lines (liblog's logger hook): printed on stderr
// only when verbose, and always kept while a call runs so that a failure can
// name the check that failed. Lines the library logs at error priority at the
// normal end of a stream are known and never count as errors.
#pragma once

#include <string>

namespace tessaro::cli {

class LogRouter {
public:
    // Installs the hook; only one router lives at a time.
    explicit LogRouter(bool verbose);
    ~LogRouter();
    LogRouter(const LogRouter&) = delete;
    LogRouter& operator=(const LogRouter&) = delete;

    // "<message> [<tag>]" of the first error line since the last ClearErrors
    // (the innermost failed check), or empty.
    const std::string& firstError() const { return mFirstError; }
    // The message of the first error line since the last ClearErrors, bare.
    const std::string& firstErrorMessage() const { return mFirstMessage; }
    void ClearErrors() {
        mFirstError.clear();
        mFirstMessage.clear();
    }
    // Lines are printed after a "\r\033[K" while a progress bar is on screen.
    void SetBarVisible(bool visible) { mBarVisible = visible; }

    // Internal: called by the hook.
    void Record(int priority, const char* tag, const char* message);

    // True for a line the library logs at error priority when an input simply
    // ends (such as the H.264 and H.265 scanners' last read).
    static bool IsEndOfInputLine(const std::string& message);

private:
    bool mVerbose;
    bool mBarVisible = false;
    std::string mFirstError;
    std::string mFirstMessage;
};

}  // namespace tessaro::cli
