#include "compressed/APVStreamParser.h"

#include <gtest/gtest.h>

#include "compressed/ScannerTestSupport.h"
#include "support/LogCapture.h"

namespace tessaro {
namespace {

using test::BigEndian32;
using test::ExpectUnits;
using test::InitOn;
using test::Repeat;
using test::ScratchDir;

constexpr const char* kTag = "Tessaro::Impl::StreamParser::Compressed::APV";
constexpr uint32_t kSync = 2;

std::string Unit(uint32_t size, int fill) { return BigEndian32(size) + Repeat(fill, size); }

TEST(APVStreamParser, EntriesCoverTheSizeField) {
    ScratchDir dir;
    const std::string file = dir.Write("a.apv", Unit(5, 1) + Unit(1, 2) + Unit(300, 3));
    APVStreamParser parser;
    test::LogCapture logs;
    ASSERT_EQ(InitOn(parser, file), TS_OK);
    ASSERT_EQ(parser.frameOffsetTable().size(), 3u);
    ExpectUnits(parser, 1, {{0, 9, kSync, 0}});
    ExpectUnits(parser, 2, {{9, 5, kSync, 0}});
    ExpectUnits(parser, 3, {{14, 304, kSync, 1}});
    EXPECT_EQ(parser.bytesListed(), 318u);
    EXPECT_TRUE(logs.HasAll(4, kTag, {"Saw EOS. Further Skip Reading input file.", "Frame[3] BufferNum[1] Offset[14] length[304]"}));
    EXPECT_TRUE(logs.Has(5, kTag, "ReadfromInputFile"));
}

// The bytes listed are counted over the object's whole life, so a second Init
// never meets the file size again: the last unit is not marked and indexing
// runs past it into an empty call.
TEST(APVStreamParser, BytesListedAreNeverReset) {
    ScratchDir dir;
    const std::string file = dir.Write("a.apv", Unit(5, 1) + Unit(7, 2));
    APVStreamParser parser;
    ASSERT_EQ(InitOn(parser, file), TS_OK);
    EXPECT_EQ(parser.bytesListed(), 20u);
    ASSERT_EQ(parser.DeInit(), TS_OK);
    test::LogCapture logs;
    EXPECT_EQ(parser.Init(), TS_ERROR);
    EXPECT_EQ(parser.bytesListed(), 40u);
    EXPECT_TRUE(logs.HasAll(6, kTag, {"(uint64_t)mInputFile.tellg() == mFileSize : Line# 89", "ret != TS_OK : Line# 36"}));
}

TEST(APVStreamParser, BadSizes) {
    const struct {
        const char* name;
        std::string bytes;
        const char* message;  // nullptr: the failure is silent in the scanner
    } cases[] = {
        {"size 0", Unit(4, 1) + BigEndian32(0) + Repeat(9, 8), nullptr},
        {"size of the whole scratch buffer", BigEndian32(0xC000000) + Repeat(1, 8),
         "Buffer is full, allocated:201326592 required:201326592"},
        {"size with the top bit set", BigEndian32(0x80000001) + Repeat(1, 8),
         "Buffer is full, allocated:201326592 required:2147483649"},
        {"size that fits but not with its field", BigEndian32(0xC000000 - 2) + Repeat(1, 8),
         "maxBufSize < frameSize : Line# 52"},
        {"size field cut", Unit(4, 1) + BigEndian32(9).substr(0, 2), "Error. Failed to Read from File"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<std::pair<std::string, std::string>> reports = {{kTag, "ret != TS_OK : Line# 36"}};
        if (c.message != nullptr) reports.emplace_back(kTag, c.message);
        test::ExpectInitFails("apv", "a.apv", c.bytes, TS_ERROR, reports);
    }
}

TEST(APVStreamParser, DirectCallsOnTheEdges) {
    ScratchDir dir;
    test::OpenedParser<APVStreamParser> parser;
    ASSERT_TRUE(parser.Open(dir.Write("a.apv", Unit(5, 1))));
    std::vector<test::FrameInfo> list;
    test::LogCapture logs;
    EXPECT_EQ(parser.ReadfromInputFile(1, list, 1 << 20, nullptr), -2);
    EXPECT_TRUE(logs.Has(6, kTag, "buffer == nullptr : Line# 91"));
    // A size just below a small limit passes the first check, not the second.
    EXPECT_EQ(parser.ReadfromInputFile(1, list, 6, test::Scratch(6)), TS_ERROR);
    EXPECT_TRUE(logs.HasAll(6, kTag, {"maxBufSize < frameSize : Line# 52", "ret != TS_OK : Line# 158"}));
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(parser.CreateEntryInFrameList(1, list, 16, 9, nullptr), -2);
    EXPECT_TRUE(logs.Has(6, kTag, "buffer == nullptr : Line# 51"));
}

}  // namespace
}  // namespace tessaro
