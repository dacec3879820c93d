#include "uncompressed/P210PatternGenerator.h"

namespace tessaro {

uint32_t P210PatternGenerator::GetBufferLength() {
    return PatternBufferLength(6, 312,
                               {mConfigParam.mStride == 0, "mConfigParam.mStride == 0", 313},
                               {mConfigParam.mScanlines == 0, "mConfigParam.mScanlines == 0", 314});
}

int32_t P210PatternGenerator::ReadfromInputFile(std::shared_ptr<Buffer> buffer) {
    return DrawYuvPattern(buffer, 6, false, true, 251, 258);
}

}  // namespace tessaro
