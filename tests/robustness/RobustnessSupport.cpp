#include "robustness/RobustnessSupport.h"

#include <dirent.h>

#include <fstream>
#include <string>

#include "support/ClientBuffer.h"

namespace tessaro::test {
namespace {

ConfigParam RawGeometry(uint32_t width, uint32_t height) {
    ConfigParam c{};
    c.mWidth = c.mStride = width;
    c.mHeight = c.mScanlines = height;
    return c;
}

ConfigParam Codec(const char* codec) {
    ConfigParam c{};
    c.mCodec = codec;
    return c;
}

}  // namespace

std::vector<Producer> ProducerFamilies() {
    std::vector<Producer> families = {
        {"AVC", "Parse/AVC", "h264/four_slices_bframes.264", 0, {}},
        {"HEVC", "Parse/HEVC", "h265/two_slices.265", 0, {}},
        {"VPX", "Parse/VPX", "vpx/vp9_kf4.ivf", 0, {}},
        {"AV1", "Parse/AV1", "av1/kf4.ivf", 0, {}},
        {"APV", "Parse/APV", "apv/four_units.apv", 0, {}},
        {"NV12", "Parse/NV12", "raw/testsrc_64x48_5f.nv12", 1, RawGeometry(64, 48)},
        {"RGBA32", "Parse/RGBA32", "raw/testsrc_64x48_5f.rgba", 1, RawGeometry(64, 48)},
        {"NV12Tiled", "Parse/NV12_MOSA", "raw/testsrc_64x48_5f.nv12", 1, RawGeometry(64, 48)},
        {"PatternNV12", "Pattern/NV12", "", 1, RawGeometry(64, 48)},
    };
#ifdef TESSARO_HAVE_CONTAINER
    families.push_back({"Container", "Parse/Container", "container/hevc.mp4", 0, Codec("HEVC")});
#endif
    for (auto& family : families) family.config.mFrames = family.sample[0] == '\0' ? 5 : 0;
    return families;
}

std::vector<Producer> FamiliesWithInput() {
    std::vector<Producer> families;
    for (const auto& family : ProducerFamilies()) {
        if (family.sample[0] != '\0') families.push_back(family);
    }
    return families;
}

std::vector<Producer> CompressedFamilies() {
    std::vector<Producer> families;
    for (const auto& family : ProducerFamilies()) {
        const std::string key = family.key;
        if (family.bufferType == 0 && key != "Parse/Container") families.push_back(family);
    }
    return families;
}

Run DriveToEnd(TessaroInterface& processor, uint32_t bufferType, int maxCalls) {
    Run run;
    std::shared_ptr<Buffer> buffer;
    for (; run.calls < maxCalls;) {
        const uint32_t wanted = processor.GetBufferLength();
        const uint64_t capacity =
            (wanted == 0 || static_cast<int32_t>(wanted) < 0) ? 4096 : wanted;
        if (!buffer || buffer->mCapacity != capacity) buffer = MakeClientBuffer(capacity, bufferType);
        ++run.calls;
        run.lastStatus = processor.Process(buffer);
        if (run.lastStatus != TS_OK) break;
        if (buffer->mOffset + buffer->mLength > buffer->mCapacity) {
            run.stayedInside = false;
            break;
        }
        const auto valid = ReadValid(*buffer);
        run.bytes.insert(run.bytes.end(), valid.begin(), valid.end());
        if (buffer->mFlags & Buffer::FLAG_EOS) {
            run.sawEos = true;
            break;
        }
    }
    return run;
}

Resources CurrentResources() {
    Resources r;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmRSS:", 0) == 0) r.rssKiB = std::stol(line.substr(6));
    }
    if (DIR* dir = opendir("/proc/self/fd")) {
        while (dirent* entry = readdir(dir)) {
            if (entry->d_name[0] != '.') ++r.descriptors;
        }
        closedir(dir);
        --r.descriptors;  // the directory being listed
    }
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) ++r.mappings;
    return r;
}

}  // namespace tessaro::test
