// kelvault symbols: the library entries that one design file uses.
//
// The file's directory is opened as a workspace and the file is scanned as
// a design-manager window would scan it. Listed are the symbols (with the
// parents they are drawn on), the packages and the models that the scan
// traced into libraries, each with the library it comes from and that
// library's locality, then the problems the scan reported (a symbol that
// no library holds, a library that cannot be read). Problems are part of
// the answer, not a failure of the command: the exit status is 0 unless
// the command was used wrongly or the file does not exist.
//
// Contents:
//   1. Text output of the problems (the entries are printed by the helpers
//      shared with kelvault deps).
//   2. JSON output of the problems.
//   3. The command.
#include <cstdio>
#include <string>
#include <vector>

#include "command.h"
#include "json.h"
#include "workspace/context.h"
#include "workspace_cli.h"

std::string iniFileArgument(const Args& args);

// ---------------------------------------------------------------------------
// 1. Text output
// ---------------------------------------------------------------------------

static void printProblems(const std::vector<scanProblem>& problems) {
    printf("problems (%zu)\n", problems.size());
    if (problems.empty()) printf("`-- (none)\n");
    for (size_t i = 0; i < problems.size(); ++i)
        printf("%s %s: %s\n", i + 1 == problems.size() ? "`--" : "|--", problems[i].severity.c_str(),
               problems[i].message.c_str());
}

// ---------------------------------------------------------------------------
// 2. JSON output
// ---------------------------------------------------------------------------

static void writeProblems(JsonWriter& j, const std::vector<scanProblem>& problems) {
    j.beginArray();
    for (const scanProblem& problem : problems) {
        j.beginObject();
        j.field("action", problem.action);
        j.field("severity", problem.severity);
        j.field("detail", problem.detail);
        j.field("message", problem.message);
        j.endObject();
    }
    j.endArray();
}

// ---------------------------------------------------------------------------
// 3. The command
// ---------------------------------------------------------------------------

static int runSymbols(const Args& args) {
    if (args.has("ini")) SetIniFileContext(iniFileArgument(args).c_str(), nullptr);
    std::unique_ptr<workspace> ws;
    DesignFileItem* item = openDesignFileForCommand(args.positional[0], ws);
    if (!item) return ExitErrors;
    problemCollector client;
    item->getFileDependencies(&client); // scans the file
    const std::vector<usedEntry> entries = usedEntriesOf(*item, *ws);

    if (args.has("json")) {
        JsonWriter j(stdout);
        j.beginObject();
        j.field("file", hostPathOf(item->getFullPath()));
        j.field("type", std::string(item->getFileType().getFileString()));
        writeUsedEntryMembers(j, entries);
        j.key("problems");
        writeProblems(j, client.problems);
        j.endObject();
        printf("\n");
    } else {
        printf("%s (%s)\n", hostPathOf(item->getFullPath()).c_str(), messageText(item->getFileType()).c_str());
        for (const char* kind : usedEntryKinds) printUsedEntries(entries, kind, "", usedEntryLayout::LocalityAfter);
        printProblems(client.problems);
    }
    return ExitDone;
}

KV_COMMAND({"symbols", "symbols FILE [--json] [--ini FILE]",
            "the symbols, packages and models a design file uses, with their libraries",
            "Opens the directory of FILE as a workspace, scans FILE and lists what it\n"
            "uses out of libraries: the symbols of its part and port lines, with every\n"
            "symbol they are drawn on (shown as \"on PARENT\"); the packages that its\n"
            "symbols and COMPONENT= or PART= attributes name; and the models that its\n"
            "last simulation took from model libraries. Each entry shows the library\n"
            "it was found in and where that library lies (local: beside FILE; subdir:\n"
            "below it; external: elsewhere; system: in a directory of the library\n"
            "path). A symbol is looked for in the libraries that FILE names first, then\n"
            "in the configured libraries (--ini). Problems met while reading, such as a\n"
            "symbol that no library holds, are listed last; they do not change the exit\n"
            "status, which is 0 unless the arguments are wrong or FILE does not exist.",
            {{"json", nullptr, "machine-readable output"},
             {"ini", "FILE", "the INI file of the installation (LIBPATH, configured libraries)"}},
            1, 1, runSymbols});
