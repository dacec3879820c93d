// The media extractor stand-in against ffprobe's view of the same files: tracks,
// mime types, and every sample's size, time and flag. (Its codec-specific data
// is judged where the container parser's stream is decoded by ffmpeg.)
#include <fcntl.h>
#include <media/NdkMediaExtractor.h>
#include <media/NdkMediaFormat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "support/Probe.h"
#include "support/TestPaths.h"

namespace tessaro::test {
namespace {

struct ExtractorDeleter {
    void operator()(AMediaExtractor* extractor) const { AMediaExtractor_delete(extractor); }
};
struct FormatDeleter {
    void operator()(AMediaFormat* format) const { AMediaFormat_delete(format); }
};
using ExtractorPtr = std::unique_ptr<AMediaExtractor, ExtractorDeleter>;
using FormatPtr = std::unique_ptr<AMediaFormat, FormatDeleter>;

std::string Container(const std::string& name) { return DataPath("container/" + name); }

// An extractor over [offset, offset + length) of the file (the whole file when
// length is 0); the caller's descriptor is closed before it is used.
ExtractorPtr OpenExtractor(const std::string& path, media_status_t* status = nullptr, off64_t offset = 0, off64_t length = 0) {
    ExtractorPtr extractor(AMediaExtractor_new());
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (length == 0) length = static_cast<off64_t>(ReadFile(path).size());
    const media_status_t result = AMediaExtractor_setDataSourceFd(extractor.get(), fd, offset, length);
    if (fd >= 0) close(fd);
    if (status != nullptr) *status = result;
    return extractor;
}

std::string Mime(AMediaExtractor* extractor, size_t track) {
    FormatPtr format(AMediaExtractor_getTrackFormat(extractor, track));
    const char* mime = nullptr;
    if (format == nullptr || !AMediaFormat_getString(format.get(), AMEDIAFORMAT_KEY_MIME, &mime)) return "";
    return mime;
}

struct Sample {
    int track;
    int64_t timeUs;
    std::vector<uint8_t> data;
    uint32_t flags;
};

std::vector<Sample> ReadAllSamples(AMediaExtractor* extractor) {
    std::vector<Sample> samples;
    std::vector<uint8_t> scratch(1 << 20);
    while (AMediaExtractor_getSampleTrackIndex(extractor) >= 0) {
        const ssize_t size = AMediaExtractor_readSampleData(extractor, scratch.data(), scratch.size());
        if (size < 0) break;
        samples.push_back({AMediaExtractor_getSampleTrackIndex(extractor), AMediaExtractor_getSampleTime(extractor),
                           {scratch.begin(), scratch.begin() + size}, AMediaExtractor_getSampleFlags(extractor)});
        EXPECT_EQ(AMediaExtractor_getSampleSize(extractor), size);
        if (!AMediaExtractor_advance(extractor)) break;
    }
    return samples;
}

bool IsAnnexB(const std::vector<uint8_t>& data) {
    return data.size() > 4 && data[0] == 0 && data[1] == 0 && data[2] == 0 && data[3] == 1;
}

class ExtractorSample : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        if (!HaveTool("ffmpeg") || !HaveTool("ffprobe")) GTEST_SKIP() << "ffmpeg is not installed";
    }
    const std::string path = Container(GetParam());
};

// Tracks come in file order with the mime types and geometry ffprobe reports.
// With one track selected, exactly its packets come back: same count, times
// in microseconds and sync flags; sizes as stored (4-byte length fields become
// 4-byte start codes). At the end every query says so, and stays saying so.
TEST_P(ExtractorSample, TracksAndSamplesMatchProbe) {
    const std::map<std::string, std::string> mimeOf = {{"h264", "video/avc"}, {"hevc", "video/hevc"}, {"av1", "video/av01"},
                                                        {"vp9", "video/x-vnd.on2.vp9"}, {"aac", "audio/mp4a-latm"}};
    media_status_t status;
    ExtractorPtr tracks = OpenExtractor(path, &status);
    ASSERT_EQ(status, AMEDIA_OK);
    const auto streams = ProbeStreams(path);
    ASSERT_FALSE(streams.empty());
    ASSERT_EQ(AMediaExtractor_getTrackCount(tracks.get()), streams.size());
    for (const auto& stream : streams) {
        SCOPED_TRACE("track " + std::to_string(stream.index));
        ASSERT_TRUE(mimeOf.count(stream.codecName)) << stream.codecName;
        EXPECT_EQ(Mime(tracks.get(), stream.index), mimeOf.at(stream.codecName));
        if (stream.width != 0) {
            FormatPtr format(AMediaExtractor_getTrackFormat(tracks.get(), stream.index));
            int32_t width = 0, height = 0;
            EXPECT_TRUE(AMediaFormat_getInt32(format.get(), AMEDIAFORMAT_KEY_WIDTH, &width));
            EXPECT_TRUE(AMediaFormat_getInt32(format.get(), AMEDIAFORMAT_KEY_HEIGHT, &height));
            EXPECT_EQ(std::make_pair(width, height), std::make_pair(stream.width, stream.height));
        }
        ExtractorPtr extractor = OpenExtractor(path);
        ASSERT_EQ(AMediaExtractor_selectTrack(extractor.get(), stream.index), AMEDIA_OK);
        const auto samples = ReadAllSamples(extractor.get());
        const auto packets = ProbePackets(path, stream.index);
        ASSERT_FALSE(packets.empty());
        ASSERT_EQ(samples.size(), packets.size());
        for (size_t i = 0; i < samples.size(); ++i) {
            SCOPED_TRACE("sample " + std::to_string(i));
            EXPECT_EQ(std::make_tuple(samples[i].track, samples[i].timeUs, uint64_t(samples[i].data.size())),
                      std::make_tuple(stream.index, packets[i].timeUs, packets[i].size));
            EXPECT_EQ(samples[i].flags, packets[i].key ? uint32_t{AMEDIAEXTRACTOR_SAMPLE_FLAG_SYNC} : 0u);
            EXPECT_TRUE((stream.codecName != "h264" && stream.codecName != "hevc") || IsAnnexB(samples[i].data));
        }
        for (int round = 0; round < 2; ++round) {
            uint8_t byte = 0;
            EXPECT_EQ(std::make_tuple(AMediaExtractor_getSampleTrackIndex(extractor.get()), AMediaExtractor_getSampleTime(extractor.get()),
                                      AMediaExtractor_getSampleSize(extractor.get()), AMediaExtractor_readSampleData(extractor.get(), &byte, 1)),
                      std::make_tuple(-1, int64_t{-1}, ssize_t{-1}, ssize_t{-1}));
            EXPECT_FALSE(AMediaExtractor_advance(extractor.get()));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, ExtractorSample, ::testing::Values("aac_avc.mp4", "hevc.mp4", "vp9.webm", "av1.mp4"),
                         [](const auto& param) { return std::string(param.param).replace(std::string(param.param).find('.'), 1, "_"); });

class ExtractorTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!HaveTool("ffmpeg")) GTEST_SKIP() << "ffmpeg is not installed";
    }
};

// The extractor reads its own duplicate of the descriptor within
// [offset, offset + length), and deleting it closes the duplicate.
TEST_F(ExtractorTest, ReadsOwnDescriptorWithinTheRange) {
    ScratchDir dir;
    const std::string sample = ReadFile(Container("vp9.webm")), padding(4096, 'x');
    const std::string embedded = dir.Write("embedded.bin", padding + sample + padding);
    const int before = OpenDescriptorCount();
    {
        media_status_t status;
        ExtractorPtr extractor = OpenExtractor(embedded, &status, static_cast<off64_t>(padding.size()),
                                               static_cast<off64_t>(sample.size()));
        ASSERT_EQ(status, AMEDIA_OK);
        EXPECT_EQ(Mime(extractor.get(), 0), "video/x-vnd.on2.vp9");
        AMediaExtractor_selectTrack(extractor.get(), 0);
        EXPECT_EQ(ReadAllSamples(extractor.get()).size(), ProbePackets(Container("vp9.webm"), 0).size());
    }
    EXPECT_EQ(OpenDescriptorCount(), before);
}

// ---- Loading ----------------------------------------------------------------

// Whether FFmpeg was mapped when the test program started, before any test
// made an extractor (shared objects the program links are loaded by then).
const bool kFfmpegAtStartUp = SharedObjectLoaded("libavformat.so");

// libmediandk.so brings no FFmpeg with it; the first extractor does. Clients
// may make their first extractors from several threads at once: each one gets
// a working extractor and the same samples.
TEST(ExtractorLoading, FfmpegComesWithTheFirstExtractorsFromAnyThread) {
    EXPECT_FALSE(kFfmpegAtStartUp);
    const std::string path = DataPath("container/aac_avc.mp4");
    constexpr int kThreads = 4;
    std::vector<std::vector<Sample>> samples(kThreads);
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            ready.fetch_add(1);
            while (ready.load() < kThreads) std::this_thread::yield();
            media_status_t status = AMEDIA_ERROR_UNKNOWN;
            ExtractorPtr extractor = OpenExtractor(path, &status);
            if (extractor == nullptr || status != AMEDIA_OK) return;
            AMediaExtractor_selectTrack(extractor.get(), 1);
            samples[t] = ReadAllSamples(extractor.get());
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_TRUE(SharedObjectLoaded("libavformat.so"));
    ASSERT_FALSE(samples[0].empty());
    for (int t = 1; t < kThreads; ++t) {
        SCOPED_TRACE("thread " + std::to_string(t));
        ASSERT_EQ(samples[t].size(), samples[0].size());
        for (size_t i = 0; i < samples[0].size(); ++i) {
            EXPECT_EQ(samples[t][i].timeUs, samples[0][i].timeUs);
            EXPECT_EQ(samples[t][i].data, samples[0][i].data);
        }
    }
}

}  // namespace
}  // namespace tessaro::test
