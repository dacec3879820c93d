// A file the tool writes itself (--dump, --md5-file, or standard output for
// the md5 lines): every write is checked, and Close reports the first failure.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace tessaro::cli {

class OutputFile {
public:
    OutputFile() = default;
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Opens path for writing ("-" is standard output). False with error() set.
    bool Open(const std::string& path);
    bool isOpen() const { return mFile != nullptr; }
    // Writes size bytes; false (error() set) once any write has failed.
    bool Write(const void* data, size_t size);
    bool Print(const std::string& text) { return Write(text.data(), text.size()); }
    // Flushes and closes; false with error() set when anything failed.
    bool Close();
    // "cannot write <path>: <reason>" of the first failure, or empty.
    const std::string& error() const { return mError; }

private:
    void Fail(int error);

    std::FILE* mFile = nullptr;
    std::string mPath;
    std::string mError;
};

}  // namespace tessaro::cli
