// MD5 of a byte stream, for the per-buffer checksums the tool prints.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tessaro::cli {

// Feed bytes with Update (any chunking gives the same digest), then take the
// digest once with Hex (32 lower-case hex digits). Update after Hex is not
// allowed.
class Md5 {
public:
    Md5();
    void Update(const uint8_t* data, size_t size);
    std::string Hex();

    // Digest of one block of bytes.
    static std::string Of(const uint8_t* data, size_t size);

private:
    void Block(const uint8_t* block);

    std::array<uint32_t, 4> mState;
    std::array<uint8_t, 64> mPending{};  // bytes not yet forming a whole block
    size_t mPendingSize = 0;
    uint64_t mTotalBytes = 0;
};

}  // namespace tessaro::cli
