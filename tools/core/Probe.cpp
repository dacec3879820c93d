#include "core/Probe.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fstream>
#include <vector>

namespace tessaro::cli {
namespace {

constexpr size_t kHeadBytes = 64 * 1024;
constexpr size_t kNalsChecked = 8;

struct FramingRow {
    Framing framing;
    const char* name;
    const char* key;
};

constexpr FramingRow kFramings[] = {
    {Framing::Unknown, "unknown", ""},
    {Framing::AnnexBAvc, "H.264", "Parse/AVC"},
    {Framing::AnnexBHevc, "H.265", "Parse/HEVC"},
    {Framing::IvfAv1, "AV1 in IVF", "Parse/AV1"},
    {Framing::IvfVp8, "VP8 in IVF", "Parse/VPX"},
    {Framing::IvfVp9, "VP9 in IVF", "Parse/VPX"},
    {Framing::ObuAv1, "AV1 OBUs", "Parse/AV1"},
    {Framing::AnnexBAv1, "AV1 Annex-B", "Parse/AV1"},
    {Framing::Apv, "APV", "Parse/APV"},
};

struct ExtensionRow {
    const char* extension;
    const char* key;
};

constexpr ExtensionRow kExtensions[] = {
    {"264", "Parse/AVC"}, {"h264", "Parse/AVC"}, {"avc", "Parse/AVC"},   {"jsv", "Parse/AVC"},
    {"26l", "Parse/AVC"}, {"265", "Parse/HEVC"}, {"h265", "Parse/HEVC"}, {"hevc", "Parse/HEVC"},
    {"bit", "Parse/HEVC"}, {"obu", "Parse/AV1"}, {"av1", "Parse/AV1"},   {"ivf", "Parse/VPX"},
    {"apv", "Parse/APV"},
};

const FramingRow& RowOf(Framing framing) {
    for (const auto& row : kFramings) {
        if (row.framing == framing) return row;
    }
    return kFramings[0];
}

// H.264 NAL header: the unit types a stream starts with, with nal_ref_idc as
// the standard requires (zero for SEI and delimiters, non-zero for IDR and
// parameter sets); SVC, MVC and partition types count as foreign.
bool ValidAvcHeader(uint8_t byte) {
    const uint32_t type = byte & 0x1f, ref = (byte >> 5) & 3;
    if (byte & 0x80) return false;
    if (type == 6 || (type >= 9 && type <= 12)) return ref == 0;
    if (type == 5 || type == 7 || type == 8) return ref != 0;
    return type == 1;
}

// H.265 NAL header: base layer (or a low one), temporal id plus one >= 1, a
// VCL or parameter-set/SEI/delimiter type.
bool ValidHevcHeader(uint8_t first, uint8_t second) {
    const uint32_t type = (first >> 1) & 0x3f, layer = ((first & 1u) << 5) | (second >> 3);
    if ((first & 0x80) || (second & 7) == 0 || layer > 7) return false;
    return type <= 21 || (type >= 32 && type <= 40);
}

// Offsets of the bytes after the first start codes of an Annex-B stream.
std::vector<size_t> NalStarts(const uint8_t* head, size_t size) {
    std::vector<size_t> starts;
    for (size_t i = 2; i + 2 < size && starts.size() < kNalsChecked; ++i) {
        if (head[i] == 1 && head[i - 1] == 0 && head[i - 2] == 0) starts.push_back(i + 1);
    }
    return starts;
}

Framing SniffAnnexB(const uint8_t* head, size_t size) {
    size_t zeros = 0;
    while (zeros < size && head[zeros] == 0) ++zeros;
    if (zeros < 2 || zeros >= size || head[zeros] != 1) return Framing::Unknown;
    const auto starts = NalStarts(head, size);
    bool avc = !starts.empty(), hevc = !starts.empty();
    for (size_t at : starts) {
        avc = avc && ValidAvcHeader(head[at]);
        hevc = hevc && ValidHevcHeader(head[at], head[at + 1]);
    }
    if (avc == hevc) return Framing::Unknown;
    return avc ? Framing::AnnexBAvc : Framing::AnnexBHevc;
}

// LEB128 at *at (at most 8 bytes); false past the end.
bool ReadLeb128(const uint8_t* head, size_t size, size_t* at, uint64_t* value) {
    *value = 0;
    for (int i = 0; i < 8 && *at < size; ++i) {
        const uint8_t byte = head[(*at)++];
        *value |= uint64_t(byte & 0x7f) << (7 * i);
        if (!(byte & 0x80)) return true;
    }
    return false;
}

// An AV1 stream starts with a temporal delimiter OBU (type 2, no extension).
bool IsTemporalDelimiter(uint8_t header) { return (header & 0x80) == 0 && ((header >> 3) & 0xf) == 2; }

Framing SniffAv1(const uint8_t* head, size_t size) {
    if (size >= 2 && IsTemporalDelimiter(head[0]) && (head[0] & 2) && head[1] == 0) return Framing::ObuAv1;
    size_t at = 0;
    uint64_t unitSize = 0, frameSize = 0, obuSize = 0;
    if (ReadLeb128(head, size, &at, &unitSize) && ReadLeb128(head, size, &at, &frameSize) &&
        ReadLeb128(head, size, &at, &obuSize) && at < size && frameSize < unitSize && obuSize == 1 &&
        head[at] == 0x10) {  // a temporal delimiter: header only, no size field
        return Framing::AnnexBAv1;
    }
    return Framing::Unknown;
}

Framing SniffIvf(const uint8_t* head, size_t size) {
    if (size < 32 || std::memcmp(head, "DKIF", 4) != 0) return Framing::Unknown;
    if (std::memcmp(head + 8, "AV01", 4) == 0) return Framing::IvfAv1;
    if (std::memcmp(head + 8, "VP80", 4) == 0) return Framing::IvfVp8;
    if (std::memcmp(head + 8, "VP90", 4) == 0) return Framing::IvfVp9;
    return Framing::Unknown;
}

}  // namespace

Framing SniffFraming(const uint8_t* head, size_t size) {
    if (size >= 8 && std::memcmp(head + 4, "aPv1", 4) == 0) return Framing::Apv;
    for (auto sniff : {SniffIvf, SniffAnnexB, SniffAv1}) {
        const Framing framing = sniff(head, size);
        if (framing != Framing::Unknown) return framing;
    }
    return Framing::Unknown;
}

Framing SniffFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<uint8_t> head(kHeadBytes);
    file.read(reinterpret_cast<char*>(head.data()), std::streamsize(head.size()));
    return SniffFraming(head.data(), size_t(file.gcount()));
}

const char* FramingName(Framing framing) { return RowOf(framing).name; }

std::string ParserFor(Framing framing) { return RowOf(framing).key; }

std::string KeyCodecName(const std::string& key) {
    struct NameRow {
        const char* name;
        const char* key;
    };
    static const NameRow kNames[] = {
        {"H.264", "Parse/AVC"}, {"H.265", "Parse/HEVC"}, {"AV1", "Parse/AV1"},
        {"VP8 or VP9 in IVF", "Parse/VPX"}, {"APV", "Parse/APV"},
    };
    for (const auto& row : kNames) {
        if (key == row.key) return row.name;
    }
    return key;
}

std::string GuessCompressedKey(const std::string& path) {
    const std::string byContent = ParserFor(SniffFile(path));
    if (!byContent.empty()) return byContent;
    const size_t dot = path.rfind('.');
    if (dot == std::string::npos) return "";
    std::string extension = path.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    for (const auto& row : kExtensions) {
        if (extension == row.extension) return row.key;
    }
    return "";
}

}  // namespace tessaro::cli
