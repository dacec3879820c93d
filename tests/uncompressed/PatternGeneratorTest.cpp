// The pattern generators: where the block is in each buffer, what is cleared,
// the colours and pixel packings, frame counting with fields, and the refusal
// of a picture that does not fit the buffer.
#include <VideoBufferLayout.h>
#include <gtest/gtest.h>

#include <functional>

#include "support/LogCapture.h"
#include "uncompressed/NV12PatternGenerator.h"
#include "uncompressed/P010PatternGenerator.h"
#include "uncompressed/P210PatternGenerator.h"
#include "uncompressed/RGBA1010102PatternGenerator.h"
#include "uncompressed/RGBA32PatternGenerator.h"
#include "uncompressed/RawTestSupport.h"

namespace tessaro {
namespace {

using test::Geometry;
using test::LogCapture;

constexpr const char* kPatternTag = "Tessaro::Impl::StreamParser::UnCompressed::Pattern";

// Configures and starts `generator`; returns its buffer length.
uint32_t Start(PatternGenerator& generator, const Geometry& g, uint32_t frames, uint32_t superFrame = 1,
               bool staticPattern = false, bool interlaced = false) {
    ConfigParam c = test::RawConfig(g, frames, superFrame);
    c.mStaticPattern = staticPattern;
    c.mInterlaced = interlaced;
    return test::Start(generator, c);
}

// A buffer of `length` bytes filled with 0xEE, and what `generator` made of it.
std::vector<uint8_t> Draw(PatternGenerator& generator, uint32_t length, int32_t status = 0) {
    auto buffer = test::MakeGraphicBuffer(length);
    test::FillBuffer(*buffer, 0xEE);
    EXPECT_EQ(generator.Process(buffer), status);
    EXPECT_EQ(buffer->mLength, status == 0 ? length : 0u);
    return test::ReadAll(*buffer);
}

struct YuvCase {
    const char* name;
    uint32_t code;
    bool nv12, p210;
    std::function<std::unique_ptr<PatternGenerator>()> make;
};

// What a YUV generator must draw in `phase`, over `size` zero bytes.
std::vector<uint8_t> ExpectedYuv(const YuvCase& yc, const Geometry& g, uint32_t phase, size_t size) {
    std::vector<uint8_t> picture(size, 0);
    const int64_t pitch = VideoBufferLayout_GetStrideInBytes(yc.code, g.width, 1);
    const int64_t chromaPitch = VideoBufferLayout_GetStrideInBytes(yc.code, g.width, 3);
    const int64_t chroma = VideoBufferLayout_GetScanlines(yc.code, g.height, 1) * pitch;
    const int64_t w = g.width, h = g.height;
    const int64_t x0 = (phase == 1 || phase == 2) ? w / 2 : 0, y0 = phase >= 2 ? h / 2 : 0;
    for (int64_t y = y0; y < y0 + h / 2; ++y) std::fill_n(&picture[y * pitch + x0], w / 2, 120);
    const int64_t top = yc.p210 ? y0 : (phase >= 2 ? h / 4 : 0);
    const int64_t rows = yc.p210 ? h / 2 : (h >= 4 ? h / 4 : 0);
    for (int64_t y = top; y < top + rows; ++y) {
        for (int64_t c = x0 + w / 2 - 1; c >= x0; c -= 2) {  // an odd block reaches one byte left
            picture[chroma + y * chromaPitch + c] = 200;
            picture[chroma + y * chromaPitch + c - 1] = 160;
        }
    }
    return picture;
}

class YuvPattern : public ::testing::TestWithParam<YuvCase> {};

// Phases 1, 2, 3, 0, 1 for five buffers, then the static pattern; odd sizes, a
// wide stride, an odd block width, and a picture too short for NV12 and P010
// chroma.
TEST_P(YuvPattern, BlockVisitsTheQuadrantsClockwise) {
    for (const Geometry& g : {Geometry{20, 12, 32, 16}, Geometry{14, 9, 40, 9}, Geometry{64, 48, 64, 48}, Geometry{16, 3, 16, 3}}) {
        for (bool still : {false, true}) {
            SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << (still ? " static" : ""));
            auto generator = GetParam().make();
            const uint32_t length = Start(*generator, g, 5, 1, still);
            for (uint32_t call = 1; call <= 5; ++call) {
                ASSERT_EQ(Draw(*generator, length), ExpectedYuv(GetParam(), g, still ? 0 : call % 4, length)) << call;
            }
        }
    }
}

// Two pictures a buffer are drawn over the same area; NV12 clears the whole
// buffer, P010 and P210 only the first picture's bytes.
TEST_P(YuvPattern, SuperFrameDrawsOverTheFirstPicture) {
    auto generator = GetParam().make();
    const uint32_t length = Start(*generator, {20, 12, 32, 16}, 2, 2);
    ASSERT_EQ(length, 2 * generator->bufferSize());
    auto expected = ExpectedYuv(GetParam(), {20, 12, 32, 16}, 1, generator->bufferSize());
    expected.resize(length, GetParam().nv12 ? 0 : 0xEE);
    EXPECT_EQ(Draw(*generator, length), expected);
}

// A picture wider than the buffer's stride is drawn at its own, wider pitch,
// which would reach past the buffer: nothing is drawn.
TEST_P(YuvPattern, PictureLargerThanTheBufferIsRefused) {
    auto generator = GetParam().make();
    const uint32_t length = Start(*generator, {512, 64, 64, 8}, 4);
    LogCapture logs;
    EXPECT_EQ(Draw(*generator, length, -1), std::vector<uint8_t>(length, 0xEE));
    EXPECT_TRUE(logs.HasAll(6, kPatternTag, {"Error. Picture does not fit in the buffer.", "ReadfromInputFile(buffer) != TS_OK : Line# 65"}));
    EXPECT_EQ(generator->timestamp(), 0.0f);
}

template <typename T>
std::function<std::unique_ptr<PatternGenerator>()> Make() {
    return [] { return std::make_unique<T>(); };
}

INSTANTIATE_TEST_SUITE_P(Generators, YuvPattern,
                         ::testing::Values(YuvCase{"NV12", 0, true, false, Make<NV12PatternGenerator>()},
                                           YuvCase{"P010", 3, false, false, Make<P010PatternGenerator>()},
                                           YuvCase{"P210", 6, false, true, Make<P210PatternGenerator>()}),
                         [](const auto& param) { return std::string(param.param.name); });

// Frames 3: three buffers, the third flagged, then empty ones. With fields,
// frames 2: four buffers stamped t, t, t+d, t+d, the fourth flagged.
TEST(PatternCounting, FramesAndFields) {
    for (bool fields : {false, true}) {
        SCOPED_TRACE(fields ? "interlaced" : "progressive");
        NV12PatternGenerator generator;
        auto buffer = test::MakeGraphicBuffer(Start(generator, {16, 8, 16, 8}, fields ? 2 : 3, 1, false, fields));
        ConfigParam rate{};
        rate.mFrameRateNum = 25;
        rate.mFrameRateDen = 1;
        generator.SetConfig(rate);
        LogCapture logs;
        std::vector<uint64_t> stamps;  // 1: nothing delivered
        std::vector<uint32_t> flags;
        for (int i = 0; i < 5; ++i) {
            buffer->mFlags = 0;
            ASSERT_EQ(generator.Process(buffer), 0);
            stamps.push_back(buffer->mLength ? buffer->mTimestamp : 1);
            flags.push_back(buffer->mFlags);
        }
        EXPECT_EQ(stamps, fields ? (std::vector<uint64_t>{0, 0, 40000, 40000, 1}) : (std::vector<uint64_t>{0, 40000, 80000, 1, 1}));
        EXPECT_EQ(flags, fields ? (std::vector<uint32_t>{0, 0, 0, 1, 1}) : (std::vector<uint32_t>{0, 0, 1, 1, 1}));
        EXPECT_TRUE(logs.HasAll(4, kPatternTag, {fields ? "Last Frame[2] to Process. Adding EOS Flag" : "Last Frame[3] to Process. Adding EOS Flag",
                                                 "Already Saw EOS. Return"}));
    }
}

// The checks in their order; without a frame count a generator has no natural
// end. Seek is the reader base's and logs under its tag.
TEST(PatternCounting, PreconditionsInOrder) {
    LogCapture logs;
    NV12PatternGenerator generator;
    auto graphic = test::MakeGraphicBuffer(8192);
    EXPECT_EQ(generator.Process(nullptr), -4);
    EXPECT_EQ(generator.Process(graphic), -3);
    EXPECT_EQ(Start(generator, {16, 8, 16, 8}, 0), 8192u);
    EXPECT_EQ(generator.Process(graphic), -4);
    ConfigParam frames{};
    frames.mFrames = 1;
    generator.SetConfig(frames);
    EXPECT_EQ(generator.Process(test::MakeLinearBuffer(8192)), -4);
    EXPECT_EQ(generator.Process(test::MakeGraphicBuffer(4096)), -2);
    EXPECT_EQ(generator.frameCount(), 0u);
    EXPECT_TRUE(logs.HasAll(6, kPatternTag, {"buffer == nullptr : Line# 31", "mState != STATE::RUNNING : Line# 32",
                                             "mConfigParam.mFrames == 0 : Line# 33", "buffer->isGraphic() == false : Line# 34",
                                             "buffer->capacity() < ( mBufferSize * mConfigParam.mSuperFrame) : Line# 36"}));
    EXPECT_EQ(generator.Seek(), -1);
    EXPECT_TRUE(logs.Has(6, "Tessaro::Impl::StreamParser::Uncompressed", "Error. Seek Unsupported for Uncompressed formats"));
}

std::vector<uint8_t> PixelAt(const std::vector<uint8_t>& bytes, size_t pixel) {
    return {bytes.begin() + pixel * 4, bytes.begin() + pixel * 4 + 4};
}

// p = 1 ... 9: top half left to right for p mod 8 in 0..3, bottom half for 4..7.
TEST(RgbPattern, EightPlacesAndFourColours) {
    const std::vector<uint8_t> colours[4] = {{255, 174, 127, 255}, {174, 127, 68, 255}, {127, 68, 255, 255}, {68, 255, 174, 255}};
    RGBA32PatternGenerator generator;
    const uint32_t length = Start(generator, {16, 8, 16, 8}, 9);
    for (uint32_t p = 1; p <= 9; ++p) {
        const auto bytes = Draw(generator, length);
        const uint32_t left = (p % 4) * 4, top = (p & 4) ? 4 : 0;
        for (uint32_t y = 0; y < 8; ++y) {
            for (uint32_t x = 0; x < 16; ++x) {
                const bool inside = x >= left && x < left + 4 && y >= top && y < top + 4;
                ASSERT_EQ(PixelAt(bytes, y * 16 + x), inside ? colours[p % 4] : std::vector<uint8_t>(4, 0)) << p << " at " << x << "," << y;
            }
        }
    }
}

// Rows are packed at mWidth pixels whatever the stride; 10:10:10:2 pixels;
// pictures too small for a block are only cleared.
TEST(RgbPattern, PackingsAndSmallPictures) {
    RGBA1010102PatternGenerator ten;
    const uint32_t length = Start(ten, {8, 4, 64, 4}, 1, 1, true);
    EXPECT_EQ(length, VideoBufferLayout_GetBufferSize(12, 64, 4));
    const auto bytes = Draw(ten, length);
    const uint32_t word = 1023u | 699u << 10 | 511u << 20 | 3u << 30;  // static: q = 0 colours
    EXPECT_EQ(PixelAt(bytes, 8), (std::vector<uint8_t>{word & 0xFF, word >> 8 & 0xFF, word >> 16 & 0xFF, word >> 24}));
    EXPECT_EQ(PixelAt(bytes, 64), std::vector<uint8_t>(4, 0));  // one stride on is outside the block
    for (const Geometry& g : {Geometry{3, 8, 3, 8}, Geometry{16, 1, 16, 1}}) {
        RGBA32PatternGenerator tiny;
        const uint32_t tinyLength = Start(tiny, g, 1);
        EXPECT_EQ(Draw(tiny, tinyLength), std::vector<uint8_t>(tinyLength, 0));
    }
}

// Rows packed at mWidth run past a buffer sized for a narrower stride.
TEST(RgbPattern, PackedRowsPastTheBufferAreRefused) {
    RGBA32PatternGenerator generator;
    const uint32_t length = Start(generator, {4096, 64, 64, 16}, 8);
    LogCapture logs;
    EXPECT_EQ(Draw(generator, length, -1), std::vector<uint8_t>(length, 0xEE));
    EXPECT_TRUE(logs.Has(6, kPatternTag, "Error. Picture does not fit in the buffer."));
}

}  // namespace
}  // namespace tessaro
