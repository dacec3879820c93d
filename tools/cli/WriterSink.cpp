#include "cli/WriterSink.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cli/BufferView.h"
#include "core/Geometry.h"
#include "core/Ivf.h"

namespace tessaro::cli {
namespace {

// Why a file cannot be written, asked of the system after the writer failed.
std::string WhyNotWritable(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "ab");
    if (file == nullptr) return std::strerror(errno);
    std::fclose(file);
    return "the writer failed";
}

}  // namespace

int WriterSink::Open(const IvfFraming& framing) {
    const std::string& key = mOptions.writerKey;
    mWriter = TessaroFactory::getInstance()->getProcessorInstance(key);
    if (!mWriter) return mReport.Error("the library has no processor for " + key);
    ConfigParam c{};
    c.mOutputFileName = mOptions.outputPath;
    c.mWidth = mOptions.config.mWidth;
    c.mHeight = mOptions.config.mHeight;
    c.mStride = mOptions.config.mStride;
    c.mScanlines = mOptions.config.mScanlines;
    c.mPixFormat = mOptions.writerPixFormat;
    mReport.Arm();
    int32_t status = mWriter->SetConfig(c);
    if (status != TS_OK) return mReport.Failed(key + " SetConfig", status);
    status = mWriter->Init();
    if (status != TS_OK) {
        mWriter.reset();
        return mReport.Error("cannot write " + mOptions.outputPath + ": " + WhyNotWritable(mOptions.outputPath));
    }
    if (framing.fourcc.empty()) return 0;
    mIvf = true;
    const auto header = IvfFileHeader(framing.fourcc, framing.width, framing.height);
    return WriteBytes(header.data(), header.size());
}

int WriterSink::Write(const std::shared_ptr<Buffer>& buffer) {
    if (FillsGraphicBuffers(mOptions.family)) return WritePictures(buffer);
    if (mIvf) {
        const auto header = IvfFrameHeader(uint32_t(buffer->mLength), buffer->mTimestamp);
        if (const int result = WriteBytes(header.data(), header.size()); result != 0) return result;
    }
    mBytesHanded += buffer->mLength;
    return Hand(buffer);
}

int WriterSink::Hand(const std::shared_ptr<Buffer>& buffer) {
    mReport.Arm();
    const int32_t status = mWriter->Process(buffer);
    if (status == TS_OK) return 0;
    const int error = errno;
    if (mReport.router().firstErrorMessage() == "Error. Fail to read Input File.") {
        return mReport.Error("cannot write " + mOptions.outputPath + ": " + std::strerror(error != 0 ? error : EIO));
    }
    return mReport.Failed(mOptions.writerKey + " Process", status);
}

int WriterSink::WriteBytes(const uint8_t* data, uint64_t size) {
    auto bytes = MakeMemfdBuffer(size, 0);
    if (!bytes) return mReport.Error(std::string("cannot make a buffer: ") + std::strerror(errno));
    {
        Buffer::Mapping mapping(*bytes);
        if (mapping.vaddr() == nullptr) return mReport.Error("cannot map a buffer of " + std::to_string(size) + " bytes");
        std::memcpy(mapping.vaddr(), data, size);
    }
    bytes->mLength = size;
    mBytesHanded += size;
    return Hand(bytes);
}

// Several pictures in one raw buffer go to the raw writer one by one, since
// it writes one picture per call.
int WriterSink::WritePictures(const std::shared_ptr<Buffer>& buffer) {
    const uint32_t pictures = mOptions.config.mSuperFrame;
    if (pictures <= 1) return Hand(buffer);
    const uint64_t pictureBytes = buffer->mLength / pictures;
    BufferView view(*buffer);
    if (!view.ok()) return mReport.Error("cannot map a delivered buffer");
    ConfigParam one = mOptions.config;
    one.mSuperFrame = 1;
    const uint64_t capacity = RawCapacity(mOptions.key, one, pictureBytes);
    auto single = MakeMemfdBuffer(capacity, buffer->mType);
    if (!single) return mReport.Error(std::string("cannot make a buffer: ") + std::strerror(errno));
    for (uint32_t i = 0; i < pictures; ++i) {
        {
            Buffer::Mapping mapping(*single);
            if (mapping.vaddr() == nullptr) return mReport.Error("cannot map a writer buffer");
            const uint64_t at = i * pictureBytes, left = view.size() - at;
            std::memcpy(mapping.vaddr(), view.data() + at, left < capacity ? left : capacity);
        }
        single->mLength = pictureBytes;
        if (const int result = Hand(single); result != 0) return result;
    }
    return 0;
}

int WriterSink::Close() {
    if (!mWriter) return 0;
    mWriter->DeInit();
    mWriter.reset();
    if (FillsGraphicBuffers(mOptions.family)) return 0;
    struct stat info {};
    if (stat(mOptions.outputPath.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return 0;
    if (uint64_t(info.st_size) == mBytesHanded) return 0;
    return mReport.Error("cannot write " + mOptions.outputPath + ": " + std::to_string(info.st_size) + " of " +
                         std::to_string(mBytesHanded) + " bytes reached the file");
}

}  // namespace tessaro::cli
