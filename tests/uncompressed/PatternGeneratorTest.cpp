// The pattern generators: where the block is in each buffer, what is cleared,
// the colours and pixel packings, the frame counting with fields, and the
// refusal of a picture that does not fit the buffer.
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
using test::MakeGraphicBuffer;

constexpr const char* kPatternTag = "Tessaro::Impl::StreamParser::UnCompressed::Pattern";

template <typename G>
std::unique_ptr<G> StartGenerator(const Geometry& g, uint32_t frames, uint32_t* length,
                                  bool staticPattern = false, bool interlaced = false) {
    auto generator = std::make_unique<G>();
    ConfigParam c = test::RawConfig(g, frames);
    c.mStaticPattern = staticPattern;
    c.mInterlaced = interlaced;
    *length = test::Start(*generator, c);
    return generator;
}

// ---- YUV -----------------------------------------------------------------

struct YuvCase {
    const char* name;
    uint32_t code;
    bool clearsCapacity;
    bool fullHeightChroma;
    int stateLine, nullLine, vaddrLine;
    std::function<std::unique_ptr<PatternGenerator>()> make;

    std::unique_ptr<PatternGenerator> start(const Geometry& g, uint32_t frames, uint32_t* length,
                                            bool staticPattern, uint32_t superFrame = 1) const {
        auto generator = make();
        ConfigParam c = test::RawConfig(g, frames, superFrame);
        c.mStaticPattern = staticPattern;
        *length = test::Start(*generator, c);
        return generator;
    }
};

template <typename G>
std::function<std::unique_ptr<PatternGenerator>()> YuvMaker() {
    return [] { return std::make_unique<G>(); };
}

// The picture a YUV generator must draw for `phase`, over `size` zero bytes.
std::vector<uint8_t> ExpectedYuv(const YuvCase& yc, const Geometry& g, uint32_t phase, size_t size) {
    std::vector<uint8_t> picture(size, 0);
    const int64_t pitch = VideoBufferLayout_GetStrideInBytes(yc.code, g.width, 1);
    const int64_t chromaPitch = VideoBufferLayout_GetStrideInBytes(yc.code, g.width, 3);
    const int64_t chromaStart = VideoBufferLayout_GetScanlines(yc.code, g.height, 1) * pitch;
    const int64_t w = g.width, h = g.height;
    const int64_t x0 = (phase == 1 || phase == 2) ? w / 2 : 0;
    const int64_t y0 = phase >= 2 ? h / 2 : 0;
    for (int64_t y = y0; y < y0 + h / 2; ++y) {
        for (int64_t x = x0; x < x0 + w / 2; ++x) picture[y * pitch + x] = 120;
    }
    const int64_t top = yc.fullHeightChroma ? y0 : (phase >= 2 ? h / 4 : 0);
    const int64_t rows = yc.fullHeightChroma ? h / 2 : (h >= 4 ? h / 4 : 0);
    for (int64_t y = top; y < top + rows; ++y) {
        for (int64_t c = x0 + w / 2 - 1; c >= x0; c -= 2) {
            picture[chromaStart + y * chromaPitch + c] = 200;
            picture[chromaStart + y * chromaPitch + c - 1] = 160;
        }
    }
    return picture;
}

class YuvPattern : public ::testing::TestWithParam<YuvCase> {};

// Phases 1, 2, 3, 0, 1 for the first five buffers; odd sizes, a stride wider
// than the picture, and an odd block width whose last chroma pair reaches one
// byte left of the block.
TEST_P(YuvPattern, BlockVisitsTheQuadrantsClockwise) {
    const YuvCase& yc = GetParam();
    for (const Geometry& g : {Geometry{20, 12, 32, 16}, Geometry{14, 9, 40, 9}, Geometry{64, 48, 64, 48}}) {
        SCOPED_TRACE(testing::Message() << g.width << "x" << g.height);
        uint32_t length = 0;
        auto generator = yc.start(g, 5, &length, false);
        ASSERT_GT(length, 0u);
        auto buffer = MakeGraphicBuffer(length);
        for (uint32_t call = 1; call <= 5; ++call) {
            SCOPED_TRACE(call);
            test::FillBuffer(*buffer, 0xEE);
            ASSERT_EQ(generator->Process(buffer), 0);
            EXPECT_EQ(test::ReadAll(*buffer), ExpectedYuv(yc, g, call % 4, length));
            EXPECT_EQ(buffer->mLength, length);
        }
    }
}

TEST_P(YuvPattern, StaticPatternStaysTopLeft) {
    const YuvCase& yc = GetParam();
    const Geometry g{20, 12, 32, 16};
    uint32_t length = 0;
    auto generator = yc.start(g, 3, &length, true);
    auto buffer = MakeGraphicBuffer(length);
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(generator->Process(buffer), 0);
        EXPECT_EQ(test::ReadAll(*buffer), ExpectedYuv(yc, g, 0, length));
    }
}

// Two pictures a buffer are drawn over the same first picture area; NV12
// clears the whole buffer, P010 and P210 only the first picture's bytes.
TEST_P(YuvPattern, SuperFrameDrawsOverTheFirstPicture) {
    const YuvCase& yc = GetParam();
    const Geometry g{20, 12, 32, 16};
    uint32_t length = 0;
    auto gen = yc.start(g, 2, &length, false, 2);
    const uint32_t picture = gen->bufferSize();
    ASSERT_EQ(length, 2 * picture);
    auto buffer = MakeGraphicBuffer(length);
    test::FillBuffer(*buffer, 0xEE);
    ASSERT_EQ(gen->Process(buffer), 0);
    const auto bytes = test::ReadAll(*buffer);
    const auto first = ExpectedYuv(yc, g, 1, picture);
    EXPECT_TRUE(std::equal(first.begin(), first.end(), bytes.begin()));
    const uint8_t rest = yc.clearsCapacity ? 0 : 0xEE;
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin() + picture, bytes.end()), std::vector<uint8_t>(picture, rest));
}

TEST_P(YuvPattern, SizesAndLines) {
    const YuvCase& yc = GetParam();
    LogCapture logs;
    uint32_t length = 0;
    auto running = yc.start({20, 12, 32, 16}, 1, &length, false);
    EXPECT_EQ(length, VideoBufferLayout_GetBufferSize(yc.code, 32, 16));
    EXPECT_EQ(running->fileBufferSize(), 0u);
    EXPECT_TRUE(logs.Contains(4, kPatternTag, "Buffer length = " + std::to_string(length)));
    yc.start({20, 12, 0, 16}, 1, &length, false);
    EXPECT_EQ(length, 0u);
    yc.start({20, 12, 32, 0}, 1, &length, false);
    EXPECT_EQ(length, 0u);
    auto fresh = yc.make();
    EXPECT_EQ(fresh->GetBufferLength(), 0u);
    EXPECT_EQ(fresh->ReadfromInputFile(nullptr), -4);
    auto unmappable = std::make_shared<Buffer>();
    unmappable->mCapacity = 4096;
    EXPECT_EQ(fresh->ReadfromInputFile(unmappable), -2);
    const auto line = [](const char* text, int n) { return std::string(text) + " : Line# " + std::to_string(n); };
    EXPECT_TRUE(logs.Contains(6, kPatternTag, line("mState != STATE::RUNNING", yc.stateLine)));
    EXPECT_TRUE(logs.Contains(6, kPatternTag, line("mConfigParam.mStride == 0", yc.stateLine + 1)));
    EXPECT_TRUE(logs.Contains(6, kPatternTag, line("mConfigParam.mScanlines == 0", yc.stateLine + 2)));
    EXPECT_TRUE(logs.Contains(6, kPatternTag, line("buffer == nullptr", yc.nullLine)));
    EXPECT_TRUE(logs.Contains(6, kPatternTag, line("vaddr == nullptr", yc.vaddrLine)));
}

// A picture wider than the buffer's stride is drawn at its own, wider pitch;
// where that would reach past the buffer the generator refuses to draw.
TEST_P(YuvPattern, PictureLargerThanTheBufferIsRefused) {
    const YuvCase& yc = GetParam();
    uint32_t length = 0;
    auto generator = yc.start({512, 64, 64, 8}, 4, &length, false);
    auto buffer = MakeGraphicBuffer(length);
    test::FillBuffer(*buffer, 0xEE);
    LogCapture logs;
    EXPECT_EQ(generator->Process(buffer), -1);
    EXPECT_TRUE(logs.Contains(6, kPatternTag, "Error. Picture does not fit in the buffer."));
    EXPECT_TRUE(logs.Contains(6, kPatternTag, "ReadfromInputFile(buffer) != TS_OK : Line# 65"));
    EXPECT_EQ(test::ReadAll(*buffer), std::vector<uint8_t>(length, 0xEE));
    EXPECT_EQ(generator->timestamp(), 0.0f);
}

INSTANTIATE_TEST_SUITE_P(
    Generators, YuvPattern,
    ::testing::Values(YuvCase{"NV12", 0, true, false, 148, 86, 93, YuvMaker<NV12PatternGenerator>()},
                      YuvCase{"P010", 3, false, false, 231, 168, 175, YuvMaker<P010PatternGenerator>()},
                      YuvCase{"P210", 6, false, true, 312, 251, 258, YuvMaker<P210PatternGenerator>()}),
    [](const auto& param) { return std::string(param.param.name); });

TEST(YuvPatternRows, ShortPicturesGetNoChromaInNV12AndP010) {
    for (uint32_t height : {1u, 2u, 3u}) {
        SCOPED_TRACE(height);
        uint32_t length = 0;
        auto generator = StartGenerator<P010PatternGenerator>({16, height, 16, height}, 1, &length);
        auto buffer = MakeGraphicBuffer(length);
        ASSERT_EQ(generator->Process(buffer), 0);
        const auto bytes = test::ReadAll(*buffer);
        EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 160), 0);
        EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 120), height / 2 * 8);
    }
}

// ---- frame counting, shared by every generator --------------------------

TEST(PatternCounting, EndsAfterFramesAndStaysEnded) {
    uint32_t length = 0;
    auto generator = StartGenerator<NV12PatternGenerator>({16, 8, 16, 8}, 3, &length);
    auto buffer = MakeGraphicBuffer(length);
    LogCapture logs;
    std::vector<uint32_t> flags;
    for (int i = 0; i < 3; ++i) {
        buffer->mFlags = 0;
        ASSERT_EQ(generator->Process(buffer), 0);
        flags.push_back(buffer->mFlags);
    }
    EXPECT_EQ(flags, (std::vector<uint32_t>{0, 0, Buffer::FLAG_EOS}));
    EXPECT_TRUE(logs.Contains(4, kPatternTag, "Last Frame[3] to Process. Adding EOS Flag"));
    ASSERT_EQ(generator->Process(buffer), 0);
    EXPECT_EQ(buffer->mLength, 0u);
    EXPECT_EQ(buffer->mFlags, Buffer::FLAG_EOS);
    EXPECT_TRUE(logs.Contains(4, kPatternTag, "Already Saw EOS. Return"));
}

TEST(PatternCounting, FieldsShareTheirFrameTimestamp) {
    uint32_t length = 0;
    auto generator = StartGenerator<NV12PatternGenerator>({16, 8, 16, 8}, 2, &length, false, true);
    ConfigParam rate{};
    rate.mFrameRateNum = 25;
    rate.mFrameRateDen = 1;
    generator->SetConfig(rate);
    auto buffer = MakeGraphicBuffer(length);
    LogCapture logs;
    std::vector<uint64_t> stamps;
    std::vector<uint32_t> flags;
    for (int i = 0; i < 4; ++i) {
        buffer->mFlags = 0;
        ASSERT_EQ(generator->Process(buffer), 0);
        stamps.push_back(buffer->mTimestamp);
        flags.push_back(buffer->mFlags);
    }
    EXPECT_EQ(stamps, (std::vector<uint64_t>{0, 0, 40000, 40000}));
    EXPECT_EQ(flags, (std::vector<uint32_t>{0, 0, 0, Buffer::FLAG_EOS}));
    EXPECT_TRUE(logs.Contains(4, kPatternTag, "Last Frame[2] to Process. Adding EOS Flag"));
}

TEST(PatternCounting, PreconditionsInOrder) {
    LogCapture logs;
    NV12PatternGenerator generator;
    auto graphic = MakeGraphicBuffer(8192);
    EXPECT_EQ(generator.Process(nullptr), -4);
    EXPECT_EQ(generator.Process(graphic), -3);
    ConfigParam c = test::RawConfig({16, 8, 16, 8});
    generator.SetConfig(c);
    ASSERT_EQ(generator.Init(), 0);
    EXPECT_EQ(generator.Process(graphic), -4);  // no frame count: no natural end
    c.mFrames = 2;
    generator.SetConfig(c);
    EXPECT_EQ(generator.Process(test::MakeLinearBuffer(8192)), -4);
    ASSERT_EQ(generator.GetBufferLength(), 8192u);
    EXPECT_EQ(generator.Process(MakeGraphicBuffer(4096)), -2);
    EXPECT_EQ(generator.frameCount(), 0u);
    for (const char* f : {"buffer == nullptr : Line# 31", "mState != STATE::RUNNING : Line# 32",
                          "mConfigParam.mFrames == 0 : Line# 33", "buffer->isGraphic() == false : Line# 34",
                          "buffer->capacity() < ( mBufferSize * mConfigParam.mSuperFrame) : Line# 36"}) {
        EXPECT_TRUE(logs.Contains(6, kPatternTag, f)) << f;
    }
    // Seek and DeInit are the reader base's, and log under its tag.
    EXPECT_EQ(generator.Seek(), -1);
    EXPECT_TRUE(logs.Contains(6, "Tessaro::Impl::StreamParser::Uncompressed",
                                  "Error. Seek Unsupported for Uncompressed formats"));
}

// Without GetBufferLength the picture is still drawn and comes back empty.
TEST(PatternCounting, WithoutGetBufferLengthTheBufferComesBackEmpty) {
    NV12PatternGenerator generator;
    ConfigParam c = test::RawConfig({16, 8, 16, 8}, 1);
    generator.SetConfig(c);
    ASSERT_EQ(generator.Init(), 0);
    auto buffer = MakeGraphicBuffer(8192);
    ASSERT_EQ(generator.Process(buffer), 0);
    EXPECT_EQ(buffer->mLength, 0u);
    EXPECT_EQ(test::ReadAll(*buffer)[8], 120);  // phase 1: top right
}

// ---- RGB -------------------------------------------------------------------

struct Pixel {
    uint8_t b[4];
    bool operator==(const Pixel& o) const { return std::equal(b, b + 4, o.b); }
};

Pixel PixelAt(const std::vector<uint8_t>& bytes, size_t offset) {
    return {{bytes[offset], bytes[offset + 1], bytes[offset + 2], bytes[offset + 3]}};
}

TEST(RgbPattern, EightPlacesAndFourColours) {
    const Geometry g{16, 8, 16, 8};
    uint32_t length = 0;
    auto generator = StartGenerator<RGBA32PatternGenerator>(g, 9, &length);
    auto buffer = MakeGraphicBuffer(length);
    const Pixel colours[4] = {{{255, 174, 127, 255}}, {{174, 127, 68, 255}}, {{127, 68, 255, 255}}, {{68, 255, 174, 255}}};
    for (uint32_t p = 1; p <= 9; ++p) {
        SCOPED_TRACE(p);
        ASSERT_EQ(generator->Process(buffer), 0);
        const auto bytes = test::ReadAll(*buffer);
        const uint32_t left = (p % 4) * 4, top = (p & 4) ? 4 : 0;
        size_t drawn = 0;
        for (uint32_t y = 0; y < 8; ++y) {
            for (uint32_t x = 0; x < 16; ++x) {
                const Pixel px = PixelAt(bytes, (y * 16 + x) * 4);
                const bool inside = x >= left && x < left + 4 && y >= top && y < top + 4;
                EXPECT_TRUE(px == (inside ? colours[p % 4] : Pixel{{0, 0, 0, 0}})) << x << "," << y;
                drawn += inside;
            }
        }
        EXPECT_EQ(drawn, 16u);
    }
}

TEST(RgbPattern, TenBitPackingAndStaticColour) {
    uint32_t length = 0;
    auto generator = StartGenerator<RGBA1010102PatternGenerator>({8, 4, 8, 4}, 1, &length, true);
    auto buffer = MakeGraphicBuffer(length);
    ASSERT_EQ(generator->Process(buffer), 0);
    const auto bytes = test::ReadAll(*buffer);
    const uint32_t word = bytes[0] | bytes[1] << 8 | bytes[2] << 16 | uint32_t{bytes[3]} << 24;
    EXPECT_EQ(word, 1023u | 699u << 10 | 511u << 20 | 3u << 30);  // q = 0 colours, top left
    EXPECT_EQ(length, VideoBufferLayout_GetBufferSize(12, 8, 4));
}

// Rows are packed at mWidth pixels, whatever the stride; small pictures are
// cleared and left empty.
TEST(RgbPattern, PackedRowsAndTinyPictures) {
    uint32_t length = 0;
    auto generator = StartGenerator<RGBA32PatternGenerator>({8, 4, 64, 4}, 2, &length, true);
    auto buffer = MakeGraphicBuffer(length);
    ASSERT_EQ(generator->Process(buffer), 0);
    auto bytes = test::ReadAll(*buffer);
    EXPECT_EQ(bytes[8 * 4 + 3], 255);  // row 1 of the block starts mWidth pixels on
    EXPECT_EQ(bytes[64 * 4 + 3], 0);

    for (const Geometry& g : {Geometry{3, 8, 3, 8}, Geometry{16, 1, 16, 1}}) {
        auto tiny = StartGenerator<RGBA32PatternGenerator>(g, 1, &length);
        auto tinyBuffer = MakeGraphicBuffer(length);
        test::FillBuffer(*tinyBuffer, 0xEE);
        ASSERT_EQ(tiny->Process(tinyBuffer), 0);
        EXPECT_EQ(test::ReadAll(*tinyBuffer), std::vector<uint8_t>(length, 0));
    }
}

TEST(RgbPattern, SizesAndLines) {
    LogCapture logs;
    uint32_t length = 0;
    StartGenerator<RGBA32PatternGenerator>({0, 4, 8, 4}, 1, &length);
    EXPECT_EQ(length, 0u);
    StartGenerator<RGBA32PatternGenerator>({8, 0, 8, 4}, 1, &length);
    StartGenerator<RGBA1010102PatternGenerator>({8, 4, 0, 4}, 1, &length);
    StartGenerator<RGBA1010102PatternGenerator>({8, 4, 8, 0}, 1, &length);
    RGBA32PatternGenerator idle;
    idle.GetBufferLength();
    RGBA1010102PatternGenerator idle10;
    idle10.GetBufferLength();
    EXPECT_EQ(idle.ReadfromInputFile(nullptr), -4);
    auto unmappable = std::make_shared<Buffer>();
    unmappable->mCapacity = 4096;
    EXPECT_EQ(idle.ReadfromInputFile(unmappable), -2);
    for (const char* f : {"mConfigParam.mWidth == 0 : Line# 379", "mConfigParam.mHeight == 0 : Line# 380",
                          "mConfigParam.mStride == 0 : Line# 399", "mConfigParam.mScanlines == 0 : Line# 400",
                          "mState != STATE::RUNNING : Line# 378", "mState != STATE::RUNNING : Line# 398",
                          "buffer == nullptr : Line# 333", "vaddr == nullptr : Line# 340"}) {
        EXPECT_TRUE(logs.Contains(6, kPatternTag, f)) << f;
    }
    StartGenerator<RGBA32PatternGenerator>({8, 4, 16, 8}, 1, &length);
    EXPECT_EQ(length, VideoBufferLayout_GetBufferSize(8, 16, 8));
}

// Rows packed at mWidth run past a buffer sized for a narrower stride; the
// generator refuses before writing.
TEST(RgbPattern, PackedRowsPastTheBufferAreRefused) {
    uint32_t length = 0;
    auto generator = StartGenerator<RGBA32PatternGenerator>({4096, 64, 64, 16}, 8, &length);
    auto buffer = MakeGraphicBuffer(length);
    test::FillBuffer(*buffer, 0xEE);
    LogCapture logs;
    EXPECT_EQ(generator->Process(buffer), -1);
    EXPECT_TRUE(logs.Contains(6, kPatternTag, "Error. Picture does not fit in the buffer."));
    EXPECT_EQ(test::ReadAll(*buffer), std::vector<uint8_t>(length, 0xEE));
}

}  // namespace
}  // namespace tessaro
