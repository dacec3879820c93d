// The run subcommand's command line: which processor, its ConfigParam, where
// the delivered buffers go, the seek to issue and what to report.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <tessaro/ConfigParam.h>

#include "core/Args.h"
#include "core/Keys.h"

namespace tessaro::cli {

struct RunOptions {
    std::string key;
    ProcessorFamily family = ProcessorFamily::Compressed;
    ConfigParam config;           // handed to the producer's SetConfig as it stands

    std::string outputPath;       // through the writer (-o)
    std::string writerKey;        // the writer for -o
    uint32_t writerPixFormat = 255;
    std::string dumpPath;         // delivered bytes straight to a file (--dump)

    bool seek = false;            // issue a seek once seekAfter buffers are done
    uint32_t seekMode = 1;        // 1 nearest sync frame, 2 exact
    uint32_t seekFrame = 0;
    uint64_t seekAfter = 0;

    uint64_t maxBuffers = 0;      // 0: until end of stream
    uint64_t capacity = 0;        // 0: as GetBufferLength asks
    uint32_t bufferType = 0;      // 0 linear, 1 graphic

    bool md5 = false;             // per-buffer lines on stdout
    std::string md5Path;          // ... or into this file
    bool verbose = false;
    bool quiet = false;           // errors only
    bool force = false;           // run a file that looks like another codec
    int progress = -1;            // -1 on a terminal, 0 never, 1 always
};

// Options of "tessaro run", in help order.
const std::vector<OptionSpec>& RunOptionSpecs();

// Builds the options from the arguments after "run". Throws UsageError with a
// one-line reason for anything a run cannot start with.
RunOptions ParseRunOptions(const std::vector<std::string>& args);

}  // namespace tessaro::cli
