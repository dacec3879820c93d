// The output stream keeps the rules of a binary output file stream: when bytes
// reach the file, and when the state goes bad or fails. Checked against the
// standard library's stream itself, operation by operation.
#include "framework/OutputStream.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "support/TestPaths.h"

namespace tessaro {
namespace {

int64_t SizeOnDisk(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 ? st.st_size : -1;
}

// One operation: write n bytes (n >= 0), close (-1) or open (-2).
void Apply(int64_t op, const std::string& bytes, const std::string& path, std::ofstream& expected,
           OutputStream& actual) {
    if (op == -1) {
        expected.close();
        actual.close();
    } else if (op == -2) {
        expected.open(path + ".expected", std::ios_base::out | std::ios_base::binary | std::ios_base::trunc);
        actual.open(path + ".actual");
    } else {
        expected.write(bytes.data(), static_cast<std::streamsize>(op));
        actual.write(bytes.data(), static_cast<uint64_t>(op));
    }
}

void Compare(const std::vector<int64_t>& ops, const std::string& path, bool sizes) {
    const std::string bytes(20000, 'x');
    std::ofstream expected;
    OutputStream actual;
    for (size_t i = 0; i < ops.size(); ++i) {
        SCOPED_TRACE("operation " + std::to_string(i) + ": " + std::to_string(ops[i]));
        Apply(ops[i], bytes, path, expected, actual);
        ASSERT_EQ(actual.is_open(), expected.is_open());
        ASSERT_EQ(actual.good(), expected.good());
        ASSERT_EQ(actual.fail(), expected.fail());
        ASSERT_EQ(actual.bad(), expected.bad());
        if (sizes) {
            ASSERT_EQ(SizeOnDisk(path + ".actual"), SizeOnDisk(path + ".expected"));
        }
    }
}

// Edge sequences by hand: around the 1 KiB direct-write limit and the 8 KiB
// block, writes of 0, a block filled to the last byte, writes after close,
// closing twice, reopening.
TEST(OutputStream, FollowsTheStandardStreamAtTheEdges) {
    test::ScratchDir dir;
    const std::vector<std::vector<int64_t>> cases = {
        {-2, 1023, 1024, 1, 0, -1},
        {-2, 1000, 1000, 1000, 1000, 1000, 1000, 1000, 1000, 191, 0, 5, -1},
        {-2, 8191, 0, 1, -1, -1, 5, -2, 3},
        {-2, 0, 1023, 7000, 1023, 1023, -1},
        {3, -1, -2, -2, 2000, -1}};
    for (size_t c = 0; c < cases.size(); ++c) {
        SCOPED_TRACE("case " + std::to_string(c));
        Compare(cases[c], dir.File("edge" + std::to_string(c)), true);
    }
}

// Random sequences of writes (mostly small) with the odd close and reopen,
// fixed seed: the file grows exactly as the standard stream's does.
TEST(OutputStream, FollowsTheStandardStreamOnRandomSequences) {
    test::ScratchDir dir;
    std::mt19937 random(20261124);
    for (int round = 0; round < 30; ++round) {
        std::vector<int64_t> ops{-2};
        for (int i = 0; i < 60; ++i) {
            const int kind = static_cast<int>(random() % 20);
            ops.push_back(kind == 0 ? -1 : kind == 1 ? -2 : kind < 15 ? random() % 1100 : random() % 20000);
        }
        SCOPED_TRACE("round " + std::to_string(round));
        Compare(ops, dir.File("random" + std::to_string(round)), true);
    }
}

// A device that takes no bytes: the state goes bad exactly when the standard
// stream's does, and stays failed.
TEST(OutputStream, FailsWhenTheStandardStreamFails) {
    if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
    std::ofstream expected;
    OutputStream actual;
    const std::string bytes(20000, 'x');
    expected.open("/dev/full", std::ios_base::out | std::ios_base::binary | std::ios_base::trunc);
    actual.open("/dev/full");
    for (int64_t n : {16, 1000, 5000, 3000, 16, 20000, 0, 16}) {
        SCOPED_TRACE(n);
        expected.write(bytes.data(), n);
        actual.write(bytes.data(), static_cast<uint64_t>(n));
        EXPECT_EQ(actual.bad(), expected.bad());
        EXPECT_EQ(actual.fail(), expected.fail());
    }
    expected.close();
    actual.close();
    EXPECT_EQ(actual.fail(), expected.fail());
}

}  // namespace
}  // namespace tessaro
