// Every compressed parser driven through the public API only (factory key,
// ConfigParam, SetConfig, Init, GetBufferLength, Process on memfd client
// buffers, DeInit, GetFrameIndex) over the scenarios of
// tests/data/compressed/scenarios.txt: the committed samples and inline byte
// scripts. Each run is written down (statuses, the frame index, every buffer's
// fields and a digest of its delivered bytes, seeks' written-back fields, every
// log line) and compared with tests/data/compressed/transcripts.txt; no descriptor
// outlives the run. To record
// them anew:
// TESSARO_WRITE_TRANSCRIPTS=1 tessaro_compressed_tests --gtest_filter='Scenarios/*'.
#include <gtest/gtest.h>

#include <fstream>

#include "compressed/CompressedRun.h"
#include "support/Probe.h"

namespace tessaro::test {
namespace {

std::vector<Scenario> Scenarios() {
    std::vector<Scenario> all;
    std::ifstream in(DataPath("compressed/scenarios.txt"));
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line[0] != '#') all.push_back(ParseScenario(line));
    }
    return all;
}

class CompressedTranscript : public ::testing::TestWithParam<Scenario> {};

TEST_P(CompressedTranscript, MatchesTheRecordedRun) {
    ScratchDir scratch;
    const int descriptors = OpenDescriptorCount();
    MatchRecorded("compressed/transcripts.txt", GetParam().name, RunText(GetParam(), scratch));
    EXPECT_EQ(OpenDescriptorCount(), descriptors) << "a descriptor outlived its processor";
}

INSTANTIATE_TEST_SUITE_P(Scenarios, CompressedTranscript, ::testing::ValuesIn(Scenarios()),
                         [](const auto& param) { return param.param.name; });

}  // namespace
}  // namespace tessaro::test
