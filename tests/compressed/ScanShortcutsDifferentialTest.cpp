// Differential test of the byte source's shortcuts: every parser runs the same
// input through the public API once with the shortcuts on and once reading
// byte by byte, and the two runs must agree on every status, index entry,
// delivered buffer and log line. Inputs are the committed samples, random byte
// soups rich in start codes, mutations of the samples, and inputs placed
// around the edges of the read-ahead. The one seam used is the switch.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "framework/ByteSource.h"
#include "compressed/CompressedRun.h"
#include "support/Probe.h"

namespace tessaro::test {
namespace {

// Restores the shortcuts whatever a test does.
class ShortcutsGuard {
public:
    ~ShortcutsGuard() { ByteSource::SetShortcuts(true); }
};

// Every parser under each variant: whole frames, slices, fewer and more frames than the input.
std::vector<Scenario> Runs(const std::string& path) {
    std::vector<Scenario> runs;
    for (const char* words : {"", "slice", "frames=7", "frames=40 slice"}) {
        for (const char* key : {"Parse/AVC", "Parse/HEVC", "Parse/VPX", "Parse/AV1", "Parse/APV"}) {
            runs.push_back(ParseScenario(std::string(key) + "/" + std::to_string(runs.size() / 5) + " " + key + " " + path +
                                         " calls=16 " + words));
        }
    }
    return runs;
}

// Runs every comparison on bytes; returns false (after reporting) on the first
// disagreement so one bad input does not flood the output.
bool AgreeOn(const ScratchDir& dir, const std::string& label, const std::string& bytes) {
    for (const Scenario& run : Runs(dir.Write("input.bin", bytes))) {
        ByteSource::SetShortcuts(true);
        const std::string fast = RunText(run, dir);
        ByteSource::SetShortcuts(false);
        const std::string reference = RunText(run, dir);
        ByteSource::SetShortcuts(true);
        if (fast != reference) {
            ADD_FAILURE() << label << " (" << bytes.size() << " bytes), " << run.name
                          << ": shortcuts disagree with byte-at-a-time reading\n--- shortcuts\n"
                          << fast << "--- byte at a time\n"
                          << reference;
            return false;
        }
    }
    return true;
}

const char* const kSamples[] = {
    "h264/aud.264",       "h264/four_slices_bframes.264", "h264/idr_gop.264",
    "h264/single_slice.264", "h265/aud_sei.265",         "h265/idr_gop.265",
    "h265/two_slices.265", "av1/kf4.ivf",                 "av1/kf4_annexb.obu",
    "av1/kf4_section5.obu", "av1/tile_groups.obu",         "vpx/vp8_kf4.ivf",
    "vpx/vp9_kf4.ivf",     "apv/four_units.apv",
};

std::vector<std::string> LoadSamples() {
    std::vector<std::string> samples;
    for (const char* name : kSamples) {
        samples.push_back(ReadFile(DataPath(name)));
        EXPECT_FALSE(samples.back().empty()) << name;
    }
    return samples;
}

// Random bytes where 00 and 01 are common, so start codes of both lengths,
// emulation-like runs and NAL headers of every type occur often.
std::string StartCodeSoup(std::mt19937& rng, size_t size) {
    std::string bytes(size, '\0');
    std::uniform_int_distribution<int> pick(0, 99);
    std::uniform_int_distribution<int> any(0, 255);
    for (char& c : bytes) {
        const int r = pick(rng);
        c = static_cast<char>(r < 35 ? 0 : r < 50 ? 1 : any(rng));
    }
    return bytes;
}

std::string Mutate(std::mt19937& rng, std::string bytes) {
    std::uniform_int_distribution<int> kind(0, 4);
    std::uniform_int_distribution<int> any(0, 255);
    const int edits = 1 + static_cast<int>(rng() % 6);
    for (int e = 0; e < edits && !bytes.empty(); ++e) {
        const size_t at = rng() % bytes.size();
        switch (kind(rng)) {
            case 0: bytes[at] = static_cast<char>(any(rng)); break;
            case 1: bytes[at] = 0; break;
            case 2: bytes.insert(at, std::string("\0\0\1", 3)); break;
            case 3: bytes.erase(at, 1 + rng() % 16); break;
            default: bytes.resize(at); break;
        }
    }
    return bytes;
}

TEST(ScanShortcutsDifferential, CommittedSamplesRunTheSame) {
    ShortcutsGuard guard;
    ScratchDir dir;
    const std::vector<std::string> samples = LoadSamples();
    for (size_t i = 0; i < samples.size(); ++i) {
        if (!AgreeOn(dir, kSamples[i], samples[i])) return;
    }
}

// The sanitizer build, slower per input, runs a sample of the inputs; the
// plain build runs more. TESSARO_DIFFERENTIAL_INPUTS overrides the count (the
// arm64 run under emulation takes a sample as well).
#if defined(__SANITIZE_ADDRESS__)
constexpr int kDefaultRandomInputs = 40;
#else
constexpr int kDefaultRandomInputs = 300;
#endif
const int kRandomInputs = [] {
    const char* count = std::getenv("TESSARO_DIFFERENTIAL_INPUTS");
    return count != nullptr && std::atoi(count) > 0 ? std::atoi(count) : kDefaultRandomInputs;
}();

TEST(ScanShortcutsDifferential, RandomSoupsRunTheSame) {
    ShortcutsGuard guard;
    ScratchDir dir;
    std::mt19937 rng(20261122);
    for (int i = 0; i < kRandomInputs; ++i) {
        const size_t size = rng() % (i % 10 == 0 ? 4000 : 300);
        if (!AgreeOn(dir, "soup #" + std::to_string(i), StartCodeSoup(rng, size))) return;
    }
}

TEST(ScanShortcutsDifferential, MutatedSamplesRunTheSame) {
    ShortcutsGuard guard;
    ScratchDir dir;
    const std::vector<std::string> samples = LoadSamples();
    std::mt19937 rng(20261123);
    for (int i = 0; i < kRandomInputs; ++i) {
        const std::string& base = samples[rng() % samples.size()];
        if (!AgreeOn(dir, "mutant #" + std::to_string(i), Mutate(rng, base))) return;
    }
}

// The shortcuts work inside the 64 KiB read-ahead; start codes cut by its edge,
// a first byte 01 (which the accumulator's zero history turns into a start
// code) and long runs without any start code must read the same.
TEST(ScanShortcutsDifferential, ReadAheadEdgesReadTheSame) {
    ShortcutsGuard guard;
    ScratchDir dir;
    std::mt19937 rng(7);
    const std::string sample = ReadFile(DataPath("h264/four_slices_bframes.264"));
    const std::string hevc = ReadFile(DataPath("h265/two_slices.265"));
    std::vector<std::pair<std::string, std::string>> cases;
    for (size_t edge : {65533u, 65534u, 65535u, 65536u, 65537u}) {
        std::string filler(edge, '\x55');
        cases.emplace_back("avc after " + std::to_string(edge), filler + sample + filler + sample);
        cases.emplace_back("hevc after " + std::to_string(edge), filler + hevc + filler);
    }
    cases.emplace_back("leading 01", std::string("\1\x65\x88\x80\0\0\1\x41\x9a", 9) + sample);
    cases.emplace_back("leading 00 01", std::string("\0\1\x67\x42", 4) + sample);
    cases.emplace_back("no start code", std::string(200000, '\xff'));
    cases.emplace_back("zeros", std::string(140000, '\0'));
    std::string spaced;
    while (spaced.size() < 300000) spaced += StartCodeSoup(rng, 50) + std::string(rng() % 70000, '\7');
    cases.emplace_back("sparse soup", spaced);
    for (const auto& [label, bytes] : cases) {
        if (!AgreeOn(dir, label, bytes)) return;
    }
}

}  // namespace
}  // namespace tessaro::test
