// Gathered file I/O: a list of memory pieces read from or written to a file in
// as few system calls as the kernel allows, short transfers continued.
#pragma once

#include <sys/uio.h>

#include <cstdint>
#include <vector>

namespace tessaro {

// Reads the pieces one after the other from fd at offset, without moving the
// descriptor's position. Returns the bytes read: fewer than the pieces hold at
// the end of the file or on an error. The pieces are consumed (modified).
uint64_t ReadGathered(int fd, std::vector<iovec>& pieces, uint64_t offset);

// Writes the pieces one after the other at fd's position. Returns the bytes
// written: fewer than the pieces hold on an error. The pieces are consumed.
uint64_t WriteGathered(int fd, std::vector<iovec>& pieces);

}  // namespace tessaro
