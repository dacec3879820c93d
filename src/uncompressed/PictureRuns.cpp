// Where the rows of one picture lie in a client buffer, per plane layout.
#include "uncompressed/PictureFormat.h"

namespace tessaro {

uint64_t RowRun::End() const {
    if (rows == 0 || rowBytes == 0) return 0;
    const unsigned __int128 end = static_cast<unsigned __int128>(offset) +
                                  static_cast<unsigned __int128>(rows - 1) * pitch + rowBytes;
    return end > UINT64_MAX ? UINT64_MAX : static_cast<uint64_t>(end);
}

uint64_t PictureRuns::End() const {
    uint64_t end = 0;
    for (size_t i = 0; i < count; ++i) end = runs[i].End() > end ? runs[i].End() : end;
    return end;
}

PictureRuns RunsOf(const PictureFormat& format, const PictureGeometry& g, uint64_t blockSize,
                   ChromaRows chroma) {
    PictureRuns p;
    p.pictureDistance = blockSize;
    if (format.planes == Planes::kBlock) {
        p.runs[p.count++] = {0, 1, blockSize, 0};
        return p;
    }
    const uint64_t pitch = format.bytesPerPixel * g.stride;
    const uint64_t rowBytes = format.bytesPerPixel * g.width;
    p.runs[p.count++] = {0, g.height, rowBytes, pitch};
    switch (format.planes) {
        case Planes::kPacked:
            p.pictureDistance = g.height * pitch;
            break;
        case Planes::kPlanarYV12:
            p.runs[p.count++] = {g.height * pitch, g.height, g.width / 2, (pitch / 2 + 63) / 64 * 64};
            break;
        default: {
            const bool half = format.planes == Planes::kSemiPlanar420;
            uint64_t rows = half ? (g.height + 1) / 2 : g.height;
            if (chroma == ChromaRows::kWriter) rows = g.height < 2 ? 0 : half ? g.height / 2 : g.height;
            p.runs[p.count++] = {g.scanlines * pitch, rows, rowBytes, pitch};
            break;
        }
    }
    return p;
}

void AppendRowPieces(const uint8_t* base, const RowRun& run, uint64_t first, uint64_t count,
                     std::vector<iovec>& pieces) {
    for (uint64_t row = first; row < first + count; ++row) {
        pieces.push_back(iovec{const_cast<uint8_t*>(base + run.offset + row * run.pitch),
                               static_cast<size_t>(run.rowBytes)});
    }
}

}  // namespace tessaro
