// kelvault lib: the index of a symbol or package library, checked against
// the file.
//
// Reads the index as the engine does, lists every entry (names, parent,
// offset, size, block mark) and checks it against the file: the entry's
// text has to start with the "*" of a block header where the index says,
// and lie inside the file. Entries that fail are flagged; exit status 1
// if any is.
//
// Contents:
//   1. Checking an entry against the file.
//   2. The command.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "command.h"
#include "json.h"
#include "libraries/libraryitem.h"
#include "operations/operation.h"
#include "paths/pathstring.h"
#include "workspace/workspace.h"

// ---------------------------------------------------------------------------
// 1. Checking an entry against the file
// ---------------------------------------------------------------------------

struct entryCheck {
    std::string header; // the first line of the entry's text
    std::string problem; // empty if the entry is right
};

// Reads the first line at the entry's place in the open file.
static entryCheck checkEntry(FILE* file, long fileSize, int32_t base, const libraryIndexEntry& entry) {
    entryCheck check;
    long start = static_cast<long>(base) + entry.offset;
    if (entry.offset < 0 || entry.size < 0 || start > fileSize) {
        check.problem = "starts outside the file";
        return check;
    }
    if (start + entry.size > fileSize) check.problem = "runs past the end of the file";
    char line[1024] = "";
    if (fseek(file, start, SEEK_SET) != 0 || !fgets(line, sizeof line, file)) line[0] = 0;
    line[strcspn(line, "\r\n")] = 0;
    check.header = line;
    if (line[0] != '*') check.problem = "no block starts here";
    return check;
}

// Names of an entry as a list: ",a,b," gives a and b.
static std::vector<std::string> namesOf(const libraryIndexEntry& entry) {
    std::vector<std::string> names;
    if (!entry.names) return names;
    std::string all = entry.names;
    size_t start = 1;
    for (size_t comma; (comma = all.find(',', start)) != std::string::npos; start = comma + 1)
        names.push_back(all.substr(start, comma - start));
    return names;
}

// The look-ups of this command tell nothing to anyone.
class ListingOperation : public InternalFunctionObject {
public:
    bool dependencyFound(pathstring&, bool, bool) override { return true; }
    bool acceptsItem(fileItem*) override { return true; }
};

// ---------------------------------------------------------------------------
// 2. The command
// ---------------------------------------------------------------------------

static int runLib(const Args& args) {
    const std::string& host = args.positional[0];
    std::string engine = ToEnginePath(host.c_str());
    pathstring path(engine.c_str());
    if (!path.existsFile()) {
        fprintf(stderr, "kelvault: no such file: %s\n", host.c_str());
        return ExitUsage;
    }
    KVE_Status status;
    DesignWorkspace* ws = static_cast<DesignWorkspace*>(OpenWorkspace(status, path.getPath().c_str()));
    if (!ws) {
        fprintf(stderr, "kelvault: cannot open the directory of %s\n", host.c_str());
        return ExitErrors;
    }
    LibraryFileItem* library = static_cast<LibraryFileItem*>(ws->addLibraryItem(engine.c_str(), nullptr));
    library->generateIndexList();
    FILE* file = kvFopen(library->getFullPath(), "rb");
    long fileSize = 0;
    if (file && fseek(file, 0, SEEK_END) == 0) fileSize = ftell(file);

    const std::vector<libraryIndexEntry*>& entries = library->getIndexEntries();
    std::vector<entryCheck> checks;
    int flagged = 0;
    for (const libraryIndexEntry* entry : entries) {
        checks.push_back(file ? checkEntry(file, fileSize, library->getBaseOffset(), *entry)
                              : entryCheck{"", "file cannot be read"});
        flagged += !checks.back().problem.empty();
    }
    if (file) fclose(file);

    if (args.has("json")) {
        JsonWriter j(stdout);
        j.beginObject();
        j.field("library", host);
        j.field("baseOffset", static_cast<int>(library->getBaseOffset()));
        j.key("entries");
        j.beginArray();
        for (size_t i = 0; i < entries.size(); ++i) {
            const libraryIndexEntry& e = *entries[i];
            j.beginObject();
            j.key("names");
            j.beginArray();
            for (const std::string& n : namesOf(e)) j.value(n);
            j.endArray();
            j.field("parent", e.parent);
            j.field("offset", static_cast<int>(e.offset));
            j.field("size", static_cast<int>(e.size));
            j.field("block", e.isBlock);
            j.field("header", checks[i].header);
            j.key("problem");
            if (checks[i].problem.empty())
                j.null();
            else
                j.value(checks[i].problem);
            j.endObject();
        }
        j.endArray();
        j.field("flagged", flagged);
        j.endObject();
        printf("\n");
    } else {
        printf("%s: %zu entries, offsets from byte %d\n", host.c_str(), entries.size(),
               static_cast<int>(library->getBaseOffset()));
        for (size_t i = 0; i < entries.size(); ++i) {
            const libraryIndexEntry& e = *entries[i];
            std::string names;
            for (const std::string& n : namesOf(e)) names += (names.empty() ? "" : ",") + n;
            printf("  %-24s %-12s %8d %8d %s  %s%s\n", names.c_str(), e.parent ? e.parent : "-",
                   static_cast<int>(e.offset), static_cast<int>(e.size), e.isBlock ? "b" : " ",
                   checks[i].problem.empty() ? "" : "FLAGGED: ",
                   checks[i].problem.empty() ? checks[i].header.c_str() : checks[i].problem.c_str());
        }
        if (entries.empty()) printf("  (no index: no line starts with \"symloc\")\n");
        if (flagged) printf("%d %s flagged\n", flagged, flagged == 1 ? "entry" : "entries");
    }
    delete ws;
    return flagged ? ExitErrors : ExitDone;
}

KV_COMMAND({"lib", "lib FILE [--json]", "the index of a symbol or package library, checked",
            "Reads the index at the head of a symbol or package library as the engine\n"
            "does (lines \"symloc NAMES[:PARENT] OFFSET SIZE [b]\") and lists each entry:\n"
            "its names, its parent, where its text lies (counted from the first line\n"
            "behind the index), its size, and the block mark b. Each entry is checked\n"
            "against the file: its text must start with the '*' of a block header and\n"
            "lie inside the file; an entry that fails is flagged, with exit status 1.\n"
            "Names are shown in lower case, as the engine compares them.",
            {{"json", nullptr, "machine-readable output"}}, 1, 1, runLib});
