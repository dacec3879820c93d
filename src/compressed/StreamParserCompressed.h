// StreamParserCompressed: the common base of the elementary-stream parsers.
// It owns the input file, the scanner scratch buffer and the frame offset
// table (every frame number -> the byte ranges of its units and slices), built
// once by BuildOffsetTable at Init; delivery and seeking only read the table.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "compressed/DeliveryPlan.h"
#include "framework/ByteSource.h"
#include "framework/TessaroImpl.h"

namespace tessaro {

class StreamParserCompressed : public TessaroImpl {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::Compressed";

    static constexpr uint32_t FRAME_TYPE_CODEC_CONFIG = 1;  // parameter sets / sequence header
    static constexpr uint32_t FRAME_TYPE_SYNC = 2;          // IDR / key frame: a seek target
    static constexpr uint32_t FRAME_TYPE_NON_SYNC = 4;      // any other picture

    // The line numbers a codec parser's Init and the start of its scanner
    // calls report failed checks with, under its log tag.
    struct ScannerLines {
        const char* tag;
        int notOpen;      // "mInputFile.is_open() == false"
        int emptyFile;    // "mFileSize == 0"
        int indexFailed;  // "ret != TS_OK"
        int atEof;        // "mInputFile.eof()"
        int atEnd;        // "(uint64_t)mInputFile.tellg() == mFileSize"
        int nullBuffer;   // "buffer == nullptr"
    };

    // The size the scanners are told their scratch buffer has (192 MiB): it
    // sets their "Buffer is Full." limits. They only ever store one byte in
    // it, so only kScratchBytes are allocated.
    static constexpr uint32_t kScratchSize = 0xC000000;
    static constexpr uint32_t kScratchBytes = 1;

    // Tables up to this many frames are indexed call by call, as logged. Beyond
    // it, frames that repeat an earlier pass over the input are not scanned or
    // stored again; they are rebuilt from that pass when looked up.
    static constexpr uint32_t kFullTableFrames = 100000;

    // One unit of one frame: a contiguous byte range of the input delivered as
    // a whole (a parameter-set group, a picture, a superframe member).
    struct FrameInfo {
        uint64_t mOffset = 0;       // first byte in the input file
        uint64_t mLength = 0;       // bytes of the unit
        uint32_t mFrameNum = 0;     // 1-based frame number (the table key)
        uint32_t mIsLastFrame = 0;  // 1 if this unit ends the input
        uint32_t mLayerId = 0;      // HEVC nuh_layer_id, else 0
        uint32_t mFrameType = 0;    // FRAME_TYPE_*
        // slice number (1-based) -> (file offset, byte length); slice mode only
        std::unordered_map<uint32_t, std::pair<uint64_t, uint64_t>> mSliceOffsetTable;
    };

    // The delivery cursor.
    struct FetchContent {
        using BufferInfo = DeliveryCursor;
        BufferInfo bufferInfo;
    };

    // Releases the scratch buffer, the table and the input file.
    ~StreamParserCompressed() override = default;

    // Fills one linear client buffer with the next frame (or, in slice mode, the
    // next slice), sets its length, timestamp, end-of-frame and flags, and moves
    // the delivery cursor on. After the end of the stream every call returns
    // TS_OK with the buffer flagged EOS only.
    int32_t Process(std::shared_ptr<Buffer> buffer) override;
    // Back to the constructed state (but STATE::STOPPED); always TS_OK.
    int32_t DeInit() override;
    // Moves the delivery cursor to mConfigParam.mSeekFrame (or the nearest sync frame).
    int32_t Seek() override;
    // Bytes the next Process call will write (0 once the frame limit is passed),
    // or a negative status. Changes nothing.
    uint32_t GetBufferLength() override;

    // Indexes the whole input by calling ReadfromInputFile once per frame (or
    // mSuperFrame times per frame number) until the file or a limit ends it.
    virtual int32_t BuildOffsetTable();

    // Scanner contract: continue from the current position of mInputFile and
    // append the units of the next frame to framelist (see the codec parsers).
    virtual int32_t ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                                      uint32_t maxBufSize, std::shared_ptr<unsigned char> buffer) = 0;

    // Read access for tests and tools.
    const std::unordered_map<uint32_t, std::vector<FrameInfo>>& frameOffsetTable() const {
        return mFrameOffsetTable;
    }
    // The units of frame f: its table entry, or, for a frame that repeats an
    // earlier pass over the input, its units rebuilt into holder. Null when the
    // table holds no frame f. The result stays valid while holder and the table do.
    const std::vector<FrameInfo>* FindFrame(uint32_t f, std::vector<FrameInfo>& holder) const;
    // Frames in the table, those rebuilt on lookup included.
    uint64_t IndexedFrames() const;
    const FetchContent& fetchContent() const { return mFetchContent; }
    uint32_t frameCount() const { return mFrameCount; }
    uint64_t fileSize() const { return mFileSize; }
    bool sawEOS() const { return mSawEOS; }
    bool isSeekSet() const { return mIsSeekSet; }

protected:
    StreamParserCompressed() = default;

    // A codec Init: logs "Init", opens mConfigParam.mInputFileName, runs the
    // codec's probe of the file type (when given; a status other than TS_OK
    // ends Init with it), measures and rewinds the file, takes the slice mode
    // (mConfigParam's when slices is set, else 0) and indexes. Running on success.
    int32_t OpenAndIndex(const ScannerLines& lines, bool slices,
                         const std::function<int32_t()>& probe = nullptr);
    // The checks a scanner call starts with: the stream at its end (TS_OK, no
    // entry), the position at the end of the file (likewise) and a missing
    // scratch buffer (-2). True when the call ends here with *status.
    bool ScanEndsAtOnce(const ScannerLines& lines, const std::shared_ptr<unsigned char>& buffer,
                        int32_t* status);

    // Seeks mInputFile to its end and stores that position in mFileSize (0 when
    // the position cannot be told). The caller rewinds.
    void MeasureInputSize();

    // A scanner calls this when it has rewound the input to its first byte.
    void NotePassEnd() { mPassEnded = true; }
    // The reader state besides the position that decides how a call for
    // frameNum scans after a rewind: only calls that start at position 0 with
    // equal marks scan alike, so a pass over the input ends where it started.
    virtual uint32_t RestartMark(uint32_t /*frameNum*/) const { return 0; }
    // True for a scanner whose calls for frame number 1 differ from the calls
    // for later frame numbers at the same position.
    virtual bool ScansDependOnFrameOne() const { return false; }

    // Frames 1..f-1 as spans to visit in order (repeated passes over the input
    // as one span with repeats).
    std::vector<FrameSpan> EarlierFrameSpans(uint32_t f) const;
    // Frames after which the rebuilt frames repeat themselves (0: none rebuilt).
    uint32_t RepeatCycleFrames() const;
    bool IsRebuiltFrame(uint32_t f) const { return mRepeats.Contains(f); }
    uint32_t FirstRebuiltFrame() const { return mRepeats.first; }
    uint32_t LastRebuiltFrame() const { return mRepeats.last; }

    // Logs "Frame[%d] BufferNum[%d] Offset[%llu] length[%d]" for the last entry
    // of framelist (BufferNum = the list's size) under the scanner's tag.
    static void LogLastEntry(const char* tag, const std::vector<FrameInfo>& framelist);

    // Logs "Slice[%d] Offset[%llu] length[%llu]" for one slice under the scanner's tag.
    static void LogSliceRange(const char* tag, uint32_t sliceNum,
                              const std::pair<uint64_t, uint64_t>& slice);

    bool mSawEOS = false;        // EOS has been put on a client buffer
    bool mIsSeekSet = false;     // a seek fixed the next frame and Process has not consumed it
    uint64_t mFileSize = 0;      // input size, measured by the codec Init
    uint32_t mFrameCount = 1;    // delivery counter; the stream ends once it exceeds mFrames
    ByteSource mInputFile;       // the compressed input, binary
    std::shared_ptr<unsigned char> mBufferPtr;  // kScratchSize scratch bytes for the scanners
    std::unordered_map<uint32_t, std::vector<FrameInfo>> mFrameOffsetTable;
    FetchContent mFetchContent;  // the delivery cursor
    uint32_t mSliceMode = 0;     // copied from mConfigParam.mSliceMode by the codec Init
    uint32_t mFullTableFrames = kFullTableFrames;  // lowered by tests only

private:
    // The frames of the table that are rebuilt from a reference pass over the
    // input instead of being scanned and stored: once the scanner has rewound
    // the input to the state of an earlier call, its calls repeat with a
    // period of passCalls calls.
    struct RepeatedPass {
        uint32_t first = 1;          // rebuilt frames first..last (none when first > last)
        uint32_t last = 0;
        uint64_t superFrame = 1;     // scanner calls per frame number (0 counts as 2^32)
        bool started = false;        // passStart holds a call that a pass starts at
        uint64_t passStart = 0;      // first call of the reference pass
        // The first call after a rewind (or call 0) by the restart mark it
        // starts with, since the last reset; passStart is the earliest.
        std::map<uint32_t, uint64_t> startByMark;
        uint64_t passCalls = 0;      // calls per pass; 0 until the reference pass ended
        bool skipped = false;        // the indexing has passed over repeated passes
        // Units of reference-pass calls that the table drops (all but the first
        // call of a frame number), by call index.
        std::unordered_map<uint64_t, std::vector<FrameInfo>> droppedCalls;
        bool Contains(uint32_t f) const { return first <= f && f <= last; }
        uint64_t Count() const { return first <= last ? uint64_t{last} - first + 1 : 0; }
    };

    // Where the indexing loop stands: call is the number of scanner calls made
    // (or passed over); frameNum and unitCounter follow from it.
    struct IndexCursor {
        uint64_t call = 0;
        uint32_t frameNum = 1;
        uint32_t unitCounter = 1;
    };
    // Passes over whole repeated passes of the input that cannot end the
    // indexing, once the table has grown past mFullTableFrames frames.
    void SkipRepeatedPasses(IndexCursor& at);
    // Notes where passes over the input start and end, after call at.call.
    void TrackPasses(const IndexCursor& at);
    // Notes that a pass may start at call, with the restart mark it starts with.
    void NotePassStart(uint64_t call, uint32_t mark);
    // The call that ends the regime of `call`: a scanner whose calls for frame
    // 1 differ scans alike only within frame 1, and only after it.
    uint64_t RegimeEnd(uint64_t call) const;
    // Keeps the units of one scanner call: a new frame number's in the table,
    // a reference-pass dropped call's for rebuilding. False when the table
    // entry of the frame number ends the input.
    bool KeepCall(const IndexCursor& at, std::vector<FrameInfo>&& framelist);
    // The reference-pass units that rebuilt frame f repeats.
    const std::vector<FrameInfo>* PassCall(uint32_t f) const;

    bool mPassEnded = false;     // the scanner rewound the input in its last call
    RepeatedPass mRepeats;

    // What one Process call has put into the client buffer so far.
    struct Delivery {
        Buffer& buffer;
        uint32_t total = 0;    // bytes written in this call
        uint32_t layerId = 0;  // mLayerId of the unit read last
    };

    struct Planner;
    // The next Process call as a plan (DeliveryPlan.h), drawn by rules.
    DeliveryPlan PlanDelivery(const PlanRules& rules) const;
    // The read of a range of unit with the cursor at slice sliceNum.
    PlannedRead ReadOf(const FrameInfo& unit, uint64_t offset, uint64_t length, uint32_t sliceNum) const;
    // Calls visit with every codec-config unit of span's frames, in order, until it returns false.
    bool ForEachConfigUnit(const FrameSpan& span, const std::function<bool(const FrameInfo&)>& visit) const;

    // Makes the parser's state and the buffer's marks those of a plan step.
    void Commit(const PlanState& at, Buffer& buffer);
    // Reads a planned range into the client buffer behind what this call has
    // already written, and sets the buffer's flags from its marks.
    int32_t readData(Delivery& delivery, const PlannedRead& read);
    // Reads the codec-config units of span's frames into the buffer, span.repeats times.
    int32_t DeliverSequenceHeaders(Delivery& delivery, const FrameSpan& span);
    // Adds `more` repeats of what the buffer received since `start` as reading
    // them would; false when they do not all fit.
    bool RepeatSequenceHeaders(Delivery& delivery, uint32_t start, uint64_t more);
    int32_t CloseBuffer(Delivery& delivery, const PlanStep& close);
};

}  // namespace tessaro
