// A run written down as text, call by call, with every log line it produced,
// and the file of recorded runs it is compared with (or, with
// TESSARO_WRITE_TRANSCRIPTS set, recorded into). Shared by the transcript tests
// of the areas; header only, so it belongs to no test program of its own.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/LogCapture.h"
#include "support/TestPaths.h"

namespace tessaro::test {

// FNV-1a, 64 bits, as 16 hex digits.
inline std::string Digest(const std::vector<uint8_t>& bytes) {
    uint64_t h = 14695981039346656037ull;
    for (uint8_t b : bytes) h = (h ^ b) * 1099511628211ull;
    char text[24];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(h));
    return text;
}

class Transcript {
public:
    // Records what `what` returned and logged.
    template <typename T>
    T Call(const std::string& what, T status) {
        mText << what << " -> " << static_cast<int64_t>(status) << "\n";
        Flush();
        return status;
    }
    void Note(const std::string& text) { mText << text << "\n"; }
    // Writes lines; of more than kFullLines, the first and last ten and a digest of them all.
    void NoteAll(const std::vector<std::string>& lines) {
        std::string all;
        for (size_t i = 0; i < lines.size(); ++i) {
            all += lines[i] + "\n";
            if (lines.size() <= kFullLines || i < 10 || i + 10 >= lines.size()) mText << lines[i] << "\n";
            if (lines.size() > kFullLines && i == 10) mText << "  ...\n";
        }
        if (lines.size() > kFullLines) {
            mText << "  " << lines.size() << " lines, digest " << Digest({all.begin(), all.end()}) << "\n";
        }
    }
    // Writes the log lines since the last call.
    void Flush() {
        std::vector<std::string> lines;
        for (const LogLine& l : mLogs.lines()) lines.push_back("  " + std::to_string(l.priority) + " " + l.tag + ": " + l.message);
        NoteAll(lines);
        mLogs.Clear();
    }
    static constexpr size_t kFullLines = 2000;
    std::string Text() {
        Flush();
        return mText.str();
    }

private:
    LogCapture mLogs;
    std::ostringstream mText;
};

// The recorded transcripts of a file under tests/data ("== name" lines start one).
inline const std::string& Recorded(const std::string& file, const std::string& name) {
    static std::map<std::string, std::map<std::string, std::string>> files;
    if (!files.count(file)) {
        std::map<std::string, std::string>& all = files[file];
        std::ifstream in(DataPath(file));
        std::string current;
        for (std::string line; std::getline(in, line);) {
            if (line.rfind("== ", 0) == 0) current = line.substr(3);
            else all[current] += line + "\n";
        }
    }
    return files[file][name];
}

// Compares a run with its recorded transcript, line by line; records it
// instead when TESSARO_WRITE_TRANSCRIPTS is set (run the whole suite in one process).
inline void MatchRecorded(const std::string& file, const std::string& name, const std::string& actual) {
    if (std::getenv("TESSARO_WRITE_TRANSCRIPTS")) {
        static std::map<std::string, bool> started;
        std::ofstream(DataPath(file), started[file] ? std::ios::app : std::ios::trunc) << "== " << name << "\n" << actual;
        started[file] = true;
        return;
    }
    std::istringstream want(Recorded(file, name)), got(actual);
    std::string a, b;
    for (int line = 1; static_cast<bool>(std::getline(want, a)) | static_cast<bool>(std::getline(got, b));
         ++line, a.clear(), b.clear()) {
        ASSERT_EQ(b, a) << "line " << line << " of " << name;
    }
}

}  // namespace tessaro::test
