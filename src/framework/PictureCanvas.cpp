#include "framework/PictureCanvas.h"

#include <sys/mman.h>
#include <sys/stat.h>

#include "framework/File.h"

namespace tessaro {

PictureCanvas::PictureCanvas(const Buffer& buffer, std::vector<uint8_t>& block)
    : mBuffer(buffer), mBlock(block) {
    struct stat st {};
    // st_blocks counts the 512-byte blocks the memory holds: fewer than the
    // buffer's range means pages that a mapping would first have to clear.
    mThroughDescriptor = buffer.mFd >= 0 && fstat(buffer.mFd, &st) == 0 && S_ISREG(st.st_mode) &&
                         static_cast<uint64_t>(st.st_blocks) * 512 < uint64_t{buffer.mMapOffset} + buffer.mCapacity;
    if (!mThroughDescriptor) {
        mMapping = std::make_unique<PictureMapping>(buffer);
        mUsable = mMapping->vaddr() != nullptr;
        return;
    }
    // The same test as drawing in place would make; no page is touched.
    uint8_t* trial = MapClientMemory(buffer, 0);
    mUsable = trial != nullptr;
    if (mUsable) munmap(trial, static_cast<size_t>(buffer.mCapacity));
}

uint8_t* PictureCanvas::Area(uint64_t written, uint64_t reached) {
    if (!mUsable) return nullptr;
    if (mThroughDescriptor && reached <= written) {
        if (mBlock.size() < written) mBlock.resize(written);
        mStaged = written;
        return mBlock.data();
    }
    if (mMapping == nullptr) mMapping = std::make_unique<PictureMapping>(mBuffer);
    return mMapping->vaddr();
}

bool PictureCanvas::Finish() {
    if (mStaged == 0) return mUsable;
    return File::WriteAt(mBuffer.mFd, uint64_t{mBuffer.mMapOffset}, mBlock.data(), mStaged) == mStaged;
}

}  // namespace tessaro
