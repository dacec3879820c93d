// The AV1 scanner: file type detection, OBU headers and sizes, temporal units
// and their tile-group slices.
#include "compressed/AV1StreamParser.h"

#include <gtest/gtest.h>

#include <tuple>

#include "compressed/ScannerTestSupport.h"

namespace tessaro {
namespace {

using test::Bytes;
using test::InitOn;
using test::LittleEndian32;
using test::Repeat;
using test::ScratchDir;
using test::ScannerStream;
using test::StreamCase;

constexpr const char* kTag = "Tessaro::Impl::StreamParser::Compressed::AV1";

std::string Leb(uint32_t v) {
    std::string s;
    do {
        s.push_back(static_cast<char>((v & 0x7F) | (v > 0x7F ? 0x80 : 0)));
        v >>= 7;
    } while (v != 0);
    return s;
}

// An OBU: header (type, extension flag, size-field flag), extension byte, size, payload.
std::string Obu(int type, const std::string& payload, bool sizeField = true, bool ext = false) {
    std::string s = Bytes({(type << 3) | (ext ? 4 : 0) | (sizeField ? 2 : 0)});
    if (ext) s += Bytes({0});
    if (sizeField) s += Leb(static_cast<uint32_t>(payload.size()));
    return s + payload;
}
const std::string kTd = Obu(2, "");                  // 2 bytes
const std::string kSeq = Obu(1, Repeat(0x0A, 4));    // 6 bytes
const std::string kFh = Obu(3, Repeat(0x33, 3));     // 5 bytes
const std::string kTg1 = Obu(4, Repeat(0x41, 6));    // 8 bytes
const std::string kTg2 = Obu(4, Repeat(0x42, 10));   // 12 bytes
const std::string kFrame = Obu(6, Repeat(0x66, 7));  // 9 bytes
const std::string kIvfHeader = std::string("DKIF") + Repeat(0, 28);

// Annex-B: temporal_unit(size) { frame_unit(size) { obu_length, OBU without size field } }.
std::string AnnexBUnit(const std::vector<std::string>& obus) {
    std::string frameUnit;
    for (const auto& obu : obus) frameUnit += Leb(static_cast<uint32_t>(obu.size())) + obu;
    const std::string temporal = Leb(static_cast<uint32_t>(frameUnit.size())) + frameUnit;
    return Leb(static_cast<uint32_t>(temporal.size())) + temporal;
}

// Every LEB128 case decoded from memory and read from a file gives the same
// status, value and length: the decoding is written once. At the end of the
// file nothing is read and that is no failure.
TEST(AV1StreamParser, Leb128FromMemoryAndFromFile) {
    const struct {
        std::string bytes;
        int32_t status;
        unsigned long value, length;
        const char* fileMessage;  // logged by ReadLeb128 on failure
    } cases[] = {
        {Bytes({0x00}), TS_OK, 0, 1, nullptr},
        {Bytes({0x7F}), TS_OK, 127, 1, nullptr},
        {Bytes({0x80, 0x01}), TS_OK, 128, 2, nullptr},
        {Bytes({0xFF, 0xFF, 0xFF, 0xFF, 0x0F}), TS_OK, 0xFFFFFFFFul, 5, nullptr},           // the largest value
        {Repeat(0x80, 7) + Bytes({0x00}), TS_OK, 0, 8, nullptr},                           // eight bytes, last ends
        {Bytes({0xFF, 0xFF, 0xFF, 0xFF, 0x1F}), TS_ERROR, 0x1FFFFFFFFul, 5, "Error. Failed to Decode LEB for Index[5]"},
        {Repeat(0x81, 8) + Bytes({0x00}), TS_ERROR, 0x2040810204081ul, 8, "Error. Failed to Decode LEB for Index[8]"},
        {Bytes({0x80, 0x80}), TS_ERROR, 0, 0, "Error. Ran out-of-data before completing Read of Value"},
        {Bytes({0x05}), TS_OK, 5, 1, nullptr},
    };
    ScratchDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.bytes));
        AV1StreamParser parser;
        unsigned long value = 99, length = 99;
        EXPECT_EQ(parser.ULebDecode(reinterpret_cast<const unsigned char*>(c.bytes.data()), c.bytes.size(), &value, &length),
                  c.status);
        EXPECT_EQ(value, c.value);
        if (c.status == TS_OK) {
            EXPECT_EQ(length, c.length);
        }
        test::OpenedParser<AV1StreamParser> file;
        ASSERT_TRUE(file.Open(dir.Write("leb", c.bytes)));
        test::LogCapture logs;
        unsigned long fileValue = 0, fileLength = 0;
        EXPECT_EQ(file.ReadLeb128(fileLength, fileValue), c.status);
        if (c.fileMessage != nullptr) {
            EXPECT_TRUE(logs.Has(6, kTag, c.fileMessage));
            continue;
        }
        EXPECT_EQ(std::make_tuple(fileValue, fileLength, file.Position()), std::make_tuple(c.value, c.length, uint64_t{c.length}));
        if (file.Position() == c.bytes.size()) {
            EXPECT_EQ(file.ReadLeb128(fileLength, fileValue), TS_OK);
            EXPECT_EQ(std::make_pair(fileLength, fileValue), std::make_pair(0ul, c.value));
            EXPECT_TRUE(logs.Has(4, kTag, "Reached End Of File"));
        }
    }
    AV1StreamParser parser;
    const unsigned char one = 1;
    unsigned long value = 7;
    EXPECT_EQ(parser.ULebDecode(nullptr, 1, &value, nullptr), TS_ERROR);
    EXPECT_EQ(parser.ULebDecode(&one, 1, nullptr, nullptr), TS_ERROR);
    EXPECT_EQ(parser.ULebDecode(&one, 0, &value, nullptr), TS_ERROR);
    EXPECT_EQ(value, 0u);
    EXPECT_EQ(parser.ULebDecode(&one, 1, &value, nullptr), TS_OK);  // length is optional
    EXPECT_EQ(value, 1u);
}

// A sequence header with extension (the extension byte is skipped unread), an
// unknown type 9, the forbidden bit set, then the end of the file.
TEST(AV1StreamParser, ObuHeader) {
    ScratchDir dir;
    test::OpenedParser<AV1StreamParser> parser;
    ASSERT_TRUE(parser.Open(dir.Write("obu", Bytes({0x0E, 0xEE, 0x4A, 0x92}))));
    test::LogCapture logs;
    unsigned long size = 0;
    AV1StreamParser::ObuHeader header, unknown, forbidden;
    EXPECT_EQ(std::make_pair(header.mTemporalId, header.mSpatialId), std::make_pair(-1, -1));
    ASSERT_EQ(parser.ReadObuHeader(size, header), TS_OK);
    EXPECT_EQ(std::make_pair(size, parser.Position()), std::make_pair(2ul, uint64_t{2}));
    EXPECT_EQ(header.mType, 1u);
    EXPECT_TRUE(header.mHasSizeField && header.mExtensionFlag);
    EXPECT_EQ(header.mTemporalId, -1);
    EXPECT_EQ(logs.Messages(kTag),
              (std::vector<std::string>{"ReadObuHeader", "-- OBU header Info Start --", "obu_type : 1 (OBU_SEQUENCE_HEADER)",
                                        "has_size_field : 1", "obu_extension_flag : 1", "-- OBU header Info End --"}));
    EXPECT_EQ(parser.ReadObuHeader(size, unknown), TS_OK);
    EXPECT_EQ(unknown.mType, 0u);
    EXPECT_TRUE(logs.Has(4, kTag, "obu_type : 0 ()"));
    EXPECT_EQ(parser.ReadObuHeader(size, forbidden), TS_ERROR);
    EXPECT_EQ(parser.ReadObuHeader(size, forbidden), TS_ERROR);
    EXPECT_TRUE(logs.HasAll(6, kTag, {"Unknown Obu Type: 9", "Error. Invalid OBU Header", "Error. Failed to Read from File"}));
}

TEST(AV1StreamParser, DetectsIvfObuAndAnnexB) {
    const struct {
        std::string bytes;
        uint32_t fileType;
        bool annexB;
    } cases[] = {
        {kIvfHeader + LittleEndian32(2) + Repeat(0, 8) + kTd, 1, false},
        {kTd + kSeq + kFrame, 2, false},
        {kSeq + kFrame, 2, false},  // an OBU stream may start with a sequence header
        {AnnexBUnit({Obu(2, "", false), Obu(1, Repeat(0x0A, 4), false)}), 2, true},
    };
    ScratchDir dir;
    for (const auto& c : cases) {
        AV1StreamParser parser;
        test::LogCapture logs;
        ASSERT_EQ(InitOn(parser, dir.Write("a.obu", c.bytes)), TS_OK) << logs.Dump();
        EXPECT_EQ(std::make_pair(parser.fileType(), parser.isAnnexB()), std::make_pair(c.fileType, c.annexB));
        EXPECT_TRUE(logs.Has(4, kTag, c.fileType == 1 ? "Input File has IVF Header" : "Input File has OBU Header"));
    }
}

StreamCase Case(const char* name, std::string bytes, std::string table, std::vector<test::Log> logs = {},
                bool sliceMode = false, const char* file = "a.obu") {
    return {name, "av1", file, std::move(bytes), std::move(table), std::move(logs), 0, sliceMode};
}
const test::Log kUnsupported = {6, "Error. Unsupported AV1 File Type"};
const test::Log kScanFailed = {6, "ret != TS_OK : Line# 210"};
const test::Log kHeaderFailed = {6, "ReadObuHeader(std::ref(obuHdrSize), std::ref(obuHdr)) != TS_OK : Line# 374"};
const std::string kAnnexB1 = AnnexBUnit({Obu(2, "", false), Obu(1, Repeat(0x0A, 4), false), Obu(6, Repeat(0x66, 200), false)});
const std::string kAnnexB2 = AnnexBUnit({Obu(2, "", false), Obu(6, Repeat(0x67, 9), false)});
const std::string kIvfFrame = LittleEndian32(11) + Repeat(0, 8) + kTd + kFrame;  // frame data at 44
// The next frame header's first byte (size 0x8B) reads as an OBU header with the forbidden bit.
const std::string kIvfTwoFrames = kIvfHeader + kIvfFrame + LittleEndian32(0x8B) + Repeat(0, 8) + kTd + Obu(6, Repeat(0x66, 0x8B - 5));

INSTANTIATE_TEST_SUITE_P(
    AV1, ScannerStream,
    ::testing::Values(
        // TU1 @0: TD SEQ FH TG1 TG2; TU2 @33: TD FRAME unknown(9); TU3 @46: TD FH TG1 to the end.
        // The first slice covers everything from the unit's start through the
        // first tile group; without a tile group the whole unit is the one slice.
        Case("TemporalUnitsAndTileGroupSlices", kTd + kSeq + kFh + kTg1 + kTg2 + kTd + kFrame + Obu(9, "") + kTd + kFh + kTg1,
             "1: S0+33(0+21,21+12) | 2: S33+13(33+13) | 3: S46+15*(46+15)",
             {{6, "Unknown Obu Type: 9"}, {4, "Slice[2]: Offset[21] Size[12]"}, {4, "Total TU size: 33"},
              {5, "ReadTemporalUnitSize"}}),
        // Entries cover the size field. The first byte of the first unit is its
        // two-byte size field (bit 0 set), of the second a one-byte size (bit 0
        // clear): the key-frame bit test applies to them.
        Case("AnnexBEntriesCoverTheSizeField", kAnnexB1 + kAnnexB2,
             "1: N0+" + std::to_string(kAnnexB1.size()) + " | 2: S" + std::to_string(kAnnexB1.size()) + "+" +
                 std::to_string(kAnnexB2.size()) + "*",
             {{4, "AV1 : Annex-B bitstream format. SliceList Size 0"}}, true),
        // In slice mode an IVF frame's tile groups are looked for after the
        // frame, where the next frame header (or the end of the file) is.
        Case("IvfSliceModeLooksAfterTheFrame", kIvfHeader + kIvfFrame, "1: S44+11*(55+0)", {}, true, "one.ivf"),
        Case("IvfSliceModeReadsTheNextFrameHeader", kIvfTwoFrames, "ERR-1",
             {{6, "Error. Invalid OBU Header"},
              {6, "ReadTemporalUnitSize(std::ref(tuSize), std::ref(sliceOffsetTable)) != TS_OK : Line# 456"}},
             true, "two.ivf"),
        Case("IvfWholeFrames", kIvfTwoFrames, "1: S44+11 | 2: S67+139*", {}, false, "two.ivf"),
        Case("ForbiddenBit", kTd + kSeq + Bytes({0x80 | 0x32, 0}), "ERR-1",
             {{6, "Error. Invalid OBU Header"}, kHeaderFailed, kScanFailed,
              {6, "ReadTemporalUnitSize(std::ref(tuSize), std::ref(sliceOffsetTable)) != TS_OK : Line# 483"}}),
        Case("ObuWithoutSizeField", kTd + kSeq + Obu(6, Repeat(1, 3), false), "ERR-1",
             {{6, "obuHdr.mHasSizeField == false : Line# 385"}, kScanFailed}),
        Case("EightByteSizeThatContinues", kTd + kSeq + Bytes({0x32}) + Repeat(0x80, 8), "ERR-1",
             {{6, "Error. Failed to Decode LEB for Index[8]"}, {6, "Error. ReadLeb128 Failed"}, kScanFailed}),
        Case("SizeCutByTheEndOfTheFile", kTd + kSeq + Bytes({0x32, 0x80}), "ERR-1",
             {{6, "Error. Ran out-of-data before completing Read of Value"}, {6, "Error. ReadLeb128 Failed"}, kScanFailed}),
        Case("ObuLongerThanTheFile", kTd + kSeq + Obu(6, Repeat(1, 10)).substr(0, 5), "ERR-1",
             {{6, "Error. Failed to Read from File"}, kHeaderFailed, kScanFailed}),
        // Neither IVF nor an OBU stream: the first OBU without a size field,
        // neither a delimiter nor a sequence header, or with the forbidden bit;
        // another format; shorter than the IVF signature (the failed signature
        // read leaves the stream failed, so the OBU probes read nothing).
        Case("FirstObuWithoutSizeField", Obu(6, Repeat(0x66, 3), false), "ERR-1", {kUnsupported}),
        Case("FirstObuAFrame", kFrame, "ERR-1", {kUnsupported}),
        Case("FirstObuForbiddenBit", Bytes({0x92, 0x00}), "ERR-1", {kUnsupported}),
        Case("Webp", "RIFF0000WEBPVP8 ", "ERR-1", {kUnsupported}),
        Case("ShorterThanTheSignature", kTd, "ERR-1", {kUnsupported})),
    test::CaseName);

}  // namespace
}  // namespace tessaro
