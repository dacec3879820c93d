// The byte source keeps the stream-state rules the scanners decide on.
#include "compressed/ByteSource.h"

#include <gtest/gtest.h>

#include "support/TestPaths.h"

namespace tessaro {
namespace {

using test::ScratchDir;

std::string Bytes(size_t n) {
    std::string s(n, '\0');
    for (size_t i = 0; i < n; ++i) s[i] = static_cast<char>(i * 7 + 1);
    return s;
}

TEST(ByteSource, RunningOutSetsEofAndFailAndOnlyClearRecovers) {
    ScratchDir dir;
    ByteSource in;
    ASSERT_TRUE(in.open(dir.Write("f", Bytes(3))));
    uint8_t b = 0;
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(in.get(b));
    EXPECT_EQ(in.tellg(), 3);
    EXPECT_FALSE(in.get(b));
    EXPECT_TRUE(in.eof());
    EXPECT_TRUE(in.fail());
    EXPECT_EQ(in.tellg(), -1);
    // seekg drops eof but not fail, so it does nothing yet.
    in.seekg(0);
    EXPECT_FALSE(in.eof());
    EXPECT_EQ(in.tellg(), -1);
    in.clear();
    in.seekg(1);
    ASSERT_TRUE(in.get(b));
    EXPECT_EQ(b, 8);
}

TEST(ByteSource, ShortReadReportsWhatArrived) {
    ScratchDir dir;
    ByteSource in;
    ASSERT_TRUE(in.open(dir.Write("f", Bytes(10))));
    uint8_t out[8] = {};
    in.seekg(6);
    EXPECT_FALSE(in.read(out, 8));
    EXPECT_EQ(in.gcount(), 4u);
    EXPECT_TRUE(in.eof());
    EXPECT_EQ(out[0], static_cast<uint8_t>(6 * 7 + 1));
    // A read in a failed state reads nothing.
    EXPECT_FALSE(in.read(out, 1));
    EXPECT_EQ(in.gcount(), 0u);
}

// Sequential reads across the read-ahead boundary and large reads past it
// must see the file exactly.
TEST(ByteSource, SequentialReadsMatchTheFileAcrossTheReadAhead) {
    ScratchDir dir;
    const std::string file = Bytes(300000);
    ByteSource in;
    ASSERT_TRUE(in.open(dir.Write("f", file)));
    std::string seen;
    uint8_t b = 0;
    for (int i = 0; i < 70000; ++i) {
        ASSERT_TRUE(in.get(b));
        seen.push_back(static_cast<char>(b));
    }
    std::string chunk(200000, '\0');
    ASSERT_TRUE(in.read(chunk.data(), chunk.size()));
    seen += chunk;
    in.seekg(-5, std::ios_base::cur);
    ASSERT_TRUE(in.read(chunk.data(), 5));
    EXPECT_EQ(chunk.substr(0, 5), file.substr(269995, 5));
    EXPECT_EQ(seen, file.substr(0, 270000));
    in.seekg(0, std::ios_base::end);
    EXPECT_EQ(in.tellg(), 300000);
}

TEST(ByteSource, PositionedReadIgnoresTheScanStateAndPosition) {
    ScratchDir dir;
    ByteSource in;
    ASSERT_TRUE(in.open(dir.Write("f", Bytes(10))));
    uint8_t b = 0;
    while (in.get(b)) {
    }
    uint8_t out[4] = {};
    EXPECT_EQ(in.ReadAt(2, out, 4), 4u);
    EXPECT_EQ(out[0], 15);
    EXPECT_EQ(in.ReadAt(8, out, 4), 2u);
    EXPECT_EQ(in.ReadAt(~0ull, out, 4), 0u);  // an offset no file reaches
    EXPECT_TRUE(in.eof());
}

TEST(ByteSource, OpenAndCloseFailuresSetTheFailState) {
    ScratchDir dir;
    ByteSource in;
    EXPECT_FALSE(in.open(dir.File("missing")));
    EXPECT_FALSE(in.is_open());
    EXPECT_FALSE(in.open(dir.path()));  // a directory
    EXPECT_FALSE(in.open(""));
    ASSERT_TRUE(in.open(dir.Write("f", "ab")));
    EXPECT_TRUE(in.good());
    EXPECT_FALSE(in.open(dir.Write("g", "cd")));  // already open
    EXPECT_TRUE(in.is_open());
    in.clear();
    in.close();
    EXPECT_FALSE(in.fail());
    in.close();  // nothing left to close
    EXPECT_TRUE(in.fail());
    uint8_t b = 0;
    in.clear();
    EXPECT_FALSE(in.get(b));
}

}  // namespace
}  // namespace tessaro
