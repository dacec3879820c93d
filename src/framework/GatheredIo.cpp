#include "framework/GatheredIo.h"

#include <climits>
#include <cerrno>

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
        return preadv(fd, first, count, static_cast<off_t>(offset + done));
    });
}

uint64_t WriteGathered(int fd, std::vector<iovec>& pieces) {
    return TransferAll(pieces, [fd](const iovec* first, int count, uint64_t) {
        return writev(fd, first, count);
    });
}

}  // namespace tessaro
