// The codec-independent core: indexing limits, delivery sequences, the dry run
// and the failure paths, on a scripted scanner whose units are runs of one
// byte value each.
#include "compressed/StreamParserCompressed.h"

#include <gtest/gtest.h>

#include <sstream>

#include "ScriptedParser.h"
#include "support/ClientBuffer.h"
#include "support/LogCapture.h"

namespace tessaro {
namespace {

using test::FrameSpec;
using test::LogCapture;
using test::MakeLinearBuffer;
using test::ScratchDir;
using test::ScriptedParser;

constexpr const char* kTag = "Tessaro::Impl::StreamParser::Compressed";
constexpr uint32_t kConfig = StreamParserCompressed::FRAME_TYPE_CODEC_CONFIG;
constexpr uint32_t kSync = StreamParserCompressed::FRAME_TYPE_SYNC;
constexpr uint32_t kNonSync = StreamParserCompressed::FRAME_TYPE_NON_SYNC;
constexpr uint64_t kSecond = 1000000;

// "value:count" runs of the buffer's valid bytes, e.g. "1:10 2:30".
std::string Runs(const Buffer& buffer) {
    const auto bytes = test::ReadValid(buffer);
    std::ostringstream out;
    for (size_t i = 0; i < bytes.size();) {
        size_t j = i;
        while (j < bytes.size() && bytes[j] == bytes[i]) ++j;
        out << (i ? " " : "") << int(bytes[i]) << ":" << (j - i);
        i = j;
    }
    return out.str();
}

// n frames of one non-sync unit of `length` bytes each (the first one sync).
std::vector<FrameSpec> SingleUnitFrames(size_t n, uint32_t length = 10, uint32_t slices = 0) {
    std::vector<FrameSpec> frames;
    for (size_t i = 0; i < n; ++i) frames.push_back({{i == 0 ? kSync : kNonSync, length, slices}});
    return frames;
}

struct Fixture {
    Fixture(std::vector<FrameSpec> frames, ConfigParam config = {})
        : parser(dir, std::move(frames)) {
        parser.SetConfig(config);
    }
    ScratchDir dir;
    ScriptedParser parser;
};

struct Delivered {
    int32_t status;
    std::string runs;
    uint64_t timestamp;
    uint32_t flags;
    uint64_t endOfFrame;
    uint64_t sliceSkipped;
};

Delivered Deliver(ScriptedParser& parser, uint64_t capacity = 4096) {
    auto buffer = MakeLinearBuffer(capacity);
    buffer->mEndOfFrame = 7;  // neither 0 nor 1: shows whether it was written
    const int32_t status = parser.Process(buffer);
    return {status, Runs(*buffer), buffer->mTimestamp, buffer->mFlags, buffer->mEndOfFrame,
            buffer->mSliceSkipped};
}

// ---- indexing ---------------------------------------------------------------

struct IndexCase {
    const char* name;
    size_t fileFrames;
    uint32_t frames, loopFrames, repeatInterval, superFrame;
    std::vector<size_t> fileFramePerKey;  // which file frame each key 1..N holds
    bool lastMarked;                      // the last key's unit ends the input
    std::string totalLog;
    std::string extraLog;
};

class BuildOffsetTableLimits : public ::testing::TestWithParam<IndexCase> {};

TEST_P(BuildOffsetTableLimits, IndexesTheExpectedFramesAndLogsTheProduct) {
    const IndexCase& c = GetParam();
    ConfigParam config;
    config.mFrames = c.frames;
    config.mLoopFrames = c.loopFrames;
    config.mRepeatInterval = c.repeatInterval;
    config.mSuperFrame = c.superFrame;
    Fixture f(SingleUnitFrames(c.fileFrames), config);
    LogCapture logs;
    ASSERT_EQ(f.parser.Init(), TS_OK) << logs.Dump();

    const auto& table = f.parser.frameOffsetTable();
    ASSERT_EQ(table.size(), c.fileFramePerKey.size());
    for (size_t key = 1; key <= table.size(); ++key) {
        SCOPED_TRACE(testing::Message() << "key " << key);
        const auto& units = table.at(static_cast<uint32_t>(key));
        ASSERT_EQ(units.size(), 1u);
        EXPECT_EQ(units[0].mOffset, f.parser.mOffsets[c.fileFramePerKey[key - 1]][0]);
        EXPECT_EQ(units[0].mFrameNum, key);
        EXPECT_EQ(units[0].mIsLastFrame, c.lastMarked && key == table.size() ? 1u : 0u);
    }
    EXPECT_TRUE(logs.Contains(4, kTag, c.totalLog)) << logs.Dump();
    if (!c.extraLog.empty()) {
        EXPECT_TRUE(logs.Contains(4, kTag, c.extraLog));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Limits, BuildOffsetTableLimits,
    ::testing::Values(
        IndexCase{"WholeFile", 3, 0, 0, 0, 1, {0, 1, 2}, true, "Total Parsed Frames = 3",
                  "Reached End of Frame"},
        IndexCase{"FirstUnitEndsTheFile", 1, 0, 0, 0, 1, {0}, true, "Total Parsed Frames = 1", ""},
        // The scanner starts over at the end; keys 4 and 5 repeat frames 1 and 2.
        IndexCase{"MoreFramesThanTheFile", 3, 5, 0, 0, 1, {0, 1, 2, 0, 1}, false,
                  "Total Parsed Frames = 6", ""},
        IndexCase{"LoopFrames", 3, 0, 2, 0, 1, {0, 1}, false, "Total Parsed Frames = 3", ""},
        IndexCase{"RepeatInterval", 10, 0, 0, 3, 1, {0, 1, 2}, false, "Total Parsed Frames = 4",
                  "Skipping to Read Frame[4]"},
        // Only the first of the two scanner calls per frame number is kept.
        IndexCase{"SuperFrameDropsTheSecondCall", 5, 0, 0, 0, 2, {0, 2, 4}, true,
                  "Total Parsed Frames = 6", ""}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(StreamParserCompressed, ScannerFailuresStopIndexing) {
    {
        Fixture f(SingleUnitFrames(4));
        f.parser.mFailAt = 3;
        LogCapture logs;
        EXPECT_EQ(f.parser.Init(), -7);
        EXPECT_TRUE(logs.Contains(6, kTag, "ret != TS_OK : Line# 72"));
        EXPECT_EQ(f.parser.frameOffsetTable().size(), 2u);
    }
    {
        Fixture f(SingleUnitFrames(4));
        f.parser.mEmptyAt = 2;
        LogCapture logs;
        EXPECT_EQ(f.parser.Init(), TS_ERROR);
        EXPECT_TRUE(logs.Contains(6, kTag, "framelist.size() == 0 : Line# 74"));
    }
}

// ---- whole-unit delivery -----------------------------------------------------

TEST(StreamParserCompressed, WholeFramesCarryAllTheirUnitsAndTheLastOneEndsTheStream) {
    Fixture f({{{kConfig, 10}, {kSync, 30}}, {{kNonSync, 20}}, {{kNonSync, 25}}});
    ASSERT_EQ(f.parser.Init(), TS_OK);
    LogCapture logs;
    const Delivered first = Deliver(f.parser);
    EXPECT_EQ(first.runs, "1:10 2:30");
    EXPECT_EQ(first.flags, 0u);  // the picture read last replaces the config flag
    EXPECT_EQ(first.timestamp, 1 * kSecond);
    EXPECT_EQ(first.endOfFrame, 1u);
    EXPECT_TRUE(logs.Contains(4, kTag, "Adding CODEC_CONFIG Flag"));
    EXPECT_EQ(Deliver(f.parser).runs, "3:20");

    const Delivered last = Deliver(f.parser);
    EXPECT_EQ(last.runs, "4:25");
    EXPECT_EQ(last.flags, Buffer::FLAG_EOS);
    EXPECT_EQ(last.timestamp, 3 * kSecond);
    EXPECT_TRUE(logs.Contains(4, kTag, "Adding EOS Flag"));
    EXPECT_TRUE(f.parser.sawEOS());

    logs.Clear();
    const Delivered after = Deliver(f.parser);
    EXPECT_EQ(after.status, TS_OK);
    EXPECT_EQ(after.flags, Buffer::FLAG_EOS);
    EXPECT_EQ(after.endOfFrame, 7u);
    EXPECT_TRUE(logs.Contains(4, kTag, "Already reached EOS."));
    // The dry run ignores mSawEOS and still reports the next frame.
    EXPECT_EQ(f.parser.GetBufferLength(), 40u);
}

TEST(StreamParserCompressed, FrameLimitEndsTheStreamUnlessLoopingForever) {
    ConfigParam config;
    config.mFrames = 2;
    Fixture f(SingleUnitFrames(5), config);
    ASSERT_EQ(f.parser.Init(), TS_OK);
    LogCapture logs;
    EXPECT_EQ(Deliver(f.parser).flags, 0u);
    EXPECT_EQ(Deliver(f.parser).flags, Buffer::FLAG_EOS);
    EXPECT_TRUE(logs.Contains(4, kTag, "Last Frame to Process. Adding EOS Flag"));
    EXPECT_EQ(Deliver(f.parser).runs, "");
    EXPECT_TRUE(logs.Contains(4, kTag, "Already reached EOS."));
    EXPECT_EQ(f.parser.GetBufferLength(), 0u);

    config.mLoopForever = true;
    Fixture forever(SingleUnitFrames(5), config);
    ASSERT_EQ(forever.parser.Init(), TS_OK);
    std::vector<std::string> runs;
    for (int i = 0; i < 5; ++i) runs.push_back(Deliver(forever.parser).runs);
    EXPECT_EQ(runs, (std::vector<std::string>{"1:10", "2:10", "1:10", "2:10", "1:10"}));
}

TEST(StreamParserCompressed, DeliveryModeOneSendsTheFirstFramesConfigAlone) {
    ConfigParam config;
    config.mDeliveryMode = 1;
    Fixture f({{{kConfig, 10}, {kConfig, 5}, {kSync, 30}}, {{kConfig, 4}, {kNonSync, 20}}},
              config);
    ASSERT_EQ(f.parser.Init(), TS_OK);
    EXPECT_EQ(f.parser.GetBufferLength(), 45u);  // the dry run knows no such split
    const Delivered config0 = Deliver(f.parser);
    EXPECT_EQ(config0.runs, "1:10 2:5");
    EXPECT_EQ(config0.timestamp, 0u);
    EXPECT_EQ(config0.flags, Buffer::FLAG_CODEC_CONFIG);
    const Delivered picture = Deliver(f.parser);
    EXPECT_EQ(picture.runs, "3:30");
    EXPECT_EQ(picture.timestamp, 1 * kSecond);
    // Only the first frame is split.
    EXPECT_EQ(Deliver(f.parser).runs, "4:4 5:20");
}

// The wrap tests mFrameCount modulo mRepeatInterval + 1, so the first cycle is
// three frames long, later ones four, and frame 1 comes twice in a row.
TEST(StreamParserCompressed, RepeatIntervalAndTableEndWrapsFollowTheirSequence) {
    ConfigParam config;
    config.mRepeatInterval = 3;
    Fixture f(SingleUnitFrames(6), config);
    ASSERT_EQ(f.parser.Init(), TS_OK);
    LogCapture logs;
    std::vector<std::string> runs;
    std::vector<uint64_t> stamps;
    for (int i = 0; i < 11; ++i) {
        const Delivered d = Deliver(f.parser);
        runs.push_back(d.runs);
        stamps.push_back(d.timestamp / kSecond);
    }
    EXPECT_EQ(runs, (std::vector<std::string>{"1:10", "2:10", "3:10", "1:10", "2:10", "3:10",
                                              "1:10", "1:10", "2:10", "3:10", "1:10"}));
    EXPECT_EQ(stamps, (std::vector<uint64_t>{1, 2, 0, 1, 2, 3, 0, 1, 2, 3, 0}));
    EXPECT_EQ(logs.Count(4, kTag, "Reached last frame. Re-Starting from Frame 1"), 2u);
}

TEST(StreamParserCompressed, LoopFramesWrapTheTableWhileTimestampsKeepCounting) {
    ConfigParam config;
    config.mLoopFrames = 2;
    config.mFrames = 5;
    Fixture f(SingleUnitFrames(3), config);
    ASSERT_EQ(f.parser.Init(), TS_OK);
    std::vector<std::string> runs;
    std::vector<uint64_t> stamps;
    uint32_t lastFlags = 0;
    for (int i = 0; i < 5; ++i) {
        const Delivered d = Deliver(f.parser);
        runs.push_back(d.runs);
        stamps.push_back(d.timestamp / kSecond);
        lastFlags = d.flags;
    }
    EXPECT_EQ(runs, (std::vector<std::string>{"1:10", "2:10", "1:10", "2:10", "1:10"}));
    EXPECT_EQ(stamps, (std::vector<uint64_t>{1, 2, 3, 4, 5}));
    EXPECT_EQ(lastFlags, Buffer::FLAG_EOS);
}

// ---- slice delivery ----------------------------------------------------------

TEST(StreamParserCompressed, SlicesArriveOneBufferEachAndOnlyTheLastClosesTheFrame) {
    ConfigParam config;
    config.mSliceMode = true;
    Fixture f({{{kConfig, 6}, {kSync, 30, 3}}, {{kNonSync, 20, 2}}}, config);
    ASSERT_EQ(f.parser.Init(), TS_OK);
    std::vector<std::string> runs;
    std::vector<uint64_t> eof;
    std::vector<uint32_t> flags;
    for (int i = 0; i < 5; ++i) {
        const Delivered d = Deliver(f.parser);
        ASSERT_EQ(d.status, TS_OK);
        EXPECT_EQ(d.timestamp, (i < 3 ? 1 : 2) * kSecond);
        runs.push_back(d.runs);
        eof.push_back(d.endOfFrame);
        flags.push_back(d.flags);
    }
    // The config unit has no slices: it goes whole, with the first slice.
    EXPECT_EQ(runs, (std::vector<std::string>{"1:6 2:10", "2:10", "2:10", "3:10", "3:10"}));
    EXPECT_EQ(eof, (std::vector<uint64_t>{0, 0, 1, 0, 1}));
    EXPECT_EQ(flags, (std::vector<uint32_t>{0, 0, 0, 0, Buffer::FLAG_EOS}));
}

TEST(StreamParserCompressed, SliceModeDoesNotRestartAtTheEndOfTheTable) {
    for (bool sliceMode : {false, true}) {
        SCOPED_TRACE(sliceMode ? "slices" : "whole units");
        ConfigParam config;
        config.mSliceMode = sliceMode;
        config.mFrames = 3;  // more than the file: no unit is marked last
        config.mLoopForever = true;
        Fixture f(SingleUnitFrames(2, 10, 1), config);
        ASSERT_EQ(f.parser.Init(), TS_OK);
        for (int i = 0; i < 3; ++i) ASSERT_EQ(Deliver(f.parser).status, TS_OK);
        LogCapture logs;
        const Delivered next = Deliver(f.parser);
        if (sliceMode) {
            EXPECT_EQ(next.status, TS_ERROR);
            EXPECT_TRUE(logs.Contains(6, kTag,
                                      "(mFrameOffsetTable.find(frameNum) == "
                                      "mFrameOffsetTable.end()) : Line# 135"));
        } else {
            EXPECT_EQ(next.status, TS_OK);
            EXPECT_EQ(next.runs, "1:10");
        }
    }
}

TEST(StreamParserCompressed, SkippedSlicesAreLeftOutForOneFrame) {
    ConfigParam config;
    config.mSliceMode = true;
    {
        SCOPED_TRACE("a middle slice");
        config.mSkipSlices = {2};
        Fixture f({{{kSync, 30, 3}}, {{kNonSync, 30, 3}}}, config);
        ASSERT_EQ(f.parser.Init(), TS_OK);
        LogCapture logs;
        EXPECT_EQ(Deliver(f.parser).endOfFrame, 0u);
        const Delivered third = Deliver(f.parser);
        EXPECT_EQ(third.runs, "1:10");
        EXPECT_EQ(third.endOfFrame, 1u);
        EXPECT_TRUE(logs.Contains(5, kTag, "Skipping slice 2 of frame 1"));
        EXPECT_TRUE(f.parser.config().mSkipSlices.empty());
        EXPECT_EQ(Deliver(f.parser).endOfFrame, 0u);  // frame 2 has all three slices
    }
    {
        SCOPED_TRACE("every slice");
        config.mSkipSlices = {1, 2};
        Fixture f({{{kSync, 20, 2}}, {{kNonSync, 20, 2}}, {{kNonSync, 20, 2}}}, config);
        ASSERT_EQ(f.parser.Init(), TS_OK);
        LogCapture logs;
        const Delivered d = Deliver(f.parser);
        EXPECT_EQ(d.sliceSkipped, 1u);
        // The next frame's first slice, in the same buffer.
        EXPECT_EQ(d.runs, "2:10");
        EXPECT_EQ(d.endOfFrame, 0u);
        EXPECT_EQ(d.timestamp, 2 * kSecond);
        EXPECT_TRUE(logs.Contains(5, kTag, "Skipping slice 1 of frame 1"));
        EXPECT_TRUE(logs.Contains(5, kTag, "Skipping slice 2 of frame 1"));
        EXPECT_EQ(f.parser.frameCount(), 2u);
    }
}

TEST(StreamParserCompressed, SliceOrderReordersOneFrameAndRefusesEntriesBeyondIt) {
    ConfigParam config;
    config.mSliceMode = true;
    config.mSliceOrder = {2, 1};
    {
        Fixture f({{{kSync, 20, 2}}, {{kNonSync, 20, 2}}}, config);
        ASSERT_EQ(f.parser.Init(), TS_OK);
        LogCapture logs;
        auto buffer = MakeLinearBuffer(100);
        ASSERT_EQ(f.parser.Process(buffer), TS_OK);
        const auto slice2 = test::ReadValid(*buffer);
        ASSERT_EQ(f.parser.Process(buffer), TS_OK);
        EXPECT_TRUE(logs.Contains(5, kTag, "Updated slice number 2 due to OutOfOrder"));
        EXPECT_TRUE(logs.Contains(5, kTag, "Updated slice number 1 due to OutOfOrder"));
        EXPECT_TRUE(logs.Contains(4, kTag, "Processing Frame[1] Slice[2] Offset[10] Size[10]"));
        EXPECT_EQ(slice2.size(), 10u);
        EXPECT_TRUE(f.parser.config().mSliceOrder.empty());
    }
    for (auto order : {std::vector<uint32_t>{3, 1}, std::vector<uint32_t>{1}}) {
        SCOPED_TRACE(order.size() == 1 ? "too short" : "beyond the slice count");
        config.mSliceOrder = order;
        Fixture f({{{kSync, 20, 2}}}, config);
        ASSERT_EQ(f.parser.Init(), TS_OK);
        LogCapture logs;
        int32_t status = TS_OK;
        for (int i = 0; i < 2 && status == TS_OK; ++i) status = Deliver(f.parser).status;
        EXPECT_EQ(status, TS_ERROR);
        EXPECT_TRUE(logs.Contains(6, kTag,
                                  "unOrderedSlices[mFetchContent.bufferInfo.sliceNum - 1] > "
                                  "frameInfo.mSliceOffsetTable.size() : Line# 190"));
    }
}

// ---- the dry run -------------------------------------------------------------

struct DryRunCase {
    const char* name;
    bool sliceMode;
    std::vector<uint32_t> skip, order;
};

class GetBufferLengthDryRun : public ::testing::TestWithParam<DryRunCase> {};

TEST_P(GetBufferLengthDryRun, AnnouncesWhatProcessWritesAndChangesNothing) {
    ConfigParam config;
    config.mSliceMode = GetParam().sliceMode;
    config.mSkipSlices = GetParam().skip;
    config.mSliceOrder = GetParam().order;
    // Skip and order lists apply to frame 1; frame 2 appends a second unit's
    // first slice behind its first unit's last one.
    Fixture f({{{kConfig, 6}, {kSync, 30, 3}},
               {{kNonSync, 20, 2}, {kNonSync, 8, 2}},
               {{kConfig, 3}, {kNonSync, 9, 3}}},
              config);
    ASSERT_EQ(f.parser.Init(), TS_OK);
    for (int i = 0; i < 20 && !f.parser.sawEOS(); ++i) {
        SCOPED_TRACE(testing::Message() << "buffer " << i);
        const uint32_t announced = f.parser.GetBufferLength();
        EXPECT_EQ(f.parser.GetBufferLength(), announced);
        auto buffer = MakeLinearBuffer(announced == 0 ? 1 : announced);
        ASSERT_EQ(f.parser.Process(buffer), TS_OK);
        EXPECT_EQ(buffer->mLength, announced);
    }
    EXPECT_TRUE(f.parser.sawEOS());
}

INSTANTIATE_TEST_SUITE_P(Configurations, GetBufferLengthDryRun,
                         ::testing::Values(DryRunCase{"WholeUnits", false, {}, {}},
                                           DryRunCase{"Slices", true, {}, {}},
                                           DryRunCase{"SkipMiddle", true, {2}, {}},
                                           DryRunCase{"SkipAll", true, {1, 2, 3}, {}},
                                           DryRunCase{"Reordered", true, {}, {3, 1, 2}}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST(StreamParserCompressed, PendingSeekPrependsEveryEarlierConfigUnit) {
    Fixture f({{{kConfig, 10}, {kSync, 20}},
               {{kNonSync, 15}},
               {{kConfig, 8}, {kSync, 12}},
               {{kNonSync, 9}}});
    ASSERT_EQ(f.parser.Init(), TS_OK);
    f.parser.SetSeekPending(4);
    LogCapture logs;
    EXPECT_EQ(f.parser.GetBufferLength(), 27u);
    EXPECT_TRUE(logs.Contains(4, kTag, "Total length of SEQ_HEADER before Seekpoint = 18"));
    EXPECT_TRUE(f.parser.isSeekSet());

    const Delivered d = Deliver(f.parser);
    EXPECT_EQ(d.runs, "1:10 4:8 6:9");
    EXPECT_EQ(d.timestamp, 4 * kSecond);
    EXPECT_TRUE(logs.Contains(4, kTag, "Total length of SEQ_HEADER before Seekpoint = 0"));
    EXPECT_FALSE(f.parser.isSeekSet());
    EXPECT_EQ(f.parser.config().mSeekFrame, 0u);
    EXPECT_EQ(f.parser.config().mSeekedFrame, 0u);

    // A seek pending when the stream has ended is dropped, and the end stays.
    f.parser.SetSeekPending(2);
    EXPECT_EQ(Deliver(f.parser).flags, Buffer::FLAG_EOS);
    EXPECT_FALSE(f.parser.isSeekSet());
    EXPECT_EQ(f.parser.config().mSeekMode, 0u);
}

// ---- failures and the client buffer ----------------------------------------

TEST(StreamParserCompressed, ChecksComeInOrderWithTheirStatuses) {
    Fixture f(SingleUnitFrames(2));
    LogCapture logs;
    EXPECT_EQ(f.parser.Process(nullptr), -2);
    EXPECT_TRUE(logs.Contains(6, kTag, "buffer == nullptr : Line# 120"));
    EXPECT_EQ(f.parser.Process(MakeLinearBuffer(64)), -3);
    EXPECT_TRUE(logs.Contains(6, kTag, "mState != STATE::RUNNING : Line# 121"));
    EXPECT_EQ(f.parser.GetBufferLength(), static_cast<uint32_t>(-3));
    EXPECT_TRUE(logs.Contains(6, kTag, "mState != STATE::RUNNING : Line# 260"));
    ASSERT_EQ(f.parser.Init(), TS_OK);
    EXPECT_EQ(f.parser.Process(test::MakeGraphicBuffer(64)), -4);
    EXPECT_TRUE(logs.Contains(6, kTag, "buffer->isLinear() == false : Line# 122"));
}

// The cursor stays on the unit whose read failed; units already read in the
// failed call are not sent again.
TEST(StreamParserCompressed, TooSmallBufferFailsAndTheFailedUnitComesNext) {
    Fixture f({{{kConfig, 10}, {kSync, 30}}, {{kNonSync, 20}}});
    ASSERT_EQ(f.parser.Init(), TS_OK);
    LogCapture logs;
    EXPECT_EQ(Deliver(f.parser, 20).status, TS_ERROR);
    EXPECT_TRUE(logs.Contains(6, kTag, "buffer->capacity() < length : Line# 100"));
    EXPECT_TRUE(logs.Contains(6, kTag, "readData(offset, length) != TS_OK : Line# 150"));
    EXPECT_EQ(Deliver(f.parser).runs, "2:30");
}

// Each unit fits the buffer alone but not behind the one before it: the call
// fails as a too-small buffer does, and nothing past the buffer is written.
TEST(StreamParserCompressed, RunningTotalNeverWritesPastTheBuffer) {
    Fixture f({{{kConfig, 30}, {kSync, 30}}});
    ASSERT_EQ(f.parser.Init(), TS_OK);
    auto buffer = MakeLinearBuffer(4096);
    buffer->mCapacity = 40;  // the memory behind it goes on: a write past 40 would show
    LogCapture logs;
    EXPECT_EQ(f.parser.Process(buffer), TS_ERROR);
    EXPECT_TRUE(logs.Contains(6, kTag, "buffer->capacity() < length : Line# 100"));
    buffer->mCapacity = 4096;
    const auto memory = test::ReadAll(*buffer);
    for (size_t i = 40; i < memory.size(); ++i) ASSERT_EQ(memory[i], 0) << "byte " << i;
}

TEST(StreamParserCompressed, UnmappableBufferFailsTheRead) {
    Fixture f(SingleUnitFrames(1));
    ASSERT_EQ(f.parser.Init(), TS_OK);
    auto buffer = std::make_shared<Buffer>();
    buffer->mCapacity = 100;  // no descriptor behind it
    LogCapture logs;
    EXPECT_EQ(f.parser.Process(buffer), TS_ERROR);
    EXPECT_TRUE(logs.Contains(6, kTag, "vaddr == nullptr : Line# 101"));
}

// With a non-zero map offset every read lands at the start of the buffer.
TEST(StreamParserCompressed, MapOffsetMakesReadsOverwriteEachOther) {
    Fixture f({{{kConfig, 10}, {kSync, 30}}});
    ASSERT_EQ(f.parser.Init(), TS_OK);
    auto buffer = test::MakeClientBuffer(64, 0, 4096);
    ASSERT_EQ(f.parser.Process(buffer), TS_OK);
    EXPECT_EQ(buffer->mLength, 40u);
    const auto memory = test::ReadAll(*buffer);
    EXPECT_EQ(memory[0], 2);
    EXPECT_EQ(memory[29], 2);
    EXPECT_EQ(memory[30], 0);
}

TEST(StreamParserCompressed, DeInitReturnsToTheConstructedStateAndInitStartsOver) {
    ConfigParam config;
    config.mSliceMode = true;
    Fixture f({{{kSync, 20, 2}}, {{kNonSync, 10, 1}}}, config);
    ASSERT_EQ(f.parser.Init(), TS_OK);
    Deliver(f.parser);
    EXPECT_EQ(f.parser.DeInit(), TS_OK);
    EXPECT_EQ(f.parser.state(), STATE::STOPPED);
    EXPECT_TRUE(f.parser.frameOffsetTable().empty());
    EXPECT_EQ(f.parser.frameCount(), 1u);
    EXPECT_EQ(f.parser.fileSize(), 0u);
    EXPECT_EQ(f.parser.fetchContent().bufferInfo.sliceNum, 1u);
    EXPECT_EQ(Deliver(f.parser).status, -3);
    EXPECT_EQ(f.parser.DeInit(), TS_OK);  // twice: nothing to close the second time

    f.parser.mNext = 0;
    ASSERT_EQ(f.parser.Init(), TS_OK);
    EXPECT_EQ(Deliver(f.parser).runs, "1:10");
}

}  // namespace
}  // namespace tessaro
