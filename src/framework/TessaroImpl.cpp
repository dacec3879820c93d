#include "framework/TessaroImpl.h"

namespace tessaro {
namespace {

// A set-only flag: a caller's 1 is stored, a caller's 0 never clears it.
void MergeFlag(bool& stored, bool requested) {
    if (requested) stored = true;
}

void MergeIfNonZero(uint32_t& stored, uint32_t requested) {
    if (requested != 0) stored = requested;
}

}  // namespace

int32_t TessaroImpl::SetConfig(ConfigParam& param) {
    TS_LOGI("SetConfig");
    if (mState == STATE::UNINITIALIZED) mState = STATE::CONFIGURED;
    MergeGeometryAndCounts(param);
    MergeFrameRate(param);
    MergeFlagsAndNames(param);
    return ApplySeekRequest(param);
}

void TessaroImpl::MergeGeometryAndCounts(const ConfigParam& param) {
    MergeIfNonZero(mConfigParam.mWidth, param.mWidth);
    MergeIfNonZero(mConfigParam.mLoopFrames, param.mLoopFrames);
    MergeIfNonZero(mConfigParam.mFrames, param.mFrames);
    MergeIfNonZero(mConfigParam.mHeight, param.mHeight);
    MergeIfNonZero(mConfigParam.mStride, param.mStride);
    MergeIfNonZero(mConfigParam.mScanlines, param.mScanlines);
    mConfigParam.mSuperFrame = param.mSuperFrame > 1 ? param.mSuperFrame : 1;
    MergeIfNonZero(mConfigParam.mReserved, param.mReserved);
}

// The readers and generators stamp a buffer with mTimestamp and then advance it
// by step x mSuperFrame, so a new rate replaces that last advance by one at the
// new rate. The arithmetic stays in single precision, as the timestamp is kept.
void TessaroImpl::MergeFrameRate(const ConfigParam& param) {
    if (param.mFrameRateNum == 0 || param.mFrameRateDen == 0) return;
    mConfigParam.mFrameRateNum = param.mFrameRateNum;
    mConfigParam.mFrameRateDen = param.mFrameRateDen;
    const float newDelta =
        static_cast<float>(param.mFrameRateDen * 1000000.0 / param.mFrameRateNum);
    const float oldDelta = mTimestampDelta;
    mTimestampDelta = newDelta;
    if (mTimestamp > 0.0f) {
        const float superFrame = static_cast<float>(mConfigParam.mSuperFrame);
        mTimestamp = (mTimestamp - oldDelta * superFrame) + superFrame * newDelta;
    }
}

void TessaroImpl::MergeFlagsAndNames(const ConfigParam& param) {
    const bool configuring = mState == STATE::CONFIGURED;
    MergeFlag(mConfigParam.mFlagA, param.mFlagA);
    MergeFlag(mConfigParam.mSliceMode, param.mSliceMode);
    MergeFlag(mConfigParam.mFlagC, param.mFlagC);
    if (!param.mOutputFileName.empty()) mConfigParam.mOutputFileName = param.mOutputFileName;
    if (configuring && !param.mCodec.empty()) mConfigParam.mCodec = param.mCodec;
    if (configuring && !param.mInputFileName.empty()) mConfigParam.mInputFileName = param.mInputFileName;
    if (configuring) MergeIfNonZero(mConfigParam.mRepeatInterval, param.mRepeatInterval);
    if (configuring && param.mDeliveryMode != 15) mConfigParam.mDeliveryMode = param.mDeliveryMode;
    if (configuring) {
        MergeFlag(mConfigParam.mStaticPattern, param.mStaticPattern);
        MergeFlag(mConfigParam.mLoopForever, param.mLoopForever);
    }
    if (configuring && param.mPixFormat != 255) mConfigParam.mPixFormat = param.mPixFormat;
    MergeFlag(mConfigParam.mInterlaced, param.mInterlaced);
    if (!param.mSkipSlices.empty()) mConfigParam.mSkipSlices = param.mSkipSlices;
    if (!param.mSliceOrder.empty()) mConfigParam.mSliceOrder = param.mSliceOrder;
}

// A seek is requested only while running; before Init the request is ignored
// and nothing of it is stored.
int32_t TessaroImpl::ApplySeekRequest(ConfigParam& param) {
    if (mState != STATE::RUNNING || param.mSeekMode == 0 || param.mSeekFrame == 0) return TS_OK;
    TS_LOGI("Configure Seek");
    mConfigParam.mSeekMode = param.mSeekMode;
    mConfigParam.mSeekFrame = param.mSeekFrame;
    mConfigParam.mSeekedFrame = param.mSeekedFrame;
    TS_CHECK(Seek() != TS_OK, 139, TS_ERROR);
    param.mSeekMode = mConfigParam.mSeekMode;
    param.mSeekFrame = mConfigParam.mSeekFrame;
    param.mSeekedFrame = mConfigParam.mSeekedFrame;
    TS_LOGI("Successfully Seeked to Frame %u", mConfigParam.mSeekedFrame);
    return TS_OK;
}

}  // namespace tessaro
