// Fuzz target for the container parser: the file bytes, and the codec key.
#include "FuzzSupport.h"
#include "container/StreamParserContainer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 8) return 0;
    FuzzedDataProvider fdp(data, 4);
    static const char* kCodecs[] = {"AVC", "HEVC", "AV1", "VP9", "APV", "VP8"};
    tessaro::ConfigParam config{};
    config.mCodec = kCodecs[fdp.ConsumeIntegralInRange<size_t>(0, 5)];
    config.mFrames = fdp.ConsumeIntegralInRange<uint32_t>(0, 8);
    tessaro::fuzz::InputFile input(data + 4, size - 4, ".mp4");
    config.mInputFileName = input.path();
    tessaro::StreamParserContainer parser;
    tessaro::fuzz::DriveProducer(parser, config, fdp, 0, 16);
    return 0;
}
