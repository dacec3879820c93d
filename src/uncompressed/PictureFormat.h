// PictureFormat: what the raw readers, the pattern generators and the raw
// writer know about a picture layout, as one row per format: how big a picture
// is in the client's buffer and in the file, where its rows lie, which checks
// and log lines its operations use. The rows are in PictureFormats.cpp.
#pragma once

#include <sys/uio.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tessaro {

// The picture and buffer geometry of the configuration.
struct PictureGeometry {
    uint64_t width, height, stride, scanlines;
};

// How one picture size is computed. kLayout asks the layout library's
// GetBufferSize(code, a, b), kLayoutUsed its GetBufferSizeUsed(code, a, b,
// interlaced); kFormula calls formula(width, height); kUnset leaves the size
// as it is. All arithmetic is unsigned 32-bit.
struct SizeRule {
    enum Kind : uint8_t { kUnset, kLayout, kLayoutUsed, kFormula };
    enum Args : uint8_t { kStrideScanlines, kWidthHeight, kWidthHalfHeight };
    Kind kind;
    uint32_t code;  // the layout library's colour code
    Args args;
    uint32_t interlaced;
    uint32_t (*formula)(uint32_t width, uint32_t height);

    uint32_t Of(const PictureGeometry& g) const;
};

// Where a picture's rows lie in the client's buffer.
enum class Planes : uint8_t {
    kBlock,           // one block of the buffer size; no rows (tiled layouts)
    kSemiPlanar420,   // luma rows, then half as many interleaved chroma rows mScanlines rows down
    kSemiPlanar422,   // luma rows, then as many interleaved chroma rows mScanlines rows down
    kPlanarYV12,      // luma rows, then mHeight rows of mWidth/2 right after them at a 64-aligned half pitch
    kPacked,          // one plane; the next picture starts where this one's last row pitch ends
};

// What a generator draws.
enum class Pattern : uint8_t { kNone, kYuvClearCapacity, kYuvClearPicture, kRgb };

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

    // One past the last byte the run touches; 0 when it touches nothing.
    // Saturates instead of wrapping, so an absurd geometry never looks small.
    uint64_t End() const;
};

// The rows of one picture and how far the next picture of a buffer starts.
struct PictureRuns {
    RowRun runs[2] = {};
    size_t count = 0;
    uint64_t pictureDistance = 0;

    // One past the last byte any run touches.
    uint64_t End() const;
};

// Which rows a reader fills and the writer drains differ in one point: the
// writer drops a lone chroma row (4:2:0 chroma rows round down, a one-row
// picture has no chroma plane).
enum class ChromaRows : uint8_t { kReader, kWriter };

// The runs of one picture of `format` in geometry g; `blockSize` is the size
// of a tiled picture.
PictureRuns RunsOf(const PictureFormat& format, const PictureGeometry& g, uint64_t blockSize,
                   ChromaRows chroma);

// Appends one piece for each of `count` rows of run from row `first` on, for
// a picture starting at base.
void AppendRowPieces(const uint8_t* base, const RowRun& run, uint64_t first, uint64_t count,
                     std::vector<iovec>& pieces);

}  // namespace tessaro
