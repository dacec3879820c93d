// A compressed parser whose "scanner" hands out a scripted list of frames, so
// the core (indexing, delivery, the dry run) can be tested without a codec.
// Its input file holds every unit as a run of one distinct byte value, so a
// delivered buffer tells which units and slices it carries.
#pragma once

#include <string>
#include <vector>

#include "compressed/StreamParserCompressed.h"
#include "support/TestPaths.h"

namespace tessaro::test {

struct UnitSpec {
    uint32_t type;        // FRAME_TYPE_*
    uint32_t length;      // bytes
    uint32_t slices = 0;  // slice table entries in slice mode (equal parts)
};
using FrameSpec = std::vector<UnitSpec>;

class ScriptedParser : public StreamParserCompressed {
public:
    // Writes the file: frame after frame, unit after unit.
    ScriptedParser(const ScratchDir& dir, std::vector<FrameSpec> frames)
        : mFrames(std::move(frames)) {
        std::string bytes;
        uint8_t value = 1;
        for (auto& frame : mFrames) {
            mOffsets.emplace_back();
            for (auto& unit : frame) {
                mOffsets.back().push_back(bytes.size());
                bytes.append(unit.length, static_cast<char>(value++));
            }
        }
        mPath = dir.Write("scripted.bin", bytes);
    }

    // The byte value that fills unit u of file frame f (both 0-based).
    uint8_t Fill(size_t f, size_t u) const {
        uint8_t value = 1;
        for (size_t i = 0; i < f; ++i) value = static_cast<uint8_t>(value + mFrames[i].size());
        return static_cast<uint8_t>(value + u);
    }

    int32_t Init() override {
        if (!mInputFile.open(mConfigParam.mInputFileName.empty() ? mPath
                                                                 : mConfigParam.mInputFileName)) {
            return TS_ERROR;
        }
        mFileSize = mInputFile.size();
        mSliceMode = mConfigParam.mSliceMode ? 1 : 0;
        const int32_t ret = BuildOffsetTable();
        if (ret != TS_OK) return ret;
        mState = STATE::RUNNING;
        return TS_OK;
    }

    // One file frame per call; the last one ends the file unless more frames
    // are wanted, then the script starts over (as the codec scanners do).
    int32_t ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist, uint32_t,
                              std::shared_ptr<unsigned char> buffer) override {
        ++mCalls;
        if (buffer == nullptr) return -2;
        if (frameNum == mFailAt) return mFailStatus;
        if (frameNum == mEmptyAt || mNext >= mFrames.size()) return TS_OK;
        const size_t f = mNext++;
        for (size_t u = 0; u < mFrames[f].size(); ++u) {
            const UnitSpec& spec = mFrames[f][u];
            FrameInfo info;
            info.mOffset = mOffsets[f][u];
            info.mLength = spec.length;
            info.mFrameNum = frameNum;
            info.mFrameType = spec.type;
            if (mSliceMode == 1) {
                for (uint32_t s = 0; s < spec.slices; ++s) {
                    const uint64_t part = spec.length / spec.slices;
                    info.mSliceOffsetTable[s + 1] = {info.mOffset + s * part, part};
                }
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

    // Test hooks on the protected state.
    void SetSeekPending(uint32_t frame) {
        mIsSeekSet = true;
        mFrameCount = frame;
        mFetchContent.bufferInfo = {frame, 0, 1};
        mConfigParam.mSeekMode = 2;
        mConfigParam.mSeekFrame = frame;
        mConfigParam.mSeekedFrame = frame;
    }

    std::string mPath;
    std::vector<FrameSpec> mFrames;
    std::vector<std::vector<uint64_t>> mOffsets;
    size_t mNext = 0;
    uint32_t mCalls = 0;
    uint32_t mFailAt = 0;   // frame number whose call fails with mFailStatus
    int32_t mFailStatus = -7;
    uint32_t mEmptyAt = 0;  // frame number whose call appends nothing
};

}  // namespace tessaro::test
