// NalIterator: the start-code walk beneath the H.264 and H.265 scanners. It
// reads an Annex-B byte stream from one start code to the next and hands the
// scanner the bytes behind each (NAL header, slice header bytes); the scanner
// only decides on them.
#pragma once

#include <cstdint>

#include "framework/ByteSource.h"

namespace tessaro {

// Each byte is shifted in from the right. A start code ends at the current byte
// when the last four bytes are 00 00 00 01 (a 4-byte start code) or the last
// three are 00 00 01 after a non-zero byte (3-byte). The accumulator is not
// cleared after a match, and bytes read behind a start code are not shifted in.
class StartCodeAccumulator {
public:
    // Shifts in one byte; returns the start-code length ending here (3 or 4), or 0.
    uint32_t Push(uint8_t byte) {
        mValue = (mValue << 8) | byte;
        if (mValue == 1) return 4;
        if ((mValue & 0xFFFFFF) == 1) return 3;
        return 0;
    }
    // True if Push(byte) would report a start code; changes nothing.
    bool WouldMatch(uint8_t byte) const { return byte == 1 && (mValue & 0xFFFF) == 0; }

private:
    uint32_t mValue = 0;
};

// One scanning loop over the input: every loop of a scanner makes its own
// iterator and so starts with a fresh accumulator. The byte and prefix counts
// belong to the scanner's call and carry over from loop to loop.
class NalIterator {
public:
    enum class Step {
        kUnit,    // a start code ends at the read position; prefixLen = 3 or 4
        kFull,    // bytesScanned reached the limit: "Buffer is Full." is logged (info)
        kNoData,  // a read failed (end of file included); the stream state tells which
    };

    // bytesScanned counts every byte read; prefixLen the bytes from the current
    // unit's start code to the read position. limit bounds bytesScanned
    // (UINT64_MAX: no limit); tag is the scanner's log tag.
    NalIterator(ByteSource& in, uint64_t& bytesScanned, uint64_t& prefixLen, uint64_t limit, const char* tag)
        : mIn(in), mBytesScanned(bytesScanned), mPrefixLen(prefixLen), mLimit(limit), mTag(tag) {}

    // Reads up to and including the next start code.
    Step Next();
    // Reads the n bytes behind the start code into dst and counts them in
    // bytesScanned and, when inPrefix, in prefixLen. False when a read fails.
    bool Take(uint8_t* dst, uint32_t n, bool inPrefix = true);
    // The first byte of the current unit's start code: the read position less prefixLen.
    uint64_t UnitStart() const { return static_cast<uint64_t>(mIn.tellg()) - mPrefixLen; }

private:
    // Passes over buffered bytes that cannot end a start code, shifting them
    // in as get() would have; returns how many.
    uint64_t SkipBulk();

    ByteSource& mIn;
    uint64_t& mBytesScanned;
    uint64_t& mPrefixLen;
    const uint64_t mLimit;
    const char* const mTag;
    StartCodeAccumulator mStartCode;
};

}  // namespace tessaro
