// NV12MOSAStreamParser: reads NV12 pictures in the tiled, compressed MOSA layout: each
// picture is one block, the byte image of a buffer in that layout, sized by the layout library.
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
