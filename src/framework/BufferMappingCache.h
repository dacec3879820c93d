// BufferMappingCache: the mappings of the client buffers a processor fills or
// drains, kept while the client hands the same buffers back.
//
// A harness cycles a small pool of shared-memory buffers through Process. Mapping
// one afresh on every call costs an mmap, an munmap and a page fault for every
// page the call touches, which is most of the time spent on a small frame. The
// cache keeps one mapping per buffer memory and, on every call, checks with one
// fstat that the descriptor still names the same memory (same file, offset and
// capacity) and that the memory still covers the whole capacity. Anything else
// (device memory, a descriptor that does not stat) is mapped for the one call
// only, exactly as before.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "tessaro/Buffer.h"

namespace tessaro {

class BufferMappingCache {
public:
    // How many buffer memories, and how many bytes of them, stay mapped at most;
    // the least recently used mapping goes first.
    static constexpr size_t kMaxEntries = 16;
    static constexpr uint64_t kMaxMappedBytes = uint64_t{512} << 20;

    // The mapping of buffer for the current call, valid until the next Acquire
    // or Clear. Its vaddr() is null exactly when Buffer::Mapping's would be.
    const Buffer::Mapping& Acquire(const Buffer& buffer);
    // A missing buffer maps as a buffer without memory (null vaddr()).
    const Buffer::Mapping& Acquire(const std::shared_ptr<Buffer>& buffer);
    // Unmaps everything (DeInit and destruction).
    void Clear();

    size_t size() const { return mEntries.size(); }

private:
    struct Key {
        dev_t device;
        ino_t inode;
        uint32_t mapOffset;
        uint64_t capacity;
        bool operator==(const Key& other) const;
    };
    struct Entry {
        Key key;
        std::unique_ptr<Buffer::Mapping> mapping;
        uint64_t lastUse;
    };

    const Buffer::Mapping& MapForThisCallOnly(const Buffer& buffer);
    const Buffer::Mapping& Insert(const Key& key, const Buffer& buffer);
    void EvictFor(uint64_t capacity);
    uint64_t MappedBytes() const;

    std::vector<Entry> mEntries;
    std::unique_ptr<Buffer::Mapping> mTransient;  // the one-call mapping, if any
    uint64_t mUseCounter = 0;
};

}  // namespace tessaro
