// What a file item depends on and what is shown beneath it.
//
// These answers rest on the dependency scan and on the folder items, which
// are built on top of the workspace. Until they are, an item has no
// dependencies and no folders: hasChildren is false, the lists are empty,
// and selecting with dependencies selects the item alone. The scanning and
// folder code replace the bodies in this file.
//
// Contents:
//   1. Dependency questions.
//   2. Selection walks.
//   3. Folders and usage records.
#include "workspace/fileitem.h"

#include "libraries/libraryusage.h"

// ---------------------------------------------------------------------------
// 1. Dependency questions
// ---------------------------------------------------------------------------

bool DesignFileItem::hasChildren(int, callBack*) { return false; }

fileItemList* DesignFileItem::getDependencyClosure(callBack*, int) { return new fileItemList; }

fileItemList* DesignFileItem::getChildren(callBack*, int) { return new fileItemList; }

// ---------------------------------------------------------------------------
// 2. Selection walks
// ---------------------------------------------------------------------------

// Marks and selects the item once per walk. The closures it would follow
// (flags 1 and 2) and the system-file folders (flag 4) are empty here.
void DesignFileItem::selectRelated(int) {
    if (visitMark != 0) return;
    visitMark |= 1;
    selected = true;
}

// ---------------------------------------------------------------------------
// 3. Folders and usage records
// ---------------------------------------------------------------------------

void DesignFileItem::buildSubCategoryItems() {}

// The records are the list's; the entries they name stay their library's.
void DesignFileItem::freeUsages(std::list<libraryUsage*>& usages) {
    for (libraryUsage* usage : usages) delete usage;
    usages.clear();
}
