// Seeking through SetConfig on a parser whose frames are scripted: which frame
// a seek reaches, what the next buffer carries, and how the frame limit counts.
#include <gtest/gtest.h>

#include "compressed/ScriptedParser.h"
#include "compressed/StreamParserCompressed.h"
#include "support/LogCapture.h"

namespace tessaro {
namespace {

using test::Deliver;

constexpr const char* kCoreTag = "Tessaro::Impl::StreamParser::Compressed";
constexpr const char* kImplTag = "Tessaro::Impl";
constexpr const char* kSeekFailed = "Seek() != TS_OK : Line# 139";
constexpr uint32_t C = StreamParserCompressed::FRAME_TYPE_CODEC_CONFIG;
constexpr uint32_t S = StreamParserCompressed::FRAME_TYPE_SYNC;
constexpr uint32_t N = StreamParserCompressed::FRAME_TYPE_NON_SYNC;

// Ten frames of one 6-byte picture each; sync frames at 1 and 6, each with a
// 2-byte codec-config unit in front. Unit values: frame 1 is 1 and 2, frame
// 2 is 3, ..., frame 6 is 7 and 8, frame 7 is 9, ..., frame 10 is 12.
std::vector<test::FrameDef> TenFrames() {
    std::vector<test::FrameDef> frames(10, test::FrameDef{{N, 6}});
    frames[0] = frames[5] = {{C, 2}, {S, 6}};
    return frames;
}

class Seek : public ::testing::Test {
protected:
    void Start(std::vector<test::FrameDef> script, const char* config = "") {
        parser = std::make_unique<test::ScriptedParser>(dir, std::move(script), config);
        ASSERT_EQ(parser->Init(), TS_OK);
    }
    // Requests a seek through SetConfig; returns its status, leaves the record in request.
    int32_t Request(uint32_t mode, uint32_t frame) {
        request = ConfigParam{};
        request.mSeekMode = mode;
        request.mSeekFrame = frame;
        return parser->SetConfig(request);
    }
    std::string Next() { return Deliver(*parser); }
    void ExpectSeekCleared() {
        EXPECT_FALSE(parser->isSeekSet());
        EXPECT_EQ(parser->config().mSeekMode + parser->config().mSeekFrame + parser->config().mSeekedFrame, 0u);
    }

    test::ScratchDir dir;
    std::unique_ptr<test::ScriptedParser> parser;
    ConfigParam request;
};

TEST_F(Seek, SyncFrameSearchForwardThenBackward) {
    const struct {
        uint32_t requested, reached;  // reached 0: the seek fails
        bool searchedBackward;
    } cases[] = {{1, 1, false}, {4, 6, false}, {6, 6, false}, {8, 6, true}, {9, 6, true},
                 // The last frame is never examined, so a seek to it finds nothing.
                 {10, 0, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE("seek to " + std::to_string(c.requested));
        Start(TenFrames());
        test::LogCapture logs;
        const int32_t status = Request(1, c.requested);
        const std::string backward = "No IDR at/after seekpoint" + std::string(21, ' ') + "Frame[" +
                                     std::to_string(c.requested) + "] checking Backwards";
        EXPECT_EQ(logs.Contains(4, kCoreTag, backward), c.searchedBackward) << logs.Dump();
        EXPECT_TRUE(logs.Has(4, kCoreTag, "Processing IDR Seek"));
        EXPECT_EQ(status, c.reached ? TS_OK : TS_ERROR);
        EXPECT_EQ(request.mSeekedFrame, c.reached) << "written back only on success";
        EXPECT_EQ(parser->fetchContent().bufferInfo.frameNum, c.reached ? c.reached : 1);
        EXPECT_EQ(parser->frameCount(), c.reached ? c.reached : 1);
        EXPECT_EQ(parser->isSeekSet(), c.reached != 0);
        if (c.reached == 0) {
            EXPECT_TRUE(logs.Has(6, kCoreTag, "mIsSeekSet == false : Line# 612"));
            EXPECT_TRUE(logs.Has(6, kImplTag, kSeekFailed));
        } else {
            EXPECT_TRUE(logs.Has(4, kCoreTag, "Nearest IDR was found at Frame[" + std::to_string(c.reached) + "]"));
            EXPECT_TRUE(logs.Has(4, kImplTag, "Successfully Seeked to Frame " + std::to_string(c.reached)));
        }
    }
}

// Config of frames 1, 4 and 6 go in front of frame 7 as it is (its config and
// picture); then delivery goes on as usual, without a prelude.
TEST_F(Seek, ExactSeekPrependsEveryEarlierCodecConfigUnit) {
    std::vector<test::FrameDef> script = TenFrames();
    script[3] = script[6] = {{C, 2}, {N, 6}};  // values: frame 4 is 5 and 6, frame 6 is 8 and 9, frame 7 is 10 and 11
    Start(script);
    test::LogCapture logs;
    ASSERT_EQ(Request(2, 7), TS_OK);
    EXPECT_TRUE(logs.HasAll(4, kCoreTag, {"Seek", "seekToFrame[7]  Parsed Frames[0]", "Processing Non-IDR Seek"}));
    EXPECT_EQ(request.mSeekedFrame, 7u);
    EXPECT_EQ(parser->GetBufferLength(), 14u);
    EXPECT_TRUE(logs.Has(4, kCoreTag, "Total length of SEQ_HEADER before Seekpoint = 6"));
    EXPECT_EQ(Next(), "1:2 5:2 8:2 10:2 11:6 t7 end");
    EXPECT_TRUE(logs.Has(4, kCoreTag, "Total length of SEQ_HEADER before Seekpoint = 0"));
    ExpectSeekCleared();
    EXPECT_EQ(Next(), "12:6 t8 end");
}

TEST_F(Seek, RefusedRequests) {
    Start(TenFrames(), "frames=10");
    test::LogCapture logs;
    EXPECT_EQ(Request(1, 11), TS_ERROR);
    EXPECT_TRUE(logs.Has(6, kCoreTag, "Error. seekToFrame[11] is greater than Parsed Frames[10]"));
    EXPECT_TRUE(logs.Has(6, kImplTag, kSeekFailed));
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
    std::vector<test::FrameDef> script(10, test::FrameDef{{N, 6}});
    script[0] = script[8] = {{S, 6}};
    Start(script);
    parser->DropFrame(7);
    test::LogCapture logs;
    ASSERT_EQ(Request(1, 5), TS_OK);
    EXPECT_TRUE(logs.Has(6, kCoreTag, "Error. Missing Frame in Offset Table.."));
    EXPECT_EQ(request.mSeekedFrame, 1u);
}

// The frame limit counts from the target; at the end of the stream a pending
// seek is dropped and the end stays.
TEST_F(Seek, FrameLimitAndTheEndOfTheStream) {
    Start(TenFrames(), "frames=10");
    ASSERT_EQ(Request(2, 8), TS_OK);
    EXPECT_EQ(Next(), "1:2 7:2 10:6 t8 end");
    EXPECT_EQ(Next(), "11:6 t9 end");
    EXPECT_EQ(Next(), "12:6 t10 EOS end");
    test::LogCapture logs;
    EXPECT_EQ(Next(), "t99 EOS");
    EXPECT_TRUE(logs.Has(4, kCoreTag, "Already reached EOS."));
    ASSERT_EQ(Request(2, 5), TS_OK);  // a seek does not undo the end of the stream
    ASSERT_TRUE(parser->isSeekSet());
    EXPECT_EQ(Next(), "t99 EOS");
    ExpectSeekCleared();
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
