#include "core/Keys.h"

namespace tessaro::cli {

const ProcessorKeyInfo* FindKey(const std::string& key) {
    for (const auto& info : ProcessorKeys()) {
        if (key == info.key) return &info;
    }
    return nullptr;
}

const char* FamilyName(ProcessorFamily family) {
    switch (family) {
        case ProcessorFamily::Compressed: return "compressed parser";
        case ProcessorFamily::Raw: return "raw reader";
        case ProcessorFamily::Pattern: return "pattern generator";
        case ProcessorFamily::Container: return "container parser";
        case ProcessorFamily::Writer: return "writer";
    }
    return "?";
}

}  // namespace tessaro::cli
