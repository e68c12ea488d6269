// The dependency lists of a design file item and what rests on them.
//
// A scan fills fileDependencies and systemDependencies (through
// IFOscanDependencies); everything here reads them, scanning first when the
// file has changed since. The closures are the only recursion over the
// lists; they and the mark walks end cycles by the list they build or the
// mark bits they set.
//
// Contents:
//   1. Recording: insertItemOrdered, addDependency, addSystemDependency,
//      addUsedLibrary, findUsedLibrary, forgetDependencies.
//   2. Reading: isScanCurrent, getFileDependencies, getSystemDependencies,
//      appendDependencies, collectClosure, collectLocalClosure.
//   3. Marks: setMarks, clearMarks.
//   4. The fileItem questions: hasChildren, getDependencyClosure,
//      getChildren, selectRelated.
#include <algorithm>
#include <unordered_set>
#include <vector>

#include "libraries/configuration.h"
#include "libraries/libraryitem.h"
#include "operations/scandependencies.h"
#include "scanning/lineengine.h"
#include "scanning/scanmemo.h"
#include "workspace/fileitem.h"
#include "workspace/workspace.h"

// ---------------------------------------------------------------------------
// 1. Recording
// ---------------------------------------------------------------------------

// The item order of the workspace, for any fileItem: locality first, then
// the full path without regard to case.
static int compareAny(fileItem* a, fileItem* b) {
    if (a == b) return 0;
    if (DesignFileItem* design = dynamic_cast<DesignFileItem*>(a)) return design->compareItems(b);
    const int mine = a->getLocality().value(), theirs = b->getLocality().value();
    if (mine == theirs) return lstrcmpiA(a->getFullPath(), b->getFullPath());
    return mine < theirs ? -1 : 1;
}

// Inserts item into the sorted list, walking from the back. An equal
// element stops the walk and is returned instead (the only guard against
// duplicates); otherwise item goes behind the first element below it.
static fileItem* insertItemOrdered(std::list<fileItem*>& list, fileItem* item) {
    auto it = list.end();
    while (it != list.begin()) {
        auto before = std::prev(it);
        const int order = compareAny(*before, item);
        if (order == 0) return *before;
        if (order < 0) break;
        it = before;
    }
    list.insert(it, item);
    return item;
}

// insertItemOrdered for the lists of a scan, which meet the same items
// again and again.
static void recordIn(std::list<fileItem*>& list, fileItem* item) {
    if (isRecordedIn(list, item)) return;
    insertItemOrdered(list, item);
    rememberRecordedIn(list, item);
}

void DesignFileItem::addDependency(fileItem* item) {
    if (!item) return;
    if (item->isSystem()) {
        recordIn(systemDependencies, item);
        return;
    }
    recordIn(fileDependencies, item);
    if (item->getFileType().isLibraryFile()) {
        // A scan registers the same library at every use of a symbol that
        // it holds: the look-up of its library item is made once.
        if (LibraryFileItem* known = rememberedLibraryOf(item)) {
            usedLibraries.push_back(known);
            return;
        }
        pathstring path(item->getFullPath()); // tidied
        rememberLibraryOf(item, addUsedLibrary(path));
    }
}

void DesignFileItem::addSystemDependency(fileItem* item) {
    if (item) recordIn(systemDependencies, item);
}

LibraryFileItem* DesignFileItem::addUsedLibrary(pathstring& path) {
    DesignWorkspace* ws = getDesignOwner();
    if (!ws) return nullptr;
    if (path.getPath().empty()) path.assignRelativeTo(ws->getDirectoryString());
    LibraryFileItem* library = dynamic_cast<LibraryFileItem*>(ws->addLibraryItem(path.c_str(), nullptr));
    if (!library) return nullptr;
    library->setLibraryKind(LibraryKindNone);
    library->determineType();
    switch (library->getFileType().value()) {
    case KVE_fileTypeEnum::SLB: library->setLibraryKind(LibraryKindSymbols); break;
    case KVE_fileTypeEnum::LIB: library->setLibraryKind(LibraryKindModels); break;
    case KVE_fileTypeEnum::PLB: library->setLibraryKind(LibraryKindPackages); break;
    case KVE_fileTypeEnum::FLB: library->setLibraryKind(LibraryKindFootprints); break;
    default: break;
    }
    usedLibraries.push_back(library);
    return library;
}

LibraryFileItem* DesignFileItem::findUsedLibrary(const char* path) {
    pathstring wanted(path ? path : "");
    for (fileItem* each : usedLibraries)
        if (pathstring(std::string(each->getFullPath())).compareEqualQuickly(wanted))
            return dynamic_cast<LibraryFileItem*>(each);
    return nullptr;
}

void DesignFileItem::forgetDependencies() {
    scanStamp = fileStamp();
    fileDependencies.clear();
    systemDependencies.clear();
    forgetRecordsIn(fileDependencies);
    forgetRecordsIn(systemDependencies);
}

// ---------------------------------------------------------------------------
// 2. Reading
// ---------------------------------------------------------------------------

bool DesignFileItem::isScanCurrent() { return scanStamp == fileStamp::of(found); }

// Scans item with client when its lists are stale.
static void scanIfStale(DesignFileItem& item, callBack* client) {
    if (item.isScanCurrent()) return;
    IFOscanDependencies op(client, &item);
    item.scanFile(client, op);
}

std::list<fileItem*>& DesignFileItem::getFileDependencies(callBack* client) {
    scanIfStale(*this, client);
    return fileDependencies;
}

std::list<fileItem*>& DesignFileItem::getSystemDependencies(callBack* client) {
    scanIfStale(*this, client);
    return systemDependencies;
}

void DesignFileItem::appendDependencies(fileItemList& list, const KVE_localizeEnum& localize, callBack* client) {
    scanIfStale(*this, client);
    switch (localize.value()) {
    case KVE_localizeEnum::IncludeLocal:
        for (fileItem* item : fileDependencies)
            if (item->isLocal()) insertItemOrdered(list, item);
        break;
    case KVE_localizeEnum::IncludeGlobal:
        for (fileItem* item : fileDependencies) insertItemOrdered(list, item);
        break;
    case KVE_localizeEnum::LocalizeAll:
        for (fileItem* item : fileDependencies) insertItemOrdered(list, item);
        for (fileItem* item : systemDependencies) insertItemOrdered(list, item);
        break;
    default:
        break;
    }
}

void DesignFileItem::collectClosure(fileItemList& list, callBack* client) {
    scanSpan span; // the scans of the closure are one scan
    std::unordered_set<const fileItem*> held(list.begin(), list.end());
    collectClosure(list, held, client);
}

void DesignFileItem::collectClosure(fileItemList& list, std::unordered_set<const fileItem*>& held,
                                    callBack* client) {
    scanIfStale(*this, client);
    // Deeper levels tell the client nothing.
    static dummyCallback nobody;
    for (const std::list<fileItem*>* related : {&fileDependencies, &systemDependencies}) {
        for (fileItem* item : *related) {
            if (!held.insert(item).second) continue;
            list.push_back(item);
            if (DesignFileItem* design = dynamic_cast<DesignFileItem*>(item))
                design->collectClosure(list, held, &nobody);
        }
    }
}

void DesignFileItem::collectLocalClosure(fileItemList& list, callBack* client) {
    scanSpan span; // the scans of the closure are one scan
    std::unordered_set<const fileItem*> held(list.begin(), list.end());
    collectLocalClosure(list, held, client);
}

void DesignFileItem::collectLocalClosure(fileItemList& list, std::unordered_set<const fileItem*>& held,
                                         callBack* client) {
    scanIfStale(*this, client);
    for (fileItem* item : fileDependencies) {
        if (!item->isLocal() || held.count(item)) continue;
        held.insert(item);
        list.push_back(item);
        if (DesignFileItem* design = dynamic_cast<DesignFileItem*>(item))
            design->collectLocalClosure(list, held, client);
    }
}

// ---------------------------------------------------------------------------
// 3. Marks
// ---------------------------------------------------------------------------

// Explicit stacks rather than recursion: a chain of thousands of files
// must not exhaust the machine's stack.
void DesignFileItem::setMarks(unsigned bits) {
    if (!bits) return;
    std::vector<DesignFileItem*> pending{this};
    visitMark |= bits;
    while (!pending.empty()) {
        DesignFileItem* item = pending.back();
        pending.pop_back();
        auto visit = [&](fileItem* each) {
            DesignFileItem* next = dynamic_cast<DesignFileItem*>(each);
            if (!next || (next->visitMark & bits)) return;
            next->visitMark |= bits;
            pending.push_back(next);
        };
        for (fileItem* each : item->fileDependencies) visit(each);
        for (fileItem* each : item->systemDependencies) visit(each);
        for (fileItem* each : item->usedLibraries) visit(each);
    }
}

void DesignFileItem::clearMarks(unsigned bits) {
    if (!bits) return;
    std::vector<DesignFileItem*> pending{this};
    visitMark &= ~bits;
    while (!pending.empty()) {
        DesignFileItem* item = pending.back();
        pending.pop_back();
        auto visit = [&](fileItem* each) {
            DesignFileItem* next = dynamic_cast<DesignFileItem*>(each);
            if (!next || !(next->visitMark & bits)) return;
            next->visitMark &= ~bits;
            pending.push_back(next);
        };
        for (fileItem* each : item->fileDependencies) visit(each);
        for (fileItem* each : item->systemDependencies) visit(each);
        for (fileItem* each : item->usedLibraries) visit(each);
    }
}

// ---------------------------------------------------------------------------
// 4. The fileItem questions
// ---------------------------------------------------------------------------

bool DesignFileItem::hasChildren(int relation, callBack* client) {
    if (relation != 0 || !exists()) return false;
    const KVE_fileTypeEnum& type = getFileType();
    if (!type.canHaveDependencies()) return false;
    if (type == KVE_fileTypeEnum::SCH || type == KVE_fileTypeEnum::SCV) return true;
    if (type.canHaveSubcategories()) return true;
    scanIfStale(*this, client);
    return !fileDependencies.empty() || !systemDependencies.empty();
}

fileItemList* DesignFileItem::getDependencyClosure(callBack* client, int relation) {
    fileItemList* list = new fileItemList;
    if (relation == 0) collectClosure(*list, client);
    return list;
}

fileItemList* DesignFileItem::getChildren(callBack* client, int relation) {
    fileItemList* list = new fileItemList;
    if (relation != 0 || !exists()) return list;
    if (getFileType().canHaveSubcategories()) {
        buildSubCategoryItems();
        for (fileItem* folder : subCategoryItems)
            if (folder->hasChildren(0, client)) list->push_back(folder);
        return list;
    }
    scanIfStale(*this, client);
    list->insert(list->end(), fileDependencies.begin(), fileDependencies.end());
    list->insert(list->end(), systemDependencies.begin(), systemDependencies.end());
    return list;
}

void DesignFileItem::selectRelated(int flags) {
    if (visitMark != 0) return;
    visitMark |= 1;
    selected = true;
    static dummyCallback nobody;
    if (flags & 3) {
        fileItemList found;
        if (flags & 2)
            collectClosure(found, &nobody);
        else
            collectLocalClosure(found, &nobody);
        for (fileItem* item : found) item->selectRelated(flags);
    }
    if ((flags & 4) && getFileType().canHaveSubcategories()) {
        buildSubCategoryItems();
        for (fileItem* folder : subCategoryItems)
            if (isSystemFileCategory(folder->getCategory())) folder->selectRelated(flags);
    }
}
