// What the tool prints besides the data: library log lines routed by level,
// the progress bar, the summary line, status names, JSON strings.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace tessaro::cli {

// "TS_OK", "TS_ERROR", or the meaning the library gives -2, -3 and -4.
std::string StatusName(int32_t status);

// Flag word as text: "0", "EOS", "CODEC_CONFIG", "EOS|CODEC_CONFIG", plus any
// unknown bits in hex.
std::string FlagsName(uint32_t flags);

// s with JSON string escapes, without the surrounding quotes.
std::string JsonEscape(const std::string& s);

// Routes the library's log lines (liblog's logger hook) to stderr: from
// warning priority up by default, everything when verbose. Collects the error
// lines of the current call so that a failure can name the checks that failed.
class LogRouter {
public:
    // Installs the hook; only one router lives at a time.
    explicit LogRouter(bool verbose);
    ~LogRouter();
    LogRouter(const LogRouter&) = delete;
    LogRouter& operator=(const LogRouter&) = delete;

    // "<message> [<tag>]" of every error-priority line since the last
    // ClearErrors, joined by "; " (the innermost failed check comes first), or empty.
    const std::string& errors() const { return mErrors; }
    void ClearErrors() { mErrors.clear(); }
    // Lines are printed after a "\r\033[K" while a progress bar is on screen.
    void SetBarVisible(bool visible) { mBarVisible = visible; }

    // Internal: called by the hook.
    void Record(int priority, const char* tag, const char* message);

private:
    bool mVerbose;
    bool mBarVisible = false;
    std::string mErrors;
};

// One-line progress bar on a terminal, redrawn at most ten times a second.
class ProgressBar {
public:
    // Draws on stream only when enabled (the tool passes isatty(stderr)).
    ProgressBar(std::FILE* stream, bool enabled, LogRouter* router);
    ~ProgressBar();
    // done of total units (total 0 = unknown), with bytes so far.
    void Update(uint64_t done, uint64_t total, uint64_t bytes);
    void Clear();

    // The bar's text for a terminal of width columns (pure; tested).
    static std::string Render(uint64_t done, uint64_t total, uint64_t bytes, double seconds, size_t width);

private:
    std::FILE* mStream;
    bool mEnabled;
    LogRouter* mRouter;
    bool mShown = false;
    std::chrono::steady_clock::time_point mStart;
    std::chrono::steady_clock::time_point mLastDraw;
};

// Counters of one run, and the summary line made of them.
struct RunTotals {
    uint64_t buffers = 0;  // Process calls that succeeded
    uint64_t frames = 0;   // pictures delivered (see the run command)
    uint64_t bytes = 0;    // sum of delivered lengths
    bool sawEos = false;
    double seconds = 0.0;
};
// "<key>: 12 buffers, 10 frames, 34567 bytes, EOS, 0.012 s, 2.7 MiB/s, 1000 buffers/s"
std::string FormatSummary(const std::string& key, const RunTotals& totals);

// 1536 -> "1.5 KiB"
std::string HumanBytes(double bytes);

}  // namespace tessaro::cli
