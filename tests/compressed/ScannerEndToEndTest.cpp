// The committed samples through their parsers. Their frame tables tile the
// file; what is delivered, written by the compressed writer, must decode (by
// ffmpeg) to the same frames as the original; a seek into the middle must give
// a stream that decodes from the frame reached on.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "support/ClientBuffer.h"
#include "support/Probe.h"
#include "support/TestPaths.h"
#include "tessaro/FrameIndex.h"
#include "tessaro/TessaroFactory.h"

namespace tessaro {
namespace {

using test::DataPath;

struct Sample {
    const char* name;
    const char* file;
    const char* demuxer;      // ffmpeg's input format; "" for none (not decodable)
    bool ivf;                 // frames are re-wrapped in IVF for the judge
    uint32_t frames;          // frames in the stream
    bool slices;              // slice mode delivers decodable pieces
    uint32_t seekTo, seekReached, seekMode;  // seek request (0: none), where it lands, 1 sync / 2 exact
    int slicesPerPicture;     // in slice mode; -1: slice mode not indexed here
    std::vector<uint32_t> syncFrames;  // empty: not checked
};

void PrintTo(const Sample& sample, std::ostream* os) { *os << sample.file; }

// The parser key of a committed sample, from its directory ("h264/a.264" is "Parse/AVC").
std::string KeyOf(const std::string& file) {
    const std::string dir = file.substr(0, file.find('/'));
    return dir == "h264" ? "Parse/AVC" : dir == "h265" ? "Parse/HEVC" : dir == "av1" ? "Parse/AV1"
           : dir == "vpx" ? "Parse/VPX" : "Parse/APV";
}

std::shared_ptr<TessaroInterface> Started(const std::string& key, ConfigParam config) {
    auto processor = TessaroFactory::getInstance()->getProcessorInstance(key);
    EXPECT_EQ(processor->SetConfig(config), TS_OK);
    EXPECT_EQ(processor->Init(), TS_OK);
    return processor;
}

std::string LittleEndian32(uint32_t v) {
    return {static_cast<char>(v), static_cast<char>(v >> 8), static_cast<char>(v >> 16), static_cast<char>(v >> 24)};
}

// VP9 and AV1 frames all count as sync (bit 0 of their first byte is clear),
// so their seeks ask for a real key frame; VP8, H.264 and H.265 search forward
// to one. An Annex-B unit starts with its size, whose bit 0 says nothing about
// the frame, so that stream is sought exactly. In slice mode an Annex-B unit
// has no slices, so its last unit never carries EOS there: not run sliced.
const Sample kSamples[] = {
    {"avc_single_slice", "h264/single_slice.264", "h264", false, 10, true, 0, 0, 1, -1, {}},
    {"avc_four_slices_bframes", "h264/four_slices_bframes.264", "h264", false, 10, true, 0, 0, 1, -1, {}},
    {"avc_aud", "h264/aud.264", "h264", false, 8, true, 0, 0, 1, -1, {}},
    {"avc_idr_gop", "h264/idr_gop.264", "h264", false, 12, true, 3, 5, 1, -1, {}},
    {"hevc_aud_sei", "h265/aud_sei.265", "hevc", false, 8, true, 0, 0, 1, 1, {1}},
    {"hevc_idr_gop", "h265/idr_gop.265", "hevc", false, 12, true, 3, 5, 1, 1, {1, 5, 9}},
    {"hevc_two_slices", "h265/two_slices.265", "hevc", false, 8, true, 0, 0, 1, 2, {1}},
    // Bit 0 of the first byte is the VP8 frame type; in VP9 it is not.
    {"vp8", "vpx/vp8_kf4.ivf", "ivf", true, 10, false, 3, 5, 1, -1, {1, 5, 9}},
    {"vp9", "vpx/vp9_kf4.ivf", "ivf", true, 10, false, 5, 5, 1, -1, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}},
    {"av1_ivf", "av1/kf4.ivf", "ivf", true, 8, false, 5, 5, 1, -1, {}},
    {"av1_obu", "av1/kf4_section5.obu", "obu", false, 8, true, 5, 5, 1, 1, {}},
    {"av1_annexb", "av1/kf4_annexb.obu", "av1", false, 8, false, 5, 5, 2, 0, {}},
    {"av1_tile_groups", "av1/tile_groups.obu", "obu", false, 8, true, 5, 5, 1, 2, {}},
    {"apv", "apv/four_units.apv", "", false, 4, false, 3, 3, 1, -1, {1, 2, 3, 4}},
};

std::string SampleName(const ::testing::TestParamInfo<Sample>& info) { return info.param.name; }

std::vector<Sample> SamplesWhere(bool (*keep)(const Sample&)) {
    std::vector<Sample> kept;
    std::copy_if(std::begin(kSamples), std::end(kSamples), std::back_inserter(kept), keep);
    return kept;
}

class SampleTable : public ::testing::TestWithParam<Sample> {};

// Units follow one another from the start of the file (after the IVF headers)
// to its end; the last one is marked; pictures carry their sync flag and, in
// slice mode (AV1 OBU streams: always), their slices. (H.264 parameter sets
// travel twice: not tiled.)
TEST_P(SampleTable, UnitsTileTheFile) {
    const Sample& s = GetParam();
    const bool obu = KeyOf(s.file) == "Parse/AV1" && !s.ivf;  // tile groups are listed in every mode
    for (bool sliceMode : {false, true}) {
        if (sliceMode && s.slicesPerPicture < 0) continue;
        SCOPED_TRACE(sliceMode ? "slice mode" : "whole frames");
        ConfigParam config;
        config.mInputFileName = DataPath(s.file);
        config.mSliceMode = sliceMode;
        auto parser = Started(KeyOf(s.file), config);
        std::vector<FrameIndexEntry> index;
        ASSERT_EQ(GetFrameIndex(*parser, index), TS_OK);
        ASSERT_FALSE(index.empty());
        ASSERT_EQ(index.back().frame, s.frames);
        uint64_t end = s.ivf ? 32 : 0;
        std::vector<uint32_t> syncFrames;
        for (const FrameIndexEntry& unit : index) {
            SCOPED_TRACE("frame " + std::to_string(unit.frame));
            EXPECT_EQ(unit.offset, end + (s.ivf && unit.unit == 0 ? 12 : 0));
            end = unit.offset + unit.length;
            const bool picture = &unit == &index.back() || (&unit + 1)->frame != unit.frame;
            if (!picture) continue;
            if (unit.type == FrameIndexEntry::TYPE_SYNC) syncFrames.push_back(unit.frame);
            EXPECT_EQ(unit.last, unit.frame == s.frames ? 1u : 0u);
            EXPECT_EQ(unit.slices.size(), sliceMode || obu ? static_cast<size_t>(s.slicesPerPicture) : 0u);
        }
        EXPECT_EQ(end, test::ReadFile(DataPath(s.file)).size());
        if (!s.syncFrames.empty()) {
            EXPECT_EQ(syncFrames, s.syncFrames);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, SampleTable,
                         ::testing::ValuesIn(SamplesWhere([](const Sample& s) { return KeyOf(s.file) != "Parse/AVC"; })),
                         SampleName);

struct Delivery {
    std::vector<std::string> buffers;  // the valid bytes of every buffer
    uint32_t framesClosed = 0;         // buffers with mEndOfFrame set
    std::string written;               // what the compressed writer made of them
};

// Runs the parser over the sample, optionally after a seek, with buffers sized
// by GetBufferLength, until a buffer carries EOS; every buffer also goes
// through the compressed writer.
Delivery Deliver(const Sample& sample, bool sliceMode, uint32_t seekTo, const test::ScratchDir& dir) {
    Delivery run;
    ConfigParam in, out;
    in.mInputFileName = DataPath(sample.file);
    in.mSliceMode = sliceMode;
    auto parser = Started(KeyOf(sample.file), in);
    if (seekTo != 0) {
        ConfigParam seek;
        seek.mSeekMode = sample.seekMode;
        seek.mSeekFrame = seekTo;
        EXPECT_EQ(parser->SetConfig(seek), TS_OK);
        EXPECT_EQ(seek.mSeekedFrame, sample.seekReached);
    }
    out.mOutputFileName = dir.File("written");
    auto writer = Started("Write/Compressed", out);
    for (uint32_t guard = 0; guard < 10000; ++guard) {
        const uint32_t needed = parser->GetBufferLength();
        auto buffer = test::MakeLinearBuffer(needed == 0 ? 1 : needed);
        EXPECT_EQ(parser->Process(buffer), TS_OK);
        EXPECT_EQ(buffer->mLength, needed);
        EXPECT_EQ(writer->Process(buffer), TS_OK);
        const auto bytes = test::ReadValid(*buffer);
        run.buffers.emplace_back(bytes.begin(), bytes.end());
        if (buffer->mEndOfFrame == 1) ++run.framesClosed;
        if (buffer->mFlags & Buffer::FLAG_EOS) break;
    }
    EXPECT_EQ(writer->DeInit(), TS_OK);
    EXPECT_EQ(parser->DeInit(), TS_OK);
    run.written = test::ReadFile(out.mOutputFileName);
    return run;
}

// What the judge reads: the written stream, or each frame buffer behind a
// 12-byte IVF frame header under the original file header.
std::string Rewrap(const Sample& sample, const Delivery& run) {
    if (!sample.ivf) return run.written;
    std::string out = test::ReadFile(DataPath(sample.file)).substr(0, 32);
    uint32_t pts = 0;
    for (const std::string& bytes : run.buffers) {
        if (bytes.empty()) continue;
        out += LittleEndian32(static_cast<uint32_t>(bytes.size())) + LittleEndian32(pts++) + LittleEndian32(0) + bytes;
    }
    return out;
}

// ffmpeg's decode of a file: one MD5 per frame, and anything else it printed.
std::pair<std::vector<std::string>, std::string> Decode(const std::string& demuxer, const std::string& path) {
    std::string out, errors;
    test::RunCommand("ffmpeg -hide_banner -v error -xerror -f " + demuxer + " -i '" + path + "' -f framemd5 - 2>&1", &out);
    std::vector<std::string> hashes;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] == '#') continue;
        if (std::count(line.begin(), line.end(), ',') == 5) {
            hashes.push_back(line.substr(line.rfind(',') + 2));
        } else {
            errors += line + "\n";
        }
    }
    return {hashes, errors};
}

class ScannerEndToEnd : public ::testing::TestWithParam<Sample> {
protected:
    void SetUp() override {
        if (*GetParam().demuxer != '\0' && (!test::HaveTool("ffmpeg") || !test::HaveTool("ffprobe"))) {
            GTEST_SKIP() << "ffmpeg is not installed";
        }
    }
    // Checks that `run` closed the frames from `from` on and is the original from there.
    void ExpectSameFrames(const Delivery& run, uint32_t from) {
        const Sample& sample = GetParam();
        EXPECT_EQ(run.framesClosed, sample.frames - from + 1);
        const std::string original = DataPath(sample.file), delivered = Rewrap(sample, run);
        if (*sample.demuxer == '\0') {
            // Not decodable here: the bytes themselves must match.
            const std::string bytes = test::ReadFile(original);
            EXPECT_TRUE(bytes.size() >= delivered.size() &&
                        bytes.compare(bytes.size() - delivered.size(), delivered.size(), delivered) == 0 &&
                        (from > 1) == (bytes.size() > delivered.size()));
            return;
        }
        const auto [got, errors] = Decode(sample.demuxer, dir.Write("delivered", delivered));
        const auto want = Decode(sample.demuxer, original).first;
        EXPECT_EQ(errors, "");
        ASSERT_EQ(want.size(), sample.frames);
        EXPECT_EQ(got, std::vector<std::string>(want.begin() + (from - 1), want.end()));
    }
    test::ScratchDir dir;
};

class WholeFrames : public ScannerEndToEnd {};
class Slices : public ScannerEndToEnd {};
class SeekInto : public ScannerEndToEnd {};

// ffprobe counts the frames the table lists.
TEST_P(WholeFrames, DecodeToTheSameFrames) {
    const Sample& sample = GetParam();
    if (*sample.demuxer != '\0') {
        std::string count;
        test::RunCommand("ffprobe -v error -f " + std::string(sample.demuxer) +
                             " -count_frames -select_streams v:0 -show_entries stream=nb_read_frames -of csv=p=0 '" +
                             DataPath(sample.file) + "'",
                         &count);
        EXPECT_EQ(std::stoul(count.empty() ? "0" : count), sample.frames);
    }
    ExpectSameFrames(Deliver(sample, false, 0, dir), 1);
}

TEST_P(Slices, DecodeToTheSameFrames) { ExpectSameFrames(Deliver(GetParam(), true, 0, dir), 1); }

TEST_P(SeekInto, TheMiddleDecodesFromTheFrameReached) {
    ExpectSameFrames(Deliver(GetParam(), false, GetParam().seekTo, dir), GetParam().seekReached);
}

INSTANTIATE_TEST_SUITE_P(Samples, WholeFrames, ::testing::ValuesIn(kSamples), SampleName);
INSTANTIATE_TEST_SUITE_P(Samples, Slices, ::testing::ValuesIn(SamplesWhere([](const Sample& s) { return s.slices; })),
                         SampleName);
INSTANTIATE_TEST_SUITE_P(Samples, SeekInto,
                         ::testing::ValuesIn(SamplesWhere([](const Sample& s) { return s.seekTo != 0; })), SampleName);

}  // namespace
}  // namespace tessaro
