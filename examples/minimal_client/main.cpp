// Maps a memfd-backed buffer through the installed library and checks the
// defaults of the configuration record.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>

#include <tessaro/Tessaro.h>

int main() {
    tessaro::ConfigParam config{};
    if (config.mPixFormat != 255 || config.mDeliveryMode != 15) return 1;

    tessaro::Buffer buffer{};
    buffer.mFd = memfd_create("client", 0);
    buffer.mCapacity = 4096;
    if (buffer.mFd < 0 || ftruncate(buffer.mFd, 4096) != 0) return 2;
    {
        tessaro::Buffer::Mapping mapping(buffer);
        if (mapping.vaddr() == nullptr) return 3;
        mapping.vaddr()[0] = 1;
    }
    close(buffer.mFd);
    std::puts("minimal_client: ok");
    return 0;
}
