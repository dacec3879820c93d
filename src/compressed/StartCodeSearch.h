// The bulk search for the next byte 01 that follows two 00 bytes, the only
// place where a start code can complete.
#pragma once

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#endif

namespace tessaro {

// The smallest i in [from, n) with p[i] == 1 and p[i-1] == p[i-2] == 0, or n.
// from must be at least 2.
inline uint64_t FindStartCodeEnd(const uint8_t* p, uint64_t from, uint64_t n) {
    uint64_t i = from;
#if defined(__SSE2__)
    // Sixteen candidate positions per step: i .. i+15 against their two predecessors.
    const __m128i zero = _mm_setzero_si128();
    const __m128i one = _mm_set1_epi8(1);
    while (i + 16 <= n) {
        const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i - 1));
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i - 2));
        const __m128i hit = _mm_and_si128(_mm_cmpeq_epi8(c, one),
                                          _mm_and_si128(_mm_cmpeq_epi8(b, zero), _mm_cmpeq_epi8(a, zero)));
        const int mask = _mm_movemask_epi8(hit);
        if (mask != 0) return i + static_cast<uint64_t>(__builtin_ctz(static_cast<unsigned>(mask)));
        i += 16;
    }
#elif defined(__ARM_NEON)
    while (i + 16 <= n) {
        const uint8x16_t c = vld1q_u8(p + i);
        const uint8x16_t b = vld1q_u8(p + i - 1);
        const uint8x16_t a = vld1q_u8(p + i - 2);
        const uint8x16_t hit = vandq_u8(vceqq_u8(c, vdupq_n_u8(1)),
                                        vandq_u8(vceqzq_u8(b), vceqzq_u8(a)));
        if (vmaxvq_u8(hit) != 0) break;  // the scalar loop below pins it down
        i += 16;
    }
#endif
    for (; i < n; ++i) {
        if (p[i] == 1 && p[i - 1] == 0 && p[i - 2] == 0) return i;
    }
    return n;
}

}  // namespace tessaro
