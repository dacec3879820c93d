// GetFrameIndex: the public copy of a compressed parser's frame offset table.
#include <gtest/gtest.h>

#include <tessaro/Tessaro.h>

#include "compressed/StreamParserCompressed.h"
#include "support/TestPaths.h"

namespace tessaro {
namespace {

std::shared_ptr<TessaroInterface> Parser(const char* key, const char* sample, bool slices) {
    auto parser = TessaroFactory::getInstance()->getProcessorInstance(key);
    ConfigParam config{};
    config.mInputFileName = test::DataPath(sample);
    config.mSliceMode = slices;
    parser->SetConfig(config);
    return parser;
}

// Every unit of the table, in frame then unit order, each slice by number.
TEST(FrameIndex, CopiesTheTableInOrder) {
    for (const auto& [key, sample] : {std::make_pair("Parse/HEVC", "h265/two_slices.265"),
                                      std::make_pair("Parse/AVC", "h264/four_slices_bframes.264")}) {
        SCOPED_TRACE(sample);
        auto parser = Parser(key, sample, true);
        ASSERT_EQ(parser->Init(), TS_OK);
        std::vector<FrameIndexEntry> entries(1);
        ASSERT_EQ(GetFrameIndex(*parser, entries), TS_OK);
        const auto& table = static_cast<StreamParserCompressed&>(*parser).frameOffsetTable();
        size_t at = 0;
        for (uint32_t frame = 1; frame <= table.size(); ++frame) {
            for (size_t unit = 0; unit < table.at(frame).size(); ++unit, ++at) {
                ASSERT_LT(at, entries.size());
                const auto& info = table.at(frame)[unit];
                const auto& e = entries[at];
                EXPECT_EQ(std::make_tuple(e.frame, e.unit, e.offset, e.length, e.type, e.last, e.layer),
                          std::make_tuple(frame, uint32_t(unit), info.mOffset, info.mLength, info.mFrameType,
                                          info.mIsLastFrame, info.mLayerId));
                ASSERT_EQ(e.slices.size(), info.mSliceOffsetTable.size());
                for (size_t s = 0; s < e.slices.size(); ++s) {
                    EXPECT_EQ(e.slices[s].slice, s + 1);
                    EXPECT_EQ(std::make_pair(e.slices[s].offset, e.slices[s].length), info.mSliceOffsetTable.at(s + 1));
                }
            }
        }
        EXPECT_EQ(at, entries.size());
    }
}

// Only a running compressed parser has a table; failures leave the list empty.
TEST(FrameIndex, RefusesOtherProcessorsAndParsersNotRunning) {
    std::vector<FrameIndexEntry> entries(2);
    auto pattern = TessaroFactory::getInstance()->getProcessorInstance("Pattern/NV12");
    EXPECT_EQ(GetFrameIndex(*pattern, entries), TS_ERROR);
    EXPECT_TRUE(entries.empty());
    auto parser = Parser("Parse/AVC", "h264/idr_gop.264", false);
    entries.resize(2);
    EXPECT_EQ(GetFrameIndex(*parser, entries), -3) << "before Init";
    EXPECT_TRUE(entries.empty());
    ASSERT_EQ(parser->Init(), TS_OK);
    EXPECT_EQ(GetFrameIndex(*parser, entries), TS_OK);
    EXPECT_EQ(entries.size(), 18u);
    parser->DeInit();
    EXPECT_EQ(GetFrameIndex(*parser, entries), -3) << "after DeInit";
}

}  // namespace
}  // namespace tessaro
