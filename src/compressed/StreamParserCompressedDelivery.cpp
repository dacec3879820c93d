// StreamParserCompressed::Process: one client buffer per call, filled from the
// frame offset table by one positioned copy per unit from the input into the
// buffer.
#include <algorithm>

#include "compressed/StreamParserCompressed.h"
#include "compressed/StreamParserCompressedLines.h"

namespace tessaro {

using namespace compressed_lines;

namespace {

constexpr uint64_t kMicrosPerFrame = 1000000;

bool Contains(const std::vector<uint32_t>& list, uint32_t value) {
    return std::find(list.begin(), list.end(), value) != list.end();
}

}  // namespace

uint32_t StreamParserCompressed::EffectiveFrame(uint32_t frameNum) const {
    const uint32_t loop = mConfigParam.mLoopFrames;
    if (loop != 0 && frameNum > loop) frameNum -= ((frameNum - 1) / loop) * loop;
    return frameNum;
}

bool StreamParserCompressed::FrameLimitPassed() const {
    return mConfigParam.mFrames != 0 && mConfigParam.mFrames < mFrameCount;
}

bool StreamParserCompressed::EndOfStreamReached() const {
    return mSawEOS || (FrameLimitPassed() && !mConfigParam.mLoopForever);
}

void StreamParserCompressed::ClearSeekRequest() {
    mIsSeekSet = false;
    mConfigParam.mSeekMode = 0;
    mConfigParam.mSeekFrame = 0;
    mConfigParam.mSeekedFrame = 0;
}

int32_t StreamParserCompressed::SignalEndOfStream(Buffer& buffer) {
    TS_LOGI("Already reached EOS.");
    if (mIsSeekSet) ClearSeekRequest();
    buffer.mFlags = Buffer::FLAG_EOS;
    return TS_OK;
}

int32_t StreamParserCompressed::readData(Delivery& delivery, const FrameInfo& unit,
                                         uint64_t offset, uint64_t length) {
    Buffer& buffer = delivery.buffer;
    TS_LOGI("Buffer Capacity %d | Length to be read %d data offset:%u",
            static_cast<int>(buffer.capacity()), static_cast<int>(length),
            static_cast<uint32_t>(offset));
    TS_CHECK_TEXT(buffer.capacity() < length, "buffer->capacity() < length",
                  kCapacityBelowLength, -2);
    // Successive reads of one call land one behind the other, so together they
    // must fit as well. With a non-zero mMapOffset every read lands at the start
    // of the buffer and overwrites the one before.
    const bool appends = buffer.mMapOffset == 0;
    TS_CHECK_TEXT(appends && buffer.capacity() - length < delivery.total,
                  "buffer->capacity() < length", kCapacityBelowLength, -2);
    const uint64_t at = appends ? delivery.total : 0;
    const ClientBufferIo::Moved moved =
        length != 0 ? mClientBuffers.FillFromFile(buffer, at, mInputFile.file(), offset, length)
                    : ClientBufferIo::Moved{true, 0};
    TS_CHECK_TEXT(!moved.usable, "vaddr == nullptr", kUnmappedBuffer, -2);
    const uint64_t got = moved.bytes;
    if (got < length && unit.mIsLastFrame == 0) {
        TS_LOGE("Error. Fail to read Input File.");
        return TS_ERROR;
    }
    delivery.total += static_cast<uint32_t>(got);
    delivery.layerId = unit.mLayerId;

    uint32_t flags = 0;
    if (unit.mIsLastFrame == 1 &&
        (mSliceMode == 0 || mFetchContent.bufferInfo.sliceNum == unit.mSliceOffsetTable.size())) {
        TS_LOGI("Adding EOS Flag");
        flags |= Buffer::FLAG_EOS;
        mSawEOS = true;
    }
    if (unit.mFrameType == FRAME_TYPE_CODEC_CONFIG) {
        TS_LOGI("Adding CODEC_CONFIG Flag");
        flags |= Buffer::FLAG_CODEC_CONFIG;
    }
    buffer.mFlags = flags;
    return TS_OK;
}

int32_t StreamParserCompressed::ReadSequenceHeaders(Delivery& delivery, const FrameSpan& span) {
    for (uint32_t k = span.first; k <= span.last && k != 0; ++k) {
        std::vector<FrameInfo> holder;
        const std::vector<FrameInfo>* earlier = FindFrame(k, holder);
        if (earlier == nullptr) continue;
        for (const FrameInfo& unit : *earlier) {
            if (unit.mFrameType != FRAME_TYPE_CODEC_CONFIG) continue;
            TS_CHECK_TEXT(readData(delivery, unit, unit.mOffset, unit.mLength) != TS_OK,
                          "readData(offset, length) != TS_OK", kReadFailed, TS_ERROR);
        }
    }
    return TS_OK;
}

bool StreamParserCompressed::RepeatSequenceHeaders(Delivery& delivery, uint32_t start, uint64_t more) {
    const uint32_t bytes = delivery.total - start;
    Buffer& buffer = delivery.buffer;
    if (buffer.mMapOffset != 0 || bytes == 0) {
        // Every read lands at the start of the buffer, or adds nothing: reading
        // the span again would leave the buffer as it is.
        delivery.total += bytes * static_cast<uint32_t>(more);
        return true;
    }
    // The span's bytes follow again and again; copy the repeats that fit.
    const uint64_t fit = std::min<uint64_t>(more, (buffer.capacity() - delivery.total) / bytes);
    if (fit == 0) return false;
    std::vector<uint8_t> span;
    span.reserve(bytes);
    mClientBuffers.Drain(buffer, start, bytes, [&span](const uint8_t* piece, uint64_t count) {
        span.insert(span.end(), piece, piece + count);
        return true;
    });
    uint64_t copied = 0;
    while (copied < fit && span.size() == bytes &&
           mClientBuffers.FillFromMemory(buffer, delivery.total, span.data(), bytes).bytes == bytes) {
        delivery.total += bytes;
        ++copied;
    }
    return copied == more;
}

int32_t StreamParserCompressed::DeliverSequenceHeaders(Delivery& delivery, uint32_t frame) {
    for (const FrameSpan& span : EarlierFrameSpans(frame)) {
        const uint32_t start = delivery.total;
        if (ReadSequenceHeaders(delivery, span) != TS_OK) return TS_ERROR;
        // A repeat that does not fit is read for real: it fails at the read
        // that overruns the buffer.
        if (span.repeats > 1 && !RepeatSequenceHeaders(delivery, start, span.repeats - 1) &&
            ReadSequenceHeaders(delivery, span) != TS_OK) {
            return TS_ERROR;
        }
    }
    return TS_OK;
}

int32_t StreamParserCompressed::OrderedSlice(const FrameInfo& unit, uint32_t& slice,
                                             bool dryRun) const {
    const std::vector<uint32_t>& order = mConfigParam.mSliceOrder;
    if (order.empty()) return TS_OK;
    const uint32_t index = mFetchContent.bufferInfo.sliceNum - 1;
    // An order list shorter than the slice count fails as an entry beyond it would.
    const bool beyond = index >= order.size() || order[index] > unit.mSliceOffsetTable.size();
    TS_CHECK_TEXT(beyond,
                  "unOrderedSlices[mFetchContent.bufferInfo.sliceNum - 1] > "
                  "frameInfo.mSliceOffsetTable.size()",
                  dryRun ? kLengthSliceOrderBeyondCount : kSliceOrderBeyondCount, TS_ERROR);
    slice = order[index];
    if (dryRun) {
        TS_LOGW("GetBufferLength: Updated slice number %u due to OutOfOrder", slice);
    } else {
        TS_LOGW("Updated slice number %u due to OutOfOrder", slice);
    }
    return TS_OK;
}

void StreamParserCompressed::CompleteFrame(Buffer& buffer, bool wholeUnit) {
    FetchContent::BufferInfo& cursor = mFetchContent.bufferInfo;
    ++mFrameCount;
    // Taken in 64 bits: an interval of 0xFFFFFFFF makes the period 2^32, not 0.
    const uint64_t period = static_cast<uint64_t>(mConfigParam.mRepeatInterval) + 1;
    if (period != 1 && mFrameCount % period == 0) cursor.frameNum = 0;
    buffer.mTimestamp = static_cast<uint64_t>(cursor.frameNum) * kMicrosPerFrame;
    cursor.bufferNum = 0;
    cursor.sliceNum = 1;
    ++cursor.frameNum;
    buffer.mEndOfFrame = 1;
    if (wholeUnit && mConfigParam.mLoopFrames == 0 && IndexedFrames() < cursor.frameNum) {
        TS_LOGI("Reached last frame. Re-Starting from Frame 1");
        cursor.frameNum = 1;
    }
}

int32_t StreamParserCompressed::CloseBuffer(Delivery& delivery) {
    Buffer& buffer = delivery.buffer;
    buffer.mOffset = 0;
    buffer.mLength = delivery.total;
    buffer.mSliceInfo = delivery.layerId;
    if (FrameLimitPassed() && !mConfigParam.mLoopForever) {
        buffer.mFlags = Buffer::FLAG_EOS;
        TS_LOGI("Last Frame to Process. Adding EOS Flag");
    } else {
        TS_LOGI("Total length of content read = %d", static_cast<int>(delivery.total));
    }
    return TS_OK;
}

int32_t StreamParserCompressed::Process(std::shared_ptr<Buffer> buffer) {
    TS_LOGI("Process");
    TS_CHECK(buffer == nullptr, kNullBuffer, -2);
    TS_CHECK(mState != STATE::RUNNING, kNotRunning, -3);
    TS_CHECK(buffer->isLinear() == false, kNotLinear, -4);

    if (EndOfStreamReached()) return SignalEndOfStream(*buffer);

    FetchContent::BufferInfo& cursor = mFetchContent.bufferInfo;
    uint32_t frame = EffectiveFrame(cursor.frameNum);
    // The table does not change while frames are delivered: read it in place
    // (a rebuilt frame lives in holder).
    std::vector<FrameInfo> holder;
    const std::vector<FrameInfo>* units = FindFrame(frame, holder);
    TS_CHECK_TEXT(units == nullptr,
                  "(mFrameOffsetTable.find(frameNum) == mFrameOffsetTable.end())", kFrameMissing,
                  TS_ERROR);

    Delivery delivery{*buffer, 0, 0};

    // After a seek the buffer first carries every codec-config unit of the
    // frames before the target, so that a decoder can start there.
    if (mIsSeekSet) {
        if (DeliverSequenceHeaders(delivery, frame) != TS_OK) return TS_ERROR;
        ClearSeekRequest();
        TS_LOGI("Total length of SEQ_HEADER before Seekpoint = %d", 0);
    }

    for (;;) {
        if (cursor.bufferNum >= units->size()) {
            // Only a cursor moved by hand could point past the frame's units.
            return ReportFailure(kLogTag,
                                 "(mFrameOffsetTable.find(frameNum) == mFrameOffsetTable.end())",
                                 kFrameMissing, TS_ERROR);
        }
        const FrameInfo& unit = (*units)[cursor.bufferNum];
        const bool lastUnit = cursor.bufferNum + 1 == units->size();
        // With mDeliveryMode 1 the first frame's leading units travel alone.
        const bool nextIsLast = cursor.bufferNum + 2 == units->size();
        const bool separateConfig = (mConfigParam.mLoopFrames != 0 || mFrameCount == 1) &&
                                    nextIsLast && mConfigParam.mDeliveryMode == 1;

        if (mSliceMode == 0 || unit.mSliceOffsetTable.empty()) {
            TS_LOGI("Processing Frame[%d] Offset[%llu] Size[%llu]", frame,
                    static_cast<unsigned long long>(unit.mOffset),
                    static_cast<unsigned long long>(unit.mLength));
            TS_CHECK_TEXT(readData(delivery, unit, unit.mOffset, unit.mLength) != TS_OK,
                          "readData(offset, length) != TS_OK", kReadFailed, TS_ERROR);
            if (lastUnit) {
                CompleteFrame(*buffer, true);
                return CloseBuffer(delivery);
            }
            ++cursor.bufferNum;
            cursor.sliceNum = 1;
            if (separateConfig) {
                buffer->mTimestamp = 0;
                return CloseBuffer(delivery);
            }
            continue;
        }

        // Slice delivery.
        const uint32_t sliceCount = static_cast<uint32_t>(unit.mSliceOffsetTable.size());
        std::vector<uint32_t>& skip = mConfigParam.mSkipSlices;
        bool frameSkipped = false;
        while (!skip.empty() && Contains(skip, cursor.sliceNum)) {
            TS_LOGW("Skipping slice %u of frame %u", cursor.sliceNum, cursor.frameNum);
            if (cursor.sliceNum < sliceCount) {
                ++cursor.sliceNum;
                continue;
            }
            // The rest of the frame is left out: move on to the next frame.
            buffer->mSliceSkipped = 1;
            cursor.bufferNum = 0;
            cursor.sliceNum = 1;
            ++cursor.frameNum;
            skip.clear();
            ++mFrameCount;
            if (mConfigParam.mLoopFrames == 0 && IndexedFrames() < cursor.frameNum) {
                TS_LOGI("Reached last frame. Re-Starting from Frame 1");
                cursor.frameNum = 1;
            }
            if (mSawEOS || FrameLimitPassed()) return SignalEndOfStream(*buffer);
            // The next frame is looked up by its own number, without the
            // mLoopFrames wrap; a number beyond the table fails the call.
            units = FindFrame(cursor.frameNum, holder);
            TS_CHECK_TEXT(units == nullptr,
                          "(mFrameOffsetTable.find(frameNum) == mFrameOffsetTable.end())",
                          kNextFrameMissing, TS_ERROR);
            frame = cursor.frameNum;
            frameSkipped = true;
            break;
        }
        if (frameSkipped) continue;

        uint32_t slice = cursor.sliceNum;
        if (OrderedSlice(unit, slice, false) != TS_OK) return TS_ERROR;
        uint64_t sliceOffset = 0;
        uint64_t sliceLength = 0;
        auto found = unit.mSliceOffsetTable.find(slice);
        if (found != unit.mSliceOffsetTable.end()) {
            sliceOffset = found->second.first;
            sliceLength = found->second.second;
        }
        TS_LOGI("Processing Frame[%d] Slice[%d] Offset[%llu] Size[%llu]", frame, slice,
                static_cast<unsigned long long>(sliceOffset),
                static_cast<unsigned long long>(sliceLength));
        TS_CHECK_TEXT(readData(delivery, unit, sliceOffset, sliceLength) != TS_OK,
                      "readData(offset, length) != TS_OK", kReadFailed, TS_ERROR);

        if (cursor.sliceNum < sliceCount) {
            ++cursor.sliceNum;
            buffer->mEndOfFrame = 0;
            buffer->mTimestamp = static_cast<uint64_t>(cursor.frameNum) * kMicrosPerFrame;
            return CloseBuffer(delivery);
        }
        if (!lastUnit) {
            ++cursor.bufferNum;
            cursor.sliceNum = 1;
            if (separateConfig) return CloseBuffer(delivery);
            continue;
        }
        CompleteFrame(*buffer, false);
        mConfigParam.mSkipSlices.clear();
        mConfigParam.mSliceOrder.clear();
        return CloseBuffer(delivery);
    }
}

}  // namespace tessaro
