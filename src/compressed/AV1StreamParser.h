// AV1StreamParser: the scanner for AV1 input in three framings - an IVF file
// (read with IvfReader, through the VP8/VP9 scanner it derives from), a low-overhead OBU stream (every
// OBU carries its size) and an Annex-B length-delimited stream. One temporal
// unit is one entry of the frame offset table; in OBU streams every tile-group
// OBU closes one slice of the unit.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "compressed/ObuReader.h"
#include "compressed/VPXStreamParser.h"

namespace tessaro {

class AV1StreamParser : public VPXStreamParser {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::Compressed::AV1";

    using ObuType = ObuReader::ObuType;
    using ObuHeader = ObuReader::ObuHeader;
    using SliceTable = std::unordered_map<uint32_t, std::pair<uint64_t, uint64_t>>;

    // Input framing, chosen by Init.
    static constexpr uint32_t kFileTypeIvf = 1;
    static constexpr uint32_t kFileTypeObu = 2;  // low-overhead or Annex-B

    AV1StreamParser() = default;
    ~AV1StreamParser() override = default;

    // Opens the input, detects IVF, OBU or Annex-B framing, measures the file
    // and indexes it.
    int32_t Init() override;

    // Appends the entry of the next temporal unit (OBU streams: with its slice
    // table; IVF: through the inherited IVF reader).
    int32_t ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                              uint32_t maxBufSize, std::shared_ptr<unsigned char> buffer) override;

    // Decodes a LEB128 value from memory. Returns TS_ERROR for a null data or
    // value pointer, no bytes, bytes that run out before the last group, an
    // eighth byte that still continues, or a value above 0xFFFFFFFF; *value
    // then holds the partial value. On success *length (if given) is the
    // number of bytes used.
    int32_t ULebDecode(const unsigned char* data, unsigned long available, unsigned long* value,
                       unsigned long* length);

    // ObuReader's ReadLeb128, IsAnnexB, SawObuStream (setting mIsAnnexB) and
    // ReadHeader on this parser's input.
    int32_t ReadLeb128(unsigned long& length, unsigned long& value);
    bool IsAnnexBInBitstream();
    bool SawObuHeader();
    int32_t ReadObuHeader(unsigned long& obuHdrSize, ObuHeader& obuHdr);

    // Measures the temporal unit at the current position into tuSize and, in
    // OBU streams, lists its slices (one per tile group, or the whole unit).
    int32_t ReadTemporalUnitSize(unsigned long& tuSize, SliceTable& sliceOffsetTable);

    bool isAnnexB() const { return mIsAnnexB; }
    uint32_t fileType() const { return mFileType; }

private:
    bool mIsAnnexB = false;  // set by SawObuHeader for Annex-B streams
    uint32_t mFileType = 0;  // kFileTypeIvf or kFileTypeObu
};

}  // namespace tessaro
