// The byte source keeps the stream-state rules the scanners decide on, and its
// read-ahead must never show bytes other than the file's.
#include "framework/ByteSource.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

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

// Passing over the tail of a read must look exactly like reading it: same
// position, gcount and state, the kept bytes stored, nothing written past them.
TEST(ByteSource, ReadKeepingAHeadMatchesAFullRead) {
    test::ScratchDir dir;
    const std::string path = dir.Write("f", Bytes(100000));
    struct Case {
        uint64_t pos, n, keep;
    } cases[] = {{0, 10, 1}, {0, 100000, 1}, {99990, 10, 1}, {99990, 20, 1}, {99990, 20, 15},
                 {70000, 40000, 3}, {100000, 5, 1}, {5, 0, 1}, {65530, 20, 20}};
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.pos) + "+" + std::to_string(c.n) + " keep " + std::to_string(c.keep));
        ByteSource full, kept;
        ASSERT_TRUE(full.open(path) && kept.open(path));
        full.seekg(static_cast<int64_t>(c.pos));
        kept.seekg(static_cast<int64_t>(c.pos));
        std::string a(c.n + 1, 'x'), b(c.n + 1, 'x');
        full.read(a.data(), c.n);
        kept.read(b.data(), c.n, c.keep);
        EXPECT_EQ(kept.gcount(), full.gcount());
        EXPECT_EQ(kept.eof(), full.eof());
        EXPECT_EQ(kept.fail(), full.fail());
        EXPECT_EQ(kept.tellg(), full.tellg());
        const size_t stored = std::min<uint64_t>(c.keep, full.gcount());
        EXPECT_EQ(b.substr(0, stored), a.substr(0, stored));
        if (c.keep < c.n) {
            EXPECT_EQ(b[c.keep], 'x');
        }
        full.clear();
        kept.clear();
        EXPECT_EQ(kept.tellg(), full.tellg());
    }
}

}  // namespace
}  // namespace tessaro
