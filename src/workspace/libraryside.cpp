// The library side of a workspace: its library items, the throwing away of
// cached scan results, and the mark and sweep that removes the items no
// Local item reaches any more after an operation.
//
// Contents:
//   1. Library items: addLibraryItem, findLibraryItem.
//   2. Cached scan results: discardScanResults, and the same for every open
//      workspace when the INI context changes.
//   3. The sweep: sweepUnreachedItems.
#include <new>
#include <vector>

#include "libraries/libraryitem.h"
#include "libraries/libraryusage.h"
#include "workspace/context.h"
#include "workspace/itemindex.h"
#include "workspace/workspace.h"

// ---------------------------------------------------------------------------
// 1. Library items
// ---------------------------------------------------------------------------

// The full path of an item, as the lists compare it.
static pathstring fullPathOf(fileItem* item) { return pathstring(std::string(item->getFullPath())); }

fileItem* DesignWorkspace::findLibraryItem(const char* path_) {
    pathstring path(path_ ? path_ : ""); // tidied on assignment
    // The comparison ignores case: where the long name could differ from
    // the path in case alone, the disk need not be asked for it.
    pathstring wanted;
    if (longNameOnlyChangesCase(path) && path.back() != '\\') {
        wanted = path;
    } else {
        std::string longName;
        path.getLFN(longName);
        wanted = pathstring{longName};
    }
    for (fileItem* item : libraryItems)
        if (fullPathOf(item).compareEqualQuickly(wanted)) return item;
    return nullptr;
}

fileItem* DesignWorkspace::addLibraryItem(const char* path_, const WIN32_FIND_DATA* found) {
    if (fileItem* item = findLibraryItem(path_)) {
        if (found) {
            DesignFileItem* known = static_cast<DesignFileItem*>(item);
            known->setFindData(*found);
            known->setExists(true);
        }
        return item;
    }
    pathstring path(path_ ? path_ : "");
    std::string longName;
    path.getLFN(longName);
    pathstring longPath{longName};

    fileItem* created = newItem(longPath, found, true);
    // Library items keep the order of first use; no second look for an equal.
    libraryItems.push_back(created);
    return created;
}

// ---------------------------------------------------------------------------
// 2. Cached scan results
// ---------------------------------------------------------------------------

// Frees the records of a usage list and empties it; with releaseIndexes the
// libraries they name first drop their cached indexes.
static void discardUsages(std::list<libraryUsage*>& usages, bool releaseIndexes) {
    if (releaseIndexes)
        for (libraryUsage* usage : usages)
            if (usage->library) usage->library->releaseIndex();
    for (libraryUsage* usage : usages) delete usage;
    usages.clear();
}

void DesignWorkspace::discardScanResults(bool alsoDependencies) {
    // Libraries are shared by all open workspaces: their indexes go only
    // when this is the one open workspace.
    bool releaseIndexes = openWorkspaceCount == 1;
    for (fileItem* each : fileItems) {
        DesignFileItem* item = static_cast<DesignFileItem*>(each);
        if (!item->usedSymbols.empty()) {
            discardUsages(item->usedSymbols, releaseIndexes);
            item->scanStamp = fileStamp();
        }
        if (!item->usedModels.empty()) {
            discardUsages(item->usedModels, false);
            item->scanStamp = fileStamp();
        }
        if (!item->usedPackages.empty()) {
            discardUsages(item->usedPackages, releaseIndexes);
            item->scanStamp = fileStamp();
        }
        if (alsoDependencies) {
            item->scanStamp = fileStamp();
            item->fileDependencies.clear();
            item->systemDependencies.clear();
        }
    }
}

// Called by SetIniFileContext on a reload: the answers about libraries may
// have changed under every open workspace.
void discardScanResultsOfOpenWorkspaces() {
    for (workspace* each : openWorkspaces)
        if (DesignWorkspace* ws = dynamic_cast<DesignWorkspace*>(each)) ws->discardScanResults(true);
}

// ---------------------------------------------------------------------------
// 3. The sweep
// ---------------------------------------------------------------------------

void DesignWorkspace::sweepUnreachedItems() {
    // Every Local item marks what it reaches (setMarks, which follows the
    // dependencies, system dependencies and used libraries); what stays
    // unmarked goes.
    clearVisitMarks();
    std::vector<DesignFileItem*> roots;
    for (const std::list<fileItem*>* items : {&fileItems, &libraryItems})
        for (fileItem* each : *items)
            if (each->getLocality() == KVE_Locality::Local) roots.push_back(static_cast<DesignFileItem*>(each));
    for (DesignFileItem* root : roots) root->setMarks(1);

    std::vector<fileItem*> doomed;
    std::vector<fileItem*> unreached;
    for (fileItem* each : fileItems)
        if (static_cast<DesignFileItem*>(each)->getVisitMark() == 0) unreached.push_back(each);
    for (fileItem* each : unreached) {
        unlinkFileItem(each);
        doomed.push_back(each);
    }
    for (auto it = libraryItems.begin(); it != libraryItems.end();) {
        if (static_cast<DesignFileItem*>(*it)->getVisitMark() == 0) {
            doomed.push_back(*it);
            it = libraryItems.erase(it);
        } else {
            ++it;
        }
    }
    for (fileItem* each : doomed) delete each;

    for (DesignFileItem* root : roots) root->clearMarks(~0u);
}
