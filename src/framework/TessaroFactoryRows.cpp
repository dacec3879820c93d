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

// The first rows are built with the throwing allocation; the rest allocate
// without throwing, so that an allocation failure reaches InsertProcessor as a
// null instance.
template <typename T>
std::shared_ptr<TessaroInterface> Direct() {
    return std::make_shared<T>();
}
template <typename T>
std::shared_ptr<TessaroInterface> Allocate() {
    T* instance = new (std::nothrow) T();
    if (instance == nullptr) return nullptr;
    return std::shared_ptr<TessaroInterface>(instance);
}

using F = ProcessorFamily;
constexpr int kDirect = kInsertedDirectly;

const FactoryRow kRows[] = {
    {{"Parse/AVC", F::Compressed, "H.264 Annex-B byte stream, one frame (or slice) per buffer", 0}, Direct<AVCStreamParser>, kDirect},
    {{"Parse/AV1", F::Compressed, "AV1 in IVF, Annex-B or raw OBUs, one temporal unit (or tile group) per buffer", 0}, Direct<AV1StreamParser>, kDirect},
    {{"Parse/VPX", F::Compressed, "VP8/VP9 in IVF, one frame per buffer", 0}, Direct<VPXStreamParser>, kDirect},
    {{"Parse/HEVC", F::Compressed, "H.265 Annex-B byte stream, one frame (or slice) per buffer", 0}, Direct<HEVCStreamParser>, kDirect},
    {{"Parse/APV", F::Compressed, "APV access units with 4-byte size prefixes, one per buffer", 0}, Direct<APVStreamParser>, kDirect},
    {{"Parse/NV12", F::Raw, "raw NV12 pictures (8-bit 4:2:0, interleaved CbCr)", 1}, Direct<NV12StreamParser>, kDirect},
    {{"Parse/NV21", F::Raw, "raw NV21 pictures (read as NV12, interleaved CrCb)", 2}, Direct<NV12StreamParser>, kDirect},
    {{"Parse/YV12", F::Raw, "raw YV12 pictures (8-bit 4:2:0, three planes)", 3}, Direct<YV12StreamParser>, kDirect},
    {{"Parse/P010", F::Raw, "raw P010 pictures (16-bit samples, 4:2:0)", 4}, Allocate<P010StreamParser>, 129},
    {{"Parse/P210", F::Raw, "raw P210 pictures (16-bit samples, 4:2:2)", 5}, Allocate<P210StreamParser>, 132},
    {{"Parse/NV12_MOSA", F::Raw, "tiled-compressed NV12 buffer images", 7}, Allocate<NV12MOSAStreamParser>, 135},
    {{"Parse/RX10_MOSA", F::Raw, "tiled-compressed packed 10-bit 4:2:0 buffer images", 8}, Allocate<RX10MOSAStreamParser>, 138},
    {{"Parse/P210_MOSA", F::Raw, "tiled-compressed P210 buffer images", 6}, Allocate<P210MOSAStreamParser>, 141},
    {{"Parse/NV12_MOSA_Interlace", F::Raw, "tiled-compressed NV12 buffer images stored as two fields", 9}, Allocate<NV12MOSAInterlaceStreamParser>, 144},
    {{"Parse/RGBA32", F::Raw, "raw RGBA 8:8:8:8 pictures", 10}, Allocate<RGBA32StreamParser>, 148},
    {{"Parse/RGBAFP16", F::Raw, "raw RGBA half-float pictures (8 bytes a pixel)", 11}, Allocate<RGBAFP16StreamParser>, 151},
    {{"Parse/RGBA1010102", F::Raw, "raw RGBA 10:10:10:2 pictures", 12}, Allocate<RGBA1010102StreamParser>, 154},
    {{"Parse/RGBA32_MOSA", F::Raw, "tiled-compressed RGBA 8:8:8:8 buffer images", 13}, Allocate<RGBA32MOSAStreamParser>, 157},
    {{"Parse/RGBA1010102_MOSA", F::Raw, "tiled-compressed RGBA 10:10:10:2 buffer images", 0}, Allocate<RGBA1010102MOSAStreamParser>, 160},
    {{"Pattern/NV12", F::Pattern, "moving-block test pictures in NV12 (no input file)", 1}, Allocate<NV12PatternGenerator>, 164},
    {{"Pattern/P010", F::Pattern, "moving-block test pictures in P010", 4}, Allocate<P010PatternGenerator>, 167},
    {{"Pattern/P210", F::Pattern, "moving-block test pictures in P210", 5}, Allocate<P210PatternGenerator>, 170},
    {{"Pattern/RGBA32", F::Pattern, "moving-block test pictures in RGBA 8:8:8:8", 10}, Allocate<RGBA32PatternGenerator>, 173},
    {{"Pattern/RGBA1010102", F::Pattern, "moving-block test pictures in RGBA 10:10:10:2", 12}, Allocate<RGBA1010102PatternGenerator>, 176},
#ifdef TESSARO_HAVE_CONTAINER
    {{"Parse/Container", F::Container, "one video track of an MP4/Matroska/WebM/... file (set --codec)", 0}, Allocate<StreamParserContainer>, 181},
#endif
    {{"Write/Compressed", F::Writer, "appends linear buffers' bytes to a file as they are", 0}, Allocate<StreamWriterCompressed>, kNotChecked},
    {{"Write/UnCompressed", F::Writer, "writes graphic buffers' pictures to a file without padding (set --pix-format)", 0}, Allocate<StreamWriterUnCompressed>, kNotChecked},
};

}  // namespace

const FactoryRow* FactoryRows(size_t* count) {
    *count = sizeof(kRows) / sizeof(kRows[0]);
    return kRows;
}

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
    size_t count = 0;
    const FactoryRow* const rows = FactoryRows(&count);
    for (size_t i = 0; i < count; ++i) {
        const FactoryRow& row = rows[i];
        if (row.line == kInsertedDirectly) {
            processors[row.info.key] = row.make();
            continue;
        }
        const int32_t ret = InsertProcessor(processors, row.info.key, row.make());
        if (row.line != kNotChecked && ret != TS_OK) return ReportFailure(kLogTag, "ret != TS_OK", row.line, ret);
    }
    return TS_OK;
}

}  // namespace tessaro::factory
