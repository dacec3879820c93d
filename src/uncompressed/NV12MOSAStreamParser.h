// NV12MOSAStreamParser: reads NV12 pictures in the tiled, compressed MOSA layout,
// as formats::kNV12Mosa says.
#pragma once
#include "uncompressed/StreamParserUncompressed.h"
namespace tessaro {
class NV12MOSAStreamParser : public StreamParserUncompressed {
public:
    NV12MOSAStreamParser() : StreamParserUncompressed(formats::kNV12Mosa) {}
protected:
    explicit NV12MOSAStreamParser(const PictureFormat& format) : StreamParserUncompressed(format) {}
};
}  // namespace tessaro
