// The compressed writer appends each buffer's valid bytes to one file.
#include "writer/StreamWriterCompressed.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iterator>

#include "support/ClientBuffer.h"
#include "support/LogCapture.h"
#include "support/TestPaths.h"

namespace tessaro {
namespace {

using test::LogCapture;
using test::MakeLinearBuffer;
using test::ScratchDir;

constexpr const char* kTag = "Tessaro::Impl::StreamWriter::Compressed";

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), {});
}

std::shared_ptr<Buffer> Filled(uint64_t capacity, uint8_t value, uint64_t length) {
    auto buffer = MakeLinearBuffer(capacity);
    test::FillBuffer(*buffer, value);
    buffer->mLength = length;
    return buffer;
}

struct Writer {
    explicit Writer(const std::string& output) {
        ConfigParam config;
        config.mOutputFileName = output;
        writer.SetConfig(config);
    }
    StreamWriterCompressed writer;
};

TEST(StreamWriterCompressed, AppendsValidBytesInCallOrderIgnoringFlagsAndOffset) {
    ScratchDir dir;
    const std::string out = dir.File("out.264");
    Writer w(out);
    ASSERT_EQ(w.writer.Init(), TS_OK);
    EXPECT_EQ(w.writer.state(), STATE::RUNNING);
    auto config = Filled(16, 'a', 3);
    config->mFlags = Buffer::FLAG_CODEC_CONFIG;
    config->mOffset = 5;  // not applied: the bytes are taken from the buffer's start
    LogCapture logs;
    EXPECT_EQ(w.writer.Process(config), TS_OK);
    EXPECT_TRUE(logs.Contains(4, kTag, "Buffer Capacity 16 | Filled length 3"));
    EXPECT_EQ(w.writer.Process(Filled(8, 'b', 0)), TS_OK);  // nothing to write
    EXPECT_EQ(w.writer.Process(Filled(8, 'c', 8)), TS_OK);
    EXPECT_EQ(w.writer.DeInit(), TS_OK);
    EXPECT_EQ(ReadFile(out), "aaacccccccc");
    EXPECT_EQ(w.writer.state(), STATE::RUNNING);

    // Still running after DeInit: the write fails on the closed file.
    logs.Clear();
    EXPECT_EQ(w.writer.Process(Filled(8, 'd', 2)), TS_ERROR);
    EXPECT_TRUE(logs.Contains(6, kTag, "Error. Fail to read Input File."));
    // A second Init reopens and truncates.
    ASSERT_EQ(w.writer.Init(), TS_OK);
    EXPECT_EQ(w.writer.Process(Filled(8, 'e', 1)), TS_OK);
    w.writer.DeInit();
    EXPECT_EQ(ReadFile(out), "e");
}

struct RefusedCase {
    const char* name;
    std::function<std::shared_ptr<Buffer>()> make;
    int32_t status;
    const char* report;
};

class StreamWriterCompressedRefuses : public ::testing::TestWithParam<RefusedCase> {};

TEST_P(StreamWriterCompressedRefuses, BuffersItCannotWriteAndWritesNothing) {
    ScratchDir dir;
    Writer w(dir.File("out.264"));
    ASSERT_EQ(w.writer.Init(), TS_OK);
    LogCapture logs;
    EXPECT_EQ(w.writer.Process(GetParam().make()), GetParam().status);
    EXPECT_TRUE(logs.Contains(6, kTag, GetParam().report)) << logs.Dump();
    w.writer.DeInit();
    EXPECT_EQ(ReadFile(dir.File("out.264")), "");
}

INSTANTIATE_TEST_SUITE_P(
    Buffers, StreamWriterCompressedRefuses,
    ::testing::Values(
        RefusedCase{"Null", [] { return std::shared_ptr<Buffer>(); }, -4,
                    "buffer == nullptr : Line# 33"},
        RefusedCase{"ZeroCapacity", [] { return std::make_shared<Buffer>(); }, -4,
                    "buffer->capacity() == 0 : Line# 34"},
        RefusedCase{"Graphic",
                    [] {
                        auto b = test::MakeGraphicBuffer(16);
                        b->mLength = 4;
                        return b;
                    },
                    -4, "buffer->isLinear() == false : Line# 35"},
        // The valid bytes would run past the mapping.
        RefusedCase{"LengthBeyondCapacity", [] { return Filled(16, 'x', 17); }, -4,
                    "buffer->mLength > buffer->capacity() : Line# 36"},
        RefusedCase{"Unmappable",
                    [] {
                        auto b = std::make_shared<Buffer>();
                        b->mCapacity = 16;
                        b->mLength = 4;
                        return b;
                    },
                    -4, "vaddr == nullptr : Line# 37"}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(StreamWriterCompressed, StateAndUnsupportedOperations) {
    ScratchDir dir;
    Writer w("");
    LogCapture logs;
    EXPECT_EQ(w.writer.Process(Filled(8, 'a', 1)), -3);
    EXPECT_TRUE(logs.Contains(6, kTag, "mState != STATE::RUNNING : Line# 31"));
    EXPECT_EQ(w.writer.Init(), TS_ERROR);
    EXPECT_TRUE(logs.Contains(6, kTag, "mOutputFile.is_open() == false : Line# 23"));
    EXPECT_EQ(w.writer.state(), STATE::CONFIGURED);
    EXPECT_EQ(w.writer.Seek(), TS_ERROR);
    EXPECT_TRUE(logs.Contains(6, kTag, "Error. Seek is not present for StreamWriter"));
    EXPECT_EQ(w.writer.GetBufferLength(), 0u);
    EXPECT_TRUE(logs.Contains(6, kTag, "Error. GetBufferLength is not present for StreamWriter"));
    EXPECT_EQ(w.writer.DeInit(), TS_OK);  // nothing open: still TS_OK
}

}  // namespace
}  // namespace tessaro
