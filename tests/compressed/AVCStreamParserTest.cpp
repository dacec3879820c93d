// The H.264 scanner on hand-built byte streams: where pictures and parameter
// sets begin and end, slice tables, end-of-file handling and bad input.
#include "compressed/AVCStreamParser.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>

#include "AnnexBBuilder.h"
#include "support/ClientBuffer.h"
#include "support/LogCapture.h"
#include "support/TestPaths.h"

namespace tessaro {
namespace {

using test::AnnexBBuilder;
using test::LogCapture;
using test::ScratchDir;
using namespace test;  // NAL header constants
using FrameInfo = StreamParserCompressed::FrameInfo;

constexpr const char* kAvcTag = "Tessaro::Impl::StreamParser::Compressed::AVC";
constexpr const char* kCoreTag = "Tessaro::Impl::StreamParser::Compressed";
constexpr uint32_t kConfig = StreamParserCompressed::FRAME_TYPE_CODEC_CONFIG;
constexpr uint32_t kSync = StreamParserCompressed::FRAME_TYPE_SYNC;
constexpr uint32_t kNonSync = StreamParserCompressed::FRAME_TYPE_NON_SYNC;

// Drives ReadfromInputFile one call at a time, without BuildOffsetTable.
class ScannerProbe : public AVCStreamParser {
public:
    void Open(const std::string& path, uint32_t sliceMode = 0, uint32_t frames = 0) {
        mConfigParam.mFrames = frames;
        ASSERT_TRUE(mInputFile.open(path));
        mInputFile.seekg(0, std::ios_base::end);
        mFileSize = static_cast<uint64_t>(mInputFile.tellg());
        mInputFile.seekg(0);
        mSliceMode = sliceMode;
        mScratch.reset(new unsigned char[1 << 16], std::default_delete<unsigned char[]>());
    }
    std::vector<FrameInfo> Next(uint32_t frameNum, int32_t expected = TS_OK,
                                uint32_t maxBufSize = 1 << 16) {
        std::vector<FrameInfo> list;
        EXPECT_EQ(ReadfromInputFile(frameNum, list, maxBufSize, mScratch), expected);
        return list;
    }
    int64_t Position() { return mInputFile.tellg(); }
    ByteSource& input() { return mInputFile; }
    std::shared_ptr<unsigned char> mScratch;
};

void ExpectEntry(const FrameInfo& e, uint64_t offset, uint64_t length, uint32_t type,
                 uint32_t last = 0) {
    EXPECT_EQ(e.mOffset, offset);
    EXPECT_EQ(e.mLength, length);
    EXPECT_EQ(e.mFrameType, type);
    EXPECT_EQ(e.mIsLastFrame, last);
    EXPECT_EQ(e.mLayerId, 0u);
}

TEST(AVCStreamParser, ParameterSetsThenIdrGiveThreeEntriesAndThePictureStartsAtThePps) {
    AnnexBBuilder s;
    const uint64_t sps = s.Unit(kSps, 9);
    const uint64_t pps = s.Unit(kPps, 4);
    const uint64_t sei = s.Unit(kSei, 5, /*fourByte=*/false);
    s.Slice(kIdr, 0, 20);
    const uint64_t p = s.Slice(kNonIdr, 0, 10);
    ScratchDir dir;
    ScannerProbe scan;
    scan.Open(dir.Write("a.264", s.bytes));

    auto first = scan.Next(1);
    ASSERT_EQ(first.size(), 3u);
    ExpectEntry(first[0], sps, pps - sps, kConfig);
    ExpectEntry(first[1], pps, sei - pps, kConfig);  // closed by the SEI
    // The PPS travels twice: once alone, once at the head of the picture, with the SEI.
    ExpectEntry(first[2], pps, p - pps, kSync);
    EXPECT_EQ(scan.Position(), static_cast<int64_t>(p));

    LogCapture logs;
    auto second = scan.Next(2);
    ASSERT_EQ(second.size(), 1u);
    ExpectEntry(second[0], p, s.bytes.size() - p, kNonSync, /*last=*/1);
    EXPECT_EQ(second[0].mFrameNum, 2u);
    EXPECT_TRUE(logs.Contains(6, kAvcTag, "Error. Failed to Read from File.")) << logs.Dump();
    EXPECT_TRUE(logs.Contains(6, kAvcTag, "File Read Error."));
    EXPECT_TRUE(logs.Contains(4, kAvcTag, "Frame[2] BufferNum[1] Offset[" + std::to_string(p) +
                                              "] length[" +
                                              std::to_string(s.bytes.size() - p) + "]"));

    // The stream was cleared at the end: the next call finds the position at the end.
    logs.Clear();
    EXPECT_TRUE(scan.Next(3).empty());
    EXPECT_TRUE(logs.Contains(6, kAvcTag, "(uint64_t)mInputFile.tellg() == mFileSize : Line# 200"));
}

// The picture boundary rules, each on a small stream: where the first call's
// picture ends, for 3- and 4-byte start codes.
struct BoundaryCase {
    const char* name;
    bool fourByte;
};

class AVCPictureBoundary : public ::testing::TestWithParam<BoundaryCase> {};

TEST_P(AVCPictureBoundary, GrowingFirstMbContinuesAPictureAndANonGrowingOneEndsIt) {
    const bool four = GetParam().fourByte;
    AnnexBBuilder s;
    const uint64_t idr = s.Slice(kIdr, 0, 12, four);
    s.Slice(kIdr, 11, 12, four);
    s.Slice(kIdr, 22, 12, four);
    const uint64_t next = s.Slice(kNonIdr, 0, 12, four);
    s.Slice(kNonIdr, 30, 12, four);
    ScratchDir dir;
    ScannerProbe scan;
    scan.Open(dir.Write("a.264", s.bytes));

    auto first = scan.Next(1);
    ASSERT_EQ(first.size(), 1u);
    ExpectEntry(first[0], idr, next - idr, kSync);
    EXPECT_EQ(scan.Position(), static_cast<int64_t>(first[0].mOffset + first[0].mLength));
    auto second = scan.Next(2);
    ASSERT_EQ(second.size(), 1u);
    ExpectEntry(second[0], next, s.bytes.size() - next, kNonSync, 1);
}

TEST_P(AVCPictureBoundary, DelimiterOrSeiAfterAPictureEndsItWithoutAnEntryOfItsOwn) {
    const bool four = GetParam().fourByte;
    for (uint8_t ender : {kAud, kSei}) {
        SCOPED_TRACE(ender == kAud ? "delimiter" : "SEI");
        AnnexBBuilder s;
        const uint64_t idr = s.Slice(kIdr, 0, 12, four);
        const uint64_t aud = s.Unit(ender, 2, four);
        s.Slice(kNonIdr, 0, 12, four);
        ScratchDir dir;
        ScannerProbe scan;
        scan.Open(dir.Write("a.264", s.bytes));
        auto first = scan.Next(1);
        ASSERT_EQ(first.size(), 1u);
        ExpectEntry(first[0], idr, aud - idr, kSync);
        // The next picture carries the delimiter in front of its slice.
        auto second = scan.Next(2);
        ASSERT_EQ(second.size(), 1u);
        ExpectEntry(second[0], aud, s.bytes.size() - aud, kNonSync, 1);
    }
}

TEST_P(AVCPictureBoundary, SliceModeRecordsEverySliceFromItsStartCode) {
    const bool four = GetParam().fourByte;
    AnnexBBuilder s;
    s.Unit(kSps, 7);  // the file starts with a 4-byte start code
    const uint64_t pps = s.Unit(kPps, 3, four);
    const uint64_t a = s.Slice(kIdr, 0, 12, four);
    const uint64_t b = s.Slice(kIdr, 5, 30, four);
    const uint64_t c = s.Slice(kIdr, 9, 3, four);
    const uint64_t next = s.Slice(kNonIdr, 0, 12, four);
    ScratchDir dir;
    ScannerProbe scan;
    scan.Open(dir.Write("a.264", s.bytes), /*sliceMode=*/1);

    auto first = scan.Next(1);
    ASSERT_EQ(first.size(), 3u);
    ExpectEntry(first[2], pps, next - pps, kSync);
    const auto& slices = first[2].mSliceOffsetTable;
    ASSERT_EQ(slices.size(), 3u);
    EXPECT_EQ(slices.at(1), std::make_pair(a, b - a));
    EXPECT_EQ(slices.at(2), std::make_pair(b, c - b));
    EXPECT_EQ(slices.at(3), std::make_pair(c, next - c));
    EXPECT_EQ(scan.Position(), static_cast<int64_t>(next));

    // The last picture's slice runs to the end of the file. This call's scan
    // starts on a start code with nothing before it, and 00 00 01 there counts
    // as a 4-byte start code: with a 3-byte one the slice starts a byte early.
    LogCapture logs;
    auto second = scan.Next(2);
    ASSERT_EQ(second.size(), 1u);
    ExpectEntry(second[0], next, s.bytes.size() - next, kNonSync, 1);
    const uint64_t slice = four ? next : next - 1;
    EXPECT_EQ(second[0].mSliceOffsetTable.at(1), std::make_pair(slice, s.bytes.size() - slice));
    EXPECT_TRUE(logs.Contains(4, kAvcTag, "File Read Error")) << logs.Dump();
    EXPECT_EQ(logs.Count(6, kAvcTag, "Error. Failed to Read from File."), 1u);
    EXPECT_TRUE(logs.Contains(6, kAvcTag, "File Read Error."));
}

INSTANTIATE_TEST_SUITE_P(StartCodes, AVCPictureBoundary,
                         ::testing::Values(BoundaryCase{"FourByte", true},
                                           BoundaryCase{"ThreeByte", false}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST(AVCStreamParser, PartitionsStartPicturesButAreSkippedInsideTheSliceScan) {
    AnnexBBuilder s;
    const uint64_t idr = s.Slice(kIdr, 0, 12);
    const uint64_t part = s.Slice(kPartitionA, 0, 12);  // type 2 with first_mb_in_slice 0
    const uint64_t next = s.Slice(kNonIdr, 0, 12);
    ScratchDir dir;
    {
        SCOPED_TRACE("whole pictures");
        ScannerProbe scan;
        scan.Open(dir.Write("a.264", s.bytes));
        auto first = scan.Next(1);
        ASSERT_EQ(first.size(), 1u);
        ExpectEntry(first[0], idr, part - idr, kSync);
        auto second = scan.Next(2);
        ASSERT_EQ(second.size(), 1u);
        ExpectEntry(second[0], part, next - part, kNonSync);
    }
    {
        SCOPED_TRACE("slices");
        ScannerProbe scan;
        scan.Open(dir.Write("b.264", s.bytes), 1);
        auto first = scan.Next(1);
        ASSERT_EQ(first.size(), 1u);
        ExpectEntry(first[0], idr, next - idr, kSync);
        ASSERT_EQ(first[0].mSliceOffsetTable.size(), 1u);
        EXPECT_EQ(first[0].mSliceOffsetTable.at(1), std::make_pair(idr, next - idr));
    }
}

TEST(AVCStreamParser, MoreFramesWantedThanTheFileHoldsRewindsAtTheLastPicture) {
    AnnexBBuilder s;
    s.Slice(kIdr, 0, 12);
    const uint64_t p = s.Slice(kNonIdr, 0, 12);
    ScratchDir dir;
    ScannerProbe scan;
    scan.Open(dir.Write("a.264", s.bytes), 0, /*frames=*/5);
    scan.Next(1);
    LogCapture logs;
    auto last = scan.Next(2);
    ASSERT_EQ(last.size(), 1u);
    ExpectEntry(last[0], p, s.bytes.size() - p, kNonSync, /*last=*/0);
    EXPECT_TRUE(logs.Contains(4, kAvcTag,
                              "Frames To Parse > Frames in Inputfile. Restarting from begin.."));
    EXPECT_EQ(scan.Position(), 0);
    // With frameNum reaching mFrames the end is marked instead.
    scan.Next(4);
    auto fifth = scan.Next(5);
    ASSERT_EQ(fifth.size(), 1u);
    EXPECT_EQ(fifth[0].mIsLastFrame, 1u);
}

TEST(AVCStreamParser, ByteLimitEndsTheUnitWhereTheScanStopped) {
    AnnexBBuilder s;
    const uint64_t idr = s.Slice(kIdr, 0, 200);
    s.Slice(kNonIdr, 0, 12);
    ScratchDir dir;
    ScannerProbe scan;
    scan.Open(dir.Write("a.264", s.bytes));
    LogCapture logs;
    auto first = scan.Next(1, TS_OK, /*maxBufSize=*/64);
    ASSERT_EQ(first.size(), 1u);
    EXPECT_TRUE(logs.Contains(4, kAvcTag, "Buffer is Full."));
    // 59 bytes scanned; the unit ends there, less the slice's 9-byte prefix.
    ExpectEntry(first[0], idr, 59 - 9 - idr, kSync);
}

TEST(AVCStreamParser, ScanChecksReportTheirLines) {
    AnnexBBuilder s;
    s.Slice(kIdr, 0, 12);
    ScratchDir dir;
    ScannerProbe scan;
    scan.Open(dir.Write("a.264", s.bytes));
    LogCapture logs;
    std::vector<FrameInfo> list;
    EXPECT_EQ(scan.ReadfromInputFile(1, list, 1 << 16, nullptr), -2);
    EXPECT_TRUE(logs.Contains(6, kAvcTag, "buffer == nullptr : Line# 202"));
    list.emplace_back();
    EXPECT_EQ(scan.ParseSlicesFromFrame(list, 1 << 16, nullptr), -4);
    EXPECT_TRUE(logs.Contains(6, kAvcTag, "buffer == nullptr : Line# 48"));

    uint8_t byte = 0;
    while (scan.input().get(byte)) {
    }
    ASSERT_TRUE(scan.input().eof());
    EXPECT_TRUE(scan.Next(1).empty());
    EXPECT_TRUE(logs.Contains(6, kAvcTag, "mInputFile.eof() : Line# 199"));
}

// first_mb_in_slice comes from the four bytes after the NAL header.
TEST(AVCStreamParser, LargeFirstMbValuesStillOrderSlices) {
    AnnexBBuilder s;
    const uint64_t a = s.Slice(kIdr, 0, 4);
    s.Slice(kIdr, 8000, 4);    // 13 leading zeros: the code fills the four bytes
    s.Slice(kIdr, 65000, 4);   // 16 leading zeros: the suffix runs past them
    const uint64_t next = s.Slice(kNonIdr, 0, 4);
    ScratchDir dir;
    ScannerProbe scan;
    scan.Open(dir.Write("a.264", s.bytes), 1);
    auto first = scan.Next(1);
    ASSERT_EQ(first.size(), 1u);
    ExpectEntry(first[0], a, next - a, kSync);
    EXPECT_EQ(first[0].mSliceOffsetTable.size(), 3u);
}

struct BadInput {
    const char* name;
    std::string bytes;
    bool create;  // false: the file does not exist
    int32_t status;
    std::vector<std::pair<const char*, const char*>> reports;  // (tag, message) at priority 6
};

class AVCBadInput : public ::testing::TestWithParam<BadInput> {};

TEST_P(AVCBadInput, InitFailsWithTheReportedStatusAndDoesNotRun) {
    ScratchDir dir;
    const std::string path =
        GetParam().create ? dir.Write("in.264", GetParam().bytes) : dir.File("missing.264");
    AVCStreamParser parser;
    ConfigParam config;
    config.mInputFileName = path;
    parser.SetConfig(config);
    LogCapture logs;
    EXPECT_EQ(parser.Init(), GetParam().status);
    for (const auto& [tag, message] : GetParam().reports) {
        EXPECT_TRUE(logs.Contains(6, tag, message)) << message << "\n" << logs.Dump();
    }
    EXPECT_EQ(parser.state(), STATE::CONFIGURED);
    auto buffer = MakeLinearBuffer(64);
    EXPECT_EQ(parser.Process(buffer), -3);
    EXPECT_EQ(parser.GetBufferLength(), static_cast<uint32_t>(-3));
}

INSTANTIATE_TEST_SUITE_P(
    Files, AVCBadInput,
    ::testing::Values(
        BadInput{"Missing", "", false, TS_ERROR,
                 {{kAvcTag, "mInputFile.is_open() == false : Line# 23"}}},
        BadInput{"Empty", "", true, -4, {{kAvcTag, "mFileSize == 0 : Line# 29"}}},
        // No start code anywhere: the scanner appends nothing.
        BadInput{"Zeros", std::string(4096, '\0'), true, TS_ERROR,
                 {{kCoreTag, "framelist.size() == 0 : Line# 74"},
                  {kAvcTag, "ret != TS_OK : Line# 38"}}},
        BadInput{"NoStartCode", std::string(100, '\x47'), true, TS_ERROR,
                 {{kAvcTag, "ret != TS_OK : Line# 38"}}}),
    [](const auto& p) { return std::string(p.param.name); });

// Random bytes and streams cut anywhere: indexing either fails cleanly or
// gives a table whose every unit lies inside the file, and delivery of the
// whole table then succeeds.
TEST(AVCStreamParser, RandomAndCutInputsNeverEscapeTheFile) {
    std::mt19937 rng(1234);
    std::ifstream sample(DataPath("h264/four_slices_bframes.264"), std::ios::binary);
    const std::string real((std::istreambuf_iterator<char>(sample)), {});
    ASSERT_FALSE(real.empty());
    ScratchDir dir;
    for (int round = 0; round < 60; ++round) {
        std::string bytes;
        if (round % 2 == 0) {
            bytes.resize(1 + rng() % 3000);
            // Few distinct values so that start codes and slice headers occur.
            for (char& c : bytes) c = static_cast<char>("\0\0\0\1\x65\x41\x67\x68\x09\x80"[rng() % 10]);
        } else {
            bytes = real.substr(0, 1 + rng() % real.size());
        }
        for (uint32_t sliceMode : {0u, 1u}) {
            SCOPED_TRACE(testing::Message() << "round " << round << " slice mode " << sliceMode);
            AVCStreamParser parser;
            ConfigParam config;
            config.mInputFileName = dir.Write("r.264", bytes);
            config.mSliceMode = sliceMode != 0;
            parser.SetConfig(config);
            if (parser.Init() != TS_OK) continue;
            for (const auto& [frame, units] : parser.frameOffsetTable()) {
                for (const auto& unit : units) {
                    EXPECT_LE(unit.mOffset + unit.mLength, bytes.size()) << "frame " << frame;
                    for (const auto& [n, range] : unit.mSliceOffsetTable) {
                        EXPECT_LE(range.first + range.second, bytes.size()) << "slice " << n;
                    }
                }
            }
        }
    }
}

}  // namespace
}  // namespace tessaro
