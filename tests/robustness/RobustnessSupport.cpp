#include "robustness/RobustnessSupport.h"

#include <fstream>
#include <string>

#include "support/ClientBuffer.h"
#include "support/Probe.h"

namespace tessaro::test {

std::vector<Producer> ProducerFamilies(bool withInput) {
    ConfigParam picture{}, hevc{};
    picture.mWidth = picture.mStride = 64;
    picture.mHeight = picture.mScanlines = 48;
    hevc.mCodec = "HEVC";
    ConfigParam pattern = picture;
    pattern.mFrames = 5;
    std::vector<Producer> families = {
        {"AVC", "Parse/AVC", "h264/four_slices_bframes.264", 0, {}},
        {"HEVC", "Parse/HEVC", "h265/two_slices.265", 0, {}},
        {"VPX", "Parse/VPX", "vpx/vp9_kf4.ivf", 0, {}},
        {"AV1", "Parse/AV1", "av1/kf4.ivf", 0, {}},
        {"APV", "Parse/APV", "apv/four_units.apv", 0, {}},
        {"NV12", "Parse/NV12", "raw/testsrc_64x48_5f.nv12", 1, picture},
        {"RGBA32", "Parse/RGBA32", "raw/testsrc_64x48_5f.rgba", 1, picture},
        {"NV12Tiled", "Parse/NV12_MOSA", "raw/testsrc_64x48_5f.nv12", 1, picture},
    };
    if (!withInput) families.push_back({"PatternNV12", "Pattern/NV12", "", 1, pattern});
#ifdef TESSARO_HAVE_CONTAINER
    families.push_back({"Container", "Parse/Container", "container/hevc.mp4", 0, hevc});
#endif
    return families;
}

Run DriveToEnd(TessaroInterface& processor, uint32_t bufferType, int maxCalls) {
    Run run;
    std::shared_ptr<Buffer> buffer;
    while (run.calls < maxCalls) {
        const uint32_t wanted = processor.GetBufferLength();
        const uint64_t capacity = (wanted == 0 || static_cast<int32_t>(wanted) < 0) ? 4096 : wanted;
        if (!buffer || buffer->mCapacity != capacity) buffer = MakeClientBuffer(capacity, bufferType);
        ++run.calls;
        if ((run.lastStatus = processor.Process(buffer)) != TS_OK) break;
        if (!(run.stayedInside = buffer->mOffset + buffer->mLength <= buffer->mCapacity)) break;
        const auto valid = ReadValid(*buffer);
        run.bytes.insert(run.bytes.end(), valid.begin(), valid.end());
        if ((run.sawEos = (buffer->mFlags & Buffer::FLAG_EOS) != 0)) break;
    }
    return run;
}

Resources CurrentResources() {
    Resources r;
    std::ifstream status("/proc/self/status"), maps("/proc/self/maps");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmRSS:", 0) == 0) r.rssKiB = std::stol(line.substr(6));
    }
    for (std::string line; std::getline(maps, line);) ++r.mappings;
    r.descriptors = OpenDescriptorCount();
    return r;
}

}  // namespace tessaro::test
