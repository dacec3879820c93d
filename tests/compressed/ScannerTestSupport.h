// Helpers for the scanner tests: byte strings, files made of them, a parser of
// each codec, a parser opened on a file without indexing it, and indexing
// through Init.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "compressed/APVStreamParser.h"
#include "compressed/AV1StreamParser.h"
#include "compressed/AVCStreamParser.h"
#include "compressed/HEVCStreamParser.h"
#include "compressed/StreamParserCompressed.h"
#include "compressed/VPXStreamParser.h"
#include "support/ClientBuffer.h"
#include "support/LogCapture.h"
#include "support/TestPaths.h"

namespace tessaro::test {

using FrameInfo = StreamParserCompressed::FrameInfo;

inline std::string Bytes(std::initializer_list<int> values) {
    std::string s;
    for (int v : values) s.push_back(static_cast<char>(v));
    return s;
}

inline std::string Repeat(int value, size_t count) {
    return std::string(count, static_cast<char>(value));
}

inline std::string BigEndian32(uint32_t v) {
    return Bytes({int(v >> 24) & 255, int(v >> 16) & 255, int(v >> 8) & 255, int(v) & 255});
}

inline std::string LittleEndian32(uint32_t v) {
    return Bytes({int(v) & 255, int(v >> 8) & 255, int(v >> 16) & 255, int(v >> 24) & 255});
}

constexpr const char* kCoreTag = "Tessaro::Impl::StreamParser::Compressed";

// A fresh parser for "avc", "hevc", "vpx", "av1" or "apv".
inline std::unique_ptr<StreamParserCompressed> MakeParser(const std::string& codec) {
    if (codec == "avc") return std::make_unique<AVCStreamParser>();
    if (codec == "hevc") return std::make_unique<HEVCStreamParser>();
    if (codec == "vpx") return std::make_unique<VPXStreamParser>();
    if (codec == "av1") return std::make_unique<AV1StreamParser>();
    return std::make_unique<APVStreamParser>();
}

// The codec of a committed sample, from its directory ("h264/a.264" is "avc").
inline std::string CodecOf(const std::string& sample) {
    const std::string dir = sample.substr(0, sample.find('/'));
    return dir == "h264" ? "avc" : dir == "h265" ? "hevc" : dir;
}

// A parser opened on a file, as Init leaves it before indexing, so that a test
// can call the scanner's operations one by one.
template <class Parser>
class OpenedParser : public Parser {
public:
    bool Open(const std::string& path, uint32_t sliceMode = 0, uint32_t frames = 0) {
        this->mInputFile.open(path);
        this->mFileSize = this->mInputFile.size();
        this->mSliceMode = sliceMode;
        this->mConfigParam.mFrames = frames;
        return this->mInputFile.is_open();
    }
    uint64_t Position() { return static_cast<uint64_t>(this->mInputFile.tellg()); }
    // Position and stream state, for comparing runs.
    std::string State() {
        return "pos " + std::to_string(this->mInputFile.tellg()) + " eof " + std::to_string(this->mInputFile.eof()) +
               " fail " + std::to_string(this->mInputFile.fail());
    }
    // One scanner call for frame `frameNum` with a scratch buffer of maxBufSize bytes.
    std::vector<FrameInfo> Next(uint32_t frameNum, uint32_t maxBufSize = 1 << 16, int32_t* status = nullptr) {
        std::vector<FrameInfo> list;
        auto scratch = std::shared_ptr<unsigned char>(new unsigned char[maxBufSize + 8](),
                                                      std::default_delete<unsigned char[]>());
        const int32_t ret = this->ReadfromInputFile(frameNum, list, maxBufSize, scratch);
        if (status != nullptr) {
            *status = ret;
        } else {
            EXPECT_EQ(ret, TS_OK) << "frame " << frameNum;
        }
        return list;
    }
};

// A scratch buffer of the given size, as BuildOffsetTable lends it.
inline std::shared_ptr<unsigned char> Scratch(size_t size = 1 << 20) {
    return std::shared_ptr<unsigned char>(new unsigned char[size](), std::default_delete<unsigned char[]>());
}

// Configures parser on path (with the given frame limit and slice mode) and runs Init.
inline int32_t InitOn(StreamParserCompressed& parser, const std::string& path, uint32_t frames = 0,
                      bool sliceMode = false) {
    ConfigParam config;
    config.mInputFileName = path;
    config.mFrames = frames;
    config.mSliceMode = sliceMode;
    parser.SetConfig(config);
    return parser.Init();
}

// Init of a `codec` parser on `bytes` written to a file called `name` (no file
// at all when `name` is empty) fails with `status` and logs each (tag, message)
// at priority 6; the parser then refuses buffers as a parser never started.
inline void ExpectInitFails(const std::string& codec, const std::string& name, const std::string& bytes,
                            int32_t status, const std::vector<std::pair<std::string, std::string>>& reports,
                            bool sliceMode = false) {
    ScratchDir dir;
    auto parser = MakeParser(codec);
    LogCapture logs;
    EXPECT_EQ(InitOn(*parser, name.empty() ? dir.File("missing") : dir.Write(name, bytes), 0, sliceMode), status);
    for (const auto& [tag, message] : reports) EXPECT_TRUE(logs.Has(6, tag, message));
    EXPECT_NE(parser->state(), STATE::RUNNING);
    EXPECT_EQ(parser->Process(nullptr), -2);
    EXPECT_EQ(parser->Process(MakeLinearBuffer(64)), -3);
    EXPECT_EQ(parser->GetBufferLength(), static_cast<uint32_t>(-3));
}

// The units of frame f, or an empty list when the table lacks it.
inline std::vector<FrameInfo> Units(const StreamParserCompressed& parser, uint32_t f) {
    auto it = parser.frameOffsetTable().find(f);
    return it == parser.frameOffsetTable().end() ? std::vector<FrameInfo>{} : it->second;
}

struct Unit {
    uint64_t offset;
    uint64_t length;
    uint32_t type;
    uint32_t last;
};

// Compares the units of frame f with the expected (offset, length, type, last).
inline void ExpectUnits(const StreamParserCompressed& parser, uint32_t f,
                        const std::vector<Unit>& expected) {
    SCOPED_TRACE("frame " + std::to_string(f));
    const std::vector<FrameInfo> units = Units(parser, f);
    ASSERT_EQ(units.size(), expected.size());
    for (size_t i = 0; i < units.size(); ++i) {
        SCOPED_TRACE("unit " + std::to_string(i));
        EXPECT_EQ(units[i].mOffset, expected[i].offset);
        EXPECT_EQ(units[i].mLength, expected[i].length);
        EXPECT_EQ(units[i].mFrameType, expected[i].type);
        EXPECT_EQ(units[i].mIsLastFrame, expected[i].last);
        EXPECT_EQ(units[i].mFrameNum, f);
    }
}

}  // namespace tessaro::test
