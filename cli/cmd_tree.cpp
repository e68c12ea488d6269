// kelvault tree: a directory opened as a workspace, shown as the tree a
// person sees in a design-manager window.
//
// The top-level categories that have items, each with its items and their
// type names. Beneath each file comes what the window shows when the file
// is opened: its folders (Reports, Netlists, Workspace Dependencies, ...)
// with what they hold, or for a file without folders its dependencies (a
// circuit, whose folders hold no dependencies, shows both); and so on down, each file with its locality (Local, Local_subdir,
// External, System) and a mark when it is missing. Only folders that hold
// something are shown. A file met a second time is not opened again
// ("shown above"), and a file that depends on itself through others is
// marked as a cycle, so the tree stays finite. Beneath a design file that
// uses library entries come the symbols, packages and models it uses, each
// with its library and the entry it is drawn on, and the problems its scan
// reported (a symbol that no library holds). --depth N shows N levels
// beneath each listed file; --all shows the empty categories too; --json
// gives the same as data.
//
// Files that a design file of the same stem claims (its netlists, reports,
// outputs) and circuits beside their schematic are not listed in the
// categories; they show beneath their design file.
//
// Contents:
//   1. The client: scan warnings on standard error.
//   2. Gathering the tree.
//   3. Text and JSON output.
//   4. The command.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "command.h"
#include "json.h"
#include "vocabulary/callback.h"
#include "workspace/context.h"
#include "workspace/subcategory.h"
#include "workspace_cli.h"

// The INI file given with --ini, as an engine path (cmd_libs.cpp).
std::string iniFileArgument(const Args& args);

// ---------------------------------------------------------------------------
// 1. The client
// ---------------------------------------------------------------------------

// Scans run while the tree is gathered; what they report as a warning or
// an error goes to standard error, once per message.
// While a file's children are gathered, what its scan reports is also
// kept for that file (sink), to be shown beneath it.
class treeClient : public callBack {
public:
    void notify(callBackRecord& record) override {
        KVE_severityLevel level;
        record.action.getSeverityLevel(level);
        if (level.value() < KVE_severityLevel::Warning || level.value() == KVE_severityLevel::invalid) return;
        if (sink) sink->notify(record);
        const std::string text = record.message ? record.message : "";
        if (!seen.insert(text).second) return;
        fprintf(stderr, "kelvault: %s: %s\n", level.value() == KVE_severityLevel::Warning ? "warning" : "error",
                text.c_str());
    }
    problemCollector* sink = nullptr;

private:
    std::set<std::string> seen;
};

// ---------------------------------------------------------------------------
// 2. Gathering the tree
// ---------------------------------------------------------------------------

// One line of the tree below the categories: a file, a folder, or a list
// of what a file uses out of libraries (a folder whose usedKind is set,
// holding entry lines) or of the problems of its scan.
struct treeNode {
    bool folder = false;
    int folderValue = -1;        // folders: the subcategory value
    std::string usedKind;        // folders of used entries: "symbol", "package", "model"; "problem"
    bool entry = false;          // a used entry (name, path of its library, locality, note: parent)
    bool problem = false;        // a problem: name holds its text, type its severity
    std::string name;            // as shown: a folder's name, a file's name or path
    std::string path, type, typeName, locality, time;
    int64_t size = 0;
    bool exists = true;
    std::string note;            // files: "cycle", "shown above" or empty
    size_t count = 0;            // folders: the files held, shown or not
    bool cut = false;            // folders: held files not shown (depth)
    std::vector<treeNode> children;
};

struct treeCategory {
    int value;
    std::string name, fileString;
    std::vector<treeNode> items;
};

class treeGatherer {
public:
    // maxDepth: levels shown beneath each listed file; negative: all.
    treeGatherer(workspace& ws, long maxDepth) : ws(ws), maxDepth(maxDepth) {
        directory = hostPathOf(ws.getDirectory());
        if (!directory.empty() && directory.back() != '/') directory += '/';
    }

    std::vector<treeCategory> gather() {
        std::vector<treeCategory> tree;
        for (KVE_fileCategoryEnum c(0); c.isValid(); c.setNext()) {
            if (!c.topLevel()) continue;
            treeCategory category{c.value(), messageText(c), c.getFileString(), {}};
            fileItemList* items = ws.getCategoryItems(c);
            for (fileItem* item : *items) {
                treeNode node = fileNode(item);
                node.name = item->getBaseName();
                expand(item, node, 0);
                category.items.push_back(node);
            }
            delete items;
            tree.push_back(category);
        }
        return tree;
    }

private:
    // A file's line: its name as seen from the workspace (the name alone
    // beside it, the relative path below it, the full path elsewhere).
    treeNode fileNode(fileItem* item) {
        treeNode node;
        const KVE_fileTypeEnum& type = item->getFileType();
        node.path = hostPathOf(item->getFullPath());
        node.name = node.path;
        if (item->getLocality() == KVE_Locality::Local)
            node.name = item->getBaseName();
        else if (item->isLocalSubdir() && node.path.compare(0, directory.size(), directory) == 0)
            node.name = node.path.substr(directory.size());
        node.type = type.getFileString();
        node.typeName = messageText(type);
        node.locality = item->getLocality().getFileString();
        node.time = localTimeText(item->getLastWriteTime());
        node.size = item->getSize();
        node.exists = item->exists();
        return node;
    }

    // Fills node's children with what item shows beneath it, down to the
    // depth limit. level: levels above node, counted from the listed file.
    void expand(fileItem* item, treeNode& node, long level) {
        if (maxDepth >= 0 && level >= maxDepth) return;
        if (std::find(ancestors.begin(), ancestors.end(), item) != ancestors.end()) {
            node.note = "cycle";
            return;
        }
        if (!item->isSubCategory() && !opened.insert(item).second) {
            if (item->hasChildren(0, &client)) node.note = "shown above";
            return;
        }
        ancestors.push_back(item);
        problemCollector problems;
        problemCollector* outerSink = client.sink;
        client.sink = &problems;
        fileItemList* children = item->getChildren(&client, 0);
        for (fileItem* child : *children) {
            if (child->isSubCategory()) {
                treeNode folder;
                folder.folder = true;
                folder.folderValue = child->getCategory().value();
                folder.name = child->getBaseName();
                folder.type = child->getFileType().getFileString();
                expandFolder(child, folder, level + 1);
                if (folder.count) node.children.push_back(folder);
            } else {
                treeNode file = fileNode(child);
                expand(child, file, level + 1);
                node.children.push_back(file);
            }
        }
        delete children;
        const std::vector<fileItem*> unfoldered = unfolderedDependencies(item);
        client.sink = outerSink;
        for (fileItem* dependency : unfoldered) {
            treeNode file = fileNode(dependency);
            expand(dependency, file, level + 1);
            node.children.push_back(file);
        }
        addUsedEntries(item, node, level);
        addProblems(problems.problems, node, level);
        ancestors.pop_back();
    }

    // The symbols, packages and models that item's scan traced into
    // libraries, one folder of each kind that has some. At the depth
    // limit a folder shows its count only, as a folder of files does.
    void addUsedEntries(fileItem* item, treeNode& node, long level) {
        DesignFileItem* design = dynamic_cast<DesignFileItem*>(item);
        if (!design || item->isSubCategory()) return;
        const std::vector<usedEntry> entries = usedEntriesOf(*design, ws);
        for (const char* kind : usedEntryKinds) {
            treeNode folder;
            folder.folder = true;
            folder.usedKind = kind;
            folder.name = std::string(1, static_cast<char>(toupper(static_cast<unsigned char>(kind[0])))) + (kind + 1) +
                          "s used";
            for (const usedEntry* each : usedEntriesOfKind(entries, kind)) {
                treeNode line;
                line.entry = true;
                line.name = each->name;
                line.path = each->library;
                line.locality = each->locality;
                line.note = each->parent;
                folder.children.push_back(line);
            }
            folder.count = folder.children.size();
            if (!folder.count) continue;
            if (maxDepth >= 0 && level + 1 >= maxDepth) {
                folder.cut = true;
                folder.children.clear();
            }
            node.children.push_back(folder);
        }
    }

    // The warnings and errors of item's scan, as a folder beneath it.
    void addProblems(const std::vector<scanProblem>& problems, treeNode& node, long level) {
        if (problems.empty()) return;
        treeNode folder;
        folder.folder = true;
        folder.usedKind = "problem";
        folder.name = "Problems";
        for (const scanProblem& each : problems) {
            treeNode line;
            line.problem = true;
            line.name = each.message;
            line.type = each.severity;
            line.typeName = each.action;
            folder.children.push_back(line);
        }
        folder.count = folder.children.size();
        if (maxDepth >= 0 && level + 1 >= maxDepth) {
            folder.cut = true;
            folder.children.clear();
        }
        node.children.push_back(folder);
    }

    // A circuit's window shows its Output and System Files folders and no
    // folder of dependencies; the tree lists the dependencies of such a
    // file beneath its folders, as it does for a file without folders.
    // Empty for every other file.
    std::vector<fileItem*> unfolderedDependencies(fileItem* item) {
        std::vector<fileItem*> found;
        DesignFileItem* design = dynamic_cast<DesignFileItem*>(item);
        if (!design || item->isSubCategory() || !item->exists()) return found;
        const KVE_fileTypeEnum& type = item->getFileType();
        if (!type.canHaveDependencies() || !type.canHaveSubcategories()) return found;
        for (fileItem* folder : design->getSubCategoryItems()) {
            const int value = folder->getCategory().value();
            if (value == KVE_fileCategoryEnum::LocalDependencies || value == KVE_fileCategoryEnum::ExternalDependencies ||
                value == KVE_fileCategoryEnum::SystemDependencies || value == KVE_fileCategoryEnum::Dependencies)
                return found;
        }
        for (fileItem* each : design->getFileDependencies(&client)) found.push_back(each);
        for (fileItem* each : design->getSystemDependencies(&client)) found.push_back(each);
        return found;
    }

    // A folder's content is always listed, so that an empty folder can be
    // left out; its files are opened while the depth allows.
    void expandFolder(fileItem* folder, treeNode& node, long level) {
        ancestors.push_back(folder);
        fileItemList* content = folder->getChildren(&client, 0);
        for (fileItem* child : *content) {
            treeNode file = fileNode(child);
            expand(child, file, level + 1);
            node.children.push_back(file);
        }
        delete content;
        ancestors.pop_back();
        node.count = node.children.size();
        if (maxDepth >= 0 && level >= maxDepth && node.count) {
            // At the limit the folder shows with its count, not its files.
            node.cut = true;
            node.children.clear();
        }
    }

    workspace& ws;
    long maxDepth;
    std::string directory; // host form, ending in '/'
    treeClient client;
    std::vector<fileItem*> ancestors; // the items from the listed file down
    std::set<fileItem*> opened;       // files whose children were listed
};

// ---------------------------------------------------------------------------
// 3. Output
// ---------------------------------------------------------------------------

// The text of one node's line after its branch.
static std::string nodeText(const treeNode& node, const std::string& directory) {
    if (node.entry) {
        // The library as a file line names it: relative below the workspace.
        std::string library = node.path.empty() ? "(no library)" : node.path;
        if (library.compare(0, directory.size(), directory) == 0) library = library.substr(directory.size());
        std::string text = node.name + "  from " + library + "  [" + node.locality + "]";
        if (!node.note.empty()) text += "  (on " + node.note + ")";
        return text;
    }
    if (node.problem) return node.type + ": " + node.name;
    if (node.folder) return node.name + " (" + std::to_string(node.count) + (node.cut ? ", not shown)" : ")");
    std::string text = node.name + "  " + node.typeName + "  [" + node.locality + "]";
    if (!node.exists) text += "  MISSING";
    if (!node.note.empty()) text += "  (" + node.note + ")";
    return text;
}

static void printChildren(const treeNode& node, const std::string& prefix, const std::string& directory) {
    for (size_t i = 0; i < node.children.size(); ++i) {
        const treeNode& child = node.children[i];
        const bool last = i + 1 == node.children.size();
        printf("%s%s %s\n", prefix.c_str(), last ? "`--" : "|--", nodeText(child, directory).c_str());
        printChildren(child, prefix + (last ? "    " : "|   "), directory);
    }
}

// hidden: files of the directory that the categories do not show.
static void printTreeText(const std::string& title, const std::vector<treeCategory>& tree, bool all, size_t hidden) {
    printf("%s\n", title.c_str());
    const std::string directory = title.empty() || title.back() == '/' ? title : title + "/";
    std::vector<const treeCategory*> shown;
    for (const treeCategory& c : tree)
        if (all || !c.items.empty()) shown.push_back(&c);
    if (shown.empty()) printf("`-- (no design files)\n");
    for (size_t i = 0; i < shown.size(); ++i) {
        const treeCategory& c = *shown[i];
        const bool lastCategory = i + 1 == shown.size();
        printf("%s %s (%zu)\n", lastCategory ? "`--" : "|--", c.name.c_str(), c.items.size());
        size_t width = 0;
        for (const treeNode& item : c.items) width = std::max(width, item.name.size());
        for (size_t j = 0; j < c.items.size(); ++j) {
            const treeNode& item = c.items[j];
            const bool lastItem = j + 1 == c.items.size();
            const std::string prefix = lastCategory ? "    " : "|   ";
            printf("%s%s %-*s  %s%s%s\n", prefix.c_str(), lastItem ? "`--" : "|--", static_cast<int>(width),
                   item.name.c_str(), item.typeName.c_str(), item.exists ? "" : "  MISSING",
                   item.note.empty() ? "" : ("  (" + item.note + ")").c_str());
            printChildren(item, prefix + (lastItem ? "    " : "|   "), directory);
        }
    }
    if (hidden)
        printf("(%zu more file%s belong%s beneath a design file of the same stem)\n", hidden, hidden == 1 ? "" : "s",
               hidden == 1 ? "s" : "");
}

// The existing files directly in the directory that no category shows.
static size_t countHidden(workspace& ws, const std::vector<treeCategory>& tree) {
    size_t shown = 0, present = 0;
    for (const treeCategory& c : tree)
        for (const treeNode& item : c.items) shown += item.exists;
    fileItemList* local = ws.getLocalItems();
    for (fileItem* item : *local) present += item->exists();
    delete local;
    return present > shown ? present - shown : 0;
}

static void writeNodeJson(JsonWriter& j, const treeNode& node) {
    j.beginObject();
    if (node.entry) {
        j.field("name", node.name);
        if (node.path.empty())
            j.field("library", static_cast<const char*>(nullptr));
        else
            j.field("library", node.path);
        j.field("locality", node.locality);
        if (node.note.empty())
            j.field("parent", static_cast<const char*>(nullptr));
        else
            j.field("parent", node.note);
    } else if (node.problem) {
        j.field("action", node.typeName);
        j.field("severity", node.type);
        j.field("message", node.name);
    } else if (!node.usedKind.empty()) {
        j.field("used", node.usedKind);
        j.field("count", static_cast<uint64_t>(node.count));
        if (node.cut) j.field("truncated", true);
    } else if (node.folder) {
        j.field("folder", node.name);
        j.field("value", node.folderValue);
        j.field("count", static_cast<uint64_t>(node.count));
        if (node.cut) j.field("truncated", true);
    } else {
        j.field("name", node.name);
        j.field("path", node.path);
        j.field("type", node.type);
        j.field("typeName", node.typeName);
        j.field("locality", node.locality);
        j.field("size", node.size);
        if (node.exists)
            j.field("lastWrite", node.time);
        else
            j.field("lastWrite", static_cast<const char*>(nullptr));
        j.field("exists", node.exists);
        if (!node.note.empty()) j.field("note", node.note);
    }
    if (!node.children.empty()) {
        j.key("children");
        j.beginArray();
        for (const treeNode& child : node.children) writeNodeJson(j, child);
        j.endArray();
    }
    j.endObject();
}

static void printTreeJson(const std::string& directory, const std::vector<treeCategory>& tree, bool all) {
    JsonWriter j(stdout);
    j.beginObject();
    j.field("workspace", directory);
    j.key("categories");
    j.beginArray();
    for (const treeCategory& c : tree) {
        if (!all && c.items.empty()) continue;
        j.beginObject();
        j.field("value", c.value);
        j.field("name", c.name);
        j.field("fileString", c.fileString);
        j.key("items");
        j.beginArray();
        for (const treeNode& item : c.items) writeNodeJson(j, item);
        j.endArray();
        j.endObject();
    }
    j.endArray();
    j.endObject();
    printf("\n");
}

// ---------------------------------------------------------------------------
// 4. The command
// ---------------------------------------------------------------------------

static int runTree(const Args& args) {
    long depth = -1;
    if (!args.getInt("depth", depth, -1)) return ExitUsage;
    if (args.has("depth") && depth < 0) return usageError("--depth takes a number of levels, 0 or more");
    // Before the open: an item's locality is decided when it is made.
    if (args.has("ini")) SetIniFileContext(iniFileArgument(args).c_str(), nullptr);
    auto ws = openWorkspaceForCommand(args.positional.empty() ? "." : args.positional[0]);
    if (!ws) return ExitErrors;
    const std::string directory = hostPathOf(ws->getDirectory());
    treeGatherer gatherer(*ws, depth);
    std::vector<treeCategory> tree = gatherer.gather();
    if (args.has("json"))
        printTreeJson(directory, tree, args.has("all"));
    else
        printTreeText(directory, tree, args.has("all"), countHidden(*ws, tree));
    return ExitDone;
}

KV_COMMAND({"tree", "tree [DIR] [--depth N] [--ini FILE] [--all] [--json]", "a workspace as a tree of categories and files",
            "Opens DIR (default: the current directory) as a workspace and shows the\n"
            "top-level categories that have files, each with its files and their type\n"
            "names. A file's type comes from its extension and, for some extensions,\n"
            "its first bytes (a schematic must begin with *version). Netlists,\n"
            "reports and outputs of a design file of the same stem, and a circuit\n"
            "beside its schematic, are not listed in a category: they belong beneath\n"
            "their design file. Files without a category of their own that nothing\n"
            "claims are under Miscellaneous Files. A missing DIR is created.\n"
            "\n"
            "Beneath each file the tree shows what a design-manager window shows when\n"
            "the file is opened: its folders that hold something (Reports, Netlists,\n"
            "Workspace Dependencies, External Dependencies, System Dependencies, ...)\n"
            "with their files, or, for a file without folders, the files it depends\n"
            "on (a circuit shows both); and so on down. Design files are read to\n"
            "find their dependencies. Each file below the categories shows its\n"
            "locality: Local (in DIR), Local_subdir (below DIR), External, or System\n"
            "(in a directory of the LIBPATH of the INI file given with --ini);\n"
            "MISSING marks a file that is not on disk. A file met again is not opened\n"
            "a second time (shown above), and a file that depends on itself through\n"
            "others is marked as a cycle.\n"
            "\n"
            "Beneath a design file that uses library entries (a schematic's parts)\n"
            "come Symbols used, Packages used and Models used, each entry with the\n"
            "library it was found in, that library's locality, and the entry it is\n"
            "drawn on (\"on PARENT\"); and Problems, what the file's scan reported,\n"
            "such as a symbol that no library holds (also on standard error).",
            {{"depth", "N", "show at most N levels beneath each listed file (0: the files alone)"},
             {"ini", "FILE", "the INI file of the installation (LIBPATH: the system library directories)"},
             {"all", nullptr, "show the empty categories too"},
             {"json", nullptr, "machine-readable output"}},
            0, 1, runTree});
