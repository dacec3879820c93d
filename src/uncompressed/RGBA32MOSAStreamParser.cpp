#include "uncompressed/RGBA32MOSAStreamParser.h"

#include <VideoBufferLayout.h>

namespace tessaro {

uint32_t RGBA32MOSAStreamParser::GetBufferLength() {
    const ConfigParam& c = mConfigParam;
    const uint32_t size = VideoBufferLayout_GetBufferSize(9, c.mStride, c.mScanlines);
    return BufferLengthFor(kLogTag, 45,
                           {c.mStride == 0, "mConfigParam.mStride == 0", 46},
                           {c.mScanlines == 0, "mConfigParam.mScanlines == 0", 47},
                           size, size);
}

int32_t RGBA32MOSAStreamParser::ReadfromInputFile(std::shared_ptr<Buffer> buffer) {
    TS_LOGI("ReadfromInputFile");
    const RowRun picture[] = {{0, 1, mBufferSize, 0}};
    return ReadPictureRows(buffer, kLogTag, 18, 25, picture, 1, mBufferSize);
}

}  // namespace tessaro
