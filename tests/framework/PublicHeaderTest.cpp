// The umbrella header compiles alone, first in its translation unit, and the
// public records start with the defaults clients rely on.
#include <tessaro/Tessaro.h>

#include <gtest/gtest.h>

namespace tessaro {
namespace {

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
