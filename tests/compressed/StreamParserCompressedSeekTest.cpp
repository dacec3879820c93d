// Seeking through SetConfig on a parser whose frames are scripted: which frame
// a seek reaches, what the next buffer carries, and how the frame limit counts.
#include <gtest/gtest.h>

#include "compressed/ScriptedParser.h"
#include "compressed/StreamParserCompressed.h"
#include "support/ClientBuffer.h"
#include "support/LogCapture.h"

namespace tessaro {
namespace {

constexpr const char* kCoreTag = "Tessaro::Impl::StreamParser::Compressed";
constexpr const char* kImplTag = "Tessaro::Impl";

using test::ScriptedParser;

constexpr uint32_t kConfig = StreamParserCompressed::FRAME_TYPE_CODEC_CONFIG;
constexpr uint32_t kSync = StreamParserCompressed::FRAME_TYPE_SYNC;
constexpr uint32_t kNonSync = StreamParserCompressed::FRAME_TYPE_NON_SYNC;

// Ten frames of one 6-byte picture each; sync frames at 1 and 6, each with a
// 2-byte codec-config unit in front.
std::vector<test::FrameDef> TenFrames() {
    std::vector<test::FrameDef> frames(10, test::FrameDef{{kNonSync, 6}});
    frames[0] = {{kConfig, 2}, {kSync, 6}};
    frames[5] = {{kConfig, 2}, {kSync, 6}};
    return frames;
}

class Seek : public ::testing::Test {
protected:
    void Start(std::vector<test::FrameDef> script, uint32_t frames = 0) {
        parser = std::make_unique<ScriptedParser>(dir, std::move(script));
        ConfigParam config;
        config.mFrames = frames;
        ASSERT_EQ(parser->SetConfig(config), TS_OK);
        ASSERT_EQ(parser->Init(), TS_OK);
    }
    // Requests a seek through SetConfig; returns its status, leaves the record in request.
    int32_t Request(uint32_t mode, uint32_t frame) {
        request = ConfigParam{};
        request.mSeekMode = mode;
        request.mSeekFrame = frame;
        return parser->SetConfig(request);
    }
    // The bytes of unit u of frame f (both 1-based here).
    std::string UnitBytes(size_t f, size_t u) const {
        int value = 1;  // units are filled with 1, 2, 3, ... in file order
        for (size_t i = 0; i + 1 < f; ++i) value += static_cast<int>(parser->mFrames[i].size());
        value += static_cast<int>(u) - 1;
        return std::string(parser->mFrames[f - 1][u - 1].length, static_cast<char>(value));
    }
    // Delivers the next buffer and returns its bytes.
    std::string Next(int32_t expected = TS_OK) {
        const uint32_t needed = parser->GetBufferLength();
        buffer = test::MakeLinearBuffer(needed == 0 ? 16 : needed);
        EXPECT_EQ(parser->Process(buffer), expected);
        const auto valid = test::ReadValid(*buffer);
        return std::string(valid.begin(), valid.end());
    }

    test::ScratchDir dir;
    std::unique_ptr<ScriptedParser> parser;
    ConfigParam request;
    std::shared_ptr<Buffer> buffer;
};

TEST_F(Seek, SyncFrameSearchForwardThenBackward) {
    const std::string noSyncAfter(std::string("No IDR at/after seekpoint") + std::string(21, ' ') +
                                  "Frame[%u] checking Backwards");
    struct Case {
        uint32_t requested;
        uint32_t reached;  // 0: the seek fails
        bool searchedBackward;
    } cases[] = {
        {1, 1, false},
        {4, 6, false},
        {6, 6, false},
        {8, 6, true},
        {9, 6, true},
        // The last frame is never examined, so a seek to it finds nothing.
        {10, 0, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE("seek to " + std::to_string(c.requested));
        Start(TenFrames());
        test::LogCapture logs;
        const int32_t status = Request(1, c.requested);
        char backward[128];
        snprintf(backward, sizeof(backward), noSyncAfter.c_str(), c.requested);
        EXPECT_EQ(logs.Contains(4, kCoreTag, backward), c.searchedBackward) << logs.Dump();
        EXPECT_TRUE(logs.Has(4, kCoreTag, "Processing IDR Seek"));
        if (c.reached == 0) {
            EXPECT_EQ(status, TS_ERROR);
            EXPECT_TRUE(logs.Has(6, kCoreTag, "mIsSeekSet == false : Line# 612"));
            EXPECT_TRUE(logs.Has(6, kImplTag, "Seek() != TS_OK : Line# 139"));
            EXPECT_EQ(request.mSeekedFrame, 0u);  // not written back
            EXPECT_EQ(parser->fetchContent().bufferInfo.frameNum, 1u);
            EXPECT_EQ(parser->frameCount(), 1u);
            continue;
        }
        EXPECT_EQ(status, TS_OK);
        EXPECT_EQ(request.mSeekedFrame, c.reached);
        EXPECT_EQ(parser->fetchContent().bufferInfo.frameNum, c.reached);
        EXPECT_EQ(parser->frameCount(), c.reached);
        EXPECT_TRUE(parser->isSeekSet());
        EXPECT_TRUE(logs.Has(4, kCoreTag, "Nearest IDR was found at Frame[" + std::to_string(c.reached) + "]"));
        EXPECT_TRUE(logs.Has(4, kImplTag, "Successfully Seeked to Frame " + std::to_string(c.reached)));
    }
}

TEST_F(Seek, ExactSeekPrependsEveryEarlierCodecConfigUnit) {
    std::vector<test::FrameDef> script = TenFrames();
    script[3] = {{kConfig, 2}, {kNonSync, 6}};  // frame 4 carries codec config too
    script[6] = {{kConfig, 2}, {kNonSync, 6}};  // and frame 7, the target
    Start(script);
    test::LogCapture logs;
    ASSERT_EQ(Request(2, 7), TS_OK);
    EXPECT_TRUE(logs.HasAll(4, kCoreTag, {"Seek", "seekToFrame[7]  Parsed Frames[0]", "Processing Non-IDR Seek"}));
    EXPECT_EQ(request.mSeekedFrame, 7u);

    // Config of frames 1, 4 and 6, then frame 7 as it is (its config and picture).
    const std::string expected =
        UnitBytes(1, 1) + UnitBytes(4, 1) + UnitBytes(6, 1) + UnitBytes(7, 1) + UnitBytes(7, 2);
    EXPECT_EQ(parser->GetBufferLength(), expected.size());
    EXPECT_TRUE(logs.Has(4, kCoreTag, "Total length of SEQ_HEADER before Seekpoint = 6"));
    EXPECT_EQ(Next(), expected);
    EXPECT_TRUE(logs.Has(4, kCoreTag, "Total length of SEQ_HEADER before Seekpoint = 0"));
    EXPECT_EQ(buffer->mTimestamp, 7000000u);
    EXPECT_FALSE(parser->isSeekSet());
    EXPECT_EQ(parser->config().mSeekMode + parser->config().mSeekFrame + parser->config().mSeekedFrame, 0u);
    EXPECT_EQ(Next(), UnitBytes(8, 1));  // then on as usual, without a prelude
}

TEST_F(Seek, RefusedRequests) {
    Start(TenFrames(), 10);
    test::LogCapture logs;
    EXPECT_EQ(Request(1, 11), TS_ERROR);
    EXPECT_TRUE(logs.Has(6, kCoreTag, "Error. seekToFrame[11] is greater than Parsed Frames[10]"));
    EXPECT_TRUE(logs.Has(6, kImplTag, "Seek() != TS_OK : Line# 139"));
    EXPECT_EQ(request.mSeekedFrame, 0u);

    // Frame 0 never reaches Seek through SetConfig; called directly it is
    // refused with the same message.
    parser->Config().mSeekMode = 2;
    parser->Config().mSeekFrame = 0;
    EXPECT_EQ(parser->Seek(), TS_ERROR);
    EXPECT_TRUE(logs.Has(6, kCoreTag, "Error. seekToFrame[0] is greater than Parsed Frames[10]"));

    // A frame that is not indexed.
    parser->DropFrame(3);
    EXPECT_EQ(Request(2, 3), TS_ERROR);
    EXPECT_TRUE(logs.Has(6, kCoreTag, "(mFrameOffsetTable.find(seekToFrame) == mFrameOffsetTable.end()) : Line# 583"));
    EXPECT_EQ(parser->fetchContent().bufferInfo.frameNum, 1u);
    EXPECT_FALSE(parser->isSeekSet());
}

TEST_F(Seek, SearchStopsAtAGapAndTurnsBack) {
    std::vector<test::FrameDef> script(10, test::FrameDef{{kNonSync, 6}});
    script[0] = {{kSync, 6}};
    script[8] = {{kSync, 6}};
    Start(script);
    parser->DropFrame(7);
    test::LogCapture logs;
    ASSERT_EQ(Request(1, 5), TS_OK);
    EXPECT_TRUE(logs.Has(6, kCoreTag, "Error. Missing Frame in Offset Table.."));
    EXPECT_EQ(request.mSeekedFrame, 1u);
}

TEST_F(Seek, FrameLimitCountsFromTheTarget) {
    Start(TenFrames(), 10);
    ASSERT_EQ(Request(2, 8), TS_OK);
    Next();
    EXPECT_EQ(Next(), UnitBytes(9, 1));
    EXPECT_EQ(Next(), UnitBytes(10, 1));
    EXPECT_EQ(buffer->mFlags & Buffer::FLAG_EOS, Buffer::FLAG_EOS);
    test::LogCapture logs;
    EXPECT_EQ(Next(), "");
    EXPECT_TRUE(logs.Has(4, kCoreTag, "Already reached EOS."));
}

TEST_F(Seek, PendingSeekIsDroppedOnceTheStreamHasEnded) {
    Start(TenFrames());
    for (int i = 0; i < 10; ++i) Next();
    ASSERT_TRUE(parser->sawEOS());    // the last unit of the file was delivered
    ASSERT_EQ(Request(2, 5), TS_OK);  // a seek does not undo the end of the stream
    ASSERT_TRUE(parser->isSeekSet());
    test::LogCapture logs;
    EXPECT_EQ(Next(), "");
    EXPECT_EQ(buffer->mFlags, Buffer::FLAG_EOS);
    EXPECT_TRUE(logs.Has(4, kCoreTag, "Already reached EOS."));
    EXPECT_FALSE(parser->isSeekSet());
    EXPECT_EQ(parser->config().mSeekMode + parser->config().mSeekFrame, 0u);
}

// A second sync-frame seek before any Process finds the flag of the first one
// still set, so the requested frame itself is taken without a look at its units.
TEST_F(Seek, SecondSyncSeekWhilePendingTakesTheRequestedFrame) {
    Start(TenFrames());
    ASSERT_EQ(Request(1, 4), TS_OK);
    EXPECT_EQ(request.mSeekedFrame, 6u);
    test::LogCapture logs;
    ASSERT_EQ(Request(1, 3), TS_OK);
    EXPECT_EQ(request.mSeekedFrame, 3u);
    EXPECT_TRUE(logs.Has(4, kCoreTag, "Nearest IDR was found at Frame[3]"));
}

}  // namespace
}  // namespace tessaro
