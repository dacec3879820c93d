#include "tessaro/RawFormats.h"

#include <memory>

#include "framework/TessaroFactoryRows.h"
#include "uncompressed/PatternGenerator.h"

namespace tessaro {
namespace {

// An instance of the key's processor, made as the factory makes it but
// without the factory's log lines; null for unknown keys.
std::shared_ptr<TessaroInterface> Make(const std::string& key) {
    size_t count = 0;
    const factory::FactoryRow* const rows = factory::FactoryRows(&count);
    for (size_t i = 0; i < count; ++i) {
        if (key == rows[i].info.key) return rows[i].make();
    }
    return nullptr;
}

}  // namespace

bool RawFormatOf(const std::string& key, RawFormatInfo* info) {
    const auto processor = Make(key);
    const auto* raw = dynamic_cast<const StreamParserUncompressed*>(processor.get());
    if (raw == nullptr || info == nullptr) return false;
    const PictureFormat& f = raw->format();
    const bool layout = f.bufferSize.kind == SizeRule::kLayout || f.bufferSize.kind == SizeRule::kLayoutUsed;
    uint32_t chroma = 0;
    if (f.planes == Planes::kSemiPlanar420) chroma = 1;
    if (f.planes == Planes::kSemiPlanar422) chroma = 2;
    if (f.planes == Planes::kPlanarYV12) chroma = 3;
    *info = {layout ? f.bufferSize.code : RawFormatInfo::kNoLayoutCode, f.bytesPerPixel, chroma,
             f.planes == Planes::kBlock};
    return true;
}

uint64_t RawBufferReach(const std::string& key, const ConfigParam& c) {
    const auto processor = Make(key);
    const auto* raw = dynamic_cast<const StreamParserUncompressed*>(processor.get());
    if (raw == nullptr || dynamic_cast<const PatternGenerator*>(raw) != nullptr) return 0;
    const PictureGeometry g{c.mWidth, c.mHeight, c.mStride, c.mScanlines};
    const uint64_t size = raw->format().bufferSize.Of(g);
    const PictureRuns picture = RunsOf(raw->format(), g, size, ChromaRows::kReader);
    const uint64_t pictures = c.mSuperFrame > 1 ? c.mSuperFrame : 1;
    const uint64_t end = picture.End() == 0 ? 0 : (pictures - 1) * picture.pictureDistance + picture.End();
    const uint64_t asked = static_cast<uint32_t>(pictures * size);  // GetBufferLength's 32-bit product
    return end > asked ? end : asked;
}

}  // namespace tessaro
