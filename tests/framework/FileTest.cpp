// The file class: what opens, what is refused without blocking, and transfers
// that run across calls and stop at the end of the file.
#include "framework/File.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <numeric>
#include <string>
#include <vector>

#include "support/TestPaths.h"

namespace tessaro {
namespace {

std::string Counting(size_t n) {
    std::string s(n, '\0');
    std::iota(s.begin(), s.end(), '\0');
    return s;
}

// Inputs without an end, or that would block the open, are refused: a FIFO
// without a writer would otherwise hold the open for ever.
TEST(File, OpensOnlyFilesOfBytesForReading) {
    test::ScratchDir dir;
    const std::string fifo = dir.File("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const struct {
        std::string path;
        bool opens;
    } cases[] = {{dir.Write("f", "abc"), true}, {dir.Write("empty", ""), true}, {fifo, false},
                 {"/dev/null", false},          {dir.path(), false},            {dir.File("missing"), false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        File file;
        EXPECT_EQ(file.OpenForReading(c.path), c.opens);
        EXPECT_EQ(file.IsOpen(), c.opens);
        if (c.opens) {
            EXPECT_FALSE(file.OpenForReading(c.path));  // already open
        }
    }
}

TEST(File, PositionedReadsStopAtTheEndAndTellErrorsApart) {
    test::ScratchDir dir;
    const std::string bytes = Counting(100);
    File file;
    ASSERT_TRUE(file.OpenForReading(dir.Write("f", bytes)));
    EXPECT_EQ(file.Size(), 100u);
    std::string out(10, '.');
    bool error = true;
    EXPECT_EQ(file.ReadAt(95, out.data(), 10, &error), 5u);
    EXPECT_FALSE(error);
    EXPECT_EQ(out.substr(0, 5), bytes.substr(95));
    EXPECT_EQ(out.substr(5), ".....");
    EXPECT_EQ(file.ReadAt(~0ull, out.data(), 4), 0u);

    File writeOnly;
    ASSERT_TRUE(writeOnly.OpenForWriting(dir.File("w")));
    EXPECT_EQ(writeOnly.ReadAt(0, out.data(), 4, &error), 0u);
    EXPECT_TRUE(error);  // not readable: an error, not the end
    EXPECT_TRUE(writeOnly.Close());
    EXPECT_FALSE(writeOnly.Close());  // nothing left to close
    EXPECT_EQ(writeOnly.ReadAt(0, out.data(), 4, &error), 0u);
    EXPECT_TRUE(error);
}

// More pieces than one call takes, some empty, the last one cut by the end of
// the file: everything up to the end lands in place, the count says where.
TEST(File, GatheredReadsRunAcrossCallsAndStopAtTheEnd) {
    test::ScratchDir dir;
    const std::string bytes = Counting(5000);
    File file;
    ASSERT_TRUE(file.OpenForReading(dir.Write("f", bytes)));
    std::vector<char> dst(2 * 3000, '.');
    std::vector<iovec> pieces;
    for (int i = 0; i < 3000; ++i) pieces.push_back(iovec{&dst[2 * i], i % 7 == 3 ? 0u : 2u});
    EXPECT_EQ(file.ReadGatheredAt(pieces, 100), 4900u);
    size_t from = 100;
    for (int i = 0; i < 3000; ++i) {
        for (int b = 0; b < 2; ++b) {
            const bool filled = i % 7 != 3 && from < bytes.size();
            EXPECT_EQ(dst[2 * i + b], filled ? bytes[from] : '.') << "piece " << i;
            if (filled) ++from;
        }
    }
}

// Sequential writes append at the descriptor's position, positioned writes
// leave it alone; a second open for writing empties the file.
TEST(File, WritesLandInOrderAndSayHowFarTheyGot) {
    test::ScratchDir dir;
    std::vector<std::string> rows;
    std::string expected;
    for (int i = 0; i < 2500; ++i) rows.push_back(std::string(1 + i % 5, static_cast<char>('a' + i % 26)));
    std::vector<iovec> pieces;
    for (std::string& row : rows) {
        pieces.push_back(iovec{row.data(), row.size()});
        expected += row;
    }
    File file;
    ASSERT_TRUE(file.OpenForWriting(dir.File("out"), true));
    EXPECT_EQ(file.WriteGathered(pieces), expected.size());
    EXPECT_EQ(file.Write("tail", 4), 4u);
    EXPECT_EQ(file.WriteAt(0, "AB", 2), 2u);
    EXPECT_EQ(file.Write("!", 1), 1u);
    expected.replace(0, 2, "AB");
    expected += "tail!";
    std::string back(expected.size() + 1, '\0');
    EXPECT_EQ(file.ReadAt(0, back.data(), back.size()), expected.size());
    back.pop_back();
    EXPECT_EQ(back, expected);

    File again;
    ASSERT_TRUE(again.OpenForWriting(dir.File("out")));
    EXPECT_EQ(again.Size(), 0u);

    // A descriptor that refuses writes: nothing counted.
    File readOnly;
    ASSERT_TRUE(readOnly.OpenForReading(dir.Write("r", "x")));
    std::vector<iovec> one{iovec{rows[0].data(), rows[0].size()}};
    EXPECT_EQ(readOnly.WriteGathered(one), 0u);
    EXPECT_EQ(readOnly.Write("x", 1), 0u);
    EXPECT_EQ(readOnly.WriteAt(0, "x", 1), 0u);
    EXPECT_FALSE(File().OpenForWriting(dir.File("no/such/dir")));
}

TEST(File, MovingHandsTheDescriptorOver) {
    test::ScratchDir dir;
    File first;
    ASSERT_TRUE(first.OpenForReading(dir.Write("f", "abc")));
    const int fd = first.fd();
    File second(std::move(first));
    EXPECT_FALSE(first.IsOpen());
    EXPECT_EQ(second.fd(), fd);
    File third;
    ASSERT_TRUE(third.OpenForReading(dir.Write("g", "de")));
    third = std::move(second);
    EXPECT_EQ(third.fd(), fd);
    EXPECT_EQ(third.Size(), 3u);
}

}  // namespace
}  // namespace tessaro
