// Paths to committed samples and scratch files for tests.
#pragma once

#include <string>

namespace tessaro::test {

// Path of a committed sample under tests/data, e.g. DataPath("h264/idr_only.264").
inline std::string DataPath(const std::string& relative) {
    return std::string(TESSARO_TEST_DATA_DIR) + "/" + relative;
}

// A scratch directory of its own for the running test, removed on destruction.
class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::string& path() const { return mPath; }
    std::string File(const std::string& name) const { return mPath + "/" + name; }
    // Writes bytes to a file in the directory and returns its path.
    std::string Write(const std::string& name, const std::string& bytes) const;

private:
    std::string mPath;
};

// Runs a shell command, returns its exit status and (optionally) its stdout.
int RunCommand(const std::string& command, std::string* output = nullptr);

// True when `tool` (e.g. "ffmpeg") is on PATH.
bool HaveTool(const std::string& tool);

}  // namespace tessaro::test
