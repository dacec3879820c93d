#include "framework/GatheredIo.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <numeric>
#include <string>
#include <vector>

namespace tessaro {
namespace {

// More pieces than one call takes, some empty, the last one cut by the end of
// the file: everything up to the end lands in place, the count says where.
TEST(GatheredIo, ReadsAcrossCallsAndStopsAtTheEndOfTheFile) {
    const int fd = memfd_create("gathered-read", MFD_CLOEXEC);
    std::string file(5000, '\0');
    std::iota(file.begin(), file.end(), '\0');
    ASSERT_EQ(write(fd, file.data(), file.size()), static_cast<ssize_t>(file.size()));
    std::vector<char> dst(2 * 3000, '.');
    std::vector<iovec> pieces;
    for (int i = 0; i < 3000; ++i) pieces.push_back(iovec{&dst[2 * i], i % 7 == 3 ? 0u : 2u});
    const uint64_t wanted = 2 * (3000 - 3000 / 7);  // 2 bytes in every piece not empty
    ASSERT_GT(wanted, 5000u - 100);
    EXPECT_EQ(ReadGathered(fd, pieces, 100), 4900u);
    size_t from = 100;
    for (int i = 0; i < 3000; ++i) {
        for (int b = 0; b < 2; ++b) {
            const bool filled = i % 7 != 3 && from < file.size();
            EXPECT_EQ(dst[2 * i + b], filled ? file[from] : '.') << "piece " << i;
            if (filled) ++from;
        }
    }
    close(fd);
}

TEST(GatheredIo, WritesEveryPieceInOrderOrSaysHowFarItGot) {
    const int fd = memfd_create("gathered-write", MFD_CLOEXEC);
    std::string rows;
    std::vector<iovec> pieces;
    std::vector<std::string> keep;
    for (int i = 0; i < 2500; ++i) keep.push_back(std::string(1 + i % 5, static_cast<char>('a' + i % 26)));
    for (std::string& row : keep) {
        pieces.push_back(iovec{row.data(), row.size()});
        rows += row;
    }
    EXPECT_EQ(WriteGathered(fd, pieces), rows.size());
    std::string back(rows.size(), '\0');
    ASSERT_EQ(pread(fd, back.data(), back.size(), 0), static_cast<ssize_t>(back.size()));
    EXPECT_EQ(back, rows);
    close(fd);

    // A descriptor that refuses writes: nothing counted.
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    std::vector<iovec> one{iovec{keep[0].data(), keep[0].size()}};
    EXPECT_EQ(WriteGathered(fds[0], one), 0u);
    close(fds[0]);
    close(fds[1]);
}

}  // namespace
}  // namespace tessaro
