// File items: one object for every file that a workspace has met.
//
// fileItem is the interface through which a client and the operations see
// one file: its names, its type and category, its place relative to the
// workspace (locality), its size and time, the selection mark, and the
// questions about what it depends on and what is shown beneath it.
// DesignFileItem is the implementation for a real file. It keeps a whole
// copy of the file's find record; everything it knows about the file's
// state comes from that copy, not from asking the file system again.
//
// Items are created only by their workspace (DesignWorkspace::addFileItem)
// and die with it or when it sweeps them. A fileItemList, the result of
// every listing, is owned by the caller; the items in it are not.
//
// Contents:
//   1. fileItemList, fileStamp.
//   2. fileItem: the abstract interface, in its fixed order.
//   3. DesignFileItem: the data of a real file, type determination, item
//      order, and the members that the scanning and folder code build on.
//   4. isNetlistType.
//
// Sources: fileitem.cpp (names, locality, selection, flags), filetype.cpp
// (type determination, isListed, the two flag tests and the folder
// listings), fileitem_relations.cpp (dependency questions and folders:
// empty answers until scanning and folders are built).
#pragma once

#include <cstdint>
#include <cstdio>
#include <list>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "paths/pathstring.h"
#include "platform/platform.h"
#include "vocabulary/enums.h"
#include "vocabulary/filetypes.h"

class callBack;
class DesignWorkspace;
class fileItem;
class InternalFunctionObject;
class itemIndex;
class LibraryFileItem;
class libraryUsage;
class workspace;
struct libraryIndexEntry;
struct scanPass;

// ---------------------------------------------------------------------------
// 1. fileItemList, fileStamp
// ---------------------------------------------------------------------------

// The result of every listing: allocated with new, deleted by the caller.
// The items stay owned by their workspace.
typedef std::list<fileItem*> fileItemList;

// Last write time and size of a file, as four 32-bit words. A file counts
// as unchanged while all four are equal.
struct fileStamp {
    DWORD lastWriteLow = 0;
    DWORD lastWriteHigh = 0;
    DWORD sizeHigh = 0;
    DWORD sizeLow = 0;

    // The stamp of a find record.
    static fileStamp of(const WIN32_FIND_DATA& found);
    bool isZero() const { return !lastWriteLow && !lastWriteHigh && !sizeHigh && !sizeLow; }
    bool operator==(const fileStamp& other) const {
        return lastWriteLow == other.lastWriteLow && lastWriteHigh == other.lastWriteHigh &&
               sizeHigh == other.sizeHigh && sizeLow == other.sizeLow;
    }
    bool operator!=(const fileStamp& other) const { return !(*this == other); }
};

// ---------------------------------------------------------------------------
// 2. fileItem
// ---------------------------------------------------------------------------

// The order of the virtual members is part of the interface; new members
// go at the end only.
class fileItem {
public:
    virtual ~fileItem();

    virtual const char* getFullPath() = 0;
    virtual const char* getBaseName() = 0;
    // Type and category; a DesignFileItem determines its type again first
    // if the file's time or size changed since it was last determined.
    virtual const KVE_fileCategoryEnum& getCategory() = 0;
    virtual const KVE_fileTypeEnum& getFileType() = 0;
    // Dependency questions. Only relation 0 is served: any other gives
    // false or an empty list at once. The argument orders differ, and stay
    // so. The lists are new and owned by the caller.
    virtual bool hasChildren(int relation, callBack* client) = 0;
    virtual fileItemList* getDependencyClosure(callBack* client, int relation) = 0;
    virtual fileItemList* getChildren(callBack* client, int relation) = 0;
    // Size in bytes: the high half times 4294967295, plus the low half.
    virtual int64_t getSize() = 0;
    virtual const FILETIME& getLastWriteTime() = 0;
    virtual const char* getDescription() = 0;
    virtual void setDescription(const char* text) = 0;
    virtual void select() = 0;
    // Select this item and what it depends on: the local closure, or with
    // All the whole closure; withSystemFiles adds the system-file folders.
    virtual void selectWithDependencies(bool withSystemFiles) = 0;
    virtual void selectWithAllDependencies(bool withSystemFiles) = 0;
    virtual void deselect() = 0;
    virtual bool isSelected() = 0;
    // The file was there at the last reading of its directory.
    virtual bool exists() = 0;
    virtual bool isLocal() = 0;       // Local or Local_subdir
    virtual bool isLocalSubdir() = 0; // Local_subdir
    virtual bool isExternal() = 0;
    virtual bool isSystem() = 0;
    virtual bool isSystemLibrary() = 0;
    virtual bool isSubCategory() = 0;
    // Whether a category listing shows the item (a circuit beside a
    // schematic of the same stem is shown beneath the schematic instead).
    virtual bool isListed() = 0;
    virtual bool isReservedKind() = 0;
    virtual const KVE_Locality& getLocality() = 0;
    // The item's folders that hold its system files, or its output and
    // reports; new lists owned by the caller.
    virtual fileItemList* getSystemFileChildren() = 0;
    virtual bool isSystemFileCategory(const KVE_fileCategoryEnum& category) = 0;
    virtual fileItemList* getOutputChildren() = 0;
    virtual bool isOutputCategory(const KVE_fileCategoryEnum& category) = 0;
    // Marks and selects this item and, by flags, what it reaches: 1 the
    // local closure, 2 the whole closure, 4 the system-file folders.
    virtual void selectRelated(int flags) = 0;
};

// ---------------------------------------------------------------------------
// 3. DesignFileItem
// ---------------------------------------------------------------------------

// The records of a usage list by name without regard to case, in list
// order: asked at every part line of a schematic. One array of slots by
// open addressing (a power of two long, at most half full): a node per
// name would cost a cache miss more per ask. Records of the same name stand
// along one probe run in list order. Kept by the symbol resolution, which
// alone appends to the used symbols and packages; a list emptied or
// changed elsewhere is noticed by its length and last record, and indexed
// again.
struct usageNameIndex {
    struct slot {
        uint32_t hash = 0;    // of the name, lower-cased
        uint32_t length = 0;  // of the name
        libraryUsage* usage = nullptr; // null: empty
    };
    std::vector<slot> slots;
    size_t indexed = 0;                   // records of the list indexed
    const libraryUsage* last = nullptr;   // the last of them
};

class DesignFileItem : public fileItem {
public:
    // An item for the file of found in directory. With a null or empty
    // directory the item has no names and an invalid locality (folder
    // items rely on this). The type is not determined here: the workspace
    // sets exists and then calls determineType.
    DesignFileItem(const WIN32_FIND_DATA& found, const char* directory, workspace* owner);
    // Frees the usage records and the folders; nothing else its lists
    // point to.
    ~DesignFileItem() override;
    DesignFileItem(const DesignFileItem&) = delete;
    DesignFileItem& operator=(const DesignFileItem&) = delete;

    // fileItem
    const char* getFullPath() override;
    const char* getBaseName() override;
    const KVE_fileCategoryEnum& getCategory() override;
    const KVE_fileTypeEnum& getFileType() override;
    bool hasChildren(int relation, callBack* client) override;
    fileItemList* getDependencyClosure(callBack* client, int relation) override;
    fileItemList* getChildren(callBack* client, int relation) override;
    int64_t getSize() override;
    const FILETIME& getLastWriteTime() override;
    const char* getDescription() override;
    void setDescription(const char* text) override;
    void select() override;
    void selectWithDependencies(bool withSystemFiles) override;
    void selectWithAllDependencies(bool withSystemFiles) override;
    void deselect() override;
    bool isSelected() override;
    bool exists() override;
    bool isLocal() override;
    bool isLocalSubdir() override;
    bool isExternal() override;
    bool isSystem() override;
    bool isSystemLibrary() override;
    bool isSubCategory() override;
    bool isListed() override;
    bool isReservedKind() override;
    const KVE_Locality& getLocality() override;
    fileItemList* getSystemFileChildren() override;
    bool isSystemFileCategory(const KVE_fileCategoryEnum& category) override;
    fileItemList* getOutputChildren() override;
    bool isOutputCategory(const KVE_fileCategoryEnum& category) override;
    void selectRelated(int flags) override;

    // Stores whether the file was there.
    void setExists(bool state) { fileExists = state; }
    pathstring& getFullPathString() { return fullPath; }
    pathstring& getDirectoryString() { return directoryPath; }
    pathstring& getBaseNameString() { return baseName; }

    // The find record as last read.
    const WIN32_FIND_DATA& getFindData() const { return found; }
    // Replaces the find record (after a new look at the file). If the time
    // or size changed, the type counts as stale and is determined again at
    // the next question. Every change of the record goes through here, so
    // that the workspace's listings learn of it.
    void setFindData(const WIN32_FIND_DATA& record);

    // Determines type and category from the name and, for extensions with
    // a signature, the first bytes of the file; sets typeStamp.
    void determineType();
    // Whether typeStamp matches the find record.
    bool isTypeCurrent() const { return typeStamp == fileStamp::of(found); }

    // The item order: 0 for the same object; else by locality (Local,
    // Local_subdir, External, System), then by full path without regard to
    // case (lstrcmpiA). <0, 0, >0.
    int compareItems(const fileItem* other) const;

    // Builds the folder items beneath this file. Folders come with the
    // folder code; until then an item has none.
    void buildSubCategoryItems();

    workspace* getOwner() const { return owner; }
    // The owner as the one workspace implementation (null for none), found
    // once: a scan asks at every part line.
    DesignWorkspace* getDesignOwner() const { return designOwner; }
    unsigned getVisitMark() const { return visitMark; }
    void setVisitMark(unsigned mark) { visitMark = mark; }

    // --- Dependency data (src/scanning/) ----------------------------------
    // The lists are valid while isScanCurrent holds; every reader below
    // that takes a client scans first when they are not.

    // The read-only pass: empties both dependency lists and fills them
    // again from the file (through op, an IFOscanDependencies); sets
    // scanStamp, also when the file cannot be read (op hears
    // CannotReadFile) or has no references. Never fails.
    void scanFile(callBack* client, InternalFunctionObject& op);
    // The fix-up pass: writes target (in place through a temporary file
    // when target is source) with every reference replaced by what op's
    // dependencyFound gives back. False, touching nothing, when the type
    // has no references and the caller must copy the file itself.
    bool rewriteFile(callBack* client, const pathstring& source, const pathstring& target,
                     InternalFunctionObject& op);
    // Runs the line engine up to the next reference: 1 when one was
    // reported, 0 at the end of the file. state is the caller's, 0 at the
    // start of a file; out is null in a scan; work has 1024 bytes.
    int nextDependency(FILE* in, FILE* out, char* work, InternalFunctionObject& op, int& state);
    // scanStamp equals the item's present time and size.
    bool isScanCurrent();
    // The direct dependencies that are not system files, and those that
    // are, each sorted and unique; scanned first when stale.
    std::list<fileItem*>& getFileDependencies(callBack* client);
    std::list<fileItem*>& getSystemDependencies(callBack* client);
    // Adds the direct dependencies to list by the localize choice:
    // IncludeNone nothing, IncludeLocal the Local and Local_subdir file
    // dependencies, IncludeGlobal all file dependencies, LocalizeAll also
    // the system dependencies. Ordered inserts.
    void appendDependencies(fileItemList& list, const KVE_localizeEnum& localize, callBack* client);
    // Appends every item reached through both lists, each once, depth
    // first. Only this item scans with client; deeper ones with nobody.
    void collectClosure(fileItemList& list, callBack* client);
    // The same over file dependencies of locality Local or Local_subdir.
    void collectLocalClosure(fileItemList& list, callBack* client);
    // The work of the two above; `held` holds what list holds, so that
    // asking whether an item is there does not walk the list.
    void collectClosure(fileItemList& list, std::unordered_set<const fileItem*>& held, callBack* client);
    void collectLocalClosure(fileItemList& list, std::unordered_set<const fileItem*>& held, callBack* client);
    // Records a found item (null is ignored): system files into
    // systemDependencies, others into fileDependencies (a library also
    // into usedLibraries).
    void addDependency(fileItem* item);
    void addSystemDependency(fileItem* item);
    // Registers the library at path (a bare name lies in the workspace
    // directory) and appends it to usedLibraries, duplicates kept.
    LibraryFileItem* addUsedLibrary(pathstring& path);
    // The first entry of usedLibraries whose path equals path, or null.
    LibraryFileItem* findUsedLibrary(const char* path);
    // Zeroes scanStamp and empties both dependency lists.
    void forgetDependencies();
    // Set or clear mark bits on this item and everything it reaches
    // through both lists and usedLibraries; the mark word ends cycles.
    void setMarks(unsigned bits);
    void clearMarks(unsigned bits);

    // The model index beside a circuit or schematic: records the models
    // that the last simulation took from libraries (usedModels) and
    // reports each library through op.
    void readModelIndex(InternalFunctionObject& op);
    // A new usage of the model at offset and size in the library at path,
    // or null when no library item can be had.
    libraryUsage* makeModelUsage(pathstring& libraryPath, int offset, int size);

    const fileStamp& getScanStamp() const { return scanStamp; }
    const std::vector<fileItem*>& getUsedLibraries() const { return usedLibraries; }
    const std::list<libraryUsage*>& getUsedModels() const { return usedModels; }
    const std::list<libraryUsage*>& getUsedSymbols() const { return usedSymbols; }
    const std::list<libraryUsage*>& getUsedPackages() const { return usedPackages; }
    std::list<fileItem*>& getSubCategoryItems() { return subCategoryItems; }

    // Line handlers of the formats, run by nextDependency (one source
    // each under src/scanning/). Each returns 1 when it reported a
    // reference.
    int circuitDirectiveLine(scanPass& pass);
    int localLibLine(scanPass& pass);
    int netlistNameLine(scanPass& pass);
    int synthesisSourceLine(scanPass& pass);
    int routerCommandLine(scanPass& pass);
    // Symbol libraries (symbollibrary.cpp): the line handler, the index
    // section, symbol blocks, view lines (topLevel: the section of state
    // SymbolViews, else the one line behind a symbol's @VIEWS) and the
    // patch of the index at the end of a rewrite.
    int symbolLibraryLine(scanPass& pass);
    int symbolIndexLine(scanPass& pass);
    int readSymbolBody(scanPass& pass);
    int readSymbolViewLine(scanPass& pass, bool topLevel);
    int symbolViewsSection(scanPass& pass);
    int symbolIndexFinish(scanPass& pass);
    // Schematics (schematic.cpp): the line handler of SCH and SCV, the
    // grammars of their sections, and the patch of the page index at the
    // end of a rewrite.
    int schematicLine(scanPass& pass);
    int schematicViewsLine(scanPass& pass);
    int schematicLibrariesLine(scanPass& pass);
    int pageIndexLine(scanPass& pass);
    int schematicAnalysisLine(scanPass& pass);
    void pageStep(scanPass& pass);
    void patchPageIndex(scanPass& pass);
    // The part and port lines of a scan (resolution.cpp).
    int partLine(scanPass& pass);
    int portLine(scanPass& pass);

    // Symbol and package resolution (resolution.cpp); tracing into
    // libraries happens in a scan only (op.isScanOnly()).
    // The entry of the symbol name for this file: first what it used
    // before, then the symbol libraries it names, then (in a scan) the
    // configured ones. Records the symbol and its parents in usedSymbols
    // and follows the symbol's views. Null, and in a scan CannotFindSymbol,
    // when no library has it.
    libraryIndexEntry* findSymbol(const char* name, InternalFunctionObject& op);
    // A new usage of name from the first symbol library of usedLibraries
    // that holds it (the entry's owner set to it), or null. The caller
    // owns the result.
    libraryUsage* findSymbolInUsedLibraries(const char* name, InternalFunctionObject& op);
    // Records the schematics that the views of the usage's symbol name
    // (straight into the lists, relative to the library).
    void scanSymbolViews(libraryUsage* usage, InternalFunctionObject& op);
    // Finds the package that the symbol's text names ("component=" or
    // "part=") in the package library beside its symbol library, or
    // through findPackage, and records it.
    void scanSymbolPackage(libraryIndexEntry* entry, InternalFunctionObject& op);
    // The entry of the package name: in the package library beside
    // libraryHint (a symbol library path, lower-cased and changed in
    // place, 1028 bytes), among the packages used before, or (in a scan)
    // in the configured package libraries. Records it and its parents in
    // usedPackages. A package found only in the configuration is recorded
    // but not returned.
    libraryIndexEntry* findPackage(const char* name, char* libraryHint, InternalFunctionObject& op);

protected:
    // In declared order, as the other parts of the engine expect them.
    workspace* owner;             // not owned
    bool fileExists = true;       // the file was there at the last reading
    bool selected = false;
    WIN32_FIND_DATA found;        // change only through setFindData
    pathstring fullPath;          // directory plus file name
    pathstring directoryPath;     // with its trailing backslash
    pathstring baseName;          // the file name within the directory
    KVE_fileCategoryEnum category;
    KVE_fileTypeEnum fileType;
    fileStamp typeStamp;          // found when the type was determined
    std::list<fileItem*> fileDependencies;   // not owned, sorted
    std::list<fileItem*> systemDependencies; // not owned, sorted
    fileStamp scanStamp;          // found at the last scan; zero: none
    // Not owned, in order of meeting: a place per use, two per part line of
    // a schematic, so a vector rather than a node per place.
    std::vector<fileItem*> usedLibraries;
    std::list<fileItem*> subCategoryItems;   // owned: the folders
    KVE_Locality locality;        // fixed at construction
    unsigned visitMark = 0;       // bit 1: visited in the current walk
    std::list<libraryUsage*> usedSymbols;    // owned
    std::list<libraryUsage*> usedModels;     // owned
    std::list<libraryUsage*> usedPackages;   // owned
    usageNameIndex usedSymbolIndex;          // of usedSymbols
    usageNameIndex usedPackageIndex;         // of usedPackages
    DesignWorkspace* designOwner;            // owner, cast once

private:
    friend class DesignWorkspace;
    friend class itemIndex;

    // The constructor for a directory that is tidied already (as the
    // workspace's own is): the same item, without tidying it again.
    DesignFileItem(const WIN32_FIND_DATA& found, const pathstring& tidiedDirectory, workspace* owner);
    // Names and locality from a tidied directory.
    void placeIn(const pathstring& tidiedDirectory);

    // Frees the records of one usage list (defined with the library code).
    static void freeUsages(std::list<libraryUsage*>& usages);

    // Set while the item stands in its workspace's fileItems: the indexes
    // that must hear of type changes, and the item's place in the list.
    itemIndex* index = nullptr;
    std::list<fileItem*>::iterator listPosition;
};

// ---------------------------------------------------------------------------
// 4. Look-ups over the tables that need an item
// ---------------------------------------------------------------------------

// Whether item is a netlist: not null, and the membership table gathers
// its type into the Netlists folder (18).
bool isNetlistType(const fileItem* item);
