// HEVCStreamParser: the scanner for H.265 Annex-B byte streams. It cuts the
// stream into parameter-set entries (SPS, PPS) and pictures, recognising a new
// picture by first_slice_segment_in_pic_flag; parameter sets, access unit
// delimiters and prefix SEI end a picture. In slice mode it records the byte
// range of every slice segment of a picture.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "compressed/StreamParserCompressed.h"

namespace tessaro {

class HEVCStreamParser : public StreamParserCompressed {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::Compressed::HEVC";

    HEVCStreamParser() = default;
    ~HEVCStreamParser() override = default;

    // Opens and measures the input and indexes it.
    int32_t Init() override;

    // Scans from the current position and appends the entries of the next
    // picture (with the parameter sets before it); leaves the position on the
    // start code of the unit that ended the picture.
    int32_t ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                              uint32_t maxBufSize, std::shared_ptr<unsigned char> buffer) override;

    // Continues inside the picture just opened and fills its slice table.
    int32_t ParseSlicesFromFrame(std::vector<FrameInfo>& framelist, uint32_t maxBufSize,
                                 std::shared_ptr<unsigned char> buffer);

    // NAL unit classes by nal_unit_type.
    static bool IsSliceSegment(uint32_t type) { return type <= 9 || (type >= 16 && type <= 21); }
    // VPS, SPS, PPS, access unit delimiter, prefix SEI.
    static bool EndsPicture(uint32_t type) { return (type >= 32 && type <= 35) || type == 39; }
    static bool IsParameterSetEntry(uint32_t type) { return type == 33 || type == 34; }
    static bool IsSyncPicture(uint32_t type) { return type == 19 || type == 20; }  // IDR

private:
    // A read failed in ReadfromInputFile (or ParseSlicesFromFrame failed).
    int32_t HandleEndOfData(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                            bool sawStartCode);

    bool mPicDone = false;       // a second picture start was seen
    uint32_t mPicCount = 0;      // picture starts and picture-ending units in this call
    uint64_t mBytesScanned = 0;  // bytes read by this call
    uint64_t mPicEnd = 0;        // start code of the first non-VCL unit after the picture; 0 = none
    uint64_t mPrefixLen = 0;     // bytes from the current unit's start code to the read position
    uint64_t mFrameStart = 0;    // file offset where the next entry begins
};

}  // namespace tessaro
