#include "support/TestPaths.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace tessaro::test {

ScratchDir::ScratchDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tessaro-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    mPath = pattern;
}

ScratchDir::~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

std::string ScratchDir::Write(const std::string& name, const std::string& bytes) const {
    const std::string path = File(name);
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) throw std::runtime_error("cannot write " + path);
    return path;
}

int RunCommand(const std::string& command, std::string* output) {
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return -1;
    std::array<char, 4096> chunk{};
    size_t n = 0;
    while ((n = fread(chunk.data(), 1, chunk.size(), pipe)) > 0) {
        if (output != nullptr) output->append(chunk.data(), n);
    }
    const int status = pclose(pipe);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool HaveTool(const std::string& tool) {
    return RunCommand("command -v " + tool + " >/dev/null 2>&1") == 0;
}

}  // namespace tessaro::test
