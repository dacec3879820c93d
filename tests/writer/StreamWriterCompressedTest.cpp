// The compressed writer appends each buffer's valid bytes to one file.
#include "writer/StreamWriterCompressed.h"

#include <gtest/gtest.h>

#include <utility>

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

// Buffers it cannot write are refused with -4 and their own check; nothing is written.
TEST(StreamWriterCompressed, RefusesBuffersItCannotWrite) {
    const auto unmapped = [](uint64_t capacity, uint64_t length, uint32_t type = 0) {
        auto b = test::MakeUnmappedBuffer(capacity, type);
        b->mLength = length;
        return b;
    };
    const std::pair<std::shared_ptr<Buffer>, const char*> cases[] = {
        {nullptr, "buffer == nullptr : Line# 33"},
        {unmapped(0, 0), "buffer->capacity() == 0 : Line# 34"},
        {unmapped(16, 0, 1), "buffer->isLinear() == false : Line# 35"},
        {Filled(16, 'x', 17), "buffer->mLength > buffer->capacity() : Line# 36"},  // would run past the mapping
        {unmapped(16, 4), "vaddr == nullptr : Line# 37"}};
    for (const auto& [buffer, report] : cases) {
        SCOPED_TRACE(report);
        test::ScratchDir dir;
        StreamWriterCompressed writer;
        Configure(writer, dir.File("out.264"));
        ASSERT_EQ(writer.Init(), TS_OK);
        test::LogCapture logs;
        EXPECT_EQ(writer.Process(buffer), -4);
        EXPECT_TRUE(logs.Has(6, kTag, report));
        writer.DeInit();
        EXPECT_EQ(ReadFile(dir.File("out.264")), "");
    }
}

}  // namespace
}  // namespace tessaro
