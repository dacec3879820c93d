// The codec-independent core on a scripted scanner whose units are runs of one
// byte value each: indexing limits, delivery sequences, the dry run and the
// client-buffer failure paths.
#include "compressed/StreamParserCompressed.h"

#include <gtest/gtest.h>

#include <sstream>
#include <tuple>

#include "ScriptedParser.h"
#include "compressed/ScannerTestSupport.h"
#include "support/Probe.h"

namespace tessaro {
namespace {

using test::Deliver;
using test::FrameDef;
using test::LogCapture;
using test::ScratchDir;
using test::ScriptedParser;

constexpr const char* kTag = "Tessaro::Impl::StreamParser::Compressed";
constexpr uint32_t C = StreamParserCompressed::FRAME_TYPE_CODEC_CONFIG;
constexpr uint32_t S = StreamParserCompressed::FRAME_TYPE_SYNC;
constexpr uint32_t N = StreamParserCompressed::FRAME_TYPE_NON_SYNC;
constexpr const char* kOrderReport =
    "unOrderedSlices[mFetchContent.bufferInfo.sliceNum - 1] > frameInfo.mSliceOffsetTable.size() : Line# 190";
constexpr const char* kMissingFrame = "(mFrameOffsetTable.find(frameNum) == mFrameOffsetTable.end()) : Line# ";

// n frames of one unit each, the first one sync.
std::vector<FrameDef> Frames(size_t n, uint32_t length = 10, uint32_t slices = 0) {
    std::vector<FrameDef> frames;
    for (size_t i = 0; i < n; ++i) frames.push_back({{i == 0 ? S : N, length, slices}});
    return frames;
}

// A scripted parser in a scratch directory of its own.
struct Fixture {
    Fixture(std::vector<FrameDef> frames, const std::string& config = "") : parser(dir, std::move(frames), config) {}
    ScratchDir dir;
    ScriptedParser parser;
};

struct IndexCase {
    const char* name;
    size_t fileFrames;
    const char* config;
    const char* table;  // test::Table() after Init
    std::vector<std::string> logs;
};

class BuildOffsetTableLimits : public ::testing::TestWithParam<IndexCase> {};

TEST_P(BuildOffsetTableLimits, IndexesTheExpectedFramesAndLogsTheProduct) {
    Fixture f(Frames(GetParam().fileFrames), GetParam().config);
    LogCapture logs;
    ASSERT_EQ(f.parser.Init(), TS_OK) << logs.Dump();
    EXPECT_EQ(test::Table(f.parser), GetParam().table);
    EXPECT_TRUE(logs.HasAll(4, kTag, GetParam().logs));
}

INSTANTIATE_TEST_SUITE_P(
    Limits, BuildOffsetTableLimits,
    ::testing::Values(
        IndexCase{"WholeFile", 3, "", "1: S0+10 | 2: N10+10 | 3: N20+10*", {"Reached End of Frame", "Total Parsed Frames = 3"}},
        // The scanner starts over at the end; keys 4 and 5 repeat frames 1 and 2.
        IndexCase{"MoreFramesThanTheFile", 3, "frames=5", "1: S0+10 | 2: N10+10 | 3: N20+10 | 4: S0+10 | 5: N10+10",
                  {"Total Parsed Frames = 6"}},
        IndexCase{"LoopFrames", 3, "loop=2", "1: S0+10 | 2: N10+10", {"Total Parsed Frames = 3"}},
        IndexCase{"RepeatInterval", 10, "repeat=3", "1: S0+10 | 2: N10+10 | 3: N20+10",
                  {"Skipping to Read Frame[4]", "Total Parsed Frames = 4"}},
        // Only the first of the two scanner calls per frame number is kept.
        IndexCase{"SuperFrame", 5, "super=2", "1: S0+10 | 2: N20+10 | 3: N40+10*", {"Total Parsed Frames = 6"}}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(StreamParserCompressed, ScannerFailuresStopIndexing) {
    Fixture failing(Frames(4)), empty(Frames(4));
    failing.parser.mFailAt = 3;
    empty.parser.mEmptyAt = 2;
    LogCapture logs;
    EXPECT_EQ(failing.parser.Init(), -7);
    EXPECT_EQ(empty.parser.Init(), TS_ERROR);
    EXPECT_TRUE(logs.HasAll(6, kTag, {"ret != TS_OK : Line# 72", "framelist.size() == 0 : Line# 74"}));
}

struct SequenceCase {
    const char* name;
    std::vector<FrameDef> frames;
    const char* config;
    std::vector<std::string> buffers;  // Deliver() of each call in turn
    std::vector<std::string> logs;     // lines logged under the core's tag, at any priority
};

class DeliverySequence : public ::testing::TestWithParam<SequenceCase> {};

TEST_P(DeliverySequence, BuffersFollowTheCursorRules) {
    Fixture f(GetParam().frames, GetParam().config);
    ASSERT_EQ(f.parser.Init(), TS_OK);
    LogCapture logs;
    std::vector<std::string> buffers;
    for (size_t i = 0; i < GetParam().buffers.size(); ++i) buffers.push_back(Deliver(f.parser));
    EXPECT_EQ(buffers, GetParam().buffers);
    for (const auto& message : GetParam().logs) {
        EXPECT_GE(logs.Count(4, kTag, message) + logs.Count(5, kTag, message) + logs.Count(6, kTag, message), 1u) << message;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, DeliverySequence,
    ::testing::Values(
        // The picture read last replaces the config flag; end of stream is sticky.
        SequenceCase{"WholeFrames", {{{C, 10}, {S, 30}}, {{N, 20}}, {{N, 25}}}, "",
                     {"1:10 2:30 t1 end", "3:20 t2 end", "4:25 t3 EOS end", "t99 EOS"},
                     {"Adding CODEC_CONFIG Flag", "Adding EOS Flag", "Already reached EOS."}},
        SequenceCase{"FrameLimit", Frames(5), "frames=2", {"1:10 t1 end", "2:10 t2 EOS end", "t99 EOS"},
                     {"Last Frame to Process. Adding EOS Flag"}},
        SequenceCase{"LoopForever", Frames(5), "frames=2 forever", {"1:10 t1 end", "2:10 t2 end", "1:10 t1 end"},
                     {"Reached last frame. Re-Starting from Frame 1"}},
        // Only the first frame's leading units travel alone.
        SequenceCase{"DeliveryModeOne", {{{C, 10}, {C, 5}, {S, 30}}, {{C, 4}, {N, 20}}}, "delivery=1",
                     {"1:10 2:5 t0 CC", "3:30 t1 end", "4:4 5:20 t2 EOS end"}, {}},
        // mFrameCount modulo mRepeatInterval + 1: the first cycle is three frames
        // long, later ones four, and frame 1 comes twice in a row.
        SequenceCase{"RepeatInterval", Frames(6), "repeat=3",
                     {"1:10 t1 end", "2:10 t2 end", "3:10 t0 end", "1:10 t1 end", "2:10 t2 end", "3:10 t3 end",
                      "1:10 t0 end", "1:10 t1 end", "2:10 t2 end", "3:10 t3 end", "1:10 t0 end"},
                     {"Reached last frame. Re-Starting from Frame 1"}},
        SequenceCase{"LoopFramesKeepCountingTimestamps", Frames(3), "loop=2 frames=5",
                     {"1:10 t1 end", "2:10 t2 end", "1:10 t3 end", "2:10 t4 end", "1:10 t5 EOS end"}, {}},
        // A unit without slices goes whole, in front of the next unit's first slice.
        SequenceCase{"Slices", {{{C, 6}, {S, 30, 3}}, {{N, 20, 2}}}, "slices",
                     {"1:6 2:10 t1 more", "2:10 t1 more", "2:10 t1 end", "3:10 t2 more", "3:10 t2 EOS end"}, {}},
        // No restart at the end of the table in slice mode, unlike whole units.
        SequenceCase{"SlicesStopAtTheTableEnd", Frames(2, 10, 1), "slices frames=3 forever",
                     {"1:10 t1 end", "2:10 t2 end", "1:10 t3 end", "ERR-1"}, {std::string(kMissingFrame) + "135"}},
        SequenceCase{"WholeUnitsRestartAtTheTableEnd", Frames(2, 10, 1), "frames=3 forever",
                     {"1:10 t1 end", "2:10 t2 end", "1:10 t3 end", "1:10 t1 end"},
                     {"Reached last frame. Re-Starting from Frame 1"}},
        SequenceCase{"SkipAMiddleSliceOfOneFrame", {{{S, 30, 3}}, {{N, 30, 3}}}, "slices skip=2",
                     {"1:10 t1 more", "1:10 t1 end", "2:10 t2 more", "2:10 t2 more"}, {"Skipping slice 2 of frame 1"}},
        // The skipped frame gives no bytes; the next frame's first slice fills the buffer.
        SequenceCase{"SkipEverySlice", {{{S, 20, 2}}, {{N, 20, 2}}, {{N, 20, 2}}}, "slices skip=1,2",
                     {"2:10 t2 more skipped", "2:10 t2 end", "3:10 t3 more"},
                     {"Skipping slice 1 of frame 1", "Skipping slice 2 of frame 1"}},
        SequenceCase{"SliceOrderBeyondTheCount", {{{S, 20, 2}}}, "slices order=3,1", {"ERR-1"}, {kOrderReport}},
        SequenceCase{"SliceOrderTooShort", {{{S, 20, 2}}}, "slices order=1", {"1:10 t1 more", "ERR-1"}, {kOrderReport}}),
    [](const auto& p) { return std::string(p.param.name); });

// The order list applies to one frame and is emptied with it.
TEST(StreamParserCompressed, SliceOrderReadsTheListedSlicesForOneFrame) {
    Fixture f({{{S, 20, 2}}, {{N, 20, 2}}}, "slices order=2,1");
    ASSERT_EQ(f.parser.Init(), TS_OK);
    LogCapture logs;
    for (int i = 0; i < 3; ++i) Deliver(f.parser);
    EXPECT_TRUE(logs.Has(5, kTag, "Updated slice number 2 due to OutOfOrder"));
    EXPECT_TRUE(logs.HasAll(4, kTag, {"Processing Frame[1] Slice[2] Offset[10] Size[10]",
                                      "Processing Frame[1] Slice[1] Offset[0] Size[10]",
                                      "Processing Frame[2] Slice[1] Offset[20] Size[10]"}));
}

class GetBufferLengthDryRun : public ::testing::TestWithParam<const char*> {};

// The dry run announces what Process writes and changes nothing; it ignores
// mSawEOS and still reports the next frame. Skip and order lists apply to
// frame 1; frame 2 appends a second unit's first slice behind its first
// unit's last one.
TEST_P(GetBufferLengthDryRun, AnnouncesWhatProcessWritesAndChangesNothing) {
    Fixture f({{{C, 6}, {S, 30, 3}}, {{N, 20, 2}, {N, 8, 2}}, {{C, 3}, {N, 9, 3}}}, GetParam());
    ASSERT_EQ(f.parser.Init(), TS_OK);
    for (int i = 0; i < 20 && !f.parser.sawEOS(); ++i) {
        const uint32_t announced = f.parser.GetBufferLength();
        EXPECT_EQ(f.parser.GetBufferLength(), announced);
        auto buffer = test::MakeLinearBuffer(announced == 0 ? 1 : announced);
        ASSERT_EQ(f.parser.Process(buffer), TS_OK) << "buffer " << i;
        EXPECT_EQ(buffer->mLength, announced) << "buffer " << i;
    }
    EXPECT_TRUE(f.parser.sawEOS());
    EXPECT_GT(f.parser.GetBufferLength(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Configurations, GetBufferLengthDryRun,
                         ::testing::Values("", "slices", "slices skip=2", "slices skip=1,2,3", "slices order=3,1,2"));

// Refused buffers change nothing; after a failed read the cursor stays on the
// unit that failed, and units already read in that call are not sent again.
TEST(StreamParserCompressed, RefusedAndTooSmallBuffersKeepTheCursor) {
    Fixture f({{{C, 10}, {S, 30}}, {{N, 20}}});
    ASSERT_EQ(f.parser.Init(), TS_OK);
    LogCapture logs;
    EXPECT_EQ(f.parser.Process(test::MakeGraphicBuffer(64)), -4);
    EXPECT_EQ(Deliver(f.parser, 20), "ERR-1");
    EXPECT_TRUE(logs.HasAll(6, kTag, {"buffer->isLinear() == false : Line# 122", "buffer->capacity() < length : Line# 100",
                                      "readData(offset, length) != TS_OK : Line# 150"}));
    EXPECT_EQ(Deliver(f.parser), "2:30 t1 end");
}

// Each unit fits the buffer alone but not behind the one before it: the call
// fails as a too-small buffer does, and nothing past the buffer is written. A
// buffer with no memory behind it is refused before any read.
TEST(StreamParserCompressed, RunningTotalNeverWritesPastTheBuffer) {
    Fixture f({{{C, 30}, {S, 30}}});
    ASSERT_EQ(f.parser.Init(), TS_OK);
    auto buffer = test::MakeLinearBuffer(4096);
    buffer->mCapacity = 40;  // the memory behind it goes on: a write past 40 would show
    LogCapture logs;
    EXPECT_EQ(f.parser.Process(buffer), TS_ERROR);
    EXPECT_TRUE(logs.Has(6, kTag, "buffer->capacity() < length : Line# 100"));
    buffer->mCapacity = 4096;
    const auto memory = test::ReadAll(*buffer);
    EXPECT_EQ(std::vector<uint8_t>(memory.begin() + 40, memory.end()), std::vector<uint8_t>(4096 - 40, 0));
    EXPECT_EQ(f.parser.Process(test::MakeUnmappedBuffer(100)), TS_ERROR);
    EXPECT_TRUE(logs.Has(6, kTag, "vaddr == nullptr : Line# 101"));
}

// With a non-zero map offset every read lands at the start of the buffer.
TEST(StreamParserCompressed, MapOffsetMakesReadsOverwriteEachOther) {
    Fixture f({{{C, 10}, {S, 30}}});
    ASSERT_EQ(f.parser.Init(), TS_OK);
    auto buffer = test::MakeClientBuffer(64, 0, 4096);
    ASSERT_EQ(f.parser.Process(buffer), TS_OK);
    EXPECT_EQ(buffer->mLength, 40u);
    const auto memory = test::ReadAll(*buffer);
    EXPECT_EQ(std::make_tuple(memory[0], memory[29], memory[30]), std::make_tuple(2, 2, 0));
}

// With mLoopFrames the table stops early; skipping the rest of its last frame
// looks up the next number directly and finds nothing there.
TEST(StreamParserCompressed, SkippingPastTheLoopedTableFailsTheCall) {
    Fixture f(Frames(3, 10, 1), "slices loop=2");
    ASSERT_EQ(f.parser.Init(), TS_OK);
    EXPECT_EQ(Deliver(f.parser), "1:10 t1 end");
    ConfigParam skip = test::Config("skip=1");
    f.parser.SetConfig(skip);
    LogCapture logs;
    EXPECT_EQ(Deliver(f.parser), "ERR-1");
    EXPECT_TRUE(logs.Has(6, kTag, std::string(kMissingFrame) + "175"));
}

TEST(StreamParserCompressed, DeInitReturnsToTheConstructedStateAndInitStartsOver) {
    const int descriptors = test::OpenDescriptorCount();
    {
        Fixture dropped(Frames(2));  // destroyed running, without DeInit
        ASSERT_EQ(dropped.parser.Init(), TS_OK);
    }
    EXPECT_EQ(test::OpenDescriptorCount(), descriptors);
    Fixture f({{{S, 20, 2}}, {{N, 10, 1}}}, "slices");
    ASSERT_EQ(f.parser.Init(), TS_OK);
    Deliver(f.parser);
    EXPECT_EQ(f.parser.DeInit(), TS_OK);
    EXPECT_EQ(test::OpenDescriptorCount(), descriptors);
    EXPECT_EQ(f.parser.state(), STATE::STOPPED);
    EXPECT_TRUE(f.parser.frameOffsetTable().empty());
    EXPECT_EQ(std::make_pair(f.parser.frameCount(), f.parser.fetchContent().bufferInfo.sliceNum), std::make_pair(1u, 1u));
    EXPECT_EQ(Deliver(f.parser), "ERR-3");
    EXPECT_EQ(f.parser.DeInit(), TS_OK);  // twice: nothing left to close
    f.parser.mNext = 0;
    ASSERT_EQ(f.parser.Init(), TS_OK);
    EXPECT_EQ(Deliver(f.parser), "1:10 t1 more");
}

}  // namespace
}  // namespace tessaro
