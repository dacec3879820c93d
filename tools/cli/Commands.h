// The tessaro tool's subcommands. Each takes the arguments after its name and
// returns the exit status: 0 done, 1 the run failed, 2 a bad command line
// (thrown as UsageError), 130 interrupted.
#pragma once

#include <string>
#include <vector>

namespace tessaro::cli {

int ListCommand(const std::vector<std::string>& args);
int RunCommand(const std::vector<std::string>& args);
int IndexCommand(const std::vector<std::string>& args);

std::string ListHelp();
std::string RunHelp();
std::string IndexHelp();

}  // namespace tessaro::cli
