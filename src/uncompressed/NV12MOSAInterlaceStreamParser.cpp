#include "uncompressed/NV12MOSAInterlaceStreamParser.h"

#include <VideoBufferLayout.h>

namespace tessaro {

uint32_t NV12MOSAInterlaceStreamParser::GetBufferLength() {
    const ConfigParam& c = mConfigParam;
    const uint32_t size = VideoBufferLayout_GetBufferSizeUsed(1, c.mWidth, c.mHeight, 1);
    return BufferLengthFor(kLogTag, 87,
                           {c.mWidth == 0, "mConfigParam.mWidth == 0", 88},
                           {c.mHeight == 0, "mConfigParam.mHeight == 0", 89},
                           size, size);
}

}  // namespace tessaro
