// The output stream keeps the rules of a binary output file stream: when bytes
// reach the file, and when the state goes bad or fails. Checked against the
// standard library's stream itself, operation by operation.
#include "framework/OutputStream.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <random>
#include <tuple>
#include <string>
#include <vector>

#include "support/TestPaths.h"

namespace tessaro {
namespace {

int64_t SizeOnDisk(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 ? st.st_size : -1;
}

// Operations: write n bytes (n >= 0), close (-1), open (-2); the state and
// (unless the target is a device) the size on disk after each.
void Compare(const std::vector<int64_t>& ops, const std::string& expectedPath, const std::string& actualPath) {
    const std::string bytes(20000, 'x');
    std::ofstream expected;
    OutputStream actual;
    for (size_t i = 0; i < ops.size(); ++i) {
        SCOPED_TRACE("operation " + std::to_string(i) + ": " + std::to_string(ops[i]));
        if (ops[i] == -1) {
            expected.close();
            actual.close();
        } else if (ops[i] == -2) {
            expected.open(expectedPath, std::ios_base::out | std::ios_base::binary | std::ios_base::trunc);
            actual.open(actualPath);
        } else {
            expected.write(bytes.data(), static_cast<std::streamsize>(ops[i]));
            actual.write(bytes.data(), static_cast<uint64_t>(ops[i]));
        }
        ASSERT_EQ(std::make_tuple(actual.is_open(), actual.good(), actual.fail(), actual.bad()),
                  std::make_tuple(expected.is_open(), expected.good(), expected.fail(), expected.bad()));
        ASSERT_TRUE(expectedPath == actualPath || SizeOnDisk(actualPath) == SizeOnDisk(expectedPath));
    }
}

// Edge sequences around the 1 KiB direct-write limit and the 8 KiB block
// (writes of 0, a block filled to the last byte, writes after close, closing
// twice, reopening), then random sequences with a fixed seed.
TEST(OutputStream, FollowsTheStandardStream) {
    test::ScratchDir dir;
    std::vector<std::vector<int64_t>> cases = {{-2, 1023, 1024, 1, 0, -1},
                                               {-2, 1000, 1000, 1000, 1000, 1000, 1000, 1000, 1000, 191, 0, 5, -1},
                                               {-2, 8191, 0, 1, -1, -1, 5, -2, 3},
                                               {-2, 0, 1023, 7000, 1023, 1023, -1},
                                               {3, -1, -2, -2, 2000, -1}};
    std::mt19937 random(20261124);
    for (int round = 0; round < 30; ++round) {
        cases.push_back({-2});
        for (int i = 0; i < 60; ++i) {
            const int kind = static_cast<int>(random() % 20);
            cases.back().push_back(kind == 0 ? -1 : kind == 1 ? -2 : kind < 15 ? random() % 1100 : random() % 20000);
        }
    }
    for (size_t c = 0; c < cases.size(); ++c) {
        SCOPED_TRACE("case " + std::to_string(c));
        Compare(cases[c], dir.File(std::to_string(c) + ".expected"), dir.File(std::to_string(c) + ".actual"));
    }
}

// A device that takes no bytes: the state goes bad exactly when the standard
// stream's does, and stays failed.
TEST(OutputStream, FailsWhenTheStandardStreamFails) {
    if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
    Compare({-2, 16, 1000, 5000, 3000, 16, 20000, 0, 16, -1}, "/dev/full", "/dev/full");
}

}  // namespace
}  // namespace tessaro
