#include "core/Report.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tessaro::cli {
namespace {

TEST(ProgressBar, FitsTheWidthWhateverTheCounts) {
    struct Case {
        uint64_t done, total;
        size_t width;
    };
    for (const Case& c : {Case{0, 10, 72}, Case{5, 10, 72}, Case{10, 10, 72}, Case{15, 10, 72},
                          Case{3, 0, 72}, Case{1000000, 0, 72}, Case{5, 10, 10}, Case{5, 10, 0}}) {
        SCOPED_TRACE(std::to_string(c.done) + "/" + std::to_string(c.total) + " in " + std::to_string(c.width));
        const std::string bar = ProgressBar::Render(c.done, c.total, 1536, 2.5, c.width);
        const size_t open = bar.find('['), close = bar.find(']');
        ASSERT_EQ(open, 0u);
        ASSERT_NE(close, std::string::npos);
        if (c.width > 40) {
            EXPECT_EQ(bar.size(), c.width);
        }
        const std::string inside = bar.substr(1, close - 1);
        const size_t filled = std::count(inside.begin(), inside.end(), '#');
        if (c.total == 0) {
            EXPECT_EQ(filled, inside.empty() ? 0u : 1u) << "a moving marker";
        } else {
            EXPECT_EQ(filled, inside.size() * std::min(c.done, c.total) / c.total);
        }
        EXPECT_NE(bar.find("1.5 KiB"), std::string::npos) << bar;
    }
}

TEST(Report, SummaryAndNames) {
    RunTotals totals;
    totals.buffers = 12;
    totals.frames = 10;
    totals.bytes = 3 * 1024 * 1024;
    totals.sawEos = true;
    totals.seconds = 2.0;
    EXPECT_EQ(FormatSummary("Parse/AVC", totals),
              "Parse/AVC: 12 buffers, 10 frames, 3145728 bytes, EOS, 2.000 s, 1.5 MiB/s, 6 buffers/s");
    totals = RunTotals{};
    EXPECT_EQ(FormatSummary("Pattern/NV12", totals).find("0 buffers, 0 frames, 0 bytes, no EOS, 0.000 s"), 14u);

    EXPECT_EQ(FlagsName(0), "0");
    EXPECT_EQ(FlagsName(3), "EOS|CODEC_CONFIG");
    EXPECT_EQ(FlagsName(0x12), "CODEC_CONFIG|0x10");
    EXPECT_EQ(StatusName(-3), "processor not running");
    EXPECT_EQ(StatusName(-9), "unknown status");
    EXPECT_EQ(JsonEscape("a\"b\\c\n\x01"), "a\\\"b\\\\c\\n\\u0001");
}

}  // namespace
}  // namespace tessaro::cli
