// The tool's pure pieces: option mapping, input probing, geometry defaults,
// MD5, IVF frame headers and the progress line (argument refusals: runs.txt).
#include <VideoBufferLayout.h>
#include <gtest/gtest.h>

#include "core/Geometry.h"
#include "core/Ivf.h"
#include "core/Md5.h"
#include "core/Probe.h"
#include "core/Progress.h"
#include "core/RunOptions.h"
#include "support/TestPaths.h"

namespace tessaro::cli {
namespace {

TEST(Core, EveryConfigFieldHasAFlag) {
    const RunOptions o = ParseRunOptions(
        {"Parse/P010", "-i", "in", "-n", "9", "-s", "64x32", "--stride", "80", "--scanlines", "48", "--super-frame", "2",
         "--fps", "30000/1001", "--slice-mode", "--skip-slices", "1,3", "--slice-order", "2,1", "--loop-frames", "4",
         "--repeat-interval", "5", "--loop-forever", "--max-buffers", "100", "--delivery-mode", "1", "--pix-format", "4",
         "--codec", "HEVC", "--static-pattern", "--interlaced", "--reserved", "6", "--spare", "7", "--flag-a", "--flag-c",
         "--name", "n", "--seek", "12", "--seek-mode", "exact", "--seek-after", "3", "-o", "o"});
    const ConfigParam& c = o.config;
    EXPECT_EQ(std::make_tuple(c.mInputFileName, c.mCodec, c.mName, o.outputPath, o.writerKey), std::make_tuple("in", "HEVC", "n", "o", "Write/UnCompressed"));
    EXPECT_EQ(std::make_tuple(c.mFrames, c.mWidth, c.mHeight, c.mStride, c.mScanlines, c.mSuperFrame, c.mFrameRateNum,
                              c.mFrameRateDen, c.mLoopFrames, c.mRepeatInterval, c.mDeliveryMode, c.mPixFormat,
                              c.mReserved, c.mSpare, o.writerPixFormat, o.bufferType),
              std::make_tuple(9u, 64u, 32u, 80u, 48u, 2u, 30000u, 1001u, 4u, 5u, 1u, 4u, 6u, 7u, 4u, 1u));
    EXPECT_EQ(std::make_tuple(o.seek, o.seekMode, o.seekFrame, o.seekAfter, o.maxBuffers), std::make_tuple(true, 2u, 12u, 3ul, 100ul));
    EXPECT_TRUE(c.mSliceMode && c.mLoopForever && c.mStaticPattern && c.mInterlaced && c.mFlagA && c.mFlagC);
    EXPECT_EQ(std::make_pair(c.mSkipSlices, c.mSliceOrder), std::make_pair(std::vector<uint32_t>{1, 3}, std::vector<uint32_t>{2, 1}));
    const ConfigParam defaults{}, plain = ParseRunOptions({"Parse/AVC", "-i", "in"}).config;
    EXPECT_EQ(std::tie(plain.mPixFormat, plain.mDeliveryMode, plain.mName, plain.mStride),
              std::tie(defaults.mPixFormat, defaults.mDeliveryMode, defaults.mName, defaults.mStride));
}

TEST(Core, GeneratorsGetTheLayoutPitchReadersTheirOwn) {
    const struct { const char* key; uint32_t code, sample; } drawn[] = {{"Pattern/NV12", 0, 1}, {"Pattern/P010", 3, 2}, {"Pattern/P210", 6, 2}};
    for (const auto& d : drawn) {
        const ConfigParam c = ParseRunOptions({d.key, "-s", "176x144", "-n", "1"}).config;
        EXPECT_EQ(c.mStride, VideoBufferLayout_GetStrideInBytes(d.code, 176, 1) / d.sample) << d.key;
        EXPECT_EQ(c.mScanlines, VideoBufferLayout_GetScanlines(d.code, 144, 1)) << d.key;
    }
    const ConfigParam rgba = ParseRunOptions({"Pattern/RGBA32", "-s", "176x144", "-n", "1"}).config;
    EXPECT_EQ(std::make_pair(rgba.mStride, rgba.mScanlines), std::make_pair(176u, 144u));
    ConfigParam yv12 = ParseRunOptions({"Parse/YV12", "-i", "x", "-s", "100x50", "--super-frame", "2"}).config;
    EXPECT_EQ(yv12.mStride, 128u) << "the raw writer's YV12 pitch";
    EXPECT_EQ(RawCapacity("Parse/YV12", yv12, 2 * 7500), 7500 + 50 * 128 + 49 * 64 + 50u);
    EXPECT_EQ(RawCapacity("Pattern/NV12", yv12, 4096), 4096u) << "generators fill what they ask for";
    EXPECT_EQ(std::make_pair(PackedPictureBytes("Parse/P210", 4, 2), PackedPictureBytes("Parse/NV12_MOSA", 4, 2)), std::make_pair(32ul, 0ul));
}

TEST(Core, ProbeTellsEachSamplesFraming) {
    const std::pair<const char*, Framing> samples[] = {
        {"h264/aud.264", Framing::AnnexBAvc},        {"h264/four_slices_bframes.264", Framing::AnnexBAvc},
        {"h265/aud_sei.265", Framing::AnnexBHevc},   {"h265/two_slices.265", Framing::AnnexBHevc},
        {"av1/kf4.ivf", Framing::IvfAv1},            {"av1/kf4_section5.obu", Framing::ObuAv1},
        {"av1/kf4_annexb.obu", Framing::AnnexBAv1},  {"av1/tile_groups.obu", Framing::ObuAv1},
        {"vpx/vp8_kf4.ivf", Framing::IvfVp8},        {"vpx/vp9_kf4.ivf", Framing::IvfVp9},
        {"apv/four_units.apv", Framing::Apv},        {"raw/testsrc_64x48_5f.nv12", Framing::Unknown},
    };
    for (const auto& [sample, framing] : samples) EXPECT_EQ(std::string(FramingName(SniffFile(test::DataPath(sample)))), FramingName(framing)) << sample;
    EXPECT_EQ(GuessCompressedKey("none.H265"), "Parse/HEVC");
    EXPECT_EQ(GuessCompressedKey("none.yuv"), "");
}

TEST(Core, Md5AndIvfBytes) {
    // Delivered buffers are also checked against ffmpeg's checksums (ToolTest).
    const std::pair<std::string, std::string> vectors[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"}, {std::string(56, 'x'), "668a72d5ba17f08e62dabcafad6db14b"},
        {std::string(1000000, 'a'), "7707d6ae4e027c70eea2a935c2296f21"}};
    for (const auto& [input, digest] : vectors) EXPECT_EQ(Md5::Of(reinterpret_cast<const uint8_t*>(input.data()), input.size()), digest);
    const std::string& data = vectors[2].first;
    for (size_t chunk : {1u, 63u, 64u, 65u, 1000u}) {
        Md5 md5;
        for (size_t at = 0; at < data.size(); at += chunk) md5.Update(reinterpret_cast<const uint8_t*>(&data[at]), std::min(chunk, data.size() - at));
        EXPECT_EQ(md5.Hex(), vectors[2].second) << chunk;
    }
    const auto frame = IvfFrameHeader(0x01020304, 0x0506070809ull);  // file headers: ffmpeg reads them (ToolTest)
    EXPECT_EQ(std::string(frame.begin(), frame.end()), std::string("\4\3\2\1\x09\x08\x07\x06\x05\0\0\0", 12));
    EXPECT_TRUE(NamesIvf("a.IVF") && !NamesIvf("ivf") && !NamesIvf("a.ivf.264"));
}

TEST(Core, ProgressLineFitsAndCounts) {
    const std::string line = ProgressBar::Render(30, 120, 10.0, "frames", 78);
    EXPECT_EQ(line.size(), 78u);
    EXPECT_EQ(line.substr(line.find(']')), "] 30/120 frames  25%  3.0 frames/s  ETA 0:30");
    EXPECT_EQ(std::count(line.begin(), line.end(), '#'), long(line.find(']') - 1) / 4);
    EXPECT_EQ(ProgressBar::Render(150, 120, 3725.0, "frames", 20), "[] 150/120 frames 100%  0.0 frames/s  ETA 0:00");
    EXPECT_EQ(ProgressBar::Render(7, 0, 3725.0, "buffers", 78), "7 buffers  0.0 buffers/s  1:02:05");
}

}  // namespace
}  // namespace tessaro::cli
