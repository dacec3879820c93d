#include "uncompressed/RGBAFP16StreamParser.h"

#include <VideoBufferLayout.h>

namespace tessaro {

uint32_t RGBAFP16StreamParser::GetBufferLength() {
    // Counted at 4 bytes a pixel although the file holds 8: this only moves
    // where EOS falls and where backward reads land, and is kept so.
    const ConfigParam& c = mConfigParam;
    return BufferLengthFor(kLogTag, 120,
                           {c.mStride == 0, "mConfigParam.mStride == 0", 121},
                           {c.mScanlines == 0, "mConfigParam.mScanlines == 0", 122},
                           VideoBufferLayout_GetBufferSize(13, c.mStride, c.mScanlines),
                           c.mHeight * c.mWidth * 4);
}

int32_t RGBAFP16StreamParser::ReadfromInputFile(std::shared_ptr<Buffer> buffer) {
    TS_LOGI("ReadfromInputFile");
    const ConfigParam& c = mConfigParam;
    const uint64_t pitch = 8 * uint64_t{c.mStride};
    const RowRun runs[] = {{0, c.mHeight, 8 * uint64_t{c.mWidth}, pitch}};
    return ReadPictureRows(buffer, kLogTag, 48, 55, runs, sizeof(runs) / sizeof(runs[0]),
                           uint64_t{c.mHeight} * pitch);
}

}  // namespace tessaro
