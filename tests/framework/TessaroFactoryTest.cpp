#include "tessaro/TessaroFactory.h"

#include <cxxabi.h>
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <sstream>
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

std::vector<factory::FactoryRow> Rows() {
    size_t count = 0;
    const factory::FactoryRow* rows = factory::FactoryRows(&count);
    return {rows, rows + count};
}

// "key class line" of every key in the factory's order (tests/data/factory/keys.txt).
std::vector<std::string> ExpectedRows() {
    std::vector<std::string> rows;
    std::ifstream in(test::DataPath("factory/keys.txt"));
    for (std::string line; std::getline(in, line);) {
#ifndef TESSARO_HAVE_CONTAINER
        if (line.rfind("Parse/Container ", 0) == 0) continue;
#endif
        if (!line.empty() && line[0] != '#') rows.push_back(line);
    }
    return rows;
}

// The table holds every key of this build in the factory's order, each with
// the class it builds and its insertion check; the public listing is the table.
TEST(FactoryTable, KeysClassesAndChecksInOrder) {
    std::vector<std::string> actual;
    for (const factory::FactoryRow& row : Rows()) {
        const std::string line = row.line == factory::kInsertedDirectly ? "direct"
                                 : row.line == factory::kNotChecked     ? "unchecked"
                                                                        : std::to_string(row.line);
        actual.push_back(std::string(row.info.key) + " " + DynamicClassName(*row.make()).substr(9) + " " + line);
    }
    EXPECT_EQ(actual, ExpectedRows());
    ASSERT_EQ(ProcessorKeys().size(), actual.size());
}

class FactoryKey : public ::testing::TestWithParam<factory::FactoryRow> {};

// Every call builds a distinct, quiet, unconfigured object of the row's class
// that only the caller holds.
TEST_P(FactoryKey, BuildsAFreshUnconfiguredInstanceOfItsClass) {
    const factory::FactoryRow row = GetParam();
    auto factory = TessaroFactory::getInstance();
    test::LogCapture logs;
    auto processor = factory->getProcessorInstance(row.info.key);
    ASSERT_NE(processor, nullptr) << logs.Dump();
    EXPECT_EQ(DynamicClassName(*processor), DynamicClassName(*row.make()));
    auto* impl = dynamic_cast<TessaroImpl*>(processor.get());
    ASSERT_NE(impl, nullptr);
    EXPECT_EQ(impl->state(), STATE::UNINITIALIZED);
    EXPECT_EQ(processor.use_count(), 1) << "the factory keeps no reference";
    ASSERT_EQ(logs.lines().size(), 1u) << logs.Dump();
    EXPECT_TRUE(logs.Contains(5, kFactoryTag, "getProcessorInstance"));
    EXPECT_NE(factory->getProcessorInstance(row.info.key).get(), processor.get());
}

INSTANTIATE_TEST_SUITE_P(KeyTable, FactoryKey, ::testing::ValuesIn(Rows()), [](const auto& param) {
    std::string name = param.param.info.key;
    for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    }
    return name;
});

// One shared factory; the process still ends as it asked to, although the
// static destructors run the factory's destructor during the release of its
// own shared pointer.
TEST(Factory, OneSharedInstanceThatEndsCleanly) {
    test::LogCapture logs;
    EXPECT_EQ(TessaroFactory::getInstance().get(), TessaroFactory::getInstance().get());
    EXPECT_EQ(logs.Count(5, kFactoryTag, "getInstance"), 2u);
#ifndef TESSARO_UNDER_EMULATOR  // death tests fork; the child hangs under an emulator
    EXPECT_EXIT(std::exit(TessaroFactory::getInstance()->getProcessorInstance("Write/Compressed") ? 7 : 1),
                ::testing::ExitedWithCode(7), "");
#endif
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

// A null instance is reported and not inserted; a second value under a key
// replaces (and releases) the first, silently.
TEST(FactoryInsertion, NullIsRefusedAndALaterValueReplaces) {
    factory::ProcessorMap map;
    test::LogCapture logs;
    EXPECT_EQ(factory::InsertProcessor(map, "Parse/P010", nullptr), -2);
    EXPECT_TRUE(map.empty());
    EXPECT_TRUE(logs.Has(6, kFactoryTag, "Error. Could not allocate Parse/P010 Instance"));
    logs.Clear();
    std::shared_ptr<TessaroInterface> first = Rows()[0].make(), second = Rows()[0].make();
    EXPECT_EQ(factory::InsertProcessor(map, "Write/Compressed", first), TS_OK);
    EXPECT_EQ(factory::InsertProcessor(map, "Write/Compressed", second), TS_OK);
    ASSERT_EQ(map.size(), 1u);
    EXPECT_EQ(map["Write/Compressed"].get(), second.get());
    EXPECT_EQ(first.use_count(), 1) << "the replaced instance is released";
    EXPECT_TRUE(logs.lines().empty()) << logs.Dump();
}

}  // namespace
}  // namespace tessaro
