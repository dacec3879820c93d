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

const std::string kPrefix = "Tessaro::Impl::StreamParser::UnCompressed::";

struct MosaCase {
    const char* name;
    std::function<std::unique_ptr<StreamParserUncompressed>()> make;
    std::string tag;
    int stateLine, firstLine, secondLine;
    bool checksStride;  // the RGBA readers check stride/scanlines, the others width/height
    std::function<uint32_t(const Geometry&)> size;
    std::string readLine;  // the entry line of the reading operation
};

template <typename T>
std::function<std::unique_ptr<StreamParserUncompressed>()> Maker() {
    return [] { return std::make_unique<T>(); };
}

std::vector<MosaCase> Cases() {
    auto used = [](uint32_t code, uint32_t interlaced) {
        return [=](const Geometry& g) {
            return VideoBufferLayout_GetBufferSizeUsed(code, g.width, g.height, interlaced);
        };
    };
    auto sized = [](uint32_t code) {
        return [=](const Geometry& g) { return VideoBufferLayout_GetBufferSize(code, g.stride, g.scanlines); };
    };
    return {
        {"NV12", Maker<NV12MOSAStreamParser>(), kPrefix + "NV12_MOSA", 45, 46, 47, false, used(1, 0), "ReadfromInputFile"},
        {"RX10", Maker<RX10MOSAStreamParser>(), kPrefix + "NV12_MOSA", 66, 67, 68, false, used(5, 0), "ReadfromInputFile"},
        {"NV12Interlace", Maker<NV12MOSAInterlaceStreamParser>(), kPrefix + "NV12_MOSA", 87, 88, 89, false, used(1, 1), "ReadfromInputFile"},
        {"P210", Maker<P210MOSAStreamParser>(), kPrefix + "P210MOSA", 45, 46, 47, false, used(7, 0), "ReadfromInputFile: frame size "},
        {"RGBA32", Maker<RGBA32MOSAStreamParser>(), kPrefix + "RGBA32_MOSA", 45, 46, 47, true, sized(9), "ReadfromInputFile"},
        {"RGBA1010102", Maker<RGBA1010102MOSAStreamParser>(), kPrefix + "RGBA32_MOSA", 66, 67, 68, true, sized(11), "ReadfromInputFile"},
    };
}

class MosaReader : public ::testing::TestWithParam<MosaCase> {
protected:
    test::ScratchDir scratch;
};

// Three pictures a buffer land back to back, each exactly as the file holds it,
// and the partial picture at the end of the file is never read.
TEST_P(MosaReader, ReadsWholePicturesBackToBack) {
    const MosaCase& mc = GetParam();
    const Geometry g{72, 40, 80, 48};
    const uint32_t picture = mc.size(g);
    ASSERT_GT(picture, 0u);
    ConfigParam c = test::RawConfig(g, 0, 3);
    c.mInputFileName = scratch.Write("in", test::NumberedPictures(7, picture).substr(0, 6 * picture + 100));
    auto reader = mc.make();
    LogCapture logs;
    const uint32_t length = test::Start(*reader, c);
    EXPECT_EQ(length, 3 * picture);
    EXPECT_EQ(reader->bufferSize(), picture);
    EXPECT_EQ(reader->fileBufferSize(), picture);
    auto buffer = test::MakeGraphicBuffer(length);
    ASSERT_EQ(reader->Process(buffer), 0);
    const auto bytes = test::ReadAll(*buffer);
    EXPECT_EQ(bytes, test::Bytes(test::NumberedPictures(3, picture)));
    ASSERT_EQ(reader->Process(buffer), 0);
    EXPECT_EQ(buffer->mFlags, Buffer::FLAG_EOS);
    EXPECT_EQ(test::PictureNumber(*buffer), 3);
    EXPECT_EQ(logs.Count(4, mc.tag, mc.readLine == "ReadfromInputFile" ? mc.readLine
                                                                       : mc.readLine + std::to_string(picture)),
              2u);
    EXPECT_TRUE(logs.Contains(4, mc.tag, "Buffer length = " + std::to_string(length)));
}

TEST_P(MosaReader, ChecksTheGeometryItSizesWith) {
    const MosaCase& mc = GetParam();
    const std::string file = scratch.Write("in", std::string(1 << 16, 'x'));
    LogCapture logs;
    auto fresh = mc.make();
    EXPECT_EQ(fresh->GetBufferLength(), 0u);
    EXPECT_TRUE(logs.Contains(6, mc.tag, "mState != STATE::RUNNING : Line# " + std::to_string(mc.stateLine)));
    auto startWith = [&](const Geometry& g) {
        auto r = mc.make();
        ConfigParam c = test::RawConfig(g);
        c.mInputFileName = file;
        return test::Start(*r, c);
    };
    const std::string first = mc.checksStride ? "mConfigParam.mStride == 0" : "mConfigParam.mWidth == 0";
    const std::string second = mc.checksStride ? "mConfigParam.mScanlines == 0" : "mConfigParam.mHeight == 0";
    // The field that is not checked is set, so only the checked one can fail.
    EXPECT_EQ(startWith(mc.checksStride ? Geometry{64, 32, 0, 32} : Geometry{0, 32, 64, 32}), 0u);
    EXPECT_EQ(startWith(mc.checksStride ? Geometry{64, 32, 64, 0} : Geometry{64, 0, 64, 32}), 0u);
    EXPECT_TRUE(logs.Contains(6, mc.tag, first + " : Line# " + std::to_string(mc.firstLine)));
    EXPECT_TRUE(logs.Contains(6, mc.tag, second + " : Line# " + std::to_string(mc.secondLine)));
}

INSTANTIATE_TEST_SUITE_P(Readers, MosaReader, ::testing::ValuesIn(Cases()),
                         [](const auto& param) { return std::string(param.param.name); });

TEST(MosaReaderLines, NullPointerAndUnmappableBuffer) {
    std::unique_ptr<StreamParserUncompressed> readers[] = {
        std::make_unique<NV12MOSAStreamParser>(), std::make_unique<P210MOSAStreamParser>(),
        std::make_unique<RGBA32MOSAStreamParser>()};
    const std::string tags[] = {kPrefix + "NV12_MOSA", kPrefix + "P210MOSA", kPrefix + "RGBA32_MOSA"};
    for (size_t i = 0; i < 3; ++i) {
        SCOPED_TRACE(tags[i]);
        LogCapture logs;
        EXPECT_EQ(readers[i]->ReadfromInputFile(nullptr), -4);
        auto unmappable = std::make_shared<Buffer>();
        unmappable->mCapacity = 4096;
        EXPECT_EQ(readers[i]->ReadfromInputFile(unmappable), -2);
        EXPECT_TRUE(logs.Contains(6, tags[i], "buffer == nullptr : Line# 18"));
        EXPECT_TRUE(logs.Contains(6, tags[i], "vaddr == nullptr : Line# 25"));
    }
}

// A capacity smaller than mSuperFrame pictures passes the capacity check only
// when the sizes wrap; the reader itself still refuses to write past the buffer.
TEST(MosaReaderSafety, CalledDirectlyWithTooSmallABufferReadsNothing) {
    test::ScratchDir dir;
    ConfigParam c = test::RawConfig({64, 32, 64, 32});
    NV12MOSAStreamParser reader;
    const uint32_t picture = VideoBufferLayout_GetBufferSizeUsed(1, 64, 32, 0);
    c.mInputFileName = dir.Write("in", std::string(picture, 'x'));
    ASSERT_EQ(test::Start(reader, c), picture);
    auto small = test::MakeGraphicBuffer(4096);
    LogCapture logs;
    EXPECT_EQ(reader.ReadfromInputFile(small), -2);
    EXPECT_TRUE(logs.Contains(6, kPrefix + "NV12_MOSA", "Error. Picture does not fit in the buffer."));
    EXPECT_EQ(test::ReadAll(*small), std::vector<uint8_t>(4096, 0));
}

}  // namespace
}  // namespace tessaro
