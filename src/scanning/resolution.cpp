// Symbol and package resolution: from a name on a schematic line to an
// entry of a library, and from there to what that entry needs.
//
// A schematic names the libraries it uses but not which library holds
// which symbol. A scan therefore looks every "part" and "port" symbol up:
// first among the symbols this file has used before, then in the symbol
// libraries of its @LIBRARIES section, in order, then in the configured
// symbol libraries. A symbol that is found brings its parents (the entries
// it is derived from, in the same library), the schematics its views name,
// and its package, which lives in the package library of the same stem
// beside the symbol library. Everything found is recorded in usedSymbols
// and usedPackages, so that a reduced library can later be written with
// exactly these entries, and the libraries themselves become dependencies.
//
// A fix-up resolves nothing: part and port lines are copied, and a
// COMPONENT= line finds only what a scan has recorded.
//
// A chain of parents ends at a name the library lacks (reported, as for a
// symbol) and at a name already met in the same walk, so that a library
// whose parents loop cannot hold the scan.
//
// Contents:
//   1. Helpers: words, usage lists, reports that may cancel the file.
//   2. The parent walk.
//   3. findSymbol, findSymbolInUsedLibraries.
//   4. Reading an entry's text: scanSymbolViews, scanSymbolPackage.
//   5. findPackage.
//   6. The PartLine and PortLine states.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "libraries/configuration.h"
#include "libraries/libraryitem.h"
#include "libraries/libraryusage.h"
#include "operations/operation.h"
#include "paths/pathstring.h"
#include "scanning/formats.h"
#include "scanning/lineengine.h"
#include "scanning/scanmemo.h"
#include "workspace/context.h"
#include "workspace/fileitem.h"
#include "workspace/workspace.h"

// ---------------------------------------------------------------------------
// 1. Helpers
// ---------------------------------------------------------------------------

// Set when the client answered Cancel to a report of this code; the line
// handlers clear it before they resolve and end the file when it is set
// after. Process-wide, as the scan context is.
static bool resolutionCancelled = false;

// reportProblem, remembering a Cancel.
static void report(InternalFunctionObject& op, const KVE_callBackAction& action, const char* detail, fileItem* item) {
    if (op.reportProblem(action, detail, item)) resolutionCancelled = true;
}

// A byte loop rather than strcspn: words here are a few bytes long, and a
// part line takes two of them.
void takeWord(const char* text, int index, char* out, size_t size) {
    out[0] = '\0';
    const char* p = text;
    for (int i = 0;; ++i) {
        while (*p == ' ' || *p == '\t') ++p;
        if (!*p) return;
        const char* end = p;
        while (*end && *end != ' ' && *end != '\t') ++end;
        if (i == index) {
            const size_t length = static_cast<size_t>(end - p);
            const size_t take = length < size - 1 ? length : size - 1;
            memcpy(out, p, take);
            out[take] = '\0';
            return;
        }
        p = end;
    }
}

static char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

// name in lower case (ASCII only, as the C locale), for the parent walk.
static std::string lowerCase(const char* name) {
    std::string key(name);
    for (char& c : key) c = lowerAscii(c);
    return key;
}

// A hash of name's length bytes that ignores ASCII case (FNV-1a). Each
// byte is taken with its 0x20 bit set: that folds the case of letters
// without a test, and joins only a few other pairs, which the compare of
// the names then tells apart.
static uint32_t foldedHash(const char* name, size_t length) {
    uint32_t hash = 2166136261u;
    for (size_t i = 0; i < length; ++i) hash = (hash ^ (static_cast<unsigned char>(name[i]) | 0x20u)) * 16777619u;
    return hash;
}

// Puts usage into the slots of index, behind the records of its name.
static void placeRecord(usageNameIndex& index, libraryUsage* usage) {
    const size_t length = usage->name.size();
    const uint32_t hash = foldedHash(usage->name.data(), length);
    const size_t mask = index.slots.size() - 1;
    size_t i = hash & mask;
    while (index.slots[i].usage) i = (i + 1) & mask;
    index.slots[i] = {hash, static_cast<uint32_t>(length), usage};
}

// Indexes the whole list again, in list order, with room for one more.
static void indexAgain(const std::list<libraryUsage*>& list, usageNameIndex& index) {
    size_t capacity = 16;
    while ((list.size() + 1) * 2 > capacity) capacity *= 2;
    index.slots.assign(capacity, usageNameIndex::slot());
    for (libraryUsage* each : list) placeRecord(index, each);
    index.indexed = list.size();
    index.last = list.empty() ? nullptr : list.back();
}

// Brings index up to list: nothing when it has indexed exactly the list,
// else it reads the whole list again.
static void syncIndex(const std::list<libraryUsage*>& list, usageNameIndex& index) {
    const libraryUsage* last = list.empty() ? nullptr : list.back();
    if (index.indexed != list.size() || index.last != last || index.slots.empty()) indexAgain(list, index);
}

// The first record of list, in list order, whose name equals name without
// regard to case, and whose library is library unless anyLibrary is set.
static libraryUsage* firstRecord(const std::list<libraryUsage*>& list, usageNameIndex& index, const char* name,
                                 const LibraryFileItem* library, bool anyLibrary) {
    syncIndex(list, index);
    const size_t length = strlen(name);
    const uint32_t hash = foldedHash(name, length);
    const size_t mask = index.slots.size() - 1;
    for (size_t i = hash & mask; index.slots[i].usage; i = (i + 1) & mask) {
        const usageNameIndex::slot& slot = index.slots[i];
        if (slot.hash == hash && slot.length == length && (anyLibrary || slot.usage->library == library) &&
            equalIgnoringCase(slot.usage->name.data(), name, length))
            return slot.usage;
    }
    return nullptr;
}

// The first record of list whose name equals name without regard to case.
static libraryUsage* usageOfName(const std::list<libraryUsage*>& list, usageNameIndex& index, const char* name) {
    return firstRecord(list, index, name, nullptr, true);
}

// The record of list with the name (without regard to case) and library,
// or null.
static libraryUsage* findRecord(const std::list<libraryUsage*>& list, usageNameIndex& index, const char* name,
                                const LibraryFileItem* library) {
    return firstRecord(list, index, name, library, false);
}

// Appends usage to list unless a record of the same name (without regard
// to case) and the same library is there; then usage is deleted. Returns
// the record that stands in the list.
static libraryUsage* addUsage(std::list<libraryUsage*>& list, usageNameIndex& index, libraryUsage* usage) {
    if (libraryUsage* known = findRecord(list, index, usage->name.c_str(), usage->library)) {
        delete usage;
        return known;
    }
    list.push_back(usage);
    if ((index.indexed + 1) * 2 > index.slots.size()) {
        indexAgain(list, index);
    } else {
        placeRecord(index, usage);
        index.indexed = list.size();
        index.last = usage;
    }
    return usage;
}

// The same for a record of library, entry and name, made only when it is
// not there: a package is recorded again at every use of its symbol.
// Returns the new record, or null when there was one.
static libraryUsage* addUsageOf(std::list<libraryUsage*>& list, usageNameIndex& index, LibraryFileItem* library,
                                libraryIndexEntry* entry, const char* name) {
    if (findRecord(list, index, name, library)) return nullptr;
    return addUsage(list, index, new libraryUsage(library, entry, name));
}

// The current directory, saved and set for the span of a block and put
// back on every way out.
namespace {
class directoryScope {
public:
    explicit directoryScope(const char* directory) {
        GetCurrentDirectoryA(MAX_PATH, saved);
        SetCurrentDirectoryA(directory);
    }
    ~directoryScope() { SetCurrentDirectoryA(saved); }
    directoryScope(const directoryScope&) = delete;
    directoryScope& operator=(const directoryScope&) = delete;

private:
    char saved[MAX_PATH] = "";
};
} // namespace

// The library path of the configuration, or "".
static const char* librarySearchPath() {
    const LibraryConfiguration* configuration = getLibraryConfiguration();
    return configuration ? configuration->getSearchPath() : "";
}

// ---------------------------------------------------------------------------
// 2. The parent walk
// ---------------------------------------------------------------------------

// Records the parents of usage's entry, nearest first, in list, each under
// the name by which its child names it. The walk ends at a parent that the
// library lacks (reported in a scan) and at a name met before in the same
// walk (start being the first).
static void walkParents(DesignFileItem& item, std::list<libraryUsage*>& list, usageNameIndex& index,
                        libraryUsage* usage, const char* start, InternalFunctionObject& op) {
    LibraryFileItem* library = usage->library;
    // Most entries have no parent: nothing to walk, nothing to remember.
    if (!library || !usage->entry || !usage->entry->parent || !usage->entry->parent[0]) return;
    std::set<std::string> met;
    met.insert(lowerCase(start));
    std::string text = usage->entry->parent;
    while (!text.empty()) {
        if (!met.insert(lowerCase(text.c_str())).second) return; // a loop
        libraryIndexEntry* parent = library->findIndexEntry(text.c_str(), op);
        if (!parent) {
            if (op.isScanOnly()) report(op, KVE_callBackAction::CannotFindSymbol, text.c_str(), &item);
            return;
        }
        parent->owner = library;
        addUsage(list, index, new libraryUsage(library, parent, text.c_str()));
        text = parent->parent ? parent->parent : "";
    }
}

// ---------------------------------------------------------------------------
// 3. findSymbol, findSymbolInUsedLibraries
// ---------------------------------------------------------------------------

libraryUsage* DesignFileItem::findSymbolInUsedLibraries(const char* name, InternalFunctionObject& op) {
    // A library named twice answers the same twice: each is asked once,
    // in the order of its first place (the list holds one place per use).
    const std::vector<LibraryFileItem*>& libraries = librariesIn(usedLibraries);
    const LibraryFileItem::lookUpKey key(name); // made once for all of them
    if (libraries.size() > 1)
        for (LibraryFileItem* library : libraries) library->expectLookUp(key);
    for (LibraryFileItem* library : libraries) {
        if (library->getLibraryKind() != LibraryKindSymbols) continue;
        if (libraryIndexEntry* entry = library->findIndexEntry(key, op)) {
            entry->owner = library;
            return new libraryUsage(library, entry, name);
        }
    }
    return nullptr;
}

libraryIndexEntry* DesignFileItem::findSymbol(const char* name, InternalFunctionObject& op) {
    if (!name) name = "";
    libraryUsage* usage = usageOfName(usedSymbols, usedSymbolIndex, name);
    if (!usage) {
        usage = findSymbolInUsedLibraries(name, op);
        if (!usage) {
            if (!op.isScanOnly()) return nullptr;
            if (LibraryConfiguration* configuration = getLibraryConfiguration())
                usage = configuration->findConfiguredSymbol(name, op);
        }
        if (!usage) {
            report(op, KVE_callBackAction::CannotFindSymbol, name, this);
            return nullptr;
        }
        usage = addUsage(usedSymbols, usedSymbolIndex, usage);
        walkParents(*this, usedSymbols, usedSymbolIndex, usage, name, op);
    }
    usage->entry->owner = usage->library;
    if (usage->library) scanSymbolViews(usage, op);
    return usage->entry;
}

// ---------------------------------------------------------------------------
// 4. Reading an entry's text
// ---------------------------------------------------------------------------

// The text of entry of library, with a terminating NUL, in a buffer that
// the next call reuses; or null. Read in binary where it stands (the index
// counts bytes), through the library's stream, which a scan keeps open.
// Reports CannotReadFile for the library when it does not open, and
// ErrorReadingFile for owner when the bytes cannot all be read (an entry
// larger than its file cannot be); an offset before the start of the file
// gives null without a report.
static char* readEntryText(LibraryFileItem* library, libraryIndexEntry* entry, fileItem* owner,
                           InternalFunctionObject& op) {
    static std::vector<char> text;
    const int64_t position = static_cast<int64_t>(library->getBaseOffset()) + entry->offset;
    const bool sizeFits = entry->size >= 0 && entry->size <= library->getSize();
    const size_t size = sizeFits ? static_cast<size_t>(entry->size) : 0;
    bool kept = false;
    FILE* file = libraryStream(library, kept);
    if (!file) {
        report(op, KVE_callBackAction::CannotReadFile, nullptr, library);
        return nullptr;
    }
    clearerr(file); // a kept stream may carry the failure of an earlier read
    char* result = nullptr;
    if (position >= 0) {
        if (text.size() < size + 1) text.resize(size + 1); // the bytes are all read over
        // Past the end of the file a read gives fewer bytes, or none.
        if (!sizeFits || kvReadAt(file, position, text.data(), size) != size) {
            report(op, KVE_callBackAction::ErrorReadingFile, nullptr, owner);
        } else {
            text[size] = '\0';
            result = text.data();
        }
    }
    if (!kept) fclose(file);
    return result;
}

// The package name that an entry's text gives, into facts: what stands
// behind "component=" (or, without one, "part=") up to the line feed, a
// carriage return included (the text is read in binary), in lower case.
// Both keywords are found without regard to case and may stand anywhere;
// the first of each counts. One walk over the text's "="s finds both.
static void learnPackage(const char* text, entryFacts& facts) {
    const char* component = nullptr;
    const char* part = nullptr;
    for (const char* equals = strchr(text, '='); equals && !component; equals = strchr(equals + 1, '=')) {
        const size_t before = static_cast<size_t>(equals - text);
        if (before < 4 || (equals[-1] | 0x20) != 't') continue; // both keywords end in "t"
        if (before >= 9 && _strnicmp(equals - 9, "component", 9) == 0)
            component = equals + 1;
        else if (!part && _strnicmp(equals - 4, "part", 4) == 0)
            part = equals + 1;
    }
    const char* value = component ? component : part;
    facts.packageKnown = true;
    facts.hasPackage = value != nullptr;
    facts.packageName.clear();
    if (value) {
        facts.packageName.assign(value, strcspn(value, "\n"));
        for (char& c : facts.packageName) c = lowerAscii(c);
    }
}

// Puts the schematic of a view into the lists: the system dependencies,
// or the dependencies (and the used libraries when it is a library).
static void placeViewItem(DesignFileItem& owner, fileItem* item, bool system) {
    if (system)
        owner.addSystemDependency(item);
    else
        owner.addDependency(item);
}

void DesignFileItem::scanSymbolViews(libraryUsage* usage, InternalFunctionObject& op) {
    LibraryFileItem* library = usage->library;
    libraryIndexEntry* entry = usage->entry;
    DesignWorkspace* ws = getDesignOwner();
    entryFacts* facts = factsOfEntry(ws, library, entry);
    if (facts && facts->viewsKnown) {
        for (const auto& view : facts->views) placeViewItem(*this, view.first, view.second);
        return;
    }
    // Names in a library are relative to the library: the directory is set
    // at the first view that names one. Line ends are taken with or without
    // their carriage return.
    std::unique_ptr<directoryScope> here;
    char* text = readEntryText(library, entry, entry->owner, op);
    if (!text) return;
    std::vector<std::pair<fileItem*, bool>> views;
    // With case: a block whose header is in capitals has no views here.
    const char* start = strstr(text, "@views");
    for (const char* line = start; line && *line && ws;) {
        const char* end = line + strcspn(line, "\n");
        if (line != start && *line == '@') break;
        const char* equals = static_cast<const char*>(memchr(line, '=', end - line));
        std::string value = equals ? std::string(equals + 1, end) : std::string();
        if (!value.empty() && value.back() == '\r') value.pop_back();
        // A line without a value names nothing, as one whose value begins
        // with "*" (no view of that kind).
        if (!value.empty() && value[0] != '*') {
            if (!here) here.reset(new directoryScope(library->getDirectoryString().c_str()));
            pathstring result;
            searchPathForFile(library->getDirectoryString().c_str(), librarySearchPath(), value.c_str(), ".sch",
                              result);
            result.tidyUp(false);
            if (fileItem* item = ws->addFileItem(result.c_str(), nullptr)) {
                const bool system = library->isSystemLibrary() || isPartLib(library) || item->isSystem();
                placeViewItem(*this, item, system);
                views.emplace_back(item, system);
            }
        }
        line = *end ? end + 1 : end;
    }
    if (facts) {
        facts->viewsKnown = true;
        facts->views = std::move(views);
        // The package comes from the same text: read once, not again for
        // scanSymbolPackage, which follows at a part line.
        if (!facts->packageKnown) learnPackage(text, *facts);
    }
}

// The package name that an entry's text gives (see learnPackage), from
// facts when they know it. False when the text does not read or names no
// package; a failed read is reported, and read failures are never
// remembered.
static bool packageNameOf(LibraryFileItem* library, libraryIndexEntry* entry, entryFacts* facts, std::string& name,
                          InternalFunctionObject& op) {
    entryFacts outside; // without a scan's memory: learnt for this call only
    entryFacts& known = facts ? *facts : outside;
    if (!known.packageKnown) {
        char* text = readEntryText(library, entry, library, op);
        if (!text) return false;
        learnPackage(text, known);
    }
    name = known.packageName;
    return known.hasPackage;
}

// The traces of a package found in packages, the package library beside its
// symbol's library: the library given to the operation, and the item of the
// path as the operation left it (null when the workspace has none).
static fileItem* besidePackageItem(DesignWorkspace* ws, LibraryFileItem* packages, libraryIndexEntry* package,
                                   packageLibraryFacts* beside, InternalFunctionObject& op) {
    package->owner = packages;
    static pathstring path; // kept: its room serves every part line
    if (beside)
        path = beside->packagePath;
    else
        path = packages->getFullPath();
    op.dependencyFound(path, false, false);
    const bool same = beside && path == beside->packagePath;
    fileItem* item = same && beside->packageItem ? beside->packageItem : ws->addFileItem(path.c_str(), nullptr);
    if (same) beside->packageItem = item;
    return item;
}

// The package library's item in owner's lists.
static void placePackageItem(DesignFileItem& owner, fileItem* item) {
    if (!item) return;
    if (item->isSystem())
        owner.addSystemDependency(item);
    else
        owner.addDependency(item);
}

void DesignFileItem::scanSymbolPackage(libraryIndexEntry* entry, InternalFunctionObject& op) {
    LibraryFileItem* library = entry->owner;
    if (!library) return;
    // Every name met from here is a full path (of a library, or of a
    // package library beside one), so the current directory, which a pass
    // has set to this item's already, plays no part.
    DesignWorkspace* ws = getDesignOwner();
    entryFacts* facts = factsOfEntry(ws, library, entry);
    std::string name;
    if (!packageNameOf(library, entry, facts, name, op)) return;

    // The package library has the symbol library's stem and directory. The
    // library items are looked up in the path's own case (the look-up
    // ignores case, and the disk then need not be searched for a name it
    // does not hold); findPackage gets it lower-cased.
    char packagePath[1028], lowerPath[1028];
    packagePath[0] = lowerPath[0] = '\0'; // not the whole buffers: this runs for every part
    auto formPaths = [&] {
        snprintf(packagePath, sizeof packagePath, "%s", library->getFullPath());
        snprintf(lowerPath, sizeof lowerPath, "%s", packagePath);
        _strlwr(lowerPath);
        if (char* slb = strstr(lowerPath, ".slb")) {
            strcpy(slb, ".plb");
            strcpy(packagePath + (slb - lowerPath), ".plb");
        }
    };
    packageLibraryFacts* beside = packageFactsOf(ws, library);
    LibraryFileItem* packages = beside ? beside->packages : nullptr;
    libraryIndexEntry* package = facts && packages ? facts->package : nullptr;
    if (!packages) {
        formPaths();
        packages = ws ? dynamic_cast<LibraryFileItem*>(ws->findLibraryItem(packagePath)) : nullptr;
        if (packages && beside) {
            beside->packages = packages;
            beside->packagePath = pathstring(packages->getFullPath());
        }
    }
    if (!package && packages) {
        package = packages->findIndexEntry(name.c_str(), op);
        if (facts) facts->package = package;
    }
    if (package) {
        fileItem* item = besidePackageItem(ws, packages, package, beside, op);
        // The package's parents are recorded too, as findPackage records
        // them: a reduced library needs them. Walked when the package is
        // first recorded; a later walk would find the same.
        if (libraryUsage* added = addUsageOf(usedPackages, usedPackageIndex, packages, package, name.c_str()))
            walkParents(*this, usedPackages, usedPackageIndex, added, name.c_str(), op);
        placePackageItem(*this, item);
        return;
    }
    if (!lowerPath[0]) formPaths();
    if (libraryIndexEntry* found = findPackage(name.c_str(), lowerPath, op)) {
        pathstring path(found->owner ? found->owner->getFullPath() : "");
        op.dependencyFound(path, true, false);
        if (ws) addSystemDependency(ws->addFileItem(path.c_str(), nullptr));
    }
}

// ---------------------------------------------------------------------------
// 5. findPackage
// ---------------------------------------------------------------------------

libraryIndexEntry* DesignFileItem::findPackage(const char* name, char* libraryHint, InternalFunctionObject& op) {
    if (!name) name = "";
    libraryIndexEntry* result = nullptr;
    libraryUsage* usage = nullptr;
    _strlwr(libraryHint);
    LibraryConfiguration* configuration = getLibraryConfiguration();
    char* slb = strstr(libraryHint, ".slb");
    if (slb && op.isScanOnly()) {
        strcpy(slb, ".plb");
        LibraryFileItem* library = configuration ? configuration->findConfiguredLibrary(libraryHint) : nullptr;
        if (libraryIndexEntry* entry = library ? library->findIndexEntry(name, op) : nullptr) {
            entry->owner = library;
            result = entry;
            usage = addUsage(usedPackages, usedPackageIndex, new libraryUsage(library, entry, name));
        }
    }
    if (!usage) {
        usage = usageOfName(usedPackages, usedPackageIndex, name);
        if (usage) result = usage->entry;
    }
    if (!usage && op.isScanOnly() && configuration) {
        // Recorded, but not given back: the caller names no library for it.
        if (libraryUsage* configured = configuration->findConfiguredPackage(name, op))
            usage = addUsage(usedPackages, usedPackageIndex, configured);
    }
    if (usage) walkParents(*this, usedPackages, usedPackageIndex, usage, name, op);
    return result;
}

// ---------------------------------------------------------------------------
// 6. The PartLine and PortLine states
// ---------------------------------------------------------------------------

// The symbol of a part or port line: the second word behind its first five
// characters, into currentSymbolName. Null when the line names none.
static const char* symbolNameOf(const char* line, scanContext& context) {
    size_t skip = 0; // five characters, or fewer in a shorter line
    while (skip < 5 && line[skip]) ++skip;
    takeWord(line + skip, 1, context.currentSymbolName, sizeof context.currentSymbolName);
    return context.currentSymbolName[0] ? context.currentSymbolName : nullptr;
}

// text into out (size bytes), cut to fit.
static void copyCut(char* out, size_t size, const char* text) {
    const size_t length = std::min(strlen(text), size - 1);
    memcpy(out, text, length);
    out[length] = '\0';
}

// The symbol library of a part line: its full path into
// currentSymbolLibrary, and its tidied path (formed once in a scan, kept in
// facts) given to the operation.
static void giveSymbolLibrary(LibraryFileItem* library, packageLibraryFacts* facts, scanPass& pass) {
    const char* fullPath = library->getFullPath();
    copyCut(getScanContext().currentSymbolLibrary, sizeof getScanContext().currentSymbolLibrary, fullPath);
    static pathstring path; // kept: its room serves every part line
    if (facts && !facts->symbolPath.empty()) {
        path = facts->symbolPath;
    } else {
        copyCut(pass.work, scanLineSize, fullPath);
        path = pass.work;
        if (facts) facts->symbolPath = path;
    }
    pass.op.dependencyFound(path, true, false);
}

// Part lines of a name met before in the pass. A schematic names a few
// thousand symbols tens of thousands of times, and every later line of a
// name (in any case) must leave exactly the traces the first left: the
// entry's owner, the views in the lists, the symbol library given to the
// operation, and the package library given to it and put in the lists.
// Once the first line has resolved its symbol, read its text without
// failure and found its package beside the library (or found it names
// none), what those traces need is kept here, and a later line makes them
// again without asking the usage lists, the scan memory or the libraries.
// Nothing kept changes within a pass (the usage lists only grow, and a
// name's first record stays first); the table is emptied for every pass.
namespace {
struct repeatedPart {
    std::string name; // as the first line wrote it
    libraryIndexEntry* entry;
    LibraryFileItem* library;
    const std::vector<std::pair<fileItem*, bool>>* views; // null: none
    packageLibraryFacts* beside;                          // the library's path and package library
    libraryIndexEntry* package;                           // null: the symbol names none
};

// By the name's hash, open addressing over one array of small slots.
class repeatTable {
public:
    void clear() {
        std::vector<slot>().swap(slots);
        parts.clear();
    }
    const repeatedPart* find(const char* name) const {
        if (slots.empty()) return nullptr;
        const size_t length = strlen(name);
        const uint32_t hash = foldedHash(name, length);
        const size_t mask = slots.size() - 1;
        for (size_t i = hash & mask; slots[i].part; i = (i + 1) & mask) {
            if (slots[i].hash != hash) continue;
            const repeatedPart& part = parts[slots[i].part - 1];
            // A design mostly writes a name the same way each time.
            if (part.name.size() == length && (memcmp(part.name.data(), name, length) == 0 ||
                                               equalIgnoringCase(part.name.data(), name, length)))
                return &part;
        }
        return nullptr;
    }
    void add(repeatedPart part) {
        if ((parts.size() + 1) * 2 > slots.size()) grow();
        const uint32_t hash = foldedHash(part.name.data(), part.name.size());
        parts.push_back(std::move(part));
        place(hash, static_cast<uint32_t>(parts.size()));
    }
    static bool enabled;

private:
    struct slot {
        uint32_t hash = 0;
        uint32_t part = 0; // 1 + its place in parts; 0: empty
    };
    void place(uint32_t hash, uint32_t part) {
        const size_t mask = slots.size() - 1;
        size_t i = hash & mask;
        while (slots[i].part) i = (i + 1) & mask;
        slots[i] = {hash, part};
    }
    void grow() {
        slots.assign(slots.empty() ? 64 : slots.size() * 2, slot());
        for (size_t k = 0; k < parts.size(); ++k)
            place(foldedHash(parts[k].name.data(), parts[k].name.size()), static_cast<uint32_t>(k + 1));
    }
    std::vector<slot> slots;
    std::vector<repeatedPart> parts;
};
bool repeatTable::enabled = true;
} // namespace

static repeatTable repeats;

void forgetRepeatedParts() { repeats.clear(); }

void keepRepeatedParts(bool keep) {
    repeatTable::enabled = keep;
    repeats.clear();
}

// Keeps what the part line of name, which resolved to entry, needs to be
// made again, when it can be.
static void rememberPart(const char* name, libraryIndexEntry* entry, DesignWorkspace* ws) {
    if (!repeatTable::enabled) return;
    entryFacts* facts = factsOfEntry(ws, entry->owner, entry);
    packageLibraryFacts* beside = packageFactsOf(ws, entry->owner);
    if (!facts || !beside || !facts->viewsKnown || !facts->packageKnown || beside->symbolPath.empty()) return;
    libraryIndexEntry* package = nullptr;
    if (facts->hasPackage) {
        // Only a package found beside the library is made again from here.
        if (!facts->package || !beside->packages || !beside->packageItem) return;
        package = facts->package;
    }
    repeats.add({name, entry, entry->owner, facts->views.empty() ? nullptr : &facts->views, beside, package});
}

// The traces of a part line of a name met before (see repeatedPart).
static void replayPart(DesignFileItem& item, const repeatedPart& known, scanPass& pass) {
    known.entry->owner = known.library; // as findSymbol sets it at every use
    if (known.views)
        for (const auto& view : *known.views) placeViewItem(item, view.first, view.second);
    giveSymbolLibrary(known.library, known.beside, pass);
    if (known.package)
        placePackageItem(item, besidePackageItem(item.getDesignOwner(), known.beside->packages, known.package,
                                                 known.beside, pass.op));
    pass.state = PackageLine; // the engine sets Line again
}

int DesignFileItem::partLine(scanPass& pass) {
    scanContext& context = getScanContext();
    resolutionCancelled = false;
    const char* name = symbolNameOf(pass.line, context);
    if (const repeatedPart* known = name ? repeats.find(name) : nullptr) {
        replayPart(*this, *known, pass);
        return 1;
    }
    libraryIndexEntry* entry = name ? findSymbol(name, pass.op) : nullptr;
    int result = 0;
    if (entry && entry->owner) {
        DesignWorkspace* ws = getDesignOwner();
        giveSymbolLibrary(entry->owner, packageFactsOf(ws, entry->owner), pass);
        scanSymbolPackage(entry, pass.op);
        if (!resolutionCancelled) rememberPart(name, entry, ws);
        pass.state = PackageLine; // the engine sets Line again
        result = 1;
    } else if (!resolutionCancelled) {
        // No symbol of that name: the line may name a file instead.
        if (char* value = findFileNameValue(pass.line)) {
            pathstring named(value);
            pathstring path;
            searchPathForFile(directoryPath.c_str(), librarySearchPath(), named.c_str(), ".sch", path);
            path.tidyUp(false);
            pass.op.dependencyFound(path, false, false);
            result = 1;
        }
    }
    if (resolutionCancelled) {
        pass.finished = true;
        return 0;
    }
    return result;
}

int DesignFileItem::portLine(scanPass& pass) {
    scanContext& context = getScanContext();
    resolutionCancelled = false;
    const char* name = symbolNameOf(pass.line, context);
    libraryIndexEntry* entry = name ? findSymbol(name, pass.op) : nullptr;
    int result = 0;
    if (entry && entry->owner) {
        copyCut(pass.work, scanLineSize, entry->owner->getFullPath());
        pathstring path;
        assignTidied(path, pass.work);
        pass.op.dependencyFound(path, true, false);
        result = 1;
    }
    if (resolutionCancelled) {
        pass.finished = true;
        return 0;
    }
    return result;
}

bool resolutionWasCancelled() { return resolutionCancelled; }
void clearResolutionCancelled() { resolutionCancelled = false; }
