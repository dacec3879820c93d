#include "core/RunOptions.h"

#include <gtest/gtest.h>

#include <tuple>

namespace tessaro::cli {
namespace {

RunOptions Parse(std::vector<std::string> args) { return ParseRunOptions(args); }

TEST(RunOptions, EveryConfigFieldHasAFlag) {
    const RunOptions o = Parse({"Parse/AVC", "-i", "in.264", "--frames", "9", "--size", "64x32", "--stride", "80",
                                "--scanlines", "48", "--super-frame", "2", "--fps", "30000/1001", "--slice-mode",
                                "--skip-slices", "1,3", "--slice-order", "2,1", "--loop-frames", "4", "--repeat-interval", "5",
                                "--loop-forever", "--max-buffers", "100", "--delivery-mode", "1", "--pix-format", "4",
                                "--codec", "HEVC", "--static-pattern", "--interlaced", "--reserved", "6", "--spare", "7",
                                "--flag-a", "--flag-c", "--name", "n"});
    const ConfigParam& c = o.config;
    EXPECT_EQ(std::tie(c.mInputFileName, c.mCodec, c.mName), std::make_tuple("in.264", "HEVC", "n"));
    EXPECT_EQ(std::make_tuple(c.mFrames, c.mWidth, c.mHeight, c.mStride, c.mScanlines, c.mSuperFrame, c.mFrameRateNum,
                              c.mFrameRateDen, c.mLoopFrames, c.mRepeatInterval, c.mDeliveryMode, c.mPixFormat,
                              c.mReserved, c.mSpare, o.maxBuffers),
              std::make_tuple(9u, 64u, 32u, 80u, 48u, 2u, 30000u, 1001u, 4u, 5u, 1u, 4u, 6u, 7u, 100u));
    EXPECT_TRUE(c.mSliceMode && c.mLoopForever && c.mStaticPattern && c.mInterlaced && c.mFlagA && c.mFlagC);
    EXPECT_EQ(c.mSkipSlices, (std::vector<uint32_t>{1, 3}));
    EXPECT_EQ(c.mSliceOrder, (std::vector<uint32_t>{2, 1}));
}

TEST(RunOptions, UnsetFlagsLeaveTheRecordsDefaults) {
    const RunOptions o = Parse({"Parse/AVC", "-i", "in.264"});
    const ConfigParam& c = o.config;
    const ConfigParam defaults{};
    EXPECT_EQ(std::tie(c.mPixFormat, c.mDeliveryMode, c.mName), std::tie(defaults.mPixFormat, defaults.mDeliveryMode, defaults.mName));
    EXPECT_EQ(c.mSuperFrame + c.mStride + o.bufferType, 0u);
    EXPECT_FALSE(c.mSliceMode || o.seek);
}

TEST(RunOptions, RawKeysGetGraphicBuffersAndTheirWriterFormat) {
    const RunOptions o = Parse({"Parse/P010", "-i", "in.yuv", "--size", "176x144", "-o", "out.yuv"});
    EXPECT_EQ(o.bufferType, 1u);
    EXPECT_EQ(o.writerKey, "Write/UnCompressed");
    EXPECT_EQ(o.writerPixFormat, 4u);
    EXPECT_EQ(std::make_pair(o.config.mStride, o.config.mScanlines), std::make_pair(176u, 144u)) << "defaults to the size";
    EXPECT_EQ(Parse({"Parse/NV12_MOSA_Interlace", "-i", "in", "--size", "64x64", "-o", "o"}).writerPixFormat, 9u);
    EXPECT_EQ(Parse({"Pattern/NV12", "--size", "64x64", "--pix-format", "2", "-o", "o"}).writerPixFormat, 2u);
}

TEST(RunOptions, SeekRequest) {
    const RunOptions sync = Parse({"Parse/AVC", "-i", "a", "--seek", "12", "--seek-after", "3"});
    EXPECT_TRUE(sync.seek);
    EXPECT_EQ(std::make_tuple(sync.seekMode, sync.seekFrame, sync.seekAfter), std::make_tuple(1u, 12u, 3u));
    EXPECT_EQ(Parse({"Parse/AVC", "-i", "a", "--seek", "2", "--seek-mode", "exact"}).seekMode, 2u);
    EXPECT_EQ(Parse({"Parse/AVC", "-i", "a", "--seek", "2", "--seek-mode", "7"}).seekMode, 7u);
}

TEST(RunOptions, RefusesRunsThatCannotStart) {
    const std::vector<std::vector<std::string>> bad = {
        {},                                                  // no key
        {"Parse/avc", "-i", "a"},                            // keys are case-sensitive
        {"Write/Compressed", "-i", "a"},                     // a writer is not run
        {"Parse/AVC"},                                       // no input
        {"Pattern/NV12", "-i", "a"},                         // a pattern reads no input
        {"Parse/Container", "-i", "a.mp4"},                  // no codec
        {"Parse/AVC", "-i", "a", "--loop-forever"},          // would never end
        {"Parse/AVC", "-i", "a", "--seek-after", "2"},       // no seek frame
        {"Parse/AVC", "-i", "a", "--writer", "Parse/HEVC", "-o", "x"},
        {"Parse/RGBA1010102_MOSA", "-i", "a", "--size", "8x8", "-o", "x"},  // the raw writer has no code for it
        {"Parse/NV12", "-i", "a", "-o", "x"},                // raw output needs the geometry
        {"Parse/AVC", "-i", "a", "--buffer-type", "tiled"},
        {"Parse/AVC", "-i", "a", "extra"},
    };
    for (const auto& args : bad) EXPECT_THROW(Parse(args), UsageError) << ::testing::PrintToString(args);
}

}  // namespace
}  // namespace tessaro::cli
