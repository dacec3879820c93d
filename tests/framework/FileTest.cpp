// The file class: what opens, what is refused without blocking, and transfers
// that run across calls and stop at the end of the file.
#include "framework/File.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "support/TestPaths.h"

namespace tessaro {
namespace {

// Inputs without an end, or that would block the open, are refused: a FIFO
// without a writer would otherwise hold the open for ever.
TEST(File, OpensOnlyFilesOfBytesForReading) {
    test::ScratchDir dir;
    const std::string fifo = dir.File("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::pair<std::string, bool> cases[] = {{dir.Write("f", "abc"), true}, {dir.Write("empty", ""), true},
                                                  {fifo, false}, {"/dev/null", false}, {dir.path(), false},
                                                  {dir.File("missing"), false}};
    for (const auto& [path, opens] : cases) {
        SCOPED_TRACE(path);
        File file;
        EXPECT_EQ(file.OpenForReading(path), opens);
        EXPECT_EQ(file.IsOpen(), opens);
        EXPECT_TRUE(!opens || !file.OpenForReading(path)) << "already open";
    }
    EXPECT_FALSE(File().OpenForWriting(dir.File("no/such/dir")));
}

// Sequential writes append at the descriptor's position, positioned writes
// leave it alone; gathered transfers take more pieces than one call does, some
// empty, and stop at the end of the file; the counts say how far they got.
TEST(File, TransfersLandInOrderAndStopAtTheEnd) {
    test::ScratchDir dir;
    std::vector<std::string> rows;
    std::string expected;
    for (int i = 0; i < 2500; ++i) rows.push_back(std::string(i % 7 == 3 ? 0 : 1 + i % 5, char('a' + i % 26)));
    std::vector<iovec> pieces;
    for (std::string& row : rows) {
        pieces.push_back(iovec{row.data(), row.size()});
        expected += row;
    }
    File file, moved;
    ASSERT_TRUE(file.OpenForWriting(dir.File("out"), true));
    EXPECT_EQ(file.WriteGathered(pieces), expected.size());
    EXPECT_EQ(file.Write("tail", 4), 4u);
    EXPECT_EQ(file.WriteAt(0, "AB", 2), 2u);
    EXPECT_EQ(file.Write("!", 1), 1u);
    expected = "AB" + expected.substr(2) + "tail!";
    moved = std::move(file);
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(moved.Size(), expected.size());
    std::string back(expected.size() + 1, '.');
    bool error = true;
    EXPECT_EQ(moved.ReadAt(2, back.data(), back.size(), &error), expected.size() - 2);
    EXPECT_FALSE(error) << "the end is no error";
    EXPECT_EQ(back.substr(0, expected.size() - 2), expected.substr(2));
    EXPECT_EQ(moved.ReadAt(~0ull, back.data(), 4), 0u);
    std::string gathered(expected.size(), '.');
    pieces.clear();  // the write used them up
    for (std::string& row : rows) {
        row.assign(row.size(), '.');
        pieces.push_back(iovec{row.data(), row.size()});
    }
    pieces.push_back(iovec{&gathered[0], gathered.size()});
    EXPECT_EQ(moved.ReadGatheredAt(pieces, 100), expected.size() - 100);
    std::string all;
    for (const std::string& row : rows) all += row;
    all += gathered;
    EXPECT_EQ(all.substr(0, expected.size() - 100), expected.substr(100));
    EXPECT_EQ(all.find_first_not_of('.', expected.size() - 100), std::string::npos);
    File again;
    ASSERT_TRUE(again.OpenForWriting(dir.File("out")));
    EXPECT_EQ(again.Size(), 0u) << "a second open for writing empties the file";
}

// A descriptor that refuses the transfer: nothing counted, and a failed read
// is an error, not the end.
TEST(File, RefusedTransfersCountNothing) {
    test::ScratchDir dir;
    File writeOnly, readOnly;
    ASSERT_TRUE(writeOnly.OpenForWriting(dir.File("w")));
    ASSERT_TRUE(readOnly.OpenForReading(dir.Write("r", "x")));
    char out[4];
    bool error = false;
    EXPECT_EQ(writeOnly.ReadAt(0, out, 4, &error), 0u);
    EXPECT_TRUE(error);
    std::vector<iovec> one{iovec{out, 1}};
    EXPECT_EQ(readOnly.WriteGathered(one) + readOnly.Write("x", 1) + readOnly.WriteAt(0, "x", 1), 0u);
    EXPECT_TRUE(writeOnly.Close());
    EXPECT_FALSE(writeOnly.Close()) << "nothing left to close";
    error = false;
    EXPECT_EQ(writeOnly.ReadAt(0, out, 4, &error), 0u);
    EXPECT_TRUE(error);
}

}  // namespace
}  // namespace tessaro
