// The writer side of a run: a second processor ("Write/Compressed" or
// "Write/UnCompressed") fed with the producer's buffers, optionally behind
// IVF framing that the tool adds as buffers of its own.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <tessaro/Tessaro.h>

#include "cli/Reporter.h"
#include "core/RunOptions.h"

namespace tessaro::cli {

struct IvfFraming {
    std::string fourcc;  // empty: no framing
    uint16_t width = 0;
    uint16_t height = 0;
};

class WriterSink {
public:
    WriterSink(const RunOptions& options, const Reporter& report) : mOptions(options), mReport(report) {}

    // Takes the writer from the factory, configures and starts it, and writes
    // the IVF file header when framing asks for one. 0, or the exit status.
    int Open(const IvfFraming& framing);
    // Hands over one delivered buffer (its picture data one picture at a time
    // for the raw writer). 0, or the exit status.
    int Write(const std::shared_ptr<Buffer>& buffer);
    // Stops the writer and checks that a regular output file holds every byte
    // handed over. 0, or the exit status.
    int Close();

private:
    int WriteBytes(const uint8_t* data, uint64_t size);
    int Hand(const std::shared_ptr<Buffer>& buffer);
    int WritePictures(const std::shared_ptr<Buffer>& buffer);

    const RunOptions& mOptions;
    const Reporter& mReport;
    std::shared_ptr<TessaroInterface> mWriter;
    bool mIvf = false;
    uint64_t mBytesHanded = 0;  // bytes the compressed writer was given
};

}  // namespace tessaro::cli
