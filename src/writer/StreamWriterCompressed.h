// StreamWriterCompressed: appends the valid bytes of each linear client buffer
// to one output file, back to back, with no framing of its own: the output is
// the elementary stream exactly as the buffers carried it.
#pragma once

#include <cstdint>
#include <memory>

#include "framework/OutputStream.h"
#include "framework/TessaroImpl.h"

namespace tessaro {

class StreamWriterCompressed : public TessaroImpl {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamWriter::Compressed";

    StreamWriterCompressed() = default;
    ~StreamWriterCompressed() override = default;

    // Opens (truncating) mConfigParam.mOutputFileName; RUNNING on success.
    // A second Init reopens and truncates the file.
    int32_t Init() override;
    // Appends mLength bytes from the start of the buffer. Flags and timestamp
    // are ignored. TS_ERROR once a write has failed (or after DeInit).
    int32_t Process(std::shared_ptr<Buffer> buffer) override;
    // Closes the file; the state stays RUNNING. Always TS_OK.
    int32_t DeInit() override;
    // Writers cannot seek: TS_ERROR.
    int32_t Seek() override;
    // Writers need no particular size: 0.
    uint32_t GetBufferLength() override;

private:
    OutputStream mOutputFile;
};

}  // namespace tessaro
