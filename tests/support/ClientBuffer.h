// Client buffers as a harness makes them: memfd-backed shared memory.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "tessaro/Buffer.h"

namespace tessaro::test {

// The library's memfd-backed client buffer (MakeMemfdBuffer); throws when the
// memory cannot be had.
std::shared_ptr<Buffer> MakeClientBuffer(uint64_t capacity, uint32_t type = 0,
                                         uint32_t mapOffset = 0);

inline std::shared_ptr<Buffer> MakeLinearBuffer(uint64_t capacity) {
    return MakeClientBuffer(capacity, 0);
}
inline std::shared_ptr<Buffer> MakeGraphicBuffer(uint64_t capacity) {
    return MakeClientBuffer(capacity, 1);
}

// A buffer record with no memory behind it (descriptor -1): every mapping of it fails.
inline std::shared_ptr<Buffer> MakeUnmappedBuffer(uint64_t capacity, uint32_t type = 0) {
    auto buffer = std::make_shared<Buffer>();
    buffer->mCapacity = capacity;
    buffer->mType = type;
    return buffer;
}

// The whole memory behind the buffer (mCapacity bytes from mMapOffset).
std::vector<uint8_t> ReadAll(const Buffer& buffer);

// The valid bytes: mLength bytes from mOffset.
std::vector<uint8_t> ReadValid(const Buffer& buffer);

// Overwrites the whole memory behind the buffer with `value`.
void FillBuffer(const Buffer& buffer, uint8_t value);

}  // namespace tessaro::test
