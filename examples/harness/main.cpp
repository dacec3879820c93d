// A harness as a codec test application writes one: it takes a producer from
// the factory, configures it, sizes its shared-memory buffers with
// GetBufferLength, calls Process until a buffer comes back flagged end of
// stream, and hands every buffer to the matching writer.
//
//   harness <producer key> <output file> [input file] [WIDTHxHEIGHT] [frames]
//   harness Parse/AVC out.264 in.264
//   harness Pattern/NV12 out.yuv "" 176x144 30
//
// Prints "<buffers> buffers, <bytes> bytes" and exits 0, or names the failing
// call and its status and exits 1.
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include <VideoBufferLayout.h>
#include <tessaro/Tessaro.h>

namespace {

using tessaro::Buffer;
using tessaro::ProcessorFamily;

const tessaro::ProcessorKeyInfo* FindKey(const std::string& key) {
    for (const auto& info : tessaro::ProcessorKeys()) {
        if (key == info.key) return &info;
    }
    return nullptr;
}

// Buffer pitch for raw pictures. YUV generators draw at the layout library's
// pitch and luma rows, so the buffer (and the raw writer) must use the same;
// the stride is in pixels for 16-bit samples. Readers and RGBA generators
// take the picture size.
void SetPitch(const std::string& key, tessaro::ConfigParam& config) {
    struct Drawn {
        const char* key;
        uint32_t layoutCode;
        uint32_t sampleBytes;
    };
    static const Drawn kDrawn[] = {{"Pattern/NV12", 0, 1}, {"Pattern/P010", 3, 2}, {"Pattern/P210", 6, 2}};
    config.mStride = config.mWidth;
    config.mScanlines = config.mHeight;
    for (const auto& row : kDrawn) {
        if (key != row.key) continue;
        config.mStride = VideoBufferLayout_GetStrideInBytes(row.layoutCode, config.mWidth, 1) / row.sampleBytes;
        config.mScanlines = VideoBufferLayout_GetScanlines(row.layoutCode, config.mHeight, 1);
    }
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
    const tessaro::ProcessorKeyInfo* info = FindKey(key);
    if (info == nullptr || info->family == ProcessorFamily::Writer) return Fail("unknown producer key", tessaro::TS_ERROR);
    const bool raw = info->family == ProcessorFamily::Raw || info->family == ProcessorFamily::Pattern;

    tessaro::ConfigParam config{};
    if (argc > 3) config.mInputFileName = argv[3];
    if (argc > 4 && std::sscanf(argv[4], "%ux%u", &config.mWidth, &config.mHeight) == 2) SetPitch(key, config);
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
    out.mPixFormat = info->pixFormat;  // the raw writer's code for the producer's layout
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
        // Compressed frames differ in size: ask before every call. Raw readers
        // size their pictures on the first call, so it is never skipped.
        const uint32_t needed = producer->GetBufferLength();
        if (static_cast<int32_t>(needed) < 0) { result = Fail("GetBufferLength", static_cast<int32_t>(needed)); break; }
        if (!buffer || buffer->mCapacity < needed) buffer = tessaro::MakeMemfdBuffer(needed, raw ? 1 : 0);
        if (!buffer) { result = Fail("MakeMemfdBuffer", tessaro::TS_ERROR); break; }
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
