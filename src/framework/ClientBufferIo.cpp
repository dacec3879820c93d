#include "framework/ClientBufferIo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

namespace tessaro {

std::atomic<bool> ClientBufferIo::sSplice{true};

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
    if (memory == Memory::kDescriptor) {
        bool memoryRefused = false;
        // A unit below kSpliceMinBytes goes through the staging block.
        if (length >= kSpliceMinBytes && !mSpliceRefused && sSplice.load(std::memory_order_relaxed)) {
            bool refused = !OpenPipe();
            const uint64_t moved = refused ? 0 : Splice(buffer, at, file, offset, length, &refused, &memoryRefused);
            if (!refused) return {!(memoryRefused && moved == 0), moved};
            mSpliceRefused = true;
        }
        if (Staging() == nullptr) return MapAndRead(buffer, at, file, offset, length);
        const uint64_t moved = CopyStaged(buffer, at, file, offset, length, &memoryRefused);
        return {!(memoryRefused && moved == 0), moved};
    }
    return MapAndRead(buffer, at, file, offset, length);
}

ClientBufferIo::Moved ClientBufferIo::MapAndRead(const Buffer& buffer, uint64_t at,
                                                 const File& file, uint64_t offset,
                                                 uint64_t length) {
    const Buffer::Mapping mapping(buffer);
    if (mapping.vaddr() == nullptr) return {false, 0};
    return {true, file.ReadAt(offset, mapping.vaddr() + at, length)};
}

uint64_t ClientBufferIo::Splice(const Buffer& buffer, uint64_t at, const File& file,
                                uint64_t offset, uint64_t length, bool* refused,
                                bool* memoryRefused) {
    *refused = false;
    loff_t from = static_cast<loff_t>(offset);
    loff_t to = static_cast<loff_t>(uint64_t{buffer.mMapOffset} + at);
    uint64_t done = 0;
    while (done < length) {
        const uint64_t want = length - done < mPipeBytes ? length - done : mPipeBytes;
        const ssize_t in = splice(file.fd(), &from, mPipe[1], nullptr, want, 0);
        if (in < 0 && errno == EINTR) continue;
        if (in <= 0) {  // the file ended, or the kernel will not splice it
            *refused = in < 0 && done == 0;
            break;
        }
        uint64_t left = static_cast<uint64_t>(in);
        while (left != 0) {
            const ssize_t out = splice(mPipe[0], nullptr, buffer.mFd, &to, left, 0);
            if (out < 0 && errno == EINTR) continue;
            if (out <= 0) {
                // What stays in the pipe would land in the next buffer: drop the
                // pipe. Memory sealed against writes refuses with EPERM; any other
                // refusal before a byte moved leaves the copy to the staging block.
                const bool nothingMoved = out < 0 && done == 0 && left == static_cast<uint64_t>(in);
                *refused = nothingMoved && errno != EPERM;
                *memoryRefused = !*refused;
                ClosePipe();
                return done;
            }
            left -= static_cast<uint64_t>(out);
            done += static_cast<uint64_t>(out);
        }
    }
    return done;
}

uint64_t ClientBufferIo::CopyStaged(const Buffer& buffer, uint64_t at, const File& file,
                                    uint64_t offset, uint64_t length, bool* memoryRefused) {
    uint8_t* const staging = mStaging.get();
    const uint64_t base = uint64_t{buffer.mMapOffset} + at;
    uint64_t done = 0;
    while (done < length) {
        const uint64_t want = length - done < kStagingBytes ? length - done : kStagingBytes;
        const uint64_t got = file.ReadAt(offset + done, staging, want);
        const uint64_t put = got == 0 ? 0 : File::WriteAt(buffer.mFd, base + done, staging, got);
        done += put;
        *memoryRefused = put < got;
        if (put < want) break;
    }
    return done;
}

bool ClientBufferIo::OpenPipe() {
    if (mPipe[0] >= 0) return true;
    if (pipe2(mPipe, O_CLOEXEC) != 0) {
        mPipe[0] = mPipe[1] = -1;
        return false;
    }
    // A larger pipe moves a large unit in fewer calls; the default serves too.
    const int size = fcntl(mPipe[1], F_SETPIPE_SZ, 1 << 20);
    const int actual = size > 0 ? size : fcntl(mPipe[1], F_GETPIPE_SZ);
    mPipeBytes = actual > 0 ? static_cast<uint64_t>(actual) : 4096;
    return true;
}

void ClientBufferIo::ClosePipe() {
    for (int& end : mPipe) {
        if (end >= 0) close(end);
        end = -1;
    }
}

void ClientBufferIo::Release() {
    mStaging.reset();
    ClosePipe();
    mSpliceRefused = false;
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
