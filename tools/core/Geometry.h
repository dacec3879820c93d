// Picture geometry the tool gives raw readers and pattern generators: the
// buffer pitch they get unless told otherwise, the checks on what the user
// gives, the capacity a reader's rows reach, and the packed size of a picture.
#pragma once

#include <cstdint>
#include <string>

#include <tessaro/ConfigParam.h>

namespace tessaro::cli {

// Fills mStride and mScanlines where the user left them 0: a YUV generator
// gets the pitch and luma rows it draws at (the layout library's, with the
// stride in pixels as the raw writer reads it), RGBA generators and readers
// the picture size. Throws UsageError for a stride below the width or
// scanlines below the height.
void ApplyGeometry(const std::string& key, ConfigParam& config);

// Capacity a raw reader's buffer needs: GetBufferLength's answer, or more
// when the reader's rows reach further (the library's RawBufferReach: YV12's
// chroma pitch is rounded up to 64 bytes and its chroma follows the luma rows).
uint64_t RawCapacity(const std::string& key, const ConfigParam& config, uint64_t answer);

// Bytes of one picture without padding, as a raw file or the raw writer holds
// it, from the library's picture formats; 0 for the tiled layouts (their size
// comes from the layout library) and for keys that are not raw.
uint64_t PackedPictureBytes(const std::string& key, uint32_t width, uint32_t height);

}  // namespace tessaro::cli
