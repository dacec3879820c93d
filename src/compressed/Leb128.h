// LEB128 decoding, written once and fed one byte at a time, so that the same
// steps serve a value held in memory and a value read from the input file.
#pragma once

#include <cstdint>

namespace tessaro {

// An unsigned LEB128 value: one to eight bytes, least significant group first,
// seven bits per byte, bit 7 set on every byte but the last. Values above
// 0xFFFFFFFF are refused.
class Leb128Decoder {
public:
    static constexpr uint32_t kMaxBytes = 8;
    static constexpr uint64_t kMaxValue = 0xFFFFFFFFull;

    enum class Step {
        kNeedMore,  // bit 7 was set and fewer than eight bytes are in
        kDone,      // the value is complete and within range
        kInvalid,   // the eighth byte still had bit 7 set, or the value is too large
    };

    // Adds the next byte. After kDone or kInvalid no further byte may be pushed.
    Step Push(uint8_t byte) {
        mValue |= static_cast<uint64_t>(byte & 0x7F) << (7 * mLength);
        ++mLength;
        if (byte & 0x80) {
            return mLength < kMaxBytes ? Step::kNeedMore : Step::kInvalid;
        }
        return mValue > kMaxValue ? Step::kInvalid : Step::kDone;
    }

    // Pushes the bytes nextByte(byte) hands out (false: no byte left) until
    // the value ends; returns the last step, kNeedMore when the bytes ran out.
    template <class NextByte>
    Step Decode(NextByte nextByte) {
        Step step = Step::kNeedMore;
        uint8_t byte = 0;
        while (step == Step::kNeedMore && nextByte(byte)) step = Push(byte);
        return step;
    }

    // The value decoded so far (the partial value after a failure).
    uint64_t value() const { return mValue; }
    // Bytes pushed so far.
    uint32_t length() const { return mLength; }

private:
    uint64_t mValue = 0;
    uint32_t mLength = 0;
};

}  // namespace tessaro
