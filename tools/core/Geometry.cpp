#include "core/Geometry.h"

#include <VideoBufferLayout.h>
#include <tessaro/RawFormats.h>

#include "core/Args.h"

namespace tessaro::cli {
namespace {

// YUV generators draw at the layout library's pitch; RGBA generators pack
// their rows at the width, as readers take them.
bool DrawsAtLayoutPitch(const std::string& key, const RawFormatInfo& info) {
    return key.rfind("Pattern/", 0) == 0 && info.chromaRows != 0 && info.layoutCode != RawFormatInfo::kNoLayoutCode;
}

// The raw writer reads YV12 rows at the width rounded up to 64, whatever the
// stride: a reader at that pitch gives it the same bytes.
uint32_t DefaultStride(const std::string& key, const RawFormatInfo& info, uint32_t width) {
    if (DrawsAtLayoutPitch(key, info) && width != 0)
        return VideoBufferLayout_GetStrideInBytes(info.layoutCode, width, 1) / info.bytesPerPixel;
    const uint32_t align = info.chromaRows == 3 ? 64 : 1;
    return (width + align - 1) / align * align;
}

}  // namespace

void ApplyGeometry(const std::string& key, ConfigParam& c) {
    RawFormatInfo info{RawFormatInfo::kNoLayoutCode, 1, 0, false};
    const bool raw = RawFormatOf(key, &info);
    if (c.mStride == 0) c.mStride = raw ? DefaultStride(key, info, c.mWidth) : c.mWidth;
    if (c.mScanlines == 0) {
        c.mScanlines = c.mHeight;
        if (raw && DrawsAtLayoutPitch(key, info) && c.mHeight != 0)
            c.mScanlines = VideoBufferLayout_GetScanlines(info.layoutCode, c.mHeight, 1);
    }
    if (c.mStride < c.mWidth) {
        throw UsageError("--stride " + std::to_string(c.mStride) + " is below the width " + std::to_string(c.mWidth));
    }
    if (c.mScanlines < c.mHeight) {
        throw UsageError("--scanlines " + std::to_string(c.mScanlines) + " is below the height " +
                         std::to_string(c.mHeight));
    }
}

uint64_t RawCapacity(const std::string& key, const ConfigParam& c, uint64_t answer) {
    const uint64_t reach = RawBufferReach(key, c);
    return reach > answer ? reach : answer;
}

uint64_t PackedPictureBytes(const std::string& key, uint32_t width, uint32_t height) {
    RawFormatInfo info{};
    if (!RawFormatOf(key, &info) || info.tiled) return 0;
    if (info.chromaRows == 3) return uint64_t(height) * (width + width / 2);  // YV12: two quarter planes
    const uint64_t chromaRows = info.chromaRows == 2 ? height : info.chromaRows == 1 ? (height + 1) / 2 : 0;
    return uint64_t(width) * info.bytesPerPixel * (height + chromaRows);
}

}  // namespace tessaro::cli
