// A harness as a codec test application writes one: it takes a producer from
// the factory, configures it, sizes its shared-memory buffers with
// GetBufferLength, calls Process until a buffer comes back flagged end of
// stream, and hands every buffer to a writer.
//
//   harness <producer key> <output file> [input file] [WIDTHxHEIGHT] [frames]
//   harness Parse/AVC out.264 in.264
//   harness Pattern/NV12 out.yuv "" 64x48 8
//
// Prints "<buffers> buffers, <bytes> bytes" and exits 0, or names the failing
// call and its status and exits 1.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

#include <tessaro/Tessaro.h>

namespace {

using tessaro::Buffer;

// A buffer over a memfd, closed with the last reference.
std::shared_ptr<Buffer> MakeBuffer(uint64_t capacity, uint32_t type) {
    const int fd = memfd_create("harness", MFD_CLOEXEC);
    if (fd < 0 || ftruncate(fd, static_cast<off_t>(capacity)) != 0) {
        if (fd >= 0) close(fd);
        return nullptr;
    }
    std::shared_ptr<Buffer> buffer(new Buffer{}, [](Buffer* b) {
        close(b->mFd);
        delete b;
    });
    buffer->mFd = fd;
    buffer->mCapacity = capacity;
    buffer->mType = type;
    return buffer;
}

int Fail(const char* what, int32_t status) {
    std::fprintf(stderr, "harness: %s returned %d\n", what, status);
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: harness <producer key> <output file> [input file] [WxH] [frames]\n");
        return 2;
    }
    const std::string key = argv[1];
    const bool raw = key.rfind("Pattern/", 0) == 0 || (key.rfind("Parse/", 0) == 0 && argc > 4);

    tessaro::ConfigParam config{};
    if (argc > 3) config.mInputFileName = argv[3];
    if (argc > 4 && std::sscanf(argv[4], "%ux%u", &config.mWidth, &config.mHeight) == 2) {
        config.mStride = config.mWidth;
        config.mScanlines = config.mHeight;
    }
    if (argc > 5) config.mFrames = static_cast<uint32_t>(std::stoul(argv[5]));

    auto factory = tessaro::TessaroFactory::getInstance();
    auto producer = factory->getProcessorInstance(key);
    auto writer = factory->getProcessorInstance(raw ? "Write/UnCompressed" : "Write/Compressed");
    if (!producer || !writer) return Fail("getProcessorInstance", tessaro::TS_ERROR);

    tessaro::ConfigParam out{};
    out.mOutputFileName = argv[2];
    out.mWidth = config.mWidth;
    out.mHeight = config.mHeight;
    out.mStride = config.mStride;
    out.mScanlines = config.mScanlines;
    out.mPixFormat = 1;  // NV12, for the raw writer
    int32_t status = producer->SetConfig(config);
    if (status == tessaro::TS_OK) status = producer->Init();
    if (status != tessaro::TS_OK) return Fail("producer SetConfig/Init", status);
    status = writer->SetConfig(out);
    if (status == tessaro::TS_OK) status = writer->Init();
    if (status != tessaro::TS_OK) return Fail("writer SetConfig/Init", status);

    std::shared_ptr<Buffer> buffer;
    uint64_t buffers = 0, bytes = 0;
    int result = 0;
    while (true) {
        // Compressed frames differ in size: ask before every call.
        const uint32_t needed = producer->GetBufferLength();
        if (static_cast<int32_t>(needed) < 0) { result = Fail("GetBufferLength", static_cast<int32_t>(needed)); break; }
        if (!buffer || buffer->mCapacity < needed) buffer = MakeBuffer(needed, raw ? 1 : 0);
        if (!buffer) { result = Fail("memfd buffer", tessaro::TS_ERROR); break; }
        buffer->mLength = 0;
        buffer->mFlags = 0;
        status = producer->Process(buffer);
        if (status != tessaro::TS_OK) { result = Fail("Process", status); break; }
        ++buffers;
        bytes += buffer->mLength;
        if (buffer->mLength != 0 && (status = writer->Process(buffer)) != tessaro::TS_OK) {
            result = Fail("writer Process", status);
            break;
        }
        if (buffer->mFlags & Buffer::FLAG_EOS) break;
    }
    writer->DeInit();
    producer->DeInit();
    if (result == 0) std::printf("%llu buffers, %llu bytes\n", (unsigned long long)buffers, (unsigned long long)bytes);
    return result;
}
