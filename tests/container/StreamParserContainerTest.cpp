// The container parser driven like a harness drives it, with ffprobe (and, end
// to end, ffmpeg's decoder) judging what it delivers.
#include "container/StreamParserContainer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "support/ClientBuffer.h"
#include "support/LogCapture.h"
#include "support/Probe.h"
#include "support/TestPaths.h"

namespace tessaro {
namespace {

using test::LogCapture;

constexpr const char* kTag = "Tessaro::Impl::StreamParser::Container";

std::string Sample(const std::string& name) { return test::DataPath("container/" + name); }

void Configure(StreamParserContainer& parser, const std::string& codec, const std::string& path, uint32_t frames = 0) {
    ConfigParam param;
    param.mCodec = codec;
    param.mInputFileName = path;
    param.mFrames = frames;
    parser.SetConfig(param);
}

struct Delivery {
    int32_t status;
    std::vector<uint8_t> data;
    uint64_t timestamp;
    uint32_t flags;
};

Delivery ProcessOne(StreamParserContainer& parser, uint64_t capacity = StreamParserContainer::kBufferLength) {
    auto buffer = test::MakeLinearBuffer(capacity);
    const int32_t status = parser.Process(buffer);
    return {status, test::ReadValid(*buffer), buffer->mTimestamp, buffer->mFlags};
}

// Every buffer up to and including the first one flagged EOS.
std::vector<Delivery> ProcessToEos(StreamParserContainer& parser) {
    std::vector<Delivery> out;
    for (int guard = 0; guard < 10000; ++guard) {
        out.push_back(ProcessOne(parser));
        if (out.back().status != TS_OK || (out.back().flags & Buffer::FLAG_EOS)) break;
    }
    return out;
}

// Each bad input fails Init with its own message, leaves the state alone, and
// leaves no descriptor open once the parser is gone. Codec keys are matched
// exactly; there is no VP8 entry.
TEST(ContainerInit, BadInputFailsWithItsMessage) {
    test::ScratchDir dir;
    const std::string mp4 = test::ReadFile(Sample("hevc.mp4")), webm = Sample("vp9.webm");
    const std::string unknownCodec = "MimeType.find(mConfigParam.mCodec) == MimeType.end() : Line# 34";
    const struct {
        const char* name;
        std::string codec, path;
        std::vector<std::pair<int, std::string>> expected;
    } cases[] = {
        {"codec avc", "avc", Sample("aac_avc.mp4"), {{6, unknownCodec}}},
        {"codec Hevc", "Hevc", Sample("aac_avc.mp4"), {{6, unknownCodec}}},
        {"codec VP8", "VP8", Sample("aac_avc.mp4"), {{6, unknownCodec}}},
        {"codec H264", "H264", Sample("aac_avc.mp4"), {{6, unknownCodec}}},
        {"no codec", "", Sample("aac_avc.mp4"), {{6, unknownCodec}}},
        {"missing file", "AVC", dir.File("absent.mp4"), {{6, "mFD < 0 : Line# 44"}}},
        {"not a container", "AVC", dir.Write("notes.txt", std::string(2000, 'z') + "\nno container here\n"),
         {{6, "Failed to set the data source for extractor"}}},
        {"truncated mp4", "HEVC", dir.Write("cut.mp4", mp4.substr(0, mp4.size() / 2)),
         {{6, "Failed to set the data source for extractor"}}},
        {"no such track", "AVC", webm,
         {{4, "Found 1 tracks in the file"}, {4, "Found track (video/x-vnd.on2.vp9) in file (" + webm + ")"},
          {6, "Couldn't find track in (" + webm + ")"}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const int before = test::OpenDescriptorCount();
        {
            LogCapture logs;
            StreamParserContainer parser;
            Configure(parser, c.codec, c.path);
            EXPECT_EQ(parser.Init(), TS_ERROR);
            EXPECT_EQ(parser.state(), STATE::CONFIGURED);
            for (const auto& [priority, message] : c.expected) EXPECT_TRUE(logs.Has(priority, kTag, message));
        }
        EXPECT_EQ(test::OpenDescriptorCount(), before);
    }
}

// The audio track in front is named on the way, then the video track is
// selected and its two headers queued.
TEST(ContainerInit, SkipsEarlierTracksAndQueuesHeaders) {
    LogCapture logs;
    StreamParserContainer parser;
    const std::string path = Sample("aac_avc.mp4");
    Configure(parser, "AVC", path);
    ASSERT_EQ(parser.Init(), TS_OK);
    EXPECT_EQ(parser.state(), STATE::RUNNING);
    EXPECT_EQ(std::make_pair(parser.trackIndex(), parser.trackCount()), std::make_pair(1, 2));
    EXPECT_EQ(logs.Messages(kTag), (std::vector<std::string>{"Init", "Found 2 tracks in the file",
                                                             "Found track (audio/mp4a-latm) in file (" + path + ")",
                                                             "Found track (video/avc) in file (" + path + ")",
                                                             "Header count in Track = 2"}));
    EXPECT_EQ(logs.lines().at(0).priority, 4);
}

// The checks in their order: a null buffer is refused even before the state
// is looked at. Nothing is consumed.
TEST(ContainerProcess, PreconditionsInOrder) {
    StreamParserContainer idle, running;
    Configure(running, "HEVC", Sample("hevc.mp4"));
    ASSERT_EQ(running.Init(), TS_OK);
    const struct {
        StreamParserContainer* parser;
        std::shared_ptr<Buffer> buffer;
        int32_t status;
        const char* message;
    } cases[] = {
        {&idle, nullptr, -2, "buffer == nullptr : Line# 705"},
        {&idle, test::MakeLinearBuffer(64), -3, "mState != STATE::RUNNING : Line# 706"},
        {&running, test::MakeGraphicBuffer(64), -4, "buffer->isLinear() == false : Line# 707"},
    };
    for (const auto& c : cases) {
        LogCapture logs;
        EXPECT_EQ(c.parser->Process(c.buffer), c.status);
        EXPECT_TRUE(logs.Has(5, kTag, "Process"));
        EXPECT_TRUE(logs.Has(6, kTag, c.message));
    }
    EXPECT_EQ(running.pendingHeaders(), 1u);
}

// mFrames = N: N samples after the headers (which do not count), the N-th EOS.
TEST(ContainerProcess, FrameLimitEndsTheRun) {
    LogCapture logs;
    StreamParserContainer parser;
    Configure(parser, "HEVC", Sample("hevc.mp4"), 3);
    ASSERT_EQ(parser.Init(), TS_OK);
    const auto delivered = ProcessToEos(parser);
    std::vector<uint32_t> flags;
    for (const auto& d : delivered) flags.push_back(d.flags);
    EXPECT_EQ(flags, (std::vector<uint32_t>{Buffer::FLAG_CODEC_CONFIG, 0, 0, Buffer::FLAG_EOS}));
    EXPECT_FALSE(delivered.back().data.empty());
    EXPECT_EQ(logs.Count(4, kTag, "Last Frame to Process. Adding EOS Flag"), 1u);
    EXPECT_EQ(ProcessOne(parser).flags, Buffer::FLAG_EOS);
}

// A header that does not fit is still used up: the buffer goes out empty,
// flagged CODEC_CONFIG. A sample that does not fit fails the call, leaves the
// flags alone and stays for the next call.
TEST(ContainerProcess, UnitsLargerThanTheBuffer) {
    LogCapture logs;
    StreamParserContainer parser;
    Configure(parser, "AVC", Sample("aac_avc.mp4"));
    ASSERT_EQ(parser.Init(), TS_OK);
    const Delivery header = ProcessOne(parser, 8);
    EXPECT_EQ(std::make_tuple(header.status, header.data.size(), header.flags, parser.pendingHeaders()),
              std::make_tuple(TS_OK, size_t{0}, Buffer::FLAG_CODEC_CONFIG, size_t{1}));
    EXPECT_TRUE(logs.Has(6, kTag, "buffer->capacity() - totalLength < length : Line# 746"));
    EXPECT_EQ(ProcessOne(parser).flags, Buffer::FLAG_CODEC_CONFIG);  // csd-1
    logs.Clear();
    auto small = test::MakeLinearBuffer(16);
    small->mFlags = 7;
    EXPECT_EQ(parser.Process(small), TS_ERROR);
    EXPECT_EQ(small->mFlags, 7u);
    EXPECT_TRUE(logs.HasAll(6, kTag, {"buffer->capacity() - totalLength < length : Line# 746",
                                      "fillFrame(localBuffer, sampleSize) != TS_OK : Line# 803"}));
    const Delivery first = ProcessOne(parser);
    EXPECT_TRUE(first.status == TS_OK && first.data.size() > 16u);
    EXPECT_EQ(parser.frameCount(), 2u);
}

TEST(ContainerParser, BufferLengthAndSeek) {
    LogCapture logs;
    StreamParserContainer parser;
    EXPECT_EQ(parser.GetBufferLength(), static_cast<uint32_t>(-3));
    EXPECT_TRUE(logs.Has(6, kTag, "mState != STATE::RUNNING : Line# 846"));
    Configure(parser, "VP9", Sample("vp9.webm"));
    ASSERT_EQ(parser.Init(), TS_OK);
    logs.Clear();
    EXPECT_EQ(parser.GetBufferLength(), 10485760u);
    EXPECT_TRUE(logs.lines().empty());
    EXPECT_EQ(parser.Seek(), TS_ERROR);
    EXPECT_TRUE(logs.Has(5, kTag, "Seek") && logs.Has(6, kTag, "The Seek functionality is disabled"));
    ConfigParam seek;
    seek.mSeekMode = 1, seek.mSeekFrame = 3;
    EXPECT_EQ(parser.SetConfig(seek), TS_ERROR);
}

// DeInit forgets the run's counters and its input descriptor but
// keeps the extractor, its position, the headers and the state; a second
// DeInit, a second Init and destruction close nothing twice and leak nothing.
TEST(ContainerParser, DeInitAndReInitOwnTheirResources) {
    const int before = test::OpenDescriptorCount();
    {
        LogCapture logs;
        StreamParserContainer parser;
        Configure(parser, "HEVC", Sample("hevc.mp4"), 2);
        ASSERT_EQ(parser.Init(), TS_OK);
        EXPECT_GE(parser.fd(), 0);
        ASSERT_EQ(ProcessToEos(parser).size(), 3u);
        EXPECT_EQ(parser.DeInit(), TS_OK);
        EXPECT_TRUE(logs.Has(5, kTag, "DeInit"));
        EXPECT_EQ(parser.state(), STATE::RUNNING);
        EXPECT_EQ(std::make_tuple(parser.fd(), parser.frameCount(), parser.trackIndex(), parser.sawEOS()),
                  std::make_tuple(-1, 1u, -1, false));
        EXPECT_EQ(parser.DeInit(), TS_OK);  // nothing left to close
        // A new Init builds a new extractor and queues the headers again,
        // behind any left over.
        ASSERT_EQ(parser.Init(), TS_OK);
        ASSERT_EQ(parser.Init(), TS_OK);
        EXPECT_TRUE(logs.Has(4, kTag, "Header count in Track = 2"));
        EXPECT_EQ(parser.pendingHeaders(), 2u);
        EXPECT_EQ(test::OpenDescriptorCount(), before + 2);  // ours and the extractor's
    }
    EXPECT_EQ(test::OpenDescriptorCount(), before);
}

// The per-frame checksums of ffmpeg's decode, without the time columns.
std::vector<std::string> FrameChecksums(const std::string& input, const std::string& options) {
    std::string output;
    test::RunCommand("ffmpeg -v error " + options + " -i '" + input + "' -map 0:v -f framemd5 -", &output);
    std::vector<std::string> sums;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line[0] != '#') sums.push_back(line.substr(line.rfind(',') + 1));
    }
    return sums;
}

struct EndToEndCase {
    const char *file, *codec;
    int track;
    const char* rawFormat;  // ffmpeg demuxer for the written stream; null: no decode check
};

class ContainerEndToEnd : public ::testing::TestWithParam<EndToEndCase> {};

// The codec-config buffers (csd-0, csd-1, ...) travel alone, flagged
// CODEC_CONFIG at time 0; then every sample of the track with ffprobe's time,
// flags 0, the last one EOS; after that only "Already reached EOS", the
// buffer's length and time untouched. Every delivered buffer appended to a file
// (what the compressed writer does) decodes to the container's frames.
TEST_P(ContainerEndToEnd, DeliveredStreamMatchesTheContainer) {
    if (!test::HaveTool("ffmpeg") || !test::HaveTool("ffprobe")) GTEST_SKIP() << "ffmpeg is not installed";
    const EndToEndCase& c = GetParam();
    const std::string path = Sample(c.file);
    StreamParserContainer parser;
    Configure(parser, c.codec, path);
    ASSERT_EQ(parser.Init(), TS_OK);
    const size_t headers = parser.pendingHeaders();
    std::string stream;
    std::vector<int64_t> times, expected;
    const auto delivered = ProcessToEos(parser);
    for (size_t i = 0; i < delivered.size(); ++i) {
        const Delivery& d = delivered[i];
        ASSERT_EQ(d.status, TS_OK);
        stream.append(d.data.begin(), d.data.end());
        const uint32_t flags = i < headers ? Buffer::FLAG_CODEC_CONFIG : i + 1 == delivered.size() ? Buffer::FLAG_EOS : 0;
        EXPECT_EQ(d.flags, flags) << i;
        if (i >= headers) times.push_back(static_cast<int64_t>(d.timestamp));
        else EXPECT_EQ(d.timestamp, 0u);
    }
    if (std::string(c.codec) == "AVC") {  // SPS, then PPS
        ASSERT_EQ(headers, 2u);
        EXPECT_EQ(std::make_pair(delivered[0].data.at(4) & 0x1f, delivered[1].data.at(4) & 0x1f), std::make_pair(7, 8));
    }
    for (const auto& packet : test::ProbePackets(path, c.track)) expected.push_back(packet.timeUs);
    EXPECT_EQ(times, expected);
    LogCapture logs;
    auto buffer = test::MakeLinearBuffer(64);
    buffer->mLength = 17;
    buffer->mTimestamp = 99;
    EXPECT_EQ(parser.Process(buffer), TS_OK);
    EXPECT_EQ(std::make_tuple(buffer->mFlags, buffer->mLength, buffer->mTimestamp),
              std::make_tuple(Buffer::FLAG_EOS, uint64_t{17}, uint64_t{99}));
    EXPECT_TRUE(logs.Has(5, kTag, "Already reached EOS"));
    if (c.rawFormat != nullptr) {
        test::ScratchDir dir;
        const auto original = FrameChecksums(path, "");
        ASSERT_FALSE(original.empty());
        EXPECT_EQ(FrameChecksums(dir.Write("stream.bin", stream), std::string("-f ") + c.rawFormat), original);
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, ContainerEndToEnd,
                         ::testing::Values(EndToEndCase{"aac_avc.mp4", "AVC", 1, "h264"}, EndToEndCase{"hevc.mp4", "HEVC", 0, "hevc"},
                                           EndToEndCase{"vp9.webm", "VP9", 0, nullptr}, EndToEndCase{"av1.mp4", "AV1", 0, nullptr}),
                         [](const auto& param) { return std::string(param.param.codec); });

// ---- Without the extractor's backend ------------------------------------------

// Run by ctest as container.without_backend, with a copy of libmediandk.so
// alone in its directory first on the library path: no extractor can be
// made, so Init fails with the data source message, leaves the state and
// leaks nothing, and FFmpeg is never loaded. AMediaFormat still works.
TEST(ContainerWithoutBackend, InitFailsWithoutLoadingFfmpeg) {
    if (std::getenv("TESSARO_TEST_WITHOUT_BACKEND") == nullptr) {
        GTEST_SKIP() << "needs libmediandk.so without its backend (ctest container.without_backend)";
    }
    const int before = test::OpenDescriptorCount();
    for (int round = 0; round < 2; ++round) {  // the second attempt does not retry the load
        SCOPED_TRACE("round " + std::to_string(round));
        LogCapture logs;
        StreamParserContainer parser;
        Configure(parser, "AVC", Sample("aac_avc.mp4"));
        EXPECT_EQ(parser.Init(), TS_ERROR);
        EXPECT_EQ(parser.state(), STATE::CONFIGURED);
        EXPECT_TRUE(logs.Has(6, kTag, "Failed to set the data source for extractor"));
    }
    EXPECT_EQ(test::OpenDescriptorCount(), before);
    EXPECT_EQ(AMediaExtractor_new(), nullptr);
    EXPECT_FALSE(test::SharedObjectLoaded("libavformat.so"));

    AMediaFormat* format = AMediaFormat_new();
    ASSERT_NE(format, nullptr);
    AMediaFormat_setString(format, AMEDIAFORMAT_KEY_MIME, "video/avc");
    const char* mime = nullptr;
    EXPECT_TRUE(AMediaFormat_getString(format, AMEDIAFORMAT_KEY_MIME, &mime));
    EXPECT_STREQ(mime, "video/avc");
    EXPECT_EQ(AMediaFormat_delete(format), AMEDIA_OK);
}

}  // namespace
}  // namespace tessaro
