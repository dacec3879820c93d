// Every raw reader, generator and the raw writer, driven through the scenarios
// of tests/data/raw/scenarios.txt (formats x geometries x buffers, page-sized
// buffers so a stray byte faults, round trips of the ffmpeg-made samples); each
// run is written down as a transcript (statuses, sizes, ranges, flags,
// timestamps, a digest of the whole client buffer and of the output file, every
// log line) and compared with tests/data/raw/transcripts.txt. To record them
// anew: TESSARO_WRITE_TRANSCRIPTS=1 tessaro_uncompressed_tests --gtest_filter='Scenarios/*'.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>

#include "support/LogCapture.h"
#include "tessaro/TessaroFactory.h"
#include "support/ClientBuffer.h"
#include "support/Probe.h"
#include "support/TestPaths.h"
#include "transcript/Transcript.h"
#include "uncompressed/StreamParserUncompressed.h"

namespace tessaro {
namespace {

struct Scenario {
    std::string name, key, mode = "play", input, ffmpeg;
    ConfigParam config{};
    uint32_t halfPictures = 7, capacity = 0, calls = 12, pix = 0;
};

void PrintTo(const Scenario& s, std::ostream* os) { *os << s.name; }

// One line: name key WxH/SxSL then words (mode=, frames=, super=, halves=,
// rate=, capacity=, calls=, pix=, input=, ffmpeg=, static, interlaced).
Scenario ParseScenario(const std::string& line) {
    Scenario s;
    std::istringstream in(line);
    std::string geometry, word;
    in >> s.name >> s.key >> geometry;
    ConfigParam& c = s.config;
    std::sscanf(geometry.c_str(), "%ux%u/%ux%u", &c.mWidth, &c.mHeight, &c.mStride, &c.mScanlines);
    std::map<std::string, uint32_t*> numbers = {
        {"frames", &c.mFrames}, {"super", &c.mSuperFrame}, {"rate", &c.mFrameRateNum},
        {"halves", &s.halfPictures}, {"capacity", &s.capacity}, {"calls", &s.calls}, {"pix", &s.pix}};
    while (in >> word) {
        const size_t eq = word.find('=');
        const std::string name = word.substr(0, eq), value = eq == std::string::npos ? "" : word.substr(eq + 1);
        if (name == "mode") s.mode = value;
        else if (name == "input") s.input = value;
        else if (name == "ffmpeg") s.ffmpeg = value;
        else if (name == "static") c.mStaticPattern = true;
        else if (name == "interlaced") c.mInterlaced = true;
        else if (numbers.count(name)) *numbers[name] = static_cast<uint32_t>(std::stoul(value));
        else ADD_FAILURE() << "unknown word " << word;
    }
    c.mFrameRateDen = c.mFrameRateNum ? 1 : 0;
    return s;
}

std::vector<Scenario> Scenarios() {
    std::vector<Scenario> all;
    std::ifstream in(test::DataPath("raw/scenarios.txt"));
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line[0] != '#') all.push_back(ParseScenario(line));
    }
    return all;
}

// Byte i of a made-up input file or buffer: every row and picture differs.
std::string Patterned(uint64_t size) {
    std::string bytes(size, '\0');
    for (uint64_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7 % 251 + i / 4093);
    return bytes;
}

std::shared_ptr<Buffer> Graphic(uint64_t capacity, const std::string& content) {
    auto buffer = test::MakeGraphicBuffer(capacity);
    Buffer::Mapping mapping(buffer);
    std::copy(content.begin(), content.begin() + std::min<uint64_t>(capacity, content.size()), mapping.vaddr());
    return buffer;
}

std::vector<uint8_t> FileBytes(const std::string& path) {
    const std::string bytes = test::ReadFile(path);
    return {bytes.begin(), bytes.end()};
}

using test::Digest;
using test::Transcript;

// A buffer's range, flags, timestamp and a digest of all its memory.
void Record(Transcript& t, const Buffer& b) {
    t.Note("  len=" + std::to_string(b.mLength) + " off=" + std::to_string(b.mOffset) + " flags=" + std::to_string(b.mFlags) +
           " ts=" + std::to_string(b.mTimestamp) + " bytes=" + Digest(test::ReadAll(b)));
}

class RawTranscript : public ::testing::TestWithParam<Scenario> {
protected:
    std::shared_ptr<TessaroInterface> Make(const std::string& key) {
        return TessaroFactory::getInstance()->getProcessorInstance(key);
    }
    static StreamParserUncompressed& Raw(TessaroInterface& p) { return dynamic_cast<StreamParserUncompressed&>(p); }

    // The input file: a committed sample, or halves/2 pictures as the reader counts them.
    std::string Input(const Scenario& s) {
        if (!s.input.empty()) return test::DataPath(s.input);
        ConfigParam probe = s.config;
        probe.mInputFileName = scratch.Write("probe", "x");
        auto reader = Make(s.key);
        reader->SetConfig(probe);
        reader->Init();
        reader->GetBufferLength();
        const uint64_t picture = s.key.rfind("Parse/", 0) == 0 ? Raw(*reader).fileBufferSize() : 0;
        return scratch.Write("in", Patterned(picture * s.halfPictures / 2));
    }
    void Lengths(Transcript& t, TessaroInterface& p) {
        t.Call("GetBufferLength", p.GetBufferLength());
        t.Note("  sizes " + std::to_string(Raw(p).bufferSize()) + " " + std::to_string(Raw(p).fileBufferSize()));
    }

    void Play(const Scenario& s, Transcript& t);
    void Judge(const Scenario& s, const std::string& path);
    void Checks(const Scenario& s, Transcript& t);
    void Write(const Scenario& s, Transcript& t);
    void WriterChecks(const Scenario& s, Transcript& t);
    void Output(Transcript& t, const std::string& path) {
        const auto bytes = FileBytes(path);
        t.Note("output " + std::to_string(bytes.size()) + " " + Digest(bytes));
    }

    test::ScratchDir scratch;
};

void RawTranscript::Play(const Scenario& s, Transcript& t) {
    ConfigParam c = s.config;
    c.mInputFileName = Input(s);
    auto producer = Make(s.key);
    std::shared_ptr<TessaroInterface> writer;
    if (s.pix != 0) {
        ConfigParam w = s.config;
        w.mPixFormat = s.pix;
        w.mOutputFileName = scratch.File("out");
        writer = Make("Write/UnCompressed");
        writer->SetConfig(w);
        writer->Init();
    }
    t.Call("SetConfig", producer->SetConfig(c));
    t.Call("Init", producer->Init());
    Lengths(t, *producer);
    const uint32_t length = producer->GetBufferLength();
    t.Flush();
    const uint32_t pages = std::max(4096u, (length + 4095) / 4096 * 4096);
    auto buffer = Graphic(s.capacity ? s.capacity : pages, std::string(1 << 22, '\xEE'));
    for (uint32_t call = 0, eos = 0; call < s.calls && eos < 2; ++call) {
        buffer->mFlags = 0;
        const int32_t status = t.Call("Process", producer->Process(buffer));
        Record(t, *buffer);
        eos += (buffer->mFlags & Buffer::FLAG_EOS) ? 1 : 0;
        if (writer && status == 0 && buffer->mLength != 0) t.Call("Write", writer->Process(buffer));
    }
    t.Call("DeInit", producer->DeInit());
    if (!writer) return;
    writer->DeInit();
    Output(t, scratch.File("out"));
    // A round trip of a committed sample gives its bytes back.
    if (!s.input.empty()) {
        EXPECT_EQ(FileBytes(scratch.File("out")), FileBytes(c.mInputFileName));
    }
    if (!s.ffmpeg.empty() && test::HaveTool("ffmpeg")) Judge(s, scratch.File("out"));
}

// ffmpeg, as the independent judge, reads the written file as whole pictures
// of the format and size and writes back the same bytes.
void RawTranscript::Judge(const Scenario& s, const std::string& path) {
    const std::string format = " -f rawvideo -pix_fmt " + s.ffmpeg;
    const std::string size = " -s " + std::to_string(s.config.mWidth) + "x" + std::to_string(s.config.mHeight);
    std::string decoded;
    ASSERT_EQ(test::RunCommand("ffmpeg -hide_banner -loglevel error" + format + size + " -i '" + path + "'" + format + " -", &decoded), 0);
    EXPECT_EQ(std::vector<uint8_t>(decoded.begin(), decoded.end()), FileBytes(path));
    EXPECT_FALSE(decoded.empty());
}

// The checks in their order, with the geometry fields that are zero, the
// direct calls and the life cycle.
void RawTranscript::Checks(const Scenario& s, Transcript& t) {
    ConfigParam c = s.config;
    c.mInputFileName = Input(s);
    auto p = Make(s.key);
    auto graphic = test::MakeGraphicBuffer(4096);
    t.Call("GetBufferLength idle", p->GetBufferLength());
    t.Call("Process null", p->Process(nullptr));
    t.Call("Process idle", p->Process(graphic));
    for (uint32_t ConfigParam::*field : {&ConfigParam::mWidth, &ConfigParam::mHeight, &ConfigParam::mStride, &ConfigParam::mScanlines}) {
        ConfigParam zero = c;
        zero.*field = 0;
        auto q = Make(s.key);
        q->SetConfig(zero);
        q->Init();
        t.Flush();
        Lengths(t, *q);
    }
    p->SetConfig(c);
    t.Call("Init", p->Init());
    t.Call("Process unsized", p->Process(graphic));
    Lengths(t, *p);
    const uint32_t length = std::max(p->GetBufferLength(), 1u);
    t.Call("Process linear", p->Process(test::MakeLinearBuffer(length)));
    t.Call("Process small", p->Process(test::MakeGraphicBuffer(length - 1)));
    ConfigParam wider{};
    wider.mStride = 2 * c.mStride;
    p->SetConfig(wider);
    Lengths(t, *p);  // sized once until DeInit
    t.Call("Read small", Raw(*p).ReadfromInputFile(test::MakeGraphicBuffer(16)));
    t.Call("Read null", Raw(*p).ReadfromInputFile(nullptr));
    t.Call("Read unmapped", Raw(*p).ReadfromInputFile(test::MakeUnmappedBuffer(length, 1)));
    t.Call("Seek", p->Seek());
    t.Call("DeInit", p->DeInit());
    t.Call("DeInit", p->DeInit());
    t.Note("  state " + std::to_string(static_cast<int>(Raw(*p).state())));
    t.Call("Init", p->Init());
    Lengths(t, *p);
    auto buffer = test::MakeGraphicBuffer((p->GetBufferLength() + 4095) / 4096 * 4096);
    t.Flush();
    for (int call = 0; call < 2; ++call) {
        t.Call("Process", p->Process(buffer));
        Record(t, *buffer);
    }
}

void RawTranscript::Write(const Scenario& s, Transcript& t) {
    ConfigParam c = s.config;
    c.mPixFormat = s.pix;
    c.mOutputFileName = scratch.File("out");
    auto writer = Make(s.key);
    writer->SetConfig(c);
    t.Call("Init", writer->Init());
    t.Call("GetBufferLength", writer->GetBufferLength());
    auto buffer = Graphic(s.capacity ? s.capacity : 1 << 18, Patterned(1 << 23));
    for (uint32_t call = 0; call < s.calls; ++call) t.Call("Process", writer->Process(buffer));
    t.Call("DeInit", writer->DeInit());
    Output(t, c.mOutputFileName);
}

void RawTranscript::WriterChecks(const Scenario& s, Transcript& t) {
    auto idle = Make(s.key);
    t.Call("Process idle", idle->Process(nullptr));
    t.Call("GetBufferLength idle", idle->GetBufferLength());
    ConfigParam nowhere = s.config;
    nowhere.mOutputFileName = scratch.File("missing/out");
    idle->SetConfig(nowhere);
    t.Call("Init nowhere", idle->Init());
    t.Call("DeInit nowhere", idle->DeInit());
    for (uint32_t ConfigParam::*field : {&ConfigParam::mWidth, &ConfigParam::mHeight}) {
        ConfigParam zero = s.config;
        zero.*field = 0;
        zero.mOutputFileName = scratch.File("zero");
        auto q = Make(s.key);
        q->SetConfig(zero);
        q->Init();
        t.Flush();
        t.Call("GetBufferLength", q->GetBufferLength());
    }
    ConfigParam c = s.config;
    c.mPixFormat = s.pix;
    c.mOutputFileName = scratch.File("out");
    auto w = Make(s.key);
    w->SetConfig(c);
    t.Call("Init", w->Init());
    auto buffer = Graphic(8192, Patterned(8192));
    t.Call("Process null", w->Process(nullptr));
    t.Call("Process empty", w->Process(std::make_shared<Buffer>()));
    t.Call("Process linear", w->Process(test::MakeLinearBuffer(4096)));
    t.Call("Process unmapped", w->Process(test::MakeUnmappedBuffer(4096, 1)));
    t.Call("Process small", w->Process(Graphic(64, "")));
    t.Call("Seek", w->Seek());
    t.Call("Process", w->Process(buffer));
    t.Call("DeInit", w->DeInit());
    t.Call("DeInit", w->DeInit());
    t.Call("Process closed", w->Process(buffer));
    Output(t, c.mOutputFileName);
    t.Call("Init", w->Init());
    t.Call("Init", w->Init());
    t.Call("Process", w->Process(buffer));
    w.reset();  // no DeInit: the file is closed and flushed
    Output(t, c.mOutputFileName);
}

TEST_P(RawTranscript, MatchesTheRecordedRun) {
    const Scenario& s = GetParam();
    Transcript t;
    if (s.mode == "play") Play(s, t);
    else if (s.mode == "checks") Checks(s, t);
    else if (s.mode == "write") Write(s, t);
    else if (s.mode == "writer-checks") WriterChecks(s, t);
    else FAIL() << "unknown mode " << s.mode;
    test::MatchRecorded("raw/transcripts.txt", s.name, t.Text());
}

// A frame-rate change after a super-frame change can rebase the timestamp below
// zero; the buffer then carries 0 rather than an undefined conversion.
TEST(ReaderCore, TimestampRebasedBelowZeroSaturates) {
    test::ScratchDir dir;
    auto reader = TessaroFactory::getInstance()->getProcessorInstance("Parse/NV12");
    ConfigParam c{};
    c.mWidth = c.mHeight = c.mStride = c.mScanlines = 4;
    c.mInputFileName = dir.Write("in", Patterned(3 * 24));
    reader->SetConfig(c);
    reader->Init();
    auto buffer = test::MakeGraphicBuffer(reader->GetBufferLength());
    ASSERT_EQ(reader->Process(buffer), 0);
    ConfigParam rate{}, back{};
    rate.mFrameRateNum = 1000000;
    rate.mFrameRateDen = 1;
    rate.mSuperFrame = 10;
    reader->SetConfig(rate);
    ASSERT_LT(dynamic_cast<TessaroImpl&>(*reader).timestamp(), 0.0f);
    reader->SetConfig(back);  // one picture a buffer again
    ASSERT_EQ(reader->Process(buffer), 0);
    EXPECT_EQ(buffer->mTimestamp, 0u);
}

INSTANTIATE_TEST_SUITE_P(Scenarios, RawTranscript, ::testing::ValuesIn(Scenarios()),
                         [](const auto& param) { return param.param.name; });

}  // namespace
}  // namespace tessaro
