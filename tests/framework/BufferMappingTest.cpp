#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "support/ClientBuffer.h"
#include "tessaro/Buffer.h"

namespace tessaro {
namespace {

using test::MakeClientBuffer;

// The whole capacity is mapped shared and writable, starting at mMapOffset.
TEST(BufferMapping, MapsTheWholeCapacityFromTheMapOffset) {
    const long page = sysconf(_SC_PAGESIZE);
    for (uint32_t offset : {0u, static_cast<uint32_t>(page)}) {
        auto buffer = MakeClientBuffer(8192, 0, offset);
        {
            Buffer::Mapping mapping(buffer);
            ASSERT_NE(mapping.vaddr(), nullptr);
            EXPECT_EQ(mapping.length(), 8192u);
            mapping.vaddr()[0] = 0xAB;
            mapping.vaddr()[8191] = 0xCD;
        }
        uint8_t bytes[2] = {};
        ASSERT_EQ(pread(buffer->mFd, &bytes[0], 1, offset), 1);
        ASSERT_EQ(pread(buffer->mFd, &bytes[1], 1, offset + 8191), 1);
        EXPECT_EQ(bytes[0], 0xAB);
        EXPECT_EQ(bytes[1], 0xCD);
    }
}

// A mapping that cannot be made, or that would fault on access, comes back
// null instead of as MAP_FAILED or a mapping past the end of the memory.
TEST(BufferMapping, UnmappableBuffersGiveNull) {
    Buffer invalid{};
    invalid.mCapacity = 4096;
    EXPECT_EQ(Buffer::Mapping(invalid).vaddr(), nullptr) << "descriptor -1";
    auto zero = MakeClientBuffer(4096);
    zero->mCapacity = 0;
    EXPECT_EQ(Buffer::Mapping(zero).vaddr(), nullptr) << "capacity 0";
    auto tooSmall = MakeClientBuffer(4096);
    tooSmall->mCapacity = 3 * 4096;
    EXPECT_EQ(Buffer::Mapping(tooSmall).vaddr(), nullptr) << "memory smaller than capacity";
    auto badOffset = MakeClientBuffer(4096);
    badOffset->mMapOffset = 4096;
    EXPECT_EQ(Buffer::Mapping(badOffset).vaddr(), nullptr) << "offset + capacity past the end";
    Buffer closed{};
    closed.mFd = memfd_create("closed", 0);
    closed.mCapacity = 4096;
    close(closed.mFd);
    EXPECT_EQ(Buffer::Mapping(closed).vaddr(), nullptr) << "closed descriptor";
    EXPECT_EQ(Buffer::Mapping(std::shared_ptr<Buffer>()).vaddr(), nullptr) << "null buffer";
}

TEST(BufferMapping, LengthIsCapacityTruncatedTo32Bits) {
    Buffer huge{};
    huge.mCapacity = (1ull << 32) + 5;
    EXPECT_EQ(Buffer::Mapping(huge).length(), 5u);
}

}  // namespace
}  // namespace tessaro
