#include "cli/OutputFile.h"

#include <cerrno>
#include <cstring>

namespace tessaro::cli {

OutputFile::~OutputFile() { Close(); }

bool OutputFile::Open(const std::string& path) {
    mPath = path == "-" ? "standard output" : path;
    mFile = path == "-" ? stdout : std::fopen(path.c_str(), "wb");
    if (mFile == nullptr) Fail(errno);
    return mFile != nullptr;
}

bool OutputFile::Write(const void* data, size_t size) {
    if (mFile == nullptr || !mError.empty()) return false;
    if (size != 0 && std::fwrite(data, 1, size, mFile) != size) Fail(errno);
    return mError.empty();
}

bool OutputFile::Close() {
    if (mFile == nullptr) return mError.empty();
    if (std::fflush(mFile) != 0 || std::ferror(mFile)) Fail(errno);
    if (mFile != stdout && std::fclose(mFile) != 0) Fail(errno);
    mFile = nullptr;
    return mError.empty();
}

void OutputFile::Fail(int error) {
    if (mError.empty()) mError = "cannot write " + mPath + ": " + std::strerror(error != 0 ? error : EIO);
}

}  // namespace tessaro::cli
