// The tessaro tool's subcommands. Each takes the arguments after its name and
// returns the exit status: 0 done, 1 a processor failed, 2 a bad command line.
#pragma once

#include <string>
#include <vector>

namespace tessaro::cli {

int ListCommand(const std::vector<std::string>& args);
int RunCommand(const std::vector<std::string>& args);
// Runs the tessaro-index helper installed beside the tool (argv0 locates it).
int IndexCommand(const std::string& argv0, const std::vector<std::string>& args);

std::string ListHelp();
std::string RunHelp();

}  // namespace tessaro::cli
