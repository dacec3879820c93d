#include "FuzzSupport.h"

#include "tessaro/ClientBuffer.h"

#include <android/log.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace tessaro::fuzz {
namespace {

constexpr uint64_t kMaxBuffer = 8u << 20;

void SilentLogger(const struct __android_logger_data*, const char*) {}

// Library logs are formatted (so formatting paths are exercised) and dropped.
struct QuietLogs {
    QuietLogs() {
        __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
        __android_log_set_logger(SilentLogger);
    }
} gQuietLogs;

}  // namespace

InputFile::InputFile(const uint8_t* data, size_t size, const std::string& suffix) {
    const char* dir = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    std::string pattern = std::string(dir) + "/tessaro-fuzz-XXXXXX" + suffix;
    const int fd = mkstemps(pattern.data(), static_cast<int>(suffix.size()));
    if (fd < 0) abort();
    size_t done = 0;
    while (done < size) {
        const ssize_t n = write(fd, data + done, size - done);
        if (n <= 0) abort();
        done += static_cast<size_t>(n);
    }
    close(fd);
    mPath = pattern;
}

InputFile::~InputFile() { unlink(mPath.c_str()); }

std::shared_ptr<Buffer> MakeBuffer(uint64_t capacity, uint32_t type) {
    capacity = std::min(capacity, kMaxBuffer);
    std::shared_ptr<Buffer> buffer = MakeMemfdBuffer(capacity, type);
    if (buffer == nullptr) abort();
    return buffer;
}

static std::vector<uint32_t> DrawList(FuzzedDataProvider& fdp) {
    std::vector<uint32_t> list(fdp.ConsumeIntegralInRange<size_t>(0, 4));
    for (auto& v : list) v = fdp.ConsumeIntegralInRange<uint32_t>(0, 6);
    return list;
}

ConfigParam DrawConfig(FuzzedDataProvider& fdp) {
    ConfigParam c{};
    c.mFrames = fdp.ConsumeIntegralInRange<uint32_t>(0, 40);
    c.mSuperFrame = fdp.ConsumeIntegralInRange<uint32_t>(0, 3);
    c.mSliceMode = fdp.ConsumeBool();
    c.mLoopForever = fdp.ConsumeBool();
    if (fdp.ConsumeBool()) c.mLoopFrames = fdp.ConsumeIntegralInRange<uint32_t>(1, 6);
    if (fdp.ConsumeBool()) c.mRepeatInterval = fdp.ConsumeIntegralInRange<uint32_t>(1, 6);
    if (fdp.ConsumeBool()) c.mDeliveryMode = 1;
    c.mSkipSlices = DrawList(fdp);
    c.mSliceOrder = DrawList(fdp);
    c.mWidth = fdp.ConsumeIntegralInRange<uint32_t>(0, 96);
    c.mHeight = fdp.ConsumeIntegralInRange<uint32_t>(0, 96);
    c.mStride = fdp.ConsumeIntegralInRange<uint32_t>(0, 128);
    c.mScanlines = fdp.ConsumeIntegralInRange<uint32_t>(0, 128);
    c.mStaticPattern = fdp.ConsumeBool();
    c.mInterlaced = fdp.ConsumeBool();
    if (fdp.ConsumeBool()) {
        c.mFrameRateNum = fdp.ConsumeIntegralInRange<uint32_t>(1, 120000);
        c.mFrameRateDen = fdp.ConsumeIntegralInRange<uint32_t>(1, 1001);
    }
    return c;
}

uint32_t DrawWide(FuzzedDataProvider& fdp) {
    static constexpr uint32_t kExtremes[] = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF};
    switch (fdp.ConsumeIntegralInRange<int>(0, 3)) {
        case 0: return fdp.ConsumeIntegralInRange<uint32_t>(0, 8);
        case 1: return fdp.ConsumeIntegral<uint16_t>();
        case 2: return fdp.ConsumeIntegral<uint32_t>();
        default: return fdp.PickValueInArray(kExtremes);
    }
}

static std::vector<uint32_t> DrawWideList(FuzzedDataProvider& fdp) {
    std::vector<uint32_t> list(fdp.ConsumeIntegralInRange<size_t>(0, 6));
    for (auto& v : list) v = DrawWide(fdp);
    return list;
}

ConfigParam DrawCompressedConfig(FuzzedDataProvider& fdp) {
    ConfigParam c{};
    c.mFrames = DrawWide(fdp);
    c.mSuperFrame = DrawWide(fdp);
    c.mSliceMode = fdp.ConsumeBool();
    c.mLoopForever = fdp.ConsumeBool();
    c.mLoopFrames = DrawWide(fdp);
    c.mRepeatInterval = DrawWide(fdp);
    c.mDeliveryMode = DrawWide(fdp);
    c.mSkipSlices = DrawWideList(fdp);
    c.mSliceOrder = DrawWideList(fdp);
    c.mWidth = DrawWide(fdp);
    c.mHeight = DrawWide(fdp);
    c.mStride = DrawWide(fdp);
    c.mScanlines = DrawWide(fdp);
    c.mFrameRateNum = DrawWide(fdp);
    c.mFrameRateDen = DrawWide(fdp);
    c.mReserved = DrawWide(fdp);
    c.mSpare = DrawWide(fdp);
    c.mPixFormat = DrawWide(fdp);
    c.mFlagA = fdp.ConsumeBool();
    c.mFlagC = fdp.ConsumeBool();
    c.mStaticPattern = fdp.ConsumeBool();
    c.mInterlaced = fdp.ConsumeBool();
    return c;
}

void DriveProducer(TessaroInterface& processor, ConfigParam config, FuzzedDataProvider& fdp,
                   uint32_t bufferType, int maxCalls, bool wideSeek) {
    processor.SetConfig(config);
    if (processor.Init() != TS_OK) {
        processor.DeInit();
        return;
    }
    const int seekAfter = fdp.ConsumeIntegralInRange<int>(-1, maxCalls);
    std::shared_ptr<Buffer> buffer;
    for (int call = 0; call < maxCalls; ++call) {
        if (call == seekAfter) {
            ConfigParam seek{};
            seek.mSeekMode = wideSeek ? DrawWide(fdp) : fdp.ConsumeIntegralInRange<uint32_t>(1, 2);
            seek.mSeekFrame = wideSeek ? DrawWide(fdp) : fdp.ConsumeIntegralInRange<uint32_t>(1, 50);
            processor.SetConfig(seek);
        }
        const uint32_t wanted = processor.GetBufferLength();
        uint64_t capacity = (wanted == 0 || wanted > (1u << 31)) ? 4096 : wanted;
        if (fdp.ConsumeBool()) capacity = fdp.ConsumeIntegralInRange<uint64_t>(1, 1 << 16);
        if (!buffer || buffer->mCapacity != std::min(capacity, kMaxBuffer)) {
            buffer = MakeBuffer(capacity, bufferType);
        }
        if (processor.Process(buffer) != TS_OK) break;
        if (buffer->mFlags & Buffer::FLAG_EOS) break;
        if (buffer->mOffset + buffer->mLength > buffer->mCapacity) abort();  // never past the buffer
    }
    processor.DeInit();
}

}  // namespace tessaro::fuzz
