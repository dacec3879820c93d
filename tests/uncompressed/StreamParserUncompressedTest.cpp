// The raw reader core, driven through the NV12 reader with tiny pictures (a
// 4x2 picture is 12 bytes in the file, so files of a few pictures exercise
// every turning point and end-of-stream rule), and the sizes, checks and log
// lines that all thirteen readers and five generators share.
#include "uncompressed/StreamParserUncompressed.h"

#include <gtest/gtest.h>

#include <functional>

#include "support/LogCapture.h"
#include "uncompressed/NV12MOSAInterlaceStreamParser.h"
#include "uncompressed/NV12MOSAStreamParser.h"
#include "uncompressed/NV12PatternGenerator.h"
#include "uncompressed/NV12StreamParser.h"
#include "uncompressed/P010PatternGenerator.h"
#include "uncompressed/P010StreamParser.h"
#include "uncompressed/P210MOSAStreamParser.h"
#include "uncompressed/P210PatternGenerator.h"
#include "uncompressed/P210StreamParser.h"
#include "uncompressed/RGBA1010102MOSAStreamParser.h"
#include "uncompressed/RGBA1010102PatternGenerator.h"
#include "uncompressed/RGBA1010102StreamParser.h"
#include "uncompressed/RGBA32MOSAStreamParser.h"
#include "uncompressed/RGBA32PatternGenerator.h"
#include "uncompressed/RGBA32StreamParser.h"
#include "uncompressed/RGBAFP16StreamParser.h"
#include "uncompressed/RX10MOSAStreamParser.h"
#include "uncompressed/RawTestSupport.h"
#include "uncompressed/YV12StreamParser.h"

namespace tessaro {
namespace {

using test::CheckLine;
using test::LogCapture;

constexpr const char* kCoreTag = "Tessaro::Impl::StreamParser::Uncompressed";

class ReaderCore : public ::testing::Test {
protected:
    // A fresh reader (SetConfig never clears mFrames) on `pictures` numbered
    // pictures plus `tail` spare bytes.
    void Open(uint32_t pictures, uint32_t frames, uint32_t superFrame = 1, uint32_t tail = 0) {
        ConfigParam c = test::RawConfig({4, 2, 4, 2}, frames, superFrame);
        c.mInputFileName = scratch.Write("in", test::NumberedPictures(pictures, 12) + std::string(tail, 'x'));
        reader = std::make_unique<NV12StreamParser>();
        buffer = test::MakeGraphicBuffer(test::Start(*reader, c));
    }
    // Processes one buffer; the number of the picture it starts with, -1 if empty.
    int Next() {
        buffer->mFlags = 0;
        EXPECT_EQ(reader->Process(buffer), 0);
        return buffer->mLength == 0 ? -1 : test::PictureNumber(*buffer);
    }
    std::vector<int> PlayAll() {
        std::vector<int> order;
        while (order.size() < 64 && buffer->mFlags != Buffer::FLAG_EOS) {
            const int picture = Next();
            if (picture >= 0) order.push_back(picture);
        }
        return order;
    }
    void SetRate(uint32_t num, uint32_t superFrame = 0) {
        ConfigParam rate{};
        rate.mFrameRateNum = num;
        rate.mFrameRateDen = 1;
        rate.mSuperFrame = superFrame;
        reader->SetConfig(rate);
    }

    test::ScratchDir scratch;
    std::unique_ptr<NV12StreamParser> reader;
    std::shared_ptr<Buffer> buffer;
};

// The turn at either end steps back two positions: no picture repeats. The
// run ends after mFrames pictures (the file when 0), a trailing partial
// picture is never read, and the end of stream is sticky.
TEST_F(ReaderCore, PlaybackOrderAndEndOfStream) {
    struct Case {
        uint32_t pictures, frames, superFrame, tail;
        std::vector<int> order;  // first picture of each delivered buffer
    } cases[] = {
        {3, 9, 1, 0, {0, 1, 2, 1, 0, 1, 2, 1, 0}},
        {2, 5, 1, 0, {0, 1, 0, 1, 0}},
        {3, 0, 1, 0, {0, 1, 2}},
        {3, 0, 1, 5, {0, 1, 2}},
        {3, 2, 1, 0, {0, 1}},
        {5, 0, 2, 0, {0, 2}},  // the last step of two pictures is partial
        {1, 0, 1, 0, {0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.pictures << " pictures, frames " << c.frames);
        Open(c.pictures, c.frames, c.superFrame, c.tail);
        LogCapture logs;
        EXPECT_EQ(PlayAll(), c.order);
        EXPECT_TRUE(logs.Has(4, kCoreTag, "Last Frame[" + std::to_string(c.order.size()) + "] to Process. Adding EOS Flag"));
        EXPECT_EQ(Next(), -1);
        EXPECT_EQ(buffer->mFlags, Buffer::FLAG_EOS);
        EXPECT_TRUE(logs.Has(4, kCoreTag, "Already Saw EOS. Return"));
        if (c.frames == 9) {
            EXPECT_EQ(logs.Count(4, kCoreTag, "Reached file end. Change the reading dir. to Backward"), 2u);
            EXPECT_EQ(logs.Count(4, kCoreTag, "Reached file start. Change the reading dir. to Forward"), 2u);
        }
    }
}

TEST_F(ReaderCore, TimestampsRoundHalfAwayFromZero) {
    Open(2, 6);
    EXPECT_EQ((std::vector<int>{Next(), Next()}), (std::vector<int>{0, 1}));
    EXPECT_EQ(buffer->mTimestamp, 33333u);  // 30 frames a second by default
    Open(2, 6);
    SetRate(2000000);  // half a microsecond a frame
    std::vector<uint64_t> stamps;
    for (int i = 0; i < 6; ++i) {
        Next();
        stamps.push_back(buffer->mTimestamp);
    }
    EXPECT_EQ(stamps, (std::vector<uint64_t>{0, 1, 1, 2, 2, 3}));  // 0, 0.5, 1.0, 1.5, 2.0, 2.5
}

// A frame-rate change after a super-frame change can rebase the timestamp below
// zero; the buffer then carries 0 rather than an undefined conversion.
TEST_F(ReaderCore, TimestampRebasedBelowZeroSaturates) {
    Open(3, 6);
    Next();
    SetRate(1000000, 10);
    ASSERT_LT(reader->timestamp(), 0.0f);
    ConfigParam back{};
    reader->SetConfig(back);  // one picture a buffer again
    Next();
    EXPECT_EQ(buffer->mTimestamp, 0u);
}

TEST_F(ReaderCore, PreconditionsInOrderChangeNothing) {
    ConfigParam c = test::RawConfig({4, 2, 4, 2});
    c.mInputFileName = scratch.Write("in", test::NumberedPictures(2, 12));
    NV12StreamParser fresh;
    fresh.SetConfig(c);
    LogCapture logs;
    auto graphic = test::MakeGraphicBuffer(8192);
    EXPECT_EQ(fresh.Process(nullptr), -2);
    EXPECT_EQ(fresh.Process(graphic), -3);
    ASSERT_EQ(fresh.Init(), 0);
    EXPECT_EQ(fresh.Process(graphic), -2);  // GetBufferLength not called yet
    ASSERT_EQ(fresh.GetBufferLength(), 8192u);
    EXPECT_EQ(fresh.Process(test::MakeLinearBuffer(8192)), -4);
    EXPECT_EQ(fresh.Process(test::MakeGraphicBuffer(4096)), -2);
    EXPECT_EQ(fresh.frameCount(), 0u);
    EXPECT_TRUE(logs.HasAll(6, kCoreTag, {"buffer == nullptr : Line# 38", "mState != STATE::RUNNING : Line# 39",
                                          "mFileBufferSize == 0 : Line# 43", "buffer->isGraphic() == false : Line# 40",
                                          "buffer->capacity() < ( mBufferSize * mConfigParam.mSuperFrame) : Line# 42"}));
    EXPECT_EQ(fresh.Seek(), -1);
    EXPECT_TRUE(logs.Has(6, kCoreTag, "Error. Seek Unsupported for Uncompressed formats"));
    EXPECT_EQ(fresh.Process(graphic), 0);
    EXPECT_EQ(test::PictureNumber(*graphic), 0);
}

TEST_F(ReaderCore, InitFailures) {
    LogCapture logs;
    ConfigParam c = test::RawConfig({4, 2, 4, 2});
    c.mInputFileName = scratch.File("missing");
    NV12StreamParser missing, empty;
    missing.SetConfig(c);
    EXPECT_EQ(missing.Init(), -1);
    EXPECT_EQ(missing.state(), STATE::CONFIGURED);
    c.mInputFileName = scratch.Write("empty", "");
    empty.SetConfig(c);
    EXPECT_EQ(empty.Init(), -4);
    EXPECT_TRUE(logs.HasAll(6, kCoreTag, {"mInputFile.is_open() == false : Line# 23", "mFileSize == 0 : Line# 29"}));
}

TEST_F(ReaderCore, DeInitResetsAndReInitStartsOver) {
    Open(3, 0);
    SetRate(25);
    PlayAll();
    EXPECT_EQ(reader->DeInit(), 0);
    EXPECT_EQ(reader->DeInit(), 0);
    EXPECT_FALSE(reader->sawEOS());
    EXPECT_EQ(reader->bufferSize() + reader->frameCount(), 0u);
    EXPECT_EQ(reader->timestamp(), 0.0f);
    EXPECT_EQ(reader->timestampDelta(), 33333.0f);
    EXPECT_EQ(reader->state(), STATE::RUNNING);
    ASSERT_EQ(reader->Init(), 0);
    ASSERT_NE(reader->GetBufferLength(), 0u);
    EXPECT_EQ(Next(), 0);
}

// The P210 reader counts fewer bytes a picture than it reads, so a file that
// ends inside a row is read into.
TEST(ReaderCoreFailures, ShortReadFailsProcessAndKeepsTimestamp) {
    test::ScratchDir dir;
    ConfigParam c = test::RawConfig({4, 2, 4, 2});
    c.mInputFileName = dir.Write("in.p210", std::string(20, 'x'));  // counted as 18 a picture
    P210StreamParser reader;
    auto buffer = test::MakeGraphicBuffer(test::Start(reader, c));
    LogCapture logs;
    EXPECT_EQ(reader.Process(buffer), -1);
    EXPECT_TRUE(logs.Has(6, "Tessaro::Impl::StreamParser::UnCompressed::P210", "Error. Fail to read Input File."));
    EXPECT_TRUE(logs.Has(6, kCoreTag, "ReadfromInputFile(buffer) != TS_OK : Line# 114"));
    EXPECT_EQ(reader.frameCount(), 1u);
    EXPECT_EQ(reader.timestamp(), 0.0f);
}

// ---- what every reader and generator shares ---------------------------------

struct RawCase {
    const char* name;
    std::function<std::unique_ptr<StreamParserUncompressed>()> make;
    const char* tag;
    int stateLine;      // the two geometry checks follow it
    bool checksStride;  // stride and scanlines are checked, else width and height
    int nullLine, vaddrLine;
    uint32_t pictureSize, fileBufferSize;  // for 33x17 in 200x100
};

void PrintTo(const RawCase& c, std::ostream* os) { *os << c.name; }

template <typename T>
std::function<std::unique_ptr<StreamParserUncompressed>()> Make() {
    return [] { return std::make_unique<T>(); };
}

#define TAG(x) "Tessaro::Impl::StreamParser::UnCompressed::" x
const RawCase kRawCases[] = {
    {"NV12", Make<NV12StreamParser>(), TAG("NV12"), 66, true, 18, 25, 49152, 858},
    {"YV12", Make<YV12StreamParser>(), TAG("YV12"), 67, false, 20, 27, 867, 833},
    {"P010", Make<P010StreamParser>(), TAG("P010"), 66, true, 18, 25, 98304, 1716},
    {"P210", Make<P210StreamParser>(), TAG("P210"), 66, true, 18, 25, 131072, 1139},
    {"RGBA32", Make<RGBA32StreamParser>(), TAG("RGBA32"), 78, true, 18, 25, 114688, 2244},
    {"RGBA1010102", Make<RGBA1010102StreamParser>(), TAG("RGBA32"), 99, true, 18, 25, 114688, 4488},
    {"RGBAFP16", Make<RGBAFP16StreamParser>(), TAG("RGBA32"), 120, true, 48, 55, 200704, 2244},
    {"NV12Tiled", Make<NV12MOSAStreamParser>(), TAG("NV12_MOSA"), 45, false, 18, 25, 16384, 16384},
    {"RX10Tiled", Make<RX10MOSAStreamParser>(), TAG("NV12_MOSA"), 66, false, 18, 25, 16384, 16384},
    {"NV12TiledInterlace", Make<NV12MOSAInterlaceStreamParser>(), TAG("NV12_MOSA"), 87, false, 18, 25, 32768, 32768},
    {"P210Tiled", Make<P210MOSAStreamParser>(), TAG("P210MOSA"), 45, false, 18, 25, 16384, 16384},
    {"RGBA32Tiled", Make<RGBA32MOSAStreamParser>(), TAG("RGBA32_MOSA"), 45, true, 18, 25, 106496, 106496},
    {"RGBA1010102Tiled", Make<RGBA1010102MOSAStreamParser>(), TAG("RGBA32_MOSA"), 66, true, 18, 25, 106496, 106496},
    {"PatternNV12", Make<NV12PatternGenerator>(), TAG("Pattern"), 148, true, 86, 93, 49152, 0},
    {"PatternP010", Make<P010PatternGenerator>(), TAG("Pattern"), 231, true, 168, 175, 98304, 0},
    {"PatternP210", Make<P210PatternGenerator>(), TAG("Pattern"), 312, true, 251, 258, 131072, 0},
    {"PatternRGBA32", Make<RGBA32PatternGenerator>(), TAG("Pattern"), 378, false, 333, 340, 114688, 0},
    {"PatternRGBA1010102", Make<RGBA1010102PatternGenerator>(), TAG("Pattern"), 398, true, 333, 340, 114688, 0},
};

class RawProducer : public ::testing::TestWithParam<RawCase> {
protected:
    std::unique_ptr<StreamParserUncompressed> Start(const test::Geometry& g, uint32_t superFrame = 1) {
        ConfigParam c = test::RawConfig(g, 1, superFrame);
        c.mInputFileName = file;
        auto producer = GetParam().make();
        size = test::Start(*producer, c);
        return producer;
    }
    test::ScratchDir scratch;
    const std::string file = scratch.Write("in", std::string(1 << 20, 'x'));
    uint32_t size = 0;
};

// The size is asked for while running, holds until DeInit and is logged; a
// missing geometry field gives 0; the failed checks are logged with their lines.
TEST_P(RawProducer, SizesChecksAndLines) {
    const RawCase& rc = GetParam();
    LogCapture logs;
    EXPECT_EQ(rc.make()->GetBufferLength(), 0u);
    auto producer = Start({33, 17, 200, 100}, 2);
    EXPECT_EQ(size, 2 * rc.pictureSize);
    EXPECT_EQ(producer->fileBufferSize(), rc.fileBufferSize);
    EXPECT_TRUE(logs.Has(4, rc.tag, "Buffer length = " + std::to_string(2 * rc.pictureSize)));
    ConfigParam wider{};
    wider.mStride = wider.mWidth = 1024;
    wider.mSuperFrame = 2;
    producer->SetConfig(wider);
    EXPECT_EQ(producer->GetBufferLength(), 2 * rc.pictureSize);

    // The field that is not checked is set, so only the checked one can fail.
    for (const test::Geometry& g : rc.checksStride ? std::vector<test::Geometry>{{16, 8, 0, 8}, {16, 8, 16, 0}}
                                                   : std::vector<test::Geometry>{{0, 8, 16, 8}, {16, 0, 16, 8}}) {
        Start(g);
        EXPECT_EQ(size, 0u);
    }
    EXPECT_EQ(producer->ReadfromInputFile(nullptr), -4);
    EXPECT_EQ(producer->ReadfromInputFile(test::MakeUnmappedBuffer(4096, 1)), -2);
    const std::string width = rc.checksStride ? "mConfigParam.mStride == 0" : "mConfigParam.mWidth == 0";
    const std::string height = rc.checksStride ? "mConfigParam.mScanlines == 0" : "mConfigParam.mHeight == 0";
    EXPECT_TRUE(logs.HasAll(6, rc.tag, {CheckLine("mState != STATE::RUNNING", rc.stateLine), CheckLine(width, rc.stateLine + 1),
                                        CheckLine(height, rc.stateLine + 2), CheckLine("buffer == nullptr", rc.nullLine),
                                        CheckLine("vaddr == nullptr", rc.vaddrLine)}));
}

INSTANTIATE_TEST_SUITE_P(Producers, RawProducer, ::testing::ValuesIn(kRawCases),
                         [](const auto& param) { return std::string(param.param.name); });

}  // namespace
}  // namespace tessaro
