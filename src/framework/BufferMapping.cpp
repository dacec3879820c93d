// Buffer::Mapping and PictureMapping: the per-call mappings of a client buffer.
#include <sys/mman.h>
#include <sys/stat.h>

#include "framework/BufferMemory.h"

namespace tessaro {
namespace {

// A regular (or memfd) descriptor must cover the whole range, or touching the
// mapping past its end would raise SIGBUS. Other descriptor kinds (device
// memory) report no useful size and are trusted as the platform does.
bool DescriptorCoversRange(int fd, uint64_t mapOffset, uint64_t capacity) {
    struct stat st {};
    if (fstat(fd, &st) != 0) return false;
    if (!S_ISREG(st.st_mode)) return true;
    const uint64_t size = static_cast<uint64_t>(st.st_size);
    return mapOffset <= size && capacity <= size - mapOffset;
}

}  // namespace

uint8_t* MapClientMemory(const Buffer& buffer, int extraFlags) {
    if (buffer.mFd < 0 || buffer.mCapacity == 0) return nullptr;
    if (buffer.mCapacity > static_cast<uint64_t>(SIZE_MAX)) return nullptr;
    if (!DescriptorCoversRange(buffer.mFd, buffer.mMapOffset, buffer.mCapacity)) return nullptr;
    void* address = mmap(nullptr, static_cast<size_t>(buffer.mCapacity), PROT_READ | PROT_WRITE,
                         MAP_SHARED | extraFlags, buffer.mFd, static_cast<off_t>(buffer.mMapOffset));
    return address == MAP_FAILED ? nullptr : static_cast<uint8_t*>(address);
}

Buffer::Mapping::Mapping(const Buffer& buffer) {
    mLength = static_cast<uint32_t>(buffer.mCapacity);
    mAddress = MapClientMemory(buffer, 0);
    if (mAddress != nullptr) mMappedBytes = buffer.mCapacity;
}

Buffer::Mapping::Mapping(const std::shared_ptr<Buffer>& buffer)
    : Mapping(buffer ? *buffer : Buffer{}) {}

PictureMapping::PictureMapping(const Buffer& buffer) {
#ifdef MAP_POPULATE
    mAddress = MapClientMemory(buffer, MAP_POPULATE);
#else
    mAddress = MapClientMemory(buffer, 0);
#endif
    if (mAddress != nullptr) mBytes = buffer.mCapacity;
}

PictureMapping::~PictureMapping() {
    if (mAddress != nullptr) munmap(mAddress, static_cast<size_t>(mBytes));
}

Buffer::Mapping::~Mapping() {
    // Unmap the full length: a capacity of 4 GiB or more would otherwise leave
    // the part above the 32-bit length mapped.
    if (mAddress != nullptr && mMappedBytes != 0) munmap(mAddress, static_cast<size_t>(mMappedBytes));
}

}  // namespace tessaro
