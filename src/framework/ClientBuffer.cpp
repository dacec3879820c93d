#include "tessaro/ClientBuffer.h"

#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <new>

namespace tessaro {
namespace {

// memfd_create through the system call: Android's C library wraps it only from
// API 30.
int CreateMemfd(const char* name) {
    return static_cast<int>(syscall(SYS_memfd_create, name, MFD_CLOEXEC));
}

}  // namespace

std::shared_ptr<Buffer> MakeMemfdBuffer(uint64_t capacity, uint32_t type, uint32_t mapOffset) {
    const int fd = CreateMemfd("tessaro-buffer");
    if (fd < 0) return nullptr;
    if (ftruncate(fd, static_cast<off_t>(capacity + mapOffset)) != 0) {
        const int error = errno;
        close(fd);
        errno = error;
        return nullptr;
    }
    auto* buffer = new (std::nothrow) Buffer{};
    if (buffer == nullptr) {
        close(fd);
        errno = ENOMEM;
        return nullptr;
    }
    buffer->mFd = fd;
    buffer->mCapacity = capacity;
    buffer->mMapOffset = mapOffset;
    buffer->mType = type;
    return std::shared_ptr<Buffer>(buffer, [fd](Buffer* b) {
        close(fd);
        delete b;
    });
}

}  // namespace tessaro
