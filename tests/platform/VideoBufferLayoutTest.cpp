// The layout library's promises: fixed worked values (the table in
// docs/buffer-layout.md) and room for every byte that the raw
// readers, the pattern generators and the raw writer touch for any picture no
// larger than the buffer's stride and scanlines.
#include <VideoBufferLayout.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <random>
#include <vector>

namespace {

struct Geometry {
    uint32_t width, height, stride, scanlines;
};

std::vector<Geometry> Geometries() {
    std::vector<Geometry> all = {{1, 1, 1, 1}, {2, 2, 2, 2}, {3, 5, 3, 5}, {63, 47, 63, 47}, {64, 48, 96, 64},
                                 {100, 31, 100, 31}, {176, 144, 176, 144}, {175, 143, 192, 160}, {1280, 720, 1280, 720},
                                 {1920, 1080, 2048, 1088}, {1919, 1079, 1919, 1079}, {3840, 2160, 3840, 2160}};
    std::mt19937 random(20261122);  // fixed seed: the same cases every run
    for (int i = 0; i < 400; ++i) {
        Geometry g{};
        g.width = 1 + random() % 700;
        g.height = 1 + random() % 500;
        g.stride = g.width + random() % 300;
        g.scanlines = g.height + random() % 100;
        all.push_back(g);
    }
    return all;
}

// One past the last byte of `rows` rows of `rowBytes` at `pitch` from `offset`.
uint64_t RunEnd(uint64_t offset, uint64_t rows, uint64_t rowBytes, uint64_t pitch) {
    return rows == 0 || rowBytes == 0 ? 0 : offset + (rows - 1) * pitch + rowBytes;
}

// Bytes the file readers write into one picture of a buffer (rows at the
// configured stride, chroma `scanlines` rows down). The raw writer reads a
// subset of these rows (h/2 chroma rows where the readers fill (h+1)/2), so
// this bounds it too; NV21 (2) is laid out as NV12 (0).
uint64_t ReaderEnd(uint32_t format, const Geometry& g) {
    const uint64_t w = g.width, h = g.height, s = g.stride, sl = g.scanlines;
    switch (format) {
        case 0:
        case 2: return std::max(RunEnd(0, h, w, s), RunEnd(sl * s, (h + 1) / 2, w, s));
        case 3: return std::max(RunEnd(0, h, 2 * w, 2 * s), RunEnd(sl * 2 * s, (h + 1) / 2, 2 * w, 2 * s));
        case 6: return std::max(RunEnd(0, h, 2 * w, 2 * s), RunEnd(sl * 2 * s, h, 2 * w, 2 * s));
        case 8:
        case 12: return RunEnd(0, h, 4 * w, 4 * s);
        case 13: return RunEnd(0, h, 8 * w, 8 * s);
    }
    return 0;
}

// Bytes the YUV generators draw: pitch and plane height from the library for
// mWidth and mHeight; any phase, so the bottom-right quadrant bounds them all.
uint64_t YuvGeneratorEnd(uint32_t format, const Geometry& g) {
    const uint64_t pitch = VideoBufferLayout_GetStrideInBytes(format, g.width, 1);
    const uint64_t chromaPitch = VideoBufferLayout_GetStrideInBytes(format, g.width, 3);
    const uint64_t chromaStart = VideoBufferLayout_GetScanlines(format, g.height, 1) * pitch;
    const uint64_t w = g.width, h = g.height;
    const uint64_t luma = RunEnd((h / 2) * pitch + w / 2, h / 2, w / 2, pitch);
    const uint64_t chromaRows = format == 6 ? h / 2 : (h >= 4 ? h / 4 : 0);
    const uint64_t chromaTop = format == 6 ? h / 2 : h / 4;
    const uint64_t chroma = RunEnd(chromaStart + chromaTop * chromaPitch + w / 2, chromaRows, w / 2, chromaPitch);
    return std::max(luma, chroma);
}

const uint32_t kLinearCodes[] = {0, 2, 3, 6, 8, 12, 13};
const uint32_t kTiledCodes[] = {1, 5, 7, 9, 11};

TEST(VideoBufferLayout, LinearSizesCoverEveryByteTouched) {
    for (uint32_t format : kLinearCodes) {
        for (const Geometry& g : Geometries()) {
            SCOPED_TRACE(testing::Message() << "format " << format << " " << g.width << "x" << g.height
                                            << " in " << g.stride << "x" << g.scanlines);
            const uint64_t size = VideoBufferLayout_GetBufferSize(format, g.stride, g.scanlines);
            ASSERT_GE(size, ReaderEnd(format, g));
            if (format == 0 || format == 3 || format == 6) {
                ASSERT_GE(size, YuvGeneratorEnd(format, g));
            }
            if (format == 8 || format == 12) {
                ASSERT_GE(size, uint64_t{g.width} * g.height * 4);  // the packed RGBA pattern
            }
            ASSERT_EQ(size % 4096, 0u);
        }
    }
}

// The picture a tiled reader copies and the block the raw writer writes must
// both fit the buffer sized for the stride and scanlines.
TEST(VideoBufferLayout, TiledSizesHoldThePictureAndGrowWithIt) {
    for (uint32_t format : kTiledCodes) {
        for (const Geometry& g : Geometries()) {
            SCOPED_TRACE(testing::Message() << "format " << format << " " << g.width << "x" << g.height);
            const uint64_t used = VideoBufferLayout_GetBufferSizeUsed(format, g.width, g.height, 0);
            const uint64_t bytesPerRow = format == 5 ? (g.width + 2) / 3 * 4
                                         : format == 1 ? g.width
                                         : format == 7 ? 2 * g.width
                                                       : 4 * g.width;
            const uint64_t chromaRows = format == 7 ? g.height : (format == 1 || format == 5) ? (g.height + 1) / 2 : 0;
            ASSERT_GE(used, bytesPerRow * (g.height + chromaRows));
            ASSERT_EQ(VideoBufferLayout_GetBufferSize(format, g.width, g.height), used);
            ASSERT_LE(used, VideoBufferLayout_GetBufferSize(format, g.stride, g.scanlines));
            ASSERT_GE(VideoBufferLayout_GetBufferSizeUsed(format, g.width, g.height, 1), used);
            ASSERT_GE(VideoBufferLayout_GetStrideInBytes(format, g.width, 1), bytesPerRow);
            ASSERT_GE(VideoBufferLayout_GetScanlines(format, g.height, 1), g.height);
        }
    }
}

// The worked values of docs/buffer-layout.md, and zero for what has no layout.
TEST(VideoBufferLayout, WorkedValues) {
    std::ifstream in(TESSARO_TEST_DATA_DIR "/platform/worked_values.txt");
    int rows = 0;
    for (std::string line; std::getline(in, line);) {
        uint32_t f, w, h, v[6];
        if (line[0] == '#' || std::sscanf(line.c_str(), "%u %u %u %u %u %u %u %u %u", &f, &w, &h, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]) != 9) continue;
        SCOPED_TRACE(line);
        ++rows;
        EXPECT_EQ(VideoBufferLayout_GetStrideInBytes(f, w, 1), v[0]);
        EXPECT_EQ(VideoBufferLayout_GetScanlines(f, h, 1), v[1]);
        EXPECT_EQ(VideoBufferLayout_GetStrideInBytes(f, w, 3), v[2]);
        EXPECT_EQ(VideoBufferLayout_GetScanlines(f, h, 3), v[3]);
        EXPECT_EQ(VideoBufferLayout_GetBufferSize(f, w, h), v[4]);
        EXPECT_EQ(VideoBufferLayout_GetBufferSizeUsed(f, w, h, 1), v[5]);
        EXPECT_EQ(VideoBufferLayout_GetStrideInBytes(f, w, 2), 0u);
    }
    EXPECT_EQ(rows, 14);
    EXPECT_EQ(VideoBufferLayout_GetBufferSizeUsed(9, 100000, 100000, 1), 0u);
}

}  // namespace
