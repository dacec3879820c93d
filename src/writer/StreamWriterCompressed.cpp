#include "writer/StreamWriterCompressed.h"

namespace tessaro {

int32_t StreamWriterCompressed::Init() {
    TS_LOGI("Init");
    if (mOutputFile.is_open()) mOutputFile.close();
    mOutputFile.open(mConfigParam.mOutputFileName,
                     std::ios_base::out | std::ios_base::binary | std::ios_base::trunc);
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

    const Buffer::Mapping& mapping = mBufferMappings.Acquire(buffer);
    TS_LOGI("Buffer Capacity %d | Filled length %d", static_cast<int>(buffer->capacity()),
            static_cast<int>(buffer->mLength));
    TS_CHECK_TEXT(mapping.vaddr() == nullptr && buffer->mLength != 0, "vaddr == nullptr", 37, -4);
    mOutputFile.write(reinterpret_cast<const char*>(mapping.vaddr()),
                      static_cast<std::streamsize>(buffer->mLength));
    if (mOutputFile.bad() || mOutputFile.fail()) {
        // The text says "read" although this is a write; it is kept as it stands.
        TS_LOGE("Error. Fail to read Input File.");
        return TS_ERROR;
    }
    return TS_OK;
}

int32_t StreamWriterCompressed::DeInit() {
    TS_LOGI("DeInit");
    mBufferMappings.Clear();
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
