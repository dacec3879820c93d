// The H.264 scanner on hand-built byte streams: where pictures and parameter
// sets begin and end, slice tables, end-of-file handling and bad input.
#include "compressed/AVCStreamParser.h"

#include <gtest/gtest.h>

#include "AnnexBBuilder.h"
#include "compressed/ScannerTestSupport.h"
#include "support/LogCapture.h"

namespace tessaro {
namespace {

using namespace test;

constexpr const char* kAvcTag = "Tessaro::Impl::StreamParser::Compressed::AVC";

// An entry as "<C|S|N><from>-<to>[*]", from and to being NAL indexes of the
// stream (E: end of file, ~n: one byte before NAL n), * when marked last, and
// in slice mode its slices in parentheses.
std::string Describe(const std::vector<FrameInfo>& list, const AnnexBStream& s) {
    auto where = [&](uint64_t offset) -> std::string {
        if (offset == s.bytes.size()) return "E";
        for (size_t i = 0; i < s.offsets.size(); ++i) {
            if (s.offsets[i] == offset) return std::to_string(i);
            if (s.offsets[i] == offset + 1) return "~" + std::to_string(i);
        }
        return "@" + std::to_string(offset);
    };
    std::string out;
    for (const FrameInfo& e : list) {
        if (!out.empty()) out += " ";
        out += e.mFrameType == 1 ? "C" : e.mFrameType == 2 ? "S" : "N";
        out += where(e.mOffset) + "-" + where(e.mOffset + e.mLength);
        if (e.mIsLastFrame) out += "*";
        for (uint32_t n = 1; n <= e.mSliceOffsetTable.size(); ++n) {
            const auto& range = e.mSliceOffsetTable.at(n);
            out += (n == 1 ? "(" : ",") + where(range.first) + "-" +
                   where(range.first + range.second);
        }
        if (!e.mSliceOffsetTable.empty()) out += ")";
    }
    return out;
}

struct ScanCase {
    const char* name;
    std::vector<NalDef> nals;
    uint32_t sliceMode;
    uint32_t frames;                 // mConfigParam.mFrames
    std::vector<std::string> calls;  // Describe() of each call's list
};

class AVCScan : public ::testing::TestWithParam<ScanCase> {};

TEST_P(AVCScan, EntriesOfEachCall) {
    const AnnexBStream s(GetParam().nals);
    ScratchDir dir;
    OpenedParser<AVCStreamParser> scan;
    ASSERT_TRUE(scan.Open(dir.Write("a.264", s.bytes), GetParam().sliceMode, GetParam().frames));
    for (size_t i = 0; i < GetParam().calls.size(); ++i) {
        const auto list = scan.Next(static_cast<uint32_t>(i + 1));
        EXPECT_EQ(Describe(list, s), GetParam().calls[i]) << "call " << i + 1;
        // A call that ends on a boundary leaves the file where the next unit starts.
        const uint64_t at = scan.Position();
        if (!list.empty() && at != 0 && at != s.bytes.size()) {
            EXPECT_EQ(at, list.back().mOffset + list.back().mLength);
        }
    }
}

const NalDef kSpsUnit{kSps}, kPpsUnit{kPps};
NalDef Idr(int mb, bool four = true) { return {kIdr, mb, four}; }
NalDef P(int mb, bool four = true) { return {kNonIdr, mb, four}; }

INSTANTIATE_TEST_SUITE_P(
    Streams, AVCScan,
    ::testing::Values(
        // The picture starts at the PPS: the PPS travels twice, the SEI with the picture.
        ScanCase{"ParameterSetsSeiIdr", {kSpsUnit, kPpsUnit, {kSei, -1, false}, Idr(0), P(0)}, 0, 0,
                 {"C0-1 C1-2 S1-4", "N4-E*"}},
        ScanCase{"GrowingFirstMbContinuesAPicture", {Idr(0), Idr(11), Idr(22), P(0), P(30)}, 0, 0,
                 {"S0-3", "N3-E*"}},
        ScanCase{"ThreeByteStartCodes",
                 {Idr(0, false), Idr(11, false), P(0, false), P(30, false)}, 0, 0,
                 {"S0-2", "N2-E*"}},
        ScanCase{"DelimiterEndsAPicture", {Idr(0), {kAud}, P(0)}, 0, 0, {"S0-1", "N1-E*"}},
        ScanCase{"SeiEndsAPicture", {Idr(0), {kSei, -1, false}, P(0)}, 0, 0, {"S0-1", "N1-E*"}},
        ScanCase{"Slices", {kSpsUnit, kPpsUnit, Idr(0), Idr(5), Idr(9), P(0)}, 1, 0,
                 {"C0-1 C1-2 S1-5(2-3,3-4,4-5)", "N5-E*(5-E)"}},
        // A scan that begins on 00 00 01 takes it for a 4-byte start code, so
        // the picture's first slice starts a byte early.
        ScanCase{"SlicesAfterThreeByteStartCodes",
                 {kSpsUnit, Idr(0, false), Idr(5, false), P(0, false)}, 1, 0,
                 {"C0-1 S0-3(1-2,2-3)", "N3-E*(~3-E)"}},
        // Partitions start pictures here but are passed over in the slice scan.
        ScanCase{"PartitionsWholePictures", {Idr(0), {kPartitionA, 0}, P(0)}, 0, 0,
                 {"S0-1", "N1-2", "N2-E*"}},
        ScanCase{"PartitionsInsideSlices", {Idr(0), {kPartitionA, 0}, P(0)}, 1, 0,
                 {"S0-2(0-2)", "N2-E*(2-E)"}},
        // More frames wanted than the file holds: the last picture rewinds the file.
        ScanCase{"RewindWhileFramesAreWanted", {Idr(0), P(0)}, 0, 4,
                 {"S0-1", "N1-E", "S0-1", "N1-E*"}},
        // first_mb_in_slice with 12 and 16 leading zeros (the latter's code runs
        // a bit past the four peeked bytes) still orders the slices.
        ScanCase{"LargeFirstMb", {Idr(0), Idr(8000), Idr(70000), P(0)}, 1, 0,
                 {"S0-3(0-1,1-2,2-3)", "N3-E*(3-E)"}},
        // Parameter sets at the end of the file: the last one is cut to nothing.
        ScanCase{"OnlyParameterSets", {kSpsUnit, kPpsUnit}, 0, 0, {"C0-1 C1-1*"}},
        // A slice that continues no picture leaves an empty picture entry, and
        // the next call finds nothing.
        ScanCase{"SliceWithoutAPicture", {kSpsUnit, kPpsUnit, P(5)}, 0, 0,
                 {"C0-1 C1-2 N1-1", ""}}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(AVCStreamParser, EndOfFileAndByteLimitAreReported) {
    const AnnexBStream s({kSpsUnit, Idr(0), P(0)});
    ScratchDir dir;
    OpenedParser<AVCStreamParser> scan, whole;
    ASSERT_TRUE(scan.Open(dir.Write("a.264", s.bytes)) && whole.Open(dir.File("a.264")));
    LogCapture logs;
    // 25 - 5 bytes may be scanned: the picture (which starts at the SPS) ends
    // there, less the 9-byte prefix of its slice.
    const auto cut = scan.Next(1, /*maxBufSize=*/25);
    EXPECT_TRUE(logs.Has(4, kAvcTag, "Buffer is Full."));
    ASSERT_EQ(cut.size(), 2u);
    EXPECT_EQ(cut[1].mOffset + cut[1].mLength, 20u - 9u);

    whole.Next(1);
    whole.Next(2);
    EXPECT_TRUE(logs.HasAll(6, kAvcTag, {"Error. Failed to Read from File.", "File Read Error."}));
    const uint64_t p = s.offsets[2];
    EXPECT_TRUE(logs.Has(4, kAvcTag, "Frame[2] BufferNum[1] Offset[" + std::to_string(p) + "] length[" +
                                         std::to_string(s.bytes.size() - p) + "]"));
    EXPECT_TRUE(whole.Next(3).empty());
    EXPECT_TRUE(logs.Has(6, kAvcTag, "(uint64_t)mInputFile.tellg() == mFileSize : Line# 200"));
}

INSTANTIATE_TEST_SUITE_P(
    AVC, ScannerStream,
    ::testing::Values(StreamCase{"Empty", "avc", "in.264", "", "ERR-4", {{6, "mFileSize == 0 : Line# 29"}}},
                      // No start code anywhere: the scanner appends nothing.
                      StreamCase{"Zeros", "avc", "in.264", std::string(4096, '\0'), "ERR-1",
                                 {{6, "framelist.size() == 0 : Line# 74", kCoreTag}, {6, "ret != TS_OK : Line# 38"}}}),
    CaseName);

TEST(AVCStreamParser, MissingFile) {
    ScratchDir dir;
    AVCStreamParser parser;
    LogCapture logs;
    EXPECT_EQ(InitOn(parser, dir.File("missing.264")), TS_ERROR);
    EXPECT_TRUE(logs.Has(6, kAvcTag, "mInputFile.is_open() == false : Line# 23"));
    EXPECT_EQ(parser.Process(nullptr), -2);
    EXPECT_EQ(parser.Process(MakeLinearBuffer(64)), -3);
    EXPECT_EQ(parser.GetBufferLength(), static_cast<uint32_t>(-3));
}

}  // namespace
}  // namespace tessaro
