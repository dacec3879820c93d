// The extractor stand-in against ffprobe's view of the same files: tracks,
// mime types, codec-specific data, and every sample's size, time and flag.
#include <fcntl.h>
#include <unistd.h>

#include <media/NdkMediaExtractor.h>
#include <media/NdkMediaFormat.h>

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

class Fd {
public:
    explicit Fd(const std::string& path) : mFd(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~Fd() { Close(); }
    int get() const { return mFd; }
    void Close() {
        if (mFd >= 0) close(mFd);
        mFd = -1;
    }

private:
    int mFd;
};

off64_t FileSize(const std::string& path) { return static_cast<off64_t>(ReadFile(path).size()); }

ExtractorPtr OpenExtractor(const std::string& path, media_status_t* status = nullptr) {
    ExtractorPtr extractor(AMediaExtractor_new());
    Fd fd(path);
    const media_status_t result = AMediaExtractor_setDataSourceFd(extractor.get(), fd.get(), 0, FileSize(path));
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

const std::map<std::string, std::string> kMimeOfProbeCodec = {
    {"h264", "video/avc"},  {"hevc", "video/hevc"}, {"av1", "video/av01"},
    {"vp9", "video/x-vnd.on2.vp9"}, {"aac", "audio/mp4a-latm"},
};

class ExtractorSample : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        if (!HaveTool("ffprobe")) GTEST_SKIP() << "ffprobe is not installed";
        path = DataPath(std::string("container/") + GetParam());
    }
    std::string path;
};

// Tracks come in file order with the mime types and geometry ffprobe reports.
TEST_P(ExtractorSample, TracksMatchProbe) {
    media_status_t status;
    ExtractorPtr extractor = OpenExtractor(path, &status);
    ASSERT_EQ(status, AMEDIA_OK);
    const auto streams = ProbeStreams(path);
    ASSERT_FALSE(streams.empty());
    ASSERT_EQ(AMediaExtractor_getTrackCount(extractor.get()), streams.size());
    for (const auto& stream : streams) {
        SCOPED_TRACE("track " + std::to_string(stream.index));
        ASSERT_TRUE(kMimeOfProbeCodec.count(stream.codecName)) << stream.codecName;
        EXPECT_EQ(Mime(extractor.get(), stream.index), kMimeOfProbeCodec.at(stream.codecName));
        if (stream.width != 0) {
            FormatPtr format(AMediaExtractor_getTrackFormat(extractor.get(), stream.index));
            int32_t width = 0;
            int32_t height = 0;
            EXPECT_TRUE(AMediaFormat_getInt32(format.get(), AMEDIAFORMAT_KEY_WIDTH, &width));
            EXPECT_TRUE(AMediaFormat_getInt32(format.get(), AMEDIAFORMAT_KEY_HEIGHT, &height));
            EXPECT_EQ(width, stream.width);
            EXPECT_EQ(height, stream.height);
        }
    }
}

// With one track selected, exactly its packets come back: same count, same
// times in microseconds, same sync flags; sizes as stored (4-byte length
// fields become 4-byte start codes, so H.264/H.265 sizes are unchanged too).
TEST_P(ExtractorSample, SelectedTrackSamplesMatchProbe) {
    const auto streams = ProbeStreams(path);
    for (const auto& stream : streams) {
        SCOPED_TRACE("track " + std::to_string(stream.index));
        ExtractorPtr extractor = OpenExtractor(path);
        ASSERT_EQ(AMediaExtractor_selectTrack(extractor.get(), stream.index), AMEDIA_OK);
        const auto samples = ReadAllSamples(extractor.get());
        const auto packets = ProbePackets(path, stream.index);
        ASSERT_FALSE(packets.empty());
        ASSERT_EQ(samples.size(), packets.size());
        const bool nal = stream.codecName == "h264" || stream.codecName == "hevc";
        for (size_t i = 0; i < samples.size(); ++i) {
            SCOPED_TRACE("sample " + std::to_string(i));
            EXPECT_EQ(samples[i].track, stream.index);
            EXPECT_EQ(samples[i].timeUs, packets[i].timeUs);
            EXPECT_EQ(samples[i].data.size(), packets[i].size);
            EXPECT_EQ(samples[i].flags, packets[i].key ? uint32_t{AMEDIAEXTRACTOR_SAMPLE_FLAG_SYNC} : 0u);
            if (nal) {
                EXPECT_TRUE(IsAnnexB(samples[i].data));
            }
        }
        // At the end every query says so, and stays saying so.
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

INSTANTIATE_TEST_SUITE_P(Samples, ExtractorSample,
                         ::testing::Values("aac_avc.mp4", "hevc.mp4", "vp9.webm", "av1.mp4"),
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
    // The stream's samples as ffmpeg's own Annex-B conversion writes them.
    static std::string FfmpegAnnexB(const std::string& path, const std::string& filter, const std::string& muxer) {
        std::string out;
        RunCommand("ffmpeg -v error -i '" + path + "' -map 0:v -c copy -bsf:v " + filter + " -f " + muxer + " -",
                   &out);
        return out;
    }
    static std::string AsString(const std::vector<uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }
};

// H.264: csd-0 holds the SPS and csd-1 the PPS, each behind a 4-byte start
// code, exactly as ffmpeg's own conversion puts them in front of the IDR.
TEST_F(ExtractorTest, AvcCodecSpecificDataIsSpsThenPps) {
    const std::string path = DataPath("container/aac_avc.mp4");
    ExtractorPtr extractor = OpenExtractor(path);
    const auto csd0 = Csd(extractor.get(), 1, "csd-0");
    const auto csd1 = Csd(extractor.get(), 1, "csd-1");
    ASSERT_TRUE(IsAnnexB(csd0));
    ASSERT_TRUE(IsAnnexB(csd1));
    EXPECT_EQ(csd0[4] & 0x1f, 7);  // SPS
    EXPECT_EQ(csd1[4] & 0x1f, 8);  // PPS
    EXPECT_TRUE(Csd(extractor.get(), 1, "csd-2").empty());
    const std::string annexB = FfmpegAnnexB(path, "h264_mp4toannexb", "h264");
    EXPECT_NE(annexB.find(AsString(csd0) + AsString(csd1)), std::string::npos);
    // The AAC track's csd-0 is its AudioSpecificConfig, as ffprobe shows it.
    EXPECT_EQ(Csd(extractor.get(), 0, "csd-0"), ProbeStreams(path).at(0).extradata);
}

// H.265: VPS, SPS and PPS all in csd-0, behind start codes; no csd-1.
TEST_F(ExtractorTest, HevcCodecSpecificDataIsOneBlob) {
    const std::string path = DataPath("container/hevc.mp4");
    ExtractorPtr extractor = OpenExtractor(path);
    const auto csd0 = Csd(extractor.get(), 0, "csd-0");
    ASSERT_TRUE(IsAnnexB(csd0));
    EXPECT_EQ((csd0[4] >> 1) & 0x3f, 32);  // VPS first
    EXPECT_TRUE(Csd(extractor.get(), 0, "csd-1").empty());
    const std::string annexB = FfmpegAnnexB(path, "hevc_mp4toannexb", "hevc");
    EXPECT_EQ(annexB.compare(0, csd0.size(), AsString(csd0)), 0);
}

// Other codecs: csd-0 is the container's codec record as it stands.
TEST_F(ExtractorTest, OtherCodecsCarryTheirRecordAsCsd0) {
    for (const char* name : {"av1.mp4", "vp9.webm"}) {
        SCOPED_TRACE(name);
        const std::string path = DataPath(std::string("container/") + name);
        ExtractorPtr extractor = OpenExtractor(path);
        EXPECT_EQ(Csd(extractor.get(), 0, "csd-0"), ProbeStreams(path).at(0).extradata);
        EXPECT_TRUE(Csd(extractor.get(), 0, "csd-1").empty());
    }
}

// Unselected tracks' samples never come back; with both selected, each
// track's samples keep their own order and times.
TEST_F(ExtractorTest, OnlySelectedTracksAreReturned) {
    const std::string path = DataPath("container/aac_avc.mp4");
    ExtractorPtr none = OpenExtractor(path);
    EXPECT_EQ(AMediaExtractor_getSampleTrackIndex(none.get()), -1);

    ExtractorPtr both = OpenExtractor(path);
    AMediaExtractor_selectTrack(both.get(), 0);
    AMediaExtractor_selectTrack(both.get(), 1);
    std::map<int, std::vector<int64_t>> times;
    for (const auto& sample : ReadAllSamples(both.get())) times[sample.track].push_back(sample.timeUs);
    for (int track : {0, 1}) {
        SCOPED_TRACE("track " + std::to_string(track));
        std::vector<int64_t> expected;
        for (const auto& packet : ProbePackets(path, track)) expected.push_back(packet.timeUs);
        EXPECT_EQ(times[track], expected);
    }
}

// A buffer too small for the current sample gets -1 and the sample stays.
TEST_F(ExtractorTest, SmallReadBufferKeepsTheSample) {
    ExtractorPtr extractor = OpenExtractor(DataPath("container/hevc.mp4"));
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
// [offset, offset + length): the caller may close its descriptor at once,
// and deleting the extractor closes the duplicate.
TEST_F(ExtractorTest, ReadsOwnDescriptorWithinTheRange) {
    ScratchDir dir;
    const std::string sample = ReadFile(DataPath("container/vp9.webm"));
    const std::string padding(4096, 'x');
    const std::string embedded = dir.Write("embedded.bin", padding + sample + padding);
    const int before = OpenDescriptorCount();
    {
        ExtractorPtr extractor(AMediaExtractor_new());
        Fd fd(embedded);
        ASSERT_EQ(AMediaExtractor_setDataSourceFd(extractor.get(), fd.get(), static_cast<off64_t>(padding.size()),
                                                  static_cast<off64_t>(sample.size())),
                  AMEDIA_OK);
        fd.Close();
        EXPECT_EQ(Mime(extractor.get(), 0), "video/x-vnd.on2.vp9");
        AMediaExtractor_selectTrack(extractor.get(), 0);
        EXPECT_EQ(ReadAllSamples(extractor.get()).size(), ProbePackets(DataPath("container/vp9.webm"), 0).size());
    }
    EXPECT_EQ(OpenDescriptorCount(), before);
}

// Input that is no container (text, nothing, a bare Annex-B stream), or one
// whose index is cut off, is refused with AMEDIA_ERROR_UNSUPPORTED and leaves
// an extractor with no tracks.
TEST_F(ExtractorTest, UnreadableInputIsUnsupported) {
    ScratchDir dir;
    const std::string mp4 = ReadFile(DataPath("container/hevc.mp4"));  // index at the end
    const std::pair<const char*, std::string> cases[] = {
        {"text", std::string(3000, 'a') + "\nnot a container\n"},
        {"empty", ""},
        {"index cut off", mp4.substr(0, mp4.size() / 2)},
        {"bare H.265 stream", FfmpegAnnexB(DataPath("container/hevc.mp4"), "hevc_mp4toannexb", "hevc")},
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
}

// A file cut inside its sample data (index first) opens and ends early and
// cleanly: fewer samples, each one whole.
TEST_F(ExtractorTest, CutSampleDataEndsTheTrackEarly) {
    ScratchDir dir;
    const std::string mp4 = ReadFile(DataPath("container/aac_avc.mp4"));
    const std::string cut = dir.Write("cut.mp4", mp4.substr(0, mp4.size() * 3 / 5));
    media_status_t status;
    ExtractorPtr extractor = OpenExtractor(cut, &status);
    ASSERT_EQ(status, AMEDIA_OK);
    AMediaExtractor_selectTrack(extractor.get(), 1);
    const auto samples = ReadAllSamples(extractor.get());
    const auto full = ProbePackets(DataPath("container/aac_avc.mp4"), 1);
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
