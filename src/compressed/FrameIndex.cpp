// GetFrameIndex: the public, read-only view of a compressed parser's table.
#include "tessaro/FrameIndex.h"

#include <algorithm>

#include "compressed/StreamParserCompressed.h"

namespace tessaro {
namespace {

constexpr int32_t kNotRunning = -3;

using Unit = StreamParserCompressed::FrameInfo;

FrameIndexEntry EntryOf(uint32_t frame, uint32_t unit, const Unit& info) {
    FrameIndexEntry entry;
    entry.frame = frame;
    entry.unit = unit;
    entry.offset = info.mOffset;
    entry.length = info.mLength;
    entry.type = info.mFrameType;
    entry.last = info.mIsLastFrame;
    entry.layer = info.mLayerId;
    for (const auto& slice : info.mSliceOffsetTable) {
        entry.slices.push_back({slice.first, slice.second.first, slice.second.second});
    }
    std::sort(entry.slices.begin(), entry.slices.end(),
              [](const FrameIndexSlice& a, const FrameIndexSlice& b) { return a.slice < b.slice; });
    return entry;
}

}  // namespace

int32_t GetFrameIndex(const TessaroInterface& processor, std::vector<FrameIndexEntry>& entries) {
    entries.clear();
    const auto* parser = dynamic_cast<const StreamParserCompressed*>(&processor);
    if (parser == nullptr) return TS_ERROR;
    if (parser->state() != STATE::RUNNING) return kNotRunning;
    const auto& table = parser->frameOffsetTable();
    std::vector<uint32_t> frames;
    frames.reserve(table.size());
    for (const auto& row : table) frames.push_back(row.first);
    std::sort(frames.begin(), frames.end());
    for (uint32_t frame : frames) {
        const auto& units = table.at(frame);
        for (size_t i = 0; i < units.size(); ++i) entries.push_back(EntryOf(frame, static_cast<uint32_t>(i), units[i]));
    }
    return TS_OK;
}

}  // namespace tessaro
