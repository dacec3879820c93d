// StreamParserCompressed::PlanDelivery: the one walk of the delivery cursor
// over the frame offset table, for Process and for its dry run.
#include "compressed/DeliveryPlan.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "compressed/StreamParserCompressed.h"
#include "compressed/StreamParserCompressedLines.h"

namespace tessaro {

using namespace compressed_lines;

namespace {

constexpr uint64_t kMicrosPerFrame = 1000000;
constexpr char kFrameMissingText[] = "(mFrameOffsetTable.find(frameNum) == mFrameOffsetTable.end())";

}  // namespace

// Walks a copy of the parser's state and appends a step, with the state
// reached so far, for every log line, read and ending.
struct StreamParserCompressed::Planner {
    const StreamParserCompressed& parser;
    const PlanRules& rules;
    const ConfigParam& config = parser.mConfigParam;
    PlanState state{parser.mFetchContent.bufferInfo, parser.mFrameCount, parser.mIsSeekSet};
    DeliveryCursor& cursor = state.cursor;
    const uint32_t callSlice = cursor.sliceNum;  // the cursor's slice when the call began
    bool sawEOS = parser.mSawEOS;                // as the planned reads leave it
    uint32_t frame = 0;                          // the frame delivered, after the mLoopFrames wrap
    std::vector<FrameInfo> holder{};             // a rebuilt frame
    const std::vector<FrameInfo>* units = nullptr;
    DeliveryPlan plan{};

    DeliveryPlan Draw();
    void Slice(const FrameInfo& unit, uint32_t slice, bool whole);
    bool LeaveOutSlices(uint32_t sliceCount);
    bool Reorder(const FrameInfo& unit, uint32_t& slice);
    void Prelude();
    DeliveryPlan&& Complete(bool wholeUnit);

    bool LimitPassed() const { return config.mFrames != 0 && config.mFrames < state.frameCount; }
    bool FindUnits(uint32_t f, int line) {
        frame = f;
        units = parser.FindFrame(f, holder);
        if (units == nullptr) Fail(kFrameMissingText, line);
        return units != nullptr;
    }
    PlanStep& Add(PlanStep::Kind kind) {
        plan.emplace_back();
        plan.back().kind = kind;
        plan.back().at = state;
        return plan.back();
    }
    // A line the log would drop is planned without its text: it is written
    // all the same, and dropped all the same.
    __attribute__((format(printf, 3, 4))) void Say(int priority, const char* format, ...) {
        Add(PlanStep::Kind::kLog).priority = priority;
        if (!__android_log_is_loggable(priority, kLogTag, ANDROID_LOG_VERBOSE)) return;
        char text[256];
        va_list args;
        va_start(args, format);
        std::vsnprintf(text, sizeof(text), format, args);
        va_end(args);
        plan.back().text = text;
    }
    // The endings append their steps and hand the plan over.
    DeliveryPlan&& Fail(const char* text, int line) {
        PlanStep& step = Add(PlanStep::Kind::kFail);
        step.text = text;
        step.line = line;
        return std::move(plan);
    }
    DeliveryPlan&& EndOfStream() {
        Say(kLogInfo, "Already reached EOS.");
        state.seekPending = false;  // a pending seek is dropped
        Add(PlanStep::Kind::kEndOfStream);
        return std::move(plan);
    }
    DeliveryPlan&& Close(int64_t timestamp = -1, int endOfFrame = -1) {
        PlanStep& step = Add(PlanStep::Kind::kClose);
        step.timestamp = timestamp;
        step.endOfFrame = endOfFrame;
        step.eos = LimitPassed() && !(rules.loopForever && config.mLoopForever);
        return std::move(plan);
    }
};

DeliveryPlan StreamParserCompressed::PlanDelivery(const PlanRules& rules) const {
    Planner planner{*this, rules};
    planner.plan.reserve(4);  // a log line, a read and the close: one allocation
    return planner.Draw();
}

DeliveryPlan StreamParserCompressed::Planner::Draw() {
    if ((rules.sawEOSEnds && sawEOS) || (LimitPassed() && !(rules.loopForever && config.mLoopForever))) {
        return EndOfStream();
    }
    uint32_t f = cursor.frameNum;
    const uint32_t loop = config.mLoopFrames;
    if (loop != 0 && f > loop) f -= ((f - 1) / loop) * loop;
    if (!FindUnits(f, rules.dryRunTexts ? kLengthFrameMissing : kFrameMissing)) return std::move(plan);
    // After a seek the buffer first carries every codec-config unit of the
    // frames before the target, so that a decoder can start there.
    if (state.seekPending) Prelude();

    for (;;) {
        if (cursor.bufferNum >= units->size()) {
            // Only a cursor moved by hand could point past the frame's units.
            return rules.failsPastUnits ? Fail(kFrameMissingText, kFrameMissing) : Close();
        }
        const FrameInfo& unit = (*units)[cursor.bufferNum];
        const bool lastUnit = cursor.bufferNum + 1 == units->size();
        // With mDeliveryMode 1 the first frame's leading units travel alone.
        const bool split = rules.splitsConfig && cursor.bufferNum + 2 == units->size() &&
                           (config.mLoopFrames != 0 || state.frameCount == 1) && config.mDeliveryMode == 1;
        const bool whole = parser.mSliceMode == 0 || unit.mSliceOffsetTable.empty();
        const uint32_t sliceCount = static_cast<uint32_t>(unit.mSliceOffsetTable.size());
        uint32_t slice = cursor.sliceNum;
        if (!whole) {
            if (LeaveOutSlices(sliceCount)) {
                if (plan.back().kind == PlanStep::Kind::kEndOfStream) return std::move(plan);
                // The next frame is looked up by its own number, without the
                // mLoopFrames wrap; a number beyond the table fails the call.
                if (!FindUnits(cursor.frameNum, rules.dryRunTexts ? kLengthFrameMissing : kNextFrameMissing)) {
                    return std::move(plan);
                }
                continue;
            }
            slice = cursor.sliceNum;
            if (!Reorder(unit, slice)) return std::move(plan);
        }
        Slice(unit, slice, whole);
        if (!whole && cursor.sliceNum < sliceCount) {
            ++cursor.sliceNum;
            return Close(static_cast<int64_t>(uint64_t{cursor.frameNum} * kMicrosPerFrame), 0);
        }
        if (lastUnit) {
            // Both lists apply to one frame only.
            if (!whole) state.skipCleared = state.orderCleared = true;
            return Complete(whole);
        }
        cursor = {cursor.frameNum, cursor.bufferNum + 1, 1};
        if (split) return whole ? Close(0) : Close();
    }
}

// Plans the read of one unit whole, or of one of its slices.
void StreamParserCompressed::Planner::Slice(const FrameInfo& unit, uint32_t slice, bool whole) {
    auto found = unit.mSliceOffsetTable.find(slice);
    std::pair<uint64_t, uint64_t> range{unit.mOffset, unit.mLength};
    if (!whole) range = found == unit.mSliceOffsetTable.end() ? std::pair<uint64_t, uint64_t>{} : found->second;
    const auto offset = static_cast<unsigned long long>(range.first);
    const auto length = static_cast<unsigned long long>(range.second);
    if (rules.dryRunTexts && whole) {
        Say(kLogInfo, "GetBufferLength Frame[%d] BufferNum[%d] length[%d]", frame, cursor.bufferNum,
            static_cast<int>(length));
    } else if (rules.dryRunTexts) {
        Say(kLogInfo, "GetBufferLength Frame[%d] BufferNum[%d] SliceNum[%d] length[%d]", frame, cursor.bufferNum,
            slice, static_cast<int>(length));
    } else if (whole) {
        Say(kLogInfo, "Processing Frame[%d] Offset[%llu] Size[%llu]", frame, offset, length);
    } else {
        Say(kLogInfo, "Processing Frame[%d] Slice[%d] Offset[%llu] Size[%llu]", frame, slice, offset, length);
    }
    PlanStep& step = Add(PlanStep::Kind::kRead);
    step.read = parser.ReadOf(unit, range.first, range.second, cursor.sliceNum);
    sawEOS = sawEOS || step.read.eos;
}

// Passes over the cursor's slices that mSkipSlices lists. True when they reach
// the unit's last slice: the rest of the frame is left out and the cursor
// moves to the next frame, or the stream ends there.
bool StreamParserCompressed::Planner::LeaveOutSlices(uint32_t sliceCount) {
    const std::vector<uint32_t>& skip = config.mSkipSlices;
    while (!state.skipCleared && std::find(skip.begin(), skip.end(), cursor.sliceNum) != skip.end()) {
        Say(kLogWarn, rules.dryRunTexts ? "GetBufferLength: Skipping slice %u of frame %u" : "Skipping slice %u of frame %u",
            cursor.sliceNum, cursor.frameNum);
        if (cursor.sliceNum < sliceCount) {
            ++cursor.sliceNum;
            continue;
        }
        // No mRepeatInterval wrap, timestamp or mEndOfFrame on this path.
        state.sliceSkipped = state.skipCleared = true;
        cursor = {cursor.frameNum + 1, 0, 1};
        ++state.frameCount;
        if (config.mLoopFrames == 0 && parser.IndexedFrames() < cursor.frameNum) {
            if (!rules.dryRunTexts) Say(kLogInfo, "Reached last frame. Re-Starting from Frame 1");
            cursor.frameNum = 1;
        }
        if ((rules.sawEOSEnds && sawEOS) || LimitPassed()) EndOfStream();
        return true;
    }
    return false;
}

// The slice read for the cursor's: the mSliceOrder entry at its slice number.
bool StreamParserCompressed::Planner::Reorder(const FrameInfo& unit, uint32_t& slice) {
    const std::vector<uint32_t>& order = config.mSliceOrder;
    if (order.empty()) return true;
    const uint32_t index = (rules.orderAtCallSlice ? callSlice : cursor.sliceNum) - 1;
    // An order list shorter than the slice count fails as an entry beyond it would.
    if (index >= order.size() || order[index] > unit.mSliceOffsetTable.size()) {
        Fail("unOrderedSlices[mFetchContent.bufferInfo.sliceNum - 1] > frameInfo.mSliceOffsetTable.size()",
             rules.dryRunTexts ? kLengthSliceOrderBeyondCount : kSliceOrderBeyondCount);
        return false;
    }
    slice = order[index];
    Say(kLogWarn, rules.dryRunTexts ? "GetBufferLength: Updated slice number %u due to OutOfOrder"
                                    : "Updated slice number %u due to OutOfOrder", slice);
    return true;
}

// The codec-config units of frames 1..frame-1, span by span, and their sum.
void StreamParserCompressed::Planner::Prelude() {
    uint32_t total = 0;
    for (const FrameSpan& span : parser.EarlierFrameSpans(frame)) {
        uint32_t spanBytes = 0;
        parser.ForEachConfigUnit(span, [&](const FrameInfo& unit) {
            spanBytes += static_cast<uint32_t>(unit.mLength);
            sawEOS = sawEOS || parser.ReadOf(unit, 0, 0, cursor.sliceNum).eos;
            return true;
        });
        PlanStep& step = Add(PlanStep::Kind::kPrelude);
        step.span = span;
        step.bytes = spanBytes * static_cast<uint32_t>(span.repeats);
        total += step.bytes;
    }
    state.seekPending = false;
    // Process has always logged 0 here; the dry run logs the sum.
    Say(kLogInfo, "Total length of SEQ_HEADER before Seekpoint = %d", rules.dryRunTexts ? static_cast<int>(total) : 0);
}

DeliveryPlan&& StreamParserCompressed::Planner::Complete(bool wholeUnit) {
    if (!rules.completesFrame) return Close();
    ++state.frameCount;
    // Taken in 64 bits: an interval of 0xFFFFFFFF makes the period 2^32, not 0.
    const uint64_t period = static_cast<uint64_t>(config.mRepeatInterval) + 1;
    if (period != 1 && state.frameCount % period == 0) cursor.frameNum = 0;
    const uint64_t timestamp = static_cast<uint64_t>(cursor.frameNum) * kMicrosPerFrame;
    cursor = {cursor.frameNum + 1, 0, 1};
    if (wholeUnit && config.mLoopFrames == 0 && parser.IndexedFrames() < cursor.frameNum) {
        Say(kLogInfo, "Reached last frame. Re-Starting from Frame 1");
        cursor.frameNum = 1;
    }
    return Close(static_cast<int64_t>(timestamp), 1);
}

}  // namespace tessaro
