#include "tessaro/ProcessorKeys.h"

namespace tessaro {

const std::vector<ProcessorKeyInfo>& ProcessorKeys() {
    using F = ProcessorFamily;
    static const std::vector<ProcessorKeyInfo> keys = {
        {"Parse/AVC", F::Compressed, "H.264 Annex-B byte stream, one frame (or slice) per buffer", 0},
        {"Parse/AV1", F::Compressed, "AV1 in IVF, Annex-B or raw OBUs, one temporal unit (or tile group) per buffer", 0},
        {"Parse/VPX", F::Compressed, "VP8/VP9 in IVF, one frame per buffer", 0},
        {"Parse/HEVC", F::Compressed, "H.265 Annex-B byte stream, one frame (or slice) per buffer", 0},
        {"Parse/APV", F::Compressed, "APV access units with 4-byte size prefixes, one per buffer", 0},
        {"Parse/NV12", F::Raw, "raw NV12 pictures (8-bit 4:2:0, interleaved CbCr)", 1},
        {"Parse/NV21", F::Raw, "raw NV21 pictures (read as NV12, interleaved CrCb)", 2},
        {"Parse/YV12", F::Raw, "raw YV12 pictures (8-bit 4:2:0, three planes)", 3},
        {"Parse/P010", F::Raw, "raw P010 pictures (16-bit samples, 4:2:0)", 4},
        {"Parse/P210", F::Raw, "raw P210 pictures (16-bit samples, 4:2:2)", 5},
        {"Parse/NV12_MOSA", F::Raw, "tiled-compressed NV12 buffer images", 7},
        {"Parse/RX10_MOSA", F::Raw, "tiled-compressed packed 10-bit 4:2:0 buffer images", 8},
        {"Parse/P210_MOSA", F::Raw, "tiled-compressed P210 buffer images", 6},
        {"Parse/NV12_MOSA_Interlace", F::Raw, "tiled-compressed NV12 buffer images stored as two fields", 9},
        {"Parse/RGBA32", F::Raw, "raw RGBA 8:8:8:8 pictures", 10},
        {"Parse/RGBAFP16", F::Raw, "raw RGBA half-float pictures (8 bytes a pixel)", 11},
        {"Parse/RGBA1010102", F::Raw, "raw RGBA 10:10:10:2 pictures", 12},
        {"Parse/RGBA32_MOSA", F::Raw, "tiled-compressed RGBA 8:8:8:8 buffer images", 13},
        {"Parse/RGBA1010102_MOSA", F::Raw, "tiled-compressed RGBA 10:10:10:2 buffer images", 0},
        {"Pattern/NV12", F::Pattern, "moving-block test pictures in NV12 (no input file)", 1},
        {"Pattern/P010", F::Pattern, "moving-block test pictures in P010", 4},
        {"Pattern/P210", F::Pattern, "moving-block test pictures in P210", 5},
        {"Pattern/RGBA32", F::Pattern, "moving-block test pictures in RGBA 8:8:8:8", 10},
        {"Pattern/RGBA1010102", F::Pattern, "moving-block test pictures in RGBA 10:10:10:2", 12},
#ifdef TESSARO_HAVE_CONTAINER
        {"Parse/Container", F::Container, "one video track of an MP4/Matroska/WebM/... file (set --codec)", 0},
#endif
        {"Write/Compressed", F::Writer, "appends linear buffers' bytes to a file as they are", 0},
        {"Write/UnCompressed", F::Writer, "writes graphic buffers' pictures to a file without padding (set --pix-format)", 0},
    };
    return keys;
}

}  // namespace tessaro
