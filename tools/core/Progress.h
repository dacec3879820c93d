// One-line progress on a terminal: a bar, done/total, percentage, rate and ETA
// when the total is known; count and rate when it is not.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace tessaro::cli {

class LogRouter;

class ProgressBar {
public:
    // Draws on stream only when enabled (the tool passes isatty(stderr)).
    ProgressBar(std::FILE* stream, bool enabled, LogRouter* router, const char* unit);
    ~ProgressBar();
    // done of total units (total 0 = unknown); redrawn at most ten times a second.
    void Update(uint64_t done, uint64_t total);
    void Clear();

    // The line for a terminal of width columns (pure).
    static std::string Render(uint64_t done, uint64_t total, double seconds, const char* unit, size_t width);

private:
    std::FILE* mStream;
    bool mEnabled;
    LogRouter* mRouter;
    const char* mUnit;
    bool mShown = false;
    std::chrono::steady_clock::time_point mStart;
    std::chrono::steady_clock::time_point mLastDraw;
};

}  // namespace tessaro::cli
