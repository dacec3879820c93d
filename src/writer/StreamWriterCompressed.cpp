#include "writer/StreamWriterCompressed.h"

namespace tessaro {

int32_t StreamWriterCompressed::Init() {
    TS_LOGI("Init");
    if (mOutputFile.is_open()) mOutputFile.close();
    mOutputFile.open(mConfigParam.mOutputFileName);
    TS_CHECK(mOutputFile.is_open() == false, 23, TS_ERROR);
    mState = STATE::RUNNING;
    return TS_OK;
}

int32_t StreamWriterCompressed::Process(std::shared_ptr<Buffer> buffer) {
    TS_LOGI("Process");
    TS_CHECK(mState != STATE::RUNNING, 31, -3);
    TS_CHECK(buffer == nullptr, 33, -4);
    TS_CHECK(buffer->capacity() == 0, 34, -4);
    TS_CHECK(buffer->isLinear() == false, 35, -4);
    // The valid bytes must lie inside the buffer, or the write would read past
    // the mapping.
    TS_CHECK(buffer->mLength > buffer->capacity(), 36, -4);

    TS_LOGI("Buffer Capacity %d | Filled length %d", static_cast<int>(buffer->capacity()),
            static_cast<int>(buffer->mLength));
    if (buffer->mLength == 0) {
        mOutputFile.write(nullptr, 0);  // nothing to move, but a failed stream still fails
    } else {
        const ClientBufferIo::Moved moved = mClientBuffers.Drain(
            *buffer, 0, buffer->mLength, [this](const uint8_t* bytes, uint64_t count) {
                return !mOutputFile.write(bytes, count).fail();
            });
        TS_CHECK_TEXT(!moved.usable, "vaddr == nullptr", 37, -4);
    }
    if (mOutputFile.bad() || mOutputFile.fail()) {
        // The text says "read" although this is a write; it is kept as it stands.
        TS_LOGE("Error. Fail to read Input File.");
        return TS_ERROR;
    }
    return TS_OK;
}

int32_t StreamWriterCompressed::DeInit() {
    TS_LOGI("DeInit");
    mClientBuffers.Release();
    mOutputFile.close();
    return TS_OK;
}

int32_t StreamWriterCompressed::Seek() {
    TS_LOGE("Error. Seek is not present for StreamWriter");
    return TS_ERROR;
}

uint32_t StreamWriterCompressed::GetBufferLength() {
    TS_LOGE("Error. GetBufferLength is not present for StreamWriter");
    return 0;
}

}  // namespace tessaro
