// Faults a test lab meets: the input changed under a running processor, inputs
// that open but cannot be read, client buffers whose memory is not there, and
// outputs that cannot take the bytes. Every case must end in a status, never a
// crash, a write past a buffer or a fault on touching a mapping.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "robustness/RobustnessSupport.h"
#include "support/ClientBuffer.h"
#include "support/LogCapture.h"
#include "support/Probe.h"
#include "support/TestPaths.h"

namespace tessaro {
namespace {

constexpr int kMaxCalls = 400;

std::shared_ptr<TessaroInterface> Make(const test::Producer& p) {
    return TessaroFactory::getInstance()->getProcessorInstance(p.key);
}

class ProducerFaults : public ::testing::TestWithParam<test::Producer> {
protected:
    // Starts a processor on `path`; returns it running, or null after a failure.
    std::shared_ptr<TessaroInterface> Start(const std::string& path) {
        auto processor = Make(GetParam());
        ConfigParam config = GetParam().config;
        config.mInputFileName = path;
        EXPECT_EQ(processor->SetConfig(config), TS_OK);
        if (processor->Init() != TS_OK) return nullptr;
        return processor;
    }
    bool HasInput() const { return GetParam().sample[0] != '\0'; }
};

// Replacing or deleting the input after Init changes nothing: the processor
// reads through the file it opened. Truncating it ends the run with a status
// (or an early end of stream), never with a read past the client buffer.
using InputFaults = ProducerFaults;

TEST_P(InputFaults, InputChangedAfterInit) {
    const std::string original = test::ReadFile(test::DataPath(GetParam().sample));
    ASSERT_FALSE(original.empty());
    test::ScratchDir dir;
    const std::string suffix = std::string(GetParam().sample).substr(std::string(GetParam().sample).rfind('.'));

    auto reference = Start(dir.Write("reference" + suffix, original));
    ASSERT_NE(reference, nullptr);
    const test::Run expected = test::DriveToEnd(*reference, GetParam().bufferType, kMaxCalls);
    ASSERT_TRUE(expected.sawEos);
    reference->DeInit();

    for (const char* change : {"deleted", "replaced", "truncated to zero", "truncated to half"}) {
        SCOPED_TRACE(change);
        const std::string path = dir.Write(std::string("input") + suffix, original);
        auto processor = Start(path);
        ASSERT_NE(processor, nullptr);
        const std::string what = change;
        if (what == "deleted") {
            ASSERT_EQ(unlink(path.c_str()), 0);
        } else if (what == "replaced") {
            ASSERT_EQ(rename(dir.Write("other", std::string(original.size(), '\x5a')).c_str(), path.c_str()), 0);
        } else {
            ASSERT_EQ(truncate(path.c_str(), what == "truncated to zero" ? 0 : static_cast<off_t>(original.size() / 2)), 0);
        }
        const test::Run run = test::DriveToEnd(*processor, GetParam().bufferType, kMaxCalls);
        EXPECT_TRUE(run.stayedInside);
        EXPECT_LT(run.calls, kMaxCalls) << "the run did not end";
        if (what == "deleted" || what == "replaced") {
            EXPECT_TRUE(run.sawEos);
            EXPECT_EQ(run.bytes, expected.bytes);
        } else {
            EXPECT_TRUE(run.sawEos || run.lastStatus < 0) << run.lastStatus;
        }
        EXPECT_EQ(processor->DeInit(), TS_OK);
    }
}

// Inputs that cannot be opened, or open but cannot be measured or read: Init
// fails with a status and leaves no descriptor behind.
TEST_P(InputFaults, InputThatCannotBeRead) {
    test::ScratchDir dir;
    const std::string unreadable = dir.Write("unreadable", test::ReadFile(test::DataPath(GetParam().sample)));
    ASSERT_EQ(chmod(unreadable.c_str(), 0), 0);
    const bool rootReadsAnything = access(unreadable.c_str(), R_OK) == 0;
    const struct {
        const char* name;
        std::string path;
    } inputs[] = {{"missing", dir.File("missing")},
                  {"directory", dir.path()},
                  {"unreadable", unreadable},
                  {"opens but every read fails", "/proc/self/mem"},
                  {"empty name", ""}};
    const int descriptors = test::OpenDescriptorCount();
    for (const auto& input : inputs) {
        SCOPED_TRACE(input.name);
        if (input.path == unreadable && rootReadsAnything) continue;  // permissions do not bind root
        auto processor = Make(GetParam());
        ConfigParam config = GetParam().config;
        config.mInputFileName = input.path;
        processor->SetConfig(config);
        int32_t status = TS_ERROR;
        try {
            status = processor->Init();
        } catch (const std::out_of_range&) {
            // The IVF parser takes the extension from the last '.', and a name
            // that opens but has none throws out of Init; nothing is leaked.
            EXPECT_EQ(std::string(GetParam().key), "Parse/VPX");
            EXPECT_EQ(input.path.find('.'), std::string::npos);
        }
        if (status == TS_OK) {
            // An input that opens and reads as empty may still start; it must end.
            const test::Run run = test::DriveToEnd(*processor, GetParam().bufferType, kMaxCalls);
            EXPECT_LT(run.calls, kMaxCalls);
            EXPECT_TRUE(run.stayedInside);
        } else {
            EXPECT_LT(status, 0);
        }
        processor->DeInit();
        processor.reset();
        EXPECT_EQ(test::OpenDescriptorCount(), descriptors);
    }
}

// Inputs that are not files of bytes (a FIFO nobody writes to, a character
// device, a directory) are refused at Init, without blocking, exactly as a
// file that does not exist: same status, same log.
TEST_P(InputFaults, InputThatIsNotAFileIsRefusedAsAMissingOne) {
    test::ScratchDir dir;
    const std::string sample = GetParam().sample;
    const std::string suffix = sample.substr(sample.rfind('.'));
    const std::string fifo = dir.File("fifo" + suffix);
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const auto initOn = [this](const std::string& path, std::vector<test::LogLine>* lines) {
        auto processor = Make(GetParam());
        ConfigParam config = GetParam().config;
        config.mInputFileName = path;
        processor->SetConfig(config);
        test::LogCapture logs;
        const int32_t status = processor->Init();
        *lines = logs.lines();
        return status;
    };
    std::vector<test::LogLine> missingLog;
    const int32_t missing = initOn(dir.File("missing" + suffix), &missingLog);
    ASSERT_LT(missing, 0);
    for (const std::string& path : {fifo, std::string("/dev/null"), dir.path()}) {
        SCOPED_TRACE(path);
        std::vector<test::LogLine> log;
        EXPECT_EQ(initOn(path, &log), missing);
        ASSERT_EQ(log.size(), missingLog.size());
        for (size_t i = 0; i < log.size(); ++i) {
            EXPECT_EQ(std::tie(log[i].priority, log[i].tag), std::tie(missingLog[i].priority, missingLog[i].tag));
            // The container parser names the file in its messages.
            if (log[i].message.find(path) == std::string::npos) {
                EXPECT_EQ(log[i].message, missingLog[i].message);
            }
        }
    }
}

// Client buffers of `capacity` bytes whose memory is not all there: an
// invalid or closed descriptor, memory smaller than mMapOffset + mCapacity,
// and (when emptyFile is given) a regular file of no bytes. Each buffer closes
// the descriptor it owns.
std::vector<std::pair<std::string, std::shared_ptr<Buffer>>> BuffersWithoutMemory(
    uint64_t capacity, uint32_t type, int closedFd, const std::string& emptyFile) {
    auto make = [&](int fd, bool owned, uint32_t mapOffset) {
        std::shared_ptr<Buffer> buffer(new Buffer{}, [owned](Buffer* b) {
            if (owned) close(b->mFd);
            delete b;
        });
        buffer->mFd = fd;
        buffer->mCapacity = capacity;
        buffer->mMapOffset = mapOffset;
        buffer->mType = type;
        return buffer;
    };
    auto memfdOf = [](uint64_t bytes) {
        const int fd = memfd_create("short", 0);
        EXPECT_EQ(ftruncate(fd, static_cast<off_t>(bytes)), 0);
        return fd;
    };
    std::vector<std::pair<std::string, std::shared_ptr<Buffer>>> buffers = {
        {"invalid descriptor", make(-1, false, 0)},
        {"closed descriptor", make(closedFd, false, 0)},
        {"memory half the capacity", make(memfdOf(capacity / 2), true, 0)},
        {"memory one page short of the map offset", make(memfdOf(capacity + 4096), true, 8192)},
    };
    if (!emptyFile.empty()) {
        buffers.push_back({"a regular file of no bytes", make(open(emptyFile.c_str(), O_RDWR), true, 0)});
    }
    return buffers;
}

// Client buffers whose memory is not all there: a descriptor that is invalid
// or closed, memory smaller than mMapOffset + mCapacity. The call fails before
// touching the mapping (which would kill the client), and a good buffer
// afterwards is served as usual.
TEST_P(ProducerFaults, BufferWhoseMemoryIsNotThere) {
    test::ScratchDir dir;
    auto processor = Start(HasInput() ? test::DataPath(GetParam().sample) : "");
    ASSERT_NE(processor, nullptr);
    const uint32_t wanted = processor->GetBufferLength();
    const uint64_t capacity = (wanted == 0 || static_cast<int32_t>(wanted) < 0) ? 4096 : wanted;

    const int closed = dup(STDIN_FILENO);
    ASSERT_GE(closed, 0);
    close(closed);
    for (auto& [name, buffer] : BuffersWithoutMemory(capacity, GetParam().bufferType, closed,
                                                     dir.Write("empty", ""))) {
        SCOPED_TRACE(name);
        // The container parser ignores the outcome of copying a codec-config
        // header: that call succeeds with nothing delivered.
        const int32_t status = processor->Process(buffer);
        EXPECT_TRUE(status < 0 || (buffer->mLength == 0 && (buffer->mFlags & Buffer::FLAG_CODEC_CONFIG)))
            << status;
        EXPECT_LE(buffer->mOffset + buffer->mLength, buffer->mCapacity);
    }
    const test::Run rest = test::DriveToEnd(*processor, GetParam().bufferType, kMaxCalls);
    EXPECT_TRUE(rest.sawEos) << rest.lastStatus;
    processor->DeInit();
}

INSTANTIATE_TEST_SUITE_P(Families, ProducerFaults, ::testing::ValuesIn(test::ProducerFamilies()),
                         [](const auto& param) { return std::string(param.param.name); });
INSTANTIATE_TEST_SUITE_P(Families, InputFaults, ::testing::ValuesIn(test::FamiliesWithInput()),
                         [](const auto& param) { return std::string(param.param.name); });

std::shared_ptr<TessaroInterface> StartWriter(const char* key, const std::string& output, int32_t expected = TS_OK) {
    auto writer = TessaroFactory::getInstance()->getProcessorInstance(key);
    ConfigParam config{};
    config.mOutputFileName = output;
    config.mWidth = config.mStride = 64;
    config.mHeight = config.mScanlines = 48;
    config.mPixFormat = 1;
    writer->SetConfig(config);
    EXPECT_EQ(writer->Init(), expected);
    return writer;
}

// Writers whose output cannot be opened refuse to start, and a DeInit then
// has nothing to close.
TEST(WriterFaults, OutputThatCannotTakeTheBytes) {
    test::ScratchDir dir;
    for (const char* key : {"Write/Compressed", "Write/UnCompressed"}) {
        for (const std::string& path : {dir.path(), dir.File("missing/out"), std::string()}) {
            SCOPED_TRACE(std::string(key) + " to '" + path + "'");
            auto writer = StartWriter(key, path, TS_ERROR);
            auto buffer = test::MakeClientBuffer(64, std::string(key) == "Write/UnCompressed" ? 1 : 0);
            buffer->mLength = 64;
            EXPECT_EQ(writer->Process(buffer), -3);  // never started
            writer->DeInit();
        }
    }
}

// Writers handed a buffer whose memory is not all there refuse it before
// reading a byte, and the output stays empty.
TEST(WriterFaults, BufferWhoseMemoryIsNotThere) {
    test::ScratchDir dir;
    const int closed = dup(STDIN_FILENO);
    ASSERT_GE(closed, 0);
    close(closed);
    for (const char* key : {"Write/Compressed", "Write/UnCompressed"}) {
        const bool raw = std::string(key) == "Write/UnCompressed";
        const std::string output = dir.File(raw ? "raw.out" : "compressed.out");
        auto writer = StartWriter(key, output);
        const uint64_t capacity = raw ? writer->GetBufferLength() : 4608;
        for (auto& [name, buffer] : BuffersWithoutMemory(capacity, raw ? 1 : 0, closed, "")) {
            SCOPED_TRACE(std::string(key) + ": " + name);
            buffer->mLength = capacity;
            EXPECT_LT(writer->Process(buffer), 0);
        }
        EXPECT_EQ(writer->DeInit(), TS_OK);
        EXPECT_EQ(test::ReadFile(output), "");
    }
}

// /dev/full accepts the open and refuses every byte. The compressed writer
// reports the failed write ("Error. Fail to read Input File.", TS_ERROR) as
// soon as its stream passes the bytes on, and every later write fails too; the
// raw writer's short writes are silent.
TEST(WriterFaults, DeviceWithNoSpaceLeft) {
    if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
    test::LogCapture logs;
    auto writer = StartWriter("Write/Compressed", "/dev/full");
    auto buffer = test::MakeLinearBuffer(1 << 16);
    buffer->mLength = 1 << 16;  // larger than the stream's own buffer: written at once
    EXPECT_EQ(writer->Process(buffer), TS_ERROR);
    buffer->mLength = 16;
    EXPECT_EQ(writer->Process(buffer), TS_ERROR);
    EXPECT_EQ(logs.Count(6, "Tessaro::Impl::StreamWriter::Compressed", "Error. Fail to read Input File."), 2u);
    EXPECT_EQ(writer->DeInit(), TS_OK);
    EXPECT_EQ(writer->DeInit(), TS_OK);

    auto raw = StartWriter("Write/UnCompressed", "/dev/full");
    const uint32_t length = raw->GetBufferLength();
    ASSERT_GT(length, 0u);
    auto picture = test::MakeGraphicBuffer(length);
    picture->mLength = length;
    for (int i = 0; i < 20; ++i) EXPECT_EQ(raw->Process(picture), TS_OK);
    EXPECT_EQ(raw->DeInit(), TS_OK);
}

}  // namespace
}  // namespace tessaro
