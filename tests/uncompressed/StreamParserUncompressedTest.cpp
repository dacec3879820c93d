// The raw reader core, driven through the NV12 reader with tiny pictures: a
// 4x2 picture is 12 bytes in the file, so files of a few pictures exercise
// every turning point and end-of-stream rule.
#include "uncompressed/StreamParserUncompressed.h"

#include <gtest/gtest.h>

#include "support/LogCapture.h"
#include "uncompressed/NV12StreamParser.h"
#include "uncompressed/P210StreamParser.h"
#include "uncompressed/RawTestSupport.h"

namespace tessaro {
namespace {

using test::LogCapture;
using test::MakeGraphicBuffer;
using test::NumberedPictures;
using test::PictureNumber;

constexpr const char* kCoreTag = "Tessaro::Impl::StreamParser::Uncompressed";
constexpr test::Geometry kTiny{4, 2, 4, 2};
constexpr uint32_t kTinyPicture = 12;

struct Delivery {
    int picture;  // -1 for an empty buffer
    uint64_t timestamp;
    uint32_t flags;
};

class ReaderCore : public ::testing::Test {
protected:
    // Starts an NV12 reader on `pictures` numbered pictures plus `tail` bytes.
    uint32_t Open(uint32_t pictures, uint32_t frames, uint32_t superFrame = 1, uint32_t tail = 0) {
        std::string bytes = NumberedPictures(pictures, kTinyPicture) + std::string(tail, '\x7f');
        ConfigParam c = test::RawConfig(kTiny, frames, superFrame);
        c.mInputFileName = scratch.Write("in.nv12", bytes);
        reader = std::make_unique<NV12StreamParser>();  // SetConfig never clears mFrames
        const uint32_t length = test::Start(*reader, c);
        buffer = MakeGraphicBuffer(length);
        return length;
    }

    Delivery Next() {
        buffer->mFlags = 0;
        EXPECT_EQ(reader->Process(buffer), 0);
        const int picture = buffer->mLength == 0 ? -1 : PictureNumber(*buffer);
        return {picture, buffer->mTimestamp, buffer->mFlags};
    }

    std::vector<int> PlayAll(size_t limit = 64) {
        std::vector<int> order;
        for (size_t i = 0; i < limit; ++i) {
            const Delivery d = Next();
            if (d.picture >= 0) order.push_back(d.picture);
            if (d.flags & Buffer::FLAG_EOS) break;
        }
        return order;
    }

    test::ScratchDir scratch;
    std::unique_ptr<NV12StreamParser> reader;
    std::shared_ptr<Buffer> buffer;
};

TEST_F(ReaderCore, PlaysBackAndForthWithoutRepeatingTurningPictures) {
    Open(3, 9);
    LogCapture logs;
    EXPECT_EQ(PlayAll(), (std::vector<int>{0, 1, 2, 1, 0, 1, 2, 1, 0}));
    EXPECT_EQ(logs.Count(4, kCoreTag, "Reached file end. Change the reading dir. to Backward"), 2u);
    EXPECT_EQ(logs.Count(4, kCoreTag, "Reached file start. Change the reading dir. to Forward"), 2u);
    EXPECT_TRUE(logs.Contains(4, kCoreTag, "Last Frame[9] to Process. Adding EOS Flag"));
}

TEST_F(ReaderCore, TwoPictureFileAlternates) {
    Open(2, 6);
    EXPECT_EQ(PlayAll(), (std::vector<int>{0, 1, 0, 1, 0, 1}));
}

TEST_F(ReaderCore, EndOfStreamRules) {
    struct Case {
        const char* name;
        uint32_t pictures, frames, superFrame, tail;
        std::vector<int> order;  // first picture of each delivered buffer
    };
    const Case cases[] = {
        {"whole file, frames 0", 3, 0, 1, 0, {0, 1, 2}},
        {"trailing partial picture never read", 3, 0, 1, 5, {0, 1, 2}},
        {"frames below the file", 3, 2, 1, 0, {0, 1}},
        {"super-frame, partial last step", 5, 0, 2, 0, {0, 2}},
        {"one picture", 1, 0, 1, 0, {0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Open(c.pictures, c.frames, c.superFrame, c.tail);
        EXPECT_EQ(PlayAll(), c.order);
        EXPECT_TRUE(reader->sawEOS());
        LogCapture logs;
        const Delivery after = Next();
        EXPECT_EQ(after.picture, -1);
        EXPECT_EQ(after.flags, Buffer::FLAG_EOS);
        EXPECT_TRUE(logs.Contains(4, kCoreTag, "Already Saw EOS. Return"));
    }
}

TEST_F(ReaderCore, SinglePictureFileFlagsFrameOne) {
    Open(1, 0);
    LogCapture logs;
    const Delivery d = Next();
    EXPECT_EQ(d.flags, Buffer::FLAG_EOS);
    EXPECT_TRUE(logs.Contains(4, kCoreTag, "Last Frame[1] to Process. Adding EOS Flag"));
}

TEST_F(ReaderCore, SuperFramePlacesPicturesOneBufferSizeApart) {
    const uint32_t length = Open(4, 0, 2);
    EXPECT_EQ(length, 2 * reader->bufferSize());
    Next();
    const auto bytes = test::ReadAll(*buffer);
    EXPECT_EQ(bytes[0] / 16 - 1, 0);
    EXPECT_EQ(bytes[reader->bufferSize()] / 16 - 1, 1);
    EXPECT_EQ(buffer->mLength, length);
}

TEST_F(ReaderCore, TimestampsRoundHalfAwayFromZeroAndAdvanceInSinglePrecision) {
    Open(2, 6);
    ConfigParam rate{};
    rate.mFrameRateNum = 2000000;  // half a microsecond a frame
    rate.mFrameRateDen = 1;
    reader->SetConfig(rate);
    std::vector<uint64_t> stamps;
    for (int i = 0; i < 6; ++i) stamps.push_back(Next().timestamp);
    EXPECT_EQ(stamps, (std::vector<uint64_t>{0, 1, 1, 2, 2, 3}));
}

TEST_F(ReaderCore, DefaultStepIsThirtyFramesASecond) {
    Open(2, 4);
    EXPECT_EQ(Next().timestamp, 0u);
    EXPECT_EQ(Next().timestamp, 33333u);
    EXPECT_EQ(Next().timestamp, 66666u);
}

TEST_F(ReaderCore, PreconditionsInOrderChangeNothing) {
    test::ScratchDir dir;
    ConfigParam c = test::RawConfig(kTiny);
    c.mInputFileName = dir.Write("in", NumberedPictures(2, kTinyPicture));
    NV12StreamParser fresh;
    fresh.SetConfig(c);
    LogCapture logs;
    auto graphic = MakeGraphicBuffer(8192);
    EXPECT_EQ(fresh.Process(nullptr), -2);
    EXPECT_EQ(fresh.Process(graphic), -3);  // not running yet
    ASSERT_EQ(fresh.Init(), 0);
    EXPECT_EQ(fresh.Process(graphic), -2);  // GetBufferLength not called
    ASSERT_EQ(fresh.GetBufferLength(), 8192u);
    EXPECT_EQ(fresh.Process(test::MakeLinearBuffer(8192)), -4);
    EXPECT_EQ(fresh.Process(MakeGraphicBuffer(4096)), -2);
    EXPECT_EQ(fresh.frameCount(), 0u);
    const std::vector<std::string> failures = {
        "buffer == nullptr : Line# 38", "mState != STATE::RUNNING : Line# 39",
        "mFileBufferSize == 0 : Line# 43", "buffer->isGraphic() == false : Line# 40",
        "buffer->capacity() < ( mBufferSize * mConfigParam.mSuperFrame) : Line# 42"};
    for (const std::string& f : failures) EXPECT_TRUE(logs.Contains(6, kCoreTag, f)) << f;
    EXPECT_EQ(fresh.Process(graphic), 0);
    EXPECT_EQ(fresh.frameCount(), 1u);
}

TEST_F(ReaderCore, InitFailures) {
    LogCapture logs;
    ConfigParam c = test::RawConfig(kTiny);
    c.mInputFileName = scratch.File("missing");
    NV12StreamParser missing;
    missing.SetConfig(c);
    EXPECT_EQ(missing.Init(), -1);
    EXPECT_TRUE(logs.Contains(6, kCoreTag, "mInputFile.is_open() == false : Line# 23"));
    EXPECT_EQ(missing.state(), STATE::CONFIGURED);

    c.mInputFileName = scratch.Write("empty", "");
    NV12StreamParser empty;
    empty.SetConfig(c);
    EXPECT_EQ(empty.Init(), -4);
    EXPECT_TRUE(logs.Contains(6, kCoreTag, "mFileSize == 0 : Line# 29"));
    EXPECT_EQ(empty.DeInit(), 0);
}

TEST_F(ReaderCore, DeInitResetsAndReInitStartsOver) {
    Open(3, 0);
    ConfigParam rate{};
    rate.mFrameRateNum = 25;
    rate.mFrameRateDen = 1;
    reader->SetConfig(rate);
    PlayAll();
    ASSERT_TRUE(reader->sawEOS());
    EXPECT_EQ(reader->DeInit(), 0);
    EXPECT_EQ(reader->DeInit(), 0);  // a second DeInit finds nothing open
    EXPECT_FALSE(reader->sawEOS());
    EXPECT_EQ(reader->bufferSize(), 0u);
    EXPECT_EQ(reader->frameCount(), 0u);
    EXPECT_EQ(reader->timestamp(), 0.0f);
    EXPECT_EQ(reader->timestampDelta(), 33333.0f);
    EXPECT_EQ(reader->state(), STATE::RUNNING);
    ASSERT_EQ(reader->Init(), 0);
    ASSERT_NE(reader->GetBufferLength(), 0u);
    EXPECT_EQ(Next().picture, 0);
}

TEST_F(ReaderCore, SeekIsRefused) {
    Open(2, 0);
    LogCapture logs;
    EXPECT_EQ(reader->Seek(), -1);
    EXPECT_TRUE(logs.Contains(6, kCoreTag, "Error. Seek Unsupported for Uncompressed formats"));
    EXPECT_EQ(Next().picture, 0);
}

// The P210 reader counts mHeight + 2 x mHeight x mWidth bytes a picture, less
// than the picture holds, so a file that ends inside a row is read into.
TEST(ReaderCoreFailures, ShortReadFailsProcessAndKeepsTimestamp) {
    test::ScratchDir dir;
    ConfigParam c = test::RawConfig(kTiny);
    c.mInputFileName = dir.Write("in.p210", std::string(20, '\x11'));  // counted as 18 a picture
    P210StreamParser reader;
    auto buffer = MakeGraphicBuffer(test::Start(reader, c));
    LogCapture logs;
    EXPECT_EQ(reader.Process(buffer), -1);
    EXPECT_TRUE(logs.Contains(6, "Tessaro::Impl::StreamParser::UnCompressed::P210",
                              "Error. Fail to read Input File."));
    EXPECT_TRUE(logs.Contains(6, kCoreTag, "ReadfromInputFile(buffer) != TS_OK : Line# 114"));
    EXPECT_EQ(reader.frameCount(), 1u);
    EXPECT_EQ(reader.timestamp(), 0.0f);
}

}  // namespace
}  // namespace tessaro
