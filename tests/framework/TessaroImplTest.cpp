#include "framework/TessaroImpl.h"

#include <gtest/gtest.h>

#include "support/LogCapture.h"

namespace tessaro {
namespace {

constexpr const char* kImplTag = "Tessaro::Impl";

// The smallest concrete processor: Init moves to RUNNING, Seek answers with a
// scripted status and "reaches" a scripted frame.
class ProbeProcessor : public TessaroImpl {
public:
    int32_t Init() override {
        mState = STATE::RUNNING;
        return TS_OK;
    }
    int32_t Process(std::shared_ptr<Buffer>) override { return TS_OK; }
    int32_t DeInit() override { return TS_OK; }
    int32_t Seek() override {
        ++seekCalls;
        seenSeekFrame = mConfigParam.mSeekFrame;
        mConfigParam.mSeekedFrame = reachedFrame;
        return seekStatus;
    }
    uint32_t GetBufferLength() override { return 0; }

    void SetTimestamp(float t) { mTimestamp = t; }

    int32_t seekStatus = TS_OK;
    uint32_t reachedFrame = 0;
    uint32_t seekCalls = 0;
    uint32_t seenSeekFrame = 0;
};

TEST(SetConfig, FirstCallConfiguresAndForcesSuperFrame) {
    ProbeProcessor p;
    EXPECT_EQ(p.state(), STATE::UNINITIALIZED);
    test::LogCapture logs;
    ConfigParam c{};
    EXPECT_EQ(p.SetConfig(c), TS_OK);
    EXPECT_EQ(p.state(), STATE::CONFIGURED);
    EXPECT_EQ(p.config().mSuperFrame, 1u);
    EXPECT_TRUE(logs.Contains(4, kImplTag, "SetConfig"));
}

TEST(SetConfig, ZeroFieldsKeepEarlierValuesButSuperFrameResets) {
    ProbeProcessor p;
    ConfigParam c{};
    c.mWidth = 640;
    c.mHeight = 480;
    c.mFrames = 9;
    c.mSuperFrame = 3;
    c.mReserved = 5;
    p.SetConfig(c);
    ConfigParam again{};
    p.SetConfig(again);
    EXPECT_EQ(p.config().mWidth, 640u);
    EXPECT_EQ(p.config().mHeight, 480u);
    EXPECT_EQ(p.config().mFrames, 9u);
    EXPECT_EQ(p.config().mReserved, 5u);
    EXPECT_EQ(p.config().mSuperFrame, 1u) << "0 stores 1";
    again.mSuperFrame = 1;
    p.SetConfig(again);
    EXPECT_EQ(p.config().mSuperFrame, 1u);
}

TEST(SetConfig, InitTimeFieldsFreezeOnceRunning) {
    ProbeProcessor p;
    ConfigParam c{};
    c.mInputFileName = "a.264";
    c.mPixFormat = 1;
    c.mCodec = "AVC";
    c.mDeliveryMode = 1;
    c.mRepeatInterval = 4;
    p.SetConfig(c);
    p.Init();
    ConfigParam later{};
    later.mWidth = 1280;
    later.mInputFileName = "b.264";
    later.mPixFormat = 4;
    later.mCodec = "HEVC";
    later.mDeliveryMode = 2;
    later.mRepeatInterval = 9;
    later.mStaticPattern = true;
    later.mLoopForever = true;
    later.mOutputFileName = "out.bin";
    later.mSkipSlices = {2};
    later.mInterlaced = true;
    p.SetConfig(later);
    EXPECT_EQ(p.config().mWidth, 1280u);
    EXPECT_EQ(p.config().mInputFileName, "a.264");
    EXPECT_EQ(p.config().mPixFormat, 1u);
    EXPECT_EQ(p.config().mCodec, "AVC");
    EXPECT_EQ(p.config().mDeliveryMode, 1u);
    EXPECT_EQ(p.config().mRepeatInterval, 4u);
    EXPECT_FALSE(p.config().mStaticPattern);
    EXPECT_FALSE(p.config().mLoopForever);
    EXPECT_EQ(p.config().mOutputFileName, "out.bin") << "output name merges in any state";
    EXPECT_EQ(p.config().mSkipSlices, std::vector<uint32_t>{2});
    EXPECT_TRUE(p.config().mInterlaced) << "interlaced merges in any state";
}

TEST(SetConfig, SetOnlyFlagsAndVectorsAreNeverCleared) {
    ProbeProcessor p;
    ConfigParam c{};
    c.mSliceMode = true;
    c.mFlagA = true;
    c.mFlagC = true;
    c.mSliceOrder = {2, 1};
    c.mSkipSlices = {3};
    p.SetConfig(c);
    ConfigParam cleared{};
    p.SetConfig(cleared);
    EXPECT_TRUE(p.config().mSliceMode);
    EXPECT_TRUE(p.config().mFlagA);
    EXPECT_TRUE(p.config().mFlagC);
    EXPECT_EQ(p.config().mSliceOrder, (std::vector<uint32_t>{2, 1}));
    EXPECT_EQ(p.config().mSkipSlices, std::vector<uint32_t>{3});
}

TEST(SetConfig, NeverMergedFields) {
    ProbeProcessor p;
    ConfigParam c{};
    c.mSpare = 7;
    c.mName = "client";
    p.SetConfig(c);
    EXPECT_EQ(p.config().mSpare, 0u);
    EXPECT_EQ(p.config().mName, "None");
}

TEST(SetConfig, FrameRateNeedsBothValues) {
    ProbeProcessor p;
    ConfigParam c{};
    c.mFrameRateNum = 25;
    p.SetConfig(c);
    EXPECT_EQ(p.config().mFrameRateNum, 0u);
    EXPECT_FLOAT_EQ(p.timestampDelta(), 33333.0f);
}

TEST(SetConfig, FrameRateStepIsSinglePrecision) {
    ProbeProcessor p;
    ConfigParam c{};
    c.mFrameRateNum = 30000;
    c.mFrameRateDen = 1001;
    p.SetConfig(c);
    EXPECT_EQ(p.timestampDelta(), 33366.668f);
    EXPECT_EQ(p.config().mFrameRateNum, 30000u);
    EXPECT_EQ(p.config().mFrameRateDen, 1001u);
    EXPECT_EQ(p.timestamp(), 0.0f) << "no rebase while the timestamp is 0";
}

TEST(SetConfig, FrameRateChangeRebasesTheLastAdvance) {
    ProbeProcessor p;
    ConfigParam c{};
    p.SetConfig(c);
    p.Init();
    p.SetTimestamp(100000.0f);
    ConfigParam rate{};
    rate.mFrameRateNum = 25;
    rate.mFrameRateDen = 1;
    rate.mSuperFrame = 2;
    p.SetConfig(rate);
    EXPECT_EQ(p.timestampDelta(), 40000.0f);
    EXPECT_EQ(p.timestamp(), 113334.0f);
}

TEST(SetConfig, SeekBeforeInitIsIgnoredSilently) {
    ProbeProcessor p;
    test::LogCapture logs;
    ConfigParam c{};
    c.mSeekMode = 1;
    c.mSeekFrame = 5;
    EXPECT_EQ(p.SetConfig(c), TS_OK);
    EXPECT_EQ(p.seekCalls, 0u);
    EXPECT_EQ(p.config().mSeekMode, 0u);
    EXPECT_EQ(p.config().mSeekFrame, 0u);
    EXPECT_EQ(logs.Messages(), std::vector<std::string>{"SetConfig"});
}

TEST(SetConfig, SeekNeedsModeAndFrame) {
    ProbeProcessor p;
    ConfigParam c{};
    p.SetConfig(c);
    p.Init();
    c.mSeekMode = 1;
    c.mSeekFrame = 0;
    EXPECT_EQ(p.SetConfig(c), TS_OK);
    c.mSeekMode = 0;
    c.mSeekFrame = 3;
    EXPECT_EQ(p.SetConfig(c), TS_OK);
    EXPECT_EQ(p.seekCalls, 0u);
}

TEST(SetConfig, SuccessfulSeekWritesTheReachedFrameBack) {
    ProbeProcessor p;
    ConfigParam c{};
    p.SetConfig(c);
    p.Init();
    p.reachedFrame = 6;
    test::LogCapture logs;
    c.mSeekMode = 1;
    c.mSeekFrame = 4;
    EXPECT_EQ(p.SetConfig(c), TS_OK);
    EXPECT_EQ(p.seenSeekFrame, 4u);
    EXPECT_EQ(c.mSeekedFrame, 6u);
    EXPECT_EQ(logs.Messages(), (std::vector<std::string>{"SetConfig", "Configure Seek",
                                                         "Successfully Seeked to Frame 6"}));
    EXPECT_TRUE(logs.Contains(4, kImplTag, "Successfully Seeked to Frame 6"));
}

TEST(SetConfig, FailedSeekReportsLine139AndKeepsTheCallerRecord) {
    ProbeProcessor p;
    ConfigParam c{};
    p.SetConfig(c);
    p.Init();
    p.seekStatus = -1;
    p.reachedFrame = 9;
    test::LogCapture logs;
    c.mSeekMode = 2;
    c.mSeekFrame = 4;
    c.mFrames = 12;
    EXPECT_EQ(p.SetConfig(c), TS_ERROR);
    EXPECT_TRUE(logs.Contains(6, kImplTag, "Seek() != TS_OK : Line# 139")) << logs.Dump();
    EXPECT_EQ(c.mSeekedFrame, 0u) << "caller's record is not written back";
    EXPECT_EQ(p.config().mFrames, 12u) << "merged fields stay merged";
    EXPECT_EQ(p.config().mSeekedFrame, 9u) << "seek fields stay as Seek left them";
}

}  // namespace
}  // namespace tessaro
