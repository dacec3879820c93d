// Fuzz target for the raw picture readers and the pattern generators: the
// processor, geometry, stride, scanlines, super-frame and frame count come from
// the head of the data, the picture file from the rest.
#include <vector>

#include "FuzzSupport.h"
#include "framework/TessaroFactoryRows.h"

namespace {

// Every raw reader and pattern generator of the factory table.
std::vector<tessaro::factory::FactoryRow> Rows() {
    size_t count = 0;
    const tessaro::factory::FactoryRow* rows = tessaro::factory::FactoryRows(&count);
    std::vector<tessaro::factory::FactoryRow> picked;
    for (size_t i = 0; i < count; ++i) {
        const auto family = rows[i].info.family;
        if (family == tessaro::ProcessorFamily::Raw || family == tessaro::ProcessorFamily::Pattern) picked.push_back(rows[i]);
    }
    return picked;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 32) return 0;
    static const std::vector<tessaro::factory::FactoryRow> rows = Rows();
    FuzzedDataProvider fdp(data, 32);
    auto processor = rows[fdp.ConsumeIntegralInRange<size_t>(0, rows.size() - 1)].make();
    tessaro::ConfigParam config = tessaro::fuzz::DrawConfig(fdp);
    tessaro::fuzz::InputFile input(data + 32, size - 32, ".yuv");
    config.mInputFileName = input.path();
    tessaro::fuzz::DriveProducer(*processor, config, fdp, 1, 24);
    return 0;
}
