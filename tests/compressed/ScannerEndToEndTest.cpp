// H.265, VP8/VP9, AV1 and APV samples through their parsers: what is delivered
// must decode, by ffmpeg, to the same frames as the original; a sync-frame
// seek into the middle must give a stream that decodes from that point on.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "compressed/APVStreamParser.h"
#include "compressed/AV1StreamParser.h"
#include "compressed/HEVCStreamParser.h"
#include "compressed/ScannerTestSupport.h"
#include "compressed/VPXStreamParser.h"
#include "support/ClientBuffer.h"

namespace tessaro {
namespace {

using test::DataPath;
using test::HaveTool;
using test::LittleEndian32;
using test::MakeLinearBuffer;
using test::RunCommand;
using test::ScratchDir;

enum class Kind { kHevc, kVpx, kAv1, kApv };

struct Sample {
    const char* name;
    Kind kind;
    const char* file;
    const char* demuxer;   // ffmpeg's input format; "" for none (not decodable)
    bool ivf;              // frames are re-wrapped in IVF for the judge
    uint32_t frames;       // frames in the stream
    bool slices;           // slice mode delivers decodable pieces
    uint32_t seekTo;       // seek request, 0 = none
    uint32_t seekReached;  // where it lands
    uint32_t seekMode;     // 1 = to a sync frame, 2 = exactly
};

void PrintTo(const Sample& sample, std::ostream* os) { *os << sample.file; }

std::unique_ptr<StreamParserCompressed> MakeParser(Kind kind) {
    switch (kind) {
        case Kind::kHevc: return std::make_unique<HEVCStreamParser>();
        case Kind::kVpx: return std::make_unique<VPXStreamParser>();
        case Kind::kAv1: return std::make_unique<AV1StreamParser>();
        case Kind::kApv: return std::make_unique<APVStreamParser>();
    }
    return nullptr;
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct Delivery {
    std::vector<std::string> buffers;  // the valid bytes of every buffer
    uint32_t framesClosed = 0;         // buffers with mEndOfFrame set
};

// Runs the parser over the sample, optionally after a sync-frame seek, with
// buffers sized by GetBufferLength, until a buffer carries EOS.
Delivery Deliver(const Sample& sample, bool sliceMode, uint32_t seekTo) {
    SCOPED_TRACE(sliceMode ? "slice mode" : "whole frames");
    Delivery run;
    auto parser = MakeParser(sample.kind);
    ConfigParam config;
    config.mInputFileName = DataPath(sample.file);
    config.mSliceMode = sliceMode;
    EXPECT_EQ(parser->SetConfig(config), TS_OK);
    EXPECT_EQ(parser->Init(), TS_OK);
    if (seekTo != 0) {
        ConfigParam seek;
        seek.mSeekMode = sample.seekMode;
        seek.mSeekFrame = seekTo;
        EXPECT_EQ(parser->SetConfig(seek), TS_OK);
        EXPECT_EQ(seek.mSeekedFrame, sample.seekReached);
    }
    for (uint32_t guard = 0; guard < 1000; ++guard) {
        const uint32_t needed = parser->GetBufferLength();
        auto buffer = MakeLinearBuffer(needed == 0 ? 1 : needed);
        EXPECT_EQ(parser->Process(buffer), TS_OK);
        EXPECT_EQ(buffer->mLength, needed);
        const auto bytes = test::ReadValid(*buffer);
        run.buffers.emplace_back(bytes.begin(), bytes.end());
        if (buffer->mEndOfFrame == 1) ++run.framesClosed;
        if (buffer->mFlags & Buffer::FLAG_EOS) break;
    }
    EXPECT_EQ(parser->DeInit(), TS_OK);
    return run;
}

// The delivered bytes as a file the judge can read: concatenated, or each
// frame buffer behind a 12-byte IVF frame header under the original file header.
std::string Rewrap(const Sample& sample, const Delivery& run) {
    std::string out;
    if (sample.ivf) out = ReadFile(DataPath(sample.file)).substr(0, 32);
    uint32_t pts = 0;
    for (const std::string& bytes : run.buffers) {
        if (sample.ivf) {
            if (bytes.empty()) continue;
            out += LittleEndian32(static_cast<uint32_t>(bytes.size())) + LittleEndian32(pts++) +
                   LittleEndian32(0);
        }
        out += bytes;
    }
    return out;
}

struct Decoded {
    std::vector<std::string> hashes;  // one MD5 per decoded frame
    std::string errors;               // anything else ffmpeg printed
};

Decoded Decode(const std::string& demuxer, const std::string& path) {
    std::string out;
    RunCommand("ffmpeg -hide_banner -v error -xerror -f " + demuxer + " -i '" + path +
                   "' -f framemd5 - 2>&1",
               &out);
    Decoded decoded;
    std::istringstream lines(out);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.empty() || line[0] == '#') continue;
        const size_t comma = line.rfind(',');
        if (std::count(line.begin(), line.end(), ',') == 5 && comma != std::string::npos) {
            decoded.hashes.push_back(line.substr(comma + 2));
        } else {
            decoded.errors += line + "\n";
        }
    }
    return decoded;
}

uint32_t ProbeFrameCount(const std::string& demuxer, const std::string& path) {
    std::string out;
    RunCommand("ffprobe -v error -f " + demuxer +
                   " -count_frames -select_streams v:0 "
                   "-show_entries stream=nb_read_frames -of csv=p=0 '" +
                   path + "'",
               &out);
    return static_cast<uint32_t>(std::stoul(out.empty() ? "0" : out));
}

class ScannerEndToEnd : public ::testing::TestWithParam<Sample> {
protected:
    void SetUp() override {
        if (*GetParam().demuxer != '\0' && (!HaveTool("ffmpeg") || !HaveTool("ffprobe"))) {
            GTEST_SKIP() << "ffmpeg is not installed";
        }
    }
    // Checks that `run` is the original from frame `from` on.
    void ExpectSameFrames(const Delivery& run, uint32_t from) {
        const Sample& sample = GetParam();
        const std::string original = DataPath(sample.file);
        const std::string delivered = Rewrap(sample, run);
        if (*sample.demuxer == '\0') {
            // Not decodable here: the bytes themselves must match.
            const std::string bytes = ReadFile(original);
            EXPECT_TRUE(from == 1 ? delivered == bytes
                                  : bytes.size() > delivered.size() &&
                                        bytes.compare(bytes.size() - delivered.size(),
                                                      delivered.size(), delivered) == 0);
            return;
        }
        const std::string path = dir.Write("delivered", delivered);
        const Decoded got = Decode(sample.demuxer, path);
        const Decoded want = Decode(sample.demuxer, original);
        EXPECT_EQ(got.errors, "");
        ASSERT_EQ(want.hashes.size(), sample.frames);
        EXPECT_EQ(got.hashes,
                  std::vector<std::string>(want.hashes.begin() + (from - 1), want.hashes.end()));
    }
    ScratchDir dir;
};

// VP9 and AV1 frames all count as sync (bit 0 of their first byte is clear),
// so their seeks ask for a real key frame; VP8 and H.265 search forward to
// one. An Annex-B unit starts with its size, whose bit 0 says nothing about
// the frame, so that stream is sought exactly. In slice mode an Annex-B unit
// has no slices, so its last unit never carries EOS there: not run sliced.
const Sample kSamples[] = {
    {"hevc_aud_sei", Kind::kHevc, "h265/aud_sei.265", "hevc", false, 8, true, 0, 0, 1},
    {"hevc_idr_gop", Kind::kHevc, "h265/idr_gop.265", "hevc", false, 12, true, 3, 5, 1},
    {"hevc_two_slices", Kind::kHevc, "h265/two_slices.265", "hevc", false, 8, true, 0, 0, 1},
    {"vp8", Kind::kVpx, "vpx/vp8_kf4.ivf", "ivf", true, 10, false, 3, 5, 1},
    {"vp9", Kind::kVpx, "vpx/vp9_kf4.ivf", "ivf", true, 10, false, 5, 5, 1},
    {"av1_ivf", Kind::kAv1, "av1/kf4.ivf", "ivf", true, 8, false, 5, 5, 1},
    {"av1_obu", Kind::kAv1, "av1/kf4_section5.obu", "obu", false, 8, true, 5, 5, 1},
    {"av1_annexb", Kind::kAv1, "av1/kf4_annexb.obu", "av1", false, 8, false, 5, 5, 2},
    {"av1_tile_groups", Kind::kAv1, "av1/tile_groups.obu", "obu", false, 8, true, 5, 5, 1},
    {"apv", Kind::kApv, "apv/four_units.apv", "", false, 4, false, 3, 3, 1},
};

std::vector<Sample> SamplesWhere(bool (*keep)(const Sample&)) {
    std::vector<Sample> kept;
    for (const Sample& sample : kSamples) {
        if (keep(sample)) kept.push_back(sample);
    }
    return kept;
}

std::string SampleName(const ::testing::TestParamInfo<Sample>& info) { return info.param.name; }

class WholeFrames : public ScannerEndToEnd {};
class Slices : public ScannerEndToEnd {};
class SeekInto : public ScannerEndToEnd {};

TEST_P(WholeFrames, DecodeToTheSameFrames) {
    const Sample& sample = GetParam();
    const Delivery run = Deliver(sample, false, 0);
    EXPECT_EQ(run.framesClosed, sample.frames);
    if (*sample.demuxer != '\0') {
        EXPECT_EQ(ProbeFrameCount(sample.demuxer, DataPath(sample.file)), sample.frames);
    }
    ExpectSameFrames(run, 1);
}

TEST_P(Slices, DecodeToTheSameFrames) {
    const Sample& sample = GetParam();
    const Delivery run = Deliver(sample, true, 0);
    EXPECT_EQ(run.framesClosed, sample.frames);
    ExpectSameFrames(run, 1);
}

TEST_P(SeekInto, TheMiddleDecodesFromTheFrameReached) {
    const Sample& sample = GetParam();
    const Delivery run = Deliver(sample, false, sample.seekTo);
    EXPECT_EQ(run.framesClosed, sample.frames - sample.seekReached + 1);
    ExpectSameFrames(run, sample.seekReached);
}

INSTANTIATE_TEST_SUITE_P(Samples, WholeFrames, ::testing::ValuesIn(kSamples), SampleName);
INSTANTIATE_TEST_SUITE_P(Samples, Slices, ::testing::ValuesIn(SamplesWhere([](const Sample& s) {
                             return s.slices;
                         })),
                         SampleName);
INSTANTIATE_TEST_SUITE_P(Samples, SeekInto, ::testing::ValuesIn(SamplesWhere([](const Sample& s) {
                             return s.seekTo != 0;
                         })),
                         SampleName);

}  // namespace
}  // namespace tessaro
