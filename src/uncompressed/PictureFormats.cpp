// The picture formats, one row each. Three file sizes are deliberately not what
// a picture takes in the file: P210 counts mHeight + 2 x mHeight x mWidth (of 4 x
// mHeight x mWidth), RGBA 10:10:10:2 8 bytes a pixel (of 4), RGBA half-float 4 (of
// 8). They only move where the end of stream falls and backward reads land.
#include "uncompressed/PictureFormat.h"

#include <VideoBufferLayout.h>

namespace tessaro {

namespace {

uint32_t Nv12File(uint32_t w, uint32_t h) { return (h + (h + 1) / 2) * w; }
uint32_t Yv12Buffer(uint32_t w, uint32_t h) { return h * w + ((h + 1) / 2) * ((w + 1) & ~1u); }
uint32_t Yv12File(uint32_t w, uint32_t h) { return h * (w + w / 2); }
uint32_t P010File(uint32_t w, uint32_t h) { return w * (h + (h + 1) / 2) * 2; }
uint32_t P210File(uint32_t w, uint32_t h) { return h + 2 * h * w; }
uint32_t Pixels4(uint32_t w, uint32_t h) { return h * w * 4; }
uint32_t Pixels8(uint32_t w, uint32_t h) { return h * w * 8; }

using S = SizeRule;
constexpr S Layout(uint32_t code) { return S::Layout(code, S::kStrideScanlines); }
constexpr S Used(uint32_t code, uint32_t interlaced) { return S::Used(code, S::kWidthHeight, interlaced); }
constexpr auto Formula = S::Formula;
constexpr S kUnset{};

#define TAG(x) "Tessaro::Impl::StreamParser::UnCompressed::" x
constexpr const char* kRead = "ReadfromInputFile";
constexpr Pattern kNoPattern = Pattern::kNone;

}  // namespace

namespace formats {
// tag, size in the buffer, in the file, planes, bytes a pixel, checks stride,
// state line, nullptr line, vaddr line, entry line, pattern
const PictureFormat kNV12{TAG("NV12"), Layout(0), Formula(Nv12File), Planes::kSemiPlanar420, 1, true, 66, 18, 25, kRead, kNoPattern};
const PictureFormat kYV12{TAG("YV12"), Formula(Yv12Buffer), Formula(Yv12File), Planes::kPlanarYV12, 1, false, 67, 20, 27, kRead, kNoPattern};
const PictureFormat kP010{TAG("P010"), Layout(3), Formula(P010File), Planes::kSemiPlanar420, 2, true, 66, 18, 25, kRead, kNoPattern};
const PictureFormat kP210{TAG("P210"), Layout(6), Formula(P210File), Planes::kSemiPlanar422, 2, true, 66, 18, 25, kRead, kNoPattern};
const PictureFormat kRGBA32{TAG("RGBA32"), Layout(8), Formula(Pixels4), Planes::kPacked, 4, true, 78, 18, 25, kRead, kNoPattern};
const PictureFormat kRGBA1010102{TAG("RGBA32"), Layout(12), Formula(Pixels8), Planes::kPacked, 4, true, 99, 18, 25, kRead, kNoPattern};
const PictureFormat kRGBAFP16{TAG("RGBA32"), Layout(13), Formula(Pixels4), Planes::kPacked, 8, true, 120, 48, 55, kRead, kNoPattern};

const PictureFormat kNV12Mosa{TAG("NV12_MOSA"), Used(1, 0), Used(1, 0), Planes::kBlock, 1, false, 45, 18, 25, kRead, kNoPattern};
const PictureFormat kRX10Mosa{TAG("NV12_MOSA"), Used(5, 0), Used(5, 0), Planes::kBlock, 1, false, 66, 18, 25, kRead, kNoPattern};
const PictureFormat kNV12MosaInterlace{TAG("NV12_MOSA"), Used(1, 1), Used(1, 1), Planes::kBlock, 1, false, 87, 18, 25, kRead, kNoPattern};
const PictureFormat kP210Mosa{TAG("P210MOSA"), Used(7, 0), Used(7, 0), Planes::kBlock, 1, false, 45, 18, 25, "ReadfromInputFile: frame size %d", kNoPattern};
const PictureFormat kRGBA32Mosa{TAG("RGBA32_MOSA"), Layout(9), Layout(9), Planes::kBlock, 1, true, 45, 18, 25, kRead, kNoPattern};
const PictureFormat kRGBA1010102Mosa{TAG("RGBA32_MOSA"), Layout(11), Layout(11), Planes::kBlock, 1, true, 66, 18, 25, kRead, kNoPattern};

const PictureFormat kPatternNV12{TAG("Pattern"), Layout(0), kUnset, Planes::kSemiPlanar420, 1, true, 148, 86, 93, kRead, Pattern::kYuvClearCapacity};
const PictureFormat kPatternP010{TAG("Pattern"), Layout(3), kUnset, Planes::kSemiPlanar420, 2, true, 231, 168, 175, kRead, Pattern::kYuvClearPicture};
const PictureFormat kPatternP210{TAG("Pattern"), Layout(6), kUnset, Planes::kSemiPlanar422, 2, true, 312, 251, 258, kRead, Pattern::kYuvClearPicture};
const PictureFormat kPatternRGBA32{TAG("Pattern"), Layout(8), kUnset, Planes::kPacked, 4, false, 378, 333, 340, kRead, Pattern::kRgb};
const PictureFormat kPatternRGBA1010102{TAG("Pattern"), Layout(12), kUnset, Planes::kPacked, 4, true, 398, 333, 340, kRead, Pattern::kRgb};
}  // namespace formats

uint32_t SizeRule::Of(const PictureGeometry& g) const {
    const uint32_t w = static_cast<uint32_t>(g.width), h = static_cast<uint32_t>(g.height);
    const bool buffer = args == kStrideScanlines;
    const uint32_t a = buffer ? static_cast<uint32_t>(g.stride) : w;
    const uint32_t b = buffer ? static_cast<uint32_t>(g.scanlines) : args == kWidthHalfHeight ? h / 2 : h;
    switch (kind) {
        case kLayout: return VideoBufferLayout_GetBufferSize(code, a, b);
        case kLayoutUsed: return VideoBufferLayout_GetBufferSizeUsed(code, a, b, interlaced);
        case kFormula: return formula(w, h);
        case kUnset: break;
    }
    return 0;
}

// Where the rows of one picture lie in a client buffer, per plane layout.
uint64_t RowRun::End() const {
    if (rows == 0 || rowBytes == 0) return 0;
    const unsigned __int128 end = static_cast<unsigned __int128>(offset) +
                                  static_cast<unsigned __int128>(rows - 1) * pitch + rowBytes;
    return end > UINT64_MAX ? UINT64_MAX : static_cast<uint64_t>(end);
}

uint64_t PictureRuns::End() const {
    uint64_t end = 0;
    for (size_t i = 0; i < count; ++i) end = runs[i].End() > end ? runs[i].End() : end;
    return end;
}

PictureRuns RunsOf(const PictureFormat& format, const PictureGeometry& g, uint64_t blockSize,
                   ChromaRows chroma) {
    PictureRuns p;
    p.pictureDistance = blockSize;
    if (format.planes == Planes::kBlock) {
        p.runs[p.count++] = {0, 1, blockSize, 0};
        return p;
    }
    const uint64_t pitch = format.bytesPerPixel * g.stride;
    const uint64_t rowBytes = format.bytesPerPixel * g.width;
    p.runs[p.count++] = {0, g.height, rowBytes, pitch};
    switch (format.planes) {
        case Planes::kPacked:
            p.pictureDistance = g.height * pitch;
            break;
        case Planes::kPlanarYV12:
            p.runs[p.count++] = {g.height * pitch, g.height, g.width / 2, (pitch / 2 + 63) / 64 * 64};
            break;
        default: {
            const bool half = format.planes == Planes::kSemiPlanar420;
            uint64_t rows = half ? (g.height + 1) / 2 : g.height;
            if (chroma == ChromaRows::kWriter) rows = g.height < 2 ? 0 : half ? g.height / 2 : g.height;
            p.runs[p.count++] = {g.scanlines * pitch, rows, rowBytes, pitch};
            break;
        }
    }
    return p;
}

}  // namespace tessaro
