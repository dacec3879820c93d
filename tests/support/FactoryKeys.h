// The factory's 27 keys in its own order, with the class each one builds and
// the source area that class lives in.
#pragma once

#include <ostream>

namespace tessaro::test {

struct FactoryKey {
    const char* key;
    const char* className;
    const char* area;
};

inline void PrintTo(const FactoryKey& row, std::ostream* os) { *os << row.key; }

inline constexpr FactoryKey kFactoryKeys[] = {
    {"Parse/AVC", "AVCStreamParser", "compressed"},
    {"Parse/AV1", "AV1StreamParser", "compressed"},
    {"Parse/VPX", "VPXStreamParser", "compressed"},
    {"Parse/HEVC", "HEVCStreamParser", "compressed"},
    {"Parse/APV", "APVStreamParser", "compressed"},
    {"Parse/NV12", "NV12StreamParser", "uncompressed"},
    {"Parse/NV21", "NV12StreamParser", "uncompressed"},
    {"Parse/YV12", "YV12StreamParser", "uncompressed"},
    {"Parse/P010", "P010StreamParser", "uncompressed"},
    {"Parse/P210", "P210StreamParser", "uncompressed"},
    {"Parse/NV12_MOSA", "NV12MOSAStreamParser", "uncompressed"},
    {"Parse/RX10_MOSA", "RX10MOSAStreamParser", "uncompressed"},
    {"Parse/P210_MOSA", "P210MOSAStreamParser", "uncompressed"},
    {"Parse/NV12_MOSA_Interlace", "NV12MOSAInterlaceStreamParser", "uncompressed"},
    {"Parse/RGBA32", "RGBA32StreamParser", "uncompressed"},
    {"Parse/RGBAFP16", "RGBAFP16StreamParser", "uncompressed"},
    {"Parse/RGBA1010102", "RGBA1010102StreamParser", "uncompressed"},
    {"Parse/RGBA32_MOSA", "RGBA32MOSAStreamParser", "uncompressed"},
    {"Parse/RGBA1010102_MOSA", "RGBA1010102MOSAStreamParser", "uncompressed"},
    {"Pattern/NV12", "NV12PatternGenerator", "uncompressed"},
    {"Pattern/P010", "P010PatternGenerator", "uncompressed"},
    {"Pattern/P210", "P210PatternGenerator", "uncompressed"},
    {"Pattern/RGBA32", "RGBA32PatternGenerator", "uncompressed"},
    {"Pattern/RGBA1010102", "RGBA1010102PatternGenerator", "uncompressed"},
    {"Parse/Container", "StreamParserContainer", "container"},
    {"Write/Compressed", "StreamWriterCompressed", "writer"},
    {"Write/UnCompressed", "StreamWriterUnCompressed", "writer"},
};

}  // namespace tessaro::test
