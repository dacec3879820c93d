// tessaro: runs the library's processors from the command line.
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "cli/Commands.h"
#include "core/Args.h"

namespace {

const char kMainHelp[] =
    "usage: tessaro COMMAND [options]\n"
    "\n"
    "Drives libtessaro's processors as a codec test harness does: factory key, ConfigParam,\n"
    "Init, one Process call per memfd-backed buffer, DeInit.\n"
    "\n"
    "commands:\n"
    "  list     the processor keys and what each reads or writes\n"
    "  run      run a parser or generator into a writer, a file, or nowhere\n"
    "  index    print the frame offset table of a compressed file (table or JSON)\n"
    "  help     help for a command (tessaro help run); every command also takes --help\n"
    "\n"
    "exit status: 0 done; 1 the input cannot be used, a processor failed or an output could\n"
    "not be written (one line says which); 2 a bad command line; 130 interrupted (run)\n";

bool WantsHelp(const std::vector<std::string>& args) {
    for (const auto& arg : args) {
        if (arg == "--") return false;
        if (arg == "-h" || arg == "--help") return true;
    }
    return false;
}

int Usage(const std::string& reason) {
    std::fprintf(stderr, "tessaro: %s\n", reason.c_str());
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace tessaro::cli;
    if (argc < 2) return Usage("missing command (tessaro --help lists them)");
    const std::string command = argv[1];
    const std::vector<std::string> args(argv + 2, argv + argc);

    if (command == "-h" || command == "--help") {
        std::fputs(kMainHelp, stdout);
        return 0;
    }
    if (command == "help") {
        const std::string topic = args.empty() ? "" : args[0];
        if (topic.empty()) std::fputs(kMainHelp, stdout);
        else if (topic == "list") std::fputs(ListHelp().c_str(), stdout);
        else if (topic == "run") std::fputs(RunHelp().c_str(), stdout);
        else if (topic == "index") std::fputs(IndexHelp().c_str(), stdout);
        else return Usage("no command '" + topic + "'");
        return 0;
    }
    try {
        if (command == "list") {
            if (WantsHelp(args)) return std::fputs(ListHelp().c_str(), stdout), 0;
            return ListCommand(args);
        }
        if (command == "run") {
            if (WantsHelp(args)) return std::fputs(RunHelp().c_str(), stdout), 0;
            return RunCommand(args);
        }
        if (command == "index") {
            if (WantsHelp(args)) return std::fputs(IndexHelp().c_str(), stdout), 0;
            return IndexCommand(args);
        }
    } catch (const UsageError& error) {
        return Usage(error.what());
    } catch (const std::exception& error) {  // the library's own exceptions (a standard container's)
        std::fprintf(stderr, "tessaro: the library threw: %s\n", error.what());
        return 1;
    }
    return Usage("no command '" + command + "' (tessaro --help lists them)");
}
