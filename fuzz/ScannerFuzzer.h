// The body of every scanner fuzz target: the input becomes a file, the parser
// indexes it (whole frames and slices) and delivers it into client buffers of
// the size it announces, until the end of the stream or 64 buffers.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "compressed/StreamParserCompressed.h"

namespace tessaro::fuzz {

// A client buffer on a fresh memfd of `capacity` bytes.
inline std::shared_ptr<Buffer> MakeBuffer(uint64_t capacity) {
    auto buffer = std::shared_ptr<Buffer>(new Buffer(), [](Buffer* b) {
        if (b->mFd >= 0) close(b->mFd);
        delete b;
    });
    buffer->mFd = memfd_create("tessaro-fuzz", 0);
    if (buffer->mFd < 0 || ftruncate(buffer->mFd, static_cast<off_t>(capacity)) != 0)
        return nullptr;
    buffer->mCapacity = capacity;
    return buffer;
}

template <class Parser>
int RunScanner(const uint8_t* data, size_t size, const char* extension) {
    const std::string path = "/tmp/tessaro-fuzz-" + std::to_string(getpid()) + extension;
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) return 0;
    const bool written = std::fwrite(data, 1, size, file) == size;
    std::fclose(file);
    for (bool sliceMode : {false, true}) {
        if (!written) break;
        Parser parser;
        ConfigParam config;
        config.mInputFileName = path;
        config.mSliceMode = sliceMode;
        parser.SetConfig(config);
        if (parser.Init() != TS_OK) continue;
        for (int call = 0; call < 64; ++call) {
            const uint32_t needed = parser.GetBufferLength();
            if (static_cast<int32_t>(needed) < 0) break;
            auto buffer = MakeBuffer(needed == 0 ? 1 : needed);
            if (buffer == nullptr) break;
            if (parser.Process(buffer) != TS_OK || (buffer->mFlags & Buffer::FLAG_EOS)) break;
        }
        parser.DeInit();
    }
    std::remove(path.c_str());
    return 0;
}

}  // namespace tessaro::fuzz
