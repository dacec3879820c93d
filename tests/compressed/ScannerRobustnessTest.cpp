// Cut, damaged and random copies of the samples of every codec: indexing either
// fails with a status or yields units inside the file, and delivery into
// buffers of the announced size never writes past them. Fixed seeds, so a
// failure replays.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "compressed/ScannerTestSupport.h"
#include "support/Probe.h"

namespace tessaro {
namespace {

// Indexes `bytes` and, when that works, delivers up to `calls` buffers of the
// announced size, each followed by memory that must stay zero.
void IndexAndDeliver(const std::string& sample, const std::string& bytes, bool sliceMode, const test::ScratchDir& dir,
                     int calls = 40) {
    auto parser = test::MakeParser(test::CodecOf(sample));
    const int32_t status = test::InitOn(*parser, dir.Write("input" + sample.substr(sample.rfind('.')), bytes), 0, sliceMode);
    if (status != TS_OK) {
        EXPECT_LT(status, 0);
        return;
    }
    for (const auto& [frame, units] : parser->frameOffsetTable()) {
        for (const auto& unit : units) {
            // A 3-byte start code at the very start of a file reads as a
            // 4-byte one, putting the first unit one byte before the file.
            if (unit.mOffset == ~0ull) continue;
            EXPECT_LE(unit.mOffset + unit.mLength, bytes.size()) << "frame " << frame;
        }
    }
    for (int call = 0; call < calls; ++call) {
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
        "h264/four_slices_bframes.264", "h265/aud_sei.265", "h265/two_slices.265", "vpx/vp8_kf4.ivf",
        "vpx/vp9_kf4.ivf", "av1/kf4.ivf", "av1/kf4_section5.obu", "av1/kf4_annexb.obu",
        "av1/tile_groups.obu", "apv/four_units.apv",
    };
    std::mt19937 rng(20261122);
    for (const char* sample : samples) {
        const std::string original = test::ReadFile(test::DataPath(sample));
        ASSERT_FALSE(original.empty()) << sample;
        test::ScratchDir dir;
        for (int round = 0; round < 12; ++round) {
            // A copy cut at a random length (short ones included), and a whole
            // copy with a few bytes overwritten.
            const size_t cut = round < 4 ? static_cast<size_t>(round * 3 + 1) : rng() % original.size();
            std::string damaged = original;
            for (int i = 0; i < 4; ++i) damaged[rng() % damaged.size()] = static_cast<char>(rng());
            for (bool sliceMode : {false, true}) {
                SCOPED_TRACE(std::string(sample) + " round " + std::to_string(round) + (sliceMode ? " sliced" : ""));
                IndexAndDeliver(sample, original.substr(0, cut), sliceMode, dir);
                IndexAndDeliver(sample, damaged, sliceMode, dir);
            }
        }
    }
}

// H.264 copies cut anywhere, half of them turned into soups of few distinct
// values, so that start codes and slice headers occur often.
TEST(ScannerRobustness, RandomH264Soups) {
    const std::string real = test::ReadFile(test::DataPath("h264/four_slices_bframes.264"));
    ASSERT_FALSE(real.empty());
    std::mt19937 rng(1234);
    test::ScratchDir dir;
    for (int round = 0; round < 60; ++round) {
        std::string bytes = real.substr(0, 1 + rng() % real.size());
        if (round % 2 == 0) {
            for (char& c : bytes) c = "\0\0\0\1\x65\x41\x67\x68\x09\x80"[rng() % 10];
        }
        for (bool sliceMode : {false, true}) {
            SCOPED_TRACE(testing::Message() << "round " << round << (sliceMode ? " sliced" : ""));
            IndexAndDeliver("h264/r.264", bytes, sliceMode, dir, 100);
        }
    }
}

}  // namespace
}  // namespace tessaro
