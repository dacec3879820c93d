// Shared pieces of the fuzz targets: the input written to a file, client
// buffers, configurations drawn from the data, and a driver that runs a
// producer as a harness would.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <memory>
#include <string>

#include "tessaro/Tessaro.h"

namespace tessaro::fuzz {

// The bytes in a file (in /dev/shm when available) with the given suffix. One
// file per suffix serves the whole process: rewritten here, removed at exit.
class InputFile {
public:
    InputFile(const uint8_t* data, size_t size, const std::string& suffix);
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    const std::string& path() const { return mPath; }

private:
    std::string mPath;
};

// A memfd-backed client buffer, its capacity capped to keep runs fast.
std::shared_ptr<Buffer> MakeBuffer(uint64_t capacity, uint32_t type);

// Raw readers and generators: frame limit, slice fields, loop/repeat, delivery
// mode, super-frame, geometry, flags and frame rate over small ranges.
ConfigParam DrawConfig(FuzzedDataProvider& fdp);

// A 32-bit value: small, 16-bit, any, or an extreme (0, 1, 2^31 - 1, 2^31,
// 2^32 - 2, 2^32 - 1), each about as often.
uint32_t DrawWide(FuzzedDataProvider& fdp);

// Compressed parsers: every field of the record across its whole range (DrawWide).
ConfigParam DrawCompressedConfig(FuzzedDataProvider& fdp);

// SetConfig and Init, then up to `maxCalls` Process calls with buffers of the
// announced (or a drawn) size, a seek in between (mode 1 or 2 to a frame up to
// 50, or with wideSeek any mode and frame), then DeInit. Stops at EOS or an
// error status; aborts on a delivery past the buffer.
void DriveProducer(TessaroInterface& processor, ConfigParam config, FuzzedDataProvider& fdp,
                   uint32_t bufferType, int maxCalls, bool wideSeek = false);

}  // namespace tessaro::fuzz
