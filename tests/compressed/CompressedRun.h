// One run of a compressed parser through the public API only (factory key,
// ConfigParam, SetConfig, Init, GetFrameIndex, GetBufferLength, Process on
// memfd client buffers, DeInit), written down call by call: statuses, the
// frame index, every buffer's fields and a digest of its delivered bytes,
// seeks' written-back fields, every log line. The scenario line format is
// described in tests/data/compressed/scenarios.txt.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/ClientBuffer.h"
#include "support/TestPaths.h"
#include "tessaro/FrameIndex.h"
#include "tessaro/TessaroFactory.h"
#include "transcript/Transcript.h"

namespace tessaro::test {

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
    bool idle = false, lengths = false, unmapped = false;
};

inline void PrintTo(const Scenario& s, std::ostream* os) { *os << s.name; }

inline std::vector<uint32_t> Numbers(const std::string& list) {
    std::vector<uint32_t> numbers;
    std::istringstream in(list);
    for (std::string n; std::getline(in, n, ',');) numbers.push_back(static_cast<uint32_t>(std::stoul(n, nullptr, 0)));
    return numbers;
}

// Applies one config word (frames=, loop=, repeat=, super=, rate=N/D,
// delivery=, skip=a,b, order=a,b, seek=MODE/FRAME, slice, forever); false if unknown.
inline bool Apply(const std::string& word, ConfigParam& c) {
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
// "zeros.EXT:N", "missing.EXT" or an absolute path. Words: config words, "@N:word" (SetConfig
// before Process call N; "@N:length" asks GetBufferLength), calls=, capacity=,
// mapoffset=, idle (calls before Init), lengths (GetBufferLength before every Process),
// unmapped (a buffer record with no memory behind it).
inline Scenario ParseScenario(const std::string& line) {
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
        else if (word == "unmapped") s.unmapped = true;
        else if (word == "lengths") s.lengths = true;
        else if (Apply(word, ignored)) s.words.push_back(word);
        else ADD_FAILURE() << "unknown word " << word << " in " << s.name;
    }
    return s;
}

inline std::string HexBytes(const std::string& script) {
    std::string bytes;
    std::istringstream in(script);
    for (std::string group; std::getline(in, group, '_');) {
        const size_t star = group.find('*');
        const uint32_t times = star == std::string::npos ? 1 : Numbers(group.substr(star + 1)).at(0);
        std::string once;
        for (size_t i = 0; i + 1 < std::min(star, group.size()); i += 2) {
            once += static_cast<char>(std::stoul(group.substr(i, 2), nullptr, 16));
        }
        if (once.size() == 1) bytes.append(times, once[0]);  // long runs, quickly
        else for (uint32_t t = 0; t < times; ++t) bytes += once;
    }
    return bytes;
}

// The input file of a scenario: a committed sample or bytes written to the scratch directory.
inline std::string InputPath(const std::string& input, const ScratchDir& scratch) {
    const size_t colon = input.find(':');
    const size_t dot = input.find('.');
    const std::string kind = input.substr(0, std::min(dot, colon));
    const std::string file = "in" + (dot < colon ? input.substr(dot, colon - dot) : std::string());
    if (kind == "hex") return scratch.Write(file, HexBytes(input.substr(colon + 1)));
    if (kind == "zeros") return scratch.Write(file, std::string(Numbers(input.substr(colon + 1)).at(0), '\0'));
    if (kind == "missing") return scratch.File(file);
    if (input[0] == '/') return input;
    return DataPath(input);
}

inline void Index(Transcript& t, const TessaroInterface& p) {
    std::vector<FrameIndexEntry> entries;
    t.Call("GetFrameIndex", GetFrameIndex(p, entries));
    std::vector<std::string> lines;
    for (const FrameIndexEntry& e : entries) {
        std::ostringstream line;
        line << "  frame " << e.frame << "." << e.unit << " " << e.offset << "+" << e.length << " type=" << e.type
             << " last=" << e.last << " layer=" << e.layer;
        for (const FrameIndexSlice& s : e.slices) line << " s" << s.slice << "=" << s.offset << "+" << s.length;
        lines.push_back(line.str());
    }
    t.NoteAll(lines);
}

inline void Record(Transcript& t, const Buffer& b) {
    std::string bytes = b.mFd < 0 ? "unmapped" : "out-of-range";
    if (b.mFd >= 0 && b.mOffset + b.mLength <= b.mCapacity) bytes = Digest(ReadValid(b));
    std::ostringstream line;
    line << "  len=" << b.mLength << " off=" << b.mOffset << " flags=" << b.mFlags << " ts=" << b.mTimestamp
         << " eof=" << b.mEndOfFrame << " skipped=" << b.mSliceSkipped << " info=" << b.mSliceInfo << " bytes=" << bytes;
    t.Note(line.str());
}

inline void ExpectNothingPastCapacity(const Buffer& b) {
    Buffer whole = b;
    whole.mCapacity = b.mCapacity + 4096;
    const std::vector<uint8_t> memory = ReadAll(whole);
    EXPECT_EQ(std::count(memory.begin() + static_cast<ptrdiff_t>(b.mCapacity), memory.end(), 0), 4096)
        << "a buffer of " << b.mCapacity << " bytes was written past its end";
}

// Fields a processor writes start each call as values it never writes.
inline void Reset(Buffer& b) {
    b.mLength = b.mOffset = b.mTimestamp = 77777;
    b.mFlags = 0;
    b.mEndOfFrame = b.mSliceSkipped = 7;
    b.mSliceInfo = 77;
}

inline void Change(Transcript& t, TessaroInterface& p, const Event& e) {
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

inline void Idle(Transcript& t, TessaroInterface& p) {
    t.Call("GetBufferLength idle", p.GetBufferLength());
    t.Call("Process null", p.Process(nullptr));
    t.Call("Process idle", p.Process(MakeLinearBuffer(4096)));
    t.Call("Seek idle", p.Seek());
    Index(t, p);
}

inline void Play(const Scenario& s, const ScratchDir& scratch, Transcript& t) {
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
    // The memory runs a page past the capacity the parser is told of, and that page must stay zero.
    auto buffer = s.unmapped ? MakeUnmappedBuffer(capacity) : MakeClientBuffer(capacity + 4096, 0, s.mapOffset);
    buffer->mCapacity = capacity;
    for (uint32_t call = 0, eos = 0; call < s.calls && eos < 2; ++call) {
        for (const Event& e : s.events) {
            if (e.call == call) Change(t, *p, e);
        }
        if (s.lengths) t.Call("GetBufferLength", p->GetBufferLength());
        Reset(*buffer);
        t.Call("Process", p->Process(buffer));
        Record(t, *buffer);
        if (!s.unmapped) ExpectNothingPastCapacity(*buffer);
        eos += (buffer->mFlags & Buffer::FLAG_EOS) ? 1 : 0;
    }
    t.Call("DeInit", p->DeInit());
    std::vector<FrameIndexEntry> after;
    t.Call("GetFrameIndex after DeInit", GetFrameIndex(*p, after));
}

// Every `from` in text replaced by `to`.
inline std::string Normalised(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); !from.empty() && at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

// The run as text, with the scratch directory and tests/data written as <scratch> and <data>.
inline std::string RunText(const Scenario& s, const ScratchDir& scratch) {
    std::string text;
    {
        Transcript t;
        Play(s, scratch, t);
        text = t.Text();
    }
    return Normalised(Normalised(text, scratch.path(), "<scratch>"), DataPath(""), "<data>/");
}

}  // namespace tessaro::test
