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
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "libraries/configuration.h"
#include "libraries/libraryitem.h"
#include "libraries/libraryusage.h"
#include "operations/operation.h"
#include "scanning/formats.h"
#include "scanning/lineengine.h"
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

void takeWord(const char* text, int index, char* out, size_t size) {
    out[0] = '\0';
    const char* p = text;
    for (int i = 0;; ++i) {
        while (*p == ' ' || *p == '\t') ++p;
        if (!*p) return;
        const size_t length = strcspn(p, " \t");
        if (i == index) {
            const size_t take = length < size - 1 ? length : size - 1;
            memcpy(out, p, take);
            out[take] = '\0';
            return;
        }
        p += length;
    }
}

static std::string lowerCase(const char* text) {
    std::string key(text);
    for (char& c : key) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    return key;
}

// Brings index up to list: nothing when it has indexed exactly the list,
// else it reads the whole list again.
static void syncIndex(const std::list<libraryUsage*>& list, usageNameIndex& index) {
    const libraryUsage* last = list.empty() ? nullptr : list.back();
    if (index.indexed == list.size() && index.last == last) return;
    index.recordsOfName.clear();
    for (libraryUsage* each : list) index.recordsOfName[lowerCase(each->name.c_str())].push_back(each);
    index.indexed = list.size();
    index.last = last;
}

// The first record of list whose name equals name without regard to case.
static libraryUsage* usageOfName(const std::list<libraryUsage*>& list, usageNameIndex& index, const char* name) {
    syncIndex(list, index);
    auto found = index.recordsOfName.find(lowerCase(name));
    return found == index.recordsOfName.end() ? nullptr : found->second.front();
}

// Appends usage to list unless a record of the same name (without regard
// to case) and the same library is there; then usage is deleted. Returns
// the record that stands in the list.
static libraryUsage* addUsage(std::list<libraryUsage*>& list, usageNameIndex& index, libraryUsage* usage) {
    syncIndex(list, index);
    std::vector<libraryUsage*>& records = index.recordsOfName[lowerCase(usage->name.c_str())];
    for (libraryUsage* known : records)
        if (known->library == usage->library) {
            delete usage;
            return known;
        }
    list.push_back(usage);
    records.push_back(usage);
    index.indexed = list.size();
    index.last = usage;
    return usage;
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
    if (!library || !usage->entry) return;
    std::set<std::string> met;
    met.insert(lowerCase(start));
    std::string text = usage->entry->parent ? usage->entry->parent : "";
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
    // A library named twice answers the same twice: ask each once.
    std::set<LibraryFileItem*> asked;
    for (fileItem* each : usedLibraries) {
        LibraryFileItem* library = dynamic_cast<LibraryFileItem*>(each);
        if (!library || library->getLibraryKind() != LibraryKindSymbols) continue;
        if (!asked.insert(library).second) continue;
        if (libraryIndexEntry* entry = library->findIndexEntry(name, op)) {
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

// The text of the entry last read, kept while one part line is resolved:
// its symbol's views and its package are read from the same bytes, so the
// library is opened once for both. partLine opens and closes the span.
namespace {
struct entryTextCache {
    bool active = false;
    const LibraryFileItem* library = nullptr;
    const libraryIndexEntry* entry = nullptr;
    std::vector<char> text; // size + 1024 bytes, zeroed behind the entry
};
} // namespace
static entryTextCache lineCache;

// The libraries read while files are scanned, kept open until the
// outermost scanFile ends: a schematic reads one entry for each part line,
// and opening the library anew for each costs more than the read. Only a
// scan keeps them; a read outside scanFile opens and closes as it goes.
namespace {
struct openLibrary {
    const LibraryFileItem* library;
    std::string path;
    FILE* file;
    std::shared_ptr<char> buffer; // the stream's; freed after the close
};
} // namespace
static std::vector<openLibrary> openLibraries;
static int libraryReadSpans = 0;
enum { maxOpenLibraries = 16, libraryBufferSize = 4096 };

void beginLibraryReads() { ++libraryReadSpans; }

void endLibraryReads() {
    if (libraryReadSpans > 0 && --libraryReadSpans > 0) return;
    for (openLibrary& open : openLibraries) fclose(open.file);
    openLibraries.clear();
}

// The stream of library, opened in binary; kept for the span when one is
// open (then the caller must not close it). Null when it does not open.
static FILE* libraryStream(LibraryFileItem* library, bool& kept) {
    kept = libraryReadSpans > 0;
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

// The text of entry of library in a new buffer of size + 1024 zeroed bytes
// (the caller deletes it), or null. The library is read in binary: the
// index counts bytes, so the seek must too. Reports CannotReadFile for the
// library when it does not open, and ErrorReadingFile for owner when the
// bytes cannot all be read (an entry larger than its file cannot be); a
// failed seek gives null without a report.
static char* readEntryText(LibraryFileItem* library, libraryIndexEntry* entry, fileItem* owner,
                           InternalFunctionObject& op) {
    if (lineCache.active && lineCache.library == library && lineCache.entry == entry) {
        char* text = new char[lineCache.text.size()];
        memcpy(text, lineCache.text.data(), lineCache.text.size());
        return text;
    }
    bool kept = false;
    FILE* file = libraryStream(library, kept);
    if (!file) {
        report(op, KVE_callBackAction::CannotReadFile, nullptr, library);
        return nullptr;
    }
    clearerr(file); // a kept stream may carry the failure of an earlier read
    char* text = nullptr;
    const int64_t position = static_cast<int64_t>(library->getBaseOffset()) + entry->offset;
    if (position >= 0 && fseek(file, static_cast<long>(position), SEEK_SET) == 0) {
        if (entry->size < 0 || entry->size > library->getSize()) {
            report(op, KVE_callBackAction::ErrorReadingFile, nullptr, owner);
        } else {
            const size_t size = static_cast<size_t>(entry->size);
            text = new char[size + 1024]();
            if (fread(text, 1, size, file) != size) {
                report(op, KVE_callBackAction::ErrorReadingFile, nullptr, owner);
                delete[] text;
                text = nullptr;
            } else if (lineCache.active) {
                lineCache.library = library;
                lineCache.entry = entry;
                lineCache.text.assign(text, text + size + 1024);
            }
        }
    }
    if (!kept) fclose(file);
    return text;
}

void DesignFileItem::scanSymbolViews(libraryUsage* usage, InternalFunctionObject& op) {
    LibraryFileItem* library = usage->library;
    libraryIndexEntry* entry = usage->entry;
    {
        // Names in a library are relative to the library: the directory is
        // set at the first view that names one. Line ends are taken with or
        // without their carriage return.
        std::unique_ptr<directoryScope> here;
        char* text = readEntryText(library, entry, entry->owner, op);
        // With case: a block whose header is in capitals has no views here.
        const char* views = text ? strstr(text, "@views") : nullptr;
        DesignWorkspace* ws = dynamic_cast<DesignWorkspace*>(owner);
        for (const char* line = views; line && *line && ws;) {
            const char* end = line + strcspn(line, "\n");
            if (line != views && *line == '@') break;
            const char* equals = static_cast<const char*>(memchr(line, '=', end - line));
            std::string value = equals ? std::string(equals + 1, end) : std::string();
            if (!value.empty() && value.back() == '\r') value.pop_back();
            // A line without a value names nothing, as one whose value
            // begins with "*" (no view of that kind).
            if (!value.empty() && value[0] != '*') {
                if (!here) here.reset(new directoryScope(library->getDirectoryString().c_str()));
                pathstring result;
                searchPathForFile(library->getDirectoryString().c_str(), librarySearchPath(), value.c_str(), ".sch",
                                  result);
                result.tidyUp(false);
                if (fileItem* item = ws->addFileItem(result.c_str(), nullptr)) {
                    if (library->isSystemLibrary() || isPartLib(library) || item->isSystem())
                        addSystemDependency(item);
                    else
                        addDependency(item); // a library also into usedLibraries
                }
            }
            line = *end ? end + 1 : end;
        }
        delete[] text;
    }
}

void DesignFileItem::scanSymbolPackage(libraryIndexEntry* entry, InternalFunctionObject& op) {
    LibraryFileItem* library = entry->owner;
    if (!library) return;
    {
        // Every name met from here is a full path (of a library, or of a
        // package library beside one), so the current directory, which a
        // pass has set to this item's already, plays no part.
        char* text = readEntryText(library, entry, library, op);
        char* keyword = nullptr;
        size_t keywordLength = 0;
        if (text) {
            _strlwr(text);
            if ((keyword = strstr(text, "component=")) != nullptr)
                keywordLength = 10;
            else if ((keyword = strstr(text, "part=")) != nullptr)
                keywordLength = 5;
        }
        if (keyword) {
            // The package library has the symbol library's stem and directory.
            // The library items are looked up in the path's own case (the
            // look-up ignores case, and the disk then need not be searched
            // for a name it does not hold); findPackage gets it lower-cased.
            char packagePath[1028], lowerPath[1028];
            snprintf(packagePath, sizeof packagePath, "%s", library->getFullPath());
            snprintf(lowerPath, sizeof lowerPath, "%s", packagePath);
            _strlwr(lowerPath);
            char* name = keyword + keywordLength;
            if (char* lf = strchr(name, '\n')) *lf = '\0';
            if (char* slb = strstr(lowerPath, ".slb")) {
                strcpy(slb, ".plb");
                strcpy(packagePath + (slb - lowerPath), ".plb");
            }
            // The file is read in binary: a carriage return stays in the name.

            DesignWorkspace* ws = dynamic_cast<DesignWorkspace*>(owner);
            LibraryFileItem* packages =
                ws ? dynamic_cast<LibraryFileItem*>(ws->findLibraryItem(packagePath)) : nullptr;
            libraryIndexEntry* package = packages ? packages->findIndexEntry(name, op) : nullptr;
            if (package) {
                package->owner = packages;
                pathstring path(packages->getFullPath());
                op.dependencyFound(path, false, false);
                fileItem* item = ws->addFileItem(path.c_str(), nullptr);
                addUsage(usedPackages, usedPackageIndex, new libraryUsage(packages, package, name));
                if (item) {
                    if (item->isSystem())
                        addSystemDependency(item);
                    else
                        addDependency(item);
                }
            } else if (libraryIndexEntry* found = findPackage(name, lowerPath, op)) {
                pathstring path(found->owner ? found->owner->getFullPath() : "");
                op.dependencyFound(path, true, false);
                if (ws) addSystemDependency(ws->addFileItem(path.c_str(), nullptr));
            }
        }
        delete[] text;
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
    const size_t length = strlen(line);
    takeWord(line + (length < 5 ? length : 5), 1, context.currentSymbolName, sizeof context.currentSymbolName);
    return context.currentSymbolName[0] ? context.currentSymbolName : nullptr;
}

int DesignFileItem::partLine(scanPass& pass) {
    scanContext& context = getScanContext();
    resolutionCancelled = false;
    lineCache.active = true;
    const char* name = symbolNameOf(pass.line, context);
    libraryIndexEntry* entry = name ? findSymbol(name, pass.op) : nullptr;
    int result = 0;
    if (entry && entry->owner) {
        const char* library = entry->owner->getFullPath();
        snprintf(context.currentSymbolLibrary, sizeof context.currentSymbolLibrary, "%s", library);
        snprintf(pass.work, scanLineSize, "%s", library);
        pathstring path(pass.work);
        pass.op.dependencyFound(path, true, false);
        scanSymbolPackage(entry, pass.op);
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
    lineCache = entryTextCache();
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
        snprintf(pass.work, scanLineSize, "%s", entry->owner->getFullPath());
        pathstring path(pass.work);
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
