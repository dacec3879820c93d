// Seeking: moves the delivery cursor to the requested frame, or to the
// nearest sync frame, and leaves the seek pending so that the next Process
// first delivers every codec-config unit that precedes the target.
#include "compressed/StreamParserCompressed.h"
#include "compressed/StreamParserCompressedLines.h"

namespace tessaro {
namespace {

// The run of 21 blanks belongs to the message.
constexpr char kNoSyncForward[] =
    "No IDR at/after seekpoint                     Frame[%u] checking Backwards";
static_assert(sizeof(kNoSyncForward) - 1 == 25 + 21 + 28, "the blank run is 21 characters");

}  // namespace

int32_t StreamParserCompressed::Seek() {
    TS_LOGI("Seek");
    const uint32_t seekToFrame = mConfigParam.mSeekFrame;
    const uint32_t parsedFrames = mConfigParam.mFrames;
    TS_LOGI("seekToFrame[%d]  Parsed Frames[%d]", static_cast<int>(seekToFrame),
            static_cast<int>(parsedFrames));
    // Frame 0 is refused with the same message as a frame beyond the limit.
    if (seekToFrame == 0 || (parsedFrames != 0 && seekToFrame > parsedFrames)) {
        TS_LOGE("Error. seekToFrame[%d] is greater than Parsed Frames[%d]",
                static_cast<int>(seekToFrame), static_cast<int>(parsedFrames));
        return TS_ERROR;
    }
    std::vector<FrameInfo> holder;
    TS_CHECK_TEXT(FindFrame(seekToFrame, holder) == nullptr,
                  "(mFrameOffsetTable.find(seekToFrame) == mFrameOffsetTable.end())",
                  compressed_lines::kSeekFrameNotIndexed, TS_ERROR);

    uint32_t target = seekToFrame;
    if (mConfigParam.mSeekMode == 1) {
        enum class Direction : int { Forward = 1, Backward = -1 };
        uint32_t candidate = seekToFrame;
        // Walks from candidate in one direction until a frame with a sync unit
        // is found. The highest-numbered frame of the table is never examined:
        // the walk stops as soon as candidate reaches the table size. A pending
        // seek (mIsSeekSet still set) makes the first frame examined the answer.
        auto searchSyncFrame = [this, &candidate, &holder](Direction direction) {
            uint32_t rebuiltSeen = 0;  // rebuilt frames examined in a row
            for (;;) {
                if (candidate == 0) return;
                if (IndexedFrames() <= candidate) return;
                const std::vector<FrameInfo>* frame = FindFrame(candidate, holder);
                if (frame == nullptr) {
                    TS_LOGE("Error. Missing Frame in Offset Table..");
                    return;
                }
                for (const FrameInfo& unit : *frame) {
                    if (unit.mFrameType == FRAME_TYPE_SYNC) {
                        mIsSeekSet = true;
                        break;
                    }
                }
                if (mIsSeekSet) {
                    TS_LOGI("Nearest IDR was found at Frame[%u]", candidate);
                    return;
                }
                if (IsRebuiltFrame(candidate) && ++rebuiltSeen >= RepeatCycleFrames()) {
                    // A whole cycle of rebuilt frames without a sync unit: none
                    // of them has one. Go on past them.
                    candidate = direction == Direction::Forward ? LastRebuiltFrame() + 1
                                                                : FirstRebuiltFrame() - 1;
                    rebuiltSeen = 0;
                    continue;
                }
                candidate += static_cast<uint32_t>(static_cast<int>(direction));
            }
        };

        TS_LOGI("Processing IDR Seek");
        searchSyncFrame(Direction::Forward);
        if (!mIsSeekSet) {
            candidate = seekToFrame;
            TS_LOGI(kNoSyncForward, seekToFrame);
            searchSyncFrame(Direction::Backward);
        }
        TS_CHECK(mIsSeekSet == false, compressed_lines::kSeekNoSyncFrame, TS_ERROR);
        target = candidate;
        if (parsedFrames != 0 && target > parsedFrames) {
            TS_LOGI("Seeked frame > Parsed Frame. Continue with cur frame..");
            target = seekToFrame;
        }
    } else {
        TS_LOGI("Processing Non-IDR Seek");
        mIsSeekSet = true;
    }

    mFrameCount = target;
    mFetchContent.bufferInfo.frameNum = target;
    mFetchContent.bufferInfo.bufferNum = 0;
    mFetchContent.bufferInfo.sliceNum = 1;
    mConfigParam.mSeekedFrame = target;
    return TS_OK;
}

}  // namespace tessaro
