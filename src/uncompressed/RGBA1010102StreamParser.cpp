#include "uncompressed/RGBA1010102StreamParser.h"

#include <VideoBufferLayout.h>

namespace tessaro {

uint32_t RGBA1010102StreamParser::GetBufferLength() {
    // Counted at 8 bytes a pixel although the file holds 4: this only moves
    // where EOS falls and where backward reads land, and is kept so.
    const ConfigParam& c = mConfigParam;
    return BufferLengthFor(kLogTag, 99,
                           {c.mStride == 0, "mConfigParam.mStride == 0", 100},
                           {c.mScanlines == 0, "mConfigParam.mScanlines == 0", 101},
                           VideoBufferLayout_GetBufferSize(12, c.mStride, c.mScanlines),
                           c.mHeight * c.mWidth * 8);
}

}  // namespace tessaro
