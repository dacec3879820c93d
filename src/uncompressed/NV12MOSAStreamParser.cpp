#include "uncompressed/NV12MOSAStreamParser.h"

#include <VideoBufferLayout.h>

namespace tessaro {

uint32_t NV12MOSAStreamParser::GetBufferLength() {
    const ConfigParam& c = mConfigParam;
    const uint32_t size = VideoBufferLayout_GetBufferSizeUsed(1, c.mWidth, c.mHeight, 0);
    return BufferLengthFor(kLogTag, 45,
                           {c.mWidth == 0, "mConfigParam.mWidth == 0", 46},
                           {c.mHeight == 0, "mConfigParam.mHeight == 0", 47},
                           size, size);
}

int32_t NV12MOSAStreamParser::ReadfromInputFile(std::shared_ptr<Buffer> buffer) {
    TS_LOGI("ReadfromInputFile");
    const RowRun picture[] = {{0, 1, mBufferSize, 0}};
    return ReadPictureRows(buffer, kLogTag, 18, 25, picture, 1, mBufferSize);
}

}  // namespace tessaro
