#include "framework/OutputStream.h"

#include <cstring>
#include <new>

namespace tessaro {

OutputStream::~OutputStream() {
    if (is_open()) close();
}

bool OutputStream::open(const std::string& path) {
    if (mFile.IsOpen() || !mFile.OpenForWriting(path)) {
        mState |= kFail;
        return false;
    }
    mFill = 0;
    mWriting = false;
    mState = 0;
    return true;
}

void OutputStream::close() {
    if (!mFile.IsOpen()) {
        mState |= kFail;
        return;
    }
    const bool passed = !mWriting || mFill == 0 || PassBlockOn();
    const bool closed = mFile.Close();
    mFill = 0;
    mWriting = false;
    if (!passed || !closed) mState |= kFail;
}

OutputStream& OutputStream::write(const void* src, uint64_t n) {
    if (!good()) {
        mState |= kFail;
        return *this;
    }
    if (Put(static_cast<const uint8_t*>(src), n) != n) mState |= kBad;
    return *this;
}

uint64_t OutputStream::Put(const uint8_t* src, uint64_t n) {
    if (!mFile.IsOpen()) return 0;
    if (mBlock == nullptr) mBlock.reset(new (std::nothrow) uint8_t[kBlockBytes]);
    if (mBlock == nullptr) return 0;
    const uint64_t room = mWriting ? kBlockBytes - 1 - mFill : kBlockBytes - 1;
    const uint64_t limit = room < kDirectFrom ? room : kDirectFrom;
    if (n < limit) {
        mWriting = true;
        if (n != 0) std::memcpy(mBlock.get() + mFill, src, n);
        mFill += n;
        return n;
    }
    // What the block holds goes out first, in the same gathered write.
    const uint64_t held = mFill;
    mPieces.clear();
    mPieces.push_back(iovec{mBlock.get(), held});
    mPieces.push_back(iovec{const_cast<uint8_t*>(src), n});
    const uint64_t sent = mFile.WriteGathered(mPieces);
    if (sent == held + n) {
        mFill = 0;
        mWriting = true;
    }
    return sent > held ? sent - held : 0;
}

bool OutputStream::PassBlockOn() {
    const bool all = mFile.Write(mBlock.get(), mFill) == mFill;
    if (all) mFill = 0;
    return all;
}

}  // namespace tessaro
