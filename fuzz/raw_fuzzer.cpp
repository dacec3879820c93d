// Fuzz target for the raw picture readers and the pattern generators: the
// processor, geometry, stride, scanlines, super-frame and frame count come from
// the head of the data, the picture file from the rest.
#include <functional>
#include <vector>

#include "FuzzSupport.h"
#include "uncompressed/NV12MOSAInterlaceStreamParser.h"
#include "uncompressed/NV12MOSAStreamParser.h"
#include "uncompressed/NV12PatternGenerator.h"
#include "uncompressed/NV12StreamParser.h"
#include "uncompressed/P010PatternGenerator.h"
#include "uncompressed/P010StreamParser.h"
#include "uncompressed/P210MOSAStreamParser.h"
#include "uncompressed/P210PatternGenerator.h"
#include "uncompressed/P210StreamParser.h"
#include "uncompressed/RGBA1010102MOSAStreamParser.h"
#include "uncompressed/RGBA1010102PatternGenerator.h"
#include "uncompressed/RGBA1010102StreamParser.h"
#include "uncompressed/RGBA32MOSAStreamParser.h"
#include "uncompressed/RGBA32PatternGenerator.h"
#include "uncompressed/RGBA32StreamParser.h"
#include "uncompressed/RGBAFP16StreamParser.h"
#include "uncompressed/RX10MOSAStreamParser.h"
#include "uncompressed/YV12StreamParser.h"

namespace {

using Maker = std::function<std::unique_ptr<tessaro::TessaroInterface>()>;

template <typename T>
Maker Make() {
    return [] { return std::make_unique<T>(); };
}

const std::vector<Maker>& Processors() {
    static const std::vector<Maker> makers = {
        Make<tessaro::NV12StreamParser>(),       Make<tessaro::YV12StreamParser>(),
        Make<tessaro::P010StreamParser>(),       Make<tessaro::P210StreamParser>(),
        Make<tessaro::RGBA32StreamParser>(),     Make<tessaro::RGBA1010102StreamParser>(),
        Make<tessaro::RGBAFP16StreamParser>(),   Make<tessaro::NV12MOSAStreamParser>(),
        Make<tessaro::RX10MOSAStreamParser>(),   Make<tessaro::NV12MOSAInterlaceStreamParser>(),
        Make<tessaro::P210MOSAStreamParser>(),   Make<tessaro::RGBA32MOSAStreamParser>(),
        Make<tessaro::RGBA1010102MOSAStreamParser>(), Make<tessaro::NV12PatternGenerator>(),
        Make<tessaro::P010PatternGenerator>(),   Make<tessaro::P210PatternGenerator>(),
        Make<tessaro::RGBA32PatternGenerator>(), Make<tessaro::RGBA1010102PatternGenerator>(),
    };
    return makers;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 32) return 0;
    FuzzedDataProvider fdp(data, 32);
    const auto& makers = Processors();
    auto processor = makers[fdp.ConsumeIntegralInRange<size_t>(0, makers.size() - 1)]();
    tessaro::ConfigParam config = tessaro::fuzz::DrawConfig(fdp);
    tessaro::fuzz::InputFile input(data + 32, size - 32, ".yuv");
    config.mInputFileName = input.path();
    tessaro::fuzz::DriveProducer(*processor, config, fdp, 1, 24);
    return 0;
}
