#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

#include "cli/Commands.h"

namespace tessaro::cli {

// The frame offset table lives inside the parser, behind the public API, so
// the index subcommand is a separate program (tessaro-index) that links the
// library's internals; this tool, which uses the public API only, hands over
// to it. It is looked up beside the running tool.
int IndexCommand(const std::string& argv0, const std::vector<std::string>& args) {
    std::string self(PATH_MAX, '\0');
    const ssize_t length = readlink("/proc/self/exe", self.data(), self.size() - 1);
    self = length > 0 ? self.substr(0, size_t(length)) : argv0;
    const size_t slash = self.rfind('/');
    const std::string helper = (slash == std::string::npos ? std::string(".") : self.substr(0, slash)) + "/tessaro-index";

    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(helper.c_str()));
    for (const auto& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    execv(helper.c_str(), argv.data());
    std::fprintf(stderr, "tessaro: cannot run %s: %s\n", helper.c_str(), std::strerror(errno));
    return 1;
}

}  // namespace tessaro::cli
