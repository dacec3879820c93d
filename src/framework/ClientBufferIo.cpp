#include "framework/ClientBufferIo.h"

#include <sys/stat.h>

#include <cstring>
#include <new>

namespace tessaro {

ClientBufferIo::Memory ClientBufferIo::Classify(const Buffer& buffer, uint64_t at, uint64_t length) {
    const uint64_t capacity = buffer.mCapacity;
    if (buffer.mFd < 0 || capacity == 0 || at > capacity || length > capacity - at) {
        return Memory::kMissing;
    }
    struct stat st {};
    if (fstat(buffer.mFd, &st) != 0) return Memory::kMissing;
    if (!S_ISREG(st.st_mode)) return Memory::kMapped;
    const uint64_t size = st.st_size < 0 ? 0 : static_cast<uint64_t>(st.st_size);
    const bool covered = buffer.mMapOffset <= size && capacity <= size - buffer.mMapOffset;
    return covered ? Memory::kDescriptor : Memory::kMissing;
}

uint8_t* ClientBufferIo::Staging() {
    if (mStaging == nullptr) mStaging.reset(new (std::nothrow) uint8_t[kStagingBytes]);
    return mStaging.get();
}

ClientBufferIo::Moved ClientBufferIo::FillFromFile(const Buffer& buffer, uint64_t at,
                                                   const File& file, uint64_t offset,
                                                   uint64_t length) {
    const Memory memory = Classify(buffer, at, length);
    if (memory == Memory::kMissing) return {false, 0};
    uint8_t* const staging = memory == Memory::kDescriptor ? Staging() : nullptr;
    if (staging == nullptr) {
        const Buffer::Mapping mapping(buffer);
        if (mapping.vaddr() == nullptr) return {false, 0};
        return {true, file.ReadAt(offset, mapping.vaddr() + at, length)};
    }
    const uint64_t base = uint64_t{buffer.mMapOffset} + at;
    uint64_t done = 0;
    while (done < length) {
        const uint64_t want = length - done < kStagingBytes ? length - done : kStagingBytes;
        const uint64_t got = file.ReadAt(offset + done, staging, want);
        const uint64_t put = got == 0 ? 0 : File::WriteAt(buffer.mFd, base + done, staging, got);
        done += put;
        if (put < want) break;
    }
    return {true, done};
}

ClientBufferIo::Moved ClientBufferIo::FillFromMemory(const Buffer& buffer, uint64_t at,
                                                     const void* src, uint64_t length) {
    const Memory memory = Classify(buffer, at, length);
    if (memory == Memory::kMissing) return {false, 0};
    if (memory == Memory::kDescriptor) {
        return {true, File::WriteAt(buffer.mFd, uint64_t{buffer.mMapOffset} + at, src, length)};
    }
    const Buffer::Mapping mapping(buffer);
    if (mapping.vaddr() == nullptr) return {false, 0};
    if (length != 0) std::memcpy(mapping.vaddr() + at, src, length);
    return {true, length};
}

const uint8_t* ClientBufferIo::ReadPiece(const Buffer& buffer, uint64_t at, uint64_t length,
                                         uint64_t* got) {
    const uint64_t want = length < kStagingBytes ? length : kStagingBytes;
    *got = File::ReadAt(buffer.mFd, uint64_t{buffer.mMapOffset} + at, mStaging.get(), want);
    return mStaging.get();
}

}  // namespace tessaro
