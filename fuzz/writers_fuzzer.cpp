// Fuzz target for the two writers: buffer fields (capacity, length, type) and
// geometry (width, height, stride, scanlines, pixel format) from the data.
#include "FuzzSupport.h"
#include "writer/StreamWriterCompressed.h"
#include "writer/StreamWriterUnCompressed.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider fdp(data, size);
    tessaro::fuzz::InputFile output(nullptr, 0, ".out");
    tessaro::ConfigParam config{};
    config.mOutputFileName = output.path();
    config.mWidth = fdp.ConsumeIntegralInRange<uint32_t>(0, 300);
    config.mHeight = fdp.ConsumeIntegralInRange<uint32_t>(0, 300);
    config.mStride = fdp.ConsumeIntegralInRange<uint32_t>(0, 320);
    config.mScanlines = fdp.ConsumeIntegralInRange<uint32_t>(0, 320);
    config.mPixFormat = fdp.ConsumeIntegralInRange<uint32_t>(0, 15);
    const bool raw = fdp.ConsumeBool();
    std::unique_ptr<tessaro::TessaroInterface> writer;
    if (raw) {
        writer = std::make_unique<tessaro::StreamWriterUnCompressed>();
    } else {
        writer = std::make_unique<tessaro::StreamWriterCompressed>();
    }
    writer->SetConfig(config);
    if (writer->Init() != tessaro::TS_OK) return 0;
    const int calls = fdp.ConsumeIntegralInRange<int>(0, 4);
    for (int i = 0; i < calls; ++i) {
        auto buffer = tessaro::fuzz::MakeBuffer(fdp.ConsumeIntegralInRange<uint64_t>(0, 1 << 19),
                                                fdp.ConsumeIntegralInRange<uint32_t>(0, 2));
        buffer->mLength = fdp.ConsumeIntegralInRange<uint64_t>(0, 1 << 20);
        buffer->mOffset = fdp.ConsumeIntegralInRange<uint64_t>(0, 64);
        writer->Process(buffer);
    }
    writer->GetBufferLength();
    writer->DeInit();
    if (fdp.ConsumeBool()) writer->DeInit();
    return 0;
}
