// tessaro run: drives one parser or generator exactly as a harness does
// (factory key, SetConfig, Init, GetBufferLength, Process until end of stream,
// DeInit) and sends what it delivers to the matching writer, to a file, or
// nowhere.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include <tessaro/Tessaro.h>

#include "cli/BufferView.h"
#include "cli/Commands.h"
#include "cli/Interrupt.h"
#include "cli/OutputFile.h"
#include "cli/Reporter.h"
#include "cli/RunInput.h"
#include "cli/WriterSink.h"
#include "core/Geometry.h"
#include "core/Md5.h"
#include "core/Progress.h"
#include "core/Report.h"
#include "core/RunOptions.h"

namespace tessaro::cli {

std::string RunHelp() {
    return FormatHelp(
        "tessaro run KEY [-i INPUT] [options]",
        "Runs the processor for KEY (see tessaro list) over memfd-backed buffers sized by its\n"
        "GetBufferLength, until a buffer comes back flagged end of stream. Every ConfigParam\n"
        "field has a flag. Shows progress on a terminal; Ctrl-C stops after the current buffer,\n"
        "closes every output and prints the partial summary.\n\n"
        "exit status: 0 done; 1 the input cannot be used, a processor failed or an output\n"
        "could not be written (one line says which); 2 a bad command line; 130 interrupted.\n\n"
        "examples:\n"
        "  tessaro run Parse/AVC -i in.264 -o out.264 --md5\n"
        "  tessaro run Parse/AVC -i in.264 --slice-mode --slice-order 2,1 --frames 3\n"
        "  tessaro run Parse/HEVC -i in.265 --seek 12 --seek-mode sync --seek-after 3\n"
        "  tessaro run Parse/VPX -i in.ivf -o out.ivf\n"
        "  tessaro run Parse/NV12 -i in.yuv --size 176x144 --frames 20 -o out.yuv\n"
        "  tessaro run Pattern/NV12 --size 176x144 --frames 30 -o pattern.yuv",
        RunOptionSpecs());
}

namespace {

class Run {
public:
    Run(const RunOptions& o, const Reporter& report) : mOptions(o), mReport(report), mSink(o, report) {}

    int Execute(const IvfFraming& framing) {
        mProducer = TessaroFactory::getInstance()->getProcessorInstance(mOptions.key);
        if (!mProducer) return mReport.Error("the library has no processor for " + mOptions.key);
        ConfigParam config = mOptions.config;
        mReport.Arm();
        int32_t status = mProducer->SetConfig(config);
        if (status != TS_OK) return mReport.Failed("SetConfig", status);
        mReport.Arm();
        status = mProducer->Init();
        if (status != TS_OK) return mReport.Failed("Init", status);
        mStarted = true;
        int result = OpenOutputs(framing);
        if (result == 0) result = Loop();
        result = Finish(result);
        mProducer->DeInit();
        return result;
    }

    const RunTotals& totals() const { return mTotals; }
    bool started() const { return mStarted; }

private:
    int OpenOutputs(const IvfFraming& framing) {
        if (!mOptions.outputPath.empty() && mSink.Open(framing) != 0) return 1;
        mHaveSink = !mOptions.outputPath.empty();
        if (!mOptions.dumpPath.empty() && !mDump.Open(mOptions.dumpPath)) return mReport.Error(mDump.error());
        if (!mOptions.md5) return 0;
        if (!mMd5.Open(mOptions.md5Path.empty() ? "-" : mOptions.md5Path)) return mReport.Error(mMd5.error());
        mMd5.Print("#key: " + mOptions.key + "\n#buffer, timestamp_us, flags, offset, size, md5\n");
        return 0;
    }

    // Closes every output, keeping the first failure.
    int Finish(int result) {
        const int sink = mSink.Close();
        if (result == 0) result = sink;
        for (OutputFile* file : {&mDump, &mMd5}) {
            if (!file->Close() && result == 0) result = mReport.Error(file->error());
        }
        return result;
    }

    int Seek() {
        ConfigParam request = mOptions.config;  // the same record, so nothing else changes
        request.mSkipSlices.clear();            // ... but the slice lists are not re-armed
        request.mSliceOrder.clear();
        request.mSeekMode = mOptions.seekMode;
        request.mSeekFrame = mOptions.seekFrame;
        request.mSeekedFrame = 0;
        mReport.Arm();
        const int32_t status = mProducer->SetConfig(request);
        if (status != TS_OK) return mReport.Failed("seek to frame " + std::to_string(mOptions.seekFrame), status);
        mReport.Note("seek to frame " + std::to_string(mOptions.seekFrame) + " (" +
                     (mOptions.seekMode == 1 ? "sync" : "exact") + ") reached frame " +
                     std::to_string(request.mSeekedFrame));
        return 0;
    }

    // Makes sure the buffer can take the next delivery. GetBufferLength is
    // always asked (raw readers size their pictures there); --capacity then
    // replaces its answer.
    int Prepare() {
        mReport.Arm();
        const uint32_t answer = mProducer->GetBufferLength();
        if (static_cast<int32_t>(answer) < 0) return mReport.Failed("GetBufferLength", static_cast<int32_t>(answer));
        uint64_t wanted = mOptions.capacity;
        if (wanted == 0) {
            wanted = FillsGraphicBuffers(mOptions.family) ? RawCapacity(mOptions.key, mOptions.config, answer) : answer;
            if (wanted == 0 && !mBuffer) return mReport.Failed("GetBufferLength (returned 0)", TS_ERROR);
        }
        if (mBuffer && mBuffer->mCapacity >= wanted) return 0;
        mBuffer = MakeMemfdBuffer(wanted, mOptions.bufferType);
        if (!mBuffer) {
            return mReport.Error("cannot make a buffer of " + std::to_string(wanted) + " bytes: " + std::strerror(errno));
        }
        return 0;
    }

    void Count(const Buffer& b) {
        mTotals.buffers += 1;
        if (b.mFlags & Buffer::FLAG_EOS) mTotals.sawEos = true;
        if (b.mLength == 0) return;
        switch (mOptions.family) {
            case ProcessorFamily::Compressed: mTotals.frames += b.mEndOfFrame == 1 ? 1 : 0; break;
            case ProcessorFamily::Container: mTotals.frames += (b.mFlags & Buffer::FLAG_CODEC_CONFIG) ? 0 : 1; break;
            default: {
                const uint32_t pictures = mOptions.config.mSuperFrame > 1 ? mOptions.config.mSuperFrame : 1;
                const uint64_t packed = PackedPictureBytes(mOptions.key, mOptions.config.mWidth, mOptions.config.mHeight);
                mTotals.frames += pictures;
                mTotals.bytes += packed != 0 ? pictures * packed : b.mLength;
                return;
            }
        }
        mTotals.bytes += b.mLength;
    }

    int Deliver() {
        const Buffer& b = *mBuffer;
        Count(b);
        const uint64_t index = mTotals.buffers - 1;
        if (b.mLength == 0) {
            if (mMd5.isOpen()) mMd5.Print("# buffer " + std::to_string(index) + ": empty, " + FlagsName(b.mFlags) + "\n");
            return 0;  // an empty end-of-stream buffer: nothing to pass on
        }
        if (mMd5.isOpen() || mDump.isOpen()) {
            BufferView view(b);
            if (!view.ok()) return mReport.Error("cannot map a delivered buffer");
            if (mMd5.isOpen() && !mMd5.Print(Md5Line(index, b, Md5::Of(view.data(), view.size())))) {
                return mReport.Error(mMd5.error());
            }
            if (mDump.isOpen() && !mDump.Write(view.data(), view.size())) return mReport.Error(mDump.error());
        }
        return mHaveSink ? mSink.Write(mBuffer) : 0;
    }

    static std::string Md5Line(uint64_t index, const Buffer& b, const std::string& md5) {
        char line[160];
        std::snprintf(line, sizeof line, "%" PRIu64 ", %" PRIu64 ", %s, %" PRIu64 ", %" PRIu64 ", %s\n", index,
                      b.mTimestamp, FlagsName(b.mFlags).c_str(), b.mOffset, b.mLength, md5.c_str());
        return line;
    }

    int Loop() {
        const bool onTerminal = isatty(STDERR_FILENO) != 0;
        const bool show = !mReport.quiet() && (mOptions.progress == 1 || (mOptions.progress == -1 && onTerminal));
        const bool byBuffers = mOptions.maxBuffers != 0;
        ProgressBar bar(stderr, show, &mReport.router(), byBuffers ? "buffers" : "frames");
        const uint64_t total = byBuffers ? mOptions.maxBuffers : ExpectedFrames(*mProducer, mOptions);
        const auto start = std::chrono::steady_clock::now();
        int result = 0;
        for (uint64_t n = 0; !Interrupted(); ++n) {
            if (mOptions.seek && n == mOptions.seekAfter && (result = Seek()) != 0) break;
            if (byBuffers && n >= mOptions.maxBuffers) break;
            if ((result = Prepare()) != 0) break;
            ResetProducedFields(*mBuffer);
            mReport.Arm();
            const int32_t status = mProducer->Process(mBuffer);
            if (status != TS_OK) {
                result = mReport.Failed("Process (buffer " + std::to_string(n) + ")", status);
                break;
            }
            if ((result = Deliver()) != 0) break;
            bar.Update(byBuffers ? mTotals.buffers : mTotals.frames, total);
            if (mBuffer->mFlags & Buffer::FLAG_EOS) break;
        }
        bar.Clear();
        mTotals.interrupted = Interrupted();
        if (result == 0 && !mTotals.interrupted && mOptions.seek && mTotals.buffers < mOptions.seekAfter) {
            mReport.Note("the stream ended after " + std::to_string(mTotals.buffers) + " buffers; the seek after buffer " +
                         std::to_string(mOptions.seekAfter) + " was not issued");
        }
        if (mOptions.family == ProcessorFamily::Pattern && mOptions.config.mInterlaced) mTotals.frames /= 2;  // fields
        mTotals.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        return result;
    }

    const RunOptions& mOptions;
    const Reporter& mReport;
    WriterSink mSink;
    bool mHaveSink = false;
    bool mStarted = false;
    std::shared_ptr<TessaroInterface> mProducer;
    std::shared_ptr<Buffer> mBuffer;
    OutputFile mDump;
    OutputFile mMd5;
    RunTotals mTotals;
};

}  // namespace

int RunCommand(const std::vector<std::string>& args) {
    const RunOptions options = ParseRunOptions(args);
    LogRouter router(options.verbose);
    const Reporter report(router, options.quiet);
    IvfFraming framing;
    if (const int status = CheckInput(options, report, &framing); status != 0) return status;
    CatchInterrupt();
    Run run(options, report);
    int result = run.Execute(framing);
    if (run.started() && !options.quiet) std::fprintf(stderr, "%s\n", FormatSummary(options.key, run.totals()).c_str());
    if (result == 0 && run.totals().interrupted) result = kInterruptedStatus;
    return result;
}

}  // namespace tessaro::cli
