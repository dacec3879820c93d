// Exp-Golomb ue(v) over a fixed window of four bytes.
#pragma once

#include <cstdint>

namespace tessaro {

// Decodes the ue(v) code that starts at the first bit of bytes[0..3], most
// significant bit first: n zero bits, a one bit, then n bits; the value is
// 2^n - 1 plus those n bits. The code never reads past the four bytes: suffix
// bits beyond them count as zero, and four zero bytes (no one bit at all)
// decode as 0.
inline uint32_t DecodeUeFromFourBytes(const uint8_t bytes[4]) {
    const uint32_t window = (static_cast<uint32_t>(bytes[0]) << 24) |
                            (static_cast<uint32_t>(bytes[1]) << 16) |
                            (static_cast<uint32_t>(bytes[2]) << 8) | bytes[3];
    if (window == 0) return 0;
    uint32_t zeros = 0;
    while ((window & (0x80000000u >> zeros)) == 0) ++zeros;
    if (zeros == 0) return 0;
    // The n suffix bits start right after the one bit; beyond bit 31 they are 0.
    const uint64_t extended = static_cast<uint64_t>(window) << 32;
    const uint64_t suffix = (extended >> (64 - (2 * zeros + 1))) & ((1ull << zeros) - 1);
    return static_cast<uint32_t>(((1ull << zeros) - 1) + suffix);
}

}  // namespace tessaro
