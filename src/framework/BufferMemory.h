// The one place a client buffer's memory is mapped.
#pragma once

#include <cstdint>

#include "tessaro/Buffer.h"

namespace tessaro {

// Maps mCapacity bytes of buffer.mFd at mMapOffset, read-write and shared, with
// extraFlags added to the mmap flags. Null for a bad descriptor, a capacity of
// 0 or beyond the address space, memory that does not cover mMapOffset +
// mCapacity (touching such a mapping would fault), or a failed mmap.
uint8_t* MapClientMemory(const Buffer& buffer, int extraFlags);

// A buffer mapped for one call with every page made present at once: for
// processors that place rows or draw in the picture, one pass over the page
// tables instead of a fault per page. Refuses what MapClientMemory refuses
// (vaddr() null); unmapped on destruction.
class PictureMapping {
public:
    explicit PictureMapping(const Buffer& buffer);
    ~PictureMapping();
    PictureMapping(const PictureMapping&) = delete;
    PictureMapping& operator=(const PictureMapping&) = delete;

    uint8_t* vaddr() const { return mAddress; }

private:
    uint8_t* mAddress = nullptr;
    uint64_t mBytes = 0;
};

}  // namespace tessaro
