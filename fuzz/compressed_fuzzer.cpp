// Fuzz target for one compressed parser (chosen at build time): the input
// bytes are the stream; a configuration drawn from the tail of the data sets
// every field of the record across its whole range, and a seek to any frame.
// The parser indexes tables of up to 4 frames (16 scanner calls) call by call
// and rebuilds the frames of longer ones, so both kinds of table are met at
// small cost: with 64 frames most inputs that rewind their file made 256
// scanner calls before the first repeated pass was passed over.
#include "FuzzSupport.h"

#if TESSARO_FUZZ_CODEC == 1
#include "compressed/AVCStreamParser.h"
using Parser = tessaro::AVCStreamParser;
static const char* kSuffixes[] = {".264"};
#elif TESSARO_FUZZ_CODEC == 2
#include "compressed/HEVCStreamParser.h"
using Parser = tessaro::HEVCStreamParser;
static const char* kSuffixes[] = {".265"};
#elif TESSARO_FUZZ_CODEC == 3
#include "compressed/VPXStreamParser.h"
using Parser = tessaro::VPXStreamParser;
static const char* kSuffixes[] = {".ivf", ".ivfnh"};
#elif TESSARO_FUZZ_CODEC == 4
#include "compressed/AV1StreamParser.h"
using Parser = tessaro::AV1StreamParser;
static const char* kSuffixes[] = {".ivf", ".obu"};
#else
#include "compressed/APVStreamParser.h"
using Parser = tessaro::APVStreamParser;
static const char* kSuffixes[] = {".apv"};
#endif

namespace {

class FuzzParser : public Parser {
public:
    FuzzParser() { mFullTableFrames = 4; }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 16) return 0;
    // The last 128 bytes (at most a quarter) steer the configuration.
    const size_t steer = std::min<size_t>(128, size / 4);
    FuzzedDataProvider fdp(data + size - steer, steer);
    const size_t suffixCount = sizeof(kSuffixes) / sizeof(kSuffixes[0]);
    const char* suffix = kSuffixes[fdp.ConsumeIntegralInRange<size_t>(0, suffixCount - 1)];
    tessaro::fuzz::InputFile input(data, size - steer, suffix);
    tessaro::ConfigParam config = tessaro::fuzz::DrawCompressedConfig(fdp);
    config.mInputFileName = input.path();
    FuzzParser parser;
    tessaro::fuzz::DriveProducer(parser, config, fdp, 0, 48, true);
    return 0;
}
