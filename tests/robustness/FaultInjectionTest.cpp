// Input faults a test lab meets: the input changed under a running processor,
// inputs that cannot be read. Every case ends in a status, never a crash, a
// read past a buffer or a descriptor left open. (Client buffers without memory
// and outputs that take no bytes are checked where they are refused: the
// mapping, client buffer I/O, output stream and writer tests.)
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <tuple>

#include "robustness/RobustnessSupport.h"
#include "support/LogCapture.h"
#include "support/Probe.h"
#include "support/TestPaths.h"

namespace tessaro {
namespace {

class InputFaults : public ::testing::TestWithParam<test::Producer> {
protected:
    // A processor configured for `path`, and the status and log of its Init.
    std::shared_ptr<TessaroInterface> Make(const std::string& path, int32_t* status = nullptr,
                                           std::vector<test::LogLine>* log = nullptr) {
        auto processor = TessaroFactory::getInstance()->getProcessorInstance(GetParam().key);
        ConfigParam config = GetParam().config;
        config.mInputFileName = path;
        processor->SetConfig(config);
        test::LogCapture logs;
        try {
            const int32_t result = processor->Init();
            if (status) *status = result;
        } catch (const std::out_of_range&) {
            // The IVF parser takes the extension from the last '.': a name that
            // opens but has none throws out of Init; nothing is leaked.
            EXPECT_EQ(std::string(GetParam().key), "Parse/VPX");
            if (status) *status = TS_ERROR;
        }
        if (log) *log = logs.lines();
        return processor;
    }
    std::string Suffix() const { return std::string(GetParam().sample).substr(std::string(GetParam().sample).rfind('.')); }
};

// Deleting or replacing the input after Init changes nothing: the processor
// reads through the file it opened. Truncating it ends the run with a status
// or an early end of stream, never with a read past the client buffer.
TEST_P(InputFaults, InputChangedAfterInit) {
    const std::string original = test::ReadFile(test::DataPath(GetParam().sample));
    test::ScratchDir dir;
    const test::Run expected = test::DriveToEnd(*Make(dir.Write("reference" + Suffix(), original)), GetParam().bufferType);
    ASSERT_TRUE(expected.sawEos);
    for (const std::string change : {"deleted", "replaced", "truncated to zero", "truncated to half"}) {
        SCOPED_TRACE(change);
        const std::string path = dir.Write("input" + Suffix(), original);
        auto processor = Make(path);
        const std::string other = dir.Write("other", std::string(original.size(), 'Z'));
        ASSERT_EQ(change == "deleted" ? unlink(path.c_str())
                  : change == "replaced" ? rename(other.c_str(), path.c_str())
                                         : truncate(path.c_str(), change == "truncated to zero" ? 0 : off_t(original.size() / 2)), 0);
        const test::Run run = test::DriveToEnd(*processor, GetParam().bufferType);
        EXPECT_TRUE(run.stayedInside);
        EXPECT_LT(run.calls, 400) << "the run did not end";
        EXPECT_TRUE(change[0] == 't' ? run.sawEos || run.lastStatus < 0 : run.sawEos && run.bytes == expected.bytes)
            << run.lastStatus;
        EXPECT_EQ(processor->DeInit(), TS_OK);
    }
}

// Inputs that cannot be opened, measured or read fail Init with a status and
// leave no descriptor behind. Those that are not files of bytes (a FIFO nobody
// writes to, a character device, a directory) are refused without blocking,
// exactly as a missing file: same status, same log.
TEST_P(InputFaults, InputThatCannotBeRead) {
    test::ScratchDir dir;
    const std::string unreadable = dir.Write("unreadable", "x"), fifo = dir.File("fifo" + Suffix());
    ASSERT_EQ(chmod(unreadable.c_str(), 0), 0);
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    int32_t missing = TS_OK;
    std::vector<test::LogLine> missingLog;
    Make(dir.File("missing" + Suffix()), &missing, &missingLog);
    ASSERT_LT(missing, 0);
    const int descriptors = test::OpenDescriptorCount();
    for (const std::string& path : {fifo, std::string("/dev/null"), dir.path(), unreadable, std::string("/proc/self/mem"), std::string()}) {
        SCOPED_TRACE(path);
        if (path == unreadable && access(path.c_str(), R_OK) == 0) continue;  // permissions do not bind root
        int32_t status = TS_ERROR;
        std::vector<test::LogLine> log;
        auto processor = Make(path, &status, &log);
        if (status == TS_OK) {  // opens and reads as empty (a raw reader on /proc/self/mem): it must end
            const test::Run run = test::DriveToEnd(*processor, GetParam().bufferType);
            EXPECT_TRUE(run.calls < 400 && run.stayedInside);
        }
        EXPECT_LE(status, 0);
        if (path == fifo || path == "/dev/null" || path == dir.path()) {
            EXPECT_EQ(status, missing);
            ASSERT_EQ(log.size(), missingLog.size());
            for (size_t i = 0; i < log.size(); ++i) {
                EXPECT_EQ(std::tie(log[i].priority, log[i].tag), std::tie(missingLog[i].priority, missingLog[i].tag));
                // The container parser names the file in its messages.
                EXPECT_TRUE(log[i].message.find(path) != std::string::npos || log[i].message == missingLog[i].message);
            }
        }
        processor->DeInit();
        processor.reset();
        EXPECT_EQ(test::OpenDescriptorCount(), descriptors);
    }
}

INSTANTIATE_TEST_SUITE_P(Families, InputFaults, ::testing::ValuesIn(test::ProducerFamilies(true)),
                         [](const auto& param) { return std::string(param.param.name); });

}  // namespace
}  // namespace tessaro
