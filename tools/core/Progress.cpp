#include "core/Progress.h"

#include <cinttypes>

#include "core/LogRouter.h"

namespace tessaro::cli {
namespace {

constexpr size_t kWidth = 78;

// "1:05" or "1:02:03".
std::string Clock(double seconds) {
    const uint64_t s = seconds > 0 ? uint64_t(seconds + 0.5) : 0;
    char text[32];
    if (s >= 3600) std::snprintf(text, sizeof text, "%" PRIu64 ":%02u:%02u", s / 3600, unsigned(s / 60 % 60), unsigned(s % 60));
    else std::snprintf(text, sizeof text, "%u:%02u", unsigned(s / 60), unsigned(s % 60));
    return text;
}

}  // namespace

ProgressBar::ProgressBar(std::FILE* stream, bool enabled, LogRouter* router, const char* unit)
    : mStream(stream), mEnabled(enabled), mRouter(router), mUnit(unit), mStart(std::chrono::steady_clock::now()) {}

ProgressBar::~ProgressBar() { Clear(); }

void ProgressBar::Update(uint64_t done, uint64_t total) {
    if (!mEnabled) return;
    const auto now = std::chrono::steady_clock::now();
    if (mShown && now - mLastDraw < std::chrono::milliseconds(100)) return;
    mLastDraw = now;
    const double seconds = std::chrono::duration<double>(now - mStart).count();
    std::fprintf(mStream, "\r\033[K%s", Render(done, total, seconds, mUnit, kWidth).c_str());
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

std::string ProgressBar::Render(uint64_t done, uint64_t total, double seconds, const char* unit, size_t width) {
    const double rate = seconds > 0 ? double(done) / seconds : 0.0;
    char tail[128];
    if (total == 0) {
        std::snprintf(tail, sizeof tail, "%" PRIu64 " %s  %.1f %s/s  %s", done, unit, rate, unit, Clock(seconds).c_str());
        return tail;
    }
    const uint64_t capped = done < total ? done : total;
    const double fraction = double(capped) / double(total);
    const std::string eta = rate > 0 ? Clock(double(total - capped) / rate) : "?";
    std::snprintf(tail, sizeof tail, " %" PRIu64 "/%" PRIu64 " %s %3.0f%%  %.1f %s/s  ETA %s", done, total, unit,
                  fraction * 100.0, rate, unit, eta.c_str());
    const std::string text = tail;
    const size_t barWidth = width > text.size() + 2 ? width - text.size() - 2 : 0;
    const size_t filled = size_t(double(barWidth) * fraction);
    return "[" + std::string(filled, '#') + std::string(barWidth - filled, '.') + "]" + text;
}

}  // namespace tessaro::cli
