// Read-only access to what a producer delivered into a client buffer.
#pragma once

#include <cstdint>

#include <tessaro/Tessaro.h>

namespace tessaro::cli {

// Clears what a producer writes, as a harness does before reusing a buffer.
void ResetProducedFields(Buffer& buffer);

// Read-only view of a buffer's valid bytes (mLength from mOffset), mapped for
// the view's lifetime. A range beyond the capacity is clipped to it.
class BufferView {
public:
    explicit BufferView(const Buffer& buffer);
    ~BufferView();
    BufferView(const BufferView&) = delete;
    BufferView& operator=(const BufferView&) = delete;

    bool ok() const { return mBase != nullptr || mSize == 0; }
    const uint8_t* data() const { return mData; }
    uint64_t size() const { return mSize; }

private:
    void* mBase = nullptr;
    uint64_t mMapped = 0;
    const uint8_t* mData = nullptr;
    uint64_t mSize = 0;
};

}  // namespace tessaro::cli
