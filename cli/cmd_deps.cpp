// kelvault deps: what one design file depends on.
//
// The file's directory is opened as a workspace and the file is scanned as
// a design-manager window would scan it. Without --closure the direct
// dependencies are listed (files, then system files); with it, the whole
// tree of what they depend on in turn, each file once: a file met again is
// shown with "(see above)". Each line tells the locality of the file and
// whether it exists; missing files are marked so that they stand out.
// After the files come the symbols, packages and models that the file
// uses out of libraries (a schematic's parts), each with its library and
// the entry it is drawn on.
//
// Contents:
//   1. Gathering: the tree of dependencies.
//   2. Text and JSON output.
//   3. The command.
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "command.h"
#include "json.h"
#include "libraries/configuration.h"
#include "vocabulary/callback.h"
#include "platform/platform.h"
#include "workspace/context.h"
#include "workspace_cli.h"

std::string iniFileArgument(const Args& args);

// ---------------------------------------------------------------------------
// 1. Gathering
// ---------------------------------------------------------------------------

struct depNode {
    std::string path;     // host form
    std::string locality; // Local, Local_subdir, External, System
    std::string type;     // file string of the type
    bool system = false;  // from the system dependencies
    bool exists = false;
    bool repeated = false; // met before in the closure: not expanded again
    std::vector<depNode> children;
};

static std::string localityText(const KVE_Locality& locality) {
    switch (locality.value()) {
    case KVE_Locality::Local: return "local";
    case KVE_Locality::Local_subdir: return "subdir";
    case KVE_Locality::External: return "external";
    case KVE_Locality::System: return "system";
    default: return "?";
    }
}

// The dependencies of item as nodes; with deep, their own dependencies
// too, each file expanded once (seen holds those already shown).
static std::vector<depNode> gather(DesignFileItem* item, callBack* client, bool deep, std::set<fileItem*>& seen) {
    std::vector<depNode> nodes;
    const std::list<fileItem*> files = item->getFileDependencies(client);
    const std::list<fileItem*> systems = item->getSystemDependencies(client);
    for (const std::list<fileItem*>* list : {&files, &systems}) {
        for (fileItem* each : *list) {
            depNode node;
            node.path = hostPathOf(each->getFullPath());
            node.locality = localityText(each->getLocality());
            node.type = each->getFileType().getFileString();
            node.system = list == &systems;
            node.exists = each->exists();
            if (deep) {
                node.repeated = !seen.insert(each).second;
                DesignFileItem* design = dynamic_cast<DesignFileItem*>(each);
                if (!node.repeated && design) node.children = gather(design, client, deep, seen);
            }
            nodes.push_back(node);
        }
    }
    return nodes;
}

static void countMissing(const std::vector<depNode>& nodes, size_t& missing, size_t& total) {
    for (const depNode& node : nodes) {
        if (node.repeated) continue;
        ++total;
        if (!node.exists) ++missing;
        countMissing(node.children, missing, total);
    }
}

// ---------------------------------------------------------------------------
// 2. Output
// ---------------------------------------------------------------------------

static void printNodes(const std::vector<depNode>& nodes, const std::string& indent) {
    for (size_t i = 0; i < nodes.size(); ++i) {
        const depNode& node = nodes[i];
        const bool last = i + 1 == nodes.size();
        // The simulator's default library is named by its bare name and
        // lives with the simulator, not with the design.
        const bool defaultLibrary = _stricmp(pathstring(node.path.c_str()).getBase().c_str(), "NOM.LIB") == 0;
        printf("%s%s %-8s %s%s%s%s\n", indent.c_str(), last ? "`--" : "|--", node.locality.c_str(),
               node.exists ? "" : "MISSING ", node.path.c_str(), node.repeated ? "  (see above)" : "",
               defaultLibrary && !node.exists ? "  (the simulator's default model library)" : "");
        printNodes(node.children, indent + (last ? "    " : "|   "));
    }
}

static void writeNodes(JsonWriter& j, const std::vector<depNode>& nodes, bool deep) {
    j.beginArray();
    for (const depNode& node : nodes) {
        j.beginObject();
        j.field("path", node.path);
        j.field("type", node.type);
        j.field("locality", node.locality);
        j.field("system", node.system);
        j.field("exists", node.exists);
        if (deep) {
            j.field("repeated", node.repeated);
            j.key("dependencies");
            writeNodes(j, node.children, deep);
        }
        j.endObject();
    }
    j.endArray();
}

// ---------------------------------------------------------------------------
// 3. The command
// ---------------------------------------------------------------------------

// Reports what the scan tells the client (unreadable files, stale
// simulation results, symbols that no library holds) on standard error.
// Informational actions (a library being searched) are not problems.
class stderrClient : public callBack {
public:
    void notify(callBackRecord& record) override {
        KVE_severityLevel level;
        record.action.getSeverityLevel(level);
        if (level.value() < KVE_severityLevel::Warning || level.value() == KVE_severityLevel::invalid) return;
        ++reports;
        fprintf(stderr, "kelvault: %s\n", record.message && *record.message ? record.message : "(no message)");
    }
    int reports = 0;
};

static int runDeps(const Args& args) {
    if (args.has("ini")) SetIniFileContext(iniFileArgument(args).c_str(), nullptr);
    std::unique_ptr<workspace> ws;
    DesignFileItem* item = openDesignFileForCommand(args.positional[0], ws);
    if (!item) return ExitErrors;
    const bool deep = args.has("closure");
    stderrClient client;
    std::set<fileItem*> seen{item};
    std::vector<depNode> nodes = gather(item, &client, deep, seen);
    size_t missing = 0, total = 0;
    countMissing(nodes, missing, total);
    const std::vector<usedEntry> used = usedEntriesOf(*item, *ws);

    if (args.has("json")) {
        JsonWriter j(stdout);
        j.beginObject();
        j.field("file", hostPathOf(item->getFullPath()));
        j.field("type", std::string(item->getFileType().getFileString()));
        j.field("closure", deep);
        j.field("files", static_cast<int64_t>(total));
        j.field("missing", static_cast<int64_t>(missing));
        j.key("dependencies");
        writeNodes(j, nodes, deep);
        writeUsedEntryMembers(j, used);
        j.endObject();
        printf("\n");
    } else {
        printf("%s (%s)\n", hostPathOf(item->getFullPath()).c_str(), messageText(item->getFileType()).c_str());
        if (nodes.empty()) printf("`-- (no dependencies)\n");
        printNodes(nodes, "");
        printf("%zu file%s, %zu missing\n", total, total == 1 ? "" : "s", missing);
        for (const char* kind : usedEntryKinds) printUsedEntries(used, kind, " used", usedEntryLayout::LocalityFirst);
    }
    return client.reports ? ExitErrors : ExitDone;
}

KV_COMMAND({"deps", "deps FILE [--closure] [--json] [--ini FILE]",
            "what a design file depends on, with locality and existence",
            "Opens the directory of FILE as a workspace, scans FILE and lists what it\n"
            "names: included files, libraries, netlists, synthesis modules, the\n"
            "libraries of its simulation's model index. Files come first, then\n"
            "system files (those in a directory of the library path). Each line\n"
            "shows the locality (local: beside FILE; subdir: below it; external:\n"
            "elsewhere; system: on the library path) and marks a file that does not\n"
            "exist as MISSING. --closure follows every dependency in turn and shows\n"
            "the whole tree, each file once. After the files come the symbols,\n"
            "packages and models that FILE uses out of libraries, each with its\n"
            "library and the entry it is drawn on (see also kelvault symbols).\n"
            "--ini gives the INI file whose LIBPATH is searched for libraries (use\n"
            "absolute paths there). Problems met while reading (an unreadable file,\n"
            "a stale model index, a symbol that no library holds) go to standard\n"
            "error and make the exit status 1.",
            {{"closure", nullptr, "the whole tree of dependencies, not only the direct ones"},
             {"json", nullptr, "machine-readable output"},
             {"ini", "FILE", "the INI file of the installation (LIBPATH)"}},
            1, 1, runDeps});
