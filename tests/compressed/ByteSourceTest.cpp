// The byte source keeps the stream-state rules the scanners decide on, and its
// read-ahead must never show bytes other than the file's.
#include "compressed/ByteSource.h"

#include <gtest/gtest.h>

#include "support/TestPaths.h"

namespace tessaro {
namespace {

std::string Bytes(size_t n) {
    std::string s(n, '\0');
    for (size_t i = 0; i < n; ++i) s[i] = static_cast<char>(i * 7 + 1);
    return s;
}

TEST(ByteSource, EndOfFileFailsUntilClearedAndPositionedReadsIgnoreIt) {
    test::ScratchDir dir;
    ByteSource in;
    EXPECT_FALSE(in.open(dir.path()));  // a directory is no input
    in.clear();
    ASSERT_TRUE(in.open(dir.Write("f", Bytes(10))));
    uint8_t out[8] = {};
    in.seekg(6);
    EXPECT_FALSE(in.read(out, 8));
    EXPECT_EQ(in.gcount(), 4u);
    EXPECT_TRUE(in.eof() && in.fail());
    EXPECT_EQ(in.tellg(), -1);
    in.seekg(0);  // drops eof but not fail, so it does not move
    EXPECT_FALSE(in.eof());
    EXPECT_FALSE(in.get(out[0]));
    EXPECT_EQ(in.ReadAt(8, out, 4), 2u);  // the delivery path reads regardless
    EXPECT_EQ(in.ReadAt(~0ull, out, 4), 0u);
    in.clear();
    in.seekg(1);
    ASSERT_TRUE(in.get(out[0]));
    EXPECT_EQ(out[0], 8);
    in.close();
    in.close();  // nothing left to close
    EXPECT_TRUE(in.fail());
}

TEST(ByteSource, SequentialReadsMatchTheFileAcrossTheReadAhead) {
    test::ScratchDir dir;
    const std::string file = Bytes(300000);
    ByteSource in;
    ASSERT_TRUE(in.open(dir.Write("f", file)));
    std::string seen;
    uint8_t b = 0;
    for (int i = 0; i < 70000 && in.get(b); ++i) seen.push_back(static_cast<char>(b));
    std::string chunk(200000, '\0');  // larger than the read-ahead
    ASSERT_TRUE(in.read(chunk.data(), chunk.size()));
    seen += chunk;
    EXPECT_EQ(seen, file.substr(0, 270000));
    in.seekg(-5, std::ios_base::cur);
    ASSERT_TRUE(in.read(chunk.data(), 5));
    EXPECT_EQ(chunk.substr(0, 5), file.substr(269995, 5));
    in.seekg(0, std::ios_base::end);
    EXPECT_EQ(in.tellg(), 300000);
}

}  // namespace
}  // namespace tessaro
