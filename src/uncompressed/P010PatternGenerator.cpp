#include "uncompressed/P010PatternGenerator.h"

namespace tessaro {

uint32_t P010PatternGenerator::GetBufferLength() {
    return PatternBufferLength(3, 231,
                               {mConfigParam.mStride == 0, "mConfigParam.mStride == 0", 232},
                               {mConfigParam.mScanlines == 0, "mConfigParam.mScanlines == 0", 233});
}

int32_t P010PatternGenerator::ReadfromInputFile(std::shared_ptr<Buffer> buffer) {
    return DrawYuvPattern(buffer, 3, false, false, 168, 175);
}

}  // namespace tessaro
