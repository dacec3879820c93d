#include "tessaro/TessaroFactory.h"

#include <cxxabi.h>
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <typeinfo>

#include "framework/TessaroFactoryRows.h"
#include "framework/TessaroImpl.h"
#include "support/LogCapture.h"
#include "support/TestPaths.h"

namespace tessaro {
namespace {

constexpr const char* kFactoryTag = "Tessaro::Factory";

std::string DynamicClassName(TessaroInterface& processor) {
    int status = 0;
    char* name = abi::__cxa_demangle(typeid(processor).name(), nullptr, nullptr, &status);
    std::string result = status == 0 ? name : typeid(processor).name();
    std::free(name);
    return result;
}

// Rows whose processor is not part of this build (the container parser
// without a media extractor) are skipped, not failed.
bool ClassIsBuilt(const std::string& area, const std::string& className) {
#ifndef TESSARO_HAVE_CONTAINER
    if (area == "container") return false;
#endif
    const std::string header = test::DataPath("../../src/" + area + "/" + className + ".h");
    return std::filesystem::exists(header);
}

struct KeyRow {
    const char* key;
    const char* className;
    const char* area;
};

void PrintTo(const KeyRow& row, std::ostream* os) { *os << row.key; }

// The whole key table, in the factory's order.
const KeyRow kKeyTable[] = {
    {"Parse/AVC", "AVCStreamParser", "compressed"},
    {"Parse/AV1", "AV1StreamParser", "compressed"},
    {"Parse/VPX", "VPXStreamParser", "compressed"},
    {"Parse/HEVC", "HEVCStreamParser", "compressed"},
    {"Parse/APV", "APVStreamParser", "compressed"},
    {"Parse/NV12", "NV12StreamParser", "uncompressed"},
    {"Parse/NV21", "NV12StreamParser", "uncompressed"},
    {"Parse/YV12", "YV12StreamParser", "uncompressed"},
    {"Parse/P010", "P010StreamParser", "uncompressed"},
    {"Parse/P210", "P210StreamParser", "uncompressed"},
    {"Parse/NV12_MOSA", "NV12MOSAStreamParser", "uncompressed"},
    {"Parse/RX10_MOSA", "RX10MOSAStreamParser", "uncompressed"},
    {"Parse/P210_MOSA", "P210MOSAStreamParser", "uncompressed"},
    {"Parse/NV12_MOSA_Interlace", "NV12MOSAInterlaceStreamParser", "uncompressed"},
    {"Parse/RGBA32", "RGBA32StreamParser", "uncompressed"},
    {"Parse/RGBAFP16", "RGBAFP16StreamParser", "uncompressed"},
    {"Parse/RGBA1010102", "RGBA1010102StreamParser", "uncompressed"},
    {"Parse/RGBA32_MOSA", "RGBA32MOSAStreamParser", "uncompressed"},
    {"Parse/RGBA1010102_MOSA", "RGBA1010102MOSAStreamParser", "uncompressed"},
    {"Pattern/NV12", "NV12PatternGenerator", "uncompressed"},
    {"Pattern/P010", "P010PatternGenerator", "uncompressed"},
    {"Pattern/P210", "P210PatternGenerator", "uncompressed"},
    {"Pattern/RGBA32", "RGBA32PatternGenerator", "uncompressed"},
    {"Pattern/RGBA1010102", "RGBA1010102PatternGenerator", "uncompressed"},
    {"Parse/Container", "StreamParserContainer", "container"},
    {"Write/Compressed", "StreamWriterCompressed", "writer"},
    {"Write/UnCompressed", "StreamWriterUnCompressed", "writer"},
};

class FactoryKey : public ::testing::TestWithParam<KeyRow> {};

TEST_P(FactoryKey, BuildsAFreshUnconfiguredInstanceOfItsClass) {
    const KeyRow row = GetParam();
    if (!ClassIsBuilt(row.area, row.className)) GTEST_SKIP() << row.className << " is not part of this build";
    auto factory = TessaroFactory::getInstance();
    test::LogCapture logs;
    auto processor = factory->getProcessorInstance(row.key);
    ASSERT_NE(processor, nullptr) << logs.Dump();
    EXPECT_EQ(DynamicClassName(*processor), std::string("tessaro::") + row.className);
    auto* impl = dynamic_cast<TessaroImpl*>(processor.get());
    ASSERT_NE(impl, nullptr);
    EXPECT_EQ(impl->state(), STATE::UNINITIALIZED);
    EXPECT_EQ(processor.use_count(), 1) << "the factory keeps no reference";
    // Building every row logs nothing but the entry line: constructors are quiet.
    ASSERT_EQ(logs.lines().size(), 1u) << logs.Dump();
    EXPECT_TRUE(logs.Contains(5, kFactoryTag, "getProcessorInstance"));
}

INSTANTIATE_TEST_SUITE_P(KeyTable, FactoryKey, ::testing::ValuesIn(kKeyTable),
                         [](const ::testing::TestParamInfo<KeyRow>& param) {
                             std::string name = param.param.key;
                             for (char& c : name) {
                                 if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                             }
                             return name;
                         });

TEST(Factory, GetInstanceIsOneSharedFactory) {
    test::LogCapture logs;
    auto first = TessaroFactory::getInstance();
    auto second = TessaroFactory::getInstance();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first.get(), second.get());
    EXPECT_EQ(logs.Count(5, kFactoryTag, "getInstance"), 2u);
}

// The static destructors run the factory's destructor during the release of
// its own shared pointer; the process must still end as it asked to.
TEST(Factory, ProcessEndsCleanlyWithTheFactoryAlive) {
#ifdef TESSARO_UNDER_EMULATOR
    GTEST_SKIP() << "death tests do not run under the emulator";
#endif
    EXPECT_EXIT(
        {
            auto processor = TessaroFactory::getInstance()->getProcessorInstance("Write/Compressed");
            std::exit(processor != nullptr ? 7 : 1);
        },
        ::testing::ExitedWithCode(7), "");
}

TEST(Factory, EveryCallBuildsADistinctObject) {
    if (!ClassIsBuilt("uncompressed", "NV12StreamParser") || !ClassIsBuilt("writer", "StreamWriterCompressed")) {
        GTEST_SKIP() << "the raw readers are not part of this build";
    }
    auto factory = TessaroFactory::getInstance();
    auto nv12 = factory->getProcessorInstance("Parse/NV12");
    auto nv21 = factory->getProcessorInstance("Parse/NV21");
    ASSERT_NE(nv12, nullptr);
    ASSERT_NE(nv21, nullptr);
    EXPECT_NE(nv12.get(), nv21.get());
    EXPECT_EQ(DynamicClassName(*nv21), "tessaro::NV12StreamParser");

    auto writerA = factory->getProcessorInstance("Write/Compressed");
    auto writerB = factory->getProcessorInstance("Write/Compressed");
    ASSERT_NE(writerA, nullptr);
    EXPECT_NE(writerA.get(), writerB.get());
}

TEST(Factory, UnknownKeysGiveAnEmptyPointerWithoutALogLine) {
    auto factory = TessaroFactory::getInstance();
    for (const char* key : {"", "parse/avc", "PARSE/AVC", "Parse/AVC ", "Write/Uncompressed", "Parse/H264", "Pattern/NV21"}) {
        SCOPED_TRACE(std::string("key '") + key + "'");
        test::LogCapture logs;
        EXPECT_EQ(factory->getProcessorInstance(key), nullptr);
        ASSERT_EQ(logs.lines().size(), 1u) << logs.Dump();
        EXPECT_TRUE(logs.Contains(5, kFactoryTag, "getProcessorInstance"));
    }
}

// A processor that counts its instances, to see what the insertion keeps.
class Probe : public TessaroImpl {
public:
    int32_t Init() override { return TS_OK; }
    int32_t Process(std::shared_ptr<Buffer>) override { return TS_OK; }
    int32_t DeInit() override { return TS_OK; }
    int32_t Seek() override { return TS_OK; }
    uint32_t GetBufferLength() override { return 0; }
};

TEST(FactoryInsertion, NullInstanceIsReportedAndNotInserted) {
    factory::ProcessorMap map;
    test::LogCapture logs;
    EXPECT_EQ(factory::InsertProcessor(map, "Parse/P010", nullptr), -2);
    EXPECT_TRUE(map.empty());
    EXPECT_TRUE(logs.Contains(6, kFactoryTag, "Error. Could not allocate Parse/P010 Instance")) << logs.Dump();
}

TEST(FactoryInsertion, ReplacesAnEarlierValueUnderTheSameKey) {
    factory::ProcessorMap map;
    auto first = std::make_shared<Probe>();
    auto second = std::make_shared<Probe>();
    test::LogCapture logs;
    EXPECT_EQ(factory::InsertProcessor(map, "Write/Compressed", first), TS_OK);
    EXPECT_EQ(factory::InsertProcessor(map, "Write/Compressed", second), TS_OK);
    ASSERT_EQ(map.size(), 1u);
    EXPECT_EQ(map["Write/Compressed"].get(), second.get());
    EXPECT_EQ(first.use_count(), 1) << "the replaced instance is released";
    EXPECT_TRUE(logs.lines().empty()) << logs.Dump();
}

}  // namespace
}  // namespace tessaro
