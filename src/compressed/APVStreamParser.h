// APVStreamParser: the scanner for APV streams stored as access units, each
// behind a 4-byte big-endian size. Every access unit is one sync entry that
// covers its size field too; nothing inside the unit is parsed.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "compressed/StreamParserCompressed.h"

namespace tessaro {

class APVStreamParser : public StreamParserCompressed {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::Compressed::APV";

    APVStreamParser() = default;
    ~APVStreamParser() override = default;

    // Opens and measures the input and indexes it.
    int32_t Init() override;

    // Reads the next size field, appends the access unit's entry and moves
    // past the unit without reading it.
    int32_t ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                              uint32_t maxBufSize, std::shared_ptr<unsigned char> buffer) override;

    // Appends the entry of frameSize bytes (size field included) that starts
    // at the size field just read. The entry that brings the bytes listed
    // since construction to the file size is marked last.
    int32_t CreateEntryInFrameList(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                                   uint32_t maxBufSize, uint32_t frameSize,
                                   std::shared_ptr<unsigned char> buffer);

    uint64_t bytesListed() const { return mBytesListed; }

private:
    const int32_t mSizeFieldLen = 4;  // bytes of the size field before every access unit
    // Bytes covered by all entries made since construction. Never reset, not
    // even by a rewind or DeInit: after one, no later entry is marked last.
    uint64_t mBytesListed = 0;
};

}  // namespace tessaro
