// DeliveryPlan: what the next Process call does, drawn up front as a value by
// StreamParserCompressed::PlanDelivery, which reads the cursor, the frame
// offset table and the configuration and changes nothing. Process carries the
// steps out in order; GetBufferLength adds up their byte ranges.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tessaro {

// The delivery cursor: where the next buffer starts.
struct DeliveryCursor {
    uint32_t frameNum = 1;   // frame being delivered
    uint32_t bufferNum = 0;  // unit index within the frame
    uint32_t sliceNum = 1;   // 1-based slice within the unit
};

// Frames first..last, each once, then again as a whole `repeats` - 1 more
// times (repeated passes over the input).
struct FrameSpan {
    uint32_t first;
    uint32_t last;
    uint64_t repeats;
};

// The ways Process and its dry run GetBufferLength walk differently.
struct PlanRules {
    // mSawEOS ends the stream; the dry run still sizes the next frame after it.
    bool sawEOSEnds;
    // mLoopForever lifts the frame limit when a call starts and when it closes
    // (not after left-out slices); the dry run ignores it.
    bool loopForever;
    // With mDeliveryMode 1 the first frame's leading units close a buffer of
    // their own; the dry run reports the whole frame.
    bool splitsConfig;
    // A frame's last byte completes it (count, mRepeatInterval wrap, timestamp,
    // restart at the table end); the dry run just stops there.
    bool completesFrame;
    // mSliceOrder is indexed by the slice number the cursor had when the call
    // began, not by the slice the walk has reached after left-out slices.
    bool orderAtCallSlice;
    // A cursor past its frame's units fails the call; the dry run adds nothing.
    bool failsPastUnits;
    // The dry run's own texts and line numbers; it logs no restart after
    // left-out slices and the real sum of the codec-config prelude.
    bool dryRunTexts;
};
constexpr PlanRules kProcessRules{true, true, true, true, false, true, false};
constexpr PlanRules kDryRunRules{false, false, false, false, true, false, true};

// What the parser holds when a step runs: the state a failure there leaves.
struct PlanState {
    DeliveryCursor cursor;
    uint32_t frameCount = 1;    // mFrameCount
    bool seekPending = false;   // mIsSeekSet (cleared with the seek fields)
    bool skipCleared = false;   // mSkipSlices emptied
    bool orderCleared = false;  // mSliceOrder emptied
    bool sliceSkipped = false;  // the buffer's mSliceSkipped set
};

// One byte range of the input for the buffer, with the marks of its unit.
struct PlannedRead {
    uint64_t offset = 0;
    uint64_t length = 0;
    uint32_t lastFrame = 0;    // the unit's mIsLastFrame: a short read is accepted
    uint32_t layerId = 0;      // the unit's mLayerId, for mSliceInfo
    bool eos = false;          // the unit ends the stream here
    bool codecConfig = false;  // the unit is codec config
};

struct PlanStep {
    enum class Kind : uint8_t {
        kLog,          // priority, text
        kRead,         // read
        kPrelude,      // the codec-config units of span's frames; bytes: their 32-bit sum
        kFail,         // text (the failed condition), line; the call returns -1
        kEndOfStream,  // the buffer is flagged EOS only
        kClose,        // the buffer is closed with the marks below
    };
    Kind kind;
    PlanState at;
    int priority = 0;
    std::string text;
    int line = 0;
    PlannedRead read;
    FrameSpan span{0, 0, 0};
    uint32_t bytes = 0;
    int64_t timestamp = -1;  // kClose: the buffer's mTimestamp; -1 leaves it
    int endOfFrame = -1;     // kClose: the buffer's mEndOfFrame; -1 leaves it
    bool eos = false;        // kClose: the frame limit is passed: flag EOS only
};

// Steps in order; the last one is kFail, kEndOfStream or kClose.
using DeliveryPlan = std::vector<PlanStep>;

}  // namespace tessaro
