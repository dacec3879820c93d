#include "framework/BufferMappingCache.h"

#include <sys/stat.h>

#include <algorithm>

namespace tessaro {

bool BufferMappingCache::Key::operator==(const Key& other) const {
    return device == other.device && inode == other.inode && mapOffset == other.mapOffset &&
           capacity == other.capacity;
}

const Buffer::Mapping& BufferMappingCache::Acquire(const Buffer& buffer) {
    mTransient.reset();
    struct stat st {};
    if (buffer.mFd < 0 || fstat(buffer.mFd, &st) != 0 || !S_ISREG(st.st_mode)) {
        return MapForThisCallOnly(buffer);
    }
    const Key key{st.st_dev, st.st_ino, buffer.mMapOffset, buffer.mCapacity};
    auto found = std::find_if(mEntries.begin(), mEntries.end(),
                              [&key](const Entry& entry) { return entry.key == key; });
    if (found != mEntries.end()) {
        const uint64_t size = static_cast<uint64_t>(st.st_size);
        if (key.mapOffset <= size && key.capacity <= size - key.mapOffset) {
            found->lastUse = ++mUseCounter;
            return *found->mapping;
        }
        // Memory shrunk below the capacity since it was mapped: touching the
        // mapping's tail would fault, so it is dropped, and mapping afresh
        // reports the buffer as unmappable.
        mEntries.erase(found);
    }
    return Insert(key, buffer);
}

const Buffer::Mapping& BufferMappingCache::Acquire(const std::shared_ptr<Buffer>& buffer) {
    return buffer ? Acquire(*buffer) : Acquire(Buffer{});
}

void BufferMappingCache::Clear() {
    mTransient.reset();
    mEntries.clear();
}

const Buffer::Mapping& BufferMappingCache::MapForThisCallOnly(const Buffer& buffer) {
    mTransient = std::make_unique<Buffer::Mapping>(buffer);
    return *mTransient;
}

const Buffer::Mapping& BufferMappingCache::Insert(const Key& key, const Buffer& buffer) {
    if (key.capacity > kMaxMappedBytes) return MapForThisCallOnly(buffer);
    EvictFor(key.capacity);
    auto mapping = std::make_unique<Buffer::Mapping>(buffer);
    if (mapping->vaddr() == nullptr) {
        mTransient = std::move(mapping);
        return *mTransient;
    }
    mEntries.push_back(Entry{key, std::move(mapping), ++mUseCounter});
    return *mEntries.back().mapping;
}

void BufferMappingCache::EvictFor(uint64_t capacity) {
    while (!mEntries.empty() &&
           (mEntries.size() >= kMaxEntries || MappedBytes() + capacity > kMaxMappedBytes)) {
        auto oldest = std::min_element(
            mEntries.begin(), mEntries.end(),
            [](const Entry& a, const Entry& b) { return a.lastUse < b.lastUse; });
        mEntries.erase(oldest);
    }
}

uint64_t BufferMappingCache::MappedBytes() const {
    uint64_t total = 0;
    for (const Entry& entry : mEntries) total += entry.key.capacity;
    return total;
}

}  // namespace tessaro
