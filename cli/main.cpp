// kelvault: the command-line front end of the kv_eng engine.
//
// main() handles the options common to all commands, finds the subcommand in
// the registry (command.h), checks its options and arguments against what it
// declares, and runs it. Exit statuses: see ExitStatus.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "command.h"
#include "platform/platform.h"

#ifndef KVENG_VERSION
#define KVENG_VERSION "0"
#endif

static std::map<std::string, Command>& registry() {
    static std::map<std::string, Command> commands;
    return commands;
}

void registerCommand(const Command& command) { registry()[command.name] = command; }
const std::map<std::string, Command>& registeredCommands() { return registry(); }

const std::vector<OptionSpec>& commonOptions() {
    static const std::vector<OptionSpec> options = {
        {"trace", nullptr, "print the engine's trace lines on standard error"},
        {"help", nullptr, "show the help of the command"},
    };
    return options;
}

int usageError(const std::string& message) {
    fprintf(stderr, "kelvault: %s\n", message.c_str());
    return ExitUsage;
}

std::string Args::get(const std::string& name, const std::string& fallback) const {
    auto it = options.find(name);
    return it == options.end() || it->second.empty() ? fallback : it->second.back();
}

std::vector<std::string> Args::all(const std::string& name) const {
    auto it = options.find(name);
    return it == options.end() ? std::vector<std::string>() : it->second;
}

bool Args::getInt(const std::string& name, long& value, long fallback) const {
    if (!has(name)) {
        value = fallback;
        return true;
    }
    std::string text = get(name);
    char* end = nullptr;
    value = strtol(text.c_str(), &end, 10);
    if (text.empty() || *end) {
        fprintf(stderr, "kelvault: --%s wants a number, not '%s'\n", name.c_str(), text.c_str());
        return false;
    }
    return true;
}

static void printOption(const OptionSpec& o) {
    std::string left = std::string("--") + o.name;
    if (o.value) left += std::string(" ") + o.value;
    printf("  %-24s %s\n", left.c_str(), o.help);
}

static void printMainHelp() {
    printf("kelvault %s: the design-file manager's command line\n\n", KVENG_VERSION);
    printf("usage: kelvault COMMAND [OPTIONS] [ARGS]\n"
           "       kelvault help COMMAND\n"
           "       kelvault --version\n\n");
    printf("commands:\n");
    for (const auto& entry : registry())
        printf("  %-12s %s\n", entry.first.c_str(), entry.second.summary);
    printf("\noptions of every command:\n");
    for (const auto& o : commonOptions()) printOption(o);
    printf("\nPaths are shown in host form. Exit status: 0 done, 1 done with errors\n"
           "reported, 2 bad usage, 3 cancelled.\n");
}

static void printCommandHelp(const Command& c) {
    printf("usage: kelvault %s\n\n%s\n", c.usage, c.summary);
    if (c.help) printf("\n%s\n", c.help);
    if (!c.options.empty()) {
        printf("\noptions:\n");
        for (const auto& o : c.options) printOption(o);
    }
    printf("\noptions of every command:\n");
    for (const auto& o : commonOptions()) printOption(o);
}

static const OptionSpec* findOption(const Command& c, const std::string& name) {
    for (const auto& o : c.options)
        if (name == o.name) return &o;
    for (const auto& o : commonOptions())
        if (name == o.name) return &o;
    return nullptr;
}

// Parses argv[first..] for command c into args. Returns ExitDone or ExitUsage.
static int parseArgs(const Command& c, int argc, char** argv, int first, Args& args) {
    bool onlyPositional = false;
    for (int i = first; i < argc; ++i) {
        std::string a = argv[i];
        if (onlyPositional || a.size() < 2 || a[0] != '-' || a[1] != '-') {
            if (!onlyPositional && a.size() > 1 && a[0] == '-')
                return usageError("unknown option '" + a + "' (options are spelled --name)");
            args.positional.push_back(a);
            continue;
        }
        if (a == "--") {
            onlyPositional = true;
            continue;
        }
        std::string name = a.substr(2), value;
        bool hasValue = false;
        size_t eq = name.find('=');
        if (eq != std::string::npos) {
            value = name.substr(eq + 1);
            name = name.substr(0, eq);
            hasValue = true;
        }
        const OptionSpec* spec = findOption(c, name);
        if (!spec) return usageError("'" + std::string(c.name) + "' has no option --" + name);
        if (!spec->value) {
            if (hasValue) return usageError("--" + name + " takes no value");
            value = "1";
        } else if (!hasValue) {
            if (i + 1 >= argc) return usageError("--" + name + " needs a value (" + spec->value + ")");
            value = argv[++i];
        }
        args.options[name].push_back(value);
    }
    int n = static_cast<int>(args.positional.size());
    if (n < c.minPositional || (c.maxPositional >= 0 && n > c.maxPositional))
        return usageError(std::string("usage: kelvault ") + c.usage);
    return ExitDone;
}

int main(int argc, char** argv) {
    // The trace lines are for developers; a person asks for them.
    SetTraceOutput(nullptr);
    if (argc < 2) {
        printMainHelp();
        return ExitUsage;
    }
    std::string name = argv[1];
    if (name == "--version" || name == "version") {
        printf("kelvault %s\n", KVENG_VERSION);
        return ExitDone;
    }
    if (name == "--help" || name == "-h") {
        printMainHelp();
        return ExitDone;
    }
    if (name == "help") {
        if (argc < 3) {
            printMainHelp();
            return ExitDone;
        }
        auto it = registry().find(argv[2]);
        if (it == registry().end()) return usageError(std::string("no command '") + argv[2] + "'");
        printCommandHelp(it->second);
        return ExitDone;
    }
    auto it = registry().find(name);
    if (it == registry().end())
        return usageError("no command '" + name + "'; 'kelvault --help' lists them");
    const Command& c = it->second;
    Args args;
    if (parseArgs(c, argc, argv, 2, args) != ExitDone) return ExitUsage;
    if (args.has("help")) {
        printCommandHelp(c);
        return ExitDone;
    }
    if (args.has("trace")) SetTraceOutput(stderr);
    return c.run(args);
}
