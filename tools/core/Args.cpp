#include "core/Args.h"

#include <cerrno>
#include <cstdlib>
#include <sstream>

namespace tessaro::cli {
namespace {

const OptionSpec* FindLong(const std::vector<OptionSpec>& optionDefs, const std::string& name) {
    for (const auto& optionDef : optionDefs) {
        if (optionDef.longName == name) return &optionDef;
    }
    return nullptr;
}

const OptionSpec* FindShort(const std::vector<OptionSpec>& optionDefs, char name) {
    for (const auto& optionDef : optionDefs) {
        if (optionDef.shortName != 0 && optionDef.shortName == name) return &optionDef;
    }
    return nullptr;
}

}  // namespace

std::string ParsedArgs::Value(const std::string& name, const std::string& fallback) const {
    auto found = mValues.find(name);
    return found == mValues.end() ? fallback : found->second.back();
}

ParsedArgs ParseArgs(const std::vector<OptionSpec>& optionDefs, const std::vector<std::string>& args) {
    ParsedArgs parsed;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--") {
            for (++i; i < args.size(); ++i) parsed.AddPositional(args[i]);
            break;
        }
        if (arg.rfind("--", 0) == 0) {
            const size_t equals = arg.find('=');
            const std::string name = arg.substr(2, equals == std::string::npos ? std::string::npos : equals - 2);
            const OptionSpec* optionDef = FindLong(optionDefs, name);
            if (optionDef == nullptr) throw UsageError("unknown option --" + name);
            if (optionDef->valueName.empty()) {
                if (equals != std::string::npos) throw UsageError("--" + name + " takes no value");
                parsed.Add(name, "");
            } else if (equals != std::string::npos) {
                parsed.Add(name, arg.substr(equals + 1));
            } else {
                if (i + 1 >= args.size()) throw UsageError("--" + name + " needs a value (" + optionDef->valueName + ")");
                parsed.Add(name, args[++i]);
            }
            continue;
        }
        if (arg.size() > 1 && arg[0] == '-') {
            for (size_t k = 1; k < arg.size(); ++k) {
                const OptionSpec* optionDef = FindShort(optionDefs, arg[k]);
                if (optionDef == nullptr) throw UsageError(std::string("unknown option -") + arg[k]);
                if (optionDef->valueName.empty()) {
                    parsed.Add(optionDef->longName, "");
                    continue;
                }
                if (k + 1 < arg.size()) {
                    parsed.Add(optionDef->longName, arg.substr(k + 1));
                } else {
                    if (i + 1 >= args.size()) {
                        throw UsageError(std::string("-") + arg[k] + " needs a value (" + optionDef->valueName + ")");
                    }
                    parsed.Add(optionDef->longName, args[++i]);
                }
                break;
            }
            continue;
        }
        parsed.AddPositional(arg);
    }
    return parsed;
}

std::string FormatHelp(const std::string& usage, const std::string& description,
                       const std::vector<OptionSpec>& optionDefs) {
    std::ostringstream out;
    out << "usage: " << usage << "\n\n" << description << "\n";
    if (!optionDefs.empty()) out << "\noptions:\n";
    for (const auto& optionDef : optionDefs) {
        std::string left = "  ";
        left += optionDef.shortName != 0 ? std::string("-") + optionDef.shortName + ", " : "    ";
        left += "--" + optionDef.longName;
        if (!optionDef.valueName.empty()) left += " " + optionDef.valueName;
        if (left.size() < 30) left.resize(30, ' ');
        else left += "\n" + std::string(30, ' ');
        out << left << optionDef.help << "\n";
    }
    return out.str();
}

uint32_t ParseU32(const std::string& option, const std::string& text) {
    const bool digitsOnly = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    if (!digitsOnly) throw UsageError(option + ": expected a number, got '" + text + "'");
    errno = 0;
    const unsigned long long value = std::strtoull(text.c_str(), nullptr, 10);
    if (errno != 0 || value > UINT32_MAX) throw UsageError(option + ": " + text + " is too large");
    return static_cast<uint32_t>(value);
}

std::vector<uint32_t> ParseU32List(const std::string& option, const std::string& text) {
    std::vector<uint32_t> values;
    size_t start = 0;
    while (true) {
        const size_t comma = text.find(',', start);
        values.push_back(ParseU32(option, text.substr(start, comma == std::string::npos ? std::string::npos : comma - start)));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    return values;
}

namespace {
std::pair<uint32_t, uint32_t> ParsePair(const std::string& option, const std::string& text, char separator,
                                        bool secondOptional, const std::string& shape) {
    const size_t at = text.find(separator);
    if (at == std::string::npos && !secondOptional) {
        throw UsageError(option + ": expected " + shape + ", got '" + text + "'");
    }
    const uint32_t first = ParseU32(option, text.substr(0, at));
    const uint32_t second = at == std::string::npos ? 1 : ParseU32(option, text.substr(at + 1));
    if (first == 0 || second == 0) throw UsageError(option + ": both parts of " + shape + " must be non-zero");
    return {first, second};
}
}  // namespace

std::pair<uint32_t, uint32_t> ParseSize(const std::string& option, const std::string& text) {
    return ParsePair(option, text, 'x', false, "WIDTHxHEIGHT");
}

std::pair<uint32_t, uint32_t> ParseRate(const std::string& option, const std::string& text) {
    return ParsePair(option, text, '/', true, "NUM[/DEN]");
}

}  // namespace tessaro::cli
