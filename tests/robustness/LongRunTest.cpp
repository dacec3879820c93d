// Long runs: a harness that runs for days must see its resident memory, open
// descriptors and mappings stay where they were. Each family is driven for
// TESSARO_LONG_RUN_CALLS Process calls (by default 20,000, or 5,000 under
// AddressSanitizer) in the modes that never run dry: loop-forever and a large
// frame count for the compressed parsers, a large frame count for the raw
// readers and generators, back-to-back runs for the container parser.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "robustness/RobustnessSupport.h"
#include "support/ClientBuffer.h"
#include "support/TestPaths.h"

#if defined(__SANITIZE_ADDRESS__)
#define TESSARO_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TESSARO_ASAN 1
#endif
#endif

namespace tessaro {
namespace {

#ifdef TESSARO_ASAN
constexpr uint32_t kDefaultCalls = 5000;
#else
constexpr uint32_t kDefaultCalls = 20000;
#endif

uint32_t Calls() {
    const char* text = std::getenv("TESSARO_LONG_RUN_CALLS");
    const long calls = text ? std::atol(text) : 0;
    return calls > 0 ? static_cast<uint32_t>(calls) : kDefaultCalls;
}

// Resources once the run has settled must equal those at the end; resident
// memory may move by a few pages. Under AddressSanitizer freed blocks sit in
// its quarantine, so only descriptors are compared there.
void ExpectFlat(const std::string& mode, uint32_t calls, const test::Resources& settled, const test::Resources& end) {
    std::printf("[ figures  ] %s: %u calls, RSS %ld -> %ld KiB, descriptors %d -> %d, mappings %d -> %d\n",
                mode.c_str(), calls, settled.rssKiB, end.rssKiB, settled.descriptors, end.descriptors,
                settled.mappings, end.mappings);
    EXPECT_EQ(end.descriptors, settled.descriptors);
#ifndef TESSARO_ASAN
    EXPECT_EQ(end.mappings, settled.mappings);
    EXPECT_LE(end.rssKiB, settled.rssKiB + 1024) << "resident memory grew";
#endif
}

class LongRun : public ::testing::TestWithParam<test::Producer> {
protected:
    // `calls` Process calls on one processor with one client buffer; every call
    // succeeds, and only the last ends the stream, when `eosAtEnd`. The
    // container parser is run again (DeInit, Init) at each end of its file.
    void Drive(ConfigParam config, uint32_t calls, bool eosAtEnd, const std::string& mode) {
        const test::Producer& p = GetParam();
        auto processor = TessaroFactory::getInstance()->getProcessorInstance(p.key);
        if (p.HasInput()) config.mInputFileName = test::DataPath(p.sample);
        ASSERT_EQ(processor->SetConfig(config), TS_OK);
        ASSERT_EQ(processor->Init(), TS_OK);
        const uint32_t wanted = processor->GetBufferLength();
        ASSERT_GT(wanted, 0u);
        auto buffer = test::MakeClientBuffer(std::min(std::max<uint32_t>(wanted, 1u << 16) * 2, 1u << 21), p.bufferType);
        const bool rerun = std::string(p.key) == "Parse/Container";
        test::Resources settled;
        for (uint32_t call = 1; call <= calls; ++call) {
            if (call == calls / 10 + 1) settled = test::CurrentResources();
            ASSERT_EQ(processor->Process(buffer), TS_OK) << "call " << call;
            const bool eos = (buffer->mFlags & Buffer::FLAG_EOS) != 0;
            if (rerun && eos) {
                ASSERT_EQ(processor->DeInit(), TS_OK);
                ASSERT_EQ(processor->Init(), TS_OK);
            } else {
                ASSERT_EQ(eos, eosAtEnd && call == calls) << "call " << call;
            }
        }
        ExpectFlat(std::string(p.name) + " " + mode, calls, settled, test::CurrentResources());
        EXPECT_EQ(processor->DeInit(), TS_OK);
    }
};

// A frame count far beyond the input: compressed parsers deliver three indexed
// frames over and over, raw readers play the file back and forth, generators
// draw on; the last call ends the stream. Compressed parsers also loop for ever.
TEST_P(LongRun, WithoutEnd) {
    ConfigParam config = GetParam().config;
    if (GetParam().Compressed()) {
        config.mLoopForever = true;
        config.mLoopFrames = 3;
        Drive(config, Calls(), false, "loop-forever");
        config.mLoopForever = false;
    }
    config.mFrames = Calls();
    Drive(config, Calls(), std::string(GetParam().key) != "Parse/Container", "large frame count");
}

INSTANTIATE_TEST_SUITE_P(Families, LongRun, ::testing::ValuesIn(test::ProducerFamilies()),
                         [](const auto& param) { return std::string(param.param.name); });

}  // namespace
}  // namespace tessaro
