// Everything the tool says on stderr about a run: one line per failure
// (printed once, naming the innermost failed check), notes and warnings that
// -q silences.
#pragma once

#include <cstdint>
#include <string>

#include "core/LogRouter.h"

namespace tessaro::cli {

class Reporter {
public:
    Reporter(LogRouter& router, bool quiet) : mRouter(router), mQuiet(quiet) {}

    // Forgets earlier error lines: call before each library call that may fail.
    void Arm() const { mRouter.ClearErrors(); }
    // "tessaro: <what> failed with status N (name): <first failed check>"; returns 1.
    int Failed(const std::string& what, int32_t status) const;
    // "tessaro: <line>"; returns 1.
    int Error(const std::string& line) const;
    // "tessaro: <line>" unless quiet.
    void Note(const std::string& line) const;
    // "tessaro: warning: <line>" unless quiet.
    void Warn(const std::string& line) const;

    LogRouter& router() const { return mRouter; }
    bool quiet() const { return mQuiet; }

private:
    LogRouter& mRouter;
    bool mQuiet;
};

}  // namespace tessaro::cli
