// The factory's key table, row by row in the order the factory builds it.
#include "framework/TessaroFactoryRows.h"

#include <new>

#include "framework/Log.h"

// A build leaves out the container parser when the platform has no media
// extractor; its key is then unknown.
#if __has_include("compressed/AVCStreamParser.h")
#include "compressed/AVCStreamParser.h"
#define TS_FACTORY_HAS_AVCStreamParser 1
#endif
#if __has_include("compressed/AV1StreamParser.h")
#include "compressed/AV1StreamParser.h"
#define TS_FACTORY_HAS_AV1StreamParser 1
#endif
#if __has_include("compressed/VPXStreamParser.h")
#include "compressed/VPXStreamParser.h"
#define TS_FACTORY_HAS_VPXStreamParser 1
#endif
#if __has_include("compressed/HEVCStreamParser.h")
#include "compressed/HEVCStreamParser.h"
#define TS_FACTORY_HAS_HEVCStreamParser 1
#endif
#if __has_include("compressed/APVStreamParser.h")
#include "compressed/APVStreamParser.h"
#define TS_FACTORY_HAS_APVStreamParser 1
#endif
#if __has_include("uncompressed/NV12StreamParser.h")
#include "uncompressed/NV12StreamParser.h"
#define TS_FACTORY_HAS_NV12StreamParser 1
#endif
#if __has_include("uncompressed/YV12StreamParser.h")
#include "uncompressed/YV12StreamParser.h"
#define TS_FACTORY_HAS_YV12StreamParser 1
#endif
#if __has_include("uncompressed/P010StreamParser.h")
#include "uncompressed/P010StreamParser.h"
#define TS_FACTORY_HAS_P010StreamParser 1
#endif
#if __has_include("uncompressed/P210StreamParser.h")
#include "uncompressed/P210StreamParser.h"
#define TS_FACTORY_HAS_P210StreamParser 1
#endif
#if __has_include("uncompressed/NV12MOSAStreamParser.h")
#include "uncompressed/NV12MOSAStreamParser.h"
#define TS_FACTORY_HAS_NV12MOSAStreamParser 1
#endif
#if __has_include("uncompressed/RX10MOSAStreamParser.h")
#include "uncompressed/RX10MOSAStreamParser.h"
#define TS_FACTORY_HAS_RX10MOSAStreamParser 1
#endif
#if __has_include("uncompressed/P210MOSAStreamParser.h")
#include "uncompressed/P210MOSAStreamParser.h"
#define TS_FACTORY_HAS_P210MOSAStreamParser 1
#endif
#if __has_include("uncompressed/NV12MOSAInterlaceStreamParser.h")
#include "uncompressed/NV12MOSAInterlaceStreamParser.h"
#define TS_FACTORY_HAS_NV12MOSAInterlaceStreamParser 1
#endif
#if __has_include("uncompressed/RGBA32StreamParser.h")
#include "uncompressed/RGBA32StreamParser.h"
#define TS_FACTORY_HAS_RGBA32StreamParser 1
#endif
#if __has_include("uncompressed/RGBAFP16StreamParser.h")
#include "uncompressed/RGBAFP16StreamParser.h"
#define TS_FACTORY_HAS_RGBAFP16StreamParser 1
#endif
#if __has_include("uncompressed/RGBA1010102StreamParser.h")
#include "uncompressed/RGBA1010102StreamParser.h"
#define TS_FACTORY_HAS_RGBA1010102StreamParser 1
#endif
#if __has_include("uncompressed/RGBA32MOSAStreamParser.h")
#include "uncompressed/RGBA32MOSAStreamParser.h"
#define TS_FACTORY_HAS_RGBA32MOSAStreamParser 1
#endif
#if __has_include("uncompressed/RGBA1010102MOSAStreamParser.h")
#include "uncompressed/RGBA1010102MOSAStreamParser.h"
#define TS_FACTORY_HAS_RGBA1010102MOSAStreamParser 1
#endif
#if __has_include("uncompressed/NV12PatternGenerator.h")
#include "uncompressed/NV12PatternGenerator.h"
#define TS_FACTORY_HAS_NV12PatternGenerator 1
#endif
#if __has_include("uncompressed/P010PatternGenerator.h")
#include "uncompressed/P010PatternGenerator.h"
#define TS_FACTORY_HAS_P010PatternGenerator 1
#endif
#if __has_include("uncompressed/P210PatternGenerator.h")
#include "uncompressed/P210PatternGenerator.h"
#define TS_FACTORY_HAS_P210PatternGenerator 1
#endif
#if __has_include("uncompressed/RGBA32PatternGenerator.h")
#include "uncompressed/RGBA32PatternGenerator.h"
#define TS_FACTORY_HAS_RGBA32PatternGenerator 1
#endif
#if __has_include("uncompressed/RGBA1010102PatternGenerator.h")
#include "uncompressed/RGBA1010102PatternGenerator.h"
#define TS_FACTORY_HAS_RGBA1010102PatternGenerator 1
#endif
#if __has_include("container/StreamParserContainer.h")
#include "container/StreamParserContainer.h"
#define TS_FACTORY_HAS_StreamParserContainer 1
#endif
#if __has_include("writer/StreamWriterCompressed.h")
#include "writer/StreamWriterCompressed.h"
#define TS_FACTORY_HAS_StreamWriterCompressed 1
#endif
#if __has_include("writer/StreamWriterUnCompressed.h")
#include "writer/StreamWriterUnCompressed.h"
#define TS_FACTORY_HAS_StreamWriterUnCompressed 1
#endif

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

int32_t BuildAllProcessors([[maybe_unused]] ProcessorMap& processors) {
    [[maybe_unused]] int32_t ret = TS_OK;
#ifdef TS_FACTORY_HAS_AVCStreamParser
    processors["Parse/AVC"] = std::make_shared<AVCStreamParser>();
#endif
#ifdef TS_FACTORY_HAS_AV1StreamParser
    processors["Parse/AV1"] = std::make_shared<AV1StreamParser>();
#endif
#ifdef TS_FACTORY_HAS_VPXStreamParser
    processors["Parse/VPX"] = std::make_shared<VPXStreamParser>();
#endif
#ifdef TS_FACTORY_HAS_HEVCStreamParser
    processors["Parse/HEVC"] = std::make_shared<HEVCStreamParser>();
#endif
#ifdef TS_FACTORY_HAS_APVStreamParser
    processors["Parse/APV"] = std::make_shared<APVStreamParser>();
#endif
#ifdef TS_FACTORY_HAS_NV12StreamParser
    processors["Parse/NV12"] = std::make_shared<NV12StreamParser>();
#endif
#ifdef TS_FACTORY_HAS_NV12StreamParser
    processors["Parse/NV21"] = std::make_shared<NV12StreamParser>();
#endif
#ifdef TS_FACTORY_HAS_YV12StreamParser
    processors["Parse/YV12"] = std::make_shared<YV12StreamParser>();
#endif
#ifdef TS_FACTORY_HAS_P010StreamParser
    ret = InsertProcessor(processors, "Parse/P010", Allocate<P010StreamParser>());
    TS_CHECK(ret != TS_OK, 129, nullptr);
#endif
#ifdef TS_FACTORY_HAS_P210StreamParser
    ret = InsertProcessor(processors, "Parse/P210", Allocate<P210StreamParser>());
    TS_CHECK(ret != TS_OK, 132, nullptr);
#endif
#ifdef TS_FACTORY_HAS_NV12MOSAStreamParser
    ret = InsertProcessor(processors, "Parse/NV12_MOSA", Allocate<NV12MOSAStreamParser>());
    TS_CHECK(ret != TS_OK, 135, nullptr);
#endif
#ifdef TS_FACTORY_HAS_RX10MOSAStreamParser
    ret = InsertProcessor(processors, "Parse/RX10_MOSA", Allocate<RX10MOSAStreamParser>());
    TS_CHECK(ret != TS_OK, 138, nullptr);
#endif
#ifdef TS_FACTORY_HAS_P210MOSAStreamParser
    ret = InsertProcessor(processors, "Parse/P210_MOSA", Allocate<P210MOSAStreamParser>());
    TS_CHECK(ret != TS_OK, 141, nullptr);
#endif
#ifdef TS_FACTORY_HAS_NV12MOSAInterlaceStreamParser
    ret = InsertProcessor(processors, "Parse/NV12_MOSA_Interlace", Allocate<NV12MOSAInterlaceStreamParser>());
    TS_CHECK(ret != TS_OK, 144, nullptr);
#endif
#ifdef TS_FACTORY_HAS_RGBA32StreamParser
    ret = InsertProcessor(processors, "Parse/RGBA32", Allocate<RGBA32StreamParser>());
    TS_CHECK(ret != TS_OK, 148, nullptr);
#endif
#ifdef TS_FACTORY_HAS_RGBAFP16StreamParser
    ret = InsertProcessor(processors, "Parse/RGBAFP16", Allocate<RGBAFP16StreamParser>());
    TS_CHECK(ret != TS_OK, 151, nullptr);
#endif
#ifdef TS_FACTORY_HAS_RGBA1010102StreamParser
    ret = InsertProcessor(processors, "Parse/RGBA1010102", Allocate<RGBA1010102StreamParser>());
    TS_CHECK(ret != TS_OK, 154, nullptr);
#endif
#ifdef TS_FACTORY_HAS_RGBA32MOSAStreamParser
    ret = InsertProcessor(processors, "Parse/RGBA32_MOSA", Allocate<RGBA32MOSAStreamParser>());
    TS_CHECK(ret != TS_OK, 157, nullptr);
#endif
#ifdef TS_FACTORY_HAS_RGBA1010102MOSAStreamParser
    ret = InsertProcessor(processors, "Parse/RGBA1010102_MOSA", Allocate<RGBA1010102MOSAStreamParser>());
    TS_CHECK(ret != TS_OK, 160, nullptr);
#endif
#ifdef TS_FACTORY_HAS_NV12PatternGenerator
    ret = InsertProcessor(processors, "Pattern/NV12", Allocate<NV12PatternGenerator>());
    TS_CHECK(ret != TS_OK, 164, nullptr);
#endif
#ifdef TS_FACTORY_HAS_P010PatternGenerator
    ret = InsertProcessor(processors, "Pattern/P010", Allocate<P010PatternGenerator>());
    TS_CHECK(ret != TS_OK, 167, nullptr);
#endif
#ifdef TS_FACTORY_HAS_P210PatternGenerator
    ret = InsertProcessor(processors, "Pattern/P210", Allocate<P210PatternGenerator>());
    TS_CHECK(ret != TS_OK, 170, nullptr);
#endif
#ifdef TS_FACTORY_HAS_RGBA32PatternGenerator
    ret = InsertProcessor(processors, "Pattern/RGBA32", Allocate<RGBA32PatternGenerator>());
    TS_CHECK(ret != TS_OK, 173, nullptr);
#endif
#ifdef TS_FACTORY_HAS_RGBA1010102PatternGenerator
    ret = InsertProcessor(processors, "Pattern/RGBA1010102", Allocate<RGBA1010102PatternGenerator>());
    TS_CHECK(ret != TS_OK, 176, nullptr);
#endif
#if defined(TS_FACTORY_HAS_StreamParserContainer) && defined(TESSARO_HAVE_CONTAINER)
    ret = InsertProcessor(processors, "Parse/Container", Allocate<StreamParserContainer>());
    TS_CHECK(ret != TS_OK, 181, nullptr);
#endif
#ifdef TS_FACTORY_HAS_StreamWriterCompressed
    static_cast<void>(InsertProcessor(processors, "Write/Compressed", Allocate<StreamWriterCompressed>()));
#endif
#ifdef TS_FACTORY_HAS_StreamWriterUnCompressed
    static_cast<void>(InsertProcessor(processors, "Write/UnCompressed", Allocate<StreamWriterUnCompressed>()));
#endif
    return TS_OK;
}

}  // namespace tessaro::factory
