// The folders beneath a file item and its usage records.
//
// The dependency questions of an item (hasChildren, getChildren,
// getDependencyClosure, selectRelated) are answered with the scan, in
// src/scanning/dependencies.cpp; the folders themselves, with
// buildSubCategoryItems, in subcategory.cpp.
//
// Contents:
//   3. Folders and usage records.
#include "workspace/fileitem.h"

#include "libraries/libraryusage.h"

// ---------------------------------------------------------------------------
// 3. Folders and usage records
// ---------------------------------------------------------------------------

// The records are the list's; the entries they name stay their library's.
void DesignFileItem::freeUsages(std::list<libraryUsage*>& usages) {
    for (libraryUsage* usage : usages) delete usage;
    usages.clear();
}
