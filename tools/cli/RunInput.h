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

// 0, or 1 after one line for an input name the key's parser cannot take
// ("Parse/VPX" throws on a name without a '.').
int CheckInputName(const std::string& key, const std::string& path, const Reporter& report);

// Frames the run is expected to deliver, known after Init; 0 when unknown.
uint64_t ExpectedFrames(const TessaroInterface& producer, const RunOptions& options);

}  // namespace tessaro::cli
