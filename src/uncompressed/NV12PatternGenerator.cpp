#include "uncompressed/NV12PatternGenerator.h"

namespace tessaro {

uint32_t NV12PatternGenerator::GetBufferLength() {
    return PatternBufferLength(0, 148,
                               {mConfigParam.mStride == 0, "mConfigParam.mStride == 0", 149},
                               {mConfigParam.mScanlines == 0, "mConfigParam.mScanlines == 0", 150});
}

int32_t NV12PatternGenerator::ReadfromInputFile(std::shared_ptr<Buffer> buffer) {
    return DrawYuvPattern(buffer, 0, true, false, 86, 93);
}

}  // namespace tessaro
