// Ctrl-C during a run: the first SIGINT only raises a flag that the run loop
// checks between buffers (so every output is flushed and closed and the
// partial summary printed); a second one ends the process as usual.
#pragma once

namespace tessaro::cli {

void CatchInterrupt();
bool Interrupted();

// The exit status of a run stopped by SIGINT (128 + SIGINT).
constexpr int kInterruptedStatus = 130;

}  // namespace tessaro::cli
