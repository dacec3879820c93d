// Client buffers are filled and drained through their descriptors or, for
// memory a descriptor cannot reach, a mapping of one transfer; memory that does
// not cover the buffer is refused before anything moves and never grown.
#include "framework/ClientBufferIo.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/ClientBuffer.h"
#include "support/TestPaths.h"

namespace tessaro {
namespace {

using test::MakeClientBuffer;

std::string Pattern(size_t n) {
    std::string s(n, '\0');
    for (size_t i = 0; i < n; ++i) s[i] = static_cast<char>(i * 13 + 7);
    return s;
}

// Fills through the descriptor land at mMapOffset + at and nowhere else; a
// file that ends early delivers what it has; a drain larger than the staging
// block comes out whole and in order.
// Through the pipe and, as where the kernel refuses to splice, through the
// staging block alike.
class ClientBufferIoPaths : public ::testing::TestWithParam<bool> {
protected:
    void SetUp() override { ClientBufferIo::SetSplice(GetParam()); }
    void TearDown() override { ClientBufferIo::SetSplice(true); }
};

TEST_P(ClientBufferIoPaths, FillsAndDrainsThroughTheDescriptor) {
    test::ScratchDir dir;
    const std::string bytes = Pattern(700000);
    File input;
    ASSERT_TRUE(input.OpenForReading(dir.Write("in", bytes)));
    ClientBufferIo io;
    for (uint32_t mapOffset : {0u, static_cast<uint32_t>(sysconf(_SC_PAGESIZE))}) {
        SCOPED_TRACE(mapOffset);
        auto buffer = MakeClientBuffer(800000, 0, mapOffset);
        test::FillBuffer(*buffer, 0xEE);
        const auto moved = io.FillFromFile(*buffer, 100, input, 50, 600000);
        EXPECT_TRUE(moved.usable);
        EXPECT_EQ(moved.bytes, 600000u);
        const auto tail = io.FillFromFile(*buffer, 700000, input, 650000, 90000);
        EXPECT_EQ(tail.bytes, 50000u);  // the file ends first
        // Small units take the staging block whichever way large ones go.
        EXPECT_EQ(io.FillFromFile(*buffer, 760000, input, 30, 4000).bytes, 4000u);
        EXPECT_EQ(io.FillFromFile(*buffer, 790000, input, 699990, 100).bytes, 10u);
        EXPECT_TRUE(io.FillFromMemory(*buffer, 0, "ab", 2).usable);
        const std::vector<uint8_t> all = test::ReadAll(*buffer);
        std::string expected(800000, '\xEE');
        expected.replace(0, 2, "ab");
        expected.replace(100, 600000, bytes.substr(50, 600000));
        expected.replace(700000, 50000, bytes.substr(650000));
        expected.replace(760000, 4000, bytes.substr(30, 4000));
        expected.replace(790000, 10, bytes.substr(699990));
        EXPECT_TRUE(std::string(all.begin(), all.end()) == expected);

        std::string drained;
        const auto out = io.Drain(*buffer, 100, 650000, [&](const uint8_t* p, uint64_t n) {
            drained.append(reinterpret_cast<const char*>(p), n);
            return true;
        });
        EXPECT_EQ(out.bytes, 650000u);
        EXPECT_TRUE(drained == expected.substr(100, 650000));
        int pieces = 0;
        EXPECT_LT(io.Drain(*buffer, 0, 650000, [&](const uint8_t*, uint64_t) { return ++pieces < 2; }).bytes,
                  650000u);  // a sink that refuses stops the drain
        EXPECT_EQ(pieces, 2);
    }
}

// Memory that cannot take the bytes: refused before a byte moves, the memory
// neither written nor grown.
TEST(ClientBufferIo, RefusesMemoryThatDoesNotCoverTheBuffer) {
    test::ScratchDir dir;
    File input;
    ASSERT_TRUE(input.OpenForReading(dir.Write("in", Pattern(8192))));
    const int closed = memfd_create("closed", 0);
    close(closed);
    const struct {
        const char* name;
        int fd;
        uint64_t memory, capacity, at, length;
        uint32_t mapOffset;
    } cases[] = {{"memory half the capacity", -2, 4096, 8192, 0, 100, 0},
                 {"map offset past the memory", -2, 8192, 8192, 0, 100, 4096},
                 {"transfer past the capacity", -2, 8192, 8192, 8000, 200, 0},
                 {"capacity 0", -2, 8192, 0, 0, 0, 0},
                 {"closed descriptor", closed, 0, 4096, 0, 100, 0},
                 {"no descriptor", -1, 0, 4096, 0, 100, 0}};
    ClientBufferIo io;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        auto owned = MakeClientBuffer(c.memory);
        Buffer buffer = *owned;
        if (c.fd != -2) buffer.mFd = c.fd;
        buffer.mCapacity = c.capacity;
        buffer.mMapOffset = c.mapOffset;
        EXPECT_FALSE(io.FillFromFile(buffer, c.at, input, 0, c.length).usable);
        const std::string src(c.length, 'x');
        EXPECT_FALSE(io.FillFromMemory(buffer, c.at, src.data(), src.size()).usable);
        EXPECT_FALSE(io.Drain(buffer, c.at, c.length, [](const uint8_t*, uint64_t) { return true; }).usable);
        EXPECT_EQ(lseek(owned->mFd, 0, SEEK_END), static_cast<off_t>(c.memory));  // not grown
        const std::vector<uint8_t> all = test::ReadAll(*owned);
        EXPECT_EQ(std::count(all.begin(), all.end(), 0), static_cast<long>(all.size()));
    }
}

// Memory sealed against writes takes nothing and counts as unusable, as a
// mapping of it would; nothing of that transfer is left over to land in the
// next buffer.
TEST_P(ClientBufferIoPaths, AFailedTransferLeavesNothingForTheNextBuffer) {
    test::ScratchDir dir;
    const std::string bytes = Pattern(300000);
    File input;
    ASSERT_TRUE(input.OpenForReading(dir.Write("in", bytes)));
    ClientBufferIo io;
    Buffer sealed{};
    sealed.mFd = memfd_create("sealed", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    ASSERT_EQ(ftruncate(sealed.mFd, 300000), 0);
    ASSERT_EQ(fcntl(sealed.mFd, F_ADD_SEALS, F_SEAL_WRITE), 0);
    sealed.mCapacity = 300000;
    const auto refused = io.FillFromFile(sealed, 0, input, 0, 300000);
    EXPECT_TRUE(!refused.usable && refused.bytes == 0u);
    close(sealed.mFd);
    auto next = MakeClientBuffer(1000);
    EXPECT_EQ(io.FillFromFile(*next, 0, input, 5000, 1000).bytes, 1000u);
    const std::vector<uint8_t> all = test::ReadAll(*next);
    EXPECT_TRUE(std::string(all.begin(), all.end()) == bytes.substr(5000, 1000));
}

INSTANTIATE_TEST_SUITE_P(Copies, ClientBufferIoPaths, ::testing::Values(true, false),
                         [](const auto& param) { return param.param ? "Spliced" : "Staged"; });

// Memory a descriptor write cannot reach (a device) is mapped for the one
// transfer; a descriptor with no memory at all (a pipe) is refused.
TEST(ClientBufferIo, MapsDeviceMemoryForOneTransfer) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    Buffer device{}, pipeBuffer{};
    device.mFd = open("/dev/zero", O_RDWR | O_CLOEXEC);
    device.mCapacity = pipeBuffer.mCapacity = 8192;
    pipeBuffer.mFd = fds[1];
    ClientBufferIo io;
    const auto moved = io.FillFromMemory(device, 4096, "abcd", 4);
    EXPECT_TRUE(moved.usable && moved.bytes == 4u);
    EXPECT_FALSE(io.FillFromMemory(pipeBuffer, 0, "abcd", 4).usable);
    for (int fd : {fds[0], fds[1], device.mFd}) close(fd);
}

}  // namespace
}  // namespace tessaro
