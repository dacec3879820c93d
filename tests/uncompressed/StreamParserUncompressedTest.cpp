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

    test::ScratchDir scratch;
    std::unique_ptr<NV12StreamParser> reader;
    std::shared_ptr<Buffer> buffer;
};

// The turn at the file end steps back two positions: no picture repeats.
TEST_F(ReaderCore, PlaysBackAndForth) {
    Open(3, 9);
    LogCapture logs;
    EXPECT_EQ(PlayAll(), (std::vector<int>{0, 1, 2, 1, 0, 1, 2, 1, 0}));
    EXPECT_EQ(logs.Count(4, kCoreTag, "Reached file end. Change the reading dir. to Backward"), 2u);
    EXPECT_EQ(logs.Count(4, kCoreTag, "Reached file start. Change the reading dir. to Forward"), 2u);
    EXPECT_TRUE(logs.Contains(4, kCoreTag, "Last Frame[9] to Process. Adding EOS Flag"));
    Open(2, 5);
    EXPECT_EQ(PlayAll(), (std::vector<int>{0, 1, 0, 1, 0}));
}

TEST_F(ReaderCore, EndOfStreamRulesAndStickyEos) {
    struct Case {
        uint32_t pictures, frames, superFrame, tail;
        std::vector<int> order;  // first picture of each delivered buffer
    } cases[] = {
        {3, 0, 1, 0, {0, 1, 2}},  // the whole file
        {3, 0, 1, 5, {0, 1, 2}},  // a trailing partial picture is never read
        {3, 2, 1, 0, {0, 1}},     // fewer frames than the file holds
        {5, 0, 2, 0, {0, 2}},     // the last step of two pictures is partial
        {1, 0, 1, 0, {0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.pictures << " pictures, frames " << c.frames);
        Open(c.pictures, c.frames, c.superFrame, c.tail);
        LogCapture logs;
        EXPECT_EQ(PlayAll(), c.order);
        const std::string last = "Last Frame[" + std::to_string(c.order.size()) + "] to Process. Adding EOS Flag";
        EXPECT_TRUE(logs.Contains(4, kCoreTag, last));
        EXPECT_EQ(Next(), -1);
        EXPECT_EQ(buffer->mFlags, Buffer::FLAG_EOS);
        EXPECT_TRUE(logs.Contains(4, kCoreTag, "Already Saw EOS. Return"));
    }
}

TEST_F(ReaderCore, TimestampsRoundHalfAwayFromZero) {
    Open(2, 6);
    EXPECT_EQ((std::vector<int>{Next(), Next()}), (std::vector<int>{0, 1}));
    EXPECT_EQ(buffer->mTimestamp, 33333u);  // 30 frames a second by default
    Open(2, 6);
    ConfigParam rate{};
    rate.mFrameRateNum = 2000000;  // half a microsecond a frame
    rate.mFrameRateDen = 1;
    reader->SetConfig(rate);
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
    ConfigParam change{};
    change.mSuperFrame = 10;
    change.mFrameRateNum = 1000000;
    change.mFrameRateDen = 1;
    reader->SetConfig(change);
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
    for (const char* f : {"buffer == nullptr : Line# 38", "mState != STATE::RUNNING : Line# 39",
                          "mFileBufferSize == 0 : Line# 43", "buffer->isGraphic() == false : Line# 40",
                          "buffer->capacity() < ( mBufferSize * mConfigParam.mSuperFrame) : Line# 42"}) {
        EXPECT_TRUE(logs.Contains(6, kCoreTag, f)) << f;
    }
    EXPECT_EQ(fresh.Seek(), -1);
    EXPECT_TRUE(logs.Contains(6, kCoreTag, "Error. Seek Unsupported for Uncompressed formats"));
    EXPECT_EQ(fresh.Process(graphic), 0);
    EXPECT_EQ(test::PictureNumber(*graphic), 0);
}

TEST_F(ReaderCore, InitFailures) {
    LogCapture logs;
    ConfigParam c = test::RawConfig({4, 2, 4, 2});
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
}

TEST_F(ReaderCore, DeInitResetsAndReInitStartsOver) {
    Open(3, 0);
    ConfigParam rate{};
    rate.mFrameRateNum = 25;
    rate.mFrameRateDen = 1;
    reader->SetConfig(rate);
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
    EXPECT_TRUE(logs.Contains(6, "Tessaro::Impl::StreamParser::UnCompressed::P210", "Error. Fail to read Input File."));
    EXPECT_TRUE(logs.Contains(6, kCoreTag, "ReadfromInputFile(buffer) != TS_OK : Line# 114"));
    EXPECT_EQ(reader.frameCount(), 1u);
    EXPECT_EQ(reader.timestamp(), 0.0f);
}

}  // namespace
}  // namespace tessaro
