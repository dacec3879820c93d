#include "core/RunOptions.h"

#include <gtest/gtest.h>

namespace tessaro::cli {
namespace {

RunOptions Parse(std::vector<std::string> args) { return ParseRunOptions(args); }

TEST(RunOptions, EveryConfigFieldHasAFlag) {
    const RunOptions o = Parse({"Parse/AVC", "-i", "in.264", "--frames", "9", "--size", "64x32", "--stride", "80",
                                "--scanlines", "48", "--super-frame", "2", "--fps", "30000/1001", "--slice-mode",
                                "--skip-slices", "1,3", "--slice-order", "2,1", "--loop-frames", "4",
                                "--repeat-interval", "5", "--loop-forever", "--max-buffers", "100",
                                "--delivery-mode", "1", "--pix-format", "4", "--codec", "HEVC", "--static-pattern",
                                "--interlaced", "--reserved", "6", "--spare", "7", "--flag-a", "--flag-c",
                                "--name", "n"});
    const ConfigParam& c = o.config;
    EXPECT_EQ(c.mInputFileName, "in.264");
    EXPECT_EQ(c.mFrames, 9u);
    EXPECT_EQ(c.mWidth, 64u);
    EXPECT_EQ(c.mHeight, 32u);
    EXPECT_EQ(c.mStride, 80u);
    EXPECT_EQ(c.mScanlines, 48u);
    EXPECT_EQ(c.mSuperFrame, 2u);
    EXPECT_EQ(c.mFrameRateNum, 30000u);
    EXPECT_EQ(c.mFrameRateDen, 1001u);
    EXPECT_TRUE(c.mSliceMode);
    EXPECT_EQ(c.mSkipSlices, (std::vector<uint32_t>{1, 3}));
    EXPECT_EQ(c.mSliceOrder, (std::vector<uint32_t>{2, 1}));
    EXPECT_EQ(c.mLoopFrames, 4u);
    EXPECT_EQ(c.mRepeatInterval, 5u);
    EXPECT_TRUE(c.mLoopForever);
    EXPECT_EQ(c.mDeliveryMode, 1u);
    EXPECT_EQ(c.mPixFormat, 4u);
    EXPECT_EQ(c.mCodec, "HEVC");
    EXPECT_TRUE(c.mStaticPattern);
    EXPECT_TRUE(c.mInterlaced);
    EXPECT_EQ(c.mReserved, 6u);
    EXPECT_EQ(c.mSpare, 7u);
    EXPECT_TRUE(c.mFlagA);
    EXPECT_TRUE(c.mFlagC);
    EXPECT_EQ(c.mName, "n");
    EXPECT_EQ(o.maxBuffers, 100u);
}

TEST(RunOptions, UnsetFlagsLeaveTheRecordsDefaults) {
    const RunOptions o = Parse({"Parse/AVC", "-i", "in.264"});
    ConfigParam expected{};
    expected.mInputFileName = "in.264";
    const ConfigParam& c = o.config;
    EXPECT_EQ(c.mPixFormat, expected.mPixFormat);
    EXPECT_EQ(c.mDeliveryMode, expected.mDeliveryMode);
    EXPECT_EQ(c.mName, expected.mName);
    EXPECT_EQ(c.mSuperFrame, 0u);
    EXPECT_EQ(c.mStride, 0u);
    EXPECT_FALSE(c.mSliceMode);
    EXPECT_EQ(o.bufferType, 0u);
    EXPECT_FALSE(o.seek);
}

TEST(RunOptions, RawKeysGetGraphicBuffersAndTheirWriterFormat) {
    const RunOptions o = Parse({"Parse/P010", "-i", "in.yuv", "--size", "176x144", "-o", "out.yuv"});
    EXPECT_EQ(o.bufferType, 1u);
    EXPECT_EQ(o.writerKey, "Write/UnCompressed");
    EXPECT_EQ(o.writerPixFormat, 4u);
    EXPECT_EQ(o.config.mStride, 176u) << "stride defaults to the width";
    EXPECT_EQ(o.config.mScanlines, 144u);

    const RunOptions tiled = Parse({"Parse/NV12_MOSA_Interlace", "-i", "in", "--size", "64x64", "-o", "o"});
    EXPECT_EQ(tiled.writerPixFormat, 9u);
    const RunOptions forced = Parse({"Pattern/NV12", "--size", "64x64", "--pix-format", "2", "-o", "o"});
    EXPECT_EQ(forced.writerPixFormat, 2u);
}

TEST(RunOptions, SeekRequest) {
    const RunOptions sync = Parse({"Parse/AVC", "-i", "a", "--seek", "12", "--seek-after", "3"});
    EXPECT_TRUE(sync.seek);
    EXPECT_EQ(sync.seekMode, 1u);
    EXPECT_EQ(sync.seekFrame, 12u);
    EXPECT_EQ(sync.seekAfter, 3u);
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
    for (const auto& args : bad) {
        SCOPED_TRACE(::testing::PrintToString(args));
        EXPECT_THROW(Parse(args), UsageError);
    }
}

}  // namespace
}  // namespace tessaro::cli
