// Client buffers as a Linux harness makes them: memfd-backed shared memory.
#pragma once

#include <cstdint>
#include <memory>

#include "tessaro/Buffer.h"
#include "tessaro/Export.h"

namespace tessaro {

// A buffer over fresh, zeroed shared memory of mapOffset + capacity bytes, with
// mCapacity, mMapOffset and mType (0 linear, 1 graphic) set. The descriptor is
// closed when the last reference goes. Null when the memory cannot be had
// (errno then tells why); mapOffset must be 0 or a multiple of the page size.
TESSARO_EXPORT std::shared_ptr<Buffer> MakeMemfdBuffer(uint64_t capacity, uint32_t type = 0,
                                                       uint32_t mapOffset = 0);

}  // namespace tessaro
