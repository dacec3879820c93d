#include "core/Report.h"

#include <cinttypes>
#include <cstdio>

namespace tessaro::cli {

std::string StatusName(int32_t status) {
    switch (status) {
        case 0: return "TS_OK";
        case -1: return "TS_ERROR";
        case -2: return "missing pointer or buffer too small";
        case -3: return "processor not running";
        case -4: return "wrong buffer kind or empty input";
        default: return "unknown status";
    }
}

std::string FlagsName(uint32_t flags) {
    std::string name;
    auto add = [&name](const std::string& part) { name += (name.empty() ? "" : "|") + part; };
    if (flags & 1u) add("EOS");
    if (flags & 2u) add("CODEC_CONFIG");
    if (flags & ~3u) {
        char hex[16];
        std::snprintf(hex, sizeof hex, "0x%x", flags & ~3u);
        add(hex);
    }
    return name.empty() ? "0" : name;
}

std::string JsonEscape(const std::string& s) {
    std::string out;
    for (unsigned char c : s) {
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                if (c < 0x20) {
                    char escaped[8];
                    std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
                    out += escaped;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    return out;
}

std::string HumanBytes(double bytes) {
    static const char* kUnits[] = {"B", "KiB", "MiB", "GiB", "TiB"};
    size_t unit = 0;
    while (bytes >= 1024.0 && unit + 1 < sizeof kUnits / sizeof kUnits[0]) {
        bytes /= 1024.0;
        ++unit;
    }
    char text[32];
    if (unit == 0) std::snprintf(text, sizeof text, "%.0f B", bytes);
    else std::snprintf(text, sizeof text, "%.1f %s", bytes, kUnits[unit]);
    return text;
}

std::string FormatSummary(const std::string& key, const RunTotals& totals) {
    char line[256];
    const double seconds = totals.seconds > 0.0 ? totals.seconds : 1e-9;
    std::snprintf(line, sizeof line, "%s: %" PRIu64 " buffers, %" PRIu64 " frames, %" PRIu64 " bytes, %s, %.3f s, %s/s, %.0f buffers/s",
                  key.c_str(), totals.buffers, totals.frames, totals.bytes, totals.interrupted ? "interrupted" : totals.sawEos ? "EOS" : "no EOS",
                  totals.seconds, HumanBytes(double(totals.bytes) / seconds).c_str(), double(totals.buffers) / seconds);
    return line;
}

}  // namespace tessaro::cli
