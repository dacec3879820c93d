// Cut and damaged copies of the H.265, VP8/VP9, AV1 and APV samples: indexing
// either fails with a status or yields units inside the file, and delivery
// never writes past the client buffer.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>

#include "compressed/APVStreamParser.h"
#include "compressed/AV1StreamParser.h"
#include "compressed/HEVCStreamParser.h"
#include "compressed/VPXStreamParser.h"
#include "support/ClientBuffer.h"
#include "support/TestPaths.h"

namespace tessaro {
namespace {

std::unique_ptr<StreamParserCompressed> MakeParser(const std::string& file) {
    if (file.rfind("h265/", 0) == 0) return std::make_unique<HEVCStreamParser>();
    if (file.rfind("vpx/", 0) == 0) return std::make_unique<VPXStreamParser>();
    if (file.rfind("av1/", 0) == 0) return std::make_unique<AV1StreamParser>();
    return std::make_unique<APVStreamParser>();
}

// Indexes `bytes` and, when that works, delivers up to 40 buffers of the
// announced size, each followed by memory that must stay zero.
void IndexAndDeliver(const std::string& sample, const std::string& bytes, bool sliceMode,
                     const test::ScratchDir& dir) {
    const std::string path = dir.Write("input" + sample.substr(sample.rfind('.')), bytes);
    auto parser = MakeParser(sample);
    ConfigParam config;
    config.mInputFileName = path;
    config.mSliceMode = sliceMode;
    parser->SetConfig(config);
    const int32_t status = parser->Init();
    if (status != TS_OK) {
        EXPECT_LT(status, 0);
        return;
    }
    for (const auto& [frame, units] : parser->frameOffsetTable()) {
        for (const auto& unit : units) {
            // A 3-byte start code at the very start of a file reads as a
            // 4-byte one, putting the first slice one byte before the file.
            if (unit.mOffset == ~0ull) continue;
            EXPECT_LE(unit.mOffset + unit.mLength, bytes.size()) << "frame " << frame;
        }
    }
    for (int call = 0; call < 40; ++call) {
        const uint32_t needed = parser->GetBufferLength();
        if (static_cast<int32_t>(needed) < 0) break;
        auto buffer = test::MakeLinearBuffer(uint64_t{needed} + 4096);
        buffer->mCapacity = needed == 0 ? 1 : needed;
        const uint64_t capacity = buffer->mCapacity;
        const int32_t delivered = parser->Process(buffer);
        buffer->mCapacity = uint64_t{needed} + 4096;
        const auto memory = test::ReadAll(*buffer);
        for (size_t i = capacity; i < memory.size(); ++i) ASSERT_EQ(memory[i], 0) << i;
        if (delivered != TS_OK || (buffer->mFlags & Buffer::FLAG_EOS)) break;
    }
    EXPECT_EQ(parser->DeInit(), TS_OK);
}

TEST(ScannerRobustness, CutAndDamagedSamples) {
    const char* samples[] = {
        "h265/aud_sei.265",   "h265/two_slices.265", "vpx/vp8_kf4.ivf",
        "vpx/vp9_kf4.ivf",    "av1/kf4.ivf",         "av1/kf4_section5.obu",
        "av1/kf4_annexb.obu", "av1/tile_groups.obu", "apv/four_units.apv",
    };
    std::mt19937 rng(20261122);
    for (const char* sample : samples) {
        std::ifstream in(test::DataPath(sample), std::ios::binary);
        const std::string original((std::istreambuf_iterator<char>(in)),
                                   std::istreambuf_iterator<char>());
        ASSERT_FALSE(original.empty()) << sample;
        test::ScratchDir dir;
        for (int round = 0; round < 12; ++round) {
            // A copy cut at a random length (short ones included), and a whole
            // copy with a few bytes overwritten.
            const size_t cut =
                round < 4 ? static_cast<size_t>(round * 3 + 1) : rng() % original.size();
            std::string damaged = original;
            for (int i = 0; i < 4; ++i) damaged[rng() % damaged.size()] = static_cast<char>(rng());
            for (bool sliceMode : {false, true}) {
                SCOPED_TRACE(std::string(sample) + " round " + std::to_string(round) +
                             (sliceMode ? " sliced" : ""));
                IndexAndDeliver(sample, original.substr(0, cut), sliceMode, dir);
                IndexAndDeliver(sample, damaged, sliceMode, dir);
            }
        }
    }
}

}  // namespace
}  // namespace tessaro
