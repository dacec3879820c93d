// Builds small H.264 byte streams for scanner tests, recording where each NAL
// unit's start code begins.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tessaro::test {

// NAL header bytes (nal_ref_idc 3 for references).
constexpr uint8_t kSps = 0x67, kPps = 0x68, kSei = 0x06, kAud = 0x09;
constexpr uint8_t kIdr = 0x65, kNonIdr = 0x41, kPartitionA = 0x22, kFiller = 0x0C;

class AnnexBBuilder {
public:
    // Appends a start code (4 or 3 bytes), the header byte and the payload;
    // returns the offset of the start code's first byte.
    uint64_t Nal(uint8_t header, const std::string& payload, bool fourByte = true) {
        const uint64_t at = bytes.size();
        if (fourByte) bytes.push_back('\0');
        bytes += std::string("\0\0\1", 3);
        bytes.push_back(static_cast<char>(header));
        bytes += payload;
        offsets.push_back(at);
        return at;
    }
    // A slice whose header starts with first_mb_in_slice, followed by `tail`
    // non-zero bytes (no start code can hide in them).
    uint64_t Slice(uint8_t header, uint32_t firstMb, size_t tail = 8, bool fourByte = true) {
        return Nal(header, UeBytes(firstMb) + std::string(tail, '\x5A'), fourByte);
    }
    // Parameter sets and SEI: a few non-zero payload bytes.
    uint64_t Unit(uint8_t header, size_t length = 6, bool fourByte = true) {
        return Nal(header, std::string(length, '\x33'), fourByte);
    }

    // ue(v) of value, padded with one bits to whole bytes (at least four).
    static std::string UeBytes(uint32_t value) {
        const uint64_t code = static_cast<uint64_t>(value) + 1;
        int bits = 0;
        while ((code >> bits) > 1) ++bits;  // code has bits + 1 significant bits
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

    std::string bytes;
    std::vector<uint64_t> offsets;  // start of every NAL unit, in order
};

}  // namespace tessaro::test
