// The configuration record a client hands to SetConfig.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tessaro {

// Plain record, passed by non-const reference to SetConfig. ConfigParam{}
// carries the defaults every processor starts with. Which fields SetConfig
// merges, and in which state, is documented on TessaroInterface::SetConfig.
struct ConfigParam {
    uint32_t mWidth = 0;             // picture width in pixels
    uint32_t mFrameRateNum = 0;      // frame-rate numerator (merged with mFrameRateDen)
    uint32_t mFrameRateDen = 0;      // frame-rate denominator
    uint32_t mFrames = 0;            // frames to deliver; 0 = the whole input
    uint32_t mHeight = 0;            // picture height in rows
    uint32_t mStride = 0;            // row pitch in samples
    uint32_t mScanlines = 0;         // rows allocated to the luma plane
    uint32_t mSuperFrame = 0;        // frames per buffer (SetConfig stores at least 1)
    uint32_t mReserved = 0;          // carried, read by no processor
    uint32_t mRepeatInterval = 0;    // compressed parsers: wrap back after N frames
    uint32_t mLoopFrames = 0;        // compressed parsers: index only N frames and loop
    uint32_t mSpare = 0;             // raw readers: never merged, stays 0
    bool mFlagA = false;             // carried, read by no processor
    bool mSliceMode = false;         // deliver one slice per buffer
    bool mFlagC = false;             // carried, read by no processor
    bool mStaticPattern = false;     // pattern generators: the block stays still
    bool mLoopForever = false;       // compressed parsers: no end at mFrames
    bool mInterlaced = false;        // pattern generators: two fields per frame
    std::string mCodec;              // container parser: "AVC", "HEVC", "AV1", "VP9", "APV"
    uint32_t mPixFormat = 255;       // pixel-format code 1..13; 255 = not set
    std::string mName = "None";      // carried, never merged
    std::string mOutputFileName;     // writers' output path
    std::string mInputFileName;      // parsers' input path
    uint32_t mDeliveryMode = 15;     // 1 = first frame's codec config travels alone; 15 = not set
    uint32_t mSeekMode = 0;          // 0 none, 1 nearest sync frame, other = exact frame
    uint32_t mSeekFrame = 0;         // frame to seek to (1-based)
    uint32_t mSeekedFrame = 0;       // frame reached, written back by a successful seek
    std::vector<uint32_t> mSkipSlices;  // slices left out of the next sliced frame
    std::vector<uint32_t> mSliceOrder;  // delivery order of the next sliced frame's slices
};

}  // namespace tessaro
