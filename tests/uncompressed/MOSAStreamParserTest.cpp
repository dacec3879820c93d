// The tiled (MOSA) readers: one block a picture, sized by the layout library.
#include <VideoBufferLayout.h>
#include <gtest/gtest.h>

#include <functional>

#include "support/LogCapture.h"
#include "uncompressed/NV12MOSAInterlaceStreamParser.h"
#include "uncompressed/NV12MOSAStreamParser.h"
#include "uncompressed/P210MOSAStreamParser.h"
#include "uncompressed/RGBA1010102MOSAStreamParser.h"
#include "uncompressed/RGBA32MOSAStreamParser.h"
#include "uncompressed/RX10MOSAStreamParser.h"
#include "uncompressed/RawTestSupport.h"

namespace tessaro {
namespace {

using test::Geometry;
using test::LogCapture;

struct MosaCase {
    const char* name;
    std::function<std::unique_ptr<StreamParserUncompressed>()> make;
    const char* tag;
    bool checksStride;  // the RGBA readers size by stride and scanlines
    uint32_t code, interlaced;
    bool logsFrameSize;  // P210's entry line carries the picture size
};

uint32_t PictureSize(const MosaCase& mc, const Geometry& g) {
    return mc.checksStride ? VideoBufferLayout_GetBufferSize(mc.code, g.stride, g.scanlines)
                           : VideoBufferLayout_GetBufferSizeUsed(mc.code, g.width, g.height, mc.interlaced);
}

template <typename T>
auto Make() {
    return [] { return std::unique_ptr<StreamParserUncompressed>(new T); };
}

#define TAG(x) "Tessaro::Impl::StreamParser::UnCompressed::" x
const MosaCase kCases[] = {
    {"NV12", Make<NV12MOSAStreamParser>(), TAG("NV12_MOSA"), false, 1, 0, false},
    {"RX10", Make<RX10MOSAStreamParser>(), TAG("NV12_MOSA"), false, 5, 0, false},
    {"NV12Interlace", Make<NV12MOSAInterlaceStreamParser>(), TAG("NV12_MOSA"), false, 1, 1, false},
    {"P210", Make<P210MOSAStreamParser>(), TAG("P210MOSA"), false, 7, 0, true},
    {"RGBA32", Make<RGBA32MOSAStreamParser>(), TAG("RGBA32_MOSA"), true, 9, 0, false},
    {"RGBA1010102", Make<RGBA1010102MOSAStreamParser>(), TAG("RGBA32_MOSA"), true, 11, 0, false},
};

class MosaReader : public ::testing::TestWithParam<MosaCase> {};

// Three pictures a buffer land back to back exactly as the file holds them;
// the partial picture at the end of the file is never read.
TEST_P(MosaReader, ReadsWholePicturesBackToBack) {
    const MosaCase& mc = GetParam();
    const Geometry g{72, 40, 80, 48};
    const uint32_t picture = PictureSize(mc, g);
    ConfigParam c = test::RawConfig(g, 0, 3);
    test::ScratchDir scratch;
    c.mInputFileName = scratch.Write("in", test::NumberedPictures(7, picture).substr(0, 6 * picture + 100));
    auto reader = mc.make();
    LogCapture logs;
    ASSERT_EQ(test::Start(*reader, c), 3 * picture);
    EXPECT_EQ(reader->fileBufferSize(), picture);
    auto buffer = test::MakeGraphicBuffer(3 * picture);
    ASSERT_EQ(reader->Process(buffer), 0);
    EXPECT_EQ(test::ReadAll(*buffer), test::Bytes(test::NumberedPictures(3, picture)));
    ASSERT_EQ(reader->Process(buffer), 0);
    EXPECT_EQ(buffer->mFlags, Buffer::FLAG_EOS);
    EXPECT_EQ(test::PictureNumber(*buffer), 3);
    const std::string entry = mc.logsFrameSize ? "ReadfromInputFile: frame size " + std::to_string(picture) : "ReadfromInputFile";
    EXPECT_EQ(logs.Count(4, mc.tag, entry), 2u);
}

INSTANTIATE_TEST_SUITE_P(Readers, MosaReader, ::testing::ValuesIn(kCases),
                         [](const auto& param) { return std::string(param.param.name); });

// A buffer smaller than a picture, handed to the reader directly, gets nothing.
TEST(MosaReaderSafety, TooSmallABufferReadsNothing) {
    test::ScratchDir dir;
    NV12MOSAStreamParser reader;
    const uint32_t picture = VideoBufferLayout_GetBufferSizeUsed(1, 64, 32, 0);
    ConfigParam c = test::RawConfig({64, 32, 64, 32});
    c.mInputFileName = dir.Write("in", std::string(picture, 'x'));
    ASSERT_EQ(test::Start(reader, c), picture);
    auto small = test::MakeGraphicBuffer(4096);
    LogCapture logs;
    EXPECT_EQ(reader.ReadfromInputFile(small), -2);
    EXPECT_TRUE(logs.Has(6, TAG("NV12_MOSA"), "Error. Picture does not fit in the buffer."));
    EXPECT_EQ(test::ReadAll(*small), std::vector<uint8_t>(4096, 0));
}

}  // namespace
}  // namespace tessaro
