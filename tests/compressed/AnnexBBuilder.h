// Builds small H.264 byte streams for scanner tests, recording where each NAL
// unit's start code begins.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tessaro::test {

// NAL header bytes (nal_ref_idc 3 for references).
constexpr uint8_t kSps = 0x67, kPps = 0x68, kSei = 0x06, kAud = 0x09;
constexpr uint8_t kIdr = 0x65, kNonIdr = 0x41, kPartitionA = 0x22;

struct NalDef {
    uint8_t header;
    int firstMb = -1;  // slices: first_mb_in_slice; -1: a unit of six payload bytes
    bool fourByte = true;
};

// ue(v) of value, padded with one bits to whole bytes (at least four).
inline std::string UeBytes(uint32_t value) {
    const uint64_t code = static_cast<uint64_t>(value) + 1;
    int bits = 0;
    while ((code >> bits) > 1) ++bits;
    std::vector<int> stream(static_cast<size_t>(bits), 0);
    for (int i = bits; i >= 0; --i) stream.push_back(static_cast<int>((code >> i) & 1));
    while (stream.size() % 8 != 0 || stream.size() < 32) stream.push_back(1);
    std::string out;
    for (size_t i = 0; i < stream.size(); i += 8) {
        int byte = 0;
        for (size_t b = 0; b < 8; ++b) byte = (byte << 1) | stream[i + b];
        out.push_back(static_cast<char>(byte));
    }
    return out;
}

struct AnnexBStream {
    explicit AnnexBStream(const std::vector<NalDef>& nals) {
        for (const NalDef& nal : nals) {
            offsets.push_back(bytes.size());
            bytes += nal.fourByte ? std::string("\0\0\0\1", 4) : std::string("\0\0\1", 3);
            bytes.push_back(static_cast<char>(nal.header));
            // Payload bytes are non-zero: no start code hides in them.
            bytes += nal.firstMb < 0 ? std::string(6, '\x33')
                                     : UeBytes(static_cast<uint32_t>(nal.firstMb)) +
                                           std::string(8, '\x5A');
        }
    }
    std::string bytes;
    std::vector<uint64_t> offsets;  // start code of every NAL unit, in order
};

}  // namespace tessaro::test
