#include "compressed/VPXStreamParser.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "compressed/ScannerTestSupport.h"
#include "support/LogCapture.h"

namespace tessaro {
namespace {

using test::Bytes;
using test::ExpectUnits;
using test::InitOn;
using test::Repeat;

constexpr const char* kTag = "Tessaro::Impl::StreamParser::Compressed::VPX";
constexpr uint32_t kSync = 2, kNonSync = 4;

const std::string kFileHeader = std::string("DKIF") + Repeat(0, 28);
// A 12-byte frame header announcing `size` bytes, then the payload.
std::string Frame(const std::string& payload, uint32_t size) {
    return test::LittleEndian32(size) + Repeat(0x77, 8) + payload;
}
std::string Frame(const std::string& payload) { return Frame(payload, payload.size()); }
// Key frame (bit 0 of the first byte clear), inter frame, key frame: 5, 3, 4 bytes.
const std::string kFrames =
    Frame(Bytes({0x10, 1, 2, 3, 4})) + Frame(Bytes({0x11, 5, 6})) + Frame(Bytes({0x00, 7, 8, 9}));

TEST(VPXStreamParser, FramingsAndKeyFrameBit) {
    struct Case {
        const char* name;
        std::string bytes;
        uint32_t mode;
        uint64_t first;  // offset of frame 1's data
    } cases[] = {{"a.ivf", kFileHeader + kFrames, 1, 44},
                 {"a.ivfnh", kFrames, 2, 12},
                 {"a.other", kFileHeader + kFrames, 1, 44}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        test::ScratchDir dir;
        VPXStreamParser parser;
        test::LogCapture logs;
        ASSERT_EQ(InitOn(parser, dir.Write(c.name, c.bytes)), TS_OK);
        EXPECT_EQ(parser.ivfMode(), c.mode);
        ExpectUnits(parser, 1, {{c.first, 5, kSync, 0}});
        ExpectUnits(parser, 2, {{c.first + 17, 3, kNonSync, 0}});
        ExpectUnits(parser, 3, {{c.first + 32, 4, kSync, 1}});
        EXPECT_TRUE(logs.Has(4, kTag, "Saw EOS after reading Last Frame"));
    }
    // The extension runs from the last '.'; a name without one throws.
    test::ScratchDir dir;
    VPXStreamParser noDot;
    const std::string path = dir.Write("noextension", kFileHeader + kFrames);
    ASSERT_EQ(path.find('.'), std::string::npos);
    EXPECT_THROW(InitOn(noDot, path), std::out_of_range);
}

// The last frame cut short, a header with nothing after it, a zero-size frame
// inside the file (no first byte to test: non-sync).
TEST(VPXStreamParser, ShortAndEmptyFrames) {
    const std::string first = kFileHeader + Frame(Bytes({0, 1}));  // frame 2 data at 58
    struct Case {
        const char* name;
        std::string bytes;
        test::Unit second;
    } cases[] = {{"cut", first + Frame(Bytes({1, 2, 3}), 100), {58, 3, kNonSync, 1}},
                 {"tail", first + Frame("", 8), {58, 0, 0, 1}},
                 {"zero", first + Frame("") + Frame(Bytes({0, 2})), {58, 0, kNonSync, 0}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        test::ScratchDir dir;
        VPXStreamParser parser;
        test::LogCapture logs;
        ASSERT_EQ(InitOn(parser, dir.Write("a.ivf", c.bytes)), TS_OK);
        ExpectUnits(parser, 2, {c.second});
        EXPECT_EQ(logs.Contains(4, kTag, "Saw EOS. FrameSize = 0. Skip Reading input file."),
                  std::string(c.name) == "tail");
    }
}

TEST(VPXStreamParser, MoreFramesThanTheFileRestartsAfterTheFileHeader) {
    test::ScratchDir dir;
    VPXStreamParser parser;
    test::LogCapture logs;
    ASSERT_EQ(InitOn(parser, dir.Write("a.ivf", kFileHeader + kFrames), 5), TS_OK);
    ASSERT_EQ(parser.frameOffsetTable().size(), 5u);
    ExpectUnits(parser, 3, {{76, 4, kSync, 0}});
    ExpectUnits(parser, 4, {{44, 5, kSync, 0}});
    ExpectUnits(parser, 5, {{61, 3, kNonSync, 0}});
    EXPECT_TRUE(logs.Has(4, kTag, "Frames To Parse > Frames in Inputfile. Restarting from begin.."));
}

TEST(VPXStreamParser, BadInput) {
    const struct {
        const char* file;
        std::string bytes;
        const char* message;
    } cases[] = {
        {"a.ivf", kFileHeader.substr(0, 20), "readInputFile(ivfHeader, 32) != TS_OK : Line# 163"},
        {"a.ivf", kFileHeader + Bytes({5, 0}), "readInputFile(&frameSize, 4) != TS_OK : Line# 167"},
        {"a.ivf", kFileHeader + Bytes({5, 0, 0, 0, 1}), "readInputFile(&timestamp, 8) != TS_OK : Line# 170"},
        {"a.ivfnh", Bytes({5, 0, 0}), "readInputFile(&frameSize, 4) != TS_OK : Line# 174"},
        {"a.ivfnh", Bytes({5, 0, 0, 0, 1}), "readInputFile(&timestamp, 8) != TS_OK : Line# 177"},
        {"a.ivf", kFileHeader + Frame(Bytes({0}), 0xC000001), "maxBufSize < frameSize : Line# 81"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        test::ExpectInitFails("vpx", c.file, c.bytes, TS_ERROR, {{kTag, c.message}, {kTag, "ret != TS_OK : Line# 66"}});
    }
    // ".ivf" gets no special treatment: without the signature it is refused.
    test::ExpectInitFails("vpx", "b.ivf", kFrames, TS_ERROR, {{kTag, "SawDKIFHeader() == false : Line# 51"}});
    test::ExpectInitFails("vpx", "a.ivfnh", "", -4, {{kTag, "mFileSize == 0 : Line# 59"}});
}

}  // namespace
}  // namespace tessaro
