// tessaro run: drives one parser or generator exactly as a harness does
// (factory key, SetConfig, Init, GetBufferLength, Process until end of stream,
// DeInit) and sends what it delivers to the matching writer, to a file, or
// nowhere.
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include <tessaro/Tessaro.h>

#include "cli/ClientBuffers.h"
#include "cli/Commands.h"
#include "core/Md5.h"
#include "core/Report.h"
#include "core/RunOptions.h"

namespace tessaro::cli {

std::string RunHelp() {
    return FormatHelp(
        "tessaro run KEY [-i INPUT] [options]",
        "Runs the processor for KEY (see tessaro list) over memfd-backed buffers sized by its\n"
        "GetBufferLength, until a buffer comes back flagged end of stream. Every ConfigParam\n"
        "field has a flag. Exit status: 0 done, 1 a processor returned a failing status (the\n"
        "status and the failed check are named), 2 a bad command line.\n\n"
        "examples:\n"
        "  tessaro run Parse/AVC -i in.264 -o out.264 --md5\n"
        "  tessaro run Parse/AVC -i in.264 --slice-mode --slice-order 2,1 --frames 3\n"
        "  tessaro run Parse/HEVC -i in.265 --seek 12 --seek-mode sync --seek-after 3\n"
        "  tessaro run Parse/NV12 -i in.yuv --size 176x144 --frames 20 -o out.yuv\n"
        "  tessaro run Pattern/NV12 --size 64x64 --frames 8 -o pattern.yuv",
        RunOptionSpecs());
}

namespace {

// Reports a failing call and gives the exit status for it.
class Failure {
public:
    explicit Failure(LogRouter& router) : mRouter(router) {}
    // Forgets earlier error lines: call before each library call that may fail.
    void Arm() const { mRouter.ClearErrors(); }
    int operator()(const std::string& what, int32_t status) const {
        std::fprintf(stderr, "tessaro: %s failed with status %d (%s)", what.c_str(), status, StatusName(status).c_str());
        if (!mRouter.errors().empty()) std::fprintf(stderr, ": %s", mRouter.errors().c_str());
        std::fprintf(stderr, "\n");
        return 1;
    }

private:
    LogRouter& mRouter;
};

// A file the tool writes itself (--dump, --md5-file), closed on every path.
struct OutFile {
    std::FILE* file = nullptr;
    ~OutFile() {
        if (file != nullptr && file != stdout) std::fclose(file);
    }
};

bool OpenOut(OutFile& out, const std::string& path) {
    out.file = std::fopen(path.c_str(), "wb");
    if (out.file == nullptr) std::fprintf(stderr, "tessaro: cannot write %s: %s\n", path.c_str(), std::strerror(errno));
    return out.file != nullptr;
}

// Frames a delivered buffer holds, as the summary counts them.
uint64_t FramesIn(const Buffer& buffer, const RunOptions& o) {
    if (buffer.mLength == 0) return 0;
    switch (o.family) {
        case Family::Compressed: return buffer.mEndOfFrame == 1 ? 1 : 0;
        case Family::Container: return (buffer.mFlags & Buffer::FLAG_CODEC_CONFIG) ? 0 : 1;
        default: return o.config.mSuperFrame > 1 ? o.config.mSuperFrame : 1;
    }
}

// The writer side of a run: a second processor fed with the producer's buffers.
class WriterSink {
public:
    WriterSink(const RunOptions& o, const Failure& fail) : mOptions(o), mFail(fail) {}

    // 0, or the exit status of a failed set-up.
    int Open() {
        mWriter = TessaroFactory::getInstance()->getProcessorInstance(mOptions.writerKey);
        if (!mWriter) {
            std::fprintf(stderr, "tessaro: the library has no processor for %s\n", mOptions.writerKey.c_str());
            return 1;
        }
        ConfigParam c{};
        c.mOutputFileName = mOptions.outputPath;
        c.mWidth = mOptions.config.mWidth;
        c.mHeight = mOptions.config.mHeight;
        c.mStride = mOptions.config.mStride;
        c.mScanlines = mOptions.config.mScanlines;
        c.mPixFormat = mOptions.writerPixFormat;
        mFail.Arm();
        int32_t status = mWriter->SetConfig(c);
        if (status != TS_OK) return mFail(mOptions.writerKey + " SetConfig", status);
        mFail.Arm();
        status = mWriter->Init();
        if (status != TS_OK) return mFail(mOptions.writerKey + " Init", status);
        return 0;
    }

    // Hands over one delivered buffer. Several pictures in one raw buffer go
    // to the raw writer one by one, since it writes one picture per call.
    int Write(const std::shared_ptr<Buffer>& buffer) {
        const uint32_t pictures = mOptions.config.mSuperFrame;
        if (!FillsGraphicBuffers(mOptions.family) || pictures <= 1) {
            mFail.Arm();
            const int32_t status = mWriter->Process(buffer);
            return status == TS_OK ? 0 : mFail(mOptions.writerKey + " Process", status);
        }
        const uint64_t pictureBytes = buffer->mLength / pictures;
        BufferView view(*buffer);
        if (!view.ok()) return mFail("mapping a delivered buffer", TS_ERROR);
        std::string reason;
        auto single = MakeSharedBuffer(pictureBytes, buffer->mType, &reason);
        if (!single) {
            std::fprintf(stderr, "tessaro: %s\n", reason.c_str());
            return 1;
        }
        for (uint32_t i = 0; i < pictures; ++i) {
            {
                Buffer::Mapping mapping(*single);
                if (mapping.vaddr() == nullptr) return mFail("mapping a writer buffer", TS_ERROR);
                std::memcpy(mapping.vaddr(), view.data() + i * pictureBytes, pictureBytes);
            }
            single->mLength = pictureBytes;
            mFail.Arm();
            const int32_t status = mWriter->Process(single);
            if (status != TS_OK) return mFail(mOptions.writerKey + " Process", status);
        }
        return 0;
    }

    void Close() {
        if (mWriter) mWriter->DeInit();
    }

private:
    const RunOptions& mOptions;
    const Failure& mFail;
    std::shared_ptr<TessaroInterface> mWriter;
};

class Run {
public:
    Run(const RunOptions& o, LogRouter& router) : mOptions(o), mRouter(router), mFail(router), mSink(o, mFail) {}

    int Execute() {
        mProducer = TessaroFactory::getInstance()->getProcessorInstance(mOptions.key);
        if (!mProducer) {
            std::fprintf(stderr, "tessaro: the library has no processor for %s\n", mOptions.key.c_str());
            return 1;
        }
        ConfigParam config = mOptions.config;
        mFail.Arm();
        int32_t status = mProducer->SetConfig(config);
        if (status != TS_OK) return mFail("SetConfig", status);
        mFail.Arm();
        status = mProducer->Init();
        if (status != TS_OK) return mFail("Init", status);

        int result = OpenOutputs();
        if (result == 0) {
            mStarted = true;
            result = Loop();
        }
        mSink.Close();
        mProducer->DeInit();
        return result;
    }

    const RunTotals& totals() const { return mTotals; }
    bool started() const { return mStarted; }

private:
    int OpenOutputs() {
        if (!mOptions.outputPath.empty()) {
            const int result = mSink.Open();
            if (result != 0) return result;
            mHaveSink = true;
        }
        if (!mOptions.dumpPath.empty() && !OpenOut(mDump, mOptions.dumpPath)) return 1;
        if (mOptions.md5) {
            if (mOptions.md5Path.empty()) mMd5.file = stdout;
            else if (!OpenOut(mMd5, mOptions.md5Path)) return 1;
            std::fprintf(mMd5.file, "#key: %s\n#buffer, offset, length, flags, timestamp_us, md5\n", mOptions.key.c_str());
        }
        return 0;
    }

    int Seek() {
        ConfigParam request = mOptions.config;  // the same record, so nothing else changes
        request.mSkipSlices.clear();            // ... but the slice lists are not re-armed
        request.mSliceOrder.clear();
        request.mSeekMode = mOptions.seekMode;
        request.mSeekFrame = mOptions.seekFrame;
        request.mSeekedFrame = 0;
        mFail.Arm();
        const int32_t status = mProducer->SetConfig(request);
        if (status != TS_OK) return mFail("seek to frame " + std::to_string(mOptions.seekFrame), status);
        if (!mOptions.quiet) {
            std::fprintf(stderr, "tessaro: seek to frame %u (%s) reached frame %u\n", mOptions.seekFrame,
                         mOptions.seekMode == 1 ? "sync" : "exact", request.mSeekedFrame);
        }
        return 0;
    }

    // Makes sure the buffer can take the next delivery.
    int Prepare() {
        uint64_t wanted = mOptions.capacity;
        if (wanted == 0) {
            mFail.Arm();
            const uint32_t answer = mProducer->GetBufferLength();
            if (static_cast<int32_t>(answer) < 0) return mFail("GetBufferLength", static_cast<int32_t>(answer));
            wanted = answer;  // 0 after end of stream: keep the buffer we have
            if (wanted == 0 && !mBuffer) return mFail("GetBufferLength (returned 0)", TS_ERROR);
        }
        if (mBuffer && mBuffer->mCapacity >= wanted) return 0;
        std::string reason;
        mBuffer = MakeSharedBuffer(wanted, mOptions.bufferType, &reason);
        if (!mBuffer) {
            std::fprintf(stderr, "tessaro: %s\n", reason.c_str());
            return 1;
        }
        return 0;
    }

    int Deliver() {
        const Buffer& b = *mBuffer;
        mTotals.buffers += 1;
        mTotals.bytes += b.mLength;
        mTotals.frames += FramesIn(b, mOptions);
        if (b.mFlags & Buffer::FLAG_EOS) mTotals.sawEos = true;
        if (b.mLength == 0) {
            if (mMd5.file) PrintMd5(b, "");
            return 0;  // an empty end-of-stream buffer: nothing to pass on
        }
        if (mMd5.file != nullptr || mDump.file != nullptr) {
            BufferView view(b);
            if (!view.ok()) return mFail("mapping a delivered buffer", TS_ERROR);
            if (mMd5.file != nullptr) PrintMd5(b, Md5::Of(view.data(), view.size()));
            if (mDump.file != nullptr && std::fwrite(view.data(), 1, view.size(), mDump.file) != view.size()) {
                std::fprintf(stderr, "tessaro: writing %s failed\n", mOptions.dumpPath.c_str());
                return 1;
            }
        }
        return mHaveSink ? mSink.Write(mBuffer) : 0;
    }

    void PrintMd5(const Buffer& b, const std::string& md5) {
        std::fprintf(mMd5.file, "%" PRIu64 ", %" PRIu64 ", %" PRIu64 ", %s, %" PRIu64 ", %s\n", mTotals.buffers - 1,
                     b.mOffset, b.mLength, FlagsName(b.mFlags).c_str(), b.mTimestamp, md5.c_str());
    }

    int Loop() {
        const bool onTerminal = isatty(STDERR_FILENO) != 0;
        ProgressBar bar(stderr, mOptions.progress == 1 || (mOptions.progress == -1 && onTerminal && !mOptions.verbose), &mRouter);
        const uint64_t total = mOptions.maxBuffers != 0 ? mOptions.maxBuffers : mOptions.config.mFrames;
        const auto start = std::chrono::steady_clock::now();
        int result = 0;
        for (uint64_t n = 0;; ++n) {
            if (mOptions.seek && n == mOptions.seekAfter && (result = Seek()) != 0) break;
            if (mOptions.maxBuffers != 0 && n >= mOptions.maxBuffers) break;
            if ((result = Prepare()) != 0) break;
            ResetProducedFields(*mBuffer);
            mFail.Arm();
            const int32_t status = mProducer->Process(mBuffer);
            if (status != TS_OK) {
                result = mFail("Process (buffer " + std::to_string(n) + ")", status);
                break;
            }
            if ((result = Deliver()) != 0) break;
            bar.Update(mOptions.maxBuffers != 0 ? mTotals.buffers : mTotals.frames, total, mTotals.bytes);
            if (mBuffer->mFlags & Buffer::FLAG_EOS) break;
        }
        bar.Clear();
        if (result == 0 && mOptions.seek && mTotals.buffers < mOptions.seekAfter) {
            std::fprintf(stderr, "tessaro: the stream ended after %" PRIu64 " buffers; the seek after buffer %" PRIu64
                         " was not issued\n", mTotals.buffers, mOptions.seekAfter);
        }
        if (mOptions.family == Family::Pattern && mOptions.config.mInterlaced) mTotals.frames /= 2;  // fields
        mTotals.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        return result;
    }

    const RunOptions& mOptions;
    LogRouter& mRouter;
    Failure mFail;
    WriterSink mSink;
    bool mHaveSink = false;
    bool mStarted = false;
    std::shared_ptr<TessaroInterface> mProducer;
    std::shared_ptr<Buffer> mBuffer;
    OutFile mDump;
    OutFile mMd5;
    RunTotals mTotals;
};

}  // namespace

int RunCommand(const std::vector<std::string>& args) {
    const RunOptions options = ParseRunOptions(args);
    LogRouter router(options.verbose);
    Run run(options, router);
    const int result = run.Execute();
    if (!options.quiet && run.started()) std::printf("%s\n", FormatSummary(options.key, run.totals()).c_str());
    return result;
}

}  // namespace tessaro::cli
