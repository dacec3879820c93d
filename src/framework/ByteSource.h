// ByteSource: the input file of the compressed parsers and the raw readers.
//
// It keeps the stream-state rules of a binary input file stream, which the
// scanners' decisions rely on: a read that runs out of bytes sets both the
// end-of-file and the fail state; a read in any state other than good fails;
// tellg() is -1 while the fail state is set; seekg() first clears the
// end-of-file state and does nothing while the fail state is set; clear()
// resets the state. Sequential reads (get, read) go through a read-ahead
// buffer, so scanning byte by byte costs no system call per byte.
//
// ReadAt() is the delivery path: one positioned read straight into the
// caller's memory, independent of the scan position and of the stream state.
//
// Only the sequential interface carries state; swapping this class for a
// faster source means keeping these rules, not touching a scanner.
//
// Two shortcuts let a scanner pass over bulk data without a call per byte:
// Buffered()/Advance() show the buffered bytes at the read position so that a
// caller can step over those it has no decision on, and read(dst, n, keep)
// moves over n bytes but copies only the first keep. Both leave the position
// and the state exactly as the byte-at-a-time reads they replace would have.
// SetShortcuts(false) turns them into plain byte-at-a-time reading, the
// reference the differential test and the benchmark compare against.
#pragma once

#include <atomic>
#include <cstdint>
#include <ios>
#include <string>
#include <vector>

#include "framework/File.h"

namespace tessaro {

class ByteSource {
public:
    ByteSource() = default;
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    // Opens path for reading. Fails (and sets the fail state) when the source
    // is already open, the path cannot be opened, or it names no file of bytes
    // (a directory, a FIFO, a character device; refused without blocking). On
    // success the state is cleared and the position is 0.
    bool open(const std::string& path);
    bool is_open() const { return mFile.IsOpen(); }
    // Closes the file; closing a source that is not open sets the fail state.
    void close();

    bool good() const { return mState == 0; }
    bool eof() const { return (mState & kEof) != 0; }
    bool fail() const { return (mState & (kFail | kBad)) != 0; }
    bool bad() const { return (mState & kBad) != 0; }
    explicit operator bool() const { return !fail(); }
    bool operator!() const { return fail(); }
    void clear() { mState = 0; }
    void setFail() { mState |= kFail; }

    // The read position, or -1 while the fail state is set.
    int64_t tellg() const { return fail() ? -1 : static_cast<int64_t>(mPos); }
    // Moves the read position (from the start, the current position or the end).
    // A target before the start sets the fail state; one past the end is allowed
    // and the next read then hits the end of the file.
    ByteSource& seekg(int64_t pos) { return seekg(pos, std::ios_base::beg); }
    ByteSource& seekg(int64_t offset, std::ios_base::seekdir dir);

    // Reads one byte. At the end of the file sets end-of-file and fail.
    ByteSource& get(uint8_t& byte);
    // Reads up to n bytes; gcount() tells how many arrived. Fewer than n sets
    // end-of-file and fail.
    ByteSource& read(void* dst, uint64_t n);
    uint64_t gcount() const { return mGcount; }
    // As read(dst, n), but only the first keep bytes are stored in dst (with the
    // shortcuts off all n are). Position, gcount and state are those of read.
    ByteSource& read(void* dst, uint64_t n, uint64_t keep);

    // The bytes already buffered at the read position, at most max of them, in
    // *n; the pointer stays valid until the next read or seek. Empty (*n = 0)
    // unless the state is good, and always with the shortcuts off.
    const uint8_t* Buffered(uint64_t max, uint64_t* n) const;
    // Moves the read position over n of the bytes Buffered() showed, as n
    // get() calls would.
    void Advance(uint64_t n) { mPos += n; }

    // Process-wide switch for the shortcuts above (on by default).
    static void SetShortcuts(bool on) { sShortcuts.store(on, std::memory_order_relaxed); }
    static bool Shortcuts() { return sShortcuts.load(std::memory_order_relaxed); }

    // One positioned read of up to n bytes at offset into dst, without touching
    // the read position or the state. Returns the bytes read (short at the end
    // of the file or on an error).
    uint64_t ReadAt(uint64_t offset, void* dst, uint64_t n) const { return mFile.ReadAt(offset, dst, n); }

    // Current size of the open file in bytes (0 when not open).
    uint64_t size() const { return mFile.Size(); }

    // The open file, for moving units straight into client buffers.
    const File& file() const { return mFile; }

private:
    static constexpr uint8_t kEof = 1;
    static constexpr uint8_t kFail = 2;
    static constexpr uint8_t kBad = 4;
    static constexpr uint64_t kReadAhead = 64 * 1024;
    static constexpr uint64_t kPage = 4096;

    // Refills the read-ahead buffer at mPos; false at the end or on an error
    // (with the state set accordingly).
    bool Refill();

    static std::atomic<bool> sShortcuts;

    File mFile;
    uint64_t mPos = 0;        // read position
    uint64_t mBufStart = 0;   // file offset of mBuf[0]
    uint64_t mBufLen = 0;     // valid bytes in mBuf
    uint64_t mGcount = 0;
    uint8_t mState = 0;
    // Read-ahead block: kReadAhead bytes, or the whole file in pages when it is
    // smaller (sized at open), so a small input costs no large block.
    uint64_t mReadAhead = kReadAhead;
    std::vector<uint8_t> mBuf;
};

}  // namespace tessaro
