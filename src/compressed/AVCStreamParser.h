// AVCStreamParser: the compressed parser for H.264 byte streams (start-code
// delimited NAL units).
//
// Each ReadfromInputFile call scans forward from the file position and appends
// one entry per SPS/PPS and one for the next picture. A picture ends at the
// next SEI, SPS, PPS or access unit delimiter, or at the next slice whose
// first_mb_in_slice does not grow. In slice mode the picture's slices are
// recorded in its mSliceOffsetTable. Nothing is decoded beyond the NAL header
// and first_mb_in_slice.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "compressed/StreamParserCompressed.h"

namespace tessaro {

class AVCStreamParser : public StreamParserCompressed {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::Compressed::AVC";

    AVCStreamParser() = default;
    ~AVCStreamParser() override = default;

    // Opens mConfigParam.mInputFileName, measures it and indexes it. Running on success.
    int32_t Init() override;

    // Appends the units of the next picture (with the parameter sets before it)
    // and leaves the file on the start code of the unit that ended the picture.
    // At the end of the file the last entry runs to the end of the file and is
    // marked last, unless more frames are wanted: then the file is rewound.
    int32_t ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                              uint32_t maxBufSize, std::shared_ptr<unsigned char> buffer) override;

    // Continues the scan inside the picture just opened and records its slices.
    // Returns -1 at the end of the file (the picture then runs to the end).
    int32_t ParseSlicesFromFrame(std::vector<FrameInfo>& framelist, uint32_t maxBufSize,
                                 std::shared_ptr<unsigned char> buffer);

private:
    // A read of ReadfromInputFile (or, with readFailedHere false, the slice
    // scan) ran out of data: fix the last entry as the end of the file demands.
    int32_t HandleEndOfData(uint32_t frameNum, std::vector<FrameInfo>& framelist, bool entryOpen,
                            bool sawStartCode, bool readFailedHere);

    uint32_t mCurFirstMb = 0;          // first_mb_in_slice of the latest slice
    uint32_t mPrevFirstMb = 0;         // first_mb_in_slice of the slice before it
    uint64_t mBytesScanned = 0;        // bytes read by the current call
    uint32_t mBoundaryCount = 0;       // picture boundaries met in this call; 2 ends it
    uint64_t mPrefixLen = 0;           // start code + NAL header (+ 4 peeked bytes)
    uint64_t mFrameStart = 0;          // where the next picture entry begins
    uint32_t mConfigClosedBySlice = 0; // a parameter set was just closed by a slice
};

}  // namespace tessaro
