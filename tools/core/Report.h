// Texts the tool prints besides the data: status and flag names, JSON
// strings, the summary line.
#pragma once

#include <cstdint>
#include <string>

namespace tessaro::cli {

// "TS_OK", "TS_ERROR", or the meaning the library gives -2, -3 and -4.
std::string StatusName(int32_t status);

// Flag word as text: "0", "EOS", "CODEC_CONFIG", "EOS|CODEC_CONFIG", plus any
// unknown bits in hex.
std::string FlagsName(uint32_t flags);

// s with JSON string escapes, without the surrounding quotes.
std::string JsonEscape(const std::string& s);

// Counters of one run, and the summary line made of them.
struct RunTotals {
    uint64_t buffers = 0;  // Process calls that succeeded
    uint64_t frames = 0;   // pictures delivered (see the run command)
    uint64_t bytes = 0;    // bytes delivered (pictures without padding for raw keys)
    bool sawEos = false;
    bool interrupted = false;  // stopped by SIGINT
    double seconds = 0.0;
};
// "<key>: 12 buffers, 10 frames, 34567 bytes, EOS, 0.012 s, 2.7 MiB/s, 1000 buffers/s"
// ("no EOS" or "interrupted" in place of "EOS").
std::string FormatSummary(const std::string& key, const RunTotals& totals);

// 1536 -> "1.5 KiB"
std::string HumanBytes(double bytes);

}  // namespace tessaro::cli
