// kelvault tree: a directory opened as a workspace, shown as the tree a
// person sees in a design-manager window.
//
// The top-level categories that have items, each with its items and their
// type names; --all shows the empty categories too, --json gives the same
// as data. Files that a design file of the same stem claims (its netlists,
// reports, outputs) and circuits beside their schematic are not listed in
// the categories; they belong beneath their design file.
//
// Contents:
//   1. Gathering the tree.
//   2. Text and JSON output.
//   3. The command.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "command.h"
#include "json.h"
#include "workspace_cli.h"

// ---------------------------------------------------------------------------
// 1. Gathering the tree
// ---------------------------------------------------------------------------

struct treeItem {
    std::string name, path, type, typeName, time;
    int64_t size;
    bool exists;
};

struct treeCategory {
    int value;
    std::string name, fileString;
    std::vector<treeItem> items;
};

static std::vector<treeCategory> gatherTree(workspace& ws) {
    std::vector<treeCategory> tree;
    for (KVE_fileCategoryEnum c(0); c.isValid(); c.setNext()) {
        if (!c.topLevel()) continue;
        treeCategory category{c.value(), messageText(c), c.getFileString(), {}};
        fileItemList* items = ws.getCategoryItems(c);
        for (fileItem* item : *items) {
            const KVE_fileTypeEnum& type = item->getFileType();
            category.items.push_back({item->getBaseName(), hostPathOf(item->getFullPath()), type.getFileString(),
                                      messageText(type), localTimeText(item->getLastWriteTime()), item->getSize(),
                                      item->exists()});
        }
        delete items;
        tree.push_back(category);
    }
    return tree;
}

// ---------------------------------------------------------------------------
// 2. Output
// ---------------------------------------------------------------------------

// hidden: files of the directory that the categories do not show.
static void printTreeText(const std::string& title, const std::vector<treeCategory>& tree, bool all, size_t hidden) {
    printf("%s\n", title.c_str());
    std::vector<const treeCategory*> shown;
    for (const treeCategory& c : tree)
        if (all || !c.items.empty()) shown.push_back(&c);
    if (shown.empty()) printf("`-- (no design files)\n");
    for (size_t i = 0; i < shown.size(); ++i) {
        const treeCategory& c = *shown[i];
        const bool lastCategory = i + 1 == shown.size();
        printf("%s %s (%zu)\n", lastCategory ? "`--" : "|--", c.name.c_str(), c.items.size());
        size_t width = 0;
        for (const treeItem& item : c.items) width = std::max(width, item.name.size());
        for (size_t j = 0; j < c.items.size(); ++j) {
            const treeItem& item = c.items[j];
            printf("%s   %s %-*s  %s\n", lastCategory ? " " : "|", j + 1 == c.items.size() ? "`--" : "|--",
                   static_cast<int>(width), item.name.c_str(), item.typeName.c_str());
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
        for (const treeItem& item : c.items) shown += item.exists;
    fileItemList* local = ws.getLocalItems();
    for (fileItem* item : *local) present += item->exists();
    delete local;
    return present > shown ? present - shown : 0;
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
        for (const treeItem& item : c.items) {
            j.beginObject();
            j.field("name", item.name);
            j.field("path", item.path);
            j.field("type", item.type);
            j.field("typeName", item.typeName);
            j.field("size", item.size);
            j.field("lastWrite", item.time);
            j.field("exists", item.exists);
            j.endObject();
        }
        j.endArray();
        j.endObject();
    }
    j.endArray();
    j.endObject();
    printf("\n");
}

// ---------------------------------------------------------------------------
// 3. The command
// ---------------------------------------------------------------------------

static int runTree(const Args& args) {
    auto ws = openWorkspaceForCommand(args.positional.empty() ? "." : args.positional[0]);
    if (!ws) return ExitErrors;
    const std::string directory = hostPathOf(ws->getDirectory());
    std::vector<treeCategory> tree = gatherTree(*ws);
    if (args.has("json"))
        printTreeJson(directory, tree, args.has("all"));
    else
        printTreeText(directory, tree, args.has("all"), countHidden(*ws, tree));
    return ExitDone;
}

KV_COMMAND({"tree", "tree [DIR] [--all] [--json]", "a workspace as a tree of categories and files",
            "Opens DIR (default: the current directory) as a workspace and shows the\n"
            "top-level categories that have files, each with its files and their type\n"
            "names. A file's type comes from its extension and, for some extensions,\n"
            "its first bytes (a schematic must begin with *version). Netlists,\n"
            "reports and outputs of a design file of the same stem, and a circuit\n"
            "beside its schematic, are not listed in a category: they belong beneath\n"
            "their design file. Files without a category of their own that nothing\n"
            "claims are under Miscellaneous Files. A missing DIR is created.",
            {{"all", nullptr, "show the empty categories too"}, {"json", nullptr, "machine-readable output"}}, 0, 1,
            runTree});
