#include "compressed/HEVCStreamParser.h"

#include <gtest/gtest.h>

#include "compressed/ScannerTestSupport.h"
#include "support/LogCapture.h"

namespace tessaro {
namespace {

using test::Bytes;
using test::ExpectUnits;
using test::InitOn;
using test::Repeat;
using test::ScratchDir;
using test::Units;

constexpr const char* kTag = "Tessaro::Impl::StreamParser::Compressed::HEVC";
constexpr const char* kCoreTag = "Tessaro::Impl::StreamParser::Compressed";
constexpr uint32_t kConfig = 1, kSync = 2, kNonSync = 4;

enum NalType : int {
    TRAIL_R = 1, IDR_W_RADL = 19, IDR_N_LP = 20, CRA = 21,
    VPS = 32, SPS = 33, PPS = 34, AUD = 35, PREFIX_SEI = 39, SUFFIX_SEI = 40,
};

// A NAL unit of 10 bytes: 4-byte start code, the two header bytes (with
// nuh_layer_id and temporal id 0), then four payload bytes. For slice segments
// the first payload byte carries first_slice_segment_in_pic_flag.
std::string Nal(int type, int layer = 0) {
    return Bytes({0, 0, 0, 1, (type << 1) | (layer >> 5), ((layer & 31) << 3) | 1}) +
           Repeat(0xAA, 4);
}
std::string Slice(int type, bool first, int layer = 0) {
    return Bytes({0, 0, 0, 1, (type << 1) | (layer >> 5), ((layer & 31) << 3) | 1,
                  first ? 0x80 : 0x00}) + Repeat(0xAA, 3);
}

TEST(HEVCStreamParser, VpsIsCoveredBySpsEntryAndIdrIsSync) {
    ScratchDir dir;
    // VPS@0 SPS@10 PPS@20 IDR@30 TRAIL@40, 50 bytes.
    const std::string file = dir.Write("a.265", Nal(VPS) + Nal(SPS) + Nal(PPS) +
                                                    Slice(IDR_W_RADL, true) + Slice(TRAIL_R, true));
    HEVCStreamParser parser;
    ASSERT_EQ(InitOn(parser, file), TS_OK);
    ASSERT_EQ(parser.frameOffsetTable().size(), 2u);
    ExpectUnits(parser, 1, {{0, 20, kConfig, 0}, {20, 10, kConfig, 0}, {30, 10, kSync, 0}});
    ExpectUnits(parser, 2, {{40, 10, kNonSync, 1}});
}

// Picture kinds: IDR_N_LP is sync; CRA (like BLA) is not; layer ids travel
// with every entry.
TEST(HEVCStreamParser, PictureTypesAndLayerIds) {
    struct Case {
        int type;
        int layer;
        uint32_t frameType;
    } cases[] = {{IDR_N_LP, 0, kSync}, {CRA, 0, kNonSync}, {IDR_W_RADL, 1, kSync}, {CRA, 63, kNonSync}};
    for (const Case& c : cases) {
        SCOPED_TRACE("type " + std::to_string(c.type) + " layer " + std::to_string(c.layer));
        ScratchDir dir;
        const std::string file = dir.Write(
            "a.265", Nal(SPS, c.layer) + Nal(PPS, c.layer) + Slice(c.type, true, c.layer));
        HEVCStreamParser parser;
        ASSERT_EQ(InitOn(parser, file), TS_OK);
        const auto units = Units(parser, 1);
        ASSERT_EQ(units.size(), 3u);
        EXPECT_EQ(units[2].mFrameType, c.frameType);
        for (const auto& unit : units) EXPECT_EQ(unit.mLayerId, static_cast<uint32_t>(c.layer));
    }
}

TEST(HEVCStreamParser, AudAndPrefixSeiEndThePictureAndStartTheNext) {
    ScratchDir dir;
    // SPS@0 PPS@10 IDR@20 AUD@30 SEI@40 TRAIL@50 suffix-SEI@60, 70 bytes.
    const std::string file =
        dir.Write("a.265", Nal(SPS) + Nal(PPS) + Slice(IDR_W_RADL, true) + Nal(AUD) +
                               Nal(PREFIX_SEI) + Slice(TRAIL_R, true) + Nal(SUFFIX_SEI));
    HEVCStreamParser parser;
    ASSERT_EQ(InitOn(parser, file), TS_OK);
    ExpectUnits(parser, 1, {{0, 10, kConfig, 0}, {10, 10, kConfig, 0}, {20, 10, kSync, 0}});
    // The second picture begins at the delimiter and runs to the end of the
    // file; a suffix SEI does not end it.
    ExpectUnits(parser, 2, {{30, 40, kNonSync, 1}});
}

TEST(HEVCStreamParser, ParameterSetBetweenSliceSegmentsDoesNotSplitThePicture) {
    ScratchDir dir;
    // SPS@0 PPS@10 IDR(first)@20 PPS@30 IDR(second segment)@40 TRAIL@50.
    const std::string file =
        dir.Write("a.265", Nal(SPS) + Nal(PPS) + Slice(IDR_W_RADL, true) + Nal(PPS) +
                               Slice(IDR_W_RADL, false) + Slice(TRAIL_R, true));
    HEVCStreamParser parser;
    ASSERT_EQ(InitOn(parser, file), TS_OK);
    ExpectUnits(parser, 1, {{0, 10, kConfig, 0}, {10, 10, kConfig, 0}, {20, 30, kSync, 0}});
    ExpectUnits(parser, 2, {{50, 10, kNonSync, 1}});
}

TEST(HEVCStreamParser, SliceModeRecordsEverySliceSegment) {
    ScratchDir dir;
    // SPS@0 PPS@10 IDR@20 IDR-segment@30 (3-byte start code, 9 bytes) TRAIL@39 TRAIL-segment@49.
    std::string secondSegment = Slice(IDR_W_RADL, false).substr(1);
    const std::string file =
        dir.Write("a.265", Nal(SPS) + Nal(PPS) + Slice(IDR_W_RADL, true) + secondSegment +
                               Slice(TRAIL_R, true) + Slice(TRAIL_R, false));
    HEVCStreamParser parser;
    test::LogCapture logs;
    ASSERT_EQ(InitOn(parser, file, 0, true), TS_OK);
    ExpectUnits(parser, 1, {{0, 10, kConfig, 0}, {10, 10, kConfig, 0}, {20, 19, kSync, 0}});
    ExpectUnits(parser, 2, {{39, 20, kNonSync, 1}});
    using Slices = std::unordered_map<uint32_t, std::pair<uint64_t, uint64_t>>;
    EXPECT_EQ(Units(parser, 1)[2].mSliceOffsetTable, (Slices{{1, {20, 10}}, {2, {30, 9}}}));
    EXPECT_EQ(Units(parser, 2)[0].mSliceOffsetTable, (Slices{{1, {39, 10}}, {2, {49, 10}}}));
    // The last slice runs into the end of the file: both end-of-data paths report it.
    EXPECT_TRUE(logs.Contains(4, kTag, "Slice[2] Offset[49] length[10]"));
    EXPECT_TRUE(logs.Contains(4, kTag, "File Read Error"));
    EXPECT_TRUE(logs.Contains(5, kTag, "File Read Error."));
    EXPECT_TRUE(logs.Contains(5, kTag, "ParseSlicesFromFrame"));
}

TEST(HEVCStreamParser, MoreFramesThanTheFileRestartsFromTheBeginning) {
    ScratchDir dir;
    const std::string file =
        dir.Write("a.265", Nal(SPS) + Nal(PPS) + Slice(IDR_W_RADL, true) + Slice(TRAIL_R, true));
    HEVCStreamParser parser;
    test::LogCapture logs;
    ASSERT_EQ(InitOn(parser, file, 3), TS_OK);
    ASSERT_EQ(parser.frameOffsetTable().size(), 3u);
    ExpectUnits(parser, 2, {{30, 10, kNonSync, 0}});
    ExpectUnits(parser, 3, {{0, 10, kConfig, 0}, {10, 10, kConfig, 0}, {20, 10, kSync, 0}});
    EXPECT_TRUE(logs.Contains(4, kTag,
                              "Frames To Parse > Frames in Inputfile. Restarting from begin.."));
}

// Inputs that are not a whole stream: what Init returns and reports.
TEST(HEVCStreamParser, BadInput) {
    struct Case {
        const char* name;
        std::string bytes;
        int32_t status;
        const char* tag;
        const char* message;
    } cases[] = {
        {"empty file", "", -4, kTag, "mFileSize == 0 : Line# 29"},
        {"no start code", Repeat(0x55, 64), TS_ERROR, kCoreTag, "framelist.size() == 0 : Line# 74"},
        {"start code without NAL header", Bytes({0, 0, 0, 1}), TS_ERROR, kCoreTag,
         "framelist.size() == 0 : Line# 74"},
        {"parameter sets only, header cut", Nal(SPS) + Bytes({0, 0, 1, PPS << 1}), TS_OK, kTag,
         "Error. Failed to Read from File"},
        {"slice without its header byte", Nal(SPS) + Bytes({0, 0, 1, IDR_W_RADL << 1, 1}), TS_OK,
         kTag, "Error. Failed to Read from File"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ScratchDir dir;
        const std::string file = dir.Write("a.265", c.bytes);
        HEVCStreamParser parser;
        test::LogCapture logs;
        EXPECT_EQ(InitOn(parser, file), c.status);
        EXPECT_TRUE(logs.Contains(6, c.tag, c.message)) << logs.Dump();
        if (c.status == TS_OK) {
            // The one entry runs to the end of the file and ends the input.
            const auto units = Units(parser, 1);
            ASSERT_FALSE(units.empty());
            EXPECT_EQ(units.back().mOffset + units.back().mLength, c.bytes.size());
            EXPECT_EQ(units.back().mIsLastFrame, 1u);
        }
    }
    HEVCStreamParser missing;
    test::LogCapture logs;
    EXPECT_EQ(InitOn(missing, "/nonexistent/x.265"), TS_ERROR);
    EXPECT_TRUE(logs.Contains(6, kTag, "mInputFile.is_open() == false : Line# 23"));
}

TEST(HEVCStreamParser, NullScratchBufferIsRefused) {
    ScratchDir dir;
    const std::string file = dir.Write("a.265", Nal(SPS) + Slice(IDR_W_RADL, true));
    test::OpenedParser<HEVCStreamParser> parser;
    ASSERT_TRUE(parser.Open(file));
    std::vector<test::FrameInfo> list;
    test::LogCapture logs;
    EXPECT_EQ(parser.ReadfromInputFile(1, list, 1 << 20, nullptr), -2);
    EXPECT_EQ(parser.ParseSlicesFromFrame(list, 1 << 20, nullptr), -2);
    EXPECT_TRUE(logs.Contains(5, kTag, "ReadfromInputFile"));
    EXPECT_TRUE(logs.Contains(6, kTag, "buffer == nullptr : Line# 215"));
    EXPECT_TRUE(logs.Contains(6, kTag, "buffer == nullptr : Line# 48"));
}

// Real x265 streams: frame counts, sync frames, and units that tile the file
// from its first byte to its last (parameter sets included once per picture run).
TEST(HEVCStreamParser, RealStreams) {
    struct Case {
        const char* file;
        uint32_t frames;
        std::vector<uint32_t> syncFrames;
        size_t slicesPerPicture;
    } cases[] = {
        {"h265/aud_sei.265", 8, {1}, 1},
        {"h265/idr_gop.265", 12, {1, 5, 9}, 1},
        {"h265/two_slices.265", 8, {1}, 2},
    };
    for (const Case& c : cases) {
        for (bool sliceMode : {false, true}) {
            SCOPED_TRACE(std::string(c.file) + (sliceMode ? " sliced" : ""));
            HEVCStreamParser parser;
            ASSERT_EQ(InitOn(parser, test::DataPath(c.file), 0, sliceMode), TS_OK);
            ASSERT_EQ(parser.frameOffsetTable().size(), c.frames);
            uint64_t end = 0;
            std::vector<uint32_t> syncFrames;
            for (uint32_t f = 1; f <= c.frames; ++f) {
                const auto units = Units(parser, f);
                ASSERT_FALSE(units.empty());
                EXPECT_EQ(units.front().mOffset, end) << "frame " << f;
                const auto& picture = units.back();
                if (picture.mFrameType == kSync) syncFrames.push_back(f);
                EXPECT_EQ(picture.mIsLastFrame, f == c.frames ? 1u : 0u);
                if (sliceMode) {
                    EXPECT_EQ(picture.mSliceOffsetTable.size(), c.slicesPerPicture);
                }
                end = picture.mOffset + picture.mLength;
            }
            EXPECT_EQ(end, parser.fileSize());
            EXPECT_EQ(syncFrames, c.syncFrames);
        }
    }
}

}  // namespace
}  // namespace tessaro
