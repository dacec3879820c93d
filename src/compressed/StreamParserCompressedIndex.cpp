// StreamParserCompressed::BuildOffsetTable: the indexing loop, and the frames
// it does not store because they repeat an earlier pass over the input.
//
// With mFrames beyond the frames of the file the scanners rewind at the end of
// the file and scan it again, so the table holds the file's frames over and
// over. Past kFullTableFrames frames the loop stops calling the scanner for
// whole passes that cannot end the indexing; their frames are rebuilt from a
// reference pass when looked up, with the units, types, lengths and flags the
// scanner would have given them. Init then costs time and memory in
// proportion to the file, whatever the frame counts say.
#include <algorithm>
#include <new>

#include "compressed/StreamParserCompressed.h"
#include "compressed/StreamParserCompressedLines.h"

namespace tessaro {

using namespace compressed_lines;

namespace {

uint64_t Gcd(uint64_t a, uint64_t b) {
    while (b != 0) {
        const uint64_t r = a % b;
        a = b;
        b = r;
    }
    return a;
}

}  // namespace

int32_t StreamParserCompressed::BuildOffsetTable() {
    TS_LOGI("BuildOffsetTable");
    mBufferPtr.reset(new (std::nothrow) unsigned char[kScratchBytes],
                     std::default_delete<unsigned char[]>());
    TS_CHECK(mBufferPtr == nullptr, kScratchMissing, -2);

    const ConfigParam& config = mConfigParam;
    mRepeats = RepeatedPass{};
    mRepeats.superFrame = config.mSuperFrame == 0 ? (uint64_t{1} << 32) : config.mSuperFrame;
    IndexCursor at;
    for (;;) {
        if (config.mFrames != 0 && at.frameNum > config.mFrames) break;
        if (config.mLoopFrames != 0 && at.frameNum > config.mLoopFrames) break;
        SkipRepeatedPasses(at);

        std::vector<FrameInfo> framelist;
        mPassEnded = false;
        const int32_t ret = ReadfromInputFile(at.frameNum, framelist, kScratchSize, mBufferPtr);
        TS_CHECK(ret != TS_OK, kScannerFailed, ret);
        TS_CHECK(framelist.size() == 0, kScannerAppendedNone, TS_ERROR);
        TrackPasses(at);
        if (!KeepCall(at, std::move(framelist))) {
            TS_LOGI("Reached End of Frame");
            break;
        }

        ++at.call;
        if (at.unitCounter == config.mSuperFrame) {
            at.unitCounter = 1;
            // Frame numbers end at 0xFFFFFFFF: the table is complete there.
            if (at.frameNum == UINT32_MAX) {
                at.frameNum = 0;
                break;
            }
            ++at.frameNum;
            if (config.mRepeatInterval != 0 && config.mRepeatInterval < at.frameNum) {
                TS_LOGI("Skipping to Read Frame[%u]", at.frameNum);
                break;
            }
        } else {
            ++at.unitCounter;
        }
    }
    // The product is one more frame than indexed when a limit ended the loop.
    TS_LOGI("Total Parsed Frames = %u", config.mSuperFrame * at.frameNum);
    return TS_OK;
}

uint64_t StreamParserCompressed::RegimeEnd(uint64_t call) const {
    const uint64_t s = mRepeats.superFrame;
    return ScansDependOnFrameOne() && s > 1 && call < s ? s : UINT64_MAX;
}

void StreamParserCompressed::TrackPasses(const IndexCursor& at) {
    RepeatedPass& r = mRepeats;
    // A reference pass of frame 1 says nothing about the calls after frame 1.
    if (r.passCalls != 0 && !r.skipped && RegimeEnd(r.passStart) != RegimeEnd(at.call)) {
        r.started = false;
        r.passCalls = 0;
        r.startByMark.clear();
        r.droppedCalls.clear();
    }
    // Only an indexing that may pass the full-table limits needs passes.
    const uint64_t frames = mConfigParam.mFrames;
    if (r.passCalls != 0 || (frames <= mFullTableFrames && frames * r.superFrame <= 4ull * mFullTableFrames)) {
        return;
    }
    // A pass may start where the scanner scans as at an earlier call: at call 0
    // and after each rewind. It ends at a rewind that leaves the restart mark
    // it started with, in the regime it started in.
    if (at.call == 0) NotePassStart(0, RestartMark(1));
    if (!mPassEnded || mInputFile.tellg() != 0) return;
    const uint64_t next = at.call + 1;
    const uint32_t mark = RestartMark(static_cast<uint32_t>(next / r.superFrame + 1));
    auto start = r.startByMark.find(mark);
    if (r.started && start != r.startByMark.end() && RegimeEnd(start->second) == RegimeEnd(at.call)) {
        r.passStart = start->second;
        r.passCalls = next - r.passStart;
        return;
    }
    NotePassStart(next, mark);
}

void StreamParserCompressed::NotePassStart(uint64_t call, uint32_t mark) {
    RepeatedPass& r = mRepeats;
    if (r.started && RegimeEnd(r.passStart) == RegimeEnd(call)) {
        r.startByMark.emplace(mark, call);
        return;
    }
    // The first start of a regime: units of later calls are kept from here.
    r.started = true;
    r.passStart = call;
    r.startByMark.clear();
    r.startByMark.emplace(mark, call);
    r.droppedCalls.clear();
}

bool StreamParserCompressed::KeepCall(const IndexCursor& at, std::vector<FrameInfo>&& framelist) {
    std::vector<FrameInfo> holder;
    const std::vector<FrameInfo>* entry = FindFrame(at.frameNum, holder);
    if (entry == nullptr) {
        entry = &mFrameOffsetTable.emplace(at.frameNum, std::move(framelist)).first->second;
    } else if (mRepeats.started && at.call >= mRepeats.passStart &&
               (mRepeats.passCalls == 0 || at.call < mRepeats.passStart + mRepeats.passCalls)) {
        // A later call of the frame number: the table drops its units, a
        // rebuilt frame may need them.
        mRepeats.droppedCalls.emplace(at.call, std::move(framelist));
    }
    return entry->back().mIsLastFrame == 0;
}

void StreamParserCompressed::SkipRepeatedPasses(IndexCursor& at) {
    RepeatedPass& r = mRepeats;
    const ConfigParam& config = mConfigParam;
    if (r.skipped || r.passCalls == 0 || at.call < r.passStart + r.passCalls) return;
    if (at.frameNum <= mFullTableFrames && at.call <= 4ull * mFullTableFrames) return;
    if ((at.call - r.passStart) % r.passCalls != 0) return;

    // Calls of frames below mFrames rewind at the end of the file, and no limit
    // ends the loop before the last call of frame `end`; that call is made, so
    // that the limits are checked after it as usual.
    uint64_t end = config.mFrames - 1;
    if (config.mLoopFrames != 0) end = std::min<uint64_t>(end, config.mLoopFrames);
    if (config.mRepeatInterval != 0) end = std::min<uint64_t>(end, config.mRepeatInterval);
    const uint64_t limitCall = std::min(end * r.superFrame - 1, RegimeEnd(r.passStart));  // below 2^64
    if (limitCall <= at.call) return;
    const uint64_t passes = (limitCall - at.call) / r.passCalls;
    if (passes == 0) return;

    const uint64_t from = at.call;
    const uint64_t to = from + passes * r.passCalls;
    const uint32_t first = static_cast<uint32_t>((from + r.superFrame - 1) / r.superFrame + 1);
    const uint32_t last = static_cast<uint32_t>((to - 1) / r.superFrame + 1);
    at.call = to;
    at.frameNum = static_cast<uint32_t>(to / r.superFrame + 1);
    at.unitCounter = static_cast<uint32_t>(to % r.superFrame + 1);
    if (first <= last) {
        r.first = first;
        r.last = last;
        r.skipped = true;
        TS_LOGI("%llu scanner calls repeat earlier passes over the input: not made (frames %u to %u rebuilt)",
                static_cast<unsigned long long>(to - from), first, last);
        return;
    }
    // Only calls of one frame number were passed over; the next regime needs
    // a reference pass of its own.
    TS_LOGI("%llu scanner calls repeat earlier passes over the input: not made",
            static_cast<unsigned long long>(to - from));
    r.started = false;
    r.passCalls = 0;
    r.startByMark.clear();
    r.droppedCalls.clear();
}

const std::vector<StreamParserCompressed::FrameInfo>* StreamParserCompressed::PassCall(
    uint32_t f) const {
    const RepeatedPass& r = mRepeats;
    const uint64_t call = (uint64_t{f} - 1) * r.superFrame;
    const uint64_t same = r.passStart + (call - r.passStart) % r.passCalls;
    if (same % r.superFrame == 0) {
        auto kept = mFrameOffsetTable.find(static_cast<uint32_t>(same / r.superFrame + 1));
        return kept == mFrameOffsetTable.end() ? nullptr : &kept->second;
    }
    auto dropped = r.droppedCalls.find(same);
    return dropped == r.droppedCalls.end() ? nullptr : &dropped->second;
}

const std::vector<StreamParserCompressed::FrameInfo>* StreamParserCompressed::FindFrame(
    uint32_t f, std::vector<FrameInfo>& holder) const {
    auto entry = mFrameOffsetTable.find(f);
    if (entry != mFrameOffsetTable.end()) return &entry->second;
    if (!mRepeats.Contains(f)) return nullptr;
    const std::vector<FrameInfo>* source = PassCall(f);
    if (source == nullptr) return nullptr;
    holder = *source;
    for (FrameInfo& unit : holder) unit.mFrameNum = f;
    return &holder;
}

uint64_t StreamParserCompressed::IndexedFrames() const {
    return mFrameOffsetTable.size() + mRepeats.Count();
}

uint32_t StreamParserCompressed::RepeatCycleFrames() const {
    const RepeatedPass& r = mRepeats;
    if (r.Count() == 0) return 0;
    return static_cast<uint32_t>(r.passCalls / Gcd(r.passCalls, r.superFrame));
}

std::vector<FrameSpan> StreamParserCompressed::EarlierFrameSpans(
    uint32_t f) const {
    std::vector<FrameSpan> spans;
    if (f <= 1) return spans;
    const uint32_t last = f - 1;
    const RepeatedPass& r = mRepeats;
    if (r.Count() == 0 || last < r.first) {
        spans.push_back({1, last, 1});
        return spans;
    }
    if (r.first > 1) spans.push_back({1, r.first - 1, 1});
    const uint32_t rebuiltEnd = std::min(last, r.last);
    const uint64_t length = uint64_t{rebuiltEnd} - r.first + 1;
    const uint64_t cycle = RepeatCycleFrames();
    const uint64_t cycles = length / cycle;
    uint32_t next = r.first;
    if (cycles >= 2) {
        spans.push_back({r.first, static_cast<uint32_t>(r.first + cycle - 1), cycles});
        next = static_cast<uint32_t>(r.first + cycles * cycle);
    }
    if (next <= rebuiltEnd) spans.push_back({next, rebuiltEnd, 1});
    if (r.last < last) spans.push_back({r.last + 1, last, 1});
    return spans;
}

}  // namespace tessaro
