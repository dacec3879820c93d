// AppendUnit: how a scanner adds a unit to the frame list it is filling.
#pragma once

#include <cstdint>
#include <vector>

#include "compressed/StreamParserCompressed.h"

namespace tessaro {

// Appends a unit of frame frameNum at offset, of the given FRAME_TYPE_* and
// layer, with length 0 and no slices; returns it.
inline StreamParserCompressed::FrameInfo& AppendUnit(std::vector<StreamParserCompressed::FrameInfo>& framelist,
                                                     uint64_t offset, uint32_t frameNum, uint32_t frameType,
                                                     uint32_t layerId = 0) {
    StreamParserCompressed::FrameInfo& unit = framelist.emplace_back();
    unit.mOffset = offset;
    unit.mFrameNum = frameNum;
    unit.mFrameType = frameType;
    unit.mLayerId = layerId;
    return unit;
}

}  // namespace tessaro
