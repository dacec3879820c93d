// StreamParserUncompressed: the base of every raw-picture reader and of the
// pattern generators. It owns the input file, the picture sizes, the frame
// counter, the timestamp and the end-of-stream logic, and plays the file back
// and forth until mFrames pictures are delivered. The format row a subclass
// names sizes a picture and places its rows.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "framework/ByteSource.h"
#include "framework/BufferMemory.h"
#include "framework/TessaroImpl.h"
#include "uncompressed/PictureCanvas.h"
#include "uncompressed/PictureFormat.h"

namespace tessaro {

class StreamParserUncompressed : public TessaroImpl {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::Uncompressed";

    ~StreamParserUncompressed() override = default;

    // Opens mInputFileName and measures it. 0; -1 when it cannot be opened; -4
    // when it is empty (the file then stays open until DeInit).
    int32_t Init() override;

    // Fills buffer with the next mSuperFrame pictures, turning back at either end
    // of the file, and sets its range, timestamp and (last buffer) EOS flag. Once
    // EOS was delivered every call returns an empty EOS buffer. 0 on success.
    int32_t Process(std::shared_ptr<Buffer> buffer) override;

    // Resets counters, sizes and timestamps and closes the file; always 0.
    int32_t DeInit() override;
    // Raw pictures have no index: always -1.
    int32_t Seek() override;

    // Fixes the picture sizes on the first call (until DeInit) and returns
    // mSuperFrame x mBufferSize; 0 when not running, on a zero geometry field
    // the format checks, or after EOS.
    uint32_t GetBufferLength() override;

    // Copies mSuperFrame pictures from the current file position. 0; -4 for an
    // empty pointer, -2 when the buffer cannot be mapped or the pictures would
    // not fit in it, -1 on a short or failed read (the rows read so far stay).
    virtual int32_t ReadfromInputFile(std::shared_ptr<Buffer> buffer);

    const PictureFormat& format() const { return mFormat; }
    uint32_t bufferSize() const { return mBufferSize; }  // read access for tests
    uint32_t fileBufferSize() const { return mFileBufferSize; }

protected:
    explicit StreamParserUncompressed(const PictureFormat& format) : mFormat(format) {}

    static constexpr int32_t kForward = 1;
    static constexpr int32_t kBackward = -1;

    PictureGeometry Geometry() const;  // of the configuration
    // Logs "<text> : Line# <line>" under the format's tag and returns status.
    int32_t Refuse(const char* text, int line, int32_t status) const;
    // Logs that the pictures would reach outside the client's buffer; -2.
    int32_t RefuseOversizedPicture() const;

    // Marks buffer as an empty EOS buffer and logs `message` under tag.
    static void DeliverEmptyEos(const char* tag, Buffer& buffer, const char* message);
    // Stamps timestamp, offset 0 and length; advances the timestamp when `advance`.
    void StampBuffer(Buffer& buffer, bool advance);
    // Sets mSawEOS and the buffer's EOS flag and logs the last-frame line.
    void MarkLastBuffer(const char* tag, Buffer& buffer, uint32_t frame);

    const PictureFormat& mFormat;
    bool mSawEOS = false;
    uint64_t mFileSize = 0;
    uint32_t mBufferSize = 0;      // bytes of one picture in the client's buffer
    uint32_t mFileBufferSize = 0;  // bytes of one picture in the file
    uint32_t mFrameCount = 0;      // Process calls past the preconditions
    ByteSource mInputFile;  // the picture file, with the rules of an input file stream
    int32_t mReadDirection = kForward;
    CanvasBlock mCanvasBlock;  // the generators' drawing block, kept from call to call

private:
    static constexpr uint64_t kMaxGatheredRows = 1024;
    bool ReadRows(uint8_t* base, const PictureRuns& picture);
    uint64_t CurrentPosition();
    bool HasNextForward(uint64_t pos, uint64_t step);
    bool IsLastBuffer(uint64_t step);
    std::vector<iovec> mRowPieces;  // rows for one gathered read
};

}  // namespace tessaro
