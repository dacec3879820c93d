#include "core/Geometry.h"

#include <VideoBufferLayout.h>

#include "core/Args.h"

namespace tessaro::cli {
namespace {

// Keys whose pictures are rows of samples: the layout code a generator draws
// at (readers and RGBA generators take the picture size), the bytes of a luma
// sample, and the chroma rows of a picture (1: half the rows, 4:2:0; 2: all
// of them, 4:2:2; 0: none).
struct LayoutRow {
    const char* key;
    int32_t drawCode;           // layout code of the drawn pitch; -1: stride = width
    uint32_t sampleBytes;       // bytes of a luma sample (or a pixel for RGBA)
    uint32_t chroma;            // 0 none, 1 half the rows, 2 all rows
    uint32_t strideAlign;       // a reader's default stride: the width rounded up to this
};

constexpr LayoutRow kLayouts[] = {
    {"Pattern/NV12", 0, 1, 1, 1},       {"Pattern/P010", 3, 2, 1, 1},      {"Pattern/P210", 6, 2, 2, 1},
    {"Pattern/RGBA32", -1, 4, 0, 1},    {"Pattern/RGBA1010102", -1, 4, 0, 1},
    {"Parse/NV12", -1, 1, 1, 1},        {"Parse/NV21", -1, 1, 1, 1},
    // The raw writer reads YV12 rows at the width rounded up to 64, whatever
    // the stride: a reader at that pitch gives it the same bytes.
    {"Parse/YV12", -1, 1, 1, 64},
    {"Parse/P010", -1, 2, 1, 1},        {"Parse/P210", -1, 2, 2, 1},       {"Parse/RGBA32", -1, 4, 0, 1},
    {"Parse/RGBA1010102", -1, 4, 0, 1}, {"Parse/RGBAFP16", -1, 8, 0, 1},
};

const LayoutRow* FindLayout(const std::string& key) {
    for (const auto& row : kLayouts) {
        if (key == row.key) return &row;
    }
    return nullptr;
}

}  // namespace

void ApplyGeometry(const std::string& key, ConfigParam& c) {
    const LayoutRow* row = FindLayout(key);
    if (c.mStride == 0) {
        const uint32_t align = row != nullptr ? row->strideAlign : 1;
        c.mStride = (c.mWidth + align - 1) / align * align;
        if (row != nullptr && row->drawCode >= 0 && c.mWidth != 0) {
            c.mStride = VideoBufferLayout_GetStrideInBytes(uint32_t(row->drawCode), c.mWidth, 1) / row->sampleBytes;
        }
    }
    if (c.mScanlines == 0) {
        c.mScanlines = c.mHeight;
        if (row != nullptr && row->drawCode >= 0 && c.mHeight != 0) {
            c.mScanlines = VideoBufferLayout_GetScanlines(uint32_t(row->drawCode), c.mHeight, 1);
        }
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
    if (key != "Parse/YV12" || c.mHeight == 0) return answer;
    const uint64_t pictures = c.mSuperFrame > 1 ? c.mSuperFrame : 1;
    const uint64_t chromaPitch = (uint64_t(c.mStride) / 2 + 63) / 64 * 64;
    const uint64_t reach = uint64_t(c.mHeight) * c.mStride + (c.mHeight - 1) * chromaPitch + c.mWidth / 2;
    const uint64_t needed = (pictures - 1) * (answer / pictures) + reach;
    return needed > answer ? needed : answer;
}

uint64_t PackedPictureBytes(const std::string& key, uint32_t width, uint32_t height) {
    const LayoutRow* row = FindLayout(key);
    if (row == nullptr) return 0;
    const uint64_t lumaRow = uint64_t(width) * row->sampleBytes;
    if (key == "Parse/YV12") return uint64_t(height) * (width + width / 2);
    const uint64_t chromaRows = row->chroma == 2 ? height : row->chroma == 1 ? (height + 1) / 2 : 0;
    return lumaRow * (height + chromaRows);
}

}  // namespace tessaro::cli
