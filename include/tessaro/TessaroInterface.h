// The public processor interface.
#pragma once

#include <cstdint>
#include <memory>

#include "tessaro/Buffer.h"
#include "tessaro/ConfigParam.h"
#include "tessaro/Export.h"
#include "tessaro/Status.h"

namespace tessaro {

// A processor: a parser, reader, generator or writer obtained from
// TessaroFactory. Call SetConfig (any number of times), Init, then Process once
// per buffer until a buffer comes back flagged EOS (producers) or the client has
// no more data (writers), and finally DeInit. One thread at a time.
class TESSARO_EXPORT TessaroInterface {
public:
    virtual ~TessaroInterface() = default;

    // Merges the set fields of param. Geometry, file names, codec, pixel format,
    // delivery mode, repeat interval, static pattern and loop-forever are taken
    // only before Init; frame rate, frame count, super-frame, flags, output file
    // name and slice lists at any time. While running, non-zero mSeekMode and
    // mSeekFrame request a seek; on success the reached frame is written back
    // into param.mSeekedFrame. Returns TS_OK, or TS_ERROR when the seek failed.
    virtual int32_t SetConfig(ConfigParam& param) = 0;

    // Opens the input or output and moves to STATE::RUNNING on success.
    virtual int32_t Init() = 0;

    // Fills (producers) or drains (writers) one client buffer.
    virtual int32_t Process(std::shared_ptr<Buffer> buffer) = 0;

    // Releases the input or output and resets the running counters.
    virtual int32_t DeInit() = 0;

    // Moves to the configured seek target; processors that cannot seek fail.
    virtual int32_t Seek() = 0;

    // Bytes the client must allocate per buffer; a negative status comes back
    // as its two's-complement value, and 0 means a failed check.
    virtual uint32_t GetBufferLength() = 0;
};

}  // namespace tessaro
