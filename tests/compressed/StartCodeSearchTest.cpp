#include "compressed/StartCodeSearch.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace tessaro {
namespace {

using Search = uint64_t (*)(const uint8_t*, uint64_t, uint64_t);

// Every vector search this build has and this processor runs.
std::vector<std::pair<const char*, Search>> VectorSearches() {
    std::vector<std::pair<const char*, Search>> searches;
#if defined(__SSE2__)
    searches.emplace_back("sse2", FindStartCodeEndSse2);
#endif
#if defined(TESSARO_HAVE_AVX2_SEARCH)
    if (CpuHasAvx2()) searches.emplace_back("avx2", FindStartCodeEndAvx2);
#endif
#if defined(__ARM_NEON)
    searches.emplace_back("neon", FindStartCodeEndNeon);
#endif
    searches.emplace_back("dispatch", FindStartCodeEnd);
    return searches;
}

// Byte soups of 00, 01 and noise find the same start codes as the byte loop,
// from every start and to every end around the vector block edges.
TEST(StartCodeSearch, VectorSearchesFindWhatTheByteLoopFinds) {
    std::mt19937 random(7);
    for (const auto& [name, search] : VectorSearches()) {
        SCOPED_TRACE(name);
        for (int round = 0; round < 200; ++round) {
            std::vector<uint8_t> bytes(2 + random() % 300);
            const int zeros = 1 + round % 8;  // denser zeros give more start codes
            for (uint8_t& b : bytes) {
                const unsigned pick = random() % 16;
                b = pick < static_cast<unsigned>(zeros) ? 0 : pick < 12 ? 1 : static_cast<uint8_t>(random());
            }
            for (uint64_t from = 2; from <= bytes.size(); from += 1 + random() % 7) {
                for (uint64_t n = from; n <= bytes.size(); n += 1 + random() % 13) {
                    ASSERT_EQ(search(bytes.data(), from, n), FindStartCodeEndScalar(bytes.data(), from, n))
                        << "round " << round << " from " << from << " n " << n;
                }
            }
        }
    }
}

}  // namespace
}  // namespace tessaro
