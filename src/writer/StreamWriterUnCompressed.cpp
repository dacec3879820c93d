#include "writer/StreamWriterUnCompressed.h"

#include "framework/BufferMemory.h"
#include "uncompressed/PictureFormat.h"

namespace tessaro {

namespace {

// What the writer does with one mPixFormat code: the picture format whose rows
// (or block) it takes out of the buffer, and the size GetBufferLength reports.
struct WriterFormat {
    uint32_t pixFormat;  // the rows below are in code order, from 1
    const PictureFormat* format;  // null: nothing is written
    SizeRule size;  // kUnset: the format's own buffer size
};

uint32_t EightBytesAPixel(uint32_t w, uint32_t h) { return w * h * 8; }
uint32_t NoSize(uint32_t, uint32_t) { return 4096; }

using S = SizeRule;
constexpr S Layout(uint32_t code) { return S::Layout(code, S::kWidthHeight); }

// Code 12 has no size of its own and reports 4096, like the codes without a
// layout; the tiled RGBA 10:10:10:2 layout has no code. Both are kept so.
const WriterFormat kWriterFormats[] = {
    {1, &formats::kNV12, Layout(0)},
    {2, &formats::kNV12, Layout(2)},  // NV21
    {3, &formats::kYV12, S{}},
    {4, &formats::kP010, Layout(3)},
    {5, &formats::kP210, Layout(6)},
    {6, &formats::kP210Mosa, Layout(7)},
    {7, &formats::kNV12Mosa, S::Used(1, S::kWidthHeight, 0)},
    {8, &formats::kRX10Mosa, S::Used(5, S::kWidthHeight, 0)},
    {9, &formats::kNV12MosaInterlace, S::Used(1, S::kWidthHalfHeight, 1)},
    {10, &formats::kRGBA32, Layout(8)},
    {11, &formats::kRGBAFP16, S::Formula(EightBytesAPixel)},
    {12, &formats::kRGBA1010102, S::Formula(NoSize)},
    {13, &formats::kRGBA32Mosa, Layout(9)},
};
const WriterFormat kNothing{0, nullptr, S::Formula(NoSize)};

const WriterFormat& WriterFormatOf(uint32_t pixFormat) {
    const bool known = pixFormat >= 1 && pixFormat <= sizeof(kWriterFormats) / sizeof(kWriterFormats[0]);
    return known ? kWriterFormats[pixFormat - 1] : kNothing;
}

// The rows the writer takes out of the buffer. YV12 lays its rows at its own
// 64-aligned pitch for mWidth, whatever mStride and mScanlines are.
PictureRuns WriterRuns(const WriterFormat& row, const ConfigParam& c, uint32_t size) {
    if (row.format == nullptr) return {};
    PictureGeometry g{c.mWidth, c.mHeight, c.mStride, c.mScanlines};
    if (row.format->planes == Planes::kPlanarYV12) g.stride = (g.width + 63) / 64 * 64;
    return RunsOf(*row.format, g, size, ChromaRows::kWriter);
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

    const PictureMapping mapping(*buffer);  // for this call only
    const uint32_t size = GetBufferLength();
    const ConfigParam& c = mConfigParam;
    TS_LOGI("mConfigParam.mPixFormat:0x%x Width:%u Height:%u Stride:%u Scanlines:%u Size:0x%x",
            c.mPixFormat, c.mWidth, c.mHeight, c.mStride, c.mScanlines, size);

    const WriterFormat& layout = WriterFormatOf(c.mPixFormat);
    const PictureRuns shape = WriterRuns(layout, c, size);
    const uint64_t end = shape.End();
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

    // The rows (a tiled picture is one) go out in gathered writes straight from
    // the mapping, a thousand rows a call. A failed write stays silent, as it
    // always was.
    size_t rowsWritten = 0;
    ForEachRowBatch(vaddr, shape, kRowsPerWrite, mRowPieces,
                    [&](std::vector<iovec>& pieces, uint64_t, const RowRun& run) {
        rowsWritten += mOutputFile.WriteGathered(pieces) / run.rowBytes;  // whole rows
        return true;
    });
    // The line counts written rows, and only for the two-plane and packed layouts.
    const Planes planes = layout.format->planes;
    if (planes != Planes::kPlanarYV12 && planes != Planes::kBlock && rowsWritten != 0) {
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
    const ConfigParam& c = mConfigParam;
    const WriterFormat& row = WriterFormatOf(c.mPixFormat);
    const PictureGeometry g{c.mWidth, c.mHeight, c.mStride, c.mScanlines};
    return row.size.kind == SizeRule::kUnset ? row.format->bufferSize.Of(g) : row.size.Of(g);
}

}  // namespace tessaro
