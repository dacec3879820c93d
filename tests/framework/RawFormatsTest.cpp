// The public view of the picture format table: every raw reader fills a buffer
// of exactly the reach it announces and refuses one byte less.
#include "tessaro/RawFormats.h"

#include <gtest/gtest.h>

#include "support/ClientBuffer.h"
#include "support/TestPaths.h"
#include "tessaro/ProcessorKeys.h"
#include "tessaro/TessaroFactory.h"

namespace tessaro {
namespace {

TEST(RawFormats, ReadersFillTheirReachAndRefuseLess) {
    test::ScratchDir dir;
    const std::string input = dir.Write("in", std::string(1 << 20, 'x'));
    for (const ProcessorKeyInfo& key : ProcessorKeys()) {
        RawFormatInfo info{};
        ASSERT_EQ(RawFormatOf(key.key, &info), key.family == ProcessorFamily::Raw || key.family == ProcessorFamily::Pattern) << key.key;
        if (key.family != ProcessorFamily::Raw) continue;
        for (uint32_t superFrame : {1u, 3u}) {
            SCOPED_TRACE(std::string(key.key) + " x" + std::to_string(superFrame));
            ConfigParam c{};
            c.mWidth = 33, c.mHeight = 17, c.mStride = 40, c.mScanlines = 20, c.mSuperFrame = superFrame;
            c.mInputFileName = input;
            const uint64_t reach = RawBufferReach(key.key, c);
            for (uint64_t capacity : {reach, reach - 1}) {
                auto reader = TessaroFactory::getInstance()->getProcessorInstance(key.key);
                reader->SetConfig(c);
                ASSERT_EQ(reader->Init(), 0);
                ASSERT_LE(reader->GetBufferLength(), reach);
                EXPECT_EQ(reader->Process(test::MakeGraphicBuffer(capacity)) == 0, capacity == reach) << capacity;
            }
        }
    }
    EXPECT_EQ(RawBufferReach("Pattern/NV12", ConfigParam{}), 0u);
}

}  // namespace
}  // namespace tessaro
