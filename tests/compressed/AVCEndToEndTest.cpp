// H.264 samples through the parser and the compressed writer: what comes out
// must decode, by ffmpeg, to the same frames as the original.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "compressed/AVCStreamParser.h"
#include "support/ClientBuffer.h"
#include "support/TestPaths.h"
#include "writer/StreamWriterCompressed.h"

namespace tessaro {
namespace {

using test::DataPath;
using test::HaveTool;
using test::MakeLinearBuffer;
using test::RunCommand;
using test::ScratchDir;

struct Sample {
    const char* file;
    uint32_t frames;  // pictures in the stream, as ffprobe counts them
};

// ffmpeg's per-frame checksums of a decoded H.264 stream, headers stripped.
std::string FrameMd5(const std::string& path) {
    std::string out;
    const int rc = RunCommand("ffmpeg -hide_banner -loglevel error -f h264 -i '" + path +
                                  "' -f framemd5 - 2>/dev/null | grep -v '^#'",
                              &out);
    EXPECT_EQ(rc, 0) << path;
    return out;
}

uint32_t ProbeFrameCount(const std::string& path) {
    std::string out;
    RunCommand("ffprobe -v error -count_frames -select_streams v:0 -show_entries "
               "stream=nb_read_frames -of csv=p=0 '" + path + "'",
               &out);
    return static_cast<uint32_t>(std::stoul(out.empty() ? "0" : out));
}

struct RunResult {
    uint32_t buffers = 0;
    uint32_t framesClosed = 0;  // buffers with mEndOfFrame set
    std::string output;
};

// Parses `input` (slice mode or not) into buffers sized by GetBufferLength and
// writes each buffer through the compressed writer.
RunResult ParseAndWrite(const std::string& input, bool sliceMode, const ScratchDir& dir) {
    RunResult result;
    result.output = dir.File(sliceMode ? "sliced.264" : "whole.264");
    AVCStreamParser parser;
    ConfigParam config;
    config.mInputFileName = input;
    config.mSliceMode = sliceMode;
    EXPECT_EQ(parser.SetConfig(config), TS_OK);
    EXPECT_EQ(parser.Init(), TS_OK);

    StreamWriterCompressed writer;
    ConfigParam writerConfig;
    writerConfig.mOutputFileName = result.output;
    EXPECT_EQ(writer.SetConfig(writerConfig), TS_OK);
    EXPECT_EQ(writer.Init(), TS_OK);

    for (uint32_t guard = 0; guard < 10000; ++guard) {
        const uint32_t needed = parser.GetBufferLength();
        auto buffer = MakeLinearBuffer(needed == 0 ? 1 : needed);
        EXPECT_EQ(parser.Process(buffer), TS_OK);
        EXPECT_EQ(buffer->mLength, needed);
        EXPECT_EQ(writer.Process(buffer), TS_OK);
        ++result.buffers;
        if (buffer->mEndOfFrame == 1) ++result.framesClosed;
        if (buffer->mFlags & Buffer::FLAG_EOS) break;
    }
    EXPECT_EQ(writer.DeInit(), TS_OK);
    EXPECT_EQ(parser.DeInit(), TS_OK);
    return result;
}

class AVCEndToEnd : public ::testing::TestWithParam<Sample> {
protected:
    void SetUp() override {
        if (!HaveTool("ffmpeg") || !HaveTool("ffprobe")) GTEST_SKIP() << "ffmpeg is not installed";
    }
};

TEST_P(AVCEndToEnd, WholeFramesRoundTripToTheSameDecodedFrames) {
    const std::string input = DataPath(std::string("h264/") + GetParam().file);
    ScratchDir dir;
    const RunResult run = ParseAndWrite(input, false, dir);
    EXPECT_EQ(run.framesClosed, GetParam().frames);
    EXPECT_EQ(run.framesClosed, ProbeFrameCount(input));
    EXPECT_EQ(FrameMd5(run.output), FrameMd5(input));
}

TEST_P(AVCEndToEnd, SlicesRoundTripToTheSameDecodedFrames) {
    const std::string input = DataPath(std::string("h264/") + GetParam().file);
    ScratchDir dir;
    const RunResult run = ParseAndWrite(input, true, dir);
    EXPECT_EQ(run.framesClosed, ProbeFrameCount(input));
    EXPECT_EQ(FrameMd5(run.output), FrameMd5(input));
}

INSTANTIATE_TEST_SUITE_P(Samples, AVCEndToEnd,
                         ::testing::Values(Sample{"single_slice.264", 10},
                                           Sample{"four_slices_bframes.264", 10},
                                           Sample{"aud.264", 8}, Sample{"idr_gop.264", 12}),
                         [](const auto& p) {
                             std::string name = p.param.file;
                             return name.substr(0, name.find('.'));
                         });

}  // namespace
}  // namespace tessaro
