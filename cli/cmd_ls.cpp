// kelvault ls: the files of a workspace, one line each.
//
// Each line gives the name, the type (file string), the category, the
// locality, the size and the last write time of one item. Without filters
// every file directly in the directory is listed; --type T keeps the files
// of one type, --category C lists what the category shows (as kelvault tree
// does), and --json gives the same as data.
//
// Contents:
//   1. Selecting the items.
//   2. Output.
//   3. The command.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "command.h"
#include "json.h"
#include "workspace_cli.h"

// ---------------------------------------------------------------------------
// 1. Selecting the items
// ---------------------------------------------------------------------------

struct lsLine {
    std::string name, path, type, category, locality, time;
    int64_t size;
    bool exists;
};

// The items by the filters; type or category -1 when not given.
static std::vector<fileItem*> selectItems(workspace& ws, int type, int category) {
    fileItemList* items = category >= 0 ? ws.getCategoryItems(category) : ws.getLocalItems();
    std::vector<fileItem*> selected;
    for (fileItem* item : *items)
        if (type < 0 || item->getFileType() == type) selected.push_back(item);
    delete items;
    return selected;
}

static lsLine describe(fileItem* item) {
    const KVE_fileCategoryEnum& category = item->getCategory();
    return {item->getBaseName(),
            hostPathOf(item->getFullPath()),
            item->getFileType().getFileString(),
            category.isValid() ? messageText(category) : "-",
            item->getLocality().getFileString(),
            localTimeText(item->getLastWriteTime()),
            item->getSize(),
            item->exists()};
}

// ---------------------------------------------------------------------------
// 2. Output
// ---------------------------------------------------------------------------

static void printText(const std::vector<lsLine>& lines) {
    size_t name = 4, type = 4, category = 8, locality = 8;
    for (const lsLine& l : lines) {
        name = std::max(name, l.name.size());
        type = std::max(type, l.type.size());
        category = std::max(category, l.category.size());
        locality = std::max(locality, l.locality.size());
    }
    printf("%-*s  %-*s  %-*s  %-*s  %10s  %s\n", static_cast<int>(name), "NAME", static_cast<int>(type), "TYPE",
           static_cast<int>(category), "CATEGORY", static_cast<int>(locality), "LOCALITY", "SIZE", "MODIFIED");
    for (const lsLine& l : lines)
        printf("%-*s  %-*s  %-*s  %-*s  %10lld  %s%s\n", static_cast<int>(name), l.name.c_str(),
               static_cast<int>(type), l.type.c_str(), static_cast<int>(category), l.category.c_str(),
               static_cast<int>(locality), l.locality.c_str(), static_cast<long long>(l.size), l.time.c_str(),
               l.exists ? "" : "  (missing)");
}

static void printJson(const std::string& directory, const std::vector<lsLine>& lines) {
    JsonWriter j(stdout);
    j.beginObject();
    j.field("workspace", directory);
    j.key("items");
    j.beginArray();
    for (const lsLine& l : lines) {
        j.beginObject();
        j.field("name", l.name);
        j.field("path", l.path);
        j.field("type", l.type);
        j.field("category", l.category);
        j.field("locality", l.locality);
        j.field("size", l.size);
        j.field("lastWrite", l.time);
        j.field("exists", l.exists);
        j.endObject();
    }
    j.endArray();
    j.endObject();
    printf("\n");
}

// ---------------------------------------------------------------------------
// 3. The command
// ---------------------------------------------------------------------------

static int runLs(const Args& args) {
    int type = -1, category = -1;
    if (args.has("type")) {
        KVE_fileTypeEnum t;
        t.setByFileString(args.get("type").c_str());
        if (!t.isValid())
            return usageError("no file type '" + args.get("type") + "'; 'kelvault types' lists them");
        type = t.value();
    }
    if (args.has("category")) {
        category = parseCategoryName(args.get("category"));
        if (category < 0)
            return usageError("no category '" + args.get("category") +
                              "'; 'kelvault types --categories' lists them (value, file string or name)");
    }
    auto ws = openWorkspaceForCommand(args.positional.empty() ? "." : args.positional[0]);
    if (!ws) return ExitErrors;
    std::vector<lsLine> lines;
    for (fileItem* item : selectItems(*ws, type, category)) lines.push_back(describe(item));
    if (args.has("json"))
        printJson(hostPathOf(ws->getDirectory()), lines);
    else
        printText(lines);
    return ExitDone;
}

KV_COMMAND({"ls", "ls [DIR] [--type T] [--category C] [--json]", "the files of a workspace, one line each",
            "Opens DIR (default: the current directory) as a workspace and lists its\n"
            "files in the workspace's order: name, type, category, locality, size\n"
            "and last write time (local time). --type T keeps the files of one type\n"
            "(a file string such as SCH or GERBER); --category C lists what the\n"
            "category shows in kelvault tree (a value, file string or name, such as\n"
            "0, Sketchvane or \"Miscellaneous Files\").",
            {{"type", "T", "only files of type T (file string, e.g. SCH)"},
             {"category", "C", "only what category C shows (value, file string or name)"},
             {"json", nullptr, "machine-readable output"}},
            0, 1, runLs});
