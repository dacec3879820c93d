// The raw picture writer: which rows of the buffer each pixel format writes,
// the sizes it reports, its log lines, and its life cycle edges.
#include "writer/StreamWriterUnCompressed.h"

#include <VideoBufferLayout.h>
#include <gtest/gtest.h>

#include "support/LogCapture.h"
#include "uncompressed/RawTestSupport.h"

namespace tessaro {
namespace {

using test::LogCapture;

constexpr const char* kWriterTag = "Tessaro::Impl::StreamWriter::Compressed";

// A graphic buffer whose byte i is i x 7 mod 251, so every row is distinct.
std::shared_ptr<Buffer> PatternedBuffer(uint64_t capacity) {
    auto buffer = test::MakeGraphicBuffer(capacity);
    std::string bytes(capacity, '\0');
    for (uint64_t i = 0; i < capacity; ++i) bytes[i] = static_cast<char>(i * 7 % 251);
    Buffer::Mapping mapping(buffer);
    std::copy(bytes.begin(), bytes.end(), mapping.vaddr());
    return buffer;
}

struct Rows {
    uint64_t offset, count, length, pitch;
};

std::vector<uint8_t> Extract(const std::vector<uint8_t>& buffer, const std::vector<Rows>& runs) {
    std::vector<uint8_t> out;
    for (const Rows& r : runs) {
        for (uint64_t i = 0; i < r.count; ++i) {
            const auto start = buffer.begin() + r.offset + i * r.pitch;
            out.insert(out.end(), start, start + r.length);
        }
    }
    return out;
}

class RawWriter : public ::testing::Test {
protected:
    void Start(uint32_t format, uint32_t width, uint32_t height, uint32_t stride, uint32_t scanlines) {
        ConfigParam c = test::RawConfig({width, height, stride, scanlines});
        c.mPixFormat = format;
        c.mOutputFileName = scratch.File("out.yuv");
        writer = std::make_unique<StreamWriterUnCompressed>();
        ASSERT_EQ(writer->SetConfig(c), 0);
        ASSERT_EQ(writer->Init(), 0);
    }
    std::vector<uint8_t> Output() { return test::FileBytes(scratch.File("out.yuv")); }

    test::ScratchDir scratch;
    std::unique_ptr<StreamWriterUnCompressed> writer;
};

TEST_F(RawWriter, RowRunsAndSizesOfEveryFormat) {
    const uint32_t w = 33, h = 9, s = 48, sl = 12;
    const uint64_t yv12Pitch = 64, yv12ChromaPitch = 64;
    struct Case {
        uint32_t format;
        std::vector<Rows> rows;
        uint32_t size;
        bool logsRows;
    };
    const Case cases[] = {
        {1, {{0, h, w, s}, {sl * s, h / 2, w, s}}, VideoBufferLayout_GetBufferSize(0, w, h), true},
        {2, {{0, h, w, s}, {sl * s, h / 2, w, s}}, VideoBufferLayout_GetBufferSize(2, w, h), true},
        {3, {{0, h, w, yv12Pitch}, {h * yv12Pitch, h, w / 2, yv12ChromaPitch}}, h * w + (h + 1) / 2 * 34, false},
        {4, {{0, h, 2 * w, 2 * s}, {sl * 2 * s, h / 2, 2 * w, 2 * s}}, VideoBufferLayout_GetBufferSize(3, w, h), true},
        {5, {{0, h, 2 * w, 2 * s}, {sl * 2 * s, h, 2 * w, 2 * s}}, VideoBufferLayout_GetBufferSize(6, w, h), true},
        {6, {{0, 1, VideoBufferLayout_GetBufferSize(7, w, h), 0}}, VideoBufferLayout_GetBufferSize(7, w, h), false},
        {7, {{0, 1, VideoBufferLayout_GetBufferSizeUsed(1, w, h, 0), 0}}, VideoBufferLayout_GetBufferSizeUsed(1, w, h, 0), false},
        {8, {{0, 1, VideoBufferLayout_GetBufferSizeUsed(5, w, h, 0), 0}}, VideoBufferLayout_GetBufferSizeUsed(5, w, h, 0), false},
        {9, {{0, 1, VideoBufferLayout_GetBufferSizeUsed(1, w, h / 2, 1), 0}}, VideoBufferLayout_GetBufferSizeUsed(1, w, h / 2, 1), false},
        {10, {{0, h, 4 * w, 4 * s}}, VideoBufferLayout_GetBufferSize(8, w, h), true},
        {11, {{0, h, 8 * w, 8 * s}}, w * h * 8, true},
        {12, {{0, h, 4 * w, 4 * s}}, 4096, true},
        {13, {{0, 1, VideoBufferLayout_GetBufferSize(9, w, h), 0}}, VideoBufferLayout_GetBufferSize(9, w, h), false},
        {0, {}, 4096, false},
        {14, {}, 4096, false},
        {255, {}, 4096, false},
    };
    auto buffer = PatternedBuffer(1 << 18);
    const auto image = test::ReadAll(*buffer);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.format);
        Start(c.format, w, h, s, sl);
        EXPECT_EQ(writer->GetBufferLength(), c.size);
        LogCapture logs;
        ASSERT_EQ(writer->Process(buffer), 0);
        ASSERT_EQ(writer->Process(buffer), 0);
        writer->DeInit();
        const auto picture = Extract(image, c.rows);
        auto twice = picture;
        twice.insert(twice.end(), picture.begin(), picture.end());
        EXPECT_EQ(Output(), twice);
        char header[160];
        snprintf(header, sizeof header, "mConfigParam.mPixFormat:0x%x Width:%u Height:%u Stride:%u Scanlines:%u Size:0x%x",
                 c.format, w, h, s, sl, c.size);
        EXPECT_EQ(logs.Count(4, kWriterTag, header), 2u);
        uint64_t rows = 0;
        for (const Rows& r : c.rows) rows += r.count;
        char rowLine[32];
        snprintf(rowLine, sizeof rowLine, "bufferSize: 0x%x", static_cast<unsigned>(rows));
        EXPECT_EQ(logs.Count(4, kWriterTag, rowLine), c.logsRows ? 2u : 0u);
    }
}

TEST_F(RawWriter, FullHdNV12InAPaddedBuffer) {
    Start(1, 1920, 1080, 2048, 1088);
    auto buffer = PatternedBuffer(2048 * 1088 * 3 / 2);
    ASSERT_EQ(writer->Process(buffer), 0);
    writer->DeInit();
    const auto out = Output();
    ASSERT_EQ(out.size(), 3110400u);
    const auto image = test::ReadAll(*buffer);
    EXPECT_EQ(out, Extract(image, {{0, 1080, 1920, 2048}, {2048 * 1088, 540, 1920, 2048}}));
}

TEST_F(RawWriter, SingleRowNV12HasNoChromaAndYV12UsesItsOwnPitches) {
    auto buffer = PatternedBuffer(1 << 16);
    const auto image = test::ReadAll(*buffer);
    Start(1, 16, 1, 32, 4);
    LogCapture logs;
    ASSERT_EQ(writer->Process(buffer), 0);
    writer->DeInit();
    EXPECT_EQ(Output(), Extract(image, {{0, 1, 16, 32}}));
    EXPECT_TRUE(logs.Has(4, kWriterTag, "bufferSize: 0x1"));

    Start(3, 100, 4, 300, 300);  // stride and scanlines play no part
    ASSERT_EQ(writer->Process(buffer), 0);
    writer->DeInit();
    EXPECT_EQ(Output(), Extract(image, {{0, 4, 100, 128}, {4 * 128, 4, 50, 64}}));
}

TEST_F(RawWriter, ChecksInOrder) {
    LogCapture logs;
    StreamWriterUnCompressed idle;
    auto graphic = test::MakeGraphicBuffer(4096);
    EXPECT_EQ(idle.Process(nullptr), -3);
    EXPECT_EQ(idle.GetBufferLength(), 0u);
    Start(1, 0, 0, 16, 16);
    EXPECT_EQ(writer->GetBufferLength(), 0u);
    EXPECT_EQ(writer->Process(nullptr), -4);
    EXPECT_EQ(writer->Process(std::make_shared<Buffer>()), -4);
    EXPECT_EQ(writer->Process(test::MakeLinearBuffer(4096)), -4);
    EXPECT_EQ(writer->Seek(), TS_ERROR);
    Start(1, 16, 0, 16, 16);
    EXPECT_EQ(writer->GetBufferLength(), 0u);
    EXPECT_TRUE(logs.HasAll(6, kWriterTag, {"mState != STATE::RUNNING : Line# 31", "mState != STATE::RUNNING : Line# 160",
                                            "mConfigParam.mWidth == 0 : Line# 161", "buffer == nullptr : Line# 33",
                                            "buffer->capacity() == 0 : Line# 34", "buffer->isGraphic() == false : Line# 35",
                                            "Error. Seek is not present for StreamWriter", "mConfigParam.mHeight == 0 : Line# 162"}));

    StreamWriterUnCompressed nowhere;
    ConfigParam c{};
    c.mOutputFileName = scratch.File("missing/dir/out.yuv");
    nowhere.SetConfig(c);
    EXPECT_EQ(nowhere.Init(), TS_ERROR);
    EXPECT_TRUE(logs.Has(6, kWriterTag, "mOutputFile == nullptr : Line# 23"));
    EXPECT_EQ(nowhere.state(), STATE::CONFIGURED);
    EXPECT_EQ(nowhere.DeInit(), TS_OK);  // nothing open: nothing closed
}

// A configured picture that reaches past the buffer would be read from outside
// the mapping; the writer refuses it and writes nothing.
TEST_F(RawWriter, PictureBeyondTheBufferIsRefused) {
    LogCapture logs;
    struct Case {
        uint32_t format, width, height, stride, scanlines;
    } cases[] = {{1, 64, 64, 64, 64}, {10, 64, 17, 64, 17}, {7, 64, 64, 64, 64}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.format);
        Start(c.format, c.width, c.height, c.stride, c.scanlines);
        auto small = PatternedBuffer(4096);
        EXPECT_EQ(writer->Process(small), -2);
        writer->DeInit();
        EXPECT_TRUE(Output().empty());
    }
    EXPECT_EQ(logs.Count(6, kWriterTag, "Error. Picture does not fit in the buffer."), 3u);

    Start(1, 16, 16, 16, 16);
    EXPECT_EQ(writer->Process(test::MakeUnmappedBuffer(4096, 1)), -2);
    EXPECT_TRUE(logs.Has(6, kWriterTag, "Invalid Source Address"));
}

// A second DeInit, a Process after DeInit, a second Init and a writer dropped
// without DeInit neither crash nor leak; the file holds what was written.
TEST_F(RawWriter, LifeCycleEdges) {
    auto buffer = PatternedBuffer(8192);
    Start(10, 4, 2, 4, 2);
    ASSERT_EQ(writer->Process(buffer), 0);
    EXPECT_EQ(writer->DeInit(), TS_OK);
    EXPECT_EQ(writer->DeInit(), TS_OK);
    EXPECT_EQ(writer->state(), STATE::RUNNING);
    LogCapture logs;
    EXPECT_EQ(writer->Process(buffer), TS_ERROR);
    EXPECT_TRUE(logs.Has(6, kWriterTag, "Error. Fail to read Input File."));
    EXPECT_EQ(Output().size(), 32u);

    ASSERT_EQ(writer->Init(), TS_OK);  // reopens and truncates
    ASSERT_EQ(writer->Init(), TS_OK);
    ASSERT_EQ(writer->Process(buffer), 0);
    ASSERT_EQ(writer->Process(buffer), 0);
    writer.reset();  // no DeInit: the file is closed and flushed
    EXPECT_EQ(Output().size(), 64u);
}

}  // namespace
}  // namespace tessaro
