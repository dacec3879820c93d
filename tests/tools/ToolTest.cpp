// The tessaro program end to end: what a user sees for each command line
// (tests/data/tools/runs.txt), golden outputs, and what it delivers judged by
// the input itself and by ffmpeg.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <sstream>

#include "core/Probe.h"
#include "support/Probe.h"
#include "support/TestPaths.h"

#ifdef TESSARO_TOOL
namespace tessaro::test {
namespace {

#ifndef TESSARO_TOOL_LAUNCHER
#define TESSARO_TOOL_LAUNCHER ""
#endif
const std::string kData = TESSARO_TEST_DATA_DIR;

struct Result {
    int status;
    std::string out, err;
};
struct RunRow {
    int status;
    std::string args, err;
};

std::string Replace(std::string text, const std::string& from, const std::string& to) {
    for (size_t at; (at = text.find(from)) != std::string::npos;) text.replace(at, from.size(), to);
    return text;
}

Result Tool(const std::string& args) {
    ScratchDir dir;
    Result r;
    r.status = RunCommand(TESSARO_TOOL_LAUNCHER " " TESSARO_TOOL " " + args + " 2>" + dir.File("err"), &r.out);
    r.err = ReadFile(dir.File("err"));
    return r;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// Rows "status | arguments | stderr" (the stderr pattern may hold '|').
std::vector<RunRow> RunRows() {
    std::vector<RunRow> rows;
    const std::regex row(R"((\d+) *\| *(.*?) *\| *(.*))");
    std::smatch m;
    for (const auto& line : Lines(ReadFile(DataPath("tools/runs.txt")))) {
        if (std::regex_match(line, m, row)) rows.push_back({std::stoi(m[1]), m[2], m[3]});
    }
    return rows;
}

class ToolRun : public ::testing::TestWithParam<RunRow> {};

TEST_P(ToolRun, ExitStatusAndEveryStderrLine) {
    ScratchDir out;
    const RunRow& row = GetParam();
    const std::string args = Replace(Replace(row.args, "$DATA", kData), "$OUT", out.path());
    SCOPED_TRACE(args);
    Result r = Tool(args);
    EXPECT_EQ(r.status, row.status) << r.err;
    if (!r.err.empty() && r.err.back() == '\n') r.err.pop_back();
    EXPECT_TRUE(std::regex_match(r.err, std::regex(Replace(row.err, "\\n", "\n")))) << r.err;
}

INSTANTIATE_TEST_SUITE_P(Runs, ToolRun, ::testing::ValuesIn(RunRows()));

TEST(Tool, OutputsMatchTheGoldenFiles) {
    const struct {
        const char *args, *golden;
    } cases[] = {
        {"index $DATA/h264/idr_gop.264 -v", "tools/idr_gop.264.index"},
        {"index --json -k Parse/HEVC $DATA/h265/two_slices.265 -v", "tools/two_slices.265.json"},
        {"index $DATA/tools/false_start_code.264 -v", "tools/false_start_code.264.index"},
        {"run Parse/AVC -i $DATA/h264/idr_gop.264 --md5 -q", "tools/idr_gop.264.md5"},
        {"run Pattern/NV12 --size 64x48 --frames 2 --interlaced --md5 -q", "tools/pattern_64x48.md5"},
        {"list", "tools/list.txt"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        const Result r = Tool(Replace(c.args, "$DATA", kData));
        EXPECT_EQ(r.status, 0) << r.err;
        std::string golden = ReadFile(DataPath(c.golden));
#ifndef TESSARO_HAVE_CONTAINER
        golden = std::regex_replace(golden, std::regex("Parse/Container.*\n"), "");
#endif
        EXPECT_EQ(Replace(r.out, kData, "$DATA"), golden);
    }
    for (const char* args : {"--help", "help", "help run", "help list", "help index", "run -h", "index --help"}) {
        EXPECT_EQ(Tool(args).out.rfind("usage: tessaro", 0), 0u) << args;
    }
}

std::vector<std::string> Column(const std::string& text, size_t from) {
    std::vector<std::string> fields;
    for (const auto& line : Lines(text)) {
        if (line.empty() || line[0] == '#') continue;
        std::string rest = line;
        for (size_t i = 0; i < from; ++i) rest = rest.substr(rest.find(',') + 1);
        fields.push_back(std::regex_replace(rest, std::regex(" +"), " "));
    }
    return fields;
}

// Round trips: raw readers give the file back through the raw writer, and
// IVF output decodes as the input does.
TEST(Tool, RoundTripsGiveTheInputBack) {
    const struct {
        const char *args, *input, *output;
    } cases[] = {
        {"Parse/NV12 --size 64x48", "raw/testsrc_64x48_5f.nv12", "out.yuv"},
        {"Parse/YV12 --size 64x48", "raw/testsrc_64x48_5f.nv12", "out.yuv"},
        {"Parse/P010 --size 64x48", "raw/testsrc_64x48_5f.p010le", "out.yuv"},
        {"Parse/RGBA32 --size 64x48 --stride 80", "raw/testsrc_64x48_5f.rgba", "out.rgba"},
        {"Parse/NV12 --size 64x48 --super-frame 5", "raw/testsrc_64x48_5f.nv12", "out.yuv"},
        {"Parse/APV", "apv/four_units.apv", "out.apv"},
        {"Parse/VPX", "vpx/vp9_kf4.ivf", "out.ivf"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        ScratchDir dir;
        const std::string input = DataPath(c.input), output = dir.File(c.output);
        const Result r = Tool(std::string("run ") + c.args + " -i " + input + " -o " + output + " -q");
        ASSERT_EQ(r.status, 0) << r.err;
        const bool ivf = std::string(c.output) == "out.ivf";  // the rest: byte for byte
        EXPECT_TRUE(ivf || ReadFile(output) == ReadFile(input));
        if (!ivf || !HaveTool("ffmpeg")) continue;
        std::string a, b;
        RunCommand("ffmpeg -v error -i " + input + " -f framemd5 -", &a);
        RunCommand("ffmpeg -v error -i " + output + " -f framemd5 -", &b);
        EXPECT_EQ(Column(a, 4), Column(b, 4));
        EXPECT_EQ(Column(a, 4).size(), 10u);
    }
}

TEST(Tool, InterruptClosesOutputsAndReportsThePartialRun) {
    ScratchDir dir;
    const std::string md5 = dir.File("md5"), err = dir.File("err");  // SIGINT once md5 lines are on disk
    const int status = RunCommand(TESSARO_TOOL_LAUNCHER " " TESSARO_TOOL " run Pattern/NV12 --size 64x48 --frames 4000000000 --md5-file " +
                                  md5 + " 2>" + err + " & p=$!; for i in $(seq 1200); do [ -s " + md5 + " ] && break; sleep 0.05; done; kill -INT $p; wait $p");
    EXPECT_EQ(status, 130) << ReadFile(err);
    EXPECT_TRUE(std::regex_match(ReadFile(err), std::regex("Pattern/NV12: (\\d+) buffers, \\1 frames, \\d+ bytes, interrupted, .*\n"))) << ReadFile(err);
    EXPECT_EQ((" " + ReadFile(md5)).back(), '\n') << "every line written whole";
}

}  // namespace
}  // namespace tessaro::test
#endif  // TESSARO_TOOL
