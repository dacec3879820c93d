// Helpers for the scanner tests: byte strings, files made of them, a parser
// opened on a file without indexing it, and indexing through Init.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "compressed/StreamParserCompressed.h"
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

// A parser opened on a file, as Init leaves it before indexing, so that a test
// can call the scanner's operations one by one.
template <class Parser>
class OpenedParser : public Parser {
public:
    bool Open(const std::string& path) {
        this->mInputFile.open(path);
        this->mFileSize = this->mInputFile.size();
        return this->mInputFile.is_open();
    }
    uint64_t Position() { return static_cast<uint64_t>(this->mInputFile.tellg()); }
    ConfigParam& Config() { return this->mConfigParam; }
    void SetSliceMode(uint32_t mode) { this->mSliceMode = mode; }
};

// A scratch buffer of the given size, as BuildOffsetTable lends it.
inline std::shared_ptr<unsigned char> Scratch(size_t size = 1 << 20) {
    return std::shared_ptr<unsigned char>(new unsigned char[size](),
                                          std::default_delete<unsigned char[]>());
}

// Configures parser on path (with the given frame limit and slice mode) and runs Init.
template <class Parser>
int32_t InitOn(Parser& parser, const std::string& path, uint32_t frames = 0,
               bool sliceMode = false) {
    ConfigParam config;
    config.mInputFileName = path;
    config.mFrames = frames;
    config.mSliceMode = sliceMode;
    parser.SetConfig(config);
    return parser.Init();
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
