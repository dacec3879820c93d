#include <cstdio>

#include "cli/Commands.h"
#include "core/Args.h"
#include "core/Keys.h"

namespace tessaro::cli {

std::string ListHelp() {
    return FormatHelp("tessaro list", "Lists the processor keys in the factory's order, one line each:\n"
                      "key, kind, and what it reads or writes.",
                      {{"help", 'h', "", "this help"}});
}

int ListCommand(const std::vector<std::string>& args) {
    const ParsedArgs parsed = ParseArgs({{"help", 'h', "", "this help"}}, args);
    if (!parsed.positional().empty()) throw UsageError("list takes no arguments");
    for (const auto& info : ProcessorKeys()) {
        std::printf("%-26s %-18s %s\n", info.key, FamilyName(info.family), info.description);
    }
    return 0;
}

}  // namespace tessaro::cli
