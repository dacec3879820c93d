// Acceptance: generated patterns written by the raw writer are read back by
// ffmpeg. (Files made by ffmpeg go back and forth through the readers and the
// writer in the tool's tests.)
#include <VideoBufferLayout.h>
#include <gtest/gtest.h>

#include "uncompressed/NV12PatternGenerator.h"
#include "uncompressed/RGBA32PatternGenerator.h"
#include "uncompressed/RawTestSupport.h"
#include "writer/StreamWriterUnCompressed.h"

namespace tessaro {
namespace {

using test::Geometry;

// Drives `producer` until EOS, handing every buffer to a raw writer of
// `format`; returns the written file.
std::vector<uint8_t> Pipe(StreamParserUncompressed& producer, const ConfigParam& config,
                          uint32_t format, const test::ScratchDir& dir) {
    const uint32_t length = test::Start(producer, config);
    EXPECT_GT(length, 0u);
    ConfigParam out = config;
    out.mPixFormat = format;
    out.mOutputFileName = dir.File("out.raw");
    StreamWriterUnCompressed writer;
    test::Start(writer, out);
    auto buffer = test::MakeGraphicBuffer(length);
    for (int i = 0; i < 100; ++i) {
        test::FillBuffer(*buffer, 0xA5);  // padding that must not reach the file
        EXPECT_EQ(producer.Process(buffer), 0);
        if (buffer->mLength == 0) break;
        EXPECT_EQ(writer.Process(buffer), 0);
        if (buffer->mFlags & Buffer::FLAG_EOS) break;
    }
    writer.DeInit();
    producer.DeInit();
    return test::FileBytes(out.mOutputFileName);
}

// ffmpeg reads the written pattern as 64x48 pictures: one a frame, with the
// luma block in the expected quadrant.
TEST(RawRoundTrip, WrittenPatternsReadBackWithFfmpeg) {
    if (!test::HaveTool("ffmpeg")) GTEST_SKIP() << "ffmpeg not installed";
    test::ScratchDir dir;
    // The YUV generators draw at the layout's own pitch and plane height for
    // the picture, so the client configures its buffer with those.
    ConfigParam c = test::RawConfig({64, 48, VideoBufferLayout_GetStrideInBytes(0, 64, 1),
                                     VideoBufferLayout_GetScanlines(0, 48, 1)}, 6);
    NV12PatternGenerator generator;
    const auto written = Pipe(generator, c, 1, dir);
    ASSERT_EQ(written.size(), 6u * 64 * 48 * 3 / 2);
    std::string gray;
    ASSERT_EQ(test::RunCommand("ffmpeg -hide_banner -loglevel error -f rawvideo -pix_fmt nv12 -s 64x48 -i '" +
                                   dir.File("out.raw") + "' -vf extractplanes=y -f rawvideo -pix_fmt gray -",
                               &gray),
              0);
    ASSERT_EQ(gray.size(), 6u * 64 * 48);  // six frames
    for (uint32_t frame = 0; frame < 6; ++frame) {
        SCOPED_TRACE(frame);
        const uint32_t phase = (frame + 1) % 4;
        const uint32_t x0 = (phase == 1 || phase == 2) ? 32 : 0, y0 = phase >= 2 ? 24 : 0;
        for (uint32_t y = 0; y < 48; y += 3) {
            for (uint32_t x = 0; x < 64; x += 3) {
                const bool inside = x >= x0 && x < x0 + 32 && y >= y0 && y < y0 + 24;
                ASSERT_EQ(static_cast<uint8_t>(gray[frame * 64 * 48 + y * 64 + x]), inside ? 120 : 0)
                    << x << "," << y;
            }
        }
    }

    // The RGB generators pack rows at the picture's width.
    RGBA32PatternGenerator rgb;
    test::ScratchDir rgbDir;
    const auto rgba = Pipe(rgb, test::RawConfig({64, 48, 64, 48}, 6), 10, rgbDir);
    std::string frames;
    ASSERT_EQ(test::RunCommand("ffmpeg -hide_banner -loglevel error -f rawvideo -pix_fmt rgba -s 64x48 -i '" +
                                   rgbDir.File("out.raw") + "' -f framecrc - | grep -vc '^#'",
                               &frames),
              0);
    EXPECT_EQ(std::stoi(frames), 6);
    // The fifth frame (p = 5): bottom half, second quarter, colour q = 1.
    const size_t offset = 4 * 64 * 48 * 4 + (24 * 64 + 16) * 4;
    EXPECT_EQ(std::vector<uint8_t>(rgba.begin() + offset, rgba.begin() + offset + 4),
              (std::vector<uint8_t>{174, 127, 68, 255}));
}

}  // namespace
}  // namespace tessaro
