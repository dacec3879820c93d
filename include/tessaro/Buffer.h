// The client's shared-memory buffer record and its per-call mapping.
#pragma once

#include <cstdint>
#include <memory>

#include "tessaro/Export.h"

namespace tessaro {

// A buffer owned by the client and backed by shared memory (on Linux a memfd).
// The client sets mFd, mCapacity, mMapOffset (0 or a page multiple) and mType;
// processors write only the range, timestamp, flags and (compressed parsers)
// the end-of-frame, slice-skipped and layer fields. Nothing a processor makes
// of a buffer (a mapping, a transfer through mFd) outlives the call it was
// handed in.
struct Buffer {
    // Flag bits stored in mFlags.
    static constexpr uint32_t FLAG_EOS = 1;           // last buffer of the stream
    static constexpr uint32_t FLAG_CODEC_CONFIG = 2;  // codec-specific data, no picture

    int32_t mFd = -1;            // descriptor of the memory behind the buffer
    uint64_t mEndOfFrame = 0;    // 1 when the buffer closes a frame
    uint64_t mSliceSkipped = 0;  // 1 when the remaining slices of a frame were skipped
    uint64_t mOffset = 0;        // offset of the valid data (always written as 0)
    uint64_t mCapacity = 0;      // bytes of memory behind mFd from mMapOffset
    uint64_t mTimestamp = 0;     // presentation time in microseconds
    uint64_t mLength = 0;        // valid bytes from mOffset
    uint32_t mMapOffset = 0;     // offset into mFd where the buffer's memory starts
    uint32_t mSliceInfo = 0;     // layer id of the last unit placed in the buffer
    uint32_t mType = 0;          // 0 linear, 1 graphic
    uint32_t mFlags = 0;         // FLAG_EOS | FLAG_CODEC_CONFIG

    uint64_t capacity() const { return mCapacity; }
    bool isLinear() const { return mType == 0; }
    bool isGraphic() const { return mType == 1; }

    // Maps mCapacity bytes of mFd at mMapOffset, read-write and shared, for the
    // duration of one operation; unmapped on destruction. vaddr() is null when
    // the memory cannot be mapped: a bad descriptor, a capacity of 0, or a
    // descriptor whose size does not cover mMapOffset + mCapacity (touching such
    // a mapping would fault, so it is refused before anything is touched).
    class TESSARO_EXPORT Mapping {
    public:
        explicit Mapping(const Buffer& buffer);
        explicit Mapping(const std::shared_ptr<Buffer>& buffer);
        ~Mapping();
        Mapping(const Mapping&) = delete;
        Mapping& operator=(const Mapping&) = delete;

        uint8_t* vaddr() const { return mAddress; }
        uint32_t length() const { return mLength; }

    private:
        uint8_t* mAddress = nullptr;  // mapped address, null if mapping failed
        uint32_t mLength = 0;         // mapped length, mCapacity truncated to 32 bits
        uint64_t mMappedBytes = 0;    // the full length handed to mmap, for munmap
    };
};

}  // namespace tessaro
