// What a scan keeps of the libraries it reads (see scanmemo.h), and the
// span that bounds it.
//
// Contents:
//   1. The span: beginLibraryReads, endLibraryReads, libraryReadsOpen.
//   2. Library streams.
//   3. Entry and package library facts.
//   4. Library items of library files.
//   5. Tidied paths; items recorded in a list.
#include "scanning/scanmemo.h"

#include <map>
#include <memory>
#include <unordered_map>
#include <unordered_set>

#include "libraries/libraryitem.h"
#include "paths/pathstring.h"
#include "platform/platform.h"
#include "scanning/formats.h"

namespace {
struct openLibrary {
    const LibraryFileItem* library;
    std::string path;
    FILE* file;
    std::shared_ptr<char> buffer; // the stream's; freed after the close
};

struct keptFacts {
    DesignWorkspace* ws;
    LibraryFileItem* library;
    entryFacts facts;
};
} // namespace

static int spans = 0;
static std::vector<openLibrary> openLibraries;
static std::unordered_map<const libraryIndexEntry*, keptFacts> facts;
static uint64_t factsReleases = 0; // LibraryFileItem::indexReleases() when facts was last valid
static std::unordered_map<const fileItem*, LibraryFileItem*> libraryOfItem;
static std::map<std::pair<const DesignWorkspace*, const LibraryFileItem*>, packageLibraryFacts> packageFacts;
static std::unordered_map<std::string, pathstring> tidiedPaths;
static std::unordered_map<const void*, std::unordered_set<const fileItem*>> recordsOfList;
enum { maxOpenLibraries = 16, libraryBufferSize = 4096 };

// ---------------------------------------------------------------------------
// 1. The span
// ---------------------------------------------------------------------------

void beginLibraryReads() { ++spans; }

bool endLibraryReads() {
    if (spans > 0 && --spans > 0) return false;
    for (openLibrary& open : openLibraries) fclose(open.file);
    openLibraries.clear();
    facts.clear();
    libraryOfItem.clear();
    packageFacts.clear();
    tidiedPaths.clear();
    recordsOfList.clear();
    return true;
}

bool libraryReadsOpen() { return spans > 0; }

// ---------------------------------------------------------------------------
// 2. Library streams
// ---------------------------------------------------------------------------

FILE* libraryStream(LibraryFileItem* library, bool& kept) {
    kept = spans > 0;
    if (kept)
        for (const openLibrary& open : openLibraries)
            if (open.library == library && open.path == library->getFullPath()) return open.file;
    FILE* file = kvFopen(library->getFullPath(), "rb");
    if (!file || !kept) return file;
    // Entries lie anywhere in the file: a large read-ahead would be
    // refilled, mostly in vain, at every seek.
    std::shared_ptr<char> buffer(new char[libraryBufferSize], std::default_delete<char[]>());
    setvbuf(file, buffer.get(), _IOFBF, libraryBufferSize);
    if (openLibraries.size() >= maxOpenLibraries) {
        fclose(openLibraries.front().file);
        openLibraries.erase(openLibraries.begin());
    }
    openLibraries.push_back({library, library->getFullPath(), file, buffer});
    return file;
}

// ---------------------------------------------------------------------------
// 3. Entry and package library facts
// ---------------------------------------------------------------------------

entryFacts* factsOfEntry(DesignWorkspace* ws, LibraryFileItem* library, libraryIndexEntry* entry) {
    if (spans == 0) return nullptr;
    // A freed entry's address may come back for another entry.
    if (factsReleases != LibraryFileItem::indexReleases()) {
        facts.clear();
        factsReleases = LibraryFileItem::indexReleases();
    }
    // A part line asks for the same entry twice, for views and package.
    static const libraryIndexEntry* lastEntry = nullptr;
    static keptFacts* last = nullptr;
    if (facts.empty()) lastEntry = nullptr;
    keptFacts& kept = entry == lastEntry ? *last : facts[entry];
    if (kept.ws != ws || kept.library != library) kept = keptFacts{ws, library, entryFacts()};
    lastEntry = entry;
    last = &kept;
    return &kept.facts;
}

packageLibraryFacts* packageFactsOf(DesignWorkspace* ws, LibraryFileItem* library) {
    return spans == 0 ? nullptr : &packageFacts[{ws, library}];
}

// ---------------------------------------------------------------------------
// 4. Library items of library files
// ---------------------------------------------------------------------------

LibraryFileItem* rememberedLibraryOf(fileItem* item) {
    if (spans == 0) return nullptr;
    auto found = libraryOfItem.find(item);
    return found == libraryOfItem.end() ? nullptr : found->second;
}

void rememberLibraryOf(fileItem* item, LibraryFileItem* library) {
    if (spans > 0 && library) libraryOfItem[item] = library;
}

// ---------------------------------------------------------------------------
// 5. Tidied paths; items recorded in a list
// ---------------------------------------------------------------------------

void assignTidied(pathstring& path, const char* text) {
    if (spans == 0) {
        path = text;
        return;
    }
    auto known = tidiedPaths.find(text);
    if (known == tidiedPaths.end()) known = tidiedPaths.emplace(text, pathstring(text)).first;
    path = known->second;
}

bool isRecordedIn(const std::list<fileItem*>& list, const fileItem* item) {
    if (spans == 0) return false;
    auto found = recordsOfList.find(&list);
    return found != recordsOfList.end() && found->second.count(item) != 0;
}

void rememberRecordedIn(const std::list<fileItem*>& list, const fileItem* item) {
    if (spans > 0) recordsOfList[&list].insert(item);
}

void forgetRecordsIn(const std::list<fileItem*>& list) { recordsOfList.erase(&list); }
