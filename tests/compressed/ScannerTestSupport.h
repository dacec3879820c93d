// Helpers for the scanner tests: byte strings, files made of them, a parser of
// each codec, a parser opened on a file without indexing it, and indexing
// through Init.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <map>
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

// The units of frame f, or an empty list when the table lacks it.
inline std::vector<FrameInfo> Units(const StreamParserCompressed& parser, uint32_t f) {
    auto it = parser.frameOffsetTable().find(f);
    return it == parser.frameOffsetTable().end() ? std::vector<FrameInfo>{} : it->second;
}

// One unit as "<C|S|N><offset>+<length>", then "*" when it ends the input,
// "L<n>" for a layer, "#<n>" for a frame number other than its key, and its
// slices as "(offset+length,...)".
inline std::string DescribeUnit(const FrameInfo& u, uint32_t key) {
    std::string out = std::string(1, u.mFrameType == 1 ? 'C' : u.mFrameType == 2 ? 'S' : u.mFrameType == 4 ? 'N' : '?') +
                      std::to_string(u.mOffset) + "+" + std::to_string(u.mLength);
    if (u.mIsLastFrame) out += "*";
    if (u.mLayerId) out += "L" + std::to_string(u.mLayerId);
    if (u.mFrameNum != key) out += "#" + std::to_string(u.mFrameNum);
    for (uint32_t n = 1; n <= u.mSliceOffsetTable.size(); ++n) {
        const auto it = u.mSliceOffsetTable.find(n);
        out += (n == 1 ? "(" : ",") +
               (it == u.mSliceOffsetTable.end() ? "?" : std::to_string(it->second.first) + "+" + std::to_string(it->second.second));
    }
    return out + (u.mSliceOffsetTable.empty() ? "" : ")");
}

// The whole frame table as "1: C0+20 S20+10 | 2: N30+10*".
inline std::string Table(const StreamParserCompressed& parser) {
    std::map<uint32_t, const std::vector<FrameInfo>*> sorted;
    for (const auto& [key, units] : parser.frameOffsetTable()) sorted[key] = &units;
    std::string out;
    for (const auto& [key, units] : sorted) {
        out += (out.empty() ? "" : " | ") + std::to_string(key) + ":";
        for (const auto& unit : *units) out += " " + DescribeUnit(unit, key);
    }
    return out;
}

// A log line a case expects: priority (negated: must not be logged), message,
// tag (the codec's own when null) and, when not 0, how many times exactly.
struct Log {
    int priority;
    std::string message;
    const char* tag = nullptr;
    size_t count = 0;
};

// A file indexed by a codec parser: Init's status and, when it succeeds, the
// table it builds; when it fails, the parser refuses buffers as one never started.
struct StreamCase {
    const char* name;
    const char* codec;     // "hevc", "vpx", ...
    const char* fileName;  // the extension matters to the IVF parser
    std::string bytes;
    std::string table;     // Table() after Init, or the status as "ERR<n>"
    std::vector<Log> logs = {};
    uint32_t frames = 0;
    bool sliceMode = false;
};

inline void PrintTo(const StreamCase& c, std::ostream* os) { *os << c.name; }

class ScannerStream : public ::testing::TestWithParam<StreamCase> {};

inline std::string CaseName(const ::testing::TestParamInfo<StreamCase>& info) { return info.param.name; }

}  // namespace tessaro::test
