#include "tessaro/ProcessorKeys.h"

#include "framework/TessaroFactoryRows.h"

namespace tessaro {

const std::vector<ProcessorKeyInfo>& ProcessorKeys() {
    static const std::vector<ProcessorKeyInfo> keys = [] {
        size_t count = 0;
        const factory::FactoryRow* const rows = factory::FactoryRows(&count);
        std::vector<ProcessorKeyInfo> infos;
        for (size_t i = 0; i < count; ++i) infos.push_back(rows[i].info);
        return infos;
    }();
    return keys;
}

}  // namespace tessaro
