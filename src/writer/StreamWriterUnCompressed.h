// StreamWriterUnCompressed: appends the picture in each graphic buffer to one
// output file. Linear layouts lose their row and plane padding (the file holds
// tightly packed rows); tiled layouts are written as one block of the layout's
// used size. Geometry and layout come from the configuration (mWidth, mHeight,
// mStride, mScanlines, mPixFormat); the buffer's mLength is not looked at.
#pragma once

#include <sys/uio.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "framework/File.h"
#include "framework/TessaroImpl.h"

namespace tessaro {

class StreamWriterUnCompressed : public TessaroImpl {
public:
    // The raw writer logs under the compressed writer's tag.
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamWriter::Compressed";

    ~StreamWriterUnCompressed() override = default;  // closes a file DeInit did not

    // Creates or truncates mOutputFileName; TS_ERROR when it cannot.
    int32_t Init() override;

    // Writes the buffer's picture as mPixFormat lays it out. Write errors are
    // not reported. -3 not running, -4 no buffer, no capacity or not graphic,
    // -2 when the picture reaches past the buffer, TS_ERROR after DeInit.
    int32_t Process(std::shared_ptr<Buffer> buffer) override;

    // Closes the file; the state stays RUNNING. Always TS_OK.
    int32_t DeInit() override;

    // A writer cannot seek: TS_ERROR.
    int32_t Seek() override;

    // Bytes of one picture for mPixFormat (4096 for codes without a size);
    // 0 when not running or without a width or height.
    uint32_t GetBufferLength() override;

private:
    static constexpr uint64_t kRowsPerWrite = 1024;

    File mOutputFile;
    std::vector<iovec> mRowPieces;  // the rows of one run, for the gathered write
};

}  // namespace tessaro
