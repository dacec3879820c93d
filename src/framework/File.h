// File: the one way the library reads and writes files.
//
// A file descriptor, owned and closed exactly once, with positioned and
// gathered reads and writes. Every transfer loops over interrupted calls
// (EINTR) and short transfers here, so callers see one result: the bytes
// moved, fewer than asked only at the end of the file or on an error.
//
// Positioned operations (ReadAt, WriteAt, ReadGatheredAt) neither use nor move
// the descriptor's position. Sequential writes (Write, WriteGathered) append
// at the descriptor's position, so an output that is not seekable (a pipe)
// works as it would with a stream. Stream rules (end-of-file and fail states)
// belong to the callers that need them.
#pragma once

#include <sys/uio.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tessaro {

class File {
public:
    File() = default;
    ~File();
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    File(File&& other) noexcept;
    File& operator=(File&& other) noexcept;

    // Opens path for reading. Refuses, without blocking, what is not a file of
    // bytes with an end: a FIFO, a character device, a directory. False when
    // already open or refused (nothing is then held).
    bool OpenForReading(const std::string& path);
    // Opens path for writing, created if missing and emptied; with `readBack`
    // the file can be read as well. False when already open or not opened.
    bool OpenForWriting(const std::string& path, bool readBack = false);
    // Closes the descriptor; false when none was open or close reported an error.
    bool Close();

    bool IsOpen() const { return mFd >= 0; }
    int fd() const { return mFd; }
    // Size of the open file in bytes (0 when not open or not measurable).
    uint64_t Size() const;

    // Reads up to n bytes at offset into dst. Returns the bytes read; *error (if
    // given) tells whether a short read was an error rather than the end.
    uint64_t ReadAt(uint64_t offset, void* dst, uint64_t n, bool* error = nullptr) const;
    // Reads the pieces one after the other starting at offset. Returns the bytes
    // read. The pieces are consumed (modified).
    uint64_t ReadGatheredAt(std::vector<iovec>& pieces, uint64_t offset) const;
    // Writes n bytes of src at offset. Returns the bytes written.
    uint64_t WriteAt(uint64_t offset, const void* src, uint64_t n) const;
    // Writes n bytes of src at the descriptor's position. Returns the bytes written.
    uint64_t Write(const void* src, uint64_t n) const;
    // Writes the pieces one after the other at the descriptor's position.
    // Returns the bytes written. The pieces are consumed (modified).
    uint64_t WriteGathered(std::vector<iovec>& pieces) const;

    // The same positioned transfers on a descriptor the caller owns (a client
    // buffer's memory): not closed, not moved.
    static uint64_t ReadAt(int fd, uint64_t offset, void* dst, uint64_t n, bool* error = nullptr);
    static uint64_t WriteAt(int fd, uint64_t offset, const void* src, uint64_t n);

private:
    bool Adopt(int fd);

    int mFd = -1;
};

}  // namespace tessaro
