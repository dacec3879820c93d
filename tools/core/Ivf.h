// IVF framing for VP8, VP9 and AV1 output: the 32-byte file header and the
// 12-byte header in front of every frame (all fields little-endian).
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace tessaro::cli {

// File header for fourcc ("VP80", "VP90", "AV01"), picture size, and a time
// base of 1/1000000 (timestamps are the buffers' microseconds).
std::array<uint8_t, 32> IvfFileHeader(const std::string& fourcc, uint16_t width, uint16_t height);

// Frame header: the frame's size and its timestamp in the file's time base.
std::array<uint8_t, 12> IvfFrameHeader(uint32_t size, uint64_t timestamp);

// True when path names an IVF file (".ivf", any case).
bool NamesIvf(const std::string& path);

}  // namespace tessaro::cli
