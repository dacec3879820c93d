// The umbrella header compiles alone, first in its translation unit, and the
// public records have the values, layout and defaults clients rely on.
#include <tessaro/Tessaro.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

namespace tessaro {
namespace {

static_assert(std::is_same_v<decltype(TS_OK), const int32_t>);
static_assert(std::is_same_v<std::underlying_type_t<STATE>, uint32_t>);
static_assert(TS_OK == 0 && TS_ERROR == -1);
static_assert(static_cast<uint32_t>(STATE::UNINITIALIZED) == 0 && static_cast<uint32_t>(STATE::CONFIGURED) == 1 &&
              static_cast<uint32_t>(STATE::RUNNING) == 2 && static_cast<uint32_t>(STATE::STOPPED) == 4);
static_assert(Buffer::FLAG_EOS == 1 && Buffer::FLAG_CODEC_CONFIG == 2);

// Fields are laid out in the documented order.
static_assert(offsetof(ConfigParam, mWidth) < offsetof(ConfigParam, mFrameRateNum) &&
              offsetof(ConfigParam, mFrameRateDen) < offsetof(ConfigParam, mFrames) &&
              offsetof(ConfigParam, mFrames) < offsetof(ConfigParam, mHeight) &&
              offsetof(ConfigParam, mSpare) < offsetof(ConfigParam, mFlagA) &&
              offsetof(ConfigParam, mInterlaced) < offsetof(ConfigParam, mCodec) &&
              offsetof(ConfigParam, mCodec) < offsetof(ConfigParam, mPixFormat) &&
              offsetof(ConfigParam, mName) < offsetof(ConfigParam, mOutputFileName) &&
              offsetof(ConfigParam, mInputFileName) < offsetof(ConfigParam, mDeliveryMode) &&
              offsetof(ConfigParam, mSeekedFrame) < offsetof(ConfigParam, mSkipSlices) &&
              offsetof(ConfigParam, mSkipSlices) < offsetof(ConfigParam, mSliceOrder));
static_assert(offsetof(Buffer, mFd) < offsetof(Buffer, mEndOfFrame) &&
              offsetof(Buffer, mSliceSkipped) < offsetof(Buffer, mOffset) &&
              offsetof(Buffer, mCapacity) < offsetof(Buffer, mTimestamp) &&
              offsetof(Buffer, mLength) < offsetof(Buffer, mMapOffset) &&
              offsetof(Buffer, mSliceInfo) < offsetof(Buffer, mType) && offsetof(Buffer, mType) < offsetof(Buffer, mFlags));

TEST(PublicHeader, Defaults) {
    const ConfigParam p{};
    EXPECT_EQ(p.mWidth + p.mSuperFrame, 0u);
    EXPECT_EQ(p.mPixFormat, 255u);
    EXPECT_EQ(p.mName, "None");
    EXPECT_EQ(p.mDeliveryMode, 15u);
    EXPECT_FALSE(p.mSliceMode);
    EXPECT_TRUE(p.mCodec.empty() && p.mSkipSlices.empty() && p.mSliceOrder.empty());
    Buffer b{};
    EXPECT_EQ(b.mFd, -1);
    EXPECT_EQ(b.mCapacity + b.mFlags, 0u);
    EXPECT_TRUE(b.isLinear());
    EXPECT_FALSE(b.isGraphic());
    b.mType = 1;
    b.mCapacity = 77;
    EXPECT_TRUE(b.isGraphic());
    EXPECT_FALSE(b.isLinear());
    EXPECT_EQ(b.capacity(), 77u);
}

}  // namespace
}  // namespace tessaro
