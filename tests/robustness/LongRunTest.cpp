// Long runs: a harness that runs for days must see its resident memory, open
// descriptors and mappings stay where they were. Each family is driven for
// TESSARO_LONG_RUN_CALLS Process calls (by default 20,000, or 5,000 under
// AddressSanitizer; the figures in docs/robustness.md come from 1,000,000), in
// the modes that never run dry:
// loop-forever and a large frame count for the compressed parsers, a large
// frame count for the raw readers and generators, and back-to-back runs for the
// container parser, which ends with its file.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "robustness/RobustnessSupport.h"
#include "support/ClientBuffer.h"
#include "framework/TessaroFactoryRows.h"
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

// Resources once the run has settled must equal those at the end. Resident
// memory may move by a few pages (the allocator's own bookkeeping); under
// AddressSanitizer freed blocks sit in its quarantine, so only descriptors are
// compared there.
void ExpectFlat(const test::Resources& settled, const test::Resources& end) {
    EXPECT_EQ(end.descriptors, settled.descriptors);
#ifndef TESSARO_ASAN
    EXPECT_EQ(end.mappings, settled.mappings);
    EXPECT_LE(end.rssKiB, settled.rssKiB + 1024) << "resident memory grew";
#endif
}

void Report(const std::string& mode, uint32_t calls, const test::Resources& settled,
            const test::Resources& end) {
    std::printf("[ figures  ] %s: %u calls, RSS %ld -> %ld KiB, descriptors %d -> %d, mappings %d -> %d\n",
                mode.c_str(), calls, settled.rssKiB, end.rssKiB, settled.descriptors, end.descriptors,
                settled.mappings, end.mappings);
}

class LongRun : public ::testing::TestWithParam<test::Producer> {
protected:
    std::shared_ptr<TessaroInterface> Start(ConfigParam config) {
        auto processor = TessaroFactory::getInstance()->getProcessorInstance(GetParam().key);
        if (GetParam().sample[0] != '\0') config.mInputFileName = test::DataPath(GetParam().sample);
        EXPECT_EQ(processor->SetConfig(config), TS_OK);
        EXPECT_EQ(processor->Init(), TS_OK);
        return processor;
    }

    // Runs `calls` Process calls on one processor with one client buffer. Every
    // call must succeed; only the last may end the stream, and must when
    // `eosAtEnd`.
    void Drive(TessaroInterface& processor, uint32_t calls, bool eosAtEnd, const std::string& mode) {
        const uint32_t wanted = processor.GetBufferLength();
        ASSERT_GT(wanted, 0u);
        ASSERT_LT(wanted, 1u << 28);
        auto buffer = test::MakeClientBuffer(std::max<uint32_t>(wanted, 1u << 16) * 2, GetParam().bufferType);
        test::Resources settled;
        for (uint32_t call = 1; call <= calls; ++call) {
            if (call == calls / 10 + 1) settled = test::CurrentResources();
            const int32_t status = processor.Process(buffer);
            ASSERT_EQ(status, TS_OK) << "call " << call;
            const bool eos = (buffer->mFlags & Buffer::FLAG_EOS) != 0;
            ASSERT_EQ(eos, eosAtEnd && call == calls) << "call " << call;
        }
        const test::Resources end = test::CurrentResources();
        Report(mode, calls, settled, end);
        ExpectFlat(settled, end);
    }

    bool Compressed() const { return std::string(GetParam().key).rfind("Parse/", 0) == 0 &&
                                     GetParam().bufferType == 0 &&
                                     std::string(GetParam().key) != "Parse/Container"; }
};

// Compressed parsers without an end (mLoopForever over the first three frames,
// so that no unit ends the file): every call delivers.
using LoopForeverRun = LongRun;

TEST_P(LoopForeverRun, LoopForever) {
    ConfigParam config = GetParam().config;
    config.mLoopForever = true;
    config.mLoopFrames = 3;
    auto processor = Start(config);
    Drive(*processor, Calls(), false, std::string(GetParam().name) + " loop-forever");
    EXPECT_EQ(processor->DeInit(), TS_OK);
}

// A frame count far beyond the input: compressed parsers index the file over
// and over, raw readers play it back and forth, generators draw on; the last
// call ends the stream. The container parser is run file after file instead.
TEST_P(LongRun, LargeFrameCount) {
    const uint32_t calls = Calls();
    if (std::string(GetParam().key) == "Parse/Container") {
        auto processor = Start(GetParam().config);
        const uint32_t wanted = 1u << 20;
        auto buffer = test::MakeClientBuffer(wanted, 0);
        // Measured right after a fresh Init, when one run's resources are open.
        test::Resources settled;
        test::Resources end;
        uint32_t runs = 1;
        for (uint32_t call = 1; call <= calls; ++call) {
            ASSERT_EQ(processor->Process(buffer), TS_OK) << "call " << call;
            if (buffer->mFlags & Buffer::FLAG_EOS) {
                ASSERT_EQ(processor->DeInit(), TS_OK);
                ASSERT_EQ(processor->Init(), TS_OK);
                ++runs;
                (settled.descriptors == 0 && call > calls / 10 ? settled : end) = test::CurrentResources();
            }
        }
        processor->DeInit();
        Report("container runs", calls, settled, end);
        std::printf("[ figures  ] %u runs of the file\n", runs);
        ExpectFlat(settled, end);
        return;
    }
    ConfigParam config = GetParam().config;
    config.mFrames = calls;
    if (Compressed()) config.mLoopFrames = 3;  // index three frames, deliver them over and over
    auto processor = Start(config);
    // Raw readers and generators deliver mFrames pictures and end on the last;
    // compressed parsers the same number of frames.
    Drive(*processor, calls, true, std::string(GetParam().name) + " large frame count");
    EXPECT_EQ(processor->DeInit(), TS_OK);
}

INSTANTIATE_TEST_SUITE_P(Families, LongRun, ::testing::ValuesIn(test::ProducerFamilies()),
                         [](const auto& param) { return std::string(param.param.name); });
INSTANTIATE_TEST_SUITE_P(Families, LoopForeverRun, ::testing::ValuesIn(test::CompressedFamilies()),
                         [](const auto& param) { return std::string(param.param.name); });

// Every key built and dropped 1,000 times: the factory keeps nothing, and
// under LeakSanitizer (the sanitizer build) nothing is left at exit.
TEST(FactoryCycles, EveryKeyCreatedAndDestroyed) {
    auto factory = TessaroFactory::getInstance();
    test::Resources settled;
    for (int cycle = 0; cycle < 1000; ++cycle) {
        if (cycle == 100) settled = test::CurrentResources();
        for (const ProcessorKeyInfo& row : ProcessorKeys()) {
            std::shared_ptr<TessaroInterface> processor = factory->getProcessorInstance(row.key);
            ASSERT_NE(processor, nullptr) << row.key;
            EXPECT_EQ(processor.use_count(), 1) << row.key;
        }
    }
    const test::Resources end = test::CurrentResources();
    Report("factory cycles", static_cast<uint32_t>(1000 * ProcessorKeys().size()), settled, end);
    ExpectFlat(settled, end);
}

}  // namespace
}  // namespace tessaro
