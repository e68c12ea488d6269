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

#include <cstdint>
#include <deque>
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
};

struct distinctLibraries {
    size_t read = 0; // places of the list read
    std::unordered_set<const fileItem*> met;
    std::vector<LibraryFileItem*> libraries;
};

struct keptFacts {
    DesignWorkspace* ws;
    LibraryFileItem* library;
    entryFacts facts;
};
} // namespace

static int spans = 0;
static std::vector<openLibrary> openLibraries;
// The facts by entry address, by open addressing over one array of slots
// (a power of two long, at most half full): asked at every part line, where
// a node per entry would cost a cache miss more per ask. The facts
// themselves stay where they were made.
namespace {
struct factsTable {
    struct slot {
        const libraryIndexEntry* entry = nullptr; // null: empty
        keptFacts* kept = nullptr;
    };
    std::vector<slot> slots;
    std::deque<keptFacts> kept;

    static size_t hashOf(const libraryIndexEntry* entry) {
        return static_cast<size_t>((reinterpret_cast<uintptr_t>(entry) >> 3) * 0x9E3779B97F4A7C15ull >> 20);
    }
    bool empty() const { return kept.empty(); }
    void clear() {
        std::vector<slot>().swap(slots);
        kept.clear();
    }
    // The facts of entry, made empty at the first ask.
    keptFacts& operator[](const libraryIndexEntry* entry) {
        if ((kept.size() + 1) * 2 > slots.size()) grow();
        const size_t mask = slots.size() - 1;
        size_t i = hashOf(entry) & mask;
        for (; slots[i].entry; i = (i + 1) & mask)
            if (slots[i].entry == entry) return *slots[i].kept;
        kept.emplace_back();
        slots[i] = {entry, &kept.back()};
        return kept.back();
    }

private:
    void grow() {
        std::vector<slot> old(slots.empty() ? 64 : slots.size() * 2);
        old.swap(slots);
        const size_t mask = slots.size() - 1;
        for (const slot& each : old) {
            if (!each.entry) continue;
            size_t i = hashOf(each.entry) & mask;
            while (slots[i].entry) i = (i + 1) & mask;
            slots[i] = each;
        }
    }
};
} // namespace
static factsTable facts;
static uint64_t factsReleases = 0; // LibraryFileItem::indexReleases() when facts was last valid
static std::unordered_map<const fileItem*, LibraryFileItem*> libraryOfItem;
static std::map<std::pair<const DesignWorkspace*, const LibraryFileItem*>, packageLibraryFacts> packageFacts;
static std::pair<const DesignWorkspace*, const LibraryFileItem*> lastPackageKey;
static packageLibraryFacts* lastPackageFacts = nullptr; // of lastPackageKey
static std::unordered_map<std::string, pathstring> tidiedPaths;
static std::unordered_map<const void*, std::unordered_set<const fileItem*>> recordsOfList;
static std::unordered_map<const void*, distinctLibraries> librariesOfList;
// Pairs of list and item known to be recorded, by a hash of both, one pair
// to a slot: a part line asks for the same two or three pairs as the part
// lines before it, and one compare here spares two hash look-ups.
namespace {
struct recordedPair {
    const void* list = nullptr;
    const fileItem* item = nullptr;
};
} // namespace
static recordedPair recentRecords[64];

enum { maxOpenLibraries = 16 };

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
    lastPackageFacts = nullptr;
    tidiedPaths.clear();
    recordsOfList.clear();
    for (recordedPair& recent : recentRecords) recent = recordedPair();
    librariesOfList.clear();
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
    if (openLibraries.size() >= maxOpenLibraries) {
        fclose(openLibraries.front().file);
        openLibraries.erase(openLibraries.begin());
    }
    openLibraries.push_back({library, library->getFullPath(), file});
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
    if (spans == 0) return nullptr;
    // A first part line asks three times for the same library.
    if (!lastPackageFacts || lastPackageKey.first != ws || lastPackageKey.second != library) {
        lastPackageKey = {ws, library};
        lastPackageFacts = &packageFacts[lastPackageKey];
    }
    return lastPackageFacts;
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

static recordedPair& recentRecordOf(const void* list, const fileItem* item) {
    const uintptr_t key = reinterpret_cast<uintptr_t>(list) * 31 + reinterpret_cast<uintptr_t>(item);
    return recentRecords[(key >> 4) * 0x9E3779B97F4A7C15ull >> 58];
}

bool isRecordedIn(const std::list<fileItem*>& list, const fileItem* item) {
    if (spans == 0) return false;
    recordedPair& recent = recentRecordOf(&list, item);
    if (recent.list == &list && recent.item == item) return true;
    auto found = recordsOfList.find(&list);
    if (found == recordsOfList.end() || found->second.count(item) == 0) return false;
    recent = {&list, item};
    return true;
}

void rememberRecordedIn(const std::list<fileItem*>& list, const fileItem* item) {
    if (spans == 0) return;
    recordsOfList[&list].insert(item);
    recentRecordOf(&list, item) = {&list, item};
}

void forgetRecordsIn(const std::list<fileItem*>& list) {
    recordsOfList.erase(&list);
    for (recordedPair& recent : recentRecords)
        if (recent.list == &list) recent = recordedPair();
}

const std::vector<LibraryFileItem*>& librariesIn(const std::vector<fileItem*>& list) {
    static distinctLibraries outside;
    distinctLibraries& known = spans > 0 ? librariesOfList[&list] : (outside = distinctLibraries());
    // The list never loses a place; should it, it is read again whole.
    if (known.read > list.size()) known = distinctLibraries();
    for (; known.read < list.size(); ++known.read) {
        fileItem* next = list[known.read];
        if (!known.met.insert(next).second) continue;
        if (LibraryFileItem* library = dynamic_cast<LibraryFileItem*>(next)) known.libraries.push_back(library);
    }
    return known.libraries;
}
