// The media extractor stand-in against ffprobe's view of the same files: tracks,
// mime types, codec-specific data, and every sample's size, time and flag.
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

std::vector<uint8_t> Csd(AMediaExtractor* extractor, size_t track, const char* key) {
    FormatPtr format(AMediaExtractor_getTrackFormat(extractor, track));
    void* data = nullptr;
    size_t size = 0;
    if (!AMediaFormat_getBuffer(format.get(), key, &data, &size)) return {};
    const auto* bytes = static_cast<const uint8_t*>(data);
    return {bytes, bytes + size};
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

std::string AsString(const std::vector<uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

// The stream's samples as ffmpeg's own Annex-B conversion writes them.
std::string FfmpegAnnexB(const std::string& path, const std::string& filter, const std::string& muxer) {
    std::string out;
    RunCommand("ffmpeg -v error -i '" + path + "' -map 0:v -c copy -bsf:v " + filter + " -f " + muxer + " -", &out);
    return out;
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
            EXPECT_EQ(samples[i].track, stream.index);
            EXPECT_EQ(samples[i].timeUs, packets[i].timeUs);
            EXPECT_EQ(samples[i].data.size(), packets[i].size);
            EXPECT_EQ(samples[i].flags, packets[i].key ? uint32_t{AMEDIAEXTRACTOR_SAMPLE_FLAG_SYNC} : 0u);
            if (stream.codecName == "h264" || stream.codecName == "hevc") {
                EXPECT_TRUE(IsAnnexB(samples[i].data));
            }
        }
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(AMediaExtractor_getSampleTrackIndex(extractor.get()), -1);
            EXPECT_EQ(AMediaExtractor_getSampleTime(extractor.get()), -1);
            EXPECT_EQ(AMediaExtractor_getSampleSize(extractor.get()), -1);
            uint8_t byte = 0;
            EXPECT_EQ(AMediaExtractor_readSampleData(extractor.get(), &byte, 1), -1);
            EXPECT_FALSE(AMediaExtractor_advance(extractor.get()));
        }
    }
}

// H.264: csd-0 holds the SPS and csd-1 the PPS, each behind a 4-byte start
// code, exactly as ffmpeg's own conversion puts them in front of the IDR.
// H.265: VPS, SPS and PPS all in csd-0, as ffmpeg's conversion starts. Other
// codecs (and the AAC track) carry the container's codec record as csd-0.
TEST_P(ExtractorSample, CodecSpecificData) {
    ExtractorPtr extractor = OpenExtractor(path);
    const auto streams = ProbeStreams(path);
    const std::string name = GetParam();
    const size_t video = name == "aac_avc.mp4" ? 1 : 0;
    const auto csd0 = Csd(extractor.get(), video, "csd-0");
    const auto csd1 = Csd(extractor.get(), video, "csd-1");
    EXPECT_TRUE(Csd(extractor.get(), video, "csd-2").empty());
    if (name == "aac_avc.mp4") {
        ASSERT_TRUE(IsAnnexB(csd0) && IsAnnexB(csd1));
        EXPECT_EQ(csd0[4] & 0x1f, 7);  // SPS
        EXPECT_EQ(csd1[4] & 0x1f, 8);  // PPS
        EXPECT_NE(FfmpegAnnexB(path, "h264_mp4toannexb", "h264").find(AsString(csd0) + AsString(csd1)), std::string::npos);
        EXPECT_EQ(Csd(extractor.get(), 0, "csd-0"), streams.at(0).extradata);
    } else if (name == "hevc.mp4") {
        ASSERT_TRUE(IsAnnexB(csd0));
        EXPECT_EQ((csd0[4] >> 1) & 0x3f, 32);  // VPS first
        EXPECT_TRUE(csd1.empty());
        EXPECT_EQ(FfmpegAnnexB(path, "hevc_mp4toannexb", "hevc").compare(0, csd0.size(), AsString(csd0)), 0);
    } else {
        EXPECT_EQ(csd0, streams.at(0).extradata);
        EXPECT_TRUE(csd1.empty());
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, ExtractorSample, ::testing::Values("aac_avc.mp4", "hevc.mp4", "vp9.webm", "av1.mp4"),
                         [](const auto& param) {
                             std::string name = param.param;
                             for (char& c : name) {
                                 if (!isalnum(static_cast<unsigned char>(c))) c = '_';
                             }
                             return name;
                         });

class ExtractorTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!HaveTool("ffmpeg")) GTEST_SKIP() << "ffmpeg is not installed";
    }
};

// Unselected tracks' samples never come back; with both selected, each
// track's samples keep their own order and times.
TEST_F(ExtractorTest, OnlySelectedTracksAreReturned) {
    const std::string path = Container("aac_avc.mp4");
    EXPECT_EQ(AMediaExtractor_getSampleTrackIndex(OpenExtractor(path).get()), -1);
    ExtractorPtr both = OpenExtractor(path);
    AMediaExtractor_selectTrack(both.get(), 0);
    AMediaExtractor_selectTrack(both.get(), 1);
    std::map<int, std::vector<int64_t>> times;
    for (const auto& sample : ReadAllSamples(both.get())) times[sample.track].push_back(sample.timeUs);
    for (int track : {0, 1}) {
        std::vector<int64_t> expected;
        for (const auto& packet : ProbePackets(path, track)) expected.push_back(packet.timeUs);
        EXPECT_EQ(times[track], expected) << "track " << track;
    }
}

// A buffer too small for the current sample (or none) gets -1 and the sample stays.
TEST_F(ExtractorTest, SmallReadBufferKeepsTheSample) {
    ExtractorPtr extractor = OpenExtractor(Container("hevc.mp4"));
    AMediaExtractor_selectTrack(extractor.get(), 0);
    const ssize_t size = AMediaExtractor_getSampleSize(extractor.get());
    ASSERT_GT(size, 1);
    std::vector<uint8_t> scratch(static_cast<size_t>(size));
    EXPECT_EQ(AMediaExtractor_readSampleData(extractor.get(), scratch.data(), scratch.size() - 1), -1);
    EXPECT_EQ(AMediaExtractor_readSampleData(extractor.get(), nullptr, scratch.size()), -1);
    EXPECT_EQ(AMediaExtractor_readSampleData(extractor.get(), scratch.data(), scratch.size()), size);
    EXPECT_EQ(AMediaExtractor_getSampleTime(extractor.get()), 0);
}

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

// Input that is no container (text, nothing, a bare Annex-B stream), or one
// whose index is cut off, is refused with AMEDIA_ERROR_UNSUPPORTED and leaves
// an extractor with no tracks. A file cut inside its sample data (index first)
// opens and ends early and cleanly: fewer samples, each one whole.
TEST_F(ExtractorTest, UnreadableAndCutInput) {
    ScratchDir dir;
    const std::string hevc = ReadFile(Container("hevc.mp4"));  // index at the end
    const std::pair<const char*, std::string> cases[] = {
        {"text", std::string(3000, 'a') + "\nnot a container\n"},
        {"empty", ""},
        {"index cut off", hevc.substr(0, hevc.size() / 2)},
        {"bare H.265 stream", FfmpegAnnexB(Container("hevc.mp4"), "hevc_mp4toannexb", "hevc")},
    };
    ASSERT_GT(cases[3].second.size(), 1000u);
    for (const auto& [name, content] : cases) {
        SCOPED_TRACE(name);
        media_status_t status;
        ExtractorPtr extractor = OpenExtractor(dir.Write("bad.bin", content), &status);
        EXPECT_EQ(status, AMEDIA_ERROR_UNSUPPORTED);
        EXPECT_EQ(AMediaExtractor_getTrackCount(extractor.get()), 0u);
        EXPECT_EQ(AMediaExtractor_selectTrack(extractor.get(), 0), AMEDIA_ERROR_INVALID_PARAMETER);
        EXPECT_EQ(AMediaExtractor_getSampleTrackIndex(extractor.get()), -1);
    }
    const std::string mp4 = ReadFile(Container("aac_avc.mp4"));
    media_status_t status;
    ExtractorPtr extractor = OpenExtractor(dir.Write("cut.mp4", mp4.substr(0, mp4.size() * 3 / 5)), &status);
    ASSERT_EQ(status, AMEDIA_OK);
    AMediaExtractor_selectTrack(extractor.get(), 1);
    const auto samples = ReadAllSamples(extractor.get());
    const auto full = ProbePackets(Container("aac_avc.mp4"), 1);
    EXPECT_GT(samples.size(), 0u);
    EXPECT_LT(samples.size(), full.size());
    for (size_t i = 0; i < samples.size(); ++i) EXPECT_EQ(samples[i].data.size(), full[i].size);
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
