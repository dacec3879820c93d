// OutputStream: an output file with the rules of a binary output file stream.
//
// The compressed writer's statuses depend on when its stream passes bytes on
// and on the stream's sticky state, so this class keeps those rules on top of
// File: writes shorter than 1 KiB that fit are gathered in an 8 KiB block, any
// other write goes out at once together with what the block holds; a write
// that does not get all its bytes out sets the bad state, a write in any state
// other than good sets the fail state and writes nothing; close() passes the
// block on and closes, and sets the fail state when there is nothing to close
// or the block cannot be passed on. open() clears the state on success.
#pragma once

#include <sys/uio.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "framework/File.h"

namespace tessaro {

class OutputStream {
public:
    OutputStream() = default;
    ~OutputStream();  // passes the block on and closes, as close() does
    OutputStream(const OutputStream&) = delete;
    OutputStream& operator=(const OutputStream&) = delete;

    // Creates or empties path for writing. Fails (fail state) when already open
    // or the file cannot be opened.
    bool open(const std::string& path);
    bool is_open() const { return mFile.IsOpen(); }
    void close();

    bool good() const { return mState == 0; }
    bool fail() const { return (mState & (kFail | kBad)) != 0; }
    bool bad() const { return (mState & kBad) != 0; }

    // Appends n bytes of src; see the class comment for when they go out.
    OutputStream& write(const void* src, uint64_t n);

private:
    static constexpr uint8_t kFail = 2;
    static constexpr uint8_t kBad = 4;
    static constexpr uint64_t kBlockBytes = 8192;  // one more than the block holds
    static constexpr uint64_t kDirectFrom = 1024;

    // Hands n bytes on; returns how many of them were taken.
    uint64_t Put(const uint8_t* src, uint64_t n);
    // Writes the block out; false when not all of it went.
    bool PassBlockOn();

    File mFile;
    std::unique_ptr<uint8_t[]> mBlock;
    uint64_t mFill = 0;      // bytes waiting in mBlock
    bool mWriting = false;   // mBlock is in use since the last open
    std::vector<iovec> mPieces;  // the block and the caller's bytes, for one gathered write
    uint8_t mState = 0;
};

}  // namespace tessaro
