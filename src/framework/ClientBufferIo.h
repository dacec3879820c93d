// ClientBufferIo: bytes into and out of the client's buffers, one transfer at
// a time.
//
// A buffer whose memory is a regular file or a memfd is written and read
// through its descriptor: no mapping is made, so none outlives the call, and a
// buffer the client has just created costs no page faults. Bytes from a file
// travel through a pipe the processor keeps (splice: the kernel copies them
// once); a unit under 32 KiB, bytes the kernel refuses to splice and bytes
// from memory go by way of a staging block the processor keeps. Memory a
// descriptor cannot reach that way (device memory) is mapped for the one
// transfer. Either way the memory is measured first: memory smaller than
// mMapOffset + mCapacity, or a transfer reaching past mCapacity, is refused
// before a byte moves, so nothing ever grows the client's memory or writes
// past its buffer.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "framework/File.h"
#include "tessaro/Buffer.h"

namespace tessaro {

class ClientBufferIo {
public:
    // What a transfer did. `usable` is false when the buffer's memory cannot
    // take part (callers report it as they report an unmappable buffer); bytes
    // then is 0.
    struct Moved {
        bool usable;
        uint64_t bytes;
    };

    // Copies up to length bytes of file from offset into buffer at `at`. Fewer
    // arrive only when the file ends first or a transfer fails. Memory that
    // refuses the first bytes (sealed against writes) counts as unusable.
    Moved FillFromFile(const Buffer& buffer, uint64_t at, const File& file, uint64_t offset,
                       uint64_t length);
    // Copies length bytes of src into buffer at `at`.
    Moved FillFromMemory(const Buffer& buffer, uint64_t at, const void* src, uint64_t length);
    // Hands length bytes of buffer from `at` to sink(bytes, count) in pieces,
    // in order, until sink returns false. bytes counts what sink accepted.
    template <typename Sink>
    Moved Drain(const Buffer& buffer, uint64_t at, uint64_t length, Sink sink);

    ClientBufferIo() = default;
    ~ClientBufferIo() { Release(); }
    ClientBufferIo(const ClientBufferIo&) = delete;
    ClientBufferIo& operator=(const ClientBufferIo&) = delete;

    // Frees the staging block and closes the pipe (DeInit); the next transfer
    // takes new ones.
    void Release();

    // Process-wide switch for the pipe (on by default); off, every copy from a
    // file takes the staging block, as on a kernel that refuses to splice.
    static void SetSplice(bool on) { sSplice.store(on, std::memory_order_relaxed); }

private:
    static constexpr uint64_t kStagingBytes = 256 * 1024;
    // Fills from a file below this size take the staging block (measured: under
    // 32 KiB two splices cost more than a pread and a pwrite; above, the same).
    static constexpr uint64_t kSpliceMinBytes = 32 * 1024;

    enum class Memory { kDescriptor, kMapped, kMissing };
    static Memory Classify(const Buffer& buffer, uint64_t at, uint64_t length);
    uint8_t* Staging();
    // File to buffer memory through the pipe. Returns the bytes that landed;
    // *refused when the kernel cannot splice these two (nothing moved then).
    // *memoryRefused when the buffer's memory took none of the bytes offered.
    uint64_t Splice(const Buffer& buffer, uint64_t at, const File& file, uint64_t offset,
                    uint64_t length, bool* refused, bool* memoryRefused);
    // File to buffer memory through the staging block; *memoryRefused as above.
    uint64_t CopyStaged(const Buffer& buffer, uint64_t at, const File& file, uint64_t offset,
                        uint64_t length, bool* memoryRefused);
    // File to memory the descriptor cannot reach: a mapping for this transfer.
    static Moved MapAndRead(const Buffer& buffer, uint64_t at, const File& file, uint64_t offset,
                            uint64_t length);
    bool OpenPipe();
    void ClosePipe();
    // One piece of a drain through the descriptor: up to kStagingBytes at `at`.
    const uint8_t* ReadPiece(const Buffer& buffer, uint64_t at, uint64_t length, uint64_t* got);

    static std::atomic<bool> sSplice;

    std::unique_ptr<uint8_t[]> mStaging;
    int mPipe[2] = {-1, -1};   // read end, write end
    uint64_t mPipeBytes = 0;   // what the pipe holds at most
    bool mSpliceRefused = false;  // the kernel refused once: staging from then on
};

template <typename Sink>
ClientBufferIo::Moved ClientBufferIo::Drain(const Buffer& buffer, uint64_t at, uint64_t length,
                                            Sink sink) {
    const Memory memory = Classify(buffer, at, length);
    if (memory == Memory::kMissing) return {false, 0};
    if (memory == Memory::kMapped || Staging() == nullptr) {
        const Buffer::Mapping mapping(buffer);
        if (mapping.vaddr() == nullptr) return {false, 0};
        return {true, sink(mapping.vaddr() + at, length) ? length : 0};
    }
    uint64_t done = 0;
    while (done < length) {
        uint64_t got = 0;
        const uint8_t* piece = ReadPiece(buffer, at + done, length - done, &got);
        if (got == 0 || !sink(piece, got)) break;
        done += got;
    }
    return {true, done};
}

}  // namespace tessaro
