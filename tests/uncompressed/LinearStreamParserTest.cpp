// The linear YUV and RGB readers: their sizes, tags and line numbers, where
// each row of the file lands in the buffer, and the refusal of a picture that
// does not fit the buffer.
#include <VideoBufferLayout.h>
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
using test::MakeGraphicBuffer;

const std::string kTagPrefix = "Tessaro::Impl::StreamParser::UnCompressed::";

// Where one file row goes: `rows` rows of `rowBytes`, the first at `offset`.
struct Placement {
    uint64_t offset, rows, rowBytes, pitch;
};

struct ReaderCase {
    const char* name;
    std::function<std::unique_ptr<StreamParserUncompressed>()> make;
    std::string tag;
    int stateLine, firstLine, secondLine;
    bool checksWidthHeight;  // YV12 checks width/height, the others stride/scanlines
    std::function<uint32_t(const Geometry&)> bufferSize;
    std::function<uint32_t(const Geometry&)> fileBufferSize;
    std::function<std::vector<Placement>(const Geometry&)> placements;  // one picture
};

template <typename T>
std::function<std::unique_ptr<StreamParserUncompressed>()> Maker() {
    return [] { return std::make_unique<T>(); };
}

uint32_t LayoutSize(uint32_t code, const Geometry& g) {
    return VideoBufferLayout_GetBufferSize(code, g.stride, g.scanlines);
}

std::vector<ReaderCase> Cases() {
    auto semiPlanar = [](uint64_t bytes, bool fullChroma) {
        return [=](const Geometry& g) {
            const uint64_t pitch = bytes * g.stride;
            const uint64_t chromaRows = fullChroma ? g.height : (g.height + 1) / 2;
            return std::vector<Placement>{{0, g.height, bytes * g.width, pitch},
                                          {g.scanlines * pitch, chromaRows, bytes * g.width, pitch}};
        };
    };
    auto packed = [](uint64_t bytes) {
        return [=](const Geometry& g) {
            return std::vector<Placement>{{0, g.height, bytes * g.width, bytes * g.stride}};
        };
    };
    return {
        {"NV12", Maker<NV12StreamParser>(), kTagPrefix + "NV12", 66, 67, 68, false,
         [](const Geometry& g) { return LayoutSize(0, g); },
         [](const Geometry& g) { return (g.height + (g.height + 1) / 2) * g.width; }, semiPlanar(1, false)},
        {"YV12", Maker<YV12StreamParser>(), kTagPrefix + "YV12", 67, 68, 69, true,
         [](const Geometry& g) { return g.height * g.width + (g.height + 1) / 2 * ((g.width + 1) & ~1u); },
         [](const Geometry& g) { return g.height * (g.width + g.width / 2); },
         [](const Geometry& g) {
             const uint64_t chromaPitch = (g.stride / 2 + 63) / 64 * 64;
             return std::vector<Placement>{{0, g.height, g.width, g.stride},
                                           {uint64_t{g.height} * g.stride, g.height, g.width / 2, chromaPitch}};
         }},
        {"P010", Maker<P010StreamParser>(), kTagPrefix + "P010", 66, 67, 68, false,
         [](const Geometry& g) { return LayoutSize(3, g); },
         [](const Geometry& g) { return g.width * (g.height + (g.height + 1) / 2) * 2; }, semiPlanar(2, false)},
        {"P210", Maker<P210StreamParser>(), kTagPrefix + "P210", 66, 67, 68, false,
         [](const Geometry& g) { return LayoutSize(6, g); },
         [](const Geometry& g) { return g.height + 2 * g.height * g.width; }, semiPlanar(2, true)},
        {"RGBA32", Maker<RGBA32StreamParser>(), kTagPrefix + "RGBA32", 78, 79, 80, false,
         [](const Geometry& g) { return LayoutSize(8, g); },
         [](const Geometry& g) { return g.height * g.width * 4; }, packed(4)},
        {"RGBA1010102", Maker<RGBA1010102StreamParser>(), kTagPrefix + "RGBA32", 99, 100, 101, false,
         [](const Geometry& g) { return LayoutSize(12, g); },
         [](const Geometry& g) { return g.height * g.width * 8; }, packed(4)},
        {"RGBAFP16", Maker<RGBAFP16StreamParser>(), kTagPrefix + "RGBA32", 120, 121, 122, false,
         [](const Geometry& g) { return LayoutSize(13, g); },
         [](const Geometry& g) { return g.height * g.width * 4; }, packed(8)},
    };
}

class LinearReader : public ::testing::TestWithParam<ReaderCase> {
protected:
    // Starts the reader on a file of `pictures` numbered pictures of the true size.
    uint32_t Open(const Geometry& g, uint32_t pictures, uint32_t superFrame = 1) {
        const auto places = GetParam().placements(g);
        uint32_t picture = 0;
        for (const Placement& p : places) picture += static_cast<uint32_t>(p.rows * p.rowBytes);
        ConfigParam c = test::RawConfig(g, 0, superFrame);
        c.mInputFileName = scratch.Write("in.raw", test::NumberedPictures(pictures, picture));
        reader = GetParam().make();
        return test::Start(*reader, c);
    }

    test::ScratchDir scratch;
    std::unique_ptr<StreamParserUncompressed> reader;
};

TEST_P(LinearReader, SizesFromTheGeometry) {
    const ReaderCase& rc = GetParam();
    const Geometry g{33, 17, 48, 20};
    LogCapture logs;
    const uint32_t length = Open(g, 1, 2);
    EXPECT_EQ(reader->bufferSize(), rc.bufferSize(g));
    EXPECT_EQ(reader->fileBufferSize(), rc.fileBufferSize(g));
    EXPECT_EQ(length, 2 * rc.bufferSize(g));
    EXPECT_TRUE(logs.Contains(4, rc.tag, "GetBufferLength"));
    EXPECT_TRUE(logs.Contains(4, rc.tag, "Buffer length = " + std::to_string(length)));
}

TEST_P(LinearReader, GetBufferLengthChecksAndKeepsItsFirstSize) {
    const ReaderCase& rc = GetParam();
    const std::string first = rc.checksWidthHeight ? "mConfigParam.mWidth == 0" : "mConfigParam.mStride == 0";
    const std::string second = rc.checksWidthHeight ? "mConfigParam.mHeight == 0" : "mConfigParam.mScanlines == 0";
    LogCapture logs;
    auto fresh = rc.make();
    EXPECT_EQ(fresh->GetBufferLength(), 0u);
    EXPECT_TRUE(logs.Contains(6, rc.tag, "mState != STATE::RUNNING : Line# " + std::to_string(rc.stateLine)));

    // Each geometry field set but the one checked: first the first, then the second.
    const std::string file = scratch.Write("one", std::string(4096, 'x'));
    auto startWith = [&](uint32_t width, uint32_t height, uint32_t stride, uint32_t scanlines) {
        auto r = rc.make();
        ConfigParam c = test::RawConfig({width, height, stride, scanlines});
        c.mInputFileName = file;
        EXPECT_EQ(test::Start(*r, c), 0u);
        EXPECT_EQ(r->bufferSize(), 0u);
        return r;
    };
    if (rc.checksWidthHeight) {
        startWith(0, 8, 16, 8);
        startWith(16, 0, 16, 8);
    } else {
        startWith(16, 8, 0, 8);
        startWith(16, 8, 16, 0);
    }
    EXPECT_TRUE(logs.Contains(6, rc.tag, first + " : Line# " + std::to_string(rc.firstLine)));
    EXPECT_TRUE(logs.Contains(6, rc.tag, second + " : Line# " + std::to_string(rc.secondLine)));

    auto second_reader = rc.make();
    ConfigParam d = test::RawConfig({16, 8, 16, 8});
    d.mInputFileName = file;
    const uint32_t size = test::Start(*second_reader, d);
    ASSERT_NE(size, 0u);
    ConfigParam wider{};
    wider.mStride = 1024;  // merged while running, but the size is kept until DeInit
    wider.mWidth = 1024;
    second_reader->SetConfig(wider);
    EXPECT_EQ(second_reader->GetBufferLength(), size);
}

// Odd sizes and a stride wider than the picture: every row lands at its place,
// the padding between keeps what the buffer held, the buffer ends on a page.
TEST_P(LinearReader, RowsLandAtStrideAndScanlines) {
    const ReaderCase& rc = GetParam();
    for (const Geometry& g : {Geometry{33, 17, 48, 20}, Geometry{7, 3, 7, 3}, Geometry{100, 5, 130, 9}}) {
        SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " in " << g.stride << "x" << g.scanlines);
        const uint32_t length = Open(g, 2);
        // Exactly the size asked for, ending on a page, so a stray write faults.
        // YV12 places its chroma by the stride, past its own size: it gets the
        // pages its rows need.
        uint64_t end = 0;
        for (const Placement& p : rc.placements(g)) end = std::max(end, p.offset + (p.rows - 1) * p.pitch + p.rowBytes);
        const uint64_t capacity = std::max<uint64_t>(length, (end + 4095) / 4096 * 4096);
        ASSERT_TRUE(std::string(rc.name) == "YV12" || capacity == length);
        auto buffer = MakeGraphicBuffer(capacity);
        test::FillBuffer(*buffer, 0xEE);
        ASSERT_EQ(reader->Process(buffer), 0);

        std::vector<uint8_t> expected(buffer->mCapacity, 0xEE);
        const auto file = test::NumberedPictures(1, 1 << 20);
        uint64_t read = 0;
        for (const Placement& p : rc.placements(g)) {
            for (uint64_t row = 0; row < p.rows; ++row) {
                for (uint64_t i = 0; i < p.rowBytes; ++i) {
                    expected[p.offset + row * p.pitch + i] = static_cast<uint8_t>(file[read++]);
                }
            }
        }
        ASSERT_EQ(test::ReadAll(*buffer), expected);
        EXPECT_EQ(buffer->mLength, length);
    }
}

// A picture wider or taller than the buffer's stride and scanlines would be
// written past the buffer; the reader refuses it before reading anything.
TEST_P(LinearReader, PictureLargerThanTheBufferIsRefused) {
    const ReaderCase& rc = GetParam();
    // YV12 sizes its buffer from the picture but places rows by the stride, so
    // a stride much wider than the picture is its way past the buffer.
    const Geometry g = rc.checksWidthHeight ? Geometry{16, 64, 4096, 64} : Geometry{512, 200, 64, 8};
    const uint32_t length = Open(g, 2);  // RGBA1010102 counts two pictures as one
    ASSERT_NE(length, 0u);
    auto buffer = MakeGraphicBuffer(length);
    test::FillBuffer(*buffer, 0xEE);
    LogCapture logs;
    EXPECT_EQ(reader->Process(buffer), -1);
    EXPECT_TRUE(logs.Contains(6, rc.tag, "Error. Picture does not fit in the buffer."));
    EXPECT_TRUE(logs.Contains(6, "Tessaro::Impl::StreamParser::Uncompressed",
                              "ReadfromInputFile(buffer) != TS_OK : Line# 114"));
    EXPECT_EQ(test::ReadAll(*buffer), std::vector<uint8_t>(length, 0xEE));
}

INSTANTIATE_TEST_SUITE_P(Readers, LinearReader, ::testing::ValuesIn(Cases()),
                         [](const auto& param) { return std::string(param.param.name); });

TEST(LinearReaderLines, NullPointerAndUnmappableBuffer) {
    struct Case {
        std::unique_ptr<StreamParserUncompressed> reader;
        std::string tag;
        int nullLine, vaddrLine;
    };
    Case cases[] = {
        {std::make_unique<NV12StreamParser>(), kTagPrefix + "NV12", 18, 25},
        {std::make_unique<YV12StreamParser>(), kTagPrefix + "YV12", 20, 27},
        {std::make_unique<P010StreamParser>(), kTagPrefix + "P010", 18, 25},
        {std::make_unique<P210StreamParser>(), kTagPrefix + "P210", 18, 25},
        {std::make_unique<RGBA32StreamParser>(), kTagPrefix + "RGBA32", 18, 25},
        {std::make_unique<RGBA1010102StreamParser>(), kTagPrefix + "RGBA32", 18, 25},
        {std::make_unique<RGBAFP16StreamParser>(), kTagPrefix + "RGBA32", 48, 55},
    };
    for (Case& c : cases) {
        SCOPED_TRACE(c.tag);
        LogCapture logs;
        EXPECT_EQ(c.reader->ReadfromInputFile(nullptr), -4);
        auto unmappable = std::make_shared<Buffer>();
        unmappable->mCapacity = 4096;
        unmappable->mType = 1;
        EXPECT_EQ(c.reader->ReadfromInputFile(unmappable), -2);
        EXPECT_TRUE(logs.Contains(4, c.tag, "ReadfromInputFile"));
        EXPECT_TRUE(logs.Contains(6, c.tag, "buffer == nullptr : Line# " + std::to_string(c.nullLine)));
        EXPECT_TRUE(logs.Contains(6, c.tag, "vaddr == nullptr : Line# " + std::to_string(c.vaddrLine)));
    }
}

TEST(LinearReaderSuperFrame, RgbPicturesRunOnWhileYuvPicturesStartAtBufferSize) {
    test::ScratchDir dir;
    const Geometry g{8, 4, 16, 8};
    {
        RGBA32StreamParser reader;
        ConfigParam c = test::RawConfig(g, 0, 2);
        c.mInputFileName = dir.Write("rgba", test::NumberedPictures(2, 8 * 4 * 4));
        auto buffer = MakeGraphicBuffer(test::Start(reader, c));
        ASSERT_EQ(reader.Process(buffer), 0);
        const auto bytes = test::ReadAll(*buffer);
        EXPECT_EQ(bytes[4 * 16 * 4] / 16 - 1, 1);  // right after the first picture's last row pitch
    }
    {
        NV12StreamParser reader;
        ConfigParam c = test::RawConfig(g, 0, 2);
        c.mInputFileName = dir.Write("nv12", test::NumberedPictures(2, 8 * 6));
        auto buffer = MakeGraphicBuffer(test::Start(reader, c));
        ASSERT_EQ(reader.Process(buffer), 0);
        EXPECT_EQ(test::ReadAll(*buffer)[reader.bufferSize()] / 16 - 1, 1);
    }
}

// Three sizes that are not the true size of a picture in the file: they only
// move where the end of stream falls. Pictures are 4x2.
TEST(LinearReaderFileSizes, CountedPictureSizeMovesEndOfStream) {
    test::ScratchDir dir;
    const Geometry g{4, 2, 4, 2};
    struct Case {
        const char* name;
        std::unique_ptr<StreamParserUncompressed> reader;
        uint32_t truePicture, fileBytes;
        std::vector<int> statuses;  // of successive Process calls until EOS or failure
    };
    Case cases[] = {
        // counted 64 bytes a picture, holds 32: four pictures give three buffers
        {"RGBA1010102", std::make_unique<RGBA1010102StreamParser>(), 32, 128, {0, 0, 0}},
        // counted 32 bytes a picture, holds 64: the third read of 2.5 pictures comes up short
        {"RGBAFP16", std::make_unique<RGBAFP16StreamParser>(), 64, 160, {0, 0, -1}},
        // counted 18 bytes a picture, holds 32: 2 pictures and 20 bytes look like three
        {"P210", std::make_unique<P210StreamParser>(), 32, 84, {0, 0, -1}},
    };
    for (Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string bytes = test::NumberedPictures(4, c.truePicture).substr(0, c.fileBytes);
        ConfigParam config = test::RawConfig(g);
        config.mInputFileName = dir.Write(c.name, bytes);
        auto buffer = MakeGraphicBuffer(test::Start(*c.reader, config));
        std::vector<int> statuses;
        for (int i = 0; i < 10; ++i) {
            buffer->mFlags = 0;
            const int status = c.reader->Process(buffer);
            statuses.push_back(status);
            if (status != 0 || buffer->mFlags == Buffer::FLAG_EOS) break;
        }
        EXPECT_EQ(statuses, c.statuses);
    }
}

}  // namespace
}  // namespace tessaro
