// How a scanner fills its frame list: a unit appended, the end of the input met.
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

// The unit last has reached the end of the input. When more frames are wanted
// (frames > frameNum) logs "Frames To Parse > Frames in Inputfile. Restarting
// from begin.." under tag, unmarks the unit and rewinds the input to its start,
// state cleared; otherwise marks the unit with lastMark. True when it rewound.
inline bool RewindForMoreFrames(ByteSource& in, uint32_t frames, uint32_t frameNum,
                                StreamParserCompressed::FrameInfo& last, uint32_t lastMark, const char* tag) {
    if (frames <= frameNum) {
        last.mIsLastFrame = lastMark;
        return false;
    }
    __android_log_print(kLogInfo, tag, "Frames To Parse > Frames in Inputfile. Restarting from begin..");
    last.mIsLastFrame = 0;
    in.clear();
    in.seekg(0);
    return true;
}

}  // namespace tessaro
