// A compressed parser whose scanner hands out scripted frames, so the core can
// be tested without a codec. Its input file holds every unit as a run of one
// distinct byte value (1, 2, 3, ... in file order), so a delivered buffer shows
// which units and slices it carries.
#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "compressed/StreamParserCompressed.h"
#include "support/ClientBuffer.h"
#include "support/TestPaths.h"

namespace tessaro::test {

// A configuration from words: frames=N, loop=N (mLoopFrames), repeat=N,
// super=N, delivery=N, skip=1,2, order=3,1, and the flags slices and forever.
inline ConfigParam Config(const std::string& text) {
    ConfigParam c;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const size_t eq = word.find('=');
        const std::string key = word.substr(0, eq);
        std::vector<uint32_t> list;
        std::istringstream items(eq == std::string::npos ? "" : word.substr(eq + 1));
        for (std::string item; std::getline(items, item, ',');) list.push_back(static_cast<uint32_t>(std::stoul(item)));
        const uint32_t n = list.empty() ? 0 : list[0];
        if (key == "frames") c.mFrames = n;
        else if (key == "loop") c.mLoopFrames = n;
        else if (key == "repeat") c.mRepeatInterval = n;
        else if (key == "super") c.mSuperFrame = n;
        else if (key == "delivery") c.mDeliveryMode = n;
        else if (key == "skip") c.mSkipSlices = list;
        else if (key == "order") c.mSliceOrder = list;
        else if (key == "slices") c.mSliceMode = true;
        else if (key == "forever") c.mLoopForever = true;
        else ADD_FAILURE() << "unknown configuration word " << word;
    }
    return c;
}

struct UnitDef {
    uint32_t type;        // FRAME_TYPE_*
    uint32_t length;      // bytes
    uint32_t slices = 0;  // equal slices recorded in slice mode
};
using FrameDef = std::vector<UnitDef>;

class ScriptedParser : public StreamParserCompressed {
public:
    ScriptedParser(const ScratchDir& dir, std::vector<FrameDef> frames, const std::string& config = "")
        : mFrames(std::move(frames)) {
        std::string bytes;
        for (auto& frame : mFrames) {
            mOffsets.emplace_back();
            for (auto& unit : frame) {
                mOffsets.back().push_back(bytes.size());
                bytes.append(unit.length, static_cast<char>(++mUnits));
            }
        }
        mConfigParam.mInputFileName = dir.Write("scripted.bin", bytes);
        ConfigParam c = test::Config(config);
        SetConfig(c);
    }

    int32_t Init() override {
        if (!mInputFile.open(mConfigParam.mInputFileName)) return TS_ERROR;
        mFileSize = mInputFile.size();
        mSliceMode = mConfigParam.mSliceMode ? 1 : 0;
        const int32_t ret = BuildOffsetTable();
        if (ret == TS_OK) mState = STATE::RUNNING;
        return ret;
    }

    // One file frame per call; the last one ends the input unless more frames
    // are wanted, then the script starts over, as the codec scanners do.
    int32_t ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist, uint32_t,
                              std::shared_ptr<unsigned char>) override {
        if (frameNum == mFailAt) return -7;
        if (frameNum == mEmptyAt || mNext >= mFrames.size()) return TS_OK;
        const size_t f = mNext++;
        for (size_t u = 0; u < mFrames[f].size(); ++u) {
            const UnitDef& def = mFrames[f][u];
            FrameInfo info;
            info.mOffset = mOffsets[f][u];
            info.mLength = def.length;
            info.mFrameNum = frameNum;
            info.mFrameType = def.type;
            for (uint32_t s = 0; mSliceMode == 1 && s < def.slices; ++s) {
                const uint64_t part = def.length / def.slices;
                info.mSliceOffsetTable[s + 1] = {info.mOffset + s * part, part};
            }
            framelist.push_back(info);
        }
        if (mNext == mFrames.size()) {
            if (mConfigParam.mFrames != 0 && mConfigParam.mFrames > frameNum) {
                mNext = 0;
                NotePassEnd();
            } else {
                framelist.back().mIsLastFrame = 1;
            }
        }
        return TS_OK;
    }

    void DropFrame(uint32_t frame) { mFrameOffsetTable.erase(frame); }
    ConfigParam& Config() { return mConfigParam; }

    // A pending seek to `frame`, as a successful Seek leaves it.
    void SetSeekPending(uint32_t frame) {
        mIsSeekSet = true;
        mFrameCount = frame;
        mFetchContent.bufferInfo = {frame, 0, 1};
        mConfigParam.mSeekMode = 2;
        mConfigParam.mSeekFrame = mConfigParam.mSeekedFrame = frame;
    }

    std::vector<FrameDef> mFrames;
    std::vector<std::vector<uint64_t>> mOffsets;
    size_t mNext = 0;
    int mUnits = 0;
    uint32_t mFailAt = 0;   // frame number whose scanner call fails with -7
    uint32_t mEmptyAt = 0;  // frame number whose scanner call appends nothing
};

// One delivered buffer as "<value:count runs> t<seconds> [EOS] [CC] [end|more] [skipped]";
// fields the call left alone are not shown (t99 is the untouched timestamp).
inline std::string Deliver(StreamParserCompressed& parser, uint64_t capacity = 4096) {
    auto buffer = MakeLinearBuffer(capacity);
    buffer->mEndOfFrame = 7;
    buffer->mTimestamp = 99000000;
    const int32_t status = parser.Process(buffer);
    if (status != TS_OK) return "ERR" + std::to_string(status);
    std::ostringstream out;
    const auto bytes = ReadValid(*buffer);
    for (size_t i = 0, j = 0; i < bytes.size(); i = j) {
        while (j < bytes.size() && bytes[j] == bytes[i]) ++j;
        out << int(bytes[i]) << ":" << (j - i) << " ";
    }
    out << "t" << buffer->mTimestamp / 1000000;
    if (buffer->mFlags & Buffer::FLAG_EOS) out << " EOS";
    if (buffer->mFlags & Buffer::FLAG_CODEC_CONFIG) out << " CC";
    if (buffer->mEndOfFrame <= 1) out << (buffer->mEndOfFrame ? " end" : " more");
    if (buffer->mSliceSkipped) out << " skipped";
    return out.str();
}

}  // namespace tessaro::test
