// The umbrella header compiles alone, first in its translation unit, and the
// public records have the layout and defaults clients rely on.
#include <tessaro/Tessaro.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

namespace tessaro {
namespace {

TEST(PublicHeader, StatusCodesAndStates) {
    static_assert(std::is_same_v<decltype(TS_OK), const int32_t>);
    EXPECT_EQ(TS_OK, 0);
    EXPECT_EQ(TS_ERROR, -1);
    static_assert(std::is_same_v<std::underlying_type_t<STATE>, uint32_t>);
    EXPECT_EQ(static_cast<uint32_t>(STATE::UNINITIALIZED), 0u);
    EXPECT_EQ(static_cast<uint32_t>(STATE::CONFIGURED), 1u);
    EXPECT_EQ(static_cast<uint32_t>(STATE::RUNNING), 2u);
    EXPECT_EQ(static_cast<uint32_t>(STATE::STOPPED), 4u);
}

TEST(PublicHeader, ConfigParamDefaults) {
    const ConfigParam p{};
    EXPECT_EQ(p.mWidth, 0u);
    EXPECT_EQ(p.mSuperFrame, 0u);
    EXPECT_EQ(p.mPixFormat, 255u);
    EXPECT_EQ(p.mName, "None");
    EXPECT_EQ(p.mDeliveryMode, 15u);
    EXPECT_FALSE(p.mSliceMode);
    EXPECT_TRUE(p.mCodec.empty());
    EXPECT_TRUE(p.mSkipSlices.empty());
    EXPECT_TRUE(p.mSliceOrder.empty());
}

TEST(PublicHeader, ConfigParamFieldOrder) {
    // Fields are laid out in the documented order.
    EXPECT_LT(offsetof(ConfigParam, mWidth), offsetof(ConfigParam, mFrameRateNum));
    EXPECT_LT(offsetof(ConfigParam, mFrameRateDen), offsetof(ConfigParam, mFrames));
    EXPECT_LT(offsetof(ConfigParam, mFrames), offsetof(ConfigParam, mHeight));
    EXPECT_LT(offsetof(ConfigParam, mSpare), offsetof(ConfigParam, mFlagA));
    EXPECT_LT(offsetof(ConfigParam, mInterlaced), offsetof(ConfigParam, mCodec));
    EXPECT_LT(offsetof(ConfigParam, mCodec), offsetof(ConfigParam, mPixFormat));
    EXPECT_LT(offsetof(ConfigParam, mName), offsetof(ConfigParam, mOutputFileName));
    EXPECT_LT(offsetof(ConfigParam, mInputFileName), offsetof(ConfigParam, mDeliveryMode));
    EXPECT_LT(offsetof(ConfigParam, mSeekedFrame), offsetof(ConfigParam, mSkipSlices));
    EXPECT_LT(offsetof(ConfigParam, mSkipSlices), offsetof(ConfigParam, mSliceOrder));
}

TEST(PublicHeader, BufferDefaultsAndAccessors) {
    Buffer b{};
    EXPECT_EQ(b.mFd, -1);
    EXPECT_EQ(b.mCapacity, 0u);
    EXPECT_EQ(b.mFlags, 0u);
    EXPECT_TRUE(b.isLinear());
    EXPECT_FALSE(b.isGraphic());
    b.mType = 1;
    b.mCapacity = 77;
    EXPECT_TRUE(b.isGraphic());
    EXPECT_FALSE(b.isLinear());
    EXPECT_EQ(b.capacity(), 77u);
    EXPECT_EQ(Buffer::FLAG_EOS, 1u);
    EXPECT_EQ(Buffer::FLAG_CODEC_CONFIG, 2u);
    EXPECT_LT(offsetof(Buffer, mFd), offsetof(Buffer, mEndOfFrame));
    EXPECT_LT(offsetof(Buffer, mSliceSkipped), offsetof(Buffer, mOffset));
    EXPECT_LT(offsetof(Buffer, mCapacity), offsetof(Buffer, mTimestamp));
    EXPECT_LT(offsetof(Buffer, mLength), offsetof(Buffer, mMapOffset));
    EXPECT_LT(offsetof(Buffer, mSliceInfo), offsetof(Buffer, mType));
    EXPECT_LT(offsetof(Buffer, mType), offsetof(Buffer, mFlags));
}

}  // namespace
}  // namespace tessaro
