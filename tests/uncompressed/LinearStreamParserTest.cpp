// The linear YUV and RGB readers: sizes, tags and line numbers, where each
// file row lands in the buffer, and the refusal of a picture that does not fit.
#include <gtest/gtest.h>

#include <functional>

#include "support/LogCapture.h"
#include "uncompressed/NV12StreamParser.h"
#include "uncompressed/P010StreamParser.h"
#include "uncompressed/P210StreamParser.h"
#include "uncompressed/RGBA1010102StreamParser.h"
#include "uncompressed/RGBA32StreamParser.h"
#include "uncompressed/RGBAFP16StreamParser.h"
#include "uncompressed/RawTestSupport.h"
#include "uncompressed/YV12StreamParser.h"

namespace tessaro {
namespace {

using test::Geometry;
using test::LogCapture;

struct Placement {
    uint64_t offset, rows, rowBytes, pitch;  // rows of one picture in the buffer
};

struct ReaderCase {
    const char* name;
    std::function<std::unique_ptr<StreamParserUncompressed>()> make;
    const char* tag;
    std::function<std::vector<Placement>(const Geometry&)> placements;
};

auto SemiPlanar(uint64_t bytes, bool fullChroma) {
    return [=](const Geometry& g) {
        const uint64_t pitch = bytes * g.stride;
        return std::vector<Placement>{
            {0, g.height, bytes * g.width, pitch},
            {g.scanlines * pitch, fullChroma ? g.height : (g.height + 1) / 2, bytes * g.width, pitch}};
    };
}
auto Packed(uint64_t bytes) {
    return [=](const Geometry& g) {
        return std::vector<Placement>{{0, g.height, bytes * g.width, bytes * g.stride}};
    };
}
template <typename T>
auto Make() {
    return [] { return std::unique_ptr<StreamParserUncompressed>(new T); };
}

#define TAG(x) "Tessaro::Impl::StreamParser::UnCompressed::" x
const ReaderCase kCases[] = {
    {"NV12", Make<NV12StreamParser>(), TAG("NV12"), SemiPlanar(1, false)},
    {"YV12", Make<YV12StreamParser>(), TAG("YV12"),
     [](const Geometry& g) {  // chroma right after the luma rows, at half the stride rounded up to 64
         return std::vector<Placement>{{0, g.height, g.width, g.stride},
                                       {uint64_t{g.height} * g.stride, g.height, g.width / 2,
                                        (g.stride / 2 + 63) / 64 * 64}};
     }},
    {"P010", Make<P010StreamParser>(), TAG("P010"), SemiPlanar(2, false)},
    {"P210", Make<P210StreamParser>(), TAG("P210"), SemiPlanar(2, true)},
    {"RGBA32", Make<RGBA32StreamParser>(), TAG("RGBA32"), Packed(4)},
    {"RGBA1010102", Make<RGBA1010102StreamParser>(), TAG("RGBA32"), Packed(4)},
    {"RGBAFP16", Make<RGBAFP16StreamParser>(), TAG("RGBA32"), Packed(8)},
};

class LinearReader : public ::testing::TestWithParam<ReaderCase> {
protected:
    // Starts a fresh reader on `pictures` numbered pictures of the true size.
    uint32_t Open(const Geometry& g, uint32_t pictures, uint32_t superFrame = 1) {
        uint64_t picture = 0;
        for (const Placement& p : GetParam().placements(g)) picture += p.rows * p.rowBytes;
        ConfigParam c = test::RawConfig(g, 0, superFrame);
        c.mInputFileName = scratch.Write("in.raw", test::NumberedPictures(pictures, static_cast<uint32_t>(std::max<uint64_t>(picture, 64))));
        reader = GetParam().make();
        return test::Start(*reader, c);
    }

    test::ScratchDir scratch;
    std::unique_ptr<StreamParserUncompressed> reader;
};

// Odd sizes and a stride wider than the picture: every row lands at its place
// and the padding keeps what the buffer held. The buffer is exactly the size
// asked for and ends on a page, so a stray write faults (YV12 places chroma by
// the stride, past its own size, and gets the pages its rows need).
TEST_P(LinearReader, RowsLandAtStrideAndScanlines) {
    for (const Geometry& g : {Geometry{33, 17, 48, 20}, Geometry{7, 3, 7, 3}, Geometry{100, 5, 130, 9}}) {
        SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " in " << g.stride << "x" << g.scanlines);
        const uint32_t length = Open(g, 2);
        uint64_t end = 0;
        for (const Placement& p : GetParam().placements(g)) end = std::max(end, p.offset + (p.rows - 1) * p.pitch + p.rowBytes);
        const uint64_t capacity = std::max<uint64_t>(length, (end + 4095) / 4096 * 4096);
        EXPECT_TRUE(std::string(GetParam().name) == "YV12" || capacity == length);
        auto buffer = test::MakeGraphicBuffer(capacity);
        test::FillBuffer(*buffer, 0xEE);
        ASSERT_EQ(reader->Process(buffer), 0);

        std::vector<uint8_t> expected(capacity, 0xEE);
        const auto file = test::NumberedPictures(1, 1 << 20);
        uint64_t read = 0;
        for (const Placement& p : GetParam().placements(g)) {
            for (uint64_t row = 0; row < p.rows; ++row) {
                for (uint64_t i = 0; i < p.rowBytes; ++i) expected[p.offset + row * p.pitch + i] = file[read++];
            }
        }
        ASSERT_EQ(test::ReadAll(*buffer), expected);
    }
}

// A picture larger than the buffer's geometry would be written past the buffer
// (for YV12, a stride much wider than the picture); nothing is read instead.
TEST_P(LinearReader, PictureLargerThanTheBufferIsRefused) {
    const bool yv12 = std::string(GetParam().name) == "YV12";
    const uint32_t length = Open(yv12 ? Geometry{16, 64, 4096, 64} : Geometry{512, 200, 64, 8}, 2);
    auto buffer = test::MakeGraphicBuffer(length);
    test::FillBuffer(*buffer, 0xEE);
    LogCapture logs;
    EXPECT_EQ(reader->Process(buffer), -1);
    EXPECT_TRUE(logs.Has(6, GetParam().tag, "Error. Picture does not fit in the buffer."));
    EXPECT_TRUE(logs.Has(6, "Tessaro::Impl::StreamParser::Uncompressed", "ReadfromInputFile(buffer) != TS_OK : Line# 114"));
    EXPECT_EQ(test::ReadAll(*buffer), std::vector<uint8_t>(length, 0xEE));
}

INSTANTIATE_TEST_SUITE_P(Readers, LinearReader, ::testing::ValuesIn(kCases),
                         [](const auto& param) { return std::string(param.param.name); });

TEST(LinearReaderSuperFrame, RgbPicturesRunOnWhileYuvPicturesStartAtBufferSize) {
    test::ScratchDir dir;
    RGBA32StreamParser rgba;
    ConfigParam c = test::RawConfig({8, 4, 16, 8}, 0, 2);
    c.mInputFileName = dir.Write("rgba", test::NumberedPictures(2, 8 * 4 * 4));
    auto buffer = test::MakeGraphicBuffer(test::Start(rgba, c));
    ASSERT_EQ(rgba.Process(buffer), 0);
    EXPECT_EQ(test::ReadAll(*buffer)[4 * 16 * 4] / 16, 2);  // right after the last row pitch of picture 1

    NV12StreamParser nv12;
    c.mInputFileName = dir.Write("nv12", test::NumberedPictures(2, 8 * 6));
    buffer = test::MakeGraphicBuffer(test::Start(nv12, c));
    ASSERT_EQ(nv12.Process(buffer), 0);
    EXPECT_EQ(test::ReadAll(*buffer)[nv12.bufferSize()] / 16, 2);
}

// Three file sizes are not the true size of a picture: they move where the
// end of stream falls. Pictures are 4x2; statuses of Process until EOS or -1.
TEST(LinearReaderFileSizes, CountedPictureSizeMovesEndOfStream) {
    struct Case {
        std::unique_ptr<StreamParserUncompressed> reader;
        uint32_t truePicture, fileBytes;
        std::vector<int> statuses;
    } cases[] = {
        {Make<RGBA1010102StreamParser>()(), 32, 128, {0, 0, 0}},  // counts 64: four pictures, three buffers
        {Make<RGBAFP16StreamParser>()(), 64, 160, {0, 0, -1}},     // counts 32: reads into the half picture
        {Make<P210StreamParser>()(), 32, 84, {0, 0, -1}},          // counts 18: 20 spare bytes look like one more
    };
    test::ScratchDir dir;
    for (Case& c : cases) {
        ConfigParam config = test::RawConfig({4, 2, 4, 2});
        config.mInputFileName = dir.Write("in", test::NumberedPictures(4, c.truePicture).substr(0, c.fileBytes));
        auto buffer = test::MakeGraphicBuffer(test::Start(*c.reader, config));
        std::vector<int> statuses;
        for (int status = 0; status == 0 && buffer->mFlags != Buffer::FLAG_EOS && statuses.size() < 10;) {
            statuses.push_back(status = c.reader->Process(buffer));
        }
        EXPECT_EQ(statuses, c.statuses) << c.fileBytes;
    }
}

}  // namespace
}  // namespace tessaro
