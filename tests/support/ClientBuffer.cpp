#include "support/ClientBuffer.h"

#include "tessaro/ClientBuffer.h"

#include <unistd.h>

#include <stdexcept>

namespace tessaro::test {

std::shared_ptr<Buffer> MakeClientBuffer(uint64_t capacity, uint32_t type, uint32_t mapOffset) {
    std::shared_ptr<Buffer> buffer = MakeMemfdBuffer(capacity, type, mapOffset);
    if (buffer == nullptr) throw std::runtime_error("no memory for a client buffer");
    return buffer;
}

static std::vector<uint8_t> ReadRange(const Buffer& buffer, uint64_t offset, uint64_t length) {
    std::vector<uint8_t> bytes(length);
    uint64_t done = 0;
    while (done < length) {
        const ssize_t n = pread(buffer.mFd, bytes.data() + done, length - done,
                                static_cast<off_t>(buffer.mMapOffset + offset + done));
        if (n <= 0) throw std::runtime_error("pread of client buffer failed");
        done += static_cast<uint64_t>(n);
    }
    return bytes;
}

std::vector<uint8_t> ReadAll(const Buffer& buffer) { return ReadRange(buffer, 0, buffer.mCapacity); }

std::vector<uint8_t> ReadValid(const Buffer& buffer) {
    if (buffer.mOffset + buffer.mLength > buffer.mCapacity)
        throw std::runtime_error("valid range exceeds capacity");
    return ReadRange(buffer, buffer.mOffset, buffer.mLength);
}

void FillBuffer(const Buffer& buffer, uint8_t value) {
    std::vector<uint8_t> bytes(buffer.mCapacity, value);
    if (pwrite(buffer.mFd, bytes.data(), bytes.size(), buffer.mMapOffset) !=
        static_cast<ssize_t>(bytes.size()))
        throw std::runtime_error("pwrite of client buffer failed");
}

}  // namespace tessaro::test
