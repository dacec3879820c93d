#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "framework/BufferMemory.h"
#include "framework/PictureCanvas.h"
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
// picture mapping and the picture canvas refuse exactly the same buffers.
TEST(BufferMapping, UnmappableBuffersGiveNull) {
    auto memory = MakeClientBuffer(4096);
    const int closed = memfd_create("closed", 0);
    close(closed);
    const int sealed = memfd_create("sealed", MFD_ALLOW_SEALING);
    ASSERT_EQ(ftruncate(sealed, 4096), 0);
    ASSERT_EQ(fcntl(sealed, F_ADD_SEALS, F_SEAL_WRITE), 0);
    const int readOnly = open(("/proc/self/fd/" + std::to_string(memory->mFd)).c_str(), O_RDONLY);
    ASSERT_GE(readOnly, 0);
    const struct {
        const char* name;
        int fd;
        uint64_t capacity;
        uint32_t mapOffset;
    } cases[] = {{"descriptor -1", -1, 4096, 0},
                 {"capacity 0", memory->mFd, 0, 0},
                 {"memory smaller than capacity", memory->mFd, 3 * 4096, 0},
                 {"offset + capacity past the end", memory->mFd, 4096, 4096},
                 {"closed descriptor", closed, 4096, 0},
                 {"memory sealed against writes", sealed, 4096, 0},
                 {"read-only descriptor", readOnly, 4096, 0},
                 {"offset inside a page", memory->mFd, 1024, 100}};
    std::vector<uint8_t> block;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Buffer buffer{};
        buffer.mFd = c.fd, buffer.mCapacity = c.capacity, buffer.mMapOffset = c.mapOffset;
        EXPECT_EQ(Buffer::Mapping(buffer).vaddr(), nullptr);
        EXPECT_EQ(PictureMapping(buffer).vaddr(), nullptr);
        EXPECT_FALSE(PictureCanvas(buffer, block).usable());
    }
    close(sealed);
    close(readOnly);
    EXPECT_EQ(Buffer::Mapping(std::shared_ptr<Buffer>()).vaddr(), nullptr) << "null buffer";
    Buffer huge{};  // the recorded length is the capacity truncated to 32 bits
    huge.mCapacity = (1ull << 32) + 5;
    EXPECT_EQ(Buffer::Mapping(huge).length(), 5u);
}

// A picture lands at mMapOffset whichever way it travels: drawn aside and
// written through the descriptor (memory whose pages are still to come), or
// drawn in place (pages present, or a drawing that leaves bytes as they were).
TEST(PictureCanvas, DrawsAtTheMapOffsetWhicheverWayThePictureTravels) {
    const uint32_t page = static_cast<uint32_t>(sysconf(_SC_PAGESIZE));
    std::vector<uint8_t> block;
    for (uint32_t offset : {0u, page}) {
        for (bool touched : {false, true}) {
            for (uint64_t written : {8192u, 4096u}) {
                SCOPED_TRACE("offset " + std::to_string(offset) + (touched ? " touched" : " fresh") +
                             " written " + std::to_string(written));
                auto buffer = MakeClientBuffer(8192, 1, offset);
                const uint8_t before = touched ? 0x11 : 0;
                if (touched) test::FillBuffer(*buffer, before);
                {
                    PictureCanvas canvas(*buffer, block);
                    ASSERT_TRUE(canvas.usable());
                    uint8_t* area = canvas.Area(written, 8192);
                    ASSERT_NE(area, nullptr);
                    std::memset(area, 0x5A, written);
                    area[8191] = 0x77;
                    ASSERT_TRUE(canvas.Finish());
                }
                std::vector<uint8_t> expected(8192, before);
                std::memset(expected.data(), 0x5A, written);
                expected[8191] = 0x77;
                EXPECT_EQ(test::ReadAll(*buffer), expected);
            }
        }
    }
}

}  // namespace
}  // namespace tessaro
