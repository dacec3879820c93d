// How a harness hands its buffers over, call after call: the four patterns the
// benchmark measures, shared by the driver and the floor program so that both
// do the same client work.
//
//   fixed  one memfd of one fixed capacity, handed back every call
//   pool   four memfds of that capacity in turn (a codec's input queue)
//   exact  one memfd, mCapacity set to the size asked for before each call
//   fresh  a memfd created and sized to the size asked for every call, closed
//          by the client after the call
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tessaro/Buffer.h"

namespace bench {

enum class Pattern { kFixed, kPool, kExact, kFresh };

// The pattern a name stands for; false for an unknown name.
bool ParsePattern(const std::string& name, Pattern* pattern);
const char* PatternName(Pattern pattern);

class ClientPattern {
public:
    // capacity: the fixed capacity (fixed, pool) and the memory behind the
    // exact pattern's buffer. type: 0 linear, 1 graphic.
    ClientPattern(Pattern pattern, uint64_t capacity, uint32_t type);

    // Whether Next() wants the size the next call needs.
    bool NeedsSize() const { return mPattern == Pattern::kExact || mPattern == Pattern::kFresh; }
    // The buffer for the next call, null when memory cannot be had. needed is
    // the size the producer asked for (exact and fresh only).
    std::shared_ptr<tessaro::Buffer> Next(uint64_t needed);

private:
    static constexpr int kPoolSize = 4;

    Pattern mPattern;
    uint32_t mType;
    std::shared_ptr<tessaro::Buffer> mPool[kPoolSize];
    int mTurn = 0;
};

}  // namespace bench
