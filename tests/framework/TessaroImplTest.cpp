// SetConfig, implemented once for every processor: what merges when, the
// frame-rate rebase, and the seek it triggers on a running processor.
#include "framework/TessaroImpl.h"

#include <gtest/gtest.h>

#include <tuple>

#include "support/LogCapture.h"

namespace tessaro {
namespace {

// The smallest concrete processor: Init runs it, Seek answers with a scripted
// status and "reaches" a scripted frame.
class ProbeProcessor : public TessaroImpl {
public:
    int32_t Init() override { return mState = STATE::RUNNING, TS_OK; }
    int32_t Process(std::shared_ptr<Buffer>) override { return TS_OK; }
    int32_t DeInit() override { return TS_OK; }
    int32_t Seek() override {
        ++seekCalls;
        seenSeekFrame = mConfigParam.mSeekFrame;
        mConfigParam.mSeekedFrame = reachedFrame;
        return seekStatus;
    }
    uint32_t GetBufferLength() override { return 0; }
    float& timestampRef() { return mTimestamp; }
    int32_t seekStatus = TS_OK;
    uint32_t reachedFrame = 0, seekCalls = 0, seenSeekFrame = 0;
};

// Zero fields keep earlier values (mSuperFrame stores 1); set-only flags and
// lists are never cleared; mSpare and mName are never merged; a rate without a
// denominator is ignored.
TEST(SetConfig, MergesOnlyWhatIsSet) {
    ProbeProcessor p;
    test::LogCapture logs;
    ConfigParam c{}, empty{};
    c.mWidth = 640, c.mFrames = 9, c.mSuperFrame = 3, c.mReserved = 5, c.mSpare = 7, c.mFrameRateNum = 25;
    c.mSliceMode = c.mFlagA = c.mFlagC = true;
    c.mSliceOrder = {2, 1};
    c.mSkipSlices = {3};
    c.mName = "client";
    EXPECT_EQ(p.SetConfig(c), TS_OK);
    EXPECT_EQ(p.state(), STATE::CONFIGURED);
    EXPECT_EQ(p.config().mSuperFrame, 3u);
    EXPECT_EQ(p.SetConfig(empty), TS_OK);
    const ConfigParam& m = p.config();
    EXPECT_EQ(std::tie(m.mWidth, m.mFrames, m.mReserved, m.mSuperFrame, m.mSpare, m.mFrameRateNum),
              std::make_tuple(640u, 9u, 5u, 1u, 0u, 0u));
    EXPECT_TRUE(m.mSliceMode && m.mFlagA && m.mFlagC);
    EXPECT_EQ(std::tie(m.mSliceOrder, m.mSkipSlices), std::make_tuple(std::vector<uint32_t>{2, 1}, std::vector<uint32_t>{3}));
    EXPECT_EQ(m.mName, "None");
    EXPECT_FLOAT_EQ(p.timestampDelta(), 33333.0f);
    EXPECT_EQ(logs.Count(4, TessaroImpl::kLogTag, "SetConfig"), 2u);
}

// Input name, pixel format, codec, delivery mode, repeat interval, static
// pattern and loop-forever freeze at Init; the rest merges in any state.
TEST(SetConfig, InitTimeFieldsFreezeOnceRunning) {
    ProbeProcessor p;
    ConfigParam c{}, later{};
    c.mInputFileName = "a.264", c.mPixFormat = 1, c.mCodec = "AVC", c.mDeliveryMode = 1, c.mRepeatInterval = 4;
    p.SetConfig(c);
    p.Init();
    later.mWidth = 1280, later.mInputFileName = "b.264", later.mPixFormat = 4, later.mCodec = "HEVC";
    later.mDeliveryMode = 2, later.mRepeatInterval = 9, later.mOutputFileName = "out.bin", later.mSkipSlices = {2};
    later.mStaticPattern = later.mLoopForever = later.mInterlaced = true;
    p.SetConfig(later);
    const ConfigParam& m = p.config();
    EXPECT_EQ(std::tie(m.mInputFileName, m.mCodec, m.mOutputFileName), std::make_tuple("a.264", "AVC", "out.bin"));
    EXPECT_EQ(std::tie(m.mWidth, m.mPixFormat, m.mDeliveryMode, m.mRepeatInterval), std::make_tuple(1280u, 1u, 1u, 4u));
    EXPECT_FALSE(m.mStaticPattern || m.mLoopForever);
    EXPECT_TRUE(m.mInterlaced);
    EXPECT_EQ(m.mSkipSlices, std::vector<uint32_t>{2});
}

// The step is computed in single precision; a change replaces the last
// advance (step x mSuperFrame) by one at the new rate, unless nothing ran yet.
TEST(SetConfig, FrameRateStepIsSinglePrecisionAndAChangeRebasesTheLastAdvance) {
    ProbeProcessor p, q;
    ConfigParam c{}, rate{};
    c.mFrameRateNum = 30000, c.mFrameRateDen = 1001;
    p.SetConfig(c);
    EXPECT_EQ(p.timestampDelta(), 33366.668f);
    EXPECT_EQ(std::tie(p.config().mFrameRateNum, p.config().mFrameRateDen), std::make_tuple(30000u, 1001u));
    EXPECT_EQ(p.timestamp(), 0.0f);
    q.SetConfig(rate);
    q.Init();
    q.timestampRef() = 100000.0f;
    rate.mFrameRateNum = 25, rate.mFrameRateDen = 1, rate.mSuperFrame = 2;
    q.SetConfig(rate);
    EXPECT_EQ(q.timestampDelta(), 40000.0f);
    EXPECT_EQ(q.timestamp(), 113334.0f);
}

// A seek needs a running processor, a mode and a frame; otherwise it is
// dropped without a word. Issued, it logs and writes the reached frame back to
// the caller; failed, it reports line 139 and leaves the caller's record alone.
TEST(SetConfig, SeekRequests) {
    const struct {
        bool running;
        uint32_t mode, frame;
        int32_t seekStatus, status;
        uint32_t seekCalls, callerSeeked;
        std::vector<std::string> log;
    } rows[] = {
        {false, 1, 5, TS_OK, TS_OK, 0, 0, {"SetConfig"}},
        {true, 1, 0, TS_OK, TS_OK, 0, 0, {"SetConfig"}},
        {true, 0, 3, TS_OK, TS_OK, 0, 0, {"SetConfig"}},
        {true, 1, 4, TS_OK, TS_OK, 1, 6, {"SetConfig", "Configure Seek", "Successfully Seeked to Frame 6"}},
        {true, 2, 4, -1, TS_ERROR, 1, 0, {"SetConfig", "Configure Seek", "Seek() != TS_OK : Line# 139"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.running << " mode " << row.mode << " frame " << row.frame);
        ProbeProcessor p;
        ConfigParam c{};
        p.SetConfig(c);
        if (row.running) p.Init();
        p.seekStatus = row.seekStatus;
        p.reachedFrame = 6;
        test::LogCapture logs;
        c.mSeekMode = row.mode, c.mSeekFrame = row.frame, c.mFrames = 12;
        EXPECT_EQ(p.SetConfig(c), row.status);
        EXPECT_EQ(logs.Messages(), row.log);
        EXPECT_EQ(std::tie(p.seekCalls, c.mSeekedFrame), std::tie(row.seekCalls, row.callerSeeked));
        EXPECT_EQ(p.config().mFrames, 12u) << "merged fields stay merged";
        if (row.seekCalls != 0) {
            EXPECT_EQ(std::tie(p.seenSeekFrame, p.config().mSeekedFrame), std::make_tuple(4u, 6u));
            EXPECT_EQ(logs.lines().back().priority, row.status == TS_OK ? 4 : 6);
        } else {
            EXPECT_EQ(std::tie(p.config().mSeekMode, p.config().mSeekFrame), std::make_tuple(0u, 0u));
        }
    }
}

}  // namespace
}  // namespace tessaro
