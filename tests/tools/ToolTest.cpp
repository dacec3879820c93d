// The tessaro program end to end: exit statuses and messages, and what it
// delivers checked against ffmpeg/ffprobe as independent judges.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "core/Md5.h"
#include "support/FactoryKeys.h"
#include "support/Probe.h"
#include "support/TestPaths.h"

#ifdef TESSARO_TOOL
namespace tessaro::test {
namespace {

struct Result {
    int status;
    std::string out, err;
};

#ifndef TESSARO_TOOL_LAUNCHER
#define TESSARO_TOOL_LAUNCHER ""
#endif

std::string ToolDir() {
    const std::string tool = TESSARO_TOOL;
    return tool.substr(0, tool.rfind('/'));
}

// Under an emulator the tool cannot hand "index" over to its helper (the
// emulator does not follow exec), so the helper is run directly there.
std::string CommandLine(const std::string& args) {
    const std::string launcher = TESSARO_TOOL_LAUNCHER;
    if (launcher.empty()) return std::string(TESSARO_TOOL) + " " + args;
    if (args.rfind("index", 0) == 0) return launcher + " " + ToolDir() + "/tessaro-index" + args.substr(5);
    if (args == "help index") return launcher + " " + ToolDir() + "/tessaro-index --help";
    return launcher + " " + TESSARO_TOOL + " " + args;
}

Result Tool(const std::string& args) {
    ScratchDir dir;
    Result r;
    r.status = RunCommand(CommandLine(args) + " 2>" + dir.File("err"), &r.out);
    r.err = ReadFile(dir.File("err"));
    return r;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// The library's warning lines (the factory's entry lines among them) also go
// to stderr; the tool's own lines start with "tessaro: ".
std::vector<std::string> ToolLines(const std::string& err) {
    std::vector<std::string> own;
    for (const auto& line : Lines(err)) {
        if (line.rfind("tessaro: ", 0) == 0) own.push_back(line);
    }
    return own;
}

bool HaveIndexHelper() { return std::ifstream(ToolDir() + "/tessaro-index").good(); }

TEST(Tool, BadCommandLinesExitTwoWithAOneLineReason) {
    for (const char* args : {"", "frobnicate", "help frobnicate", "list extra", "run", "run Parse/avc -i x.264",
                             "run Parse/AVC", "run Parse/AVC -i x.264 --frames ten", "run Parse/AVC -i x.264 --no-such-flag",
                             "run Parse/AVC -i x.264 --loop-forever", "run Write/Compressed -i x.264"}) {
        SCOPED_TRACE(args);
        const Result r = Tool(args);
        EXPECT_EQ(r.status, 2);
        EXPECT_EQ(Lines(r.err).size(), 1u) << r.err;
        EXPECT_EQ(r.err.rfind("tessaro: ", 0), 0u) << r.err;
        EXPECT_TRUE(r.out.empty()) << r.out;
    }
}

TEST(Tool, EveryCommandHasHelpAndListsTheKeysInTheFactorysOrder) {
    std::vector<std::string> cases = {"--help", "-h", "help", "help run", "help list", "run --help", "run Parse/AVC -h", "list --help"};
    if (HaveIndexHelper()) cases.insert(cases.end(), {"index --help", "help index"});
    for (const auto& args : cases) {
        SCOPED_TRACE(args);
        const Result r = Tool(args);
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out.rfind("usage: tessaro", 0), 0u) << r.out;
    }
    const Result r = Tool("list");
    ASSERT_EQ(r.status, 0);
    const auto lines = Lines(r.out);
    ASSERT_EQ(lines.size(), std::size(kFactoryKeys));
    for (size_t i = 0; i < lines.size(); ++i) EXPECT_EQ(lines[i].rfind(std::string(kFactoryKeys[i].key) + " ", 0), 0u) << lines[i];
}

// The compressed samples of the tree, all parsed by "Parse/AVC".
std::vector<std::string> CompressedSamples() {
    std::vector<std::string> samples;
    for (const char* name : {"single_slice.264", "four_slices_bframes.264", "aud.264", "idr_gop.264"}) {
        const std::string path = DataPath(std::string("h264/") + name);
        if (std::ifstream(path).good()) samples.push_back(path);
    }
    return samples;
}

// Runs the tool and expects it to fail (exit 1) with one line of its own containing each of `parts`.
void ExpectFailureLine(const std::string& args, const std::vector<std::string>& parts) {
    SCOPED_TRACE(args);
    const Result r = Tool(args + " --no-progress");
    EXPECT_EQ(r.status, 1) << r.err;
    const auto own = ToolLines(r.err);
    ASSERT_EQ(own.size(), 1u) << r.err;
    for (const auto& part : parts) EXPECT_NE(own[0].find(part), std::string::npos) << own[0];
}

TEST(Tool, FailingStatusExitsOneAndNamesStatusAndCheck) {
    const auto samples = CompressedSamples();
    if (samples.empty()) GTEST_SKIP() << "no compressed samples in this tree";
    ExpectFailureLine("run Parse/AVC -i /nonexistent.264", {"Init failed with status -1 (TS_ERROR): mInputFile.is_open() == false"});
    ExpectFailureLine("run Parse/AVC -i " + samples[0] + " --buffer-type graphic",
                      {"Process (buffer 0) failed with status -4 (wrong buffer kind or empty input): buffer->isLinear() == false"});
    ExpectFailureLine("run Parse/AVC -i " + samples[0] + " --capacity 16",
                      {"Process (buffer 0) failed with status -1 (TS_ERROR): buffer->capacity() < length"});
}

struct Md5Line {
    uint64_t offset, length, timestamp;
    std::string flags, md5;
};

std::vector<Md5Line> ParseMd5Lines(const std::string& out) {
    std::vector<Md5Line> lines;
    const std::regex shape(R"((\d+), (\d+), (\d+), ([A-Z_|0-9x]+), (\d+), ([0-9a-f]{32})?)");
    for (const auto& line : Lines(out)) {
        std::smatch m;
        if (!std::regex_match(line, m, shape)) continue;
        EXPECT_EQ(std::stoull(m[1]), lines.size()) << line;
        lines.push_back({std::stoull(m[2]), std::stoull(m[3]), std::stoull(m[5]), m[4], m[6]});
    }
    return lines;
}

TEST(Tool, Md5LinesDescribeExactlyWhatWasDelivered) {
    for (const auto& path : CompressedSamples()) {
        SCOPED_TRACE(path);
        ScratchDir dir;
        const Result r = Tool("run Parse/AVC -i " + path + " --md5 --dump " + dir.File("dump") + " --no-progress");
        ASSERT_EQ(r.status, 0) << r.err;
        const auto lines = ParseMd5Lines(r.out);
        ASSERT_FALSE(lines.empty()) << r.out;
        const std::string dump = ReadFile(dir.File("dump"));
        uint64_t at = 0;
        for (size_t i = 0; i < lines.size(); ++i) {
            SCOPED_TRACE("buffer " + std::to_string(i));
            EXPECT_EQ(lines[i].offset, 0u);
            EXPECT_EQ(lines[i].timestamp, (i + 1) * 1000000u) << "one frame per buffer, frame number x 1 s";
            ASSERT_LE(at + lines[i].length, dump.size());
            EXPECT_EQ(lines[i].md5, cli::Md5::Of(reinterpret_cast<const uint8_t*>(dump.data()) + at, lines[i].length));
            EXPECT_EQ(lines[i].flags == "EOS", i + 1 == lines.size());
            at += lines[i].length;
        }
        EXPECT_EQ(at, dump.size());
        const std::string n = std::to_string(lines.size());
        EXPECT_NE(r.out.find(n + " buffers, " + n + " frames, " + std::to_string(dump.size()) + " bytes, EOS"), std::string::npos)
            << r.out;
    }
}

TEST(Tool, SeekIsIssuedAfterTheGivenBuffer) {
    const std::string sample = DataPath("h264/idr_gop.264");  // sync frames 1, 5, 9 of 12
    if (!std::ifstream(sample).good()) GTEST_SKIP() << "no idr_gop.264 in this tree";
    const Result r = Tool("run Parse/AVC -i " + sample + " --seek 6 --seek-after 2 --md5 --no-progress");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("tessaro: seek to frame 6 (sync) reached frame 9"), std::string::npos) << r.err;
    std::vector<uint64_t> stamps;
    for (const auto& line : ParseMd5Lines(r.out)) stamps.push_back(line.timestamp);
    // Two buffers, then the nearest sync frame on.
    EXPECT_EQ(stamps, (std::vector<uint64_t>{1000000, 2000000, 9000000, 10000000, 11000000, 12000000}));

    const Result exact = Tool("run Parse/AVC -i " + sample + " --seek 6 --seek-mode exact --md5 --no-progress");
    ASSERT_EQ(exact.status, 0) << exact.err;
    EXPECT_EQ(ParseMd5Lines(exact.out).front().timestamp, 6000000u);
    // The last frame is never a sync-seek target: the run fails naming both checks.
    ExpectFailureLine("run Parse/AVC -i " + sample + " --seek 12 --seek-after 1",
                      {"status -1 (TS_ERROR): mIsSeekSet == false : Line# ", "Seek() != TS_OK : Line# 139 [Tessaro::Impl]"});
}

TEST(Tool, RawRoundTripWritesThePicturesBack) {
    const struct {
        const char *key, *file, *extra;
        size_t pictures;  // pictures expected back (of 5)
    } cases[] = {
        {"Parse/NV12", "raw/testsrc_64x48_5f.nv12", "", 5},
        {"Parse/P010", "raw/testsrc_64x48_5f.p010le", "", 5},
        {"Parse/RGBA32", "raw/testsrc_64x48_5f.rgba", "", 5},
        // Two pictures a buffer: the writer takes them one by one; the odd
        // fifth picture never fills a buffer.
        {"Parse/NV12", "raw/testsrc_64x48_5f.nv12", "--super-frame 2", 4},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.key) + " " + c.extra);
        const std::string input = DataPath(c.file);
        if (!std::ifstream(input).good()) GTEST_SKIP() << "no raw samples in this tree";
        ScratchDir dir;
        const Result r = Tool(std::string("run ") + c.key + " -i " + input + " --size 64x48 -o " + dir.File("out") + " " +
                              c.extra + " --no-progress");
        ASSERT_EQ(r.status, 0) << r.err;
        const std::string original = ReadFile(input), written = ReadFile(dir.File("out"));
        ASSERT_EQ(written.size(), original.size() / 5 * c.pictures);
        EXPECT_TRUE(written == original.substr(0, written.size()));
        EXPECT_NE(r.out.find(std::to_string(c.pictures) + " frames"), std::string::npos) << r.out;
    }
}

// Decoded frames of a stream as ffmpeg's framemd5 checksums.
std::vector<std::string> DecodedFrames(const std::string& path) {
    std::string out;
    RunCommand("ffmpeg -hide_banner -loglevel error -i " + path + " -f framemd5 - 2>/dev/null", &out);
    std::vector<std::string> sums;
    for (const auto& line : Lines(out)) {
        if (!line.empty() && line[0] != '#') sums.push_back(line.substr(line.rfind(',') + 1));
    }
    return sums;
}

TEST(Tool, WrittenStreamDecodesToTheSameFrames) {
    if (!HaveTool("ffmpeg")) GTEST_SKIP() << "ffmpeg is not installed";
    for (const auto& path : CompressedSamples()) {
        SCOPED_TRACE(path);
        ScratchDir dir;
        const Result r = Tool("run Parse/AVC -i " + path + " -o " + dir.File("out.264") + " --no-progress -q");
        ASSERT_EQ(r.status, 0) << r.err;
        const auto original = DecodedFrames(path);
        ASSERT_FALSE(original.empty());
        EXPECT_EQ(DecodedFrames(dir.File("out.264")), original);
    }
}

TEST(Tool, IndexAgreesWithFfprobePackets) {
    if (!HaveIndexHelper()) GTEST_SKIP() << "the compressed parsers are not part of this build";
    if (!HaveTool("ffprobe")) GTEST_SKIP() << "ffprobe is not installed";
    for (const auto& path : CompressedSamples()) {
        SCOPED_TRACE(path);
        const Result r = Tool("index --json --key Parse/AVC " + path);
        ASSERT_EQ(r.status, 0) << r.err;
        // Byte range covered by each frame's units.
        std::map<uint64_t, std::pair<uint64_t, uint64_t>> frames;
        const std::regex unit(R"(\{"frame": (\d+), "unit": \d+, "offset": (\d+), "length": (\d+))");
        for (std::sregex_iterator it(r.out.begin(), r.out.end(), unit), end; it != end; ++it) {
            const uint64_t frame = std::stoull((*it)[1]), begin = std::stoull((*it)[2]);
            const uint64_t finish = begin + std::stoull((*it)[3]);
            auto [entry, added] = frames.emplace(frame, std::make_pair(begin, finish));
            entry->second = {std::min(entry->second.first, begin), std::max(entry->second.second, finish)};
        }
        std::string probe;
        ASSERT_EQ(RunCommand("ffprobe -v error -show_entries packet=pos,size -of csv=p=0 " + path, &probe), 0);
        const auto packets = Lines(probe);
        ASSERT_EQ(frames.size(), packets.size());
        size_t i = 0;
        for (const auto& [frame, range] : frames) {
            SCOPED_TRACE("frame " + std::to_string(frame) + ": " + packets[i]);
            const size_t comma = packets[i].find(',');
            const uint64_t size = std::stoull(packets[i].substr(0, comma)), pos = std::stoull(packets[i].substr(comma + 1));
            // A delimiter or SEI ahead of the first parameter set has no unit
            // of its own; from the second frame on, the frames tile the file.
            EXPECT_TRUE(i == 0 ? range.first >= pos : range.first == pos) << range.first << " vs " << pos;
            EXPECT_EQ(range.second, pos + size);
            ++i;
        }
    }
}

}  // namespace
}  // namespace tessaro::test
#endif  // TESSARO_TOOL
