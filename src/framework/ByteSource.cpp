#include "framework/ByteSource.h"

#include <algorithm>
#include <cstring>

namespace tessaro {

std::atomic<bool> ByteSource::sShortcuts{true};

bool ByteSource::open(const std::string& path) {
    if (mFile.IsOpen() || !mFile.OpenForReading(path)) {
        mState |= kFail;
        return false;
    }
    mPos = 0;
    mBufStart = 0;
    mBufLen = 0;
    mGcount = 0;
    mState = 0;
    const uint64_t pages = (mFile.Size() + kPage - 1) / kPage;
    mReadAhead = pages == 0 ? kPage : std::min(kReadAhead, pages * kPage);
    return true;
}

void ByteSource::close() {
    if (!mFile.IsOpen()) {
        mState |= kFail;
        return;
    }
    if (!mFile.Close()) mState |= kFail;
    mBufLen = 0;
}

ByteSource& ByteSource::seekg(int64_t offset, std::ios_base::seekdir dir) {
    mState &= static_cast<uint8_t>(~kEof);
    if (fail() || !mFile.IsOpen()) {
        mState |= kFail;
        return *this;
    }
    int64_t base = 0;
    if (dir == std::ios_base::cur) base = static_cast<int64_t>(mPos);
    if (dir == std::ios_base::end) base = static_cast<int64_t>(size());
    // Overflow-free: both operands stay far below the int64 range for files.
    if ((offset < 0 && base < -offset) || (offset > 0 && offset > INT64_MAX - base)) {
        mState |= kFail;
        return *this;
    }
    mPos = static_cast<uint64_t>(base + offset);
    return *this;
}

bool ByteSource::Refill() {
    if (mBuf.size() != mReadAhead) mBuf.resize(mReadAhead);
    bool error = false;
    mBufStart = mPos;
    mBufLen = mFile.ReadAt(mPos, mBuf.data(), mReadAhead, &error);
    if (mBufLen != 0) return true;
    mState |= error ? (kBad | kFail) : (kEof | kFail);
    return false;
}

ByteSource& ByteSource::get(uint8_t& byte) {
    mGcount = 0;
    if (!good() || !mFile.IsOpen()) {
        mState |= kFail;
        return *this;
    }
    if (mPos < mBufStart || mPos >= mBufStart + mBufLen) {
        if (!Refill()) return *this;
    }
    byte = mBuf[mPos - mBufStart];
    ++mPos;
    mGcount = 1;
    return *this;
}

ByteSource& ByteSource::read(void* dst, uint64_t n) {
    mGcount = 0;
    if (!good() || !mFile.IsOpen()) {
        mState |= kFail;
        return *this;
    }
    auto* out = static_cast<uint8_t*>(dst);
    // Whatever the read-ahead already holds, then straight from the file.
    if (mPos >= mBufStart && mPos < mBufStart + mBufLen) {
        const uint64_t have = mBufStart + mBufLen - mPos;
        const uint64_t take = have < n ? have : n;
        std::memcpy(out, mBuf.data() + (mPos - mBufStart), take);
        mPos += take;
        mGcount = take;
    }
    if (mGcount < n) {
        if (n - mGcount < kReadAhead) {
            while (mGcount < n && Refill()) {
                const uint64_t take = (n - mGcount) < mBufLen ? (n - mGcount) : mBufLen;
                std::memcpy(out + mGcount, mBuf.data(), take);
                mPos += take;
                mGcount += take;
            }
        } else {
            const uint64_t got = ReadAt(mPos, out + mGcount, n - mGcount);
            mPos += got;
            mGcount += got;
        }
    }
    if (mGcount < n) mState |= bad() ? kFail : (kEof | kFail);
    return *this;
}

ByteSource& ByteSource::read(void* dst, uint64_t n, uint64_t keep) {
    if (keep >= n || !Shortcuts()) return read(dst, n);
    read(dst, keep);
    if (mGcount < keep) return *this;
    // The rest is passed over: it exists exactly as far as the file reaches.
    const uint64_t end = size();
    const uint64_t rest = n - keep;
    const uint64_t have = end > mPos ? end - mPos : 0;
    const uint64_t moved = have < rest ? have : rest;
    mPos += moved;
    mGcount = keep + moved;
    if (moved < rest) mState |= kEof | kFail;
    return *this;
}

const uint8_t* ByteSource::Buffered(uint64_t max, uint64_t* n) const {
    *n = 0;
    if (!Shortcuts() || !good() || !mFile.IsOpen()) return nullptr;
    if (mPos < mBufStart || mPos >= mBufStart + mBufLen) return nullptr;
    const uint64_t have = mBufStart + mBufLen - mPos;
    *n = have < max ? have : max;
    return mBuf.data() + (mPos - mBufStart);
}

}  // namespace tessaro
