// Line numbers reported by the failed checks of StreamParserCompressed
// ("<condition> : Line# <n>"). They are part of the logged behaviour: fixed
// once, kept here together, never renumbered.
#pragma once

namespace tessaro::compressed_lines {

// BuildOffsetTable
constexpr int kScratchMissing = 60;       // "mBufferPtr == nullptr"
constexpr int kScannerFailed = 72;        // "ret != TS_OK"
constexpr int kScannerAppendedNone = 74;  // "framelist.size() == 0"

// readData
constexpr int kCapacityBelowLength = 100;  // "buffer->capacity() < length"
constexpr int kUnmappedBuffer = 101;       // "vaddr == nullptr"

// Process
constexpr int kNullBuffer = 120;           // "buffer == nullptr"
constexpr int kNotRunning = 121;           // "mState != STATE::RUNNING"
constexpr int kNotLinear = 122;            // "buffer->isLinear() == false"
constexpr int kFrameMissing = 135;         // "(mFrameOffsetTable.find(frameNum) == ...)"
constexpr int kReadFailed = 150;           // "readData(offset, length) != TS_OK"
constexpr int kNextFrameMissing = 175;     // frame after skipped slices not in the table
constexpr int kSliceOrderBeyondCount = 190;  // "unOrderedSlices[...] > ...size()"

// GetBufferLength
constexpr int kLengthNotRunning = 260;
constexpr int kLengthFrameMissing = 270;
constexpr int kLengthSliceOrderBeyondCount = 300;

// Seek
constexpr int kSeekFrameNotIndexed = 583;  // "(mFrameOffsetTable.find(seekToFrame) == ...)"
constexpr int kSeekNoSyncFrame = 612;      // "mIsSeekSet == false"

}  // namespace tessaro::compressed_lines
