// What the tool checks and learns about a run's input before and after Init:
// that the file can be read and looks like the key's codec, the IVF framing of
// the output, and how many frames the run will deliver.
#pragma once

#include <cstdint>

#include <tessaro/Tessaro.h>

#include "cli/Reporter.h"
#include "cli/WriterSink.h"
#include "core/RunOptions.h"

namespace tessaro::cli {

// 0 when the run may start (framing filled for an .ivf output), else the exit
// status after one line: 1 for an input that cannot be opened, is empty or is
// another codec (unless --force), 2 for an output framing that cannot hold it.
int CheckInput(const RunOptions& options, const Reporter& report, IvfFraming* framing);

// Frames the run is expected to deliver, known after Init; 0 when unknown.
uint64_t ExpectedFrames(const TessaroInterface& producer, const RunOptions& options);

}  // namespace tessaro::cli
