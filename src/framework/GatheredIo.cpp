#include "framework/GatheredIo.h"

#include <unistd.h>

#include <cerrno>
#include <climits>

namespace tessaro {

namespace {

// Runs transfer(first piece, piece count) until every piece is done or it
// moves nothing; a piece moved in part is trimmed and taken up again.
template <typename Transfer>
uint64_t TransferAll(std::vector<iovec>& pieces, Transfer transfer) {
    uint64_t total = 0;
    size_t first = 0;
    while (first < pieces.size()) {
        if (pieces[first].iov_len == 0) {
            ++first;
            continue;
        }
        const size_t count = pieces.size() - first < IOV_MAX ? pieces.size() - first : IOV_MAX;
        const ssize_t moved = transfer(&pieces[first], static_cast<int>(count), total);
        if (moved < 0 && errno == EINTR) continue;
        if (moved <= 0) break;
        total += static_cast<uint64_t>(moved);
        for (size_t left = static_cast<size_t>(moved); left != 0;) {
            iovec& piece = pieces[first];
            const size_t step = left < piece.iov_len ? left : piece.iov_len;
            piece.iov_base = static_cast<char*>(piece.iov_base) + step;
            piece.iov_len -= step;
            left -= step;
            if (piece.iov_len == 0) ++first;
        }
    }
    return total;
}

}  // namespace

uint64_t ReadGathered(int fd, std::vector<iovec>& pieces, uint64_t offset) {
    return TransferAll(pieces, [fd, offset](const iovec* first, int count, uint64_t done) {
#if defined(__ANDROID__) && __ANDROID_API__ < 24
        // Platforms before API 24 have no preadv: one piece a call.
        (void)count;
        return pread(fd, first->iov_base, first->iov_len, static_cast<off_t>(offset + done));
#else
        return preadv(fd, first, count, static_cast<off_t>(offset + done));
#endif
    });
}

uint64_t WriteGathered(int fd, std::vector<iovec>& pieces) {
    return TransferAll(pieces, [fd](const iovec* first, int count, uint64_t) {
        return writev(fd, first, count);
    });
}

}  // namespace tessaro
