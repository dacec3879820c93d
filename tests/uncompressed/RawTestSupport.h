// Helpers shared by the raw reader, generator and writer tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "support/ClientBuffer.h"
#include "support/Probe.h"
#include "support/TestPaths.h"
#include "tessaro/ConfigParam.h"

namespace tessaro::test {

struct Geometry {
    uint32_t width;
    uint32_t height;
    uint32_t stride;
    uint32_t scanlines;
};

inline ConfigParam RawConfig(const Geometry& g, uint32_t frames = 0, uint32_t superFrame = 1) {
    ConfigParam c{};
    c.mWidth = g.width;
    c.mHeight = g.height;
    c.mStride = g.stride;
    c.mScanlines = g.scanlines;
    c.mFrames = frames;
    c.mSuperFrame = superFrame;
    return c;
}

// Configures, starts and sizes a processor; returns GetBufferLength().
template <typename P>
uint32_t Start(P& processor, ConfigParam config) {
    EXPECT_EQ(processor.SetConfig(config), 0);
    EXPECT_EQ(processor.Init(), 0);
    return processor.GetBufferLength();
}

// `count` pictures of `size` bytes; every byte of picture k is (k + 1) * 16 +
// its offset modulo 13, so a picture and a position in it can be told apart.
inline std::string NumberedPictures(uint32_t count, uint32_t size) {
    std::string bytes;
    for (uint32_t k = 0; k < count; ++k) {
        for (uint32_t i = 0; i < size; ++i) bytes.push_back(static_cast<char>((k + 1) * 16 + i % 13));
    }
    return bytes;
}

// Which numbered picture a delivered buffer starts with.
inline int PictureNumber(const Buffer& buffer) {
    return ReadAll(buffer).at(0) / 16 - 1;
}

inline std::vector<uint8_t> Bytes(const std::string& s) { return {s.begin(), s.end()}; }

// The whole content of a file as bytes (empty if it cannot be read).
inline std::vector<uint8_t> FileBytes(const std::string& path) { return Bytes(ReadFile(path)); }

}  // namespace tessaro::test
