// Command-line parsing for the tessaro tool: options declared once with their
// help text, values checked and converted with a one-line reason on error.
#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tessaro::cli {

// A bad command line. what() is the one-line reason; the tool exits with 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct OptionSpec {
    std::string longName;   // without the leading "--"
    char shortName;         // 0 when the option has no short form
    std::string valueName;  // empty for a switch, else the placeholder shown in help
    std::string help;
};

// The result of a parse: option values in the order given (a switch records
// an empty value per occurrence) and the positional arguments.
class ParsedArgs {
public:
    bool Has(const std::string& name) const { return mValues.count(name) != 0; }
    // The last value given for name, or fallback when absent.
    std::string Value(const std::string& name, const std::string& fallback = "") const;
    const std::vector<std::string>& positional() const { return mPositional; }

    void Add(const std::string& name, const std::string& value) { mValues[name].push_back(value); }
    void AddPositional(const std::string& value) { mPositional.push_back(value); }

private:
    std::map<std::string, std::vector<std::string>> mValues;
    std::vector<std::string> mPositional;
};

// Parses args (without the program and subcommand names) against optionDefs.
// Accepts "--name value", "--name=value", "-x value", bundled switches ("-vq")
// and "--" to end the options. Throws UsageError on an unknown option, a
// missing value or a value given to a switch.
ParsedArgs ParseArgs(const std::vector<OptionSpec>& optionDefs, const std::vector<std::string>& args);

// Help text: usage line, description, then one line per option.
std::string FormatHelp(const std::string& usage, const std::string& description,
                       const std::vector<OptionSpec>& optionDefs);

// Value conversions; option names the option in the error message.
uint32_t ParseU32(const std::string& option, const std::string& text);
// "1,2,3" -> {1, 2, 3}; an empty list is refused.
std::vector<uint32_t> ParseU32List(const std::string& option, const std::string& text);
// "176x144" -> {176, 144}; both must be non-zero.
std::pair<uint32_t, uint32_t> ParseSize(const std::string& option, const std::string& text);
// "30000/1001" -> {30000, 1001}, "25" -> {25, 1}; both must be non-zero.
std::pair<uint32_t, uint32_t> ParseRate(const std::string& option, const std::string& text);

}  // namespace tessaro::cli
