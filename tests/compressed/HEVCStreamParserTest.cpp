// The H.265 scanner on hand-built byte streams.
#include "compressed/HEVCStreamParser.h"

#include <gtest/gtest.h>

#include "compressed/ScannerTestSupport.h"

namespace tessaro {
namespace {

using test::Bytes;
using test::kCoreTag;
using test::ScannerStream;
using test::StreamCase;

constexpr const char* kTag = "Tessaro::Impl::StreamParser::Compressed::HEVC";
enum : int { TRAIL = 1, IDR_W_RADL = 19, IDR_N_LP = 20, CRA = 21 };
enum : int { VPS = 32, SPS = 33, PPS = 34, AUD = 35, PREFIX_SEI = 39, SUFFIX_SEI = 40 };

// A NAL unit of 10 bytes: 4-byte start code, two header bytes (nuh_layer_id,
// temporal id 0), four payload bytes; a slice segment's first payload byte
// carries first_slice_segment_in_pic_flag.
std::string Nal(int type, int layer = 0, int firstByte = 0xAA) {
    return Bytes({0, 0, 0, 1, (type << 1) | (layer >> 5), ((layer & 31) << 3) | 1, firstByte, 0xAA, 0xAA, 0xAA});
}
std::string Slice(int type, bool first, int layer = 0) { return Nal(type, layer, first ? 0x80 : 0x00); }
const std::string kSetsAndIdr = Nal(SPS) + Nal(PPS) + Slice(IDR_W_RADL, true);  // 0, 10, 20

StreamCase Case(const char* name, std::string bytes, std::string table, std::vector<test::Log> logs = {},
                uint32_t frames = 0, bool sliceMode = false) {
    return {name, "hevc", "a.265", std::move(bytes), std::move(table), std::move(logs), frames, sliceMode};
}

INSTANTIATE_TEST_SUITE_P(
    HEVC, ScannerStream,
    ::testing::Values(
        // The SPS entry starts at the call's start and so covers the VPS.
        Case("ParameterSetsAndPictures", Nal(VPS) + kSetsAndIdr + Slice(TRAIL, true), "1: C0+20 C20+10 S30+10 | 2: N40+10*"),
        // IDR_N_LP is sync, CRA is not; every entry carries its unit's layer id.
        Case("IdrWithoutLeadingPictures", Nal(SPS) + Nal(PPS) + Slice(IDR_N_LP, true), "1: C0+10 C10+10 S20+10*"),
        Case("CleanRandomAccessIsNotSync", Nal(SPS) + Nal(PPS) + Slice(CRA, true), "1: C0+10 C10+10 N20+10*"),
        Case("LayerOne", Nal(SPS, 1) + Nal(PPS, 1) + Slice(IDR_W_RADL, true, 1), "1: C0+10L1 C10+10L1 S20+10*L1"),
        Case("Layer63", Nal(SPS, 63) + Nal(PPS, 63) + Slice(CRA, true, 63), "1: C0+10L63 C10+10L63 N20+10*L63"),
        // The picture ends at the delimiter, and the next call starts there; a suffix SEI does not end it.
        Case("DelimiterAndPrefixSeiEndThePicture",
             kSetsAndIdr + Nal(AUD) + Nal(PREFIX_SEI) + Slice(TRAIL, true) + Nal(SUFFIX_SEI),
             "1: C0+10 C10+10 S20+10 | 2: N30+40*"),
        // A PPS between two slice segments of one picture does not split it.
        Case("ParameterSetBetweenSliceSegments", kSetsAndIdr + Nal(PPS) + Slice(IDR_W_RADL, false) + Slice(TRAIL, true),
             "1: C0+10 C10+10 S20+30 | 2: N50+10*"),
        // The second IDR segment has a 3-byte start code; the last slice meets
        // the end of the file, and both end-of-data paths report it.
        Case("SliceModeRecordsEverySliceSegment",
             kSetsAndIdr + Slice(IDR_W_RADL, false).substr(1) + Slice(TRAIL, true) + Slice(TRAIL, false),
             "1: C0+10 C10+10 S20+19(20+10,30+9) | 2: N39+20*(39+10,49+10)",
             {{4, "Slice[2] Offset[49] length[10]"}, {4, "File Read Error"}, {5, "File Read Error."},
              {6, "Error. Failed to Read from File", nullptr, 2}},
             0, true),
        Case("MoreFramesThanTheFileRestartsFromTheBeginning", kSetsAndIdr + Slice(TRAIL, true),
             "1: C0+10 C10+10 S20+10 | 2: N30+10 | 3: C0+10 C10+10 S20+10",
             {{4, "Frames To Parse > Frames in Inputfile. Restarting from begin.."}}, 3),
        // A cut NAL header or slice byte ends the last entry at the end of the file.
        Case("CutNalHeader", Nal(SPS) + Bytes({0, 0, 1, PPS << 1}), "1: C0+14*", {{6, "Error. Failed to Read from File"}}),
        Case("CutSliceByte", Nal(SPS) + Bytes({0, 0, 1, IDR_W_RADL << 1, 1}), "1: C0+15*",
             {{6, "Error. Failed to Read from File"}}),
        Case("EmptyFile", "", "ERR-4", {{6, "mFileSize == 0 : Line# 29"}}),
        Case("NoStartCode", std::string(64, 0x55), "ERR-1", {{6, "framelist.size() == 0 : Line# 74", kCoreTag}}),
        Case("StartCodeOnly", Bytes({0, 0, 0, 1}), "ERR-1", {{6, "framelist.size() == 0 : Line# 74", kCoreTag}})),
    test::CaseName);

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
