// Every compressed parser driven through the public API only (factory key,
// ConfigParam, SetConfig, Init, GetBufferLength, Process on memfd client
// buffers, DeInit, GetFrameIndex) over the scenarios of
// tests/data/compressed/scenarios.txt: the committed samples and inline byte
// scripts. Each run is written down (statuses, the frame index, every buffer's
// fields and a digest of its delivered bytes, seeks' written-back fields, every
// log line) and compared with tests/data/compressed/transcripts.txt. To record
// them anew:
// TESSARO_WRITE_TRANSCRIPTS=1 tessaro_compressed_tests --gtest_filter='Scenarios/*'.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include "support/ClientBuffer.h"
#include "support/TestPaths.h"
#include "tessaro/FrameIndex.h"
#include "tessaro/TessaroFactory.h"
#include "transcript/Transcript.h"

namespace tessaro {
namespace {

// A config change handed to SetConfig before Process call `call` (0-based).
struct Event {
    uint32_t call;
    std::string word;
};

struct Scenario {
    std::string name, key, input;
    std::vector<std::string> words;  // config words before Init
    std::vector<Event> events;       // "@N:word" words
    uint32_t calls = 48, capacity = 0, mapOffset = 0;
    bool idle = false, lengths = false;
};

void PrintTo(const Scenario& s, std::ostream* os) { *os << s.name; }

std::vector<uint32_t> Numbers(const std::string& list) {
    std::vector<uint32_t> numbers;
    std::istringstream in(list);
    for (std::string n; std::getline(in, n, ',');) numbers.push_back(static_cast<uint32_t>(std::stoul(n, nullptr, 0)));
    return numbers;
}

// Applies one config word (frames=, loop=, repeat=, super=, rate=N/D,
// delivery=, skip=a,b, order=a,b, seek=MODE/FRAME, slice, forever); false if unknown.
bool Apply(const std::string& word, ConfigParam& c) {
    const size_t eq = word.find('=');
    const std::string name = word.substr(0, eq), value = eq == std::string::npos ? "" : word.substr(eq + 1);
    const std::map<std::string, uint32_t ConfigParam::*> fields = {
        {"frames", &ConfigParam::mFrames}, {"loop", &ConfigParam::mLoopFrames}, {"repeat", &ConfigParam::mRepeatInterval},
        {"super", &ConfigParam::mSuperFrame}, {"delivery", &ConfigParam::mDeliveryMode}};
    if (fields.count(name)) c.*fields.at(name) = Numbers(value).at(0);
    else if (name == "slice") c.mSliceMode = true;
    else if (name == "forever") c.mLoopForever = true;
    else if (name == "skip") c.mSkipSlices = Numbers(value);
    else if (name == "order") c.mSliceOrder = Numbers(value);
    else if (name == "seek") std::sscanf(value.c_str(), "%u/%u", &c.mSeekMode, &c.mSeekFrame);
    else if (name == "rate") std::sscanf(value.c_str(), "%u/%u", &c.mFrameRateNum, &c.mFrameRateDen);
    else return false;
    return true;
}

// One line: name key input then words; input is a path under tests/data,
// "hex.EXT:bytes" (hex, "_" between groups, "GROUP*N" repeats a group),
// "zeros.EXT:N" or "missing.EXT". Words: config words, "@N:word" (SetConfig
// before Process call N; "@N:length" asks GetBufferLength), calls=, capacity=,
// mapoffset=, idle (calls before Init), lengths (GetBufferLength before every Process).
Scenario ParseScenario(const std::string& line) {
    Scenario s;
    std::istringstream in(line);
    in >> s.name >> s.key >> s.input;
    ConfigParam ignored;
    for (std::string word; in >> word;) {
        if (word[0] == '@') {
            s.events.push_back({static_cast<uint32_t>(std::stoul(word.substr(1))), word.substr(word.find(':') + 1)});
        } else if (word.rfind("calls=", 0) == 0) s.calls = Numbers(word.substr(6)).at(0);
        else if (word.rfind("capacity=", 0) == 0) s.capacity = Numbers(word.substr(9)).at(0);
        else if (word.rfind("mapoffset=", 0) == 0) s.mapOffset = Numbers(word.substr(10)).at(0);
        else if (word == "idle") s.idle = true;
        else if (word == "lengths") s.lengths = true;
        else if (Apply(word, ignored)) s.words.push_back(word);
        else ADD_FAILURE() << "unknown word " << word << " in " << s.name;
    }
    return s;
}

std::vector<Scenario> Scenarios() {
    std::vector<Scenario> all;
    std::ifstream in(test::DataPath("compressed/scenarios.txt"));
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line[0] != '#') all.push_back(ParseScenario(line));
    }
    return all;
}

std::string HexBytes(const std::string& script) {
    std::string bytes;
    std::istringstream in(script);
    for (std::string group; std::getline(in, group, '_');) {
        const size_t star = group.find('*');
        const uint32_t times = star == std::string::npos ? 1 : Numbers(group.substr(star + 1)).at(0);
        std::string once;
        for (size_t i = 0; i + 1 < std::min(star, group.size()); i += 2) {
            once += static_cast<char>(std::stoul(group.substr(i, 2), nullptr, 16));
        }
        for (uint32_t t = 0; t < times; ++t) bytes += once;
    }
    return bytes;
}

// The input file of a scenario: a committed sample or bytes written to the scratch directory.
std::string InputPath(const std::string& input, const test::ScratchDir& scratch) {
    const size_t colon = input.find(':');
    const size_t dot = input.find('.');
    const std::string kind = input.substr(0, std::min(dot, colon));
    const std::string file = "in" + (dot < colon ? input.substr(dot, colon - dot) : std::string());
    if (kind == "hex") return scratch.Write(file, HexBytes(input.substr(colon + 1)));
    if (kind == "zeros") return scratch.Write(file, std::string(Numbers(input.substr(colon + 1)).at(0), '\0'));
    if (kind == "missing") return scratch.File(file);
    return test::DataPath(input);
}

void Index(test::Transcript& t, const TessaroInterface& p) {
    std::vector<FrameIndexEntry> entries;
    t.Call("GetFrameIndex", GetFrameIndex(p, entries));
    for (const FrameIndexEntry& e : entries) {
        std::ostringstream line;
        line << "  frame " << e.frame << "." << e.unit << " " << e.offset << "+" << e.length << " type=" << e.type
             << " last=" << e.last << " layer=" << e.layer;
        for (const FrameIndexSlice& s : e.slices) line << " s" << s.slice << "=" << s.offset << "+" << s.length;
        t.Note(line.str());
    }
}

void Record(test::Transcript& t, const Buffer& b) {
    std::string bytes = "out-of-range";
    if (b.mOffset + b.mLength <= b.mCapacity) bytes = test::Digest(test::ReadValid(b));
    std::ostringstream line;
    line << "  len=" << b.mLength << " off=" << b.mOffset << " flags=" << b.mFlags << " ts=" << b.mTimestamp
         << " eof=" << b.mEndOfFrame << " skipped=" << b.mSliceSkipped << " info=" << b.mSliceInfo << " bytes=" << bytes;
    t.Note(line.str());
}

// Fields a processor writes start each call as values it never writes.
void Reset(Buffer& b) {
    b.mLength = b.mOffset = b.mTimestamp = 77777;
    b.mFlags = 0;
    b.mEndOfFrame = b.mSliceSkipped = 7;
    b.mSliceInfo = 77;
}

void Change(test::Transcript& t, TessaroInterface& p, const Event& e) {
    if (e.word == "length") {
        t.Call("GetBufferLength", p.GetBufferLength());
        return;
    }
    ConfigParam change;
    Apply(e.word, change);
    t.Call("SetConfig " + e.word, p.SetConfig(change));
    if (change.mSeekMode != 0) {
        t.Note("  seek mode=" + std::to_string(change.mSeekMode) + " frame=" + std::to_string(change.mSeekFrame) +
               " seeked=" + std::to_string(change.mSeekedFrame));
    }
}

void Idle(test::Transcript& t, TessaroInterface& p) {
    t.Call("GetBufferLength idle", p.GetBufferLength());
    t.Call("Process null", p.Process(nullptr));
    t.Call("Process idle", p.Process(test::MakeLinearBuffer(4096)));
    t.Call("Seek idle", p.Seek());
    Index(t, p);
}

void Play(const Scenario& s, const test::ScratchDir& scratch, test::Transcript& t) {
    ConfigParam c;
    for (const std::string& word : s.words) Apply(word, c);
    c.mInputFileName = InputPath(s.input, scratch);
    auto p = TessaroFactory::getInstance()->getProcessorInstance(s.key);
    t.Flush();
    if (s.idle) Idle(t, *p);
    t.Call("SetConfig", p->SetConfig(c));
    t.Call("Init", p->Init());
    Index(t, *p);
    const uint32_t length = t.Call("GetBufferLength", p->GetBufferLength());
    const uint64_t capacity = s.capacity ? s.capacity : (length == 0 || length > (1u << 24) ? 4096 : length);
    auto buffer = test::MakeClientBuffer(capacity, 0, s.mapOffset);
    for (uint32_t call = 0, eos = 0; call < s.calls && eos < 2; ++call) {
        for (const Event& e : s.events) {
            if (e.call == call) Change(t, *p, e);
        }
        if (s.lengths) t.Call("GetBufferLength", p->GetBufferLength());
        Reset(*buffer);
        t.Call("Process", p->Process(buffer));
        Record(t, *buffer);
        eos += (buffer->mFlags & Buffer::FLAG_EOS) ? 1 : 0;
    }
    t.Call("DeInit", p->DeInit());
    std::vector<FrameIndexEntry> after;
    t.Call("GetFrameIndex after DeInit", GetFrameIndex(*p, after));
}

// Paths of the scratch directory and the samples are written as <scratch> and <data>.
std::string Normalised(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); !from.empty() && at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

class CompressedTranscript : public ::testing::TestWithParam<Scenario> {};

TEST_P(CompressedTranscript, MatchesTheRecordedRun) {
    const Scenario& s = GetParam();
    test::ScratchDir scratch;
    std::string actual;
    {
        test::Transcript t;
        Play(s, scratch, t);
        actual = t.Text();
    }
    actual = Normalised(Normalised(actual, scratch.path(), "<scratch>"), test::DataPath(""), "<data>/");
    test::MatchRecorded("compressed/transcripts.txt", s.name, actual);
}

INSTANTIATE_TEST_SUITE_P(Scenarios, CompressedTranscript, ::testing::ValuesIn(Scenarios()),
                         [](const auto& param) { return param.param.name; });

}  // namespace
}  // namespace tessaro
