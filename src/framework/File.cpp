#include "framework/File.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

namespace tessaro {
namespace {

// One system call moves at most this much; larger transfers take several.
constexpr uint64_t kMaxChunk = uint64_t{1} << 30;

// Repeats move(done, chunk) until n bytes are moved or it moves nothing;
// interrupted calls are repeated. Returns the bytes moved; *error (if given)
// is set when the last call failed.
template <typename Move>
uint64_t MoveAll(uint64_t n, Move move, bool* error = nullptr) {
    uint64_t done = 0;
    if (error != nullptr) *error = false;
    while (done < n) {
        const uint64_t chunk = n - done < kMaxChunk ? n - done : kMaxChunk;
        const ssize_t moved = move(done, static_cast<size_t>(chunk));
        if (moved < 0 && errno == EINTR) continue;
        if (moved < 0 && error != nullptr) *error = true;
        if (moved <= 0) break;
        done += static_cast<uint64_t>(moved);
    }
    return done;
}

// Runs transfer(first piece, piece count, bytes so far) until every piece is
// done or it moves nothing; a piece moved in part is trimmed and taken up again.
template <typename Transfer>
uint64_t MovePieces(std::vector<iovec>& pieces, Transfer transfer) {
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

// Kinds of files that have no end or would block an open: refused as inputs.
bool IsStreamLike(mode_t mode) { return S_ISFIFO(mode) || S_ISCHR(mode) || S_ISDIR(mode); }

int OpenRetrying(const char* path, int flags) {
    for (;;) {
        const int fd = ::open(path, flags, 0666);
        if (fd >= 0 || errno != EINTR) return fd;
    }
}

}  // namespace

File::~File() { Close(); }

File::File(File&& other) noexcept : mFd(other.mFd) { other.mFd = -1; }

File& File::operator=(File&& other) noexcept {
    if (this != &other) {
        Close();
        mFd = other.mFd;
        other.mFd = -1;
    }
    return *this;
}

bool File::Adopt(int fd) {
    if (fd < 0) return false;
    mFd = fd;
    return true;
}

bool File::OpenForReading(const std::string& path) {
    if (mFd >= 0) return false;
    // Non-blocking, so that a FIFO without a writer cannot hold the open.
    const int fd = OpenRetrying(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return false;
    struct stat st {};
    const bool refused = fstat(fd, &st) != 0 || IsStreamLike(st.st_mode);
    const int flags = refused ? -1 : fcntl(fd, F_GETFL);
    if (refused || flags < 0 || fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0) {
        ::close(fd);
        return false;
    }
    return Adopt(fd);
}

bool File::OpenForWriting(const std::string& path, bool readBack) {
    if (mFd >= 0) return false;
    const int access = readBack ? O_RDWR : O_WRONLY;
    return Adopt(OpenRetrying(path.c_str(), access | O_CREAT | O_TRUNC | O_CLOEXEC));
}

bool File::Close() {
    if (mFd < 0) return false;
    const int fd = mFd;
    mFd = -1;
    // The descriptor is gone after close whatever it reports; never retried.
    return ::close(fd) == 0;
}

uint64_t File::Size() const {
    struct stat st {};
    if (mFd < 0 || fstat(mFd, &st) != 0 || st.st_size < 0) return 0;
    return static_cast<uint64_t>(st.st_size);
}

uint64_t File::ReadAt(uint64_t offset, void* dst, uint64_t n, bool* error) const {
    return ReadAt(mFd, offset, dst, n, error);
}

uint64_t File::ReadAt(int fd, uint64_t offset, void* dst, uint64_t n, bool* error) {
    if (error != nullptr) *error = fd < 0;
    if (fd < 0 || offset > static_cast<uint64_t>(INT64_MAX)) return 0;
    auto* out = static_cast<uint8_t*>(dst);
    return MoveAll(
        n,
        [fd, out, offset](uint64_t done, size_t chunk) {
            return pread(fd, out + done, chunk, static_cast<off_t>(offset + done));
        },
        error);
}

uint64_t File::ReadGatheredAt(std::vector<iovec>& pieces, uint64_t offset) const {
    if (mFd < 0 || offset > static_cast<uint64_t>(INT64_MAX)) return 0;
    return MovePieces(pieces, [this, offset](const iovec* first, int count, uint64_t done) {
#if defined(__ANDROID__) && __ANDROID_API__ < 24
        // Platforms before API 24 have no preadv: one piece a call.
        (void)count;
        return pread(mFd, first->iov_base, first->iov_len, static_cast<off_t>(offset + done));
#else
        return preadv(mFd, first, count, static_cast<off_t>(offset + done));
#endif
    });
}

uint64_t File::WriteAt(uint64_t offset, const void* src, uint64_t n) const {
    return WriteAt(mFd, offset, src, n);
}

uint64_t File::WriteAt(int fd, uint64_t offset, const void* src, uint64_t n) {
    if (fd < 0 || offset > static_cast<uint64_t>(INT64_MAX)) return 0;
    const auto* in = static_cast<const uint8_t*>(src);
    return MoveAll(n, [fd, in, offset](uint64_t done, size_t chunk) {
        return pwrite(fd, in + done, chunk, static_cast<off_t>(offset + done));
    });
}

uint64_t File::Write(const void* src, uint64_t n) const {
    if (mFd < 0) return 0;
    const auto* in = static_cast<const uint8_t*>(src);
    return MoveAll(n, [this, in](uint64_t done, size_t chunk) { return write(mFd, in + done, chunk); });
}

uint64_t File::WriteGathered(std::vector<iovec>& pieces) const {
    if (mFd < 0) return 0;
    return MovePieces(pieces, [this](const iovec* first, int count, uint64_t) {
        return writev(mFd, first, count);
    });
}

}  // namespace tessaro
