#include "core/Args.h"

#include <gtest/gtest.h>

namespace tessaro::cli {
namespace {

const std::vector<OptionSpec> kSpecs = {
    {"input", 'i', "FILE", ""}, {"frames", 'n', "N", ""}, {"verbose", 'v', "", ""}, {"quiet", 'q', "", ""}};

TEST(ParseArgs, AcceptsEveryOptionForm) {
    const ParsedArgs a = ParseArgs(kSpecs, {"key", "--input", "a.264", "--frames=7", "-vq", "-ib.264", "--", "-x"});
    EXPECT_EQ(a.Value("input"), "b.264") << "the last value wins";
    EXPECT_EQ(a.Value("frames"), "7");
    EXPECT_TRUE(a.Has("verbose"));
    EXPECT_TRUE(a.Has("quiet"));
    EXPECT_EQ(a.positional(), (std::vector<std::string>{"key", "-x"}));
    EXPECT_EQ(a.Value("absent", "dflt"), "dflt");
}

TEST(ParseArgs, RefusesWhatItCannotRead) {
    const std::vector<std::vector<std::string>> bad = {
        {"--nope"}, {"-x"}, {"--input"}, {"-i"}, {"--verbose=1"}, {"-vi"},
    };
    for (const auto& args : bad) {
        SCOPED_TRACE(args.front());
        EXPECT_THROW(ParseArgs(kSpecs, args), UsageError);
    }
}

TEST(ParseValues, NumbersListsSizesRates) {
    EXPECT_EQ(ParseU32("--n", "4294967295"), 4294967295u);
    EXPECT_EQ(ParseU32List("--l", "2,1,10"), (std::vector<uint32_t>{2, 1, 10}));
    EXPECT_EQ(ParseSize("--s", "176x144"), std::make_pair(176u, 144u));
    EXPECT_EQ(ParseRate("--r", "30000/1001"), std::make_pair(30000u, 1001u));
    EXPECT_EQ(ParseRate("--r", "25"), std::make_pair(25u, 1u));
    for (const char* text : {"", "-1", "4294967296", "12a", " 3", "0x10"}) {
        SCOPED_TRACE(text);
        EXPECT_THROW(ParseU32("--n", text), UsageError);
    }
    for (const char* text : {"1,,2", ",1", "1,"}) EXPECT_THROW(ParseU32List("--l", text), UsageError) << text;
    for (const char* text : {"176", "0x144", "176x0", "176x", "x144"}) EXPECT_THROW(ParseSize("--s", text), UsageError) << text;
    for (const char* text : {"0", "30/0", "/1"}) EXPECT_THROW(ParseRate("--r", text), UsageError) << text;
}

TEST(ParseValues, ReasonNamesTheOption) {
    try {
        ParseU32("--frames", "ten");
        FAIL();
    } catch (const UsageError& e) {
        EXPECT_STREQ(e.what(), "--frames: expected a number, got 'ten'");
    }
}

}  // namespace
}  // namespace tessaro::cli
