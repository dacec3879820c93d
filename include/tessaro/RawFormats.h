// What a client needs to know of the pictures of a raw reader or pattern
// generator key to lay out and size its buffers, from the library's own table
// of picture formats.
#pragma once

#include <cstdint>
#include <string>

#include "tessaro/ConfigParam.h"
#include "tessaro/Export.h"

namespace tessaro {

struct RawFormatInfo {
    static constexpr uint32_t kNoLayoutCode = UINT32_MAX;
    uint32_t layoutCode;     // the layout library's colour code, kNoLayoutCode when it is not used
    uint32_t bytesPerPixel;  // of a luma sample or an RGBA pixel: mStride counts these
    uint32_t chromaRows;     // 0: none, 1: half the luma rows (4:2:0), 2: as many (4:2:2), 3: YV12 planes
    bool tiled;              // one block a picture, sized by the layout library
};

// The picture layout of `key`; false for keys that are not raw readers or
// pattern generators.
TESSARO_EXPORT bool RawFormatOf(const std::string& key, RawFormatInfo* info);

// Bytes from the start of a client buffer that the raw reader of `key` fills
// for one buffer of the configuration (mSuperFrame pictures at mStride and
// mScanlines), at least what its GetBufferLength asks for: a smaller buffer is
// refused. 0 for keys that are not raw readers.
TESSARO_EXPORT uint64_t RawBufferReach(const std::string& key, const ConfigParam& config);

}  // namespace tessaro
