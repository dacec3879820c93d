#include "uncompressed/P010StreamParser.h"

#include <VideoBufferLayout.h>

namespace tessaro {

uint32_t P010StreamParser::GetBufferLength() {
    const ConfigParam& c = mConfigParam;
    return BufferLengthFor(kLogTag, 66,
                           {c.mStride == 0, "mConfigParam.mStride == 0", 67},
                           {c.mScanlines == 0, "mConfigParam.mScanlines == 0", 68},
                           VideoBufferLayout_GetBufferSize(3, c.mStride, c.mScanlines),
                           c.mWidth * (c.mHeight + (c.mHeight + 1) / 2) * 2);
}

int32_t P010StreamParser::ReadfromInputFile(std::shared_ptr<Buffer> buffer) {
    TS_LOGI("ReadfromInputFile");
    const ConfigParam& c = mConfigParam;
    const uint64_t pitch = 2 * uint64_t{c.mStride};
    const uint64_t rowBytes = 2 * uint64_t{c.mWidth};
    const RowRun runs[] = {
        {0, c.mHeight, rowBytes, pitch},
        {uint64_t{c.mScanlines} * pitch, (uint64_t{c.mHeight} + 1) / 2, rowBytes, pitch},
    };
    return ReadPictureRows(buffer, kLogTag, 18, 25, runs, sizeof(runs) / sizeof(runs[0]),
                           mBufferSize);
}

}  // namespace tessaro
