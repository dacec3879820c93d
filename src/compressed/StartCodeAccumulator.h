// The Annex-B start-code search shared by the H.264 and H.265 scanners.
#pragma once

#include <cstdint>

namespace tessaro {

// Each byte is shifted in from the right. A start code ends at the current byte
// when the last four bytes are 00 00 00 01 (a 4-byte start code) or the last
// three are 00 00 01 after a non-zero byte (3-byte). The accumulator is not
// cleared after a match.
class StartCodeAccumulator {
public:
    // Shifts in one byte; returns the start-code length ending here (3 or 4), or 0.
    uint32_t Push(uint8_t byte) {
        mValue = (mValue << 8) | byte;
        if (mValue == 1) return 4;
        if ((mValue & 0xFFFFFF) == 1) return 3;
        return 0;
    }
    void Reset() { mValue = 0; }
    // True if Push(byte) would report a start code; changes nothing.
    bool WouldMatch(uint8_t byte) const { return byte == 1 && (mValue & 0xFFFF) == 0; }

private:
    uint32_t mValue = 0;
};

}  // namespace tessaro
