// The scanners' hand-built streams: each codec's file lists its cases (bytes,
// the frame table they give, the lines logged) and instantiates this test.
#include "compressed/ScannerTestSupport.h"

namespace tessaro::test {
namespace {

std::string CodecTag(const std::string& codec) {
    return std::string(kCoreTag) + "::" + (codec == "avc" ? "AVC" : codec == "hevc" ? "HEVC" : codec == "vpx" ? "VPX"
                                           : codec == "av1" ? "AV1" : "APV");
}

TEST_P(ScannerStream, IndexesAsListed) {
    const StreamCase& c = GetParam();
    ScratchDir dir;
    auto parser = MakeParser(c.codec);
    LogCapture logs;
    const int32_t status = InitOn(*parser, dir.Write(c.fileName, c.bytes), c.frames, c.sliceMode);
    EXPECT_EQ(status == TS_OK ? Table(*parser) : "ERR" + std::to_string(status), c.table);
    for (const Log& log : c.logs) {
        const std::string tag = log.tag ? log.tag : CodecTag(c.codec);
        if (log.count != 0) {
            EXPECT_EQ(logs.Count(log.priority, tag, log.message), log.count) << log.message;
        } else if (log.priority > 0) {
            EXPECT_TRUE(logs.Has(log.priority, tag, log.message));
        } else {
            EXPECT_FALSE(logs.Contains(-log.priority, tag, log.message)) << log.message;
        }
    }
    if (status != TS_OK) {
        EXPECT_NE(parser->state(), STATE::RUNNING);
        EXPECT_EQ(parser->Process(nullptr), -2);
        EXPECT_EQ(parser->Process(MakeLinearBuffer(64)), -3);
        EXPECT_EQ(parser->GetBufferLength(), static_cast<uint32_t>(-3));
    }
}

}  // namespace
}  // namespace tessaro::test
