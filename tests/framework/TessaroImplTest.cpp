#include "framework/TessaroImpl.h"

#include <gtest/gtest.h>

#include <tuple>

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
    void Start() {
        ConfigParam c{};
        SetConfig(c);
        Init();
    }

    float& timestampRef() { return mTimestamp; }
    int32_t seekStatus = TS_OK;
    uint32_t reachedFrame = 0, seekCalls = 0, seenSeekFrame = 0;
};

// Zero fields keep earlier values, except mSuperFrame, which stores 1; set-only
// flags and lists are never cleared; mSpare and mName are never merged.
TEST(SetConfig, MergesOnlyWhatIsSet) {
    ProbeProcessor p;
    EXPECT_EQ(p.state(), STATE::UNINITIALIZED);
    test::LogCapture logs;
    ConfigParam c{};
    c.mWidth = 640;
    c.mFrames = 9;
    c.mSuperFrame = 3;
    c.mReserved = 5;
    c.mSliceMode = c.mFlagA = c.mFlagC = true;
    c.mSliceOrder = {2, 1};
    c.mSkipSlices = {3};
    c.mSpare = 7;
    c.mName = "client";
    c.mFrameRateNum = 25;  // without a denominator: ignored
    EXPECT_EQ(p.SetConfig(c), TS_OK);
    EXPECT_EQ(p.state(), STATE::CONFIGURED);
    EXPECT_EQ(p.config().mSuperFrame, 3u);
    ConfigParam empty{};
    EXPECT_EQ(p.SetConfig(empty), TS_OK);
    const ConfigParam& m = p.config();
    EXPECT_EQ(std::tie(m.mWidth, m.mFrames, m.mReserved), std::make_tuple(640u, 9u, 5u));
    EXPECT_EQ(m.mSuperFrame, 1u) << "0 stores 1";
    EXPECT_TRUE(m.mSliceMode && m.mFlagA && m.mFlagC);
    EXPECT_EQ(m.mSliceOrder, (std::vector<uint32_t>{2, 1}));
    EXPECT_EQ(m.mSkipSlices, std::vector<uint32_t>{3});
    EXPECT_EQ(m.mSpare, 0u);
    EXPECT_EQ(m.mName, "None");
    EXPECT_EQ(m.mFrameRateNum, 0u);
    EXPECT_FLOAT_EQ(p.timestampDelta(), 33333.0f);
    EXPECT_EQ(logs.Count(4, kImplTag, "SetConfig"), 2u);
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
    later.mStaticPattern = later.mLoopForever = later.mInterlaced = true;
    later.mOutputFileName = "out.bin";
    later.mSkipSlices = {2};
    p.SetConfig(later);
    const ConfigParam& m = p.config();
    EXPECT_EQ(m.mWidth, 1280u);
    EXPECT_EQ(std::tie(m.mInputFileName, m.mCodec), std::make_tuple("a.264", "AVC"));
    EXPECT_EQ(std::tie(m.mPixFormat, m.mDeliveryMode, m.mRepeatInterval), std::make_tuple(1u, 1u, 4u));
    EXPECT_FALSE(m.mStaticPattern || m.mLoopForever);
    EXPECT_EQ(m.mOutputFileName, "out.bin") << "output name merges in any state";
    EXPECT_EQ(m.mSkipSlices, std::vector<uint32_t>{2});
    EXPECT_TRUE(m.mInterlaced) << "interlaced merges in any state";
}

TEST(SetConfig, FrameRateStepIsSinglePrecisionAndAChangeRebasesTheLastAdvance) {
    ProbeProcessor p;
    ConfigParam c{};
    c.mFrameRateNum = 30000;
    c.mFrameRateDen = 1001;
    p.SetConfig(c);
    EXPECT_EQ(p.timestampDelta(), 33366.668f);
    EXPECT_EQ(std::tie(p.config().mFrameRateNum, p.config().mFrameRateDen), std::make_tuple(30000u, 1001u));
    EXPECT_EQ(p.timestamp(), 0.0f) << "no rebase while the timestamp is 0";
    ProbeProcessor q;  // at the default 30 frames a second
    q.Start();
    q.timestampRef() = 100000.0f;
    ConfigParam rate{};
    rate.mFrameRateNum = 25;
    rate.mFrameRateDen = 1;
    rate.mSuperFrame = 2;
    q.SetConfig(rate);
    EXPECT_EQ(q.timestampDelta(), 40000.0f);
    EXPECT_EQ(q.timestamp(), 113334.0f);
}

// A seek needs a running processor, a mode and a frame; before Init it is
// dropped without a word.
TEST(SetConfig, SeekRequestsThatAreNotIssued) {
    ProbeProcessor p;
    test::LogCapture logs;
    ConfigParam c{};
    c.mSeekMode = 1;
    c.mSeekFrame = 5;
    EXPECT_EQ(p.SetConfig(c), TS_OK);
    EXPECT_EQ(std::tie(p.config().mSeekMode, p.config().mSeekFrame), std::make_tuple(0u, 0u));
    EXPECT_EQ(logs.Messages(), std::vector<std::string>{"SetConfig"});
    p.Init();
    c.mSeekFrame = 0;
    EXPECT_EQ(p.SetConfig(c), TS_OK);
    c.mSeekMode = 0;
    c.mSeekFrame = 3;
    EXPECT_EQ(p.SetConfig(c), TS_OK);
    EXPECT_EQ(p.seekCalls, 0u);
}

TEST(SetConfig, SuccessfulSeekWritesTheReachedFrameBack) {
    ProbeProcessor p;
    p.Start();
    p.reachedFrame = 6;
    test::LogCapture logs;
    ConfigParam c{};
    c.mSeekMode = 1;
    c.mSeekFrame = 4;
    EXPECT_EQ(p.SetConfig(c), TS_OK);
    EXPECT_EQ(p.seenSeekFrame, 4u);
    EXPECT_EQ(c.mSeekedFrame, 6u);
    EXPECT_EQ(logs.Messages(), (std::vector<std::string>{"SetConfig", "Configure Seek", "Successfully Seeked to Frame 6"}));
    EXPECT_TRUE(logs.Has(4, kImplTag, "Successfully Seeked to Frame 6"));
}

TEST(SetConfig, FailedSeekReportsLine139AndKeepsTheCallerRecord) {
    ProbeProcessor p;
    p.Start();
    p.seekStatus = -1;
    p.reachedFrame = 9;
    test::LogCapture logs;
    ConfigParam c{};
    c.mSeekMode = 2;
    c.mSeekFrame = 4;
    c.mFrames = 12;
    EXPECT_EQ(p.SetConfig(c), TS_ERROR);
    EXPECT_TRUE(logs.Has(6, kImplTag, "Seek() != TS_OK : Line# 139"));
    EXPECT_EQ(c.mSeekedFrame, 0u) << "caller's record is not written back";
    EXPECT_EQ(p.config().mFrames, 12u) << "merged fields stay merged";
    EXPECT_EQ(p.config().mSeekedFrame, 9u) << "seek fields stay as Seek left them";
}

}  // namespace
}  // namespace tessaro
