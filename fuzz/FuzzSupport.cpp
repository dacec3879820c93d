#include "FuzzSupport.h"

#include "tessaro/ClientBuffer.h"

#include <android/log.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace tessaro::fuzz {
namespace {

// The largest input (-max_len=262144), so any unit of it fits. A delivery
// after a seek repeats sequence headers until the buffer is full, so the cap
// also bounds what one such input costs.
constexpr uint64_t kMaxBuffer = 256u << 10;

void SilentLogger(const struct __android_logger_data*, const char*) {}

// Library logs are formatted (so formatting paths are exercised) and dropped,
// or written to stderr when TESSARO_FUZZ_LOG is set (to follow one input).
struct QuietLogs {
    QuietLogs() {
        __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
        __android_log_set_logger(getenv("TESSARO_FUZZ_LOG") ? __android_log_stderr_logger : SilentLogger);
    }
} gQuietLogs;

}  // namespace

namespace {

// One file per suffix for the whole process, rewritten for each input and
// removed at exit: an input costs no file creation or removal.
class FileNames {
public:
    ~FileNames() {
        for (const auto& entry : mPaths) unlink(entry.second.c_str());
    }
    const std::string& For(const std::string& suffix) {
        std::string& path = mPaths[suffix];
        if (path.empty()) {
            const char* dir = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
            std::string pattern = std::string(dir) + "/tessaro-fuzz-XXXXXX" + suffix;
            const int fd = mkstemps(pattern.data(), static_cast<int>(suffix.size()));
            if (fd < 0) abort();
            close(fd);
            path = pattern;
        }
        return path;
    }

private:
    std::map<std::string, std::string> mPaths;
};

}  // namespace

InputFile::InputFile(const uint8_t* data, size_t size, const std::string& suffix) {
    static FileNames names;
    mPath = names.For(suffix);
    const int fd = open(mPath.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (fd < 0) abort();
    size_t done = 0;
    while (done < size) {
        const ssize_t n = write(fd, data + done, size - done);
        if (n <= 0) abort();
        done += static_cast<size_t>(n);
    }
    close(fd);
}

std::shared_ptr<Buffer> MakeBuffer(uint64_t capacity, uint32_t type) {
    capacity = std::min(capacity, kMaxBuffer);
    std::shared_ptr<Buffer> buffer = MakeMemfdBuffer(capacity, type);
    if (buffer == nullptr) abort();
    return buffer;
}

namespace {

// A buffer over the one memfd of kMaxBuffer bytes the driver keeps for the
// process: a new capacity costs no descriptor and no pages. The library never
// reads what an earlier input left in the memory.
std::shared_ptr<Buffer> ViewBuffer(uint64_t capacity, uint32_t type) {
    static const std::shared_ptr<Buffer> memory = MakeBuffer(kMaxBuffer, 0);
    auto buffer = std::make_shared<Buffer>();
    buffer->mFd = memory->mFd;
    buffer->mCapacity = std::min(capacity, kMaxBuffer);
    buffer->mType = type;
    return buffer;
}

// A list of up to `most` entries, each drawn by `draw`.
template <typename Draw>
std::vector<uint32_t> DrawList(FuzzedDataProvider& fdp, size_t most, Draw draw) {
    std::vector<uint32_t> list(fdp.ConsumeIntegralInRange<size_t>(0, most));
    for (auto& v : list) v = draw();
    return list;
}

}  // namespace

ConfigParam DrawConfig(FuzzedDataProvider& fdp) {
    const auto in = [&fdp](uint32_t lo, uint32_t hi) { return fdp.ConsumeIntegralInRange<uint32_t>(lo, hi); };
    ConfigParam c{};
    c.mFrames = in(0, 40);
    c.mSuperFrame = in(0, 3);
    c.mSliceMode = fdp.ConsumeBool();
    c.mLoopForever = fdp.ConsumeBool();
    if (fdp.ConsumeBool()) c.mLoopFrames = in(1, 6);
    if (fdp.ConsumeBool()) c.mRepeatInterval = in(1, 6);
    if (fdp.ConsumeBool()) c.mDeliveryMode = 1;
    c.mSkipSlices = DrawList(fdp, 4, [&] { return in(0, 6); });
    c.mSliceOrder = DrawList(fdp, 4, [&] { return in(0, 6); });
    c.mWidth = in(0, 96);
    c.mHeight = in(0, 96);
    c.mStride = in(0, 128);
    c.mScanlines = in(0, 128);
    c.mStaticPattern = fdp.ConsumeBool();
    c.mInterlaced = fdp.ConsumeBool();
    if (fdp.ConsumeBool()) {
        c.mFrameRateNum = in(1, 120000);
        c.mFrameRateDen = in(1, 1001);
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

ConfigParam DrawCompressedConfig(FuzzedDataProvider& fdp) {
    ConfigParam c{};
    for (uint32_t* field : {&c.mFrames, &c.mSuperFrame, &c.mLoopFrames, &c.mRepeatInterval, &c.mDeliveryMode}) *field = DrawWide(fdp);
    c.mSkipSlices = DrawList(fdp, 6, [&] { return DrawWide(fdp); });
    c.mSliceOrder = DrawList(fdp, 6, [&] { return DrawWide(fdp); });
    for (uint32_t* field : {&c.mWidth, &c.mHeight, &c.mStride, &c.mScanlines, &c.mFrameRateNum, &c.mFrameRateDen,
                            &c.mReserved, &c.mSpare, &c.mPixFormat}) {
        *field = DrawWide(fdp);
    }
    for (bool* flag : {&c.mSliceMode, &c.mLoopForever, &c.mFlagA, &c.mFlagC, &c.mStaticPattern, &c.mInterlaced}) {
        *flag = fdp.ConsumeBool();
    }
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
        // The announced length is asked for only when it sizes the buffer.
        uint64_t capacity = 0;
        if (fdp.ConsumeBool()) {
            capacity = fdp.ConsumeIntegralInRange<uint64_t>(1, 1 << 16);
        } else {
            const uint32_t wanted = processor.GetBufferLength();
            capacity = (wanted == 0 || wanted > (1u << 31)) ? 4096 : wanted;
        }
        if (!buffer || buffer->mCapacity != std::min(capacity, kMaxBuffer)) {
            buffer = ViewBuffer(capacity, bufferType);
        }
        if (processor.Process(buffer) != TS_OK) break;
        if (buffer->mFlags & Buffer::FLAG_EOS) break;
        if (buffer->mOffset + buffer->mLength > buffer->mCapacity) abort();  // never past the buffer
    }
    processor.DeInit();
}

}  // namespace tessaro::fuzz
