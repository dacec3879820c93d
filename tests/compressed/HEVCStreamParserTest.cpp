#include "compressed/HEVCStreamParser.h"

#include <gtest/gtest.h>

#include "compressed/ScannerTestSupport.h"
#include "support/LogCapture.h"

namespace tessaro {
namespace {

using test::Bytes;
using test::ExpectInitFails;
using test::ExpectUnits;
using test::InitOn;
using test::Units;
using Slices = std::unordered_map<uint32_t, std::pair<uint64_t, uint64_t>>;

constexpr const char* kTag = "Tessaro::Impl::StreamParser::Compressed::HEVC";
constexpr uint32_t kConfig = 1, kSync = 2, kNonSync = 4;
enum : int { TRAIL = 1, IDR_W_RADL = 19, IDR_N_LP = 20, CRA = 21 };
enum : int { VPS = 32, SPS = 33, PPS = 34, AUD = 35, PREFIX_SEI = 39, SUFFIX_SEI = 40 };

// A NAL unit of 10 bytes: 4-byte start code, two header bytes (nuh_layer_id,
// temporal id 0), four payload bytes; a slice segment's first payload byte
// carries first_slice_segment_in_pic_flag.
std::string Nal(int type, int layer = 0, int firstByte = 0xAA) {
    return Bytes({0, 0, 0, 1, (type << 1) | (layer >> 5), ((layer & 31) << 3) | 1, firstByte,
                  0xAA, 0xAA, 0xAA});
}
std::string Slice(int type, bool first, int layer = 0) {
    return Nal(type, layer, first ? 0x80 : 0x00);
}

std::string Index(HEVCStreamParser& parser, const std::string& bytes, uint32_t frames = 0,
                  bool sliceMode = false) {
    static test::ScratchDir dir;
    const std::string path = dir.Write("a.265", bytes);
    EXPECT_EQ(InitOn(parser, path, frames, sliceMode), TS_OK);
    return path;
}

// Entries of VPS SPS PPS IDR TRAIL (offsets 0, 10, 20, 30, 40): the SPS entry
// starts at the call's start and so covers the VPS.
TEST(HEVCStreamParser, ParameterSetsAndPictures) {
    HEVCStreamParser parser;
    Index(parser, Nal(VPS) + Nal(SPS) + Nal(PPS) + Slice(IDR_W_RADL, true) + Slice(TRAIL, true));
    ExpectUnits(parser, 1, {{0, 20, kConfig, 0}, {20, 10, kConfig, 0}, {30, 10, kSync, 0}});
    ExpectUnits(parser, 2, {{40, 10, kNonSync, 1}});

    // IDR_N_LP is sync, CRA is not; every entry carries its unit's layer id.
    struct Case {
        int type, layer;
        uint32_t frameType;
    } cases[] = {{IDR_N_LP, 0, kSync}, {CRA, 0, kNonSync}, {IDR_W_RADL, 1, kSync}, {CRA, 63, kNonSync}};
    for (const Case& c : cases) {
        SCOPED_TRACE("type " + std::to_string(c.type) + " layer " + std::to_string(c.layer));
        HEVCStreamParser p;
        Index(p, Nal(SPS, c.layer) + Nal(PPS, c.layer) + Slice(c.type, true, c.layer));
        const auto units = Units(p, 1);
        ASSERT_EQ(units.size(), 3u);
        EXPECT_EQ(units[2].mFrameType, c.frameType);
        for (const auto& unit : units) EXPECT_EQ(unit.mLayerId, static_cast<uint32_t>(c.layer));
    }
}

// SPS@0 PPS@10 IDR@20, then an access unit delimiter and a prefix SEI (30, 40):
// the picture ends at the delimiter, and the next call starts there.
TEST(HEVCStreamParser, DelimiterAndPrefixSeiEndThePicture) {
    HEVCStreamParser parser;
    Index(parser, Nal(SPS) + Nal(PPS) + Slice(IDR_W_RADL, true) + Nal(AUD) + Nal(PREFIX_SEI) +
                      Slice(TRAIL, true) + Nal(SUFFIX_SEI));
    ExpectUnits(parser, 1, {{0, 10, kConfig, 0}, {10, 10, kConfig, 0}, {20, 10, kSync, 0}});
    ExpectUnits(parser, 2, {{30, 40, kNonSync, 1}});  // a suffix SEI does not end it
}

// A PPS between two slice segments of one picture does not split it.
TEST(HEVCStreamParser, ParameterSetBetweenSliceSegments) {
    HEVCStreamParser parser;
    Index(parser, Nal(SPS) + Nal(PPS) + Slice(IDR_W_RADL, true) + Nal(PPS) +
                      Slice(IDR_W_RADL, false) + Slice(TRAIL, true));
    ExpectUnits(parser, 1, {{0, 10, kConfig, 0}, {10, 10, kConfig, 0}, {20, 30, kSync, 0}});
    ExpectUnits(parser, 2, {{50, 10, kNonSync, 1}});
}

// SPS@0 PPS@10 IDR@20 IDR-segment@30 (3-byte start code) TRAIL@39 TRAIL-segment@49.
TEST(HEVCStreamParser, SliceModeRecordsEverySliceSegment) {
    HEVCStreamParser parser;
    test::LogCapture logs;
    Index(parser, Nal(SPS) + Nal(PPS) + Slice(IDR_W_RADL, true) + Slice(IDR_W_RADL, false).substr(1) +
                      Slice(TRAIL, true) + Slice(TRAIL, false), 0, true);
    ExpectUnits(parser, 1, {{0, 10, kConfig, 0}, {10, 10, kConfig, 0}, {20, 19, kSync, 0}});
    ExpectUnits(parser, 2, {{39, 20, kNonSync, 1}});
    EXPECT_EQ(Units(parser, 1)[2].mSliceOffsetTable, (Slices{{1, {20, 10}}, {2, {30, 9}}}));
    EXPECT_EQ(Units(parser, 2)[0].mSliceOffsetTable, (Slices{{1, {39, 10}}, {2, {49, 10}}}));
    // The last slice meets the end of the file: both end-of-data paths report it.
    EXPECT_TRUE(logs.HasAll(4, kTag, {"Slice[2] Offset[49] length[10]", "File Read Error"}));
    EXPECT_TRUE(logs.Has(5, kTag, "File Read Error."));
    EXPECT_EQ(logs.Count(6, kTag, "Error. Failed to Read from File"), 2u);
}

TEST(HEVCStreamParser, MoreFramesThanTheFileRestartsFromTheBeginning) {
    HEVCStreamParser parser;
    test::LogCapture logs;
    Index(parser, Nal(SPS) + Nal(PPS) + Slice(IDR_W_RADL, true) + Slice(TRAIL, true), 3);
    ASSERT_EQ(parser.frameOffsetTable().size(), 3u);
    ExpectUnits(parser, 2, {{30, 10, kNonSync, 0}});
    ExpectUnits(parser, 3, {{0, 10, kConfig, 0}, {10, 10, kConfig, 0}, {20, 10, kSync, 0}});
    EXPECT_TRUE(logs.Has(4, kTag, "Frames To Parse > Frames in Inputfile. Restarting from begin.."));
}

TEST(HEVCStreamParser, BadInput) {
    ExpectInitFails("hevc", "a.265", "", -4, {{kTag, "mFileSize == 0 : Line# 29"}});
    for (const std::string& bytes : {std::string(64, 0x55), Bytes({0, 0, 0, 1})}) {
        ExpectInitFails("hevc", "a.265", bytes, TS_ERROR, {{test::kCoreTag, "framelist.size() == 0 : Line# 74"}});
    }
}

// A cut NAL header or slice byte ends the last entry at the end of the file.
TEST(HEVCStreamParser, CutLastUnitEndsAtTheEndOfTheFile) {
    for (const std::string& bytes : {Nal(SPS) + Bytes({0, 0, 1, PPS << 1}), Nal(SPS) + Bytes({0, 0, 1, IDR_W_RADL << 1, 1})}) {
        test::ScratchDir dir;
        HEVCStreamParser parser;
        test::LogCapture logs;
        EXPECT_EQ(InitOn(parser, dir.Write("a.265", bytes)), TS_OK);
        EXPECT_TRUE(logs.Has(6, kTag, "Error. Failed to Read from File"));
        ExpectUnits(parser, 1, {{0, bytes.size(), kConfig, 1}});
    }
}

TEST(HEVCStreamParser, DirectCallsOnTheEdges) {
    test::ScratchDir dir;
    test::OpenedParser<HEVCStreamParser> parser;
    ASSERT_TRUE(parser.Open(dir.Write("a.265", Nal(SPS) + Slice(IDR_W_RADL, true))));
    std::vector<test::FrameInfo> list;
    test::LogCapture logs;
    EXPECT_EQ(parser.ReadfromInputFile(1, list, 1 << 20, nullptr), -2);
    EXPECT_EQ(parser.ParseSlicesFromFrame(list, 1 << 20, nullptr), -2);
    EXPECT_TRUE(logs.HasAll(6, kTag, {"buffer == nullptr : Line# 215", "buffer == nullptr : Line# 48"}));
    // Without a picture entry there is no slice table to fill.
    EXPECT_EQ(parser.ParseSlicesFromFrame(list, 1 << 20, test::Scratch()), TS_ERROR);
    EXPECT_TRUE(list.empty());
}

}  // namespace
}  // namespace tessaro
