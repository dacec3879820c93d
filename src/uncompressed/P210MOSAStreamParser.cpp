#include "uncompressed/P210MOSAStreamParser.h"

#include <VideoBufferLayout.h>

namespace tessaro {

uint32_t P210MOSAStreamParser::GetBufferLength() {
    const ConfigParam& c = mConfigParam;
    const uint32_t size = VideoBufferLayout_GetBufferSizeUsed(7, c.mWidth, c.mHeight, 0);
    return BufferLengthFor(kLogTag, 45,
                           {c.mWidth == 0, "mConfigParam.mWidth == 0", 46},
                           {c.mHeight == 0, "mConfigParam.mHeight == 0", 47},
                           size, size);
}

int32_t P210MOSAStreamParser::ReadfromInputFile(std::shared_ptr<Buffer> buffer) {
    TS_LOGI("ReadfromInputFile: frame size %d", static_cast<int>(mBufferSize));
    const RowRun picture[] = {{0, 1, mBufferSize, 0}};
    return ReadPictureRows(buffer, kLogTag, 18, 25, picture, 1, mBufferSize);
}

}  // namespace tessaro
