#include "uncompressed/NV12StreamParser.h"

#include <VideoBufferLayout.h>

namespace tessaro {

uint32_t NV12StreamParser::GetBufferLength() {
    const ConfigParam& c = mConfigParam;
    return BufferLengthFor(kLogTag, 66,
                           {c.mStride == 0, "mConfigParam.mStride == 0", 67},
                           {c.mScanlines == 0, "mConfigParam.mScanlines == 0", 68},
                           VideoBufferLayout_GetBufferSize(0, c.mStride, c.mScanlines),
                           (c.mHeight + (c.mHeight + 1) / 2) * c.mWidth);
}

int32_t NV12StreamParser::ReadfromInputFile(std::shared_ptr<Buffer> buffer) {
    TS_LOGI("ReadfromInputFile");
    const ConfigParam& c = mConfigParam;
    const uint64_t pitch = c.mStride;
    const RowRun runs[] = {
        {0, c.mHeight, c.mWidth, pitch},
        {uint64_t{c.mScanlines} * pitch, (uint64_t{c.mHeight} + 1) / 2, c.mWidth, pitch},
    };
    return ReadPictureRows(buffer, kLogTag, 18, 25, runs, sizeof(runs) / sizeof(runs[0]),
                           mBufferSize);
}

}  // namespace tessaro
