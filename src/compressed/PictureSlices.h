// PictureSlices: the slice table of the picture entry an Annex-B scanner has
// just opened, filled as the scan meets the picture's further slices.
#pragma once

#include <cstdint>
#include <utility>

#include "compressed/StreamParserCompressed.h"

namespace tessaro {

class PictureSlices {
public:
    using FrameInfo = StreamParserCompressed::FrameInfo;
    using LogSlice = void (*)(const char* tag, uint32_t sliceNum, const std::pair<uint64_t, uint64_t>& slice);

    // Slice 1 starts at start, the start code of the slice that opened the picture.
    PictureSlices(FrameInfo& entry, uint64_t start, const char* tag, LogSlice log)
        : mEntry(entry), mTag(tag), mLog(log) {
        mEntry.mSliceOffsetTable[mSliceNum] = {start, 0};
    }

    // Another slice of the picture starts at p: the current one ends there and is logged.
    void Next(uint64_t p) {
        Close(p);
        mEntry.mSliceOffsetTable[++mSliceNum] = {p, 0};
    }

    // The picture ends at p, and with it the current slice (logged) and the entry.
    int32_t Finish(uint64_t p) {
        Close(p);
        mEntry.mLength = p - mEntry.mOffset;
        return 0;
    }

    // A read failed; readError is the scanner's message for it. At the end of
    // the file the current slice runs to fileSize (logged), otherwise it is
    // removed. The entry is marked last and runs from the current slice's
    // offset (0 once removed) to fileSize: the slice's offset, not the entry's.
    int32_t EndOfData(bool atEof, uint64_t fileSize, const char* readError) {
        __android_log_print(kLogError, mTag, "%s", readError);
        __android_log_print(kLogInfo, mTag, "File Read Error");
        uint64_t sliceOffset = 0;
        if (atEof) {
            sliceOffset = mEntry.mSliceOffsetTable[mSliceNum].first;
            Close(fileSize);
        } else {
            mEntry.mSliceOffsetTable.erase(mSliceNum);
        }
        mEntry.mIsLastFrame = 1;
        mEntry.mLength = fileSize - sliceOffset;
        return -1;
    }

private:
    void Close(uint64_t end) {
        auto& slice = mEntry.mSliceOffsetTable[mSliceNum];
        slice.second = end - slice.first;
        mLog(mTag, mSliceNum, slice);
    }

    FrameInfo& mEntry;
    const char* const mTag;
    const LogSlice mLog;
    uint32_t mSliceNum = 1;
};

}  // namespace tessaro
