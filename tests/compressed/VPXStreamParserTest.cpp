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
using test::LittleEndian32;
using test::Repeat;
using test::ScratchDir;
using test::Units;

constexpr const char* kTag = "Tessaro::Impl::StreamParser::Compressed::VPX";
constexpr uint32_t kSync = 2, kNonSync = 4;

std::string FileHeader() { return std::string("DKIF") + Repeat(0, 28); }
// A 12-byte frame header announcing `size` bytes, then `payload`.
std::string Frame(const std::string& payload, uint32_t size) {
    return LittleEndian32(size) + Repeat(0x77, 8) + payload;
}
std::string Frame(const std::string& payload) {
    return Frame(payload, static_cast<uint32_t>(payload.size()));
}

// Key frame (bit 0 of the first byte clear), inter frame, key frame.
const std::string kFrames =
    Frame(Bytes({0x10, 1, 2, 3, 4})) + Frame(Bytes({0x11, 5, 6})) + Frame(Bytes({0x00, 7, 8, 9}));

TEST(VPXStreamParser, IvfFramesWithKeyFrameBit) {
    ScratchDir dir;
    const std::string file = dir.Write("a.ivf", FileHeader() + kFrames);
    VPXStreamParser parser;
    test::LogCapture logs;
    ASSERT_EQ(InitOn(parser, file), TS_OK);
    EXPECT_EQ(parser.ivfMode(), 1u);
    ASSERT_EQ(parser.frameOffsetTable().size(), 3u);
    ExpectUnits(parser, 1, {{44, 5, kSync, 0}});
    ExpectUnits(parser, 2, {{61, 3, kNonSync, 0}});
    ExpectUnits(parser, 3, {{76, 4, kSync, 1}});
    EXPECT_TRUE(logs.Contains(4, kTag, "Saw EOS after reading Last Frame"));
    EXPECT_TRUE(logs.Contains(4, kTag, "Frame[2] BufferNum[1] Offset[61] length[3]"));
}

TEST(VPXStreamParser, HeaderlessIvfIsChosenByItsExtension) {
    ScratchDir dir;
    const std::string file = dir.Write("a.ivfnh", kFrames);
    VPXStreamParser parser;
    ASSERT_EQ(InitOn(parser, file), TS_OK);
    EXPECT_EQ(parser.ivfMode(), 2u);
    ExpectUnits(parser, 1, {{12, 5, kSync, 0}});
    ExpectUnits(parser, 3, {{44, 4, kSync, 1}});

    // Any other extension, ".ivf" included, must carry the signature.
    const std::string noSignature = dir.Write("b.ivf", kFrames);
    VPXStreamParser refused;
    test::LogCapture logs;
    EXPECT_EQ(InitOn(refused, noSignature), TS_ERROR);
    EXPECT_TRUE(logs.Contains(6, kTag, "SawDKIFHeader() == false : Line# 51"));
}

TEST(VPXStreamParser, NameWithoutDotThrowsOutOfRange) {
    ScratchDir dir;
    const std::string file = dir.Write("noextension", FileHeader() + kFrames);
    ASSERT_EQ(file.find('.'), std::string::npos) << "the scratch path itself has a '.'";
    VPXStreamParser parser;
    EXPECT_THROW(InitOn(parser, file), std::out_of_range);
}

// The end of the file: a frame cut short, a header with nothing after it.
TEST(VPXStreamParser, TruncatedAndEmptyLastFrames) {
    ScratchDir dir;
    {
        const std::string file =
            dir.Write("cut.ivf", FileHeader() + Frame(Bytes({0, 1})) + Frame(Bytes({1, 2, 3}), 100));
        VPXStreamParser parser;
        ASSERT_EQ(InitOn(parser, file), TS_OK);
        ExpectUnits(parser, 2, {{58, 3, kNonSync, 1}});
    }
    {
        const std::string file =
            dir.Write("tail.ivf", FileHeader() + Frame(Bytes({0, 1})) + Frame("", 8));
        VPXStreamParser parser;
        test::LogCapture logs;
        ASSERT_EQ(InitOn(parser, file), TS_OK);
        ExpectUnits(parser, 2, {{58, 0, 0, 1}});
        EXPECT_TRUE(logs.Contains(4, kTag, "Saw EOS. FrameSize = 0. Skip Reading input file."));
    }
    {
        // A zero-size frame inside the file has no first byte to test: non-sync.
        const std::string file = dir.Write(
            "zero.ivf", FileHeader() + Frame(Bytes({0, 1})) + Frame("") + Frame(Bytes({0, 2})));
        VPXStreamParser parser;
        ASSERT_EQ(InitOn(parser, file), TS_OK);
        ExpectUnits(parser, 2, {{58, 0, kNonSync, 0}});
        ExpectUnits(parser, 3, {{70, 2, kSync, 1}});
    }
}

TEST(VPXStreamParser, MoreFramesThanTheFileRestartsAfterTheFileHeader) {
    ScratchDir dir;
    const std::string file = dir.Write("a.ivf", FileHeader() + kFrames);
    VPXStreamParser parser;
    test::LogCapture logs;
    ASSERT_EQ(InitOn(parser, file, 5), TS_OK);
    ASSERT_EQ(parser.frameOffsetTable().size(), 5u);
    ExpectUnits(parser, 3, {{76, 4, kSync, 0}});
    ExpectUnits(parser, 4, {{44, 5, kSync, 0}});
    ExpectUnits(parser, 5, {{61, 3, kNonSync, 0}});
    EXPECT_TRUE(logs.Contains(4, kTag,
                              "Frames To Parse > Frames in Inputfile. Restarting from begin.."));
}

TEST(VPXStreamParser, BadInput) {
    struct Case {
        const char* name;
        const char* file;
        std::string bytes;
        const char* message;
    } cases[] = {
        {"file header cut", "a.ivf", FileHeader().substr(0, 20), "readInputFile(ivfHeader, 32) != TS_OK : Line# 163"},
        {"frame size cut", "a.ivf", FileHeader() + Bytes({5, 0}), "readInputFile(&frameSize, 4) != TS_OK : Line# 167"},
        {"timestamp cut", "a.ivf", FileHeader() + Bytes({5, 0, 0, 0, 1, 2}), "readInputFile(&timestamp, 8) != TS_OK : Line# 170"},
        {"headerless size cut", "a.ivfnh", Bytes({5, 0, 0}), "readInputFile(&frameSize, 4) != TS_OK : Line# 174"},
        {"headerless timestamp cut", "a.ivfnh", Bytes({5, 0, 0, 0, 1}), "readInputFile(&timestamp, 8) != TS_OK : Line# 177"},
        {"frame beyond the scratch size", "a.ivf", FileHeader() + Frame(Bytes({0}), 0xC000001), "maxBufSize < frameSize : Line# 81"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ScratchDir dir;
        VPXStreamParser parser;
        test::LogCapture logs;
        EXPECT_EQ(InitOn(parser, dir.Write(c.file, c.bytes)), TS_ERROR);
        EXPECT_TRUE(logs.Contains(6, kTag, c.message)) << logs.Dump();
        EXPECT_TRUE(logs.Contains(6, kTag, "ret != TS_OK : Line# 66"));
        EXPECT_NE(parser.state(), STATE::RUNNING);
    }
    ScratchDir dir;
    VPXStreamParser empty;
    test::LogCapture logs;
    EXPECT_EQ(InitOn(empty, dir.Write("a.ivfnh", "")), -4);
    EXPECT_TRUE(logs.Contains(6, kTag, "mFileSize == 0 : Line# 59"));
    VPXStreamParser missing;
    EXPECT_EQ(InitOn(missing, "/nonexistent/a.ivf"), TS_ERROR);
    EXPECT_TRUE(logs.Contains(6, kTag, "mInputFile.is_open() == false : Line# 44"));
}

TEST(VPXStreamParser, NullScratchBufferIsRefused) {
    ScratchDir dir;
    test::OpenedParser<VPXStreamParser> parser;
    ASSERT_TRUE(parser.Open(dir.Write("a.ivf", FileHeader() + kFrames)));
    std::vector<test::FrameInfo> list;
    test::LogCapture logs;
    EXPECT_EQ(parser.ReadfromInputFile(1, list, 1 << 20, nullptr), -2);
    EXPECT_EQ(parser.CreateEntryInFrameList(1, list, 1 << 20, 5, nullptr), -2);
    EXPECT_TRUE(logs.Contains(6, kTag, "buffer == nullptr : Line# 144"));
    EXPECT_TRUE(logs.Contains(6, kTag, "buffer == nullptr : Line# 80"));
    EXPECT_TRUE(list.empty());
}

// libvpx streams with a key frame every 4th frame. The key-frame bit is bit 0
// of the first byte for VP8 too and VP9 alike; in VP9 that bit is not the
// frame type, so every VP9 frame counts as sync.
TEST(VPXStreamParser, RealStreams) {
    struct Case {
        const char* file;
        std::vector<uint32_t> syncFrames;
    } cases[] = {
        {"vpx/vp8_kf4.ivf", {1, 5, 9}},
        {"vpx/vp9_kf4.ivf", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        VPXStreamParser parser;
        ASSERT_EQ(InitOn(parser, test::DataPath(c.file)), TS_OK);
        ASSERT_EQ(parser.frameOffsetTable().size(), 10u);
        uint64_t end = 32;
        std::vector<uint32_t> syncFrames;
        for (uint32_t f = 1; f <= 10; ++f) {
            const auto units = Units(parser, f);
            ASSERT_EQ(units.size(), 1u);
            EXPECT_EQ(units[0].mOffset, end + 12);
            end = units[0].mOffset + units[0].mLength;
            if (units[0].mFrameType == kSync) syncFrames.push_back(f);
        }
        EXPECT_EQ(end, parser.fileSize());
        EXPECT_EQ(syncFrames, c.syncFrames);
    }
}

}  // namespace
}  // namespace tessaro
