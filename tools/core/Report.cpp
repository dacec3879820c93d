#include "core/Report.h"

#include <android/log.h>

#include <cinttypes>
#include <stdexcept>

namespace tessaro::cli {
namespace {

LogRouter* gRouter = nullptr;

void RouteLine(const struct __android_logger_data* data, const char* message) {
    if (gRouter != nullptr) gRouter->Record(data->priority, data->tag ? data->tag : "", message ? message : "");
}

char PriorityLetter(int priority) {
    switch (priority) {
        case ANDROID_LOG_VERBOSE: return 'V';
        case ANDROID_LOG_DEBUG: return 'D';
        case ANDROID_LOG_INFO: return 'I';
        case ANDROID_LOG_WARN: return 'W';
        case ANDROID_LOG_ERROR: return 'E';
        case ANDROID_LOG_FATAL: return 'F';
        default: return '?';
    }
}

}  // namespace

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

LogRouter::LogRouter(bool verbose) : mVerbose(verbose) {
    if (gRouter != nullptr) throw std::logic_error("one LogRouter at a time");
    gRouter = this;
    // Errors are always seen (to name failed checks); liblog drops the rest
    // before formatting them.
    __android_log_set_minimum_priority(verbose ? ANDROID_LOG_VERBOSE : ANDROID_LOG_WARN);
    __android_log_set_logger(RouteLine);
}

LogRouter::~LogRouter() {
    __android_log_set_logger(__android_log_stderr_logger);
    gRouter = nullptr;
}

void LogRouter::Record(int priority, const char* tag, const char* message) {
    if (priority >= ANDROID_LOG_ERROR) {
        mErrors += (mErrors.empty() ? "" : "; ") + std::string(message) + " [" + tag + "]";
    }
    if (!mVerbose && priority < ANDROID_LOG_WARN) return;
    std::fprintf(stderr, "%s%c %s: %s\n", mBarVisible ? "\r\033[K" : "", PriorityLetter(priority), tag, message);
}

ProgressBar::ProgressBar(std::FILE* stream, bool enabled, LogRouter* router)
    : mStream(stream), mEnabled(enabled), mRouter(router), mStart(std::chrono::steady_clock::now()) {}

ProgressBar::~ProgressBar() { Clear(); }

void ProgressBar::Update(uint64_t done, uint64_t total, uint64_t bytes) {
    if (!mEnabled) return;
    const auto now = std::chrono::steady_clock::now();
    if (mShown && now - mLastDraw < std::chrono::milliseconds(100)) return;
    mLastDraw = now;
    const double seconds = std::chrono::duration<double>(now - mStart).count();
    std::fprintf(mStream, "\r\033[K%s", Render(done, total, bytes, seconds, 72).c_str());
    std::fflush(mStream);
    mShown = true;
    if (mRouter != nullptr) mRouter->SetBarVisible(true);
}

void ProgressBar::Clear() {
    if (!mShown) return;
    std::fprintf(mStream, "\r\033[K");
    std::fflush(mStream);
    mShown = false;
    if (mRouter != nullptr) mRouter->SetBarVisible(false);
}

std::string ProgressBar::Render(uint64_t done, uint64_t total, uint64_t bytes, double seconds, size_t width) {
    char counts[96];
    if (total != 0) {
        std::snprintf(counts, sizeof counts, " %" PRIu64 "/%" PRIu64 " %s %.1fs", done, total,
                      HumanBytes(double(bytes)).c_str(), seconds);
    } else {
        std::snprintf(counts, sizeof counts, " %" PRIu64 " %s %.1fs", done, HumanBytes(double(bytes)).c_str(), seconds);
    }
    const std::string tail = counts;
    const size_t barWidth = width > tail.size() + 2 ? width - tail.size() - 2 : 0;
    std::string bar = "[";
    if (total != 0) {
        const uint64_t capped = done < total ? done : total;
        const size_t filled = size_t(double(barWidth) * double(capped) / double(total));
        bar += std::string(filled, '#') + std::string(barWidth - filled, '.');
    } else {
        // Unknown length: a marker that moves with every unit.
        std::string track(barWidth, '.');
        if (barWidth != 0) track[done % barWidth] = '#';
        bar += track;
    }
    return bar + "]" + tail;
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
                  key.c_str(), totals.buffers, totals.frames, totals.bytes, totals.sawEos ? "EOS" : "no EOS",
                  totals.seconds, HumanBytes(double(totals.bytes) / seconds).c_str(), double(totals.buffers) / seconds);
    return line;
}

}  // namespace tessaro::cli
