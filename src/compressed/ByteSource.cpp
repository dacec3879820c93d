#include "compressed/ByteSource.h"

#include <cstring>

#include "compressed/StartCodeAccumulator.h"
#include "compressed/StartCodeSearch.h"

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
    if (mBuf.size() != kReadAhead) mBuf.resize(kReadAhead);
    bool error = false;
    mBufStart = mPos;
    mBufLen = mFile.ReadAt(mPos, mBuf.data(), kReadAhead, &error);
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

uint64_t ByteSource::SkipNoStartCode(StartCodeAccumulator& startCode, uint64_t max) {
    if (!Shortcuts() || !good() || !mFile.IsOpen()) return 0;
    if (mPos < mBufStart || mPos >= mBufStart + mBufLen) return 0;
    const uint8_t* p = mBuf.data() + (mPos - mBufStart);
    const uint64_t have = mBufStart + mBufLen - mPos;
    const uint64_t n = have < max ? have : max;

    // k counts the bytes that can be passed over. A start code completes on a
    // byte 01 whose two predecessors are 00; for the first two bytes the
    // predecessors are still in the accumulator.
    uint64_t k = 0;
    while (k < n && k < 2) {
        if (startCode.WouldMatch(p[k])) break;
        startCode.Push(p[k]);
        ++k;
    }
    if (k == 2) {
        k = FindStartCodeEnd(p, 2, n);
        // The accumulator holds the last four bytes passed over.
        const uint64_t from = k >= 6 ? k - 4 : 2;
        for (uint64_t i = from; i < k; ++i) startCode.Push(p[i]);
    }
    mPos += k;
    return k;
}

}  // namespace tessaro
