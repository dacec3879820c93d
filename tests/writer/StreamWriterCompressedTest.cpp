// The compressed writer appends each buffer's valid bytes to one file.
#include "writer/StreamWriterCompressed.h"

#include <gtest/gtest.h>

#include <functional>

#include "support/ClientBuffer.h"
#include "support/LogCapture.h"
#include "support/Probe.h"
#include "support/TestPaths.h"

namespace tessaro {
namespace {

constexpr const char* kTag = "Tessaro::Impl::StreamWriter::Compressed";

using test::ReadFile;

std::shared_ptr<Buffer> Filled(uint64_t capacity, uint8_t value, uint64_t length) {
    auto buffer = test::MakeLinearBuffer(capacity);
    test::FillBuffer(*buffer, value);
    buffer->mLength = length;
    return buffer;
}

void Configure(StreamWriterCompressed& writer, const std::string& output) {
    ConfigParam config;
    config.mOutputFileName = output;
    writer.SetConfig(config);
}

TEST(StreamWriterCompressed, AppendsValidBytesInCallOrderUntilDeInitAndReInitTruncates) {
    test::ScratchDir dir;
    const std::string out = dir.File("out.264");
    StreamWriterCompressed writer;
    test::LogCapture logs;
    EXPECT_EQ(writer.Process(Filled(8, 'a', 1)), -3);
    EXPECT_EQ(writer.Init(), TS_ERROR);  // no output name
    EXPECT_TRUE(logs.HasAll(6, kTag, {"mState != STATE::RUNNING : Line# 31", "mOutputFile.is_open() == false : Line# 23"}));

    Configure(writer, out);
    ASSERT_EQ(writer.Init(), TS_OK);
    auto config = Filled(16, 'a', 3);
    config->mFlags = Buffer::FLAG_CODEC_CONFIG;  // flags play no part
    config->mOffset = 5;                         // nor does the offset
    EXPECT_EQ(writer.Process(config), TS_OK);
    EXPECT_TRUE(logs.Has(4, kTag, "Buffer Capacity 16 | Filled length 3"));
    EXPECT_EQ(writer.Process(Filled(8, 'b', 0)), TS_OK);
    EXPECT_EQ(writer.Process(Filled(8, 'c', 8)), TS_OK);
    EXPECT_EQ(writer.DeInit(), TS_OK);
    EXPECT_EQ(ReadFile(out), "aaacccccccc");

    // DeInit leaves the writer running: the next write fails on the closed file.
    EXPECT_EQ(writer.Process(Filled(8, 'd', 2)), TS_ERROR);
    EXPECT_TRUE(logs.Has(6, kTag, "Error. Fail to read Input File."));
    ASSERT_EQ(writer.Init(), TS_OK);
    EXPECT_EQ(writer.Process(Filled(8, 'e', 1)), TS_OK);
    writer.DeInit();
    EXPECT_EQ(ReadFile(out), "e");
}

struct RefusedCase {
    const char* name;
    std::function<std::shared_ptr<Buffer>()> make;
    const char* report;
};

class StreamWriterCompressedRefuses : public ::testing::TestWithParam<RefusedCase> {};

TEST_P(StreamWriterCompressedRefuses, BuffersItCannotWriteAndWritesNothing) {
    test::ScratchDir dir;
    StreamWriterCompressed writer;
    Configure(writer, dir.File("out.264"));
    ASSERT_EQ(writer.Init(), TS_OK);
    test::LogCapture logs;
    EXPECT_EQ(writer.Process(GetParam().make()), -4);
    EXPECT_TRUE(logs.Has(6, kTag, GetParam().report));
    writer.DeInit();
    EXPECT_EQ(ReadFile(dir.File("out.264")), "");
}

std::shared_ptr<Buffer> Unmapped(uint64_t capacity, uint64_t length) {
    auto b = test::MakeUnmappedBuffer(capacity);
    b->mLength = length;
    return b;
}

INSTANTIATE_TEST_SUITE_P(
    Buffers, StreamWriterCompressedRefuses,
    ::testing::Values(
        RefusedCase{"Null", [] { return std::shared_ptr<Buffer>(); }, "buffer == nullptr : Line# 33"},
        RefusedCase{"ZeroCapacity", [] { return Unmapped(0, 0); }, "buffer->capacity() == 0 : Line# 34"},
        RefusedCase{"Graphic", [] { return test::MakeUnmappedBuffer(16, 1); }, "buffer->isLinear() == false : Line# 35"},
        // The valid bytes would run past the mapping.
        RefusedCase{"LengthBeyondCapacity", [] { return Filled(16, 'x', 17); },
                    "buffer->mLength > buffer->capacity() : Line# 36"},
        RefusedCase{"Unmappable", [] { return Unmapped(16, 4); }, "vaddr == nullptr : Line# 37"}),
    [](const auto& p) { return std::string(p.param.name); });

}  // namespace
}  // namespace tessaro
