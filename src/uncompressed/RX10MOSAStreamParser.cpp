#include "uncompressed/RX10MOSAStreamParser.h"

#include <VideoBufferLayout.h>

namespace tessaro {

uint32_t RX10MOSAStreamParser::GetBufferLength() {
    const ConfigParam& c = mConfigParam;
    const uint32_t size = VideoBufferLayout_GetBufferSizeUsed(5, c.mWidth, c.mHeight, 0);
    return BufferLengthFor(kLogTag, 66,
                           {c.mWidth == 0, "mConfigParam.mWidth == 0", 67},
                           {c.mHeight == 0, "mConfigParam.mHeight == 0", 68},
                           size, size);
}

}  // namespace tessaro
