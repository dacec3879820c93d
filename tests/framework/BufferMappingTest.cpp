#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "framework/BufferMemory.h"
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
        }
        {
            PictureMapping picture(*buffer);  // the same memory, pages present at once
            ASSERT_NE(picture.vaddr(), nullptr);
            EXPECT_EQ(picture.vaddr()[0], 0xAB);
            picture.vaddr()[8191] = 0xCD;
        }
        uint8_t bytes[2] = {};
        ASSERT_EQ(pread(buffer->mFd, &bytes[0], 1, offset), 1);
        ASSERT_EQ(pread(buffer->mFd, &bytes[1], 1, offset + 8191), 1);
        EXPECT_EQ(bytes[0], 0xAB);
        EXPECT_EQ(bytes[1], 0xCD);
    }
}

// A mapping that cannot be made, or that would fault on access, comes back
// null instead of as MAP_FAILED or a mapping past the end of the memory; the
// picture mapping refuses exactly the same buffers.
TEST(BufferMapping, UnmappableBuffersGiveNull) {
    Buffer invalid{};
    invalid.mCapacity = 4096;
    auto zero = MakeClientBuffer(4096);
    zero->mCapacity = 0;
    auto tooSmall = MakeClientBuffer(4096);
    tooSmall->mCapacity = 3 * 4096;
    auto badOffset = MakeClientBuffer(4096);
    badOffset->mMapOffset = 4096;
    Buffer closed{};
    closed.mFd = memfd_create("closed", 0);
    closed.mCapacity = 4096;
    close(closed.mFd);
    const struct {
        const char* name;
        Buffer buffer;
    } cases[] = {{"descriptor -1", invalid},
                 {"capacity 0", *zero},
                 {"memory smaller than capacity", *tooSmall},
                 {"offset + capacity past the end", *badOffset},
                 {"closed descriptor", closed}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Buffer::Mapping(c.buffer).vaddr(), nullptr);
        EXPECT_EQ(PictureMapping(c.buffer).vaddr(), nullptr);
    }
    EXPECT_EQ(Buffer::Mapping(std::shared_ptr<Buffer>()).vaddr(), nullptr) << "null buffer";
}

TEST(BufferMapping, LengthIsCapacityTruncatedTo32Bits) {
    Buffer huge{};
    huge.mCapacity = (1ull << 32) + 5;
    EXPECT_EQ(Buffer::Mapping(huge).length(), 5u);
}

}  // namespace
}  // namespace tessaro
