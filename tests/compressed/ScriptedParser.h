// A compressed parser whose scanner hands out scripted frames, so the core can
// be tested without a codec. Its input file holds every unit as a run of one
// distinct byte value (1, 2, 3, ... in file order), so a delivered buffer shows
// which units and slices it carries.
#pragma once

#include <string>
#include <vector>

#include "compressed/StreamParserCompressed.h"
#include "support/TestPaths.h"

namespace tessaro::test {

struct UnitDef {
    uint32_t type;        // FRAME_TYPE_*
    uint32_t length;      // bytes
    uint32_t slices = 0;  // equal slices recorded in slice mode
};
using FrameDef = std::vector<UnitDef>;

class ScriptedParser : public StreamParserCompressed {
public:
    ScriptedParser(const ScratchDir& dir, std::vector<FrameDef> frames) : mFrames(std::move(frames)) {
        std::string bytes;
        for (auto& frame : mFrames) {
            mOffsets.emplace_back();
            for (auto& unit : frame) {
                mOffsets.back().push_back(bytes.size());
                bytes.append(unit.length, static_cast<char>(++mUnits));
            }
        }
        mConfigParam.mInputFileName = dir.Write("scripted.bin", bytes);
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

}  // namespace tessaro::test
