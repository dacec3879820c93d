#include "core/Keys.h"

#include <algorithm>
#include <cctype>
#include <fstream>

namespace tessaro::cli {

const std::vector<KeyInfo>& AllKeys() {
    static const std::vector<KeyInfo> keys = {
        {"Parse/AVC", Family::Compressed, "H.264 Annex-B byte stream, one frame (or slice) per buffer", 0},
        {"Parse/AV1", Family::Compressed, "AV1 in IVF, Annex-B or raw OBUs, one temporal unit (or tile group) per buffer", 0},
        {"Parse/VPX", Family::Compressed, "VP8/VP9 in IVF, one frame per buffer", 0},
        {"Parse/HEVC", Family::Compressed, "H.265 Annex-B byte stream, one frame (or slice) per buffer", 0},
        {"Parse/APV", Family::Compressed, "APV access units with 4-byte size prefixes, one per buffer", 0},
        {"Parse/NV12", Family::Raw, "raw NV12 pictures (8-bit 4:2:0, interleaved CbCr)", 1},
        {"Parse/NV21", Family::Raw, "raw NV21 pictures (read as NV12, interleaved CrCb)", 2},
        {"Parse/YV12", Family::Raw, "raw YV12 pictures (8-bit 4:2:0, three planes)", 3},
        {"Parse/P010", Family::Raw, "raw P010 pictures (16-bit samples, 4:2:0)", 4},
        {"Parse/P210", Family::Raw, "raw P210 pictures (16-bit samples, 4:2:2)", 5},
        {"Parse/NV12_MOSA", Family::Raw, "tiled-compressed NV12 buffer images", 7},
        {"Parse/RX10_MOSA", Family::Raw, "tiled-compressed packed 10-bit 4:2:0 buffer images", 8},
        {"Parse/P210_MOSA", Family::Raw, "tiled-compressed P210 buffer images", 6},
        {"Parse/NV12_MOSA_Interlace", Family::Raw, "tiled-compressed NV12 buffer images stored as two fields", 9},
        {"Parse/RGBA32", Family::Raw, "raw RGBA 8:8:8:8 pictures", 10},
        {"Parse/RGBAFP16", Family::Raw, "raw RGBA half-float pictures (8 bytes a pixel)", 11},
        {"Parse/RGBA1010102", Family::Raw, "raw RGBA 10:10:10:2 pictures", 12},
        {"Parse/RGBA32_MOSA", Family::Raw, "tiled-compressed RGBA 8:8:8:8 buffer images", 13},
        {"Parse/RGBA1010102_MOSA", Family::Raw, "tiled-compressed RGBA 10:10:10:2 buffer images", 0},
        {"Pattern/NV12", Family::Pattern, "moving-block test pictures in NV12 (no input file)", 1},
        {"Pattern/P010", Family::Pattern, "moving-block test pictures in P010", 4},
        {"Pattern/P210", Family::Pattern, "moving-block test pictures in P210", 5},
        {"Pattern/RGBA32", Family::Pattern, "moving-block test pictures in RGBA 8:8:8:8", 10},
        {"Pattern/RGBA1010102", Family::Pattern, "moving-block test pictures in RGBA 10:10:10:2", 12},
        {"Parse/Container", Family::Container, "one video track of an MP4/Matroska/WebM/... file (set --codec)", 0},
        {"Write/Compressed", Family::Writer, "appends linear buffers' bytes to a file as they are", 0},
        {"Write/UnCompressed", Family::Writer, "writes graphic buffers' pictures to a file without padding (set --pix-format)", 0},
    };
    return keys;
}

const KeyInfo* FindKey(const std::string& key) {
    for (const auto& info : AllKeys()) {
        if (info.key == key) return &info;
    }
    return nullptr;
}

const char* FamilyName(Family family) {
    switch (family) {
        case Family::Compressed: return "compressed parser";
        case Family::Raw: return "raw reader";
        case Family::Pattern: return "pattern generator";
        case Family::Container: return "container parser";
        case Family::Writer: return "writer";
    }
    return "?";
}

std::string GuessCompressedKey(const std::string& path) {
    char header[12] = {};
    std::ifstream file(path, std::ios::binary);
    if (file.read(header, sizeof header) && std::string(header, 4) == "DKIF") {
        const std::string fourcc(header + 8, 4);
        if (fourcc == "AV01") return "Parse/AV1";
        if (fourcc == "VP80" || fourcc == "VP90") return "Parse/VPX";
    }
    const size_t dot = path.rfind('.');
    if (dot == std::string::npos) return "";
    std::string ext = path.substr(dot + 1);
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    if (ext == "264" || ext == "h264" || ext == "avc" || ext == "jsv" || ext == "26l") return "Parse/AVC";
    if (ext == "265" || ext == "h265" || ext == "hevc" || ext == "bit") return "Parse/HEVC";
    if (ext == "obu" || ext == "av1") return "Parse/AV1";
    if (ext == "ivf") return "Parse/VPX";
    if (ext == "apv") return "Parse/APV";
    return "";
}

}  // namespace tessaro::cli
