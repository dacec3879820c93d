// StreamParserCompressed: the common base of the elementary-stream parsers.
// It owns the input file, the scanner scratch buffer and the frame offset
// table (every frame number -> the byte ranges of its units and slices), built
// once by BuildOffsetTable at Init; delivery and seeking only read the table.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "compressed/ByteSource.h"
#include "framework/TessaroImpl.h"

namespace tessaro {

class StreamParserCompressed : public TessaroImpl {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::Compressed";

    static constexpr uint32_t FRAME_TYPE_CODEC_CONFIG = 1;  // parameter sets / sequence header
    static constexpr uint32_t FRAME_TYPE_SYNC = 2;          // IDR / key frame: a seek target
    static constexpr uint32_t FRAME_TYPE_NON_SYNC = 4;      // any other picture

    // Size of the scratch buffer lent to the scanners (192 MiB).
    static constexpr uint32_t kScratchSize = 0xC000000;

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
        struct BufferInfo {
            uint32_t frameNum = 1;   // frame being delivered
            uint32_t bufferNum = 0;  // unit index within the frame
            uint32_t sliceNum = 1;   // 1-based slice within the unit
        } bufferInfo;
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
    const FetchContent& fetchContent() const { return mFetchContent; }
    uint32_t frameCount() const { return mFrameCount; }
    uint64_t fileSize() const { return mFileSize; }
    bool sawEOS() const { return mSawEOS; }
    bool isSeekSet() const { return mIsSeekSet; }

protected:
    StreamParserCompressed() = default;

    // Seeks mInputFile to its end and stores that position in mFileSize (0 when
    // the position cannot be told). The caller rewinds.
    void MeasureInputSize();

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

private:
    // What one Process call has put into the client buffer so far.
    struct Delivery {
        Buffer& buffer;
        uint32_t total = 0;    // bytes written in this call
        uint32_t layerId = 0;  // mLayerId of the unit read last
    };

    // Reads length bytes at offset of the input into the client buffer behind
    // what this call has already written, and sets the buffer's flags from unit.
    int32_t readData(Delivery& delivery, const FrameInfo& unit, uint64_t offset, uint64_t length);
    // The frame the cursor's frameNum stands for, after the mLoopFrames wrap.
    uint32_t EffectiveFrame(uint32_t frameNum) const;
    bool FrameLimitPassed() const;
    bool EndOfStreamReached() const;
    // Flags the buffer EOS only and drops a pending seek ("Already reached EOS.").
    int32_t SignalEndOfStream(Buffer& buffer);
    void ClearSeekRequest();
    // The slice number that is read for the cursor's sliceNum (mSliceOrder).
    int32_t OrderedSlice(const FrameInfo& unit, uint32_t& slice, bool dryRun) const;
    void CompleteFrame(Buffer& buffer, bool wholeUnit);
    int32_t CloseBuffer(Delivery& delivery);
};

}  // namespace tessaro
