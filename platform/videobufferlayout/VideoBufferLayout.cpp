// The video buffer layout library: pitches, plane heights and total sizes of
// the buffer layouts a colour-format code names. docs/buffer-layout.md has the
// design and a table of worked values.
//
// Linear layouts: every plane has the same row pitch, the luma width in bytes
// rounded up to the pitch alignment; the luma plane height is rounded up to the
// scanline alignment; the chroma plane (if any) follows the luma plane at half
// or full that height; the total is rounded up to a 4096-byte page.
//
// MOSA layouts: every plane is cut into tiles of 256 bytes (a tile row width in
// bytes times a tile height in rows). A plane is stored as a metadata plane
// (one byte per tile: the tile's compression state) followed by the tile data;
// each of the two is rounded up to a page. A picture stored as two fields is two
// such pictures of half the height, one after the other.
//
// Every function returns 0 for a code it does not know, for a plane the format
// does not have, and for a result that does not fit in 32 bits.
#include "VideoBufferLayout.h"

#include <cstdint>
#include <initializer_list>

namespace {

constexpr uint64_t kPageBytes = 4096;
constexpr uint32_t kLumaPlane = 1;
constexpr uint32_t kChromaPlane = 3;

enum class Chroma { kNone, kHalfHeight, kFullHeight };

uint64_t AlignUp(uint64_t value, uint64_t alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

uint64_t DivideUp(uint64_t value, uint64_t divisor) { return (value + divisor - 1) / divisor; }

uint32_t Narrow(uint64_t value) { return value > UINT32_MAX ? 0 : static_cast<uint32_t>(value); }

// ---- linear layouts ---------------------------------------------------------

struct LinearFormat {
    uint32_t bytesPerPixel;   // of the luma (or only) plane; interleaved chroma rows match it
    uint32_t pitchAlignment;  // bytes
    uint32_t rowAlignment;    // rows of the luma plane
    Chroma chroma;
};

bool FindLinear(uint32_t format, LinearFormat* out) {
    switch (format) {
        case 0:   // NV12
        case 2:   // NV21
            *out = {1, 128, 32, Chroma::kHalfHeight};
            return true;
        case 3:   // P010
            *out = {2, 128, 32, Chroma::kHalfHeight};
            return true;
        case 6:   // P210
            *out = {2, 128, 32, Chroma::kFullHeight};
            return true;
        case 8:   // RGBA 8:8:8:8
        case 12:  // RGBA 10:10:10:2
            *out = {4, 256, 16, Chroma::kNone};
            return true;
        case 13:  // RGBA half float
            *out = {8, 256, 16, Chroma::kNone};
            return true;
        default:
            return false;
    }
}

uint64_t LinearPitch(const LinearFormat& f, uint64_t width) {
    return AlignUp(width * f.bytesPerPixel, f.pitchAlignment);
}

uint64_t LinearRows(const LinearFormat& f, uint64_t height, uint32_t plane) {
    const uint64_t lumaRows = AlignUp(height, f.rowAlignment);
    if (plane == kLumaPlane) return lumaRows;
    if (plane != kChromaPlane) return 0;
    switch (f.chroma) {
        case Chroma::kHalfHeight: return lumaRows / 2;  // lumaRows is even
        case Chroma::kFullHeight: return lumaRows;
        case Chroma::kNone: return 0;
    }
    return 0;
}

uint64_t LinearSize(const LinearFormat& f, uint64_t width, uint64_t height) {
    const uint64_t rows = LinearRows(f, height, kLumaPlane) + LinearRows(f, height, kChromaPlane);
    return AlignUp(LinearPitch(f, width) * rows, kPageBytes);
}

// ---- MOSA (tiled, compressed) layouts -----------------------------------------

struct TiledFormat {
    uint32_t groupPixels;   // pixels (samples) packed together ...
    uint32_t groupBytes;    // ... into this many bytes
    uint32_t tileWidth;     // bytes of one tile row
    uint32_t tileHeight;    // rows of one tile; tileWidth x tileHeight = 256
    Chroma chroma;          // interleaved chroma plane: as many samples a row as luma
};

constexpr uint64_t kTilePitchAlignment = 128;  // bytes of a data row
constexpr uint64_t kTileRowAlignment = 16;     // rows of a data plane
constexpr uint64_t kMetaPitchAlignment = 64;   // tiles of a metadata row
constexpr uint64_t kMetaRowAlignment = 16;     // tile rows of a metadata plane

bool FindTiled(uint32_t format, TiledFormat* out) {
    switch (format) {
        case 1:   // NV12: 8-bit samples
            *out = {1, 1, 32, 8, Chroma::kHalfHeight};
            return true;
        case 5:   // RX10: three 10-bit samples in four bytes
            *out = {3, 4, 64, 4, Chroma::kHalfHeight};
            return true;
        case 7:   // P210: 16-bit samples, chroma at full height
            *out = {1, 2, 64, 4, Chroma::kFullHeight};
            return true;
        case 9:   // RGBA 8:8:8:8
        case 11:  // RGBA 10:10:10:2
            *out = {1, 4, 64, 4, Chroma::kNone};
            return true;
        default:
            return false;
    }
}

struct TiledPlane {
    uint64_t tilesAcross;
    uint64_t tilesDown;
    uint64_t pitch;  // bytes of a data row
    uint64_t rows;   // rows of the data plane
};

bool TiledPlaneOf(const TiledFormat& f, uint64_t width, uint64_t height, uint32_t plane,
                  TiledPlane* out) {
    uint64_t planeRows = height;
    if (plane == kChromaPlane) {
        if (f.chroma == Chroma::kNone) return false;
        if (f.chroma == Chroma::kHalfHeight) planeRows = DivideUp(height, 2);
    } else if (plane != kLumaPlane) {
        return false;
    }
    const uint64_t rowBytes = DivideUp(width, f.groupPixels) * f.groupBytes;
    out->tilesAcross = DivideUp(rowBytes, f.tileWidth);
    out->tilesDown = DivideUp(planeRows, f.tileHeight);
    out->pitch = AlignUp(out->tilesAcross * f.tileWidth, kTilePitchAlignment);
    out->rows = AlignUp(out->tilesDown * f.tileHeight, kTileRowAlignment);
    return true;
}

uint64_t TiledPlaneBytes(const TiledPlane& p) {
    const uint64_t meta = AlignUp(AlignUp(p.tilesAcross, kMetaPitchAlignment) *
                                      AlignUp(p.tilesDown, kMetaRowAlignment),
                                  kPageBytes);
    return meta + AlignUp(p.pitch * p.rows, kPageBytes);
}

uint64_t TiledPictureBytes(const TiledFormat& f, uint64_t width, uint64_t height) {
    uint64_t total = 0;
    for (uint32_t plane : {kLumaPlane, kChromaPlane}) {
        TiledPlane p{};
        if (TiledPlaneOf(f, width, height, plane, &p)) total += TiledPlaneBytes(p);
    }
    return total;
}

}  // namespace

extern "C" {

uint32_t VideoBufferLayout_GetBufferSize(uint32_t format, uint32_t stride, uint32_t scanlines) {
    LinearFormat linear{};
    if (FindLinear(format, &linear)) return Narrow(LinearSize(linear, stride, scanlines));
    TiledFormat tiled{};
    if (FindTiled(format, &tiled)) return Narrow(TiledPictureBytes(tiled, stride, scanlines));
    return 0;
}

uint32_t VideoBufferLayout_GetBufferSizeUsed(uint32_t format, uint32_t width, uint32_t height,
                                             uint32_t interlaced) {
    LinearFormat linear{};
    // Linear fields interleave row by row inside one frame: same size.
    if (FindLinear(format, &linear)) return Narrow(LinearSize(linear, width, height));
    TiledFormat tiled{};
    if (!FindTiled(format, &tiled)) return 0;
    if (interlaced == 0) return Narrow(TiledPictureBytes(tiled, width, height));
    // Two fields of the frame's height, rounded up to whole rows, each a picture.
    return Narrow(2 * TiledPictureBytes(tiled, width, DivideUp(height, 2)));
}

uint32_t VideoBufferLayout_GetStrideInBytes(uint32_t format, uint32_t width, uint32_t plane) {
    LinearFormat linear{};
    if (FindLinear(format, &linear)) {
        if (LinearRows(linear, 1, plane) == 0) return 0;  // no such plane
        return Narrow(LinearPitch(linear, width));
    }
    TiledFormat tiled{};
    TiledPlane p{};
    if (FindTiled(format, &tiled) && TiledPlaneOf(tiled, width, 1, plane, &p)) return Narrow(p.pitch);
    return 0;
}

uint32_t VideoBufferLayout_GetScanlines(uint32_t format, uint32_t height, uint32_t plane) {
    LinearFormat linear{};
    if (FindLinear(format, &linear)) return Narrow(LinearRows(linear, height, plane));
    TiledFormat tiled{};
    TiledPlane p{};
    if (FindTiled(format, &tiled) && TiledPlaneOf(tiled, 1, height, plane, &p)) return Narrow(p.rows);
    return 0;
}

}  // extern "C"
