#include "uncompressed/RGBA1010102MOSAStreamParser.h"

#include <VideoBufferLayout.h>

namespace tessaro {

uint32_t RGBA1010102MOSAStreamParser::GetBufferLength() {
    const ConfigParam& c = mConfigParam;
    const uint32_t size = VideoBufferLayout_GetBufferSize(11, c.mStride, c.mScanlines);
    return BufferLengthFor(kLogTag, 66,
                           {c.mStride == 0, "mConfigParam.mStride == 0", 67},
                           {c.mScanlines == 0, "mConfigParam.mScanlines == 0", 68},
                           size, size);
}

}  // namespace tessaro
