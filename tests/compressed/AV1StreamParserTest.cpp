#include "compressed/AV1StreamParser.h"

#include <gtest/gtest.h>

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

constexpr const char* kTag = "Tessaro::Impl::StreamParser::Compressed::AV1";
constexpr uint32_t kSync = 2;
using Slices = std::unordered_map<uint32_t, std::pair<uint64_t, uint64_t>>;

std::string Leb(uint32_t v) {
    std::string s;
    do {
        int byte = v & 0x7F;
        v >>= 7;
        if (v != 0) byte |= 0x80;
        s.push_back(static_cast<char>(byte));
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

// Every LEB128 case decoded from memory and read from a file gives the same
// status, value and length: the decoding is written once.
TEST(AV1StreamParser, Leb128FromMemoryAndFromFile) {
    struct Case {
        const char* name;
        std::string bytes;
        int32_t status;
        unsigned long value;
        unsigned long length;
        const char* fileMessage;  // logged by ReadLeb128 on failure
    } cases[] = {
        {"zero", Bytes({0x00}), TS_OK, 0, 1, nullptr},
        {"one byte", Bytes({0x7F}), TS_OK, 127, 1, nullptr},
        {"two bytes", Bytes({0x80, 0x01}), TS_OK, 128, 2, nullptr},
        {"largest value", Bytes({0xFF, 0xFF, 0xFF, 0xFF, 0x0F}), TS_OK, 0xFFFFFFFFul, 5, nullptr},
        {"eight bytes, last ends", Repeat(0x80, 7) + Bytes({0x00}), TS_OK, 0, 8, nullptr},
        {"value above 32 bits", Bytes({0xFF, 0xFF, 0xFF, 0xFF, 0x1F}), TS_ERROR, 0x1FFFFFFFFul, 5,
         "Error. Failed to Decode LEB for Index[5]"},
        {"eighth byte continues", Repeat(0x81, 8) + Bytes({0x00}), TS_ERROR, 0x2040810204081ul, 8,
         "Error. Failed to Decode LEB for Index[8]"},
        {"runs out", Bytes({0x80, 0x80}), TS_ERROR, 0, 0,
         "Error. Ran out-of-data before completing Read of Value"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        AV1StreamParser parser;
        unsigned long value = 99, length = 99;
        const auto* data = reinterpret_cast<const unsigned char*>(c.bytes.data());
        EXPECT_EQ(parser.ULebDecode(data, c.bytes.size(), &value, &length), c.status);
        EXPECT_EQ(value, c.value);
        if (c.status == TS_OK) {
            EXPECT_EQ(length, c.length);
        }

        ScratchDir dir;
        test::OpenedParser<AV1StreamParser> file;
        ASSERT_TRUE(file.Open(dir.Write("leb", c.bytes)));
        test::LogCapture logs;
        unsigned long fileValue = 0, fileLength = 0;
        EXPECT_EQ(file.ReadLeb128(fileLength, fileValue), c.status);
        if (c.fileMessage != nullptr) {
            EXPECT_TRUE(logs.Has(6, kTag, c.fileMessage));
        } else {
            EXPECT_EQ(fileValue, c.value);
            EXPECT_EQ(fileLength, c.length);
            EXPECT_EQ(file.Position(), c.length);
        }
    }

    // At the end of the file nothing is read and that is no failure.
    test::ScratchDir dir;
    test::OpenedParser<AV1StreamParser> file;
    ASSERT_TRUE(file.Open(dir.Write("leb", Bytes({0x05}))));
    unsigned long length = 0, fileValue = 0;
    ASSERT_EQ(file.ReadLeb128(length, fileValue), TS_OK);
    test::LogCapture logs;
    EXPECT_EQ(file.ReadLeb128(length, fileValue), TS_OK);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(fileValue, 5u);
    EXPECT_TRUE(logs.Contains(4, kTag, "Reached End Of File"));

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

TEST(AV1StreamParser, ObuHeader) {
    ScratchDir dir;
    test::OpenedParser<AV1StreamParser> parser;
    // Sequence header with extension; unknown type 9; forbidden bit set.
    ASSERT_TRUE(parser.Open(dir.Write("obu", Bytes({0x0E, 0xEE, 0x4A, 0x92}))));
    test::LogCapture logs;
    unsigned long size = 0;
    AV1StreamParser::ObuHeader header;
    EXPECT_EQ(header.mTemporalId, -1);
    EXPECT_EQ(header.mSpatialId, -1);
    ASSERT_EQ(parser.ReadObuHeader(size, header), TS_OK);
    EXPECT_EQ(size, 2u);
    EXPECT_EQ(parser.Position(), 2u);  // the extension byte is skipped unread
    EXPECT_EQ(header.mType, 1u);
    EXPECT_TRUE(header.mHasSizeField);
    EXPECT_TRUE(header.mExtensionFlag);
    EXPECT_EQ(header.mTemporalId, -1);
    const std::vector<std::string> block = {
        "ReadObuHeader",      "-- OBU header Info Start --", "obu_type : 1 (OBU_SEQUENCE_HEADER)",
        "has_size_field : 1", "obu_extension_flag : 1",      "-- OBU header Info End --"};
    EXPECT_EQ(logs.Messages(kTag), block);

    AV1StreamParser::ObuHeader unknown;
    EXPECT_EQ(parser.ReadObuHeader(size, unknown), TS_OK);
    EXPECT_EQ(unknown.mType, 0u);
    EXPECT_TRUE(logs.Has(6, kTag, "Unknown Obu Type: 9"));
    EXPECT_TRUE(logs.Has(4, kTag, "obu_type : 0 ()"));

    AV1StreamParser::ObuHeader forbidden;
    EXPECT_EQ(parser.ReadObuHeader(size, forbidden), TS_ERROR);
    EXPECT_TRUE(logs.Contains(6, kTag, "Error. Invalid OBU Header"));
    EXPECT_EQ(parser.ReadObuHeader(size, forbidden), TS_ERROR);
    EXPECT_TRUE(logs.Contains(6, kTag, "Error. Failed to Read from File"));
}

// Annex-B: temporal_unit(size) { frame_unit(size) { obu_length, OBU without size field } }.
std::string AnnexBUnit(const std::vector<std::string>& obus) {
    std::string frameUnit;
    for (const auto& obu : obus) frameUnit += Leb(static_cast<uint32_t>(obu.size())) + obu;
    const std::string temporal = Leb(static_cast<uint32_t>(frameUnit.size())) + frameUnit;
    return Leb(static_cast<uint32_t>(temporal.size())) + temporal;
}

TEST(AV1StreamParser, DetectsIvfObuAndAnnexB) {
    struct Case {
        const char* name;
        std::string bytes;
        uint32_t fileType;
        bool annexB;
    } cases[] = {
        {"IVF", std::string("DKIF") + Repeat(0, 28) + LittleEndian32(2) + Repeat(0, 8) + kTd, 1,
         false},
        {"OBU stream", kTd + kSeq + kFrame, 2, false},
        {"OBU stream starting with a sequence header", kSeq + kFrame, 2, false},
        {"Annex-B", AnnexBUnit({Obu(2, "", false), Obu(1, Repeat(0x0A, 4), false)}), 2, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ScratchDir dir;
        AV1StreamParser parser;
        test::LogCapture logs;
        ASSERT_EQ(InitOn(parser, dir.Write("a.obu", c.bytes)), TS_OK) << logs.Dump();
        EXPECT_EQ(parser.fileType(), c.fileType);
        EXPECT_EQ(parser.isAnnexB(), c.annexB);
        EXPECT_TRUE(logs.Contains(
            4, kTag, c.fileType == 1 ? "Input File has IVF Header" : "Input File has OBU Header"));
    }

    const std::string neither[] = {
        Obu(6, Repeat(0x66, 3), false),  // first OBU without a size field
        kFrame,                          // first OBU neither a delimiter nor a sequence header
        Bytes({0x92, 0x00}),             // forbidden bit
        "RIFF0000WEBPVP8 ",
        // Shorter than the IVF signature: the failed signature read leaves the
        // stream failed, so the OBU probes that follow read nothing.
        kTd,
    };
    for (const std::string& bytes : neither) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        test::ExpectInitFails("av1", "a.obu", bytes, TS_ERROR, {{kTag, "Error. Unsupported AV1 File Type"}});
    }
}

TEST(AV1StreamParser, TemporalUnitsAndTileGroupSlices) {
    ScratchDir dir;
    // TU1 @0: TD SEQ FH TG1 TG2 (33 bytes); TU2 @33: TD FRAME unknown(9) (13);
    // TU3 @46: TD FH TG1 (15), to the end of the file at 61.
    const std::string unknown = Obu(9, "");
    const std::string file = dir.Write(
        "a.obu", kTd + kSeq + kFh + kTg1 + kTg2 + kTd + kFrame + unknown + kTd + kFh + kTg1);
    AV1StreamParser parser;
    test::LogCapture logs;
    ASSERT_EQ(InitOn(parser, file), TS_OK);
    ASSERT_EQ(parser.frameOffsetTable().size(), 3u);
    ExpectUnits(parser, 1, {{0, 33, kSync, 0}});
    ExpectUnits(parser, 2, {{33, 13, kSync, 0}});
    ExpectUnits(parser, 3, {{46, 15, kSync, 1}});
    // The first slice covers everything from the unit's start through the first tile group.
    EXPECT_EQ(Units(parser, 1)[0].mSliceOffsetTable, (Slices{{1, {0, 21}}, {2, {21, 12}}}));
    // No tile group: the whole unit is the one slice.
    EXPECT_EQ(Units(parser, 2)[0].mSliceOffsetTable, (Slices{{1, {33, 13}}}));
    EXPECT_EQ(Units(parser, 3)[0].mSliceOffsetTable, (Slices{{1, {46, 15}}}));
    EXPECT_TRUE(logs.Has(6, kTag, "Unknown Obu Type: 9"));
    EXPECT_TRUE(logs.HasAll(4, kTag, {"Slice[2]: Offset[21] Size[12]", "Total TU size: 33"}));
    EXPECT_TRUE(logs.Has(5, kTag, "ReadTemporalUnitSize"));
}

TEST(AV1StreamParser, AnnexBEntriesCoverTheSizeField) {
    ScratchDir dir;
    const std::string tu1 = AnnexBUnit(
        {Obu(2, "", false), Obu(1, Repeat(0x0A, 4), false), Obu(6, Repeat(0x66, 200), false)});
    const std::string tu2 = AnnexBUnit({Obu(2, "", false), Obu(6, Repeat(0x67, 9), false)});
    AV1StreamParser parser;
    test::LogCapture logs;
    ASSERT_EQ(InitOn(parser, dir.Write("a.obu", tu1 + tu2), 0, true), TS_OK);
    // The first byte of tu1 is its two-byte size field (bit 0 set); of tu2 a
    // one-byte size (bit 0 clear): the key-frame bit test applies to them.
    ExpectUnits(parser, 1, {{0, tu1.size(), 4, 0}});
    ExpectUnits(parser, 2, {{tu1.size(), tu2.size(), kSync, 1}});
    EXPECT_TRUE(Units(parser, 1)[0].mSliceOffsetTable.empty());
    EXPECT_TRUE(logs.Contains(4, kTag, "AV1 : Annex-B bitstream format. SliceList Size 0"));
}

TEST(AV1StreamParser, BadObuStreams) {
    const std::string readHeader = "ReadObuHeader(std::ref(obuHdrSize), std::ref(obuHdr)) != TS_OK : Line# 374";
    const struct {
        const char* name;
        std::string bytes;
        std::vector<std::string> messages;
    } cases[] = {
        {"forbidden bit", kTd + kSeq + Bytes({0x80 | 0x32, 0}),
         {"Error. Invalid OBU Header", readHeader,
          "ReadTemporalUnitSize(std::ref(tuSize), std::ref(sliceOffsetTable)) != TS_OK : Line# 483"}},
        {"OBU without size field", kTd + kSeq + Obu(6, Repeat(1, 3), false), {"obuHdr.mHasSizeField == false : Line# 385"}},
        {"eight-byte size that continues", kTd + kSeq + Bytes({0x32}) + Repeat(0x80, 8),
         {"Error. Failed to Decode LEB for Index[8]", "Error. ReadLeb128 Failed"}},
        {"size cut by the end of the file", kTd + kSeq + Bytes({0x32, 0x80}),
         {"Error. Ran out-of-data before completing Read of Value", "Error. ReadLeb128 Failed"}},
        {"OBU longer than the file", kTd + kSeq + Obu(6, Repeat(1, 10)).substr(0, 5),
         {"Error. Failed to Read from File", readHeader}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<std::pair<std::string, std::string>> reports = {{kTag, "ret != TS_OK : Line# 210"}};
        for (const auto& message : c.messages) reports.emplace_back(kTag, message);
        test::ExpectInitFails("av1", "a.obu", c.bytes, TS_ERROR, reports);
    }
}

// In slice mode an IVF frame's tile groups are looked for after the frame,
// where the next frame header (or the end of the file) is.
TEST(AV1StreamParser, IvfSliceModeLooksAfterTheFrame) {
    ScratchDir dir;
    const std::string header = std::string("DKIF") + Repeat(0, 28);
    const std::string frame = kTd + kFrame;  // 11 bytes
    {
        const std::string bytes = header + LittleEndian32(11) + Repeat(0, 8) + frame;
        AV1StreamParser parser;
        ASSERT_EQ(InitOn(parser, dir.Write("one.ivf", bytes), 0, true), TS_OK);
        ExpectUnits(parser, 1, {{44, 11, kSync, 1}});
        EXPECT_EQ(Units(parser, 1)[0].mSliceOffsetTable, (Slices{{1, {bytes.size(), 0}}}));
    }
    {
        // The next frame header's first byte (size 0x8B) reads as an OBU header
        // with the forbidden bit.
        const std::string big = kTd + Obu(6, Repeat(0x66, 0x8B - 5));
        ASSERT_EQ(big.size(), 0x8Bu);
        const std::string bytes = header + LittleEndian32(11) + Repeat(0, 8) + frame +
                                  LittleEndian32(0x8B) + Repeat(0, 8) + big;
        test::ExpectInitFails("av1", "two.ivf", bytes, TS_ERROR,
                              {{kTag, "Error. Invalid OBU Header"},
                               {kTag, "ReadTemporalUnitSize(std::ref(tuSize), std::ref(sliceOffsetTable)) != TS_OK : Line# 456"}},
                              true);
        // Without slice mode the same file indexes.
        AV1StreamParser whole;
        EXPECT_EQ(InitOn(whole, dir.Write("two.ivf", bytes)), TS_OK);
        EXPECT_EQ(whole.frameOffsetTable().size(), 2u);
    }
}

}  // namespace
}  // namespace tessaro
