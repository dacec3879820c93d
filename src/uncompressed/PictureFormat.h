// PictureFormat: one row per picture layout, all that the raw readers, the
// pattern generators and the raw writer know of it: its size in the client's
// buffer and in the file, where its rows lie, its checks and log lines.
#pragma once

#include <sys/uio.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tessaro {

struct PictureGeometry {  // of the configuration
    uint64_t width, height, stride, scanlines;
};

// How one picture size is computed (unsigned 32-bit): the layout library's
// GetBufferSize(code, a, b) or GetBufferSizeUsed(code, a, b, interlaced), a
// formula of width and height, or (kUnset) not at all.
struct SizeRule {
    enum Kind : uint8_t { kUnset, kLayout, kLayoutUsed, kFormula };
    enum Args : uint8_t { kStrideScanlines, kWidthHeight, kWidthHalfHeight };  // a, b
    Kind kind;
    uint32_t code;  // the layout library's colour code
    Args args;
    uint32_t interlaced;
    uint32_t (*formula)(uint32_t width, uint32_t height);

    uint32_t Of(const PictureGeometry& g) const;

    static constexpr SizeRule Layout(uint32_t code, Args args) { return {kLayout, code, args, 0, nullptr}; }
    static constexpr SizeRule Used(uint32_t code, Args args, uint32_t interlaced) {
        return {kLayoutUsed, code, args, interlaced, nullptr};
    }
    static constexpr SizeRule Formula(uint32_t (*f)(uint32_t, uint32_t)) {
        return {kFormula, 0, kWidthHeight, 0, f};
    }
};

// Where a picture's rows lie in the client's buffer.
enum class Planes : uint8_t {
    kBlock,           // one block of the buffer size; no rows (tiled layouts)
    kSemiPlanar420,   // luma rows, then half as many interleaved chroma rows mScanlines rows down
    kSemiPlanar422,   // luma rows, then as many interleaved chroma rows mScanlines rows down
    kPlanarYV12,      // luma rows, then mHeight rows of mWidth/2 right after them at a 64-aligned half pitch
    kPacked,          // one plane; the next picture starts where this one's last row pitch ends
};

enum class Pattern : uint8_t { kNone, kYuvClearCapacity, kYuvClearPicture, kRgb };  // what is drawn

struct PictureFormat {
    const char* tag;        // log tag of the class and of the classes that reuse its operations
    SizeRule bufferSize;    // one picture in the client's buffer; its code is the format's colour code
    SizeRule fileSize;      // one picture as the reader counts it in the file
    Planes planes;
    uint8_t bytesPerPixel;  // row bytes = this x mWidth, pitch = this x mStride
    bool checksStride;      // sizes refuse a zero mStride/mScanlines, else a zero mWidth/mHeight
    int stateLine;          // GetBufferLength's state check; the two geometry checks follow it
    int nullLine, vaddrLine;  // ReadfromInputFile's pointer and mapping checks
    const char* readEntry;  // ReadfromInputFile's entry line ("%d": the picture size)
    Pattern pattern;
};

// The formats by the class that reads or draws them.
namespace formats {
extern const PictureFormat kNV12, kYV12, kP010, kP210, kRGBA32, kRGBA1010102, kRGBAFP16;
extern const PictureFormat kNV12Mosa, kRX10Mosa, kNV12MosaInterlace, kP210Mosa, kRGBA32Mosa,
    kRGBA1010102Mosa;
extern const PictureFormat kPatternNV12, kPatternP010, kPatternP210, kPatternRGBA32,
    kPatternRGBA1010102;
}  // namespace formats

// `rows` rows of `rowBytes` bytes; the first starts `offset` bytes into the
// picture, each next one `pitch` bytes after the one before.
struct RowRun {
    uint64_t offset, rows, rowBytes, pitch;
    // One past the last byte touched (saturating); 0 when it touches nothing.
    uint64_t End() const;
};

// The rows of one picture and how far the next picture of a buffer starts.
struct PictureRuns {
    RowRun runs[2] = {};
    size_t count = 0;
    uint64_t pictureDistance = 0;
    uint64_t End() const;  // one past the last byte any run touches
};

// Which rows a reader fills and the writer drains differ in one point: the
// writer drops a lone chroma row (4:2:0 chroma rows round down, a one-row
// picture has no chroma plane).
enum class ChromaRows : uint8_t { kReader, kWriter };

// The runs of one picture of `format` in geometry g; `blockSize` is the size
// of a tiled picture.
PictureRuns RunsOf(const PictureFormat& format, const PictureGeometry& g, uint64_t blockSize,
                   ChromaRows chroma);

// Hands the rows of the picture at base to visit(pieces, bytes, run) in
// batches of up to maxRows rows of one run; stops at the first false.
template <typename Visit>
bool ForEachRowBatch(const uint8_t* base, const PictureRuns& picture, uint64_t maxRows,
                     std::vector<iovec>& pieces, Visit visit) {
    for (const RowRun* run = picture.runs; run < picture.runs + picture.count; ++run) {
        for (uint64_t row = 0; run->End() != 0 && row < run->rows; row += maxRows) {
            const uint64_t count = run->rows - row < maxRows ? run->rows - row : maxRows;
            pieces.clear();
            for (uint64_t k = row; k < row + count; ++k) {
                pieces.push_back({const_cast<uint8_t*>(base + run->offset + k * run->pitch), run->rowBytes});
            }
            if (!visit(pieces, count * run->rowBytes, *run)) return false;
        }
    }
    return true;
}

}  // namespace tessaro
