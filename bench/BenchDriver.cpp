// tessaro_bench: times what a harness waits for, as a client does it.
//
//   tessaro_bench parse <key> <input> [--byte-at-a-time] [--log] [--index-only] [--verify]
//       Init (the whole input is indexed) and Process until end of stream,
//       every frame delivered into a linear memfd buffer (--index-only:
//       Init and DeInit alone; --verify: every delivered buffer is compared
//       with the bytes its frame's units cover, read straight from the file).
//   tessaro_bench raw <in.nv12> <out.nv12> <W>x<H> <stride> <scanlines>
//       Parse/NV12 into padded graphic buffers, Write/UnCompressed back unpadded.
//   tessaro_bench pattern <W>x<H> <frames> <stride> <scanlines>
//       Pattern/NV12 frames into a graphic buffer.
//
// --staged: units travel through the staging block instead of the pipe, as on
// a kernel that refuses to splice.
// --pattern fixed|pool|exact|fresh picks how the client hands buffers over
// (ClientPattern.h; fixed when not given). exact and fresh ask the producer's
// GetBufferLength() before every call, as such a client must.
//
// Prints one line: buffers, bytes, seconds (Init to DeInit), peak RSS in KiB
// and the client's buffer bytes. Without --log the client silences the log
// (liblog drops the lines before formatting them), as a harness that does not
// want them would; with --log lines go where liblog sends them on this host.
#include <android/log.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fcntl.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "ClientPattern.h"
#include "framework/ByteSource.h"
#include "compressed/StreamParserCompressed.h"
#include "framework/ClientBufferIo.h"
#include "tessaro/Tessaro.h"

namespace {

using tessaro::Buffer;

long PeakRssKiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

bool HasFlag(int argc, char** argv, const char* flag) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], flag) == 0) return true;
    }
    return false;
}

// The value after flag, or fallback.
const char* FlagValue(int argc, char** argv, const char* flag, const char* fallback) {
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], flag) == 0) return argv[i + 1];
    }
    return fallback;
}

int Fail(const char* what, int32_t status) {
    std::fprintf(stderr, "tessaro_bench: %s returned %d\n", what, status);
    return 1;
}

struct Totals {
    uint64_t buffers = 0;
    uint64_t bytes = 0;
    int verifyFd = -1;          // the input, when delivered bytes are checked
    uint64_t mismatches = 0;    // buffers whose bytes differ from the input
    uint64_t highestOffset = 0; // largest input offset checked
    const tessaro::StreamParserCompressed* table = nullptr;
};

// Compares the buffer with the units of frame number totals.buffers, read
// from the input file at the offsets the parser's table holds.
void Verify(const Buffer& buffer, Totals& totals) {
    const auto& frames = totals.table->frameOffsetTable();
    auto frame = frames.find(static_cast<uint32_t>(totals.buffers));
    std::string expected;
    if (frame != frames.end()) {
        for (const auto& unit : frame->second) {
            std::string bytes(unit.mLength, '\0');
            if (pread(totals.verifyFd, bytes.data(), bytes.size(), static_cast<off_t>(unit.mOffset)) !=
                static_cast<ssize_t>(bytes.size())) {
                bytes.clear();
            }
            expected += bytes;
            if (unit.mOffset > totals.highestOffset) totals.highestOffset = unit.mOffset;
        }
    }
    std::string got(buffer.mLength, '\0');
    const bool ok = pread(buffer.mFd, got.data(), got.size(), buffer.mMapOffset) ==
                        static_cast<ssize_t>(got.size()) &&
                    got == expected;
    if (!ok) ++totals.mismatches;
}

// Process into the client's buffers until one comes back flagged end of stream
// (or, with limit, after limit buffers); each filled buffer goes to writer if
// given.
int Drain(tessaro::TessaroInterface& producer, tessaro::TessaroInterface* writer,
          bench::ClientPattern& client, uint64_t limit, Totals& totals) {
    for (;;) {
        const uint32_t needed = client.NeedsSize() ? producer.GetBufferLength() : 0;
        if (static_cast<int32_t>(needed) < 0) return Fail("GetBufferLength", static_cast<int32_t>(needed));
        const std::shared_ptr<Buffer> buffer = client.Next(needed != 0 ? needed : 1);
        if (!buffer) return Fail("client buffer", -1);
        buffer->mLength = 0;
        buffer->mFlags = 0;
        const int32_t status = producer.Process(buffer);
        if (status != tessaro::TS_OK) return Fail("Process", status);
        ++totals.buffers;
        if (totals.verifyFd >= 0 && buffer->mLength != 0) Verify(*buffer, totals);
        totals.bytes += buffer->mLength;
        if (writer != nullptr && buffer->mLength != 0) {
            const int32_t written = writer->Process(buffer);
            if (written != tessaro::TS_OK) return Fail("writer Process", written);
        }
        if ((buffer->mFlags & Buffer::FLAG_EOS) != 0) return 0;
        if (limit != 0 && totals.buffers >= limit) return 0;
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr,
                     "usage: tessaro_bench parse <key> <input> [--byte-at-a-time] [--log] [--index-only] [--verify] [--staged]\n"
                     "       tessaro_bench raw <in> <out> <W>x<H> <stride> <scanlines>\n"
                     "       tessaro_bench pattern <W>x<H> <frames> <stride> <scanlines>\n");
        return 2;
    }
    if (!HasFlag(argc, argv, "--log")) __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    if (HasFlag(argc, argv, "--byte-at-a-time")) tessaro::ByteSource::SetShortcuts(false);
    if (HasFlag(argc, argv, "--staged")) tessaro::ClientBufferIo::SetSplice(false);

    const std::string mode = argv[1];
    auto factory = tessaro::TessaroFactory::getInstance();
    tessaro::ConfigParam config{};
    std::shared_ptr<tessaro::TessaroInterface> producer;
    std::shared_ptr<tessaro::TessaroInterface> writer;
    uint64_t capacity = 0;
    uint64_t limit = 0;
    bench::Pattern pattern = bench::Pattern::kFixed;
    if (!bench::ParsePattern(FlagValue(argc, argv, "--pattern", "fixed"), &pattern)) {
        std::fprintf(stderr, "tessaro_bench: unknown --pattern\n");
        return 2;
    }

    if (mode == "parse" && argc >= 4) {
        producer = factory->getProcessorInstance(argv[2]);
        config.mInputFileName = argv[3];
        capacity = 32u << 20;
    } else if ((mode == "raw" && argc >= 7) || (mode == "pattern" && argc >= 6)) {
        const bool raw = mode == "raw";
        const char* size = raw ? argv[4] : argv[2];
        if (std::sscanf(size, "%ux%u", &config.mWidth, &config.mHeight) != 2) return 2;
        config.mStride = static_cast<uint32_t>(std::stoul(argv[raw ? 5 : 4]));
        config.mScanlines = static_cast<uint32_t>(std::stoul(argv[raw ? 6 : 5]));
        config.mPixFormat = 1;
        if (raw) {
            producer = factory->getProcessorInstance("Parse/NV12");
            config.mInputFileName = argv[2];
            writer = factory->getProcessorInstance("Write/UnCompressed");
            tessaro::ConfigParam out = config;
            out.mInputFileName.clear();
            out.mOutputFileName = argv[3];
            if (!writer || writer->SetConfig(out) != tessaro::TS_OK) return Fail("writer SetConfig", -1);
        } else {
            producer = factory->getProcessorInstance("Pattern/NV12");
            config.mFrames = static_cast<uint32_t>(std::stoul(argv[3]));
            limit = config.mFrames;
        }
    } else {
        std::fprintf(stderr, "tessaro_bench: unknown mode or missing arguments\n");
        return 2;
    }
    if (!producer) return Fail("getProcessorInstance", -1);

    const auto start = std::chrono::steady_clock::now();
    int32_t status = producer->SetConfig(config);
    if (status == tessaro::TS_OK) status = producer->Init();
    if (status != tessaro::TS_OK) return Fail("SetConfig/Init", status);
    if (writer && (status = writer->Init()) != tessaro::TS_OK) return Fail("writer Init", status);
    const uint32_t type = capacity == 0 ? 1 : 0;
    if (capacity == 0) {
        // Raw pictures: the producer sizes the graphic buffer, as a harness asks it to.
        const uint32_t needed = producer->GetBufferLength();
        if (static_cast<int32_t>(needed) <= 0) return Fail("GetBufferLength", static_cast<int32_t>(needed));
        capacity = (uint64_t{needed} + 4095) / 4096 * 4096;
    }
    bench::ClientPattern client(pattern, capacity, type);
    const auto indexed = std::chrono::steady_clock::now();
    Totals totals;
    if (HasFlag(argc, argv, "--verify")) {
        totals.table = dynamic_cast<const tessaro::StreamParserCompressed*>(producer.get());
        if (totals.table == nullptr) return Fail("--verify needs a compressed parser", -1);
        totals.verifyFd = open(config.mInputFileName.c_str(), O_RDONLY);
    }
    const int result = HasFlag(argc, argv, "--index-only")
                           ? 0
                           : Drain(*producer, writer.get(), client, limit, totals);
    if (writer) writer->DeInit();
    producer->DeInit();
    const auto end = std::chrono::steady_clock::now();
    if (result != 0) return result;
    if (totals.verifyFd >= 0) {
        std::printf("verified %llu buffers, highest unit offset %llu, mismatches %llu\n",
                    static_cast<unsigned long long>(totals.buffers),
                    static_cast<unsigned long long>(totals.highestOffset),
                    static_cast<unsigned long long>(totals.mismatches));
        close(totals.verifyFd);
        if (totals.mismatches != 0) return 1;
    }

    const double initSeconds = std::chrono::duration<double>(indexed - start).count();
    const double seconds = std::chrono::duration<double>(end - start).count();
    std::printf("buffers %llu bytes %llu init_s %.4f total_s %.4f peak_rss_kib %ld client_buffer_kib %llu\n",
                static_cast<unsigned long long>(totals.buffers),
                static_cast<unsigned long long>(totals.bytes), initSeconds, seconds, PeakRssKiB(),
                static_cast<unsigned long long>(capacity / 1024));
    return 0;
}
