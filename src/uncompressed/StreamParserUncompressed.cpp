#include "uncompressed/StreamParserUncompressed.h"

#include <cmath>

namespace tessaro {

namespace {

// Timestamps go out as whole microseconds, rounded half away from zero. A
// timestamp outside the 32-bit range (a frame-rate change can rebase it below
// zero) saturates at the nearer end, as the device's conversion does.
uint32_t RoundTimestamp(float timestamp) {
    if (std::isnan(timestamp)) return 0;
    const double rounded = std::round(static_cast<double>(timestamp));
    if (rounded <= 0.0) return 0;
    if (rounded >= 4294967295.0) return UINT32_MAX;
    return static_cast<uint32_t>(rounded);
}

}  // namespace

int32_t StreamParserUncompressed::Init() {
    TS_LOGI("Init");
    // A second Init without DeInit starts over on the file named now.
    if (mInputFile.is_open()) mInputFile.close();
    mInputFile.clear();
    mInputFile.open(mConfigParam.mInputFileName);
    TS_CHECK(mInputFile.is_open() == false, 23, TS_ERROR);
    mInputFile.seekg(0, std::ios::end);
    const int64_t end = mInputFile.tellg();
    mFileSize = end > 0 ? static_cast<uint64_t>(end) : 0;
    TS_CHECK(mFileSize == 0, 29, -4);
    mInputFile.seekg(0, std::ios::beg);
    mState = STATE::RUNNING;
    return TS_OK;
}

int32_t StreamParserUncompressed::Process(std::shared_ptr<Buffer> buffer) {
    TS_LOGI("Process");
    TS_CHECK(buffer == nullptr, 38, -2);
    TS_CHECK(mState != STATE::RUNNING, 39, -3);
    TS_CHECK(buffer->isGraphic() == false, 40, -4);
    TS_CHECK_TEXT(buffer->capacity() < (mBufferSize * mConfigParam.mSuperFrame),
                  "buffer->capacity() < ( mBufferSize * mConfigParam.mSuperFrame)", 42, -2);
    TS_CHECK(mFileBufferSize == 0, 43, -2);

    ++mFrameCount;
    if (mSawEOS) {
        DeliverEmptyEos(kLogTag, *buffer, "Already Saw EOS. Return");
        return TS_OK;
    }

    const uint64_t step = static_cast<uint64_t>(mConfigParam.mSuperFrame) * mFileBufferSize;
    uint64_t pos = CurrentPosition();
    if (mReadDirection == kForward && !HasNextForward(pos, step)) {
        if (mConfigParam.mFrames == 0 || mConfigParam.mFrames < mFrameCount) {
            mSawEOS = true;
            DeliverEmptyEos(kLogTag, *buffer, "Reached EOS. Return");
            return TS_OK;
        }
        mReadDirection = kBackward;
        TS_LOGI("Reached file end. Change the reading dir. to Backward");
        if (pos >= step) pos -= step;
    }
    if (mReadDirection == kBackward) {
        // Runs in the same call as a turn at the file end, so that turn steps
        // back two buffers and the last picture is not repeated.
        const uint64_t back = pos >= step ? step : 0;
        uint64_t target = pos - back;
        if (target == 0 || target < step) {
            mReadDirection = kForward;
            TS_LOGI("Reached file start. Change the reading dir. to Forward");
            target = 0;
        }
        mInputFile.seekg(static_cast<int64_t>(target), std::ios::beg);
        pos = target;
    }

    TS_CHECK(ReadfromInputFile(buffer) != TS_OK, 114, TS_ERROR);

    if (mConfigParam.mSpare == 0 && IsLastBuffer(step)) MarkLastBuffer(kLogTag, *buffer, mFrameCount);
    // Reading backward, the next step back starts from the pictures just read.
    if (mReadDirection == kBackward) mInputFile.seekg(static_cast<int64_t>(pos), std::ios::beg);
    StampBuffer(*buffer, true);
    return TS_OK;
}

int32_t StreamParserUncompressed::DeInit() {
    TS_LOGI("DeInit");
    mClientBuffers.Release();
    mSawEOS = false;
    mFileSize = 0;
    mBufferSize = mFileBufferSize = mFrameCount = 0;
    mTimestamp = 0.0f;
    mTimestampDelta = 33333.0f;
    mReadDirection = kForward;
    mCanvasBlock = {};
    if (mInputFile.is_open()) mInputFile.close();  // a failed close sets the fail bit itself
    return TS_OK;
}

int32_t StreamParserUncompressed::Seek() {
    TS_LOGE("Error. Seek Unsupported for Uncompressed formats");
    return TS_ERROR;
}

PictureGeometry StreamParserUncompressed::Geometry() const {
    const ConfigParam& c = mConfigParam;
    return {c.mWidth, c.mHeight, c.mStride, c.mScanlines};
}

int32_t StreamParserUncompressed::Refuse(const char* text, int line, int32_t status) const {
    return ReportFailure(mFormat.tag, text, line, status);
}

int32_t StreamParserUncompressed::RefuseOversizedPicture() const {
    __android_log_print(kLogError, mFormat.tag, "Error. Picture does not fit in the buffer.");
    return -2;
}

uint32_t StreamParserUncompressed::GetBufferLength() {
    const char* const tag = mFormat.tag;
    const ConfigParam& c = mConfigParam;
    const int line = mFormat.stateLine;
    __android_log_print(kLogInfo, tag, "GetBufferLength");
    if (mState != STATE::RUNNING) return Refuse("mState != STATE::RUNNING", line, 0);
    const bool stride = mFormat.checksStride;
    if ((stride ? c.mStride : c.mWidth) == 0) {
        return Refuse(stride ? "mConfigParam.mStride == 0" : "mConfigParam.mWidth == 0", line + 1, 0);
    }
    if ((stride ? c.mScanlines : c.mHeight) == 0) {
        return Refuse(stride ? "mConfigParam.mScanlines == 0" : "mConfigParam.mHeight == 0", line + 2, 0);
    }
    if (mSawEOS) {
        __android_log_print(kLogInfo, tag, "Already reached EOS.");
        return 0;
    }
    if (mBufferSize == 0) {
        mBufferSize = mFormat.bufferSize.Of(Geometry());
        if (mFormat.fileSize.kind != SizeRule::kUnset) mFileBufferSize = mFormat.fileSize.Of(Geometry());
    }
    const uint32_t length = c.mSuperFrame * mBufferSize;
    __android_log_print(kLogInfo, tag, "Buffer length = %d", static_cast<int>(length));
    return length;
}

// The geometry is checked once, against the whole buffer, before any row is
// read; the row loop below checks only the reads.
int32_t StreamParserUncompressed::ReadfromInputFile(std::shared_ptr<Buffer> buffer) {
    const char* const tag = mFormat.tag;
    __android_log_print(kLogInfo, tag, mFormat.readEntry, static_cast<int>(mBufferSize));
    if (buffer == nullptr) return Refuse("buffer == nullptr", mFormat.nullLine, -4);
    const PictureMapping mapping(*buffer);  // for this call only
    uint8_t* const vaddr = mapping.vaddr();
    if (vaddr == nullptr) return Refuse("vaddr == nullptr", mFormat.vaddrLine, -2);

    const PictureRuns picture = RunsOf(mFormat, Geometry(), mBufferSize, ChromaRows::kReader);
    const uint64_t pictures = mConfigParam.mSuperFrame;
    const uint64_t end = picture.End();
    if (end != 0 && (pictures - 1) * static_cast<unsigned __int128>(picture.pictureDistance) + end >
                        buffer->capacity()) {
        return RefuseOversizedPicture();
    }

    for (uint64_t i = 0; i < pictures; ++i) {
        if (!ReadRows(vaddr + i * picture.pictureDistance, picture)) {
            __android_log_print(kLogError, tag, "Error. Fail to read Input File.");
            return TS_ERROR;
        }
    }
    return TS_OK;
}

// The rows go in gathered reads of up to kMaxGatheredRows rows from the
// stream's position, and the stream moves past them. A read that comes up
// short keeps the bytes that arrived and leaves the stream at the end of the
// file in the end-of-file and fail state, as reading row by row would.
bool StreamParserUncompressed::ReadRows(uint8_t* base, const PictureRuns& picture) {
    return ForEachRowBatch(base, picture, kMaxGatheredRows, mRowPieces,
                           [this](std::vector<iovec>& pieces, uint64_t bytes, const RowRun&) {
        const int64_t pos = mInputFile.good() ? mInputFile.tellg() : -1;
        const uint64_t got = pos < 0 ? 0 : mInputFile.file().ReadGatheredAt(pieces, pos);
        if (pos >= 0) mInputFile.seekg(pos + static_cast<int64_t>(got));
        if (got == bytes) return true;
        uint8_t past = 0;
        mInputFile.read(&past, 1);
        mInputFile.setFail();
        return false;
    });
}

void StreamParserUncompressed::DeliverEmptyEos(const char* tag, Buffer& buffer,
                                               const char* message) {
    buffer.mFlags = Buffer::FLAG_EOS;
    buffer.mOffset = 0;
    buffer.mLength = 0;
    __android_log_print(kLogInfo, tag, "%s", message);
}

void StreamParserUncompressed::StampBuffer(Buffer& buffer, bool advance) {
    buffer.mTimestamp = RoundTimestamp(mTimestamp);
    buffer.mOffset = 0;
    buffer.mLength = mConfigParam.mSuperFrame * mBufferSize;
    if (advance) mTimestamp += mTimestampDelta * static_cast<float>(mConfigParam.mSuperFrame);
}

void StreamParserUncompressed::MarkLastBuffer(const char* tag, Buffer& buffer, uint32_t frame) {
    mSawEOS = true;
    buffer.mFlags = Buffer::FLAG_EOS;
    __android_log_print(kLogInfo, tag, "Last Frame[%d] to Process. Adding EOS Flag", static_cast<int>(frame));
}

// An unknown position (the stream failed) reads as beyond the file's end.
uint64_t StreamParserUncompressed::CurrentPosition() {
    const int64_t pos = mInputFile.tellg();
    return pos < 0 ? UINT64_MAX : static_cast<uint64_t>(pos);
}

bool StreamParserUncompressed::HasNextForward(uint64_t pos, uint64_t step) {
    if (mInputFile.eof()) return false;
    return pos > mFileSize || mFileSize - pos >= step;
}

bool StreamParserUncompressed::IsLastBuffer(uint64_t step) {
    const uint32_t frames = mConfigParam.mFrames;
    if (frames != 0) return frames == mFrameCount;
    if (mInputFile.eof()) return true;
    const uint64_t pos = CurrentPosition();
    return pos <= mFileSize && mFileSize - pos < step;
}

}  // namespace tessaro
