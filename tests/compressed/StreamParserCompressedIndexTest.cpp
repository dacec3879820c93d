// Tables longer than the file: frames that repeat an earlier pass over the
// input are rebuilt on lookup instead of being scanned and stored. A parser
// whose full-table limit is lowered to a few frames must index, deliver,
// measure and seek exactly as one that scans every frame; a frame count of
// 0xFFFFFFFF indexes in proportion to the file.
#include <gtest/gtest.h>

#include <functional>
#include <cstdlib>
#include <random>
#include <sstream>

#include "ScannerTestSupport.h"
#include "ScriptedParser.h"

namespace tessaro::test {
namespace {

// A parser of codec P whose full-table limit is `limit` frames.
template <class P>
class Limited : public P {
public:
    explicit Limited(uint32_t limit) { this->mFullTableFrames = limit; }
};

std::unique_ptr<StreamParserCompressed> MakeLimited(const std::string& codec, uint32_t limit) {
    if (codec == "avc") return std::make_unique<Limited<AVCStreamParser>>(limit);
    if (codec == "hevc") return std::make_unique<Limited<HEVCStreamParser>>(limit);
    if (codec == "vpx") return std::make_unique<Limited<VPXStreamParser>>(limit);
    return std::make_unique<Limited<AV1StreamParser>>(limit);
}

// Written samples, by the name the tables use. "twenty.ivf": seven 20-byte
// frames; a frame with its header is as long as the file header, so reading a
// file header again in the middle still parses. "header_only.ivf": one frame
// header and no frame, after which the AV1 scanner rewinds by itself.
std::string IvfBytes(const std::string& name) {
    std::string bytes = "DKIF" + Repeat(0, 28);
    if (name == "header_only.ivf") return bytes + LittleEndian32(20) + Repeat(0, 8);
    if (name == "one.ivf") return bytes + LittleEndian32(20) + Repeat(0, 8) + Repeat(0, 20);
    for (int f = 0; f < 7; ++f) bytes += LittleEndian32(20) + Repeat(0, 8) + Repeat(f % 3 == 0 ? 0 : 1, 20);
    return bytes;
}

std::string SamplePath(const std::string& sample) {
    static const ScratchDir dir;
    const std::string name = sample.substr(sample.find('/') + 1);
    if (name == "twenty.ivf" || name == "header_only.ivf" || name == "one.ivf") {
        return dir.Write(name, IvfBytes(name));
    }
    return DataPath(sample);
}

// Init on sample (a committed or a written one) with the configuration
// words; the status and the "Total Parsed Frames" line.
std::string InitWith(StreamParserCompressed& parser, const std::string& sample, const std::string& words,
                     bool* passedOver = nullptr) {
    ConfigParam config = Config(words);
    config.mInputFileName = SamplePath(sample);
    parser.SetConfig(config);
    LogCapture logs;
    const int32_t status = parser.Init();
    std::string total;
    for (const std::string& m : logs.Messages(kCoreTag)) {
        if (m.rfind("Total Parsed Frames", 0) == 0) total = m;
        if (passedOver != nullptr && m.find("repeat earlier passes") != std::string::npos) *passedOver = true;
    }
    return std::to_string(status) + " " + total;
}

std::string Frame(const StreamParserCompressed& parser, uint32_t f) {
    std::vector<FrameInfo> holder;
    const std::vector<FrameInfo>* units = parser.FindFrame(f, holder);
    if (units == nullptr) return "none";
    std::string out;
    for (const FrameInfo& unit : *units) out += DescribeUnit(unit, f) + " ";
    return out;
}

// One Process call (after GetBufferLength) as text: bytes by hash, length, flags, timing.
std::string Step(StreamParserCompressed& parser, uint64_t mapOffset = 0, uint64_t capacity = 1 << 20) {
    std::ostringstream out;
    out << "len? " << static_cast<int32_t>(parser.GetBufferLength());
    auto buffer = MakeClientBuffer(capacity, 0, static_cast<uint32_t>(mapOffset));
    const int32_t status = parser.Process(buffer);
    const auto bytes = ReadValid(*buffer);
    out << " st " << status << " hash " << std::hash<std::string>()(std::string(bytes.begin(), bytes.end()))
        << " len " << buffer->mLength << " t " << buffer->mTimestamp << " fl " << buffer->mFlags << " eof "
        << buffer->mEndOfFrame << " sk " << buffer->mSliceSkipped << " layer " << buffer->mSliceInfo;
    return out.str();
}

std::string SeekTo(StreamParserCompressed& parser, uint32_t mode, uint32_t frame) {
    ConfigParam seek;
    seek.mSeekMode = mode;
    seek.mSeekFrame = frame;
    const int32_t status = parser.SetConfig(seek);
    return "seek " + std::to_string(status) + " to " + std::to_string(seek.mSeekedFrame);
}

struct RepeatCase {
    const char* name;
    const char* sample;
    const char* config;  // configuration words, see Config()
    uint32_t limit;      // full-table limit of the parser that rebuilds
};

void PrintTo(const RepeatCase& c, std::ostream* os) { *os << c.name; }

const RepeatCase kRepeatCases[] = {
    {"AvcWhole", "h264/idr_gop.264", "frames=61", 7},
    {"AvcSlices", "h264/four_slices_bframes.264", "frames=45 slices", 5},
    {"AvcSuperFrames", "h264/single_slice.264", "frames=33 super=3", 4},
    {"AvcAud", "h264/aud.264", "frames=40 loop=31", 3},
    {"HevcSlices", "h265/two_slices.265", "frames=47 slices", 5},
    {"HevcSei", "h265/aud_sei.265", "frames=50 repeat=44", 3},
    {"HevcGop", "h265/idr_gop.265", "frames=40 super=2", 3},
    {"Vp8", "vpx/vp8_kf4.ivf", "frames=41", 5},
    {"VpxSuperFrames", "vpx/twenty.ivf", "frames=30 super=2", 3},
    {"VpxFrameOneLong", "vpx/twenty.ivf", "frames=9 super=30", 1},
    {"Av1Ivf", "av1/kf4.ivf", "frames=43", 5},
    {"Av1Obu", "av1/tile_groups.obu", "frames=40 slices", 3},
    {"Av1Section5", "av1/kf4_section5.obu", "frames=37 super=2", 3},
    {"Av1AnnexB", "av1/kf4_annexb.obu", "frames=39", 5},
    {"Av1IvfRewoundInFrameOne", "av1/header_only.ivf", "frames=50 super=40 repeat=1", 3},
};

class RebuiltFrames : public ::testing::TestWithParam<RepeatCase> {
protected:
    void InitBoth(StreamParserCompressed& full, StreamParserCompressed& limited) {
        const RepeatCase& c = GetParam();
        const std::string fullInit = InitWith(full, c.sample, c.config);
        bool passedOver = false;
        ASSERT_EQ(InitWith(limited, c.sample, c.config, &passedOver), fullInit);
        ASSERT_TRUE(passedOver) << "no scanner call passed over: the case tests nothing";
    }
};

TEST_P(RebuiltFrames, IndexAndDeliverAsScannedFrames) {
    const RepeatCase& c = GetParam();
    const std::string codec = CodecOf(c.sample);
    auto full = MakeParser(codec);
    auto limited = MakeLimited(codec, c.limit);
    InitBoth(*full, *limited);
    ASSERT_EQ(limited->IndexedFrames(), full->frameOffsetTable().size());
    for (uint32_t f = 0; f <= full->frameOffsetTable().size() + 1; ++f) {
        ASSERT_EQ(Frame(*limited, f), Frame(*full, f)) << "frame " << f;
    }
    for (size_t call = 0; call < 2 * full->frameOffsetTable().size() + 4; ++call) {
        ASSERT_EQ(Step(*limited), Step(*full)) << "call " << call;
    }
}

TEST_P(RebuiltFrames, SeekAsIntoScannedFrames) {
    const RepeatCase& c = GetParam();
    const std::string codec = CodecOf(c.sample);
    auto reference = MakeParser(codec);
    InitWith(*reference, c.sample, c.config);
    const uint32_t n = static_cast<uint32_t>(reference->frameOffsetTable().size());
    for (uint32_t mode : {1u, 2u}) {
        for (uint32_t target : {n / 2, n - 3, n - 1, n}) {
            for (uint64_t mapOffset : {0, 4096, 1}) {
                // 1: map offset 0 and a buffer too small for many sequence headers
                const uint64_t capacity = mapOffset == 1 ? 300 : 1 << 20;
                mapOffset = mapOffset == 1 ? 0 : mapOffset;
                SCOPED_TRACE("mode " + std::to_string(mode) + " target " + std::to_string(target) +
                             " map offset " + std::to_string(mapOffset) + " capacity " + std::to_string(capacity));
                auto full = MakeParser(codec);
                auto limited = MakeLimited(codec, c.limit);
                InitBoth(*full, *limited);
                ASSERT_EQ(SeekTo(*limited, mode, target), SeekTo(*full, mode, target));
                for (int call = 0; call < 3; ++call) {
                    ASSERT_EQ(Step(*limited, mapOffset, capacity), Step(*full, mapOffset, capacity));
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, RebuiltFrames, ::testing::ValuesIn(kRepeatCases),
                         [](const auto& row) { return std::string(row.param.name); });

// A frame count of 0xFFFFFFFF: the table ends at the last frame number and
// every frame of it is served as the file frame it repeats.
struct Endless {
    const char* sample;
    const char* config;
};

void PrintTo(const Endless& e, std::ostream* os) { *os << e.sample << " " << e.config; }

class EndlessTable : public ::testing::TestWithParam<Endless> {};

TEST_P(EndlessTable, IndexesInProportionToTheFile) {
    const Endless& e = GetParam();
    const std::string codec = CodecOf(e.sample);
    auto once = MakeParser(codec);
    ASSERT_EQ(InitWith(*once, e.sample, std::string(e.config) + " frames=0").substr(0, 2), "0 ");
    const uint32_t pass = static_cast<uint32_t>(once->frameOffsetTable().size());

    auto endless = MakeParser(codec);
    ASSERT_EQ(InitWith(*endless, e.sample, std::string(e.config) + " frames=4294967295"),
              "0 Total Parsed Frames = 0");
    EXPECT_EQ(endless->IndexedFrames(), 0xFFFFFFFFull);
    EXPECT_LT(endless->frameOffsetTable().size(), 2u * 100000 + 2 * pass);

    // Frame k repeats file frame (k - 1) % pass + 1; after an exact seek the
    // buffer first carries the codec config of every frame before k.
    for (uint32_t k : {0xFFFFFFFFu, 0xFFFFFFFEu, 3000000001u, 200003u}) {
        SCOPED_TRACE("frame " + std::to_string(k));
        const uint32_t same = (k - 1) % pass + 1;
        uint32_t configPerPass = 0;
        for (uint32_t f = 1; f <= pass; ++f) {
            for (const FrameInfo& unit : Units(*once, f)) {
                if (unit.mFrameType != StreamParserCompressed::FRAME_TYPE_CODEC_CONFIG) continue;
                configPerPass += static_cast<uint32_t>(unit.mLength);
            }
        }
        std::string expected;
        for (FrameInfo unit : Units(*once, same)) {
            unit.mIsLastFrame = 0;  // the scanner rewound there instead
            expected += DescribeUnit(unit, same) + " ";
        }
        ASSERT_EQ(Frame(*endless, k), expected.empty() ? "none" : expected);

        ASSERT_EQ(SeekTo(*endless, 2, k), "seek 0 to " + std::to_string(k));
        // The first buffer is as long as after a seek to the frame in the file,
        // plus the codec config of the passes before.
        auto reference = MakeParser(codec);
        InitWith(*reference, e.sample, std::string(e.config) + " frames=0");
        ASSERT_EQ(SeekTo(*reference, 2, same), "seek 0 to " + std::to_string(same));
        EXPECT_EQ(endless->GetBufferLength(), (k - 1) / pass * configPerPass + reference->GetBufferLength());
        // With a map offset every read lands at the start: the prelude fits.
        auto buffer = MakeClientBuffer(1 << 16, 0, 4096);
        ASSERT_EQ(endless->Process(buffer), TS_OK);
        EXPECT_EQ(buffer->mTimestamp, uint64_t{k} * 1000000);
    }
    // A sync seek far out finds the sync frame of the pass, forward or backward.
    const std::string found = SeekTo(*endless, 1, 0xFFFFFFF0u);
    EXPECT_NE(found.find("seek 0 to "), std::string::npos) << found;
}

// Found by fuzzing: IVF files with many scanner calls per frame number and a
// frame count far beyond the file, indexed call by call for minutes. The
// calls for frame 1 read the file header each time, so the pass learnt there
// must not stand for the calls after frame 1; the AV1 scanner rewinds without
// the restart mark after a frame header with no frame, and such a pass ends
// at the next rewind that leaves the mark it started with.
struct Found {
    const char* sample;
    const char* config;
    uint64_t indexed;
    const char* total;
};

void PrintTo(const Found& f, std::ostream* os) { *os << f.sample << " " << f.config; }

class EndlessTableRegression : public ::testing::TestWithParam<Found> {};

TEST_P(EndlessTableRegression, IndexesInProportionToTheFile) {
    const Found& f = GetParam();
    auto parser = MakeLimited(CodecOf(f.sample), 64);
    ASSERT_EQ(InitWith(*parser, f.sample, f.config), std::string("0 Total Parsed Frames = ") + f.total);
    EXPECT_EQ(parser->IndexedFrames(), f.indexed);
}

INSTANTIATE_TEST_SUITE_P(
    Found, EndlessTableRegression,
    ::testing::Values(Found{"vpx/one.ivf", "frames=1613639214 super=3 loop=1029924196 repeat=2147483648", 1029924196u,
                            "3089772591"},
                      Found{"av1/header_only.ivf", "frames=4294967295 super=4294967295 loop=1", 1u, "4294967294"},
                      Found{"av1/header_only.ivf", "frames=3000000000 super=4294967295 repeat=1", 1u, "4294967294"}),
    [](const auto& row) { return std::to_string(row.index); });

INSTANTIATE_TEST_SUITE_P(Samples, EndlessTable,
                         ::testing::Values(Endless{"h264/idr_gop.264", ""}, Endless{"h265/aud_sei.265", "slices"},
                                           Endless{"vpx/vp8_kf4.ivf", ""}, Endless{"av1/tile_groups.obu", "slices"}),
                         [](const auto& row) { return std::to_string(row.index); });

}  // namespace
}  // namespace tessaro::test

namespace tessaro::test {
namespace {

// Every configuration field at its 32-bit extremes: Init and the first
// deliveries give a defined result, quickly. Three frames of a scripted input:
// [config, sync of 2 slices], [non-sync of 2 slices], [sync of 2 slices].
struct Extreme {
    const char* config;    // configuration words, see Config()
    uint32_t seekFrame;    // exact seek before delivering, 0 for none
    const char* expected;  // "<Init status> <frames indexed> | <buffer> | <buffer> | <buffer>"
};

void PrintTo(const Extreme& e, std::ostream* os) { *os << e.config << " seek " << e.seekFrame; }

class ConfigExtremes : public ::testing::TestWithParam<Extreme> {};

TEST_P(ConfigExtremes, DefinedResult) {
    const Extreme& e = GetParam();
    ScratchDir dir;
    ScriptedParser parser(dir, {{{1, 4}, {2, 10, 2}}, {{4, 6, 2}}, {{2, 8, 2}}}, e.config);
    std::string out = std::to_string(parser.Init());
    out += " " + std::to_string(parser.IndexedFrames());
    if (e.seekFrame != 0) out += " " + SeekTo(parser, 2, e.seekFrame);
    for (int call = 0; call < 3; ++call) out += " | " + Deliver(parser);
    EXPECT_EQ(out, e.expected);
}

const Extreme kExtremes[] = {
    {"frames=4294967295", 0, "0 4294967295 | 1:4 2:10 t1 end | 3:6 t2 end | 4:8 t3 end"},
    {"frames=4294967295 forever", 4294967295u, "0 4294967295 seek 0 to 4294967295 | ERR-1 | ERR-1 | ERR-1"},
    {"loop=4294967295 repeat=4294967295", 0, "0 3 | 1:4 2:10 t1 end | 3:6 t2 end | 4:8 t3 EOS end"},
    {"frames=4294967295 repeat=4294967295 loop=4294967295", 4294967294u, "0 4294967295 seek 0 to 4294967294 | ERR-1 | ERR-1 | ERR-1"},
    {"repeat=4294967295", 0, "0 3 | 1:4 2:10 t1 end | 3:6 t2 end | 4:8 t3 EOS end"},
    {"super=4294967295", 0, "-1 1 | ERR-3 | ERR-3 | ERR-3"},
    {"super=4294967295 frames=5", 0, "-1 5 | ERR-3 | ERR-3 | ERR-3"},
    {"super=0 frames=3", 0, "0 3 | 1:4 2:10 t1 end | 3:6 t2 end | 4:8 t3 EOS end"},
    {"delivery=4294967295 frames=4294967295", 0, "0 4294967295 | 1:4 2:10 t1 end | 3:6 t2 end | 4:8 t3 end"},
    {"slices skip=4294967295,0 order=4294967295", 0, "0 3 | ERR-1 | ERR-1 | ERR-1"},
    {"slices order=2,4294967295", 0, "0 3 | 1:4 2:5 t1 more | ERR-1 | ERR-1"},
    {"slices frames=4294967295 skip=1,2", 4294967295u, "0 4294967295 seek 0 to 4294967295 | ERR-1 | ERR-1 | ERR-1"},
};

INSTANTIATE_TEST_SUITE_P(Fields, ConfigExtremes, ::testing::ValuesIn(kExtremes));

}  // namespace
}  // namespace tessaro::test

namespace tessaro::test {
namespace {

// A scripted parser with a full-table limit; with frameOne its calls for
// frame 1 pass over one more frame of the script, as the IVF reader's calls
// for frame 1 read a file header wherever they stand.
class LimitedScript : public ScriptedParser {
public:
    LimitedScript(const ScratchDir& dir, std::vector<FrameDef> frames, const std::string& config, uint32_t limit,
                  bool frameOne)
        : ScriptedParser(dir, std::move(frames), config), mFrameOne(frameOne) {
        mFullTableFrames = limit;
    }
    bool ScansDependOnFrameOne() const override { return mFrameOne; }
    int32_t ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist, uint32_t maxBufSize,
                              std::shared_ptr<unsigned char> buffer) override {
        if (mFrameOne && frameNum == 1 && mNext != 0 && mNext < mFrames.size()) ++mNext;
        return ScriptedParser::ReadfromInputFile(frameNum, framelist, maxBufSize, buffer);
    }

private:
    bool mFrameOne;
};

// Random scripts and configurations (fixed seed): a parser that rebuilds
// repeated passes answers every lookup, delivery, length and seek as one that
// stores them all.
TEST(RebuiltFramesProperty, RandomScriptsAndConfigurations) {
    std::mt19937 random(20261124);
    auto pick = [&random](uint32_t lo, uint32_t hi) { return std::uniform_int_distribution<uint32_t>(lo, hi)(random); };
    ScratchDir dir;
    const char* rounds = std::getenv("TESSARO_REBUILT_ROUNDS");  // more for a longer search
    for (int round = 0; round < (rounds != nullptr ? std::atoi(rounds) : 300); ++round) {
        std::vector<FrameDef> script(pick(1, 5));
        for (FrameDef& frame : script) {
            if (pick(0, 2) == 0) frame.push_back({1, pick(0, 5)});
            frame.push_back({pick(0, 1) ? 2u : 4u, pick(0, 9), pick(0, 3)});
        }
        std::string config = "frames=" + std::to_string(pick(2, 60)) + " super=" + std::to_string(pick(1, 9));
        if (pick(0, 3) == 0) config += " loop=" + std::to_string(pick(1, 50));
        if (pick(0, 3) == 0) config += " repeat=" + std::to_string(pick(1, 50));
        if (pick(0, 1) == 0) config += " slices";
        if (pick(0, 3) == 0) config += " delivery=1";
        if (pick(0, 3) == 0) config += " forever";
        if (pick(0, 4) == 0) config += " skip=" + std::to_string(pick(1, 3));
        if (pick(0, 4) == 0) config += " order=2,1,3";
        const uint32_t limit = pick(1, 6);
        const uint32_t seekMode = pick(0, 2);
        const uint32_t seekFrame = pick(1, 70);
        SCOPED_TRACE("round " + std::to_string(round) + ": " + config + " limit " + std::to_string(limit) +
                     " seek " + std::to_string(seekMode) + "/" + std::to_string(seekFrame));
        const bool frameOne = pick(0, 2) == 0;
        LimitedScript full(dir, script, config, StreamParserCompressed::kFullTableFrames, frameOne);
        LimitedScript limited(dir, script, config, limit, frameOne);
        ASSERT_EQ(limited.Init(), full.Init());
        ASSERT_EQ(limited.IndexedFrames(), full.frameOffsetTable().size());
        for (uint32_t f = 0; f <= full.frameOffsetTable().size() + 1; ++f) ASSERT_EQ(Frame(limited, f), Frame(full, f));
        for (int call = 0; call < 12; ++call) {
            if (seekMode != 0 && call == 3) {
                ASSERT_EQ(SeekTo(limited, seekMode, seekFrame), SeekTo(full, seekMode, seekFrame));
            }
            ASSERT_EQ(limited.GetBufferLength(), full.GetBufferLength());
            ASSERT_EQ(Deliver(limited, call % 2 ? 4096 : 40), Deliver(full, call % 2 ? 4096 : 40)) << "call " << call;
        }
    }
}

}  // namespace
}  // namespace tessaro::test
