#include "uncompressed/PictureCanvas.h"

#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "framework/File.h"

namespace tessaro {
namespace {

// Pictures larger than this (8K NV12 is 50 MB) are drawn in place: the block
// would double the memory a client chose to hand over.
constexpr uint64_t kMostStaged = 64u << 20;

void ZeroRun(uint8_t* base, const RowRun& run) {
    for (uint64_t row = 0; run.End() != 0 && row < run.rows; ++row) {
        std::memset(base + run.offset + row * run.pitch, 0, run.rowBytes);
    }
}

}  // namespace

PictureCanvas::PictureCanvas(const Buffer& buffer, CanvasBlock& block) : mBuffer(buffer), mBlock(block) {
    struct stat st {};
    mThroughDescriptor = buffer.mFd >= 0 && fstat(buffer.mFd, &st) == 0 && S_ISREG(st.st_mode);
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

uint8_t* PictureCanvas::Clear(uint64_t cleared, std::initializer_list<RowRun> painted) {
    if (!mUsable) return nullptr;
    uint64_t reached = cleared;
    for (const RowRun& run : painted) reached = std::max(reached, run.End());
    if (!mThroughDescriptor || reached > cleared || cleared > kMostStaged ||
        !Reserve(std::max<uint64_t>(cleared, 1))) {  // a picture of no bytes still gets memory
        if (mMapping == nullptr) mMapping = std::make_unique<PictureMapping>(mBuffer);
        uint8_t* vaddr = mMapping->vaddr();
        if (vaddr != nullptr) std::memset(vaddr, 0, cleared);
        return vaddr;
    }
    CanvasBlock& block = mBlock;
    if (block.zeroed == cleared) {
        for (const RowRun& run : block.painted) ZeroRun(block.bytes.data(), run);
    } else {
        std::memset(block.bytes.data(), 0, cleared);
        block.zeroed = cleared;
    }
    block.painted.assign(painted.begin(), painted.end());
    mStaged = cleared;
    return block.bytes.data();
}

bool PictureCanvas::Reserve(uint64_t bytes) {
    if (mBlock.bytes.size() >= bytes) return true;
    try {
        mBlock.bytes.resize(bytes);
    } catch (const std::bad_alloc&) {
        mBlock = CanvasBlock{};  // nothing of the old picture is kept
        return false;
    }
    return true;
}

bool PictureCanvas::Finish() {
    if (mStaged == 0) return mUsable;
    return File::WriteAt(mBuffer.mFd, uint64_t{mBuffer.mMapOffset}, mBlock.bytes.data(), mStaged) == mStaged;
}

}  // namespace tessaro
