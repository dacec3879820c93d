#include "cli/BufferView.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

namespace tessaro::cli {

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
