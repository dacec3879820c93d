// The VP8/VP9 IVF scanner on hand-built files.
#include "compressed/VPXStreamParser.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "compressed/ScannerTestSupport.h"

namespace tessaro {
namespace {

using test::Bytes;
using test::Repeat;
using test::ScannerStream;
using test::StreamCase;

const std::string kFileHeader = std::string("DKIF") + Repeat(0, 28);
// A 12-byte frame header announcing `size` bytes, then the payload.
std::string Frame(const std::string& payload, uint32_t size) { return test::LittleEndian32(size) + Repeat(0x77, 8) + payload; }
std::string Frame(const std::string& payload) { return Frame(payload, payload.size()); }
// Key frame (bit 0 of the first byte clear), inter frame, key frame: 5, 3, 4 bytes.
const std::string kFrames = Frame(Bytes({0x10, 1, 2, 3, 4})) + Frame(Bytes({0x11, 5, 6})) + Frame(Bytes({0x00, 7, 8, 9}));
const std::string kOneFrame = kFileHeader + Frame(Bytes({0, 1}));  // frame 2 data at 58

StreamCase Case(const char* name, const char* file, std::string bytes, std::string table, std::vector<test::Log> logs = {},
                uint32_t frames = 0) {
    return {name, "vpx", file, std::move(bytes), std::move(table), std::move(logs), frames};
}
test::Log Check(const char* text) { return {6, text}; }
const test::Log kScanFailed = {6, "ret != TS_OK : Line# 66"};
const test::Log kZeroSizeAtTheEnd = {4, "Saw EOS. FrameSize = 0. Skip Reading input file."};

INSTANTIATE_TEST_SUITE_P(
    VPX, ScannerStream,
    ::testing::Values(
        // ".ivf" and any other extension but ".ivfnh" expect the file header.
        Case("Ivf", "a.ivf", kFileHeader + kFrames, "1: S44+5 | 2: N61+3 | 3: S76+4*", {{4, "Saw EOS after reading Last Frame"}}),
        Case("IvfWithoutFileHeader", "a.ivfnh", kFrames, "1: S12+5 | 2: N29+3 | 3: S44+4*", {{4, "Saw EOS after reading Last Frame"}}),
        Case("OtherExtension", "a.other", kFileHeader + kFrames, "1: S44+5 | 2: N61+3 | 3: S76+4*",
             {{4, "Saw EOS after reading Last Frame"}}),
        Case("MoreFramesThanTheFileRestartsAfterTheFileHeader", "a.ivf", kFileHeader + kFrames,
             "1: S44+5 | 2: N61+3 | 3: S76+4 | 4: S44+5 | 5: N61+3",
             {{4, "Frames To Parse > Frames in Inputfile. Restarting from begin.."}}, 5),
        // The last frame cut short; a header with nothing after it; a zero-size
        // frame inside the file (no first byte to test: non-sync).
        Case("LastFrameCut", "a.ivf", kOneFrame + Frame(Bytes({1, 2, 3}), 100), "1: S44+2 | 2: N58+3*", {{-4, kZeroSizeAtTheEnd.message}}),
        Case("HeaderAtTheEnd", "a.ivf", kOneFrame + Frame("", 8), "1: S44+2 | 2: ?58+0*", {kZeroSizeAtTheEnd}),
        Case("ZeroSizeFrameInside", "a.ivf", kOneFrame + Frame("") + Frame(Bytes({0, 2})), "1: S44+2 | 2: N58+0 | 3: S70+2*",
             {{-4, kZeroSizeAtTheEnd.message}}),
        Case("FileHeaderCut", "a.ivf", kFileHeader.substr(0, 20), "ERR-1",
             {Check("readInputFile(ivfHeader, 32) != TS_OK : Line# 163"), kScanFailed}),
        Case("FrameSizeCut", "a.ivf", kFileHeader + Bytes({5, 0}), "ERR-1",
             {Check("readInputFile(&frameSize, 4) != TS_OK : Line# 167"), kScanFailed}),
        Case("TimestampCut", "a.ivf", kFileHeader + Bytes({5, 0, 0, 0, 1}), "ERR-1",
             {Check("readInputFile(&timestamp, 8) != TS_OK : Line# 170"), kScanFailed}),
        Case("FrameSizeCutWithoutFileHeader", "a.ivfnh", Bytes({5, 0, 0}), "ERR-1",
             {Check("readInputFile(&frameSize, 4) != TS_OK : Line# 174"), kScanFailed}),
        Case("TimestampCutWithoutFileHeader", "a.ivfnh", Bytes({5, 0, 0, 0, 1}), "ERR-1",
             {Check("readInputFile(&timestamp, 8) != TS_OK : Line# 177"), kScanFailed}),
        Case("FrameLargerThanTheScratchBuffer", "a.ivf", kFileHeader + Frame(Bytes({0}), 0xC000001), "ERR-1",
             {Check("maxBufSize < frameSize : Line# 81"), kScanFailed}),
        // ".ivf" gets no special treatment: without the signature it is refused.
        Case("IvfWithoutSignature", "b.ivf", kFrames, "ERR-1", {Check("SawDKIFHeader() == false : Line# 51")}),
        Case("Empty", "a.ivfnh", "", "ERR-4", {Check("mFileSize == 0 : Line# 59")})),
    test::CaseName);

// The extension runs from the last '.'; a name without one throws.
TEST(VPXStreamParser, NameWithoutExtensionThrows) {
    test::ScratchDir dir;
    VPXStreamParser parser;
    const std::string path = dir.Write("noextension", kFileHeader + kFrames);
    ASSERT_EQ(path.find('.'), std::string::npos);
    EXPECT_THROW(test::InitOn(parser, path), std::out_of_range);
}

}  // namespace
}  // namespace tessaro
