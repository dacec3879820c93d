#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "framework/BufferMemory.h"
#include "support/ClientBuffer.h"
#include "tessaro/Buffer.h"
#include "uncompressed/PictureCanvas.h"

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
    CanvasBlock block;
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

// A picture lands at mMapOffset whichever way it travels: drawn in the kept
// block and written through the descriptor, where the runs of the picture
// before are cleared again, or drawn in place where its runs reach past the
// cleared bytes (the buffer keeps its own bytes there).
TEST(PictureCanvas, EachPictureLandsAtTheMapOffsetAsIfDrawnOnAClearedBuffer) {
    const uint32_t page = static_cast<uint32_t>(sysconf(_SC_PAGESIZE));
    const RowRun first{100, 3, 40, 1000}, second{2500, 2, 10, 100};
    for (uint32_t offset : {0u, page}) {
        for (uint64_t cleared : {8192u, 4096u}) {
            SCOPED_TRACE("offset " + std::to_string(offset) + " cleared " + std::to_string(cleared));
            auto buffer = MakeClientBuffer(8192, 1, offset);
            test::FillBuffer(*buffer, 0x11);
            CanvasBlock block;
            const RowRun corner{8191, 1, 1, 1};  // past the cleared bytes in the second case
            for (const RowRun& run : {first, second}) {
                PictureCanvas canvas(*buffer, block);
                ASSERT_TRUE(canvas.usable());
                uint8_t* area = canvas.Clear(cleared, {run, corner});
                ASSERT_NE(area, nullptr);
                for (uint64_t row = 0; row < run.rows; ++row) std::memset(area + run.offset + row * run.pitch, 0x5A, run.rowBytes);
                area[8191] = 0x77;
                ASSERT_TRUE(canvas.Finish());
            }
            std::vector<uint8_t> expected(8192, 0x11);
            std::memset(expected.data(), 0, cleared);
            for (uint64_t row = 0; row < second.rows; ++row) {
                std::memset(expected.data() + second.offset + row * second.pitch, 0x5A, second.rowBytes);
            }
            expected[8191] = 0x77;
            EXPECT_EQ(test::ReadAll(*buffer), expected);
        }
    }
    // A picture of no bytes (a zero geometry) still gets memory to draw nothing in.
    auto buffer = MakeClientBuffer(4096, 1);
    CanvasBlock block;
    PictureCanvas canvas(*buffer, block);
    EXPECT_NE(canvas.Clear(0, {}), nullptr);
    EXPECT_TRUE(canvas.Finish());
}

}  // namespace
}  // namespace tessaro
