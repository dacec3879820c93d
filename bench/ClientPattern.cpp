#include "ClientPattern.h"

#include "tessaro/ClientBuffer.h"

namespace bench {
namespace {

struct Named {
    const char* name;
    Pattern pattern;
};
constexpr Named kPatterns[] = {{"fixed", Pattern::kFixed},
                               {"pool", Pattern::kPool},
                               {"exact", Pattern::kExact},
                               {"fresh", Pattern::kFresh}};

}  // namespace

bool ParsePattern(const std::string& name, Pattern* pattern) {
    for (const Named& named : kPatterns) {
        if (name == named.name) {
            *pattern = named.pattern;
            return true;
        }
    }
    return false;
}

const char* PatternName(Pattern pattern) {
    for (const Named& named : kPatterns) {
        if (named.pattern == pattern) return named.name;
    }
    return "?";
}

ClientPattern::ClientPattern(Pattern pattern, uint64_t capacity, uint32_t type)
    : mPattern(pattern), mType(type) {
    const int made = pattern == Pattern::kPool ? kPoolSize : pattern == Pattern::kFresh ? 0 : 1;
    for (int i = 0; i < made; ++i) mPool[i] = tessaro::MakeMemfdBuffer(capacity, type);
}

std::shared_ptr<tessaro::Buffer> ClientPattern::Next(uint64_t needed) {
    switch (mPattern) {
        case Pattern::kFixed:
            return mPool[0];
        case Pattern::kPool:
            mTurn = (mTurn + 1) % kPoolSize;
            return mPool[mTurn];
        case Pattern::kExact:
            if (mPool[0]) mPool[0]->mCapacity = needed;
            return mPool[0];
        case Pattern::kFresh:
            return tessaro::MakeMemfdBuffer(needed, mType);
    }
    return nullptr;
}

}  // namespace bench
