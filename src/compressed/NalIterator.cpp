#include "compressed/NalIterator.h"

#include "compressed/StartCodeSearch.h"
#include "framework/Log.h"

namespace tessaro {

NalIterator::Step NalIterator::Next() {
    for (;;) {
        if (mBytesScanned >= mLimit) {
            __android_log_print(kLogInfo, mTag, "Buffer is Full.");
            return Step::kFull;
        }
        if (const uint64_t skipped = SkipBulk()) {
            mBytesScanned += skipped;
            continue;
        }
        uint8_t byte = 0;
        if (!mIn.get(byte)) return Step::kNoData;
        ++mBytesScanned;
        if (const uint32_t startCodeLen = mStartCode.Push(byte)) {
            mPrefixLen = startCodeLen;
            return Step::kUnit;
        }
    }
}

bool NalIterator::Take(uint8_t* dst, uint32_t n, bool inPrefix) {
    if (!mIn.read(dst, n)) return false;
    mBytesScanned += n;
    if (inPrefix) mPrefixLen += n;
    return true;
}

uint64_t NalIterator::SkipBulk() {
    uint64_t n = 0;
    const uint8_t* p = mIn.Buffered(mLimit - mBytesScanned, &n);
    // k counts the bytes that can be passed over. A start code completes on a
    // byte 01 whose two predecessors are 00; for the first two bytes the
    // predecessors are still in the accumulator.
    uint64_t k = 0;
    while (k < n && k < 2 && !mStartCode.WouldMatch(p[k])) mStartCode.Push(p[k++]);
    if (k == 2) {
        k = FindStartCodeEnd(p, 2, n);
        // The accumulator holds the last four bytes passed over.
        for (uint64_t i = k >= 6 ? k - 4 : 2; i < k; ++i) mStartCode.Push(p[i]);
    }
    mIn.Advance(k);
    return k;
}

}  // namespace tessaro
