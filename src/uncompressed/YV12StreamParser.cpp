#include "uncompressed/YV12StreamParser.h"

namespace tessaro {

uint32_t YV12StreamParser::GetBufferLength() {
    const ConfigParam& c = mConfigParam;
    return BufferLengthFor(kLogTag, 67,
                           {c.mWidth == 0, "mConfigParam.mWidth == 0", 68},
                           {c.mHeight == 0, "mConfigParam.mHeight == 0", 69},
                           c.mHeight * c.mWidth + ((c.mHeight + 1) / 2) * ((c.mWidth + 1) & ~1u),
                           c.mHeight * (c.mWidth + c.mWidth / 2));
}

int32_t YV12StreamParser::ReadfromInputFile(std::shared_ptr<Buffer> buffer) {
    TS_LOGI("ReadfromInputFile");
    const ConfigParam& c = mConfigParam;
    const uint64_t pitch = c.mStride;
    const uint64_t chromaPitch = (pitch / 2 + 63) / 64 * 64;
    const RowRun runs[] = {
        {0, c.mHeight, c.mWidth, pitch},
        {uint64_t{c.mHeight} * pitch, c.mHeight, c.mWidth / 2, chromaPitch},
    };
    return ReadPictureRows(buffer, kLogTag, 20, 27, runs, sizeof(runs) / sizeof(runs[0]),
                           mBufferSize);
}

}  // namespace tessaro
