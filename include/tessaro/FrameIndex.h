// The frame offset table of a compressed parser, read by a client as plain
// records: which byte ranges of the input make up each frame, of what kind,
// and where each slice lies.
#pragma once

#include <cstdint>
#include <vector>

#include "tessaro/Export.h"
#include "tessaro/TessaroInterface.h"

namespace tessaro {

// One slice of a unit (filled only when the parser indexed slices, mSliceMode).
struct FrameIndexSlice {
    uint32_t slice = 0;   // 1-based slice number
    uint64_t offset = 0;  // first byte in the input file
    uint64_t length = 0;  // bytes of the slice
};

// One unit of one frame: a byte range of the input delivered as a whole.
struct FrameIndexEntry {
    static constexpr uint32_t TYPE_CODEC_CONFIG = 1;  // parameter sets / sequence header
    static constexpr uint32_t TYPE_SYNC = 2;          // IDR / key frame: a sync-seek target
    static constexpr uint32_t TYPE_NON_SYNC = 4;      // any other picture

    uint32_t frame = 0;   // 1-based frame number
    uint32_t unit = 0;    // 0-based index of the unit within its frame
    uint64_t offset = 0;  // first byte in the input file
    uint64_t length = 0;  // bytes of the unit
    uint32_t type = 0;    // TYPE_*
    uint32_t last = 0;    // 1 when the unit ends the input
    uint32_t layer = 0;   // H.265 nuh_layer_id, else 0
    std::vector<FrameIndexSlice> slices;  // ascending slice numbers
};

// Replaces entries with the frame offset table that processor built at Init,
// ordered by frame, then unit. Reads only: the processor's delivery and seek
// state do not change and nothing is logged. Returns TS_OK; TS_ERROR when
// processor is not a compressed parser ("Parse/AVC", "Parse/HEVC", "Parse/AV1",
// "Parse/VPX", "Parse/APV"); -3 when it is not running (Init has not succeeded,
// or DeInit came after). entries is left empty on failure.
TESSARO_EXPORT int32_t GetFrameIndex(const TessaroInterface& processor, std::vector<FrameIndexEntry>& entries);

}  // namespace tessaro
