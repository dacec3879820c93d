#include "framework/BufferMappingCache.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "compressed/AVCStreamParser.h"
#include "support/ClientBuffer.h"
#include "support/TestPaths.h"

namespace tessaro {
namespace {

using test::MakeClientBuffer;

// Lines of /proc/self/maps that name the memfd called `name`.
int MappingsOf(const std::string& name) {
    std::ifstream maps("/proc/self/maps");
    int count = 0;
    for (std::string line; std::getline(maps, line);) {
        if (line.find("/memfd:" + name + " ") != std::string::npos) ++count;
    }
    return count;
}

// A buffer over a fresh memfd of its own name, for counting its mappings.
std::shared_ptr<Buffer> NamedBuffer(const std::string& name, uint64_t capacity) {
    auto buffer = std::shared_ptr<Buffer>(new Buffer, [](Buffer* b) {
        close(b->mFd);
        delete b;
    });
    buffer->mFd = memfd_create(name.c_str(), MFD_CLOEXEC);
    buffer->mCapacity = capacity;
    EXPECT_EQ(ftruncate(buffer->mFd, static_cast<off_t>(capacity)), 0);
    return buffer;
}

TEST(BufferMappingCache, ReusesTheMappingWhileTheClientHandsTheSameMemoryBack) {
    BufferMappingCache cache;
    auto buffer = NamedBuffer("cache-same", 8192);
    uint8_t* first = cache.Acquire(*buffer).vaddr();
    ASSERT_NE(first, nullptr);
    first[5] = 0x5A;
    EXPECT_EQ(cache.Acquire(buffer).vaddr(), first);
    EXPECT_EQ(test::ReadAll(*buffer)[5], 0x5A);
    EXPECT_EQ(MappingsOf("cache-same"), 1);

    // Another descriptor of the same memory finds the same mapping.
    Buffer dup = *buffer;
    dup.mFd = ::dup(buffer->mFd);
    EXPECT_EQ(cache.Acquire(dup).vaddr(), first);
    close(dup.mFd);

    cache.Clear();
    EXPECT_EQ(MappingsOf("cache-same"), 0);
}

TEST(BufferMappingCache, FollowsTheMemoryBehindTheDescriptorNotItsNumber) {
    BufferMappingCache cache;
    auto buffer = NamedBuffer("cache-old", 4096);
    ASSERT_NE(cache.Acquire(*buffer).vaddr(), nullptr);

    // The client puts other memory behind the same descriptor number.
    const int other = memfd_create("cache-new", MFD_CLOEXEC);
    ASSERT_EQ(ftruncate(other, 4096), 0);
    ASSERT_EQ(dup2(other, buffer->mFd), buffer->mFd);
    close(other);
    uint8_t* vaddr = cache.Acquire(*buffer).vaddr();
    ASSERT_NE(vaddr, nullptr);
    vaddr[0] = 0x77;
    EXPECT_EQ(test::ReadAll(*buffer)[0], 0x77);

    // A different offset or capacity is a different mapping as well.
    buffer->mCapacity = 2048;
    EXPECT_NE(cache.Acquire(*buffer).vaddr(), nullptr);
    EXPECT_EQ(cache.size(), 3u);
}

TEST(BufferMappingCache, MemoryShrunkBelowTheCapacityIsNoLongerMapped) {
    BufferMappingCache cache;
    auto buffer = NamedBuffer("cache-shrink", 3 * 4096);
    ASSERT_NE(cache.Acquire(*buffer).vaddr(), nullptr);
    ASSERT_EQ(ftruncate(buffer->mFd, 4096), 0);
    EXPECT_EQ(cache.Acquire(*buffer).vaddr(), nullptr);
    EXPECT_EQ(MappingsOf("cache-shrink"), 0);
    ASSERT_EQ(ftruncate(buffer->mFd, 3 * 4096), 0);
    EXPECT_NE(cache.Acquire(*buffer).vaddr(), nullptr);
}

TEST(BufferMappingCache, StaysBoundedAndMapsOtherDescriptorsForOneCallOnly) {
    BufferMappingCache cache;
    std::vector<std::shared_ptr<Buffer>> pool;
    for (size_t i = 0; i < 2 * BufferMappingCache::kMaxEntries; ++i) {
        pool.push_back(NamedBuffer("cache-pool", 4096));
        uint8_t* vaddr = cache.Acquire(*pool.back()).vaddr();
        ASSERT_NE(vaddr, nullptr);
        vaddr[0] = static_cast<uint8_t>(i);
    }
    EXPECT_EQ(cache.size(), BufferMappingCache::kMaxEntries);
    EXPECT_EQ(MappingsOf("cache-pool"), static_cast<int>(BufferMappingCache::kMaxEntries));
    for (size_t i = 0; i < pool.size(); ++i) EXPECT_EQ(test::ReadAll(*pool[i])[0], i);

    // Capacities beyond the byte budget are never kept.
    auto huge = NamedBuffer("cache-huge", BufferMappingCache::kMaxMappedBytes + 4096);
    EXPECT_NE(cache.Acquire(*huge).vaddr(), nullptr);
    EXPECT_EQ(MappingsOf("cache-huge"), 1);
    cache.Acquire(*pool[0]);
    EXPECT_EQ(MappingsOf("cache-huge"), 0);

    // A pipe does not map; no buffer at all does not either.
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    Buffer pipeBuffer;
    pipeBuffer.mFd = fds[1];
    pipeBuffer.mCapacity = 4096;
    EXPECT_EQ(cache.Acquire(pipeBuffer).vaddr(), nullptr);
    EXPECT_EQ(cache.Acquire(std::shared_ptr<Buffer>()).vaddr(), nullptr);
    close(fds[0]);
    close(fds[1]);
}

// Everything an H.264 parser delivers, one buffer per call, handing it the
// buffers next() returns.
template <typename NextBuffer>
std::vector<std::vector<uint8_t>> DeliverAll(AVCStreamParser& parser, NextBuffer next) {
    ConfigParam config;
    config.mInputFileName = test::DataPath("h264/idr_gop.264");
    EXPECT_EQ(parser.SetConfig(config), TS_OK);
    EXPECT_EQ(parser.Init(), TS_OK);
    std::vector<std::vector<uint8_t>> delivered;
    for (int call = 0; call < 1000; ++call) {
        std::shared_ptr<Buffer> buffer = next();
        test::FillBuffer(*buffer, 0xEE);
        EXPECT_EQ(parser.Process(buffer), TS_OK);
        delivered.push_back(test::ReadValid(*buffer));
        if (buffer->mFlags & Buffer::FLAG_EOS) break;
    }
    return delivered;
}

// A parser fed from a pool of two buffers writes each frame into the buffer it
// was handed, as it does into fresh buffers, and lets go of the client's
// memory at DeInit.
TEST(BufferMappingCache, ParserDeliversIntoARotatingPoolAndUnmapsAtDeInit) {
    AVCStreamParser fresh;
    const auto expected = DeliverAll(fresh, [] { return MakeClientBuffer(1 << 20); });
    ASSERT_GT(expected.size(), 2u);

    AVCStreamParser pooled;
    std::shared_ptr<Buffer> pool[] = {NamedBuffer("cache-parser", 1 << 20),
                                      NamedBuffer("cache-parser", 1 << 20)};
    int call = 0;
    EXPECT_EQ(DeliverAll(pooled, [&] { return pool[call++ % 2]; }), expected);
    EXPECT_EQ(MappingsOf("cache-parser"), 2);
    EXPECT_EQ(pooled.DeInit(), TS_OK);
    EXPECT_EQ(MappingsOf("cache-parser"), 0);
}

}  // namespace
}  // namespace tessaro
