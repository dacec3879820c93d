#include "cli/ClientBuffers.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <algorithm>
#include <cstring>

namespace tessaro::cli {

std::shared_ptr<Buffer> MakeSharedBuffer(uint64_t capacity, uint32_t type, std::string* reason) {
    const int fd = memfd_create("tessaro-buffer", MFD_CLOEXEC);
    if (fd < 0) {
        *reason = std::string("memfd_create: ") + std::strerror(errno);
        return nullptr;
    }
    if (ftruncate(fd, static_cast<off_t>(capacity)) != 0) {
        *reason = "cannot size a buffer of " + std::to_string(capacity) + " bytes: " + std::strerror(errno);
        close(fd);
        return nullptr;
    }
    std::shared_ptr<Buffer> buffer(new Buffer{}, [](Buffer* b) {
        close(b->mFd);
        delete b;
    });
    buffer->mFd = fd;
    buffer->mCapacity = capacity;
    buffer->mType = type;
    return buffer;
}

void ResetProducedFields(Buffer& buffer) {
    buffer.mEndOfFrame = 0;
    buffer.mSliceSkipped = 0;
    buffer.mOffset = 0;
    buffer.mTimestamp = 0;
    buffer.mLength = 0;
    buffer.mSliceInfo = 0;
    buffer.mFlags = 0;
}

BufferView::BufferView(const Buffer& buffer) {
    if (buffer.mOffset >= buffer.mCapacity || buffer.mLength == 0) return;
    mSize = std::min<uint64_t>(buffer.mLength, buffer.mCapacity - buffer.mOffset);
    mMapped = buffer.mCapacity;
    void* base = mmap(nullptr, mMapped, PROT_READ, MAP_SHARED, buffer.mFd, buffer.mMapOffset);
    if (base == MAP_FAILED) {
        mSize = 1;  // not ok()
        return;
    }
    mBase = base;
    mData = static_cast<const uint8_t*>(base) + buffer.mOffset;
}

BufferView::~BufferView() {
    if (mBase != nullptr) munmap(mBase, mMapped);
}

}  // namespace tessaro::cli
