// The factory's key table, row by row in the order the factory builds it.
#include "framework/TessaroFactoryRows.h"

#include <new>

#include "framework/Log.h"

#include "compressed/AVCStreamParser.h"
#include "compressed/AV1StreamParser.h"
#include "compressed/VPXStreamParser.h"
#include "compressed/HEVCStreamParser.h"
#include "compressed/APVStreamParser.h"
#include "uncompressed/NV12StreamParser.h"
#include "uncompressed/YV12StreamParser.h"
#include "uncompressed/P010StreamParser.h"
#include "uncompressed/P210StreamParser.h"
#include "uncompressed/NV12MOSAStreamParser.h"
#include "uncompressed/RX10MOSAStreamParser.h"
#include "uncompressed/P210MOSAStreamParser.h"
#include "uncompressed/NV12MOSAInterlaceStreamParser.h"
#include "uncompressed/RGBA32StreamParser.h"
#include "uncompressed/RGBAFP16StreamParser.h"
#include "uncompressed/RGBA1010102StreamParser.h"
#include "uncompressed/RGBA32MOSAStreamParser.h"
#include "uncompressed/RGBA1010102MOSAStreamParser.h"
#include "uncompressed/NV12PatternGenerator.h"
#include "uncompressed/P010PatternGenerator.h"
#include "uncompressed/P210PatternGenerator.h"
#include "uncompressed/RGBA32PatternGenerator.h"
#include "uncompressed/RGBA1010102PatternGenerator.h"
// A build without a media extractor has no container parser; its key is then
// unknown.
#ifdef TESSARO_HAVE_CONTAINER
#include "container/StreamParserContainer.h"
#endif
#include "writer/StreamWriterCompressed.h"
#include "writer/StreamWriterUnCompressed.h"

namespace tessaro::factory {
namespace {

constexpr const char* kLogTag = "Tessaro::Factory";

// The checked rows allocate without throwing, so that an allocation failure
// reaches InsertProcessor as a null instance.
template <typename T>
std::shared_ptr<TessaroInterface> Allocate() {
    T* instance = new (std::nothrow) T();
    if (instance == nullptr) return nullptr;
    return std::shared_ptr<TessaroInterface>(instance);
}

}  // namespace

int32_t InsertProcessor(ProcessorMap& processors, const std::string& key,
                        std::shared_ptr<TessaroInterface> instance) {
    if (instance == nullptr) {
        TS_LOGE("Error. Could not allocate %s Instance", key.c_str());
        return -2;
    }
    processors[key] = std::move(instance);
    return TS_OK;
}

int32_t BuildAllProcessors(ProcessorMap& processors) {
    int32_t ret = TS_OK;
    processors["Parse/AVC"] = std::make_shared<AVCStreamParser>();
    processors["Parse/AV1"] = std::make_shared<AV1StreamParser>();
    processors["Parse/VPX"] = std::make_shared<VPXStreamParser>();
    processors["Parse/HEVC"] = std::make_shared<HEVCStreamParser>();
    processors["Parse/APV"] = std::make_shared<APVStreamParser>();
    processors["Parse/NV12"] = std::make_shared<NV12StreamParser>();
    processors["Parse/NV21"] = std::make_shared<NV12StreamParser>();
    processors["Parse/YV12"] = std::make_shared<YV12StreamParser>();
    ret = InsertProcessor(processors, "Parse/P010", Allocate<P010StreamParser>());
    TS_CHECK(ret != TS_OK, 129, ret);
    ret = InsertProcessor(processors, "Parse/P210", Allocate<P210StreamParser>());
    TS_CHECK(ret != TS_OK, 132, ret);
    ret = InsertProcessor(processors, "Parse/NV12_MOSA", Allocate<NV12MOSAStreamParser>());
    TS_CHECK(ret != TS_OK, 135, ret);
    ret = InsertProcessor(processors, "Parse/RX10_MOSA", Allocate<RX10MOSAStreamParser>());
    TS_CHECK(ret != TS_OK, 138, ret);
    ret = InsertProcessor(processors, "Parse/P210_MOSA", Allocate<P210MOSAStreamParser>());
    TS_CHECK(ret != TS_OK, 141, ret);
    ret = InsertProcessor(processors, "Parse/NV12_MOSA_Interlace", Allocate<NV12MOSAInterlaceStreamParser>());
    TS_CHECK(ret != TS_OK, 144, ret);
    ret = InsertProcessor(processors, "Parse/RGBA32", Allocate<RGBA32StreamParser>());
    TS_CHECK(ret != TS_OK, 148, ret);
    ret = InsertProcessor(processors, "Parse/RGBAFP16", Allocate<RGBAFP16StreamParser>());
    TS_CHECK(ret != TS_OK, 151, ret);
    ret = InsertProcessor(processors, "Parse/RGBA1010102", Allocate<RGBA1010102StreamParser>());
    TS_CHECK(ret != TS_OK, 154, ret);
    ret = InsertProcessor(processors, "Parse/RGBA32_MOSA", Allocate<RGBA32MOSAStreamParser>());
    TS_CHECK(ret != TS_OK, 157, ret);
    ret = InsertProcessor(processors, "Parse/RGBA1010102_MOSA", Allocate<RGBA1010102MOSAStreamParser>());
    TS_CHECK(ret != TS_OK, 160, ret);
    ret = InsertProcessor(processors, "Pattern/NV12", Allocate<NV12PatternGenerator>());
    TS_CHECK(ret != TS_OK, 164, ret);
    ret = InsertProcessor(processors, "Pattern/P010", Allocate<P010PatternGenerator>());
    TS_CHECK(ret != TS_OK, 167, ret);
    ret = InsertProcessor(processors, "Pattern/P210", Allocate<P210PatternGenerator>());
    TS_CHECK(ret != TS_OK, 170, ret);
    ret = InsertProcessor(processors, "Pattern/RGBA32", Allocate<RGBA32PatternGenerator>());
    TS_CHECK(ret != TS_OK, 173, ret);
    ret = InsertProcessor(processors, "Pattern/RGBA1010102", Allocate<RGBA1010102PatternGenerator>());
    TS_CHECK(ret != TS_OK, 176, ret);
#ifdef TESSARO_HAVE_CONTAINER
    ret = InsertProcessor(processors, "Parse/Container", Allocate<StreamParserContainer>());
    TS_CHECK(ret != TS_OK, 181, ret);
#endif
    static_cast<void>(InsertProcessor(processors, "Write/Compressed", Allocate<StreamWriterCompressed>()));
    static_cast<void>(InsertProcessor(processors, "Write/UnCompressed", Allocate<StreamWriterUnCompressed>()));
    return TS_OK;
}

}  // namespace tessaro::factory
