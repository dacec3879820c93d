// StreamParserCompressed::Process: carries out the plan of the next buffer
// (DeliveryPlan.h) with one positioned copy per range from the input into the
// client buffer.
#include <algorithm>

#include "compressed/StreamParserCompressed.h"
#include "compressed/StreamParserCompressedLines.h"

namespace tessaro {

using namespace compressed_lines;

PlannedRead StreamParserCompressed::ReadOf(const FrameInfo& unit, uint64_t offset, uint64_t length,
                                           uint32_t sliceNum) const {
    // The unit that ends the input ends the stream; in slice mode with its last slice.
    const bool eos = unit.mIsLastFrame == 1 && (mSliceMode == 0 || sliceNum == unit.mSliceOffsetTable.size());
    return {offset, length, unit.mIsLastFrame, unit.mLayerId, eos, unit.mFrameType == FRAME_TYPE_CODEC_CONFIG};
}

bool StreamParserCompressed::ForEachConfigUnit(const FrameSpan& span,
                                               const std::function<bool(const FrameInfo&)>& visit) const {
    for (uint32_t k = span.first; k <= span.last && k != 0; ++k) {
        std::vector<FrameInfo> holder;
        const std::vector<FrameInfo>* units = FindFrame(k, holder);
        if (units == nullptr) continue;
        for (const FrameInfo& unit : *units) {
            if (unit.mFrameType == FRAME_TYPE_CODEC_CONFIG && !visit(unit)) return false;
        }
    }
    return true;
}

void StreamParserCompressed::Commit(const PlanState& at, Buffer& buffer) {
    mFetchContent.bufferInfo = at.cursor;
    mFrameCount = at.frameCount;
    if (mIsSeekSet && !at.seekPending) {
        mIsSeekSet = false;
        mConfigParam.mSeekMode = mConfigParam.mSeekFrame = mConfigParam.mSeekedFrame = 0;
    }
    if (at.skipCleared) mConfigParam.mSkipSlices.clear();
    if (at.orderCleared) mConfigParam.mSliceOrder.clear();
    if (at.sliceSkipped) buffer.mSliceSkipped = 1;
}

int32_t StreamParserCompressed::readData(Delivery& delivery, const PlannedRead& read) {
    Buffer& buffer = delivery.buffer;
    TS_LOGI("Buffer Capacity %d | Length to be read %d data offset:%u", static_cast<int>(buffer.capacity()),
            static_cast<int>(read.length), static_cast<uint32_t>(read.offset));
    TS_CHECK_TEXT(buffer.capacity() < read.length, "buffer->capacity() < length", kCapacityBelowLength, -2);
    // Successive reads of one call land one behind the other, so together they
    // must fit as well. With a non-zero mMapOffset every read lands at the start
    // of the buffer and overwrites the one before.
    const bool appends = buffer.mMapOffset == 0;
    TS_CHECK_TEXT(appends && buffer.capacity() - read.length < delivery.total, "buffer->capacity() < length",
                  kCapacityBelowLength, -2);
    const uint64_t at = appends ? delivery.total : 0;
    const ClientBufferIo::Moved moved =
        read.length != 0 ? mClientBuffers.FillFromFile(buffer, at, mInputFile.file(), read.offset, read.length)
                         : ClientBufferIo::Moved{true, 0};
    TS_CHECK_TEXT(!moved.usable, "vaddr == nullptr", kUnmappedBuffer, -2);
    if (moved.bytes < read.length && read.lastFrame == 0) {
        TS_LOGE("Error. Fail to read Input File.");
        return TS_ERROR;
    }
    delivery.total += static_cast<uint32_t>(moved.bytes);
    delivery.layerId = read.layerId;

    uint32_t flags = 0;
    if (read.eos) {
        TS_LOGI("Adding EOS Flag");
        flags |= Buffer::FLAG_EOS;
        mSawEOS = true;
    }
    if (read.codecConfig) {
        TS_LOGI("Adding CODEC_CONFIG Flag");
        flags |= Buffer::FLAG_CODEC_CONFIG;
    }
    buffer.mFlags = flags;
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
    // Whole repeats go out in blocks of up to 64 KiB, one transfer each; a
    // short transfer counts the whole repeats that landed, as one transfer per
    // repeat would.
    uint64_t copied = 0;
    if (span.size() == bytes) {
        const uint64_t perBlock = std::min<uint64_t>(fit, std::max<uint64_t>(1, (64u << 10) / bytes));
        std::vector<uint8_t> block;
        block.reserve(perBlock * bytes);
        for (uint64_t k = 0; k < perBlock; ++k) block.insert(block.end(), span.begin(), span.end());
        while (copied < fit) {
            const uint64_t count = std::min<uint64_t>(perBlock, fit - copied);
            const uint64_t landed =
                mClientBuffers.FillFromMemory(buffer, delivery.total, block.data(), count * bytes).bytes / bytes;
            delivery.total += static_cast<uint32_t>(landed * bytes);
            copied += landed;
            if (landed < count) break;
        }
    }
    return copied == more;
}

int32_t StreamParserCompressed::DeliverSequenceHeaders(Delivery& delivery, const FrameSpan& span) {
    const uint32_t start = delivery.total;
    auto readSpan = [&] {
        return ForEachConfigUnit(span, [&](const FrameInfo& unit) {
            const uint32_t sliceNum = mFetchContent.bufferInfo.sliceNum;
            return readData(delivery, ReadOf(unit, unit.mOffset, unit.mLength, sliceNum)) == TS_OK;
        });
    };
    // A repeat that does not fit is read for real: it fails at the read that
    // overruns the buffer.
    const bool read =
        readSpan() && (span.repeats <= 1 || RepeatSequenceHeaders(delivery, start, span.repeats - 1) || readSpan());
    TS_CHECK_TEXT(!read, "readData(offset, length) != TS_OK", kReadFailed, TS_ERROR);
    return TS_OK;
}

int32_t StreamParserCompressed::CloseBuffer(Delivery& delivery, const PlanStep& close) {
    Buffer& buffer = delivery.buffer;
    if (close.timestamp >= 0) buffer.mTimestamp = static_cast<uint64_t>(close.timestamp);
    if (close.endOfFrame >= 0) buffer.mEndOfFrame = static_cast<uint64_t>(close.endOfFrame);
    buffer.mOffset = 0;
    buffer.mLength = delivery.total;
    buffer.mSliceInfo = delivery.layerId;
    if (close.eos) {
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

    Delivery delivery{*buffer, 0, 0};
    for (const PlanStep& step : PlanDelivery(kProcessRules)) {
        // A step that fails leaves the state it found.
        Commit(step.at, *buffer);
        switch (step.kind) {
            case PlanStep::Kind::kLog:
                __android_log_write(step.priority, kLogTag, step.text.c_str());
                break;
            case PlanStep::Kind::kRead:
                TS_CHECK_TEXT(readData(delivery, step.read) != TS_OK, "readData(offset, length) != TS_OK",
                              kReadFailed, TS_ERROR);
                break;
            case PlanStep::Kind::kPrelude:
                if (DeliverSequenceHeaders(delivery, step.span) != TS_OK) return TS_ERROR;
                break;
            case PlanStep::Kind::kFail:
                return ReportFailure(kLogTag, step.text.c_str(), step.line, TS_ERROR);
            case PlanStep::Kind::kEndOfStream:
                buffer->mFlags = Buffer::FLAG_EOS;
                return TS_OK;
            case PlanStep::Kind::kClose:
                return CloseBuffer(delivery, step);
        }
    }
    return TS_ERROR;  // not reached: every plan ends in kFail, kEndOfStream or kClose
}

}  // namespace tessaro
