#include "writer/StreamWriterUnCompressed.h"

#include <VideoBufferLayout.h>

#include "uncompressed/RowRun.h"

namespace tessaro {

namespace {

uint64_t AlignUp64(uint64_t value) { return (value + 63) / 64 * 64; }

// What the writer takes out of a buffer for one pixel-format code: up to two
// runs of rows, or one block of the picture size from the buffer's start.
struct PictureShape {
    RowRun runs[2] = {};
    size_t runCount = 0;
    bool block = false;
    bool logRowCount = false;  // the "bufferSize" line counts written rows
};

PictureShape ShapeFor(const ConfigParam& c, uint32_t size) {
    const uint64_t width = c.mWidth;
    const uint64_t height = c.mHeight;
    const uint64_t stride = c.mStride;
    const uint64_t scanlines = c.mScanlines;
    PictureShape shape;
    auto twoPlanes = [&](uint64_t bytesPerSample, uint64_t chromaRows) {
        const uint64_t pitch = bytesPerSample * stride;
        shape.runs[0] = {0, height, bytesPerSample * width, pitch};
        shape.runs[1] = {scanlines * pitch, height >= 2 ? chromaRows : 0, bytesPerSample * width,
                         pitch};
        shape.runCount = 2;
        shape.logRowCount = true;
    };
    auto onePlane = [&](uint64_t bytesPerPixel) {
        shape.runs[0] = {0, height, bytesPerPixel * width, bytesPerPixel * stride};
        shape.runCount = 1;
        shape.logRowCount = true;
    };
    switch (c.mPixFormat) {
        case 1:  // NV12
        case 2:  // NV21
            twoPlanes(1, height / 2);
            break;
        case 3: {  // YV12: its own 64-aligned pitches, both chroma planes in one run
            const uint64_t lumaPitch = AlignUp64(width);
            const uint64_t chromaPitch = AlignUp64(lumaPitch / 2);
            shape.runs[0] = {0, height, width, lumaPitch};
            shape.runs[1] = {height * lumaPitch, height, width / 2, chromaPitch};
            shape.runCount = 2;
            break;
        }
        case 4:  // P010
            twoPlanes(2, height / 2);
            break;
        case 5:  // P210
            twoPlanes(2, height);
            break;
        case 10:  // RGBA32
        case 12:  // RGBA1010102
            onePlane(4);
            break;
        case 11:  // RGBAFP16
            onePlane(8);
            break;
        case 6:
        case 7:
        case 8:
        case 9:
        case 13:  // tiled layouts
            shape.runs[0] = {0, 1, size, 0};
            shape.runCount = 1;
            shape.block = true;
            break;
        default:  // nothing to write
            break;
    }
    return shape;
}

}  // namespace

int32_t StreamWriterUnCompressed::Init() {
    TS_LOGI("Init");
    // A second Init starts a new file; the earlier one is closed, not leaked.
    mOutputFile.Close();
    TS_CHECK_TEXT(!mOutputFile.OpenForWriting(mConfigParam.mOutputFileName, true),
                  "mOutputFile == nullptr", 23, TS_ERROR);
    mState = STATE::RUNNING;
    return TS_OK;
}

int32_t StreamWriterUnCompressed::Process(std::shared_ptr<Buffer> buffer) {
    TS_LOGI("Process");
    TS_CHECK(mState != STATE::RUNNING, 31, -3);
    TS_CHECK(buffer == nullptr, 33, -4);
    TS_CHECK(buffer->capacity() == 0, 34, -4);
    TS_CHECK(buffer->isGraphic() == false, 35, -4);
    // After DeInit there is no file to write to; the compressed writer reports
    // its failed write in the same words.
    if (!mOutputFile.IsOpen()) {
        TS_LOGE("Error. Fail to read Input File.");
        return TS_ERROR;
    }

    const Buffer::Mapping mapping(*buffer);  // for this call only
    const uint32_t size = GetBufferLength();
    const ConfigParam& c = mConfigParam;
    TS_LOGI("mConfigParam.mPixFormat:0x%x Width:%u Height:%u Stride:%u Scanlines:%u Size:0x%x",
            c.mPixFormat, c.mWidth, c.mHeight, c.mStride, c.mScanlines, size);

    const PictureShape shape = ShapeFor(c, size);
    const uint64_t end = RowRunsEnd(shape.runs, shape.runCount);
    if (end == 0) return TS_OK;
    const uint8_t* const vaddr = mapping.vaddr();
    if (vaddr == nullptr) {
        TS_LOGE("Invalid Source Address");
        return -2;
    }
    if (end > buffer->capacity()) {
        TS_LOGE("Error. Picture does not fit in the buffer.");
        return -2;
    }

    // The rows of a picture go out in gathered writes straight from the
    // mapping, a thousand rows a call. A failed write stays silent, as it
    // always was.
    mRowPieces.clear();
    if (shape.block) {
        mRowPieces.push_back(iovec{const_cast<uint8_t*>(vaddr), shape.runs[0].rowBytes});
        mOutputFile.WriteGathered(mRowPieces);
        return TS_OK;
    }
    size_t rowsWritten = 0;
    for (size_t r = 0; r < shape.runCount; ++r) {
        const RowRun& run = shape.runs[r];
        if (run.rowBytes == 0) continue;
        for (uint64_t row = 0; row < run.rows; row += kRowsPerWrite) {
            const uint64_t count = run.rows - row < kRowsPerWrite ? run.rows - row : kRowsPerWrite;
            mRowPieces.clear();
            AppendRowPieces(vaddr, run, row, count, mRowPieces);
            rowsWritten += mOutputFile.WriteGathered(mRowPieces) / run.rowBytes;  // whole rows
        }
    }
    if (shape.logRowCount && rowsWritten != 0) {
        TS_LOGI("bufferSize: 0x%x", static_cast<unsigned>(rowsWritten));
    }
    return TS_OK;
}

int32_t StreamWriterUnCompressed::DeInit() {
    TS_LOGI("DeInit");
    mClientBuffers.Release();
    // Closed once; a second DeInit finds nothing to close.
    mOutputFile.Close();
    return TS_OK;
}

int32_t StreamWriterUnCompressed::Seek() {
    TS_LOGE("Error. Seek is not present for StreamWriter");
    return TS_ERROR;
}

uint32_t StreamWriterUnCompressed::GetBufferLength() {
    TS_LOGI("GetBufferLength");
    TS_CHECK(mState != STATE::RUNNING, 160, 0);
    TS_CHECK(mConfigParam.mWidth == 0, 161, 0);
    TS_CHECK(mConfigParam.mHeight == 0, 162, 0);
    const uint32_t w = mConfigParam.mWidth;
    const uint32_t h = mConfigParam.mHeight;
    switch (mConfigParam.mPixFormat) {
        case 1: return VideoBufferLayout_GetBufferSize(0, w, h);
        case 2: return VideoBufferLayout_GetBufferSize(2, w, h);
        case 3: return h * w + ((h + 1) / 2) * ((w + 1) & ~1u);
        case 4: return VideoBufferLayout_GetBufferSize(3, w, h);
        case 5: return VideoBufferLayout_GetBufferSize(6, w, h);
        case 6: return VideoBufferLayout_GetBufferSize(7, w, h);
        case 7: return VideoBufferLayout_GetBufferSizeUsed(1, w, h, 0);
        case 8: return VideoBufferLayout_GetBufferSizeUsed(5, w, h, 0);
        case 9: return VideoBufferLayout_GetBufferSizeUsed(1, w, h / 2, 1);
        case 10: return VideoBufferLayout_GetBufferSize(8, w, h);
        case 11: return w * h * 8;
        case 13: return VideoBufferLayout_GetBufferSize(9, w, h);
        default: return 4096;  // code 12 included: it has no size of its own
    }
}

}  // namespace tessaro
