// The bulk search for the next byte 01 that follows two 00 bytes, the only
// place where a start code can complete.
#pragma once

#include <cstdint>

#if defined(__x86_64__) || defined(__SSE2__)
#include <immintrin.h>
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#endif

namespace tessaro {

// Each search returns the smallest i in [from, n) with p[i] == 1 and
// p[i-1] == p[i-2] == 0, or n. from must be at least 2.

inline uint64_t FindStartCodeEndScalar(const uint8_t* p, uint64_t from, uint64_t n) {
    for (uint64_t i = from; i < n; ++i) {
        if (p[i] == 1 && p[i - 1] == 0 && p[i - 2] == 0) return i;
    }
    return n;
}

#if defined(__SSE2__)
// Sixteen candidate positions at once: i .. i+15 against their two predecessors.
inline __m128i StartCodeHits16(const uint8_t* p, uint64_t i) {
    const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i - 1));
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i - 2));
    return _mm_and_si128(_mm_cmpeq_epi8(c, _mm_set1_epi8(1)),
                         _mm_cmpeq_epi8(_mm_or_si128(a, b), _mm_setzero_si128()));
}

inline uint64_t FindStartCodeEndSse2(const uint8_t* p, uint64_t from, uint64_t n) {
    uint64_t i = from;
    // Four blocks per test while nothing is found; the block loop pins a hit down.
    while (i + 64 <= n) {
        const __m128i any = _mm_or_si128(_mm_or_si128(StartCodeHits16(p, i), StartCodeHits16(p, i + 16)),
                                         _mm_or_si128(StartCodeHits16(p, i + 32), StartCodeHits16(p, i + 48)));
        if (_mm_movemask_epi8(any) != 0) break;
        i += 64;
    }
    while (i + 16 <= n) {
        const int mask = _mm_movemask_epi8(StartCodeHits16(p, i));
        if (mask != 0) return i + static_cast<uint64_t>(__builtin_ctz(static_cast<unsigned>(mask)));
        i += 16;
    }
    return FindStartCodeEndScalar(p, i, n);
}
#endif

#if defined(__x86_64__)
#define TESSARO_HAVE_AVX2_SEARCH 1
__attribute__((target("avx2"))) inline __m256i StartCodeHits32(const uint8_t* p, uint64_t i) {
    const __m256i c = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + i));
    const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + i - 1));
    const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + i - 2));
    return _mm256_and_si256(_mm256_cmpeq_epi8(c, _mm256_set1_epi8(1)),
                            _mm256_cmpeq_epi8(_mm256_or_si256(a, b), _mm256_setzero_si256()));
}

__attribute__((target("avx2"))) inline uint64_t FindStartCodeEndAvx2(const uint8_t* p, uint64_t from,
                                                                    uint64_t n) {
    uint64_t i = from;
    while (i + 64 <= n) {
        const __m256i any = _mm256_or_si256(StartCodeHits32(p, i), StartCodeHits32(p, i + 32));
        if (!_mm256_testz_si256(any, any)) break;
        i += 64;
    }
    while (i + 32 <= n) {
        const auto mask = static_cast<unsigned>(_mm256_movemask_epi8(StartCodeHits32(p, i)));
        if (mask != 0) return i + static_cast<uint64_t>(__builtin_ctz(mask));
        i += 32;
    }
    return FindStartCodeEndScalar(p, i, n);
}

inline bool CpuHasAvx2() {
    static const bool has = [] {
        __builtin_cpu_init();
        return __builtin_cpu_supports("avx2") != 0;
    }();
    return has;
}
#endif

#if defined(__ARM_NEON)
inline uint8x16_t StartCodeHits16(const uint8_t* p, uint64_t i) {
    const uint8x16_t c = vld1q_u8(p + i);
    const uint8x16_t b = vld1q_u8(p + i - 1);
    const uint8x16_t a = vld1q_u8(p + i - 2);
    return vandq_u8(vceqq_u8(c, vdupq_n_u8(1)), vceqzq_u8(vorrq_u8(a, b)));
}

inline uint64_t FindStartCodeEndNeon(const uint8_t* p, uint64_t from, uint64_t n) {
    uint64_t i = from;
    while (i + 64 <= n) {
        const uint8x16_t any = vorrq_u8(vorrq_u8(StartCodeHits16(p, i), StartCodeHits16(p, i + 16)),
                                        vorrq_u8(StartCodeHits16(p, i + 32), StartCodeHits16(p, i + 48)));
        if (vmaxvq_u8(any) != 0) break;
        i += 64;
    }
    while (i + 16 <= n && vmaxvq_u8(StartCodeHits16(p, i)) == 0) i += 16;
    return FindStartCodeEndScalar(p, i, n);  // pins a hit down
}
#endif

// The widest search this processor runs.
inline uint64_t FindStartCodeEnd(const uint8_t* p, uint64_t from, uint64_t n) {
#if defined(TESSARO_HAVE_AVX2_SEARCH)
    if (CpuHasAvx2()) return FindStartCodeEndAvx2(p, from, n);
#endif
#if defined(__SSE2__)
    return FindStartCodeEndSse2(p, from, n);
#elif defined(__ARM_NEON)
    return FindStartCodeEndNeon(p, from, n);
#else
    return FindStartCodeEndScalar(p, from, n);
#endif
}

}  // namespace tessaro
