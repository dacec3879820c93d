#include "core/Ivf.h"

#include <cstring>

namespace tessaro::cli {
namespace {

constexpr uint32_t kTimeBaseDen = 1000000;

void Put(uint8_t* at, uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) at[i] = uint8_t(value >> (8 * i));
}

}  // namespace

std::array<uint8_t, 32> IvfFileHeader(const std::string& fourcc, uint16_t width, uint16_t height) {
    std::array<uint8_t, 32> header{};
    std::memcpy(header.data(), "DKIF", 4);
    Put(&header[4], 0, 2);   // version
    Put(&header[6], 32, 2);  // header size
    std::memcpy(&header[8], fourcc.data(), fourcc.size() < 4 ? fourcc.size() : 4);
    Put(&header[12], width, 2);
    Put(&header[14], height, 2);
    Put(&header[16], kTimeBaseDen, 4);  // time base denominator
    Put(&header[20], 1, 4);             // time base numerator
    Put(&header[24], 0, 4);             // frame count (readers do not rely on it)
    return header;
}

std::array<uint8_t, 12> IvfFrameHeader(uint32_t size, uint64_t timestamp) {
    std::array<uint8_t, 12> header{};
    Put(&header[0], size, 4);
    Put(&header[4], timestamp, 8);
    return header;
}

bool NamesIvf(const std::string& path) {
    if (path.size() < 4) return false;
    std::string tail = path.substr(path.size() - 4);
    for (auto& c : tail) c = char(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return tail == ".ivf";
}

}  // namespace tessaro::cli
