// Shared pieces of the fuzz targets: the input written to a file, client
// buffers, and a driver that runs a producer as a harness would.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <memory>
#include <string>

#include "tessaro/Tessaro.h"

namespace tessaro::fuzz {

// Writes bytes to a fresh file (in /dev/shm when available) with the given
// suffix; removes it on destruction.
class InputFile {
public:
    InputFile(const uint8_t* data, size_t size, const std::string& suffix);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    const std::string& path() const { return mPath; }

private:
    std::string mPath;
};

// A memfd-backed client buffer of `capacity` bytes (the descriptor is closed
// with the last reference). Capacity is capped to keep runs fast.
std::shared_ptr<Buffer> MakeBuffer(uint64_t capacity, uint32_t type);

// A configuration drawn from the fuzz data: frame limit, slice mode, skip and
// order lists, loop/repeat, delivery mode, super-frame, geometry.
ConfigParam DrawConfig(FuzzedDataProvider& fdp);

// A 32-bit value anywhere in its range: small, 16-bit, any, or an extreme
// (0, 1, 2^31 - 1, 2^31, 2^32 - 2, 2^32 - 1), each about as often.
uint32_t DrawWide(FuzzedDataProvider& fdp);

// A configuration for a compressed parser: every field it reads (frame
// counts, super-frame, loop and repeat counts, delivery mode, slice mode,
// loop-forever, skip and order lists) and the rest of the record, each drawn
// across its whole range with DrawWide.
ConfigParam DrawCompressedConfig(FuzzedDataProvider& fdp);

// Runs SetConfig/Init, then up to `maxCalls` Process calls with buffers sized
// by GetBufferLength (or a fuzzed size), optionally a seek in between (mode 1
// or 2 and a frame up to maxSeekFrame, or with wideSeek any mode and frame),
// then DeInit. Stops at EOS or an error status.
void DriveProducer(TessaroInterface& processor, ConfigParam config, FuzzedDataProvider& fdp,
                   uint32_t bufferType, int maxCalls, bool wideSeek = false);

}  // namespace tessaro::fuzz
