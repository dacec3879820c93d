#include "uncompressed/RGBA32StreamParser.h"

#include <VideoBufferLayout.h>

namespace tessaro {

uint32_t RGBA32StreamParser::GetBufferLength() {
    const ConfigParam& c = mConfigParam;
    return BufferLengthFor(kLogTag, 78,
                           {c.mStride == 0, "mConfigParam.mStride == 0", 79},
                           {c.mScanlines == 0, "mConfigParam.mScanlines == 0", 80},
                           VideoBufferLayout_GetBufferSize(8, c.mStride, c.mScanlines),
                           c.mHeight * c.mWidth * 4);
}

int32_t RGBA32StreamParser::ReadfromInputFile(std::shared_ptr<Buffer> buffer) {
    TS_LOGI("ReadfromInputFile");
    const ConfigParam& c = mConfigParam;
    const uint64_t pitch = 4 * uint64_t{c.mStride};
    const RowRun runs[] = {{0, c.mHeight, 4 * uint64_t{c.mWidth}, pitch}};
    return ReadPictureRows(buffer, kLogTag, 18, 25, runs, sizeof(runs) / sizeof(runs[0]),
                           uint64_t{c.mHeight} * pitch);
}

}  // namespace tessaro
