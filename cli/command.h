// The command framework of kelvault.
//
// Each subcommand lives in its own source file and registers itself with a
// static KV_COMMAND object; main.cpp finds it by name, parses the options it
// declares, and runs it. Adding a subcommand is one new file.
#pragma once

#include <map>
#include <string>
#include <vector>

// Exit statuses of kelvault.
enum ExitStatus {
    ExitDone = 0,       // done
    ExitErrors = 1,     // done, with errors reported
    ExitUsage = 2,      // bad usage
    ExitCancelled = 3,  // cancelled
};

// One option a command accepts. A flag takes no value; any other option
// takes one (--name VALUE or --name=VALUE).
struct OptionSpec {
    const char* name;  // without the dashes, e.g. "json"
    const char* value; // placeholder of the value, e.g. "FILE"; null for a flag
    const char* help;
};

// The parsed command line of one command.
class Args {
public:
    std::vector<std::string> positional;
    std::map<std::string, std::vector<std::string>> options; // flags hold "1"

    bool has(const std::string& name) const { return options.count(name) != 0; }
    // The last value given for an option, or fallback.
    std::string get(const std::string& name, const std::string& fallback = "") const;
    // All values given for an option that may be repeated.
    std::vector<std::string> all(const std::string& name) const;
    // An integer option; false (with a message on stderr) if not a number.
    bool getInt(const std::string& name, long& value, long fallback) const;
};

struct Command {
    const char* name;
    const char* usage;   // e.g. "tree [DIR] [--all] [--json]"
    const char* summary; // one line for the command list
    const char* help;    // paragraph(s) for `kelvault help NAME`; may be null
    std::vector<OptionSpec> options;
    int minPositional;
    int maxPositional;   // -1: any number
    int (*run)(const Args& args);
};

// Options that every command accepts; main.cpp acts on them before run().
const std::vector<OptionSpec>& commonOptions();

void registerCommand(const Command& command);
const std::map<std::string, Command>& registeredCommands();

struct CommandRegistrar {
    explicit CommandRegistrar(const Command& command) { registerCommand(command); }
};

#define KV_CONCAT2(a, b) a##b
#define KV_CONCAT(a, b) KV_CONCAT2(a, b)
// KV_COMMAND({ "name", "usage", "summary", "help", {options}, min, max, run });
#define KV_COMMAND(...) static CommandRegistrar KV_CONCAT(kvCommand_, __LINE__)(Command __VA_ARGS__)

// Prints "kelvault: message" on stderr and returns ExitUsage.
int usageError(const std::string& message);
