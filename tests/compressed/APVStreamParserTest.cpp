// The APV scanner: access units behind 4-byte big-endian sizes.
#include "compressed/APVStreamParser.h"

#include <gtest/gtest.h>

#include "compressed/ScannerTestSupport.h"

namespace tessaro {
namespace {

using test::BigEndian32;
using test::Repeat;
using test::ScannerStream;
using test::StreamCase;

constexpr const char* kTag = "Tessaro::Impl::StreamParser::Compressed::APV";

std::string Unit(uint32_t size, int fill) { return BigEndian32(size) + Repeat(fill, size); }

StreamCase Case(const char* name, std::string bytes, std::string table, std::vector<test::Log> logs = {}) {
    return {name, "apv", "a.apv", std::move(bytes), std::move(table), std::move(logs)};
}
const test::Log kScanFailed = {6, "ret != TS_OK : Line# 36"};

INSTANTIATE_TEST_SUITE_P(
    APV, ScannerStream,
    ::testing::Values(
        // Entries cover the size field.
        Case("EntriesCoverTheSizeField", Unit(5, 1) + Unit(1, 2) + Unit(300, 3), "1: S0+9 | 2: S9+5 | 3: S14+304*",
             {{4, "Saw EOS. Further Skip Reading input file."}, {4, "Frame[3] BufferNum[1] Offset[14] length[304]"},
              {5, "ReadfromInputFile"}}),
        Case("SizeZero", Unit(4, 1) + BigEndian32(0) + Repeat(9, 8), "ERR-1", {kScanFailed}),
        Case("SizeOfTheWholeScratchBuffer", BigEndian32(0xC000000) + Repeat(1, 8), "ERR-1",
             {{6, "Buffer is full, allocated:201326592 required:201326592"}, kScanFailed}),
        Case("SizeWithTheTopBitSet", BigEndian32(0x80000001) + Repeat(1, 8), "ERR-1",
             {{6, "Buffer is full, allocated:201326592 required:2147483649"}, kScanFailed}),
        Case("SizeThatFitsButNotWithItsField", BigEndian32(0xC000000 - 2) + Repeat(1, 8), "ERR-1",
             {{6, "maxBufSize < frameSize : Line# 52"}, kScanFailed}),
        Case("SizeFieldCut", Unit(4, 1) + BigEndian32(9).substr(0, 2), "ERR-1",
             {{6, "Error. Failed to Read from File"}, kScanFailed})),
    test::CaseName);

// The bytes listed are counted over the object's whole life, so a second Init
// never meets the file size again: the last unit is not marked and indexing
// runs past it into an empty call.
TEST(APVStreamParser, BytesListedAreNeverReset) {
    test::ScratchDir dir;
    APVStreamParser parser;
    ASSERT_EQ(test::InitOn(parser, dir.Write("a.apv", Unit(5, 1) + Unit(7, 2))), TS_OK);
    EXPECT_EQ(parser.bytesListed(), 20u);
    ASSERT_EQ(parser.DeInit(), TS_OK);
    test::LogCapture logs;
    EXPECT_EQ(parser.Init(), TS_ERROR);
    EXPECT_EQ(parser.bytesListed(), 40u);
    EXPECT_TRUE(logs.HasAll(6, kTag, {"(uint64_t)mInputFile.tellg() == mFileSize : Line# 89", "ret != TS_OK : Line# 36"}));
}

TEST(APVStreamParser, DirectCallsOnTheEdges) {
    test::ScratchDir dir;
    test::OpenedParser<APVStreamParser> parser;
    ASSERT_TRUE(parser.Open(dir.Write("a.apv", Unit(5, 1))));
    std::vector<test::FrameInfo> list;
    test::LogCapture logs;
    EXPECT_EQ(parser.ReadfromInputFile(1, list, 1 << 20, nullptr), -2);
    // A size just below a small limit passes the first check, not the second.
    EXPECT_EQ(parser.ReadfromInputFile(1, list, 6, test::Scratch(6)), TS_ERROR);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(parser.CreateEntryInFrameList(1, list, 16, 9, nullptr), -2);
    EXPECT_TRUE(logs.HasAll(6, kTag, {"buffer == nullptr : Line# 91", "maxBufSize < frameSize : Line# 52",
                                      "ret != TS_OK : Line# 158", "buffer == nullptr : Line# 51"}));
}

}  // namespace
}  // namespace tessaro
