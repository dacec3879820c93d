// tessaro_floor: the floor of a client pattern. The client's own work per
// buffer plus the cheapest copy any library could make: the input cut into as
// many equal pieces as it has frames, each piece pread into a staging block
// and pwritten through the buffer's descriptor.
//
//   tessaro_floor <fixed|pool|exact|fresh> <pieces> --in FILE [--out FILE]
//   tessaro_floor <fixed|pool|exact|fresh> <pieces> --piece BYTES [--out FILE]
//   tessaro_floor <fixed|pool|exact|fresh> <pieces> --in FILE --touch 1
//
// --in: pieces of the input file (a parser). --piece: pieces of BYTES from the
// staging block itself, nothing read (a pattern generator). --out: every piece
// read back through the descriptor and appended to FILE (a writer draining the
// buffer). --touch 1: before the pieces, the whole input is mapped and one
// byte of every 64 read: the least that reading it for an index through a
// mapping costs (no copy, no search). Prints the driver's line: buffers,
// bytes, seconds, peak RSS.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ClientPattern.h"

namespace {

struct Options {
    bench::Pattern pattern = bench::Pattern::kFixed;
    uint64_t pieces = 0;
    std::string in, out;
    uint64_t pieceBytes = 0;
    bool touch = false;
};

bool Parse(int argc, char** argv, Options* o) {
    if (argc < 5 || !bench::ParsePattern(argv[1], &o->pattern)) return false;
    o->pieces = std::stoull(argv[2]);
    for (int i = 3; i + 1 < argc; i += 2) {
        const std::string flag = argv[i];
        if (flag == "--in") o->in = argv[i + 1];
        else if (flag == "--out") o->out = argv[i + 1];
        else if (flag == "--piece") o->pieceBytes = std::stoull(argv[i + 1]);
        else if (flag == "--touch") o->touch = std::strcmp(argv[i + 1], "0") != 0;
        else return false;
    }
    return o->pieces != 0 && (!o->in.empty() || o->pieceBytes != 0);
}

uint64_t SizeOf(int fd) {
    struct stat st {};
    return fstat(fd, &st) == 0 ? static_cast<uint64_t>(st.st_size) : 0;
}

// Reads one byte of every 64 of the input through a mapping (volatile loads,
// which the compiler keeps).
bool Touch(int fd) {
    const uint64_t size = SizeOf(fd);
    if (size == 0) return true;
    void* map = mmap(nullptr, size, PROT_READ, MAP_SHARED, fd, 0);
    if (map == MAP_FAILED) return false;
    const volatile uint8_t* bytes = static_cast<const uint8_t*>(map);
    for (uint64_t i = 0; i < size; i += 64) (void)bytes[i];
    munmap(map, size);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    Options o;
    if (!Parse(argc, argv, &o)) {
        std::fprintf(stderr, "usage: tessaro_floor <fixed|pool|exact|fresh> <pieces> "
                             "(--in FILE [--touch 1] | --piece BYTES) [--out FILE]\n");
        return 2;
    }
    const auto start = std::chrono::steady_clock::now();
    const int in = o.in.empty() ? -1 : open(o.in.c_str(), O_RDONLY | O_CLOEXEC);
    const int out = o.out.empty() ? -1 : open(o.out.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if ((!o.in.empty() && in < 0) || (!o.out.empty() && out < 0)) return 1;
    if (o.touch && (in < 0 || !Touch(in))) return 1;
    const uint64_t piece = in >= 0 ? SizeOf(in) / o.pieces : o.pieceBytes;
    std::vector<uint8_t> staging(piece, 0x5A);
    bench::ClientPattern client(o.pattern, (piece + 4095) / 4096 * 4096, 0);
    uint64_t bytes = 0;
    for (uint64_t i = 0; i < o.pieces; ++i) {
        const std::shared_ptr<tessaro::Buffer> buffer = client.Next(piece);
        if (!buffer) return 1;
        if (in >= 0 && pread(in, staging.data(), piece, static_cast<off_t>(i * piece)) != static_cast<ssize_t>(piece)) return 1;
        if (pwrite(buffer->mFd, staging.data(), piece, buffer->mMapOffset) != static_cast<ssize_t>(piece)) return 1;
        if (out >= 0 && (pread(buffer->mFd, staging.data(), piece, buffer->mMapOffset) != static_cast<ssize_t>(piece) ||
                         write(out, staging.data(), piece) != static_cast<ssize_t>(piece))) {
            return 1;
        }
        bytes += piece;
    }
    if (in >= 0) close(in);
    if (out >= 0) close(out);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("buffers %llu bytes %llu init_s 0 total_s %.4f peak_rss_kib %ld client_buffer_kib %llu\n",
                static_cast<unsigned long long>(o.pieces), static_cast<unsigned long long>(bytes), seconds,
                usage.ru_maxrss, static_cast<unsigned long long>(piece / 1024));
    return 0;
}
