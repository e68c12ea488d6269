// Listings of a workspace by file type and by category, and the claiming
// rule of Miscellaneous Files.
//
// Both listings walk the items in their order, never the library items.
// They ask each item for its type or category, which determines the type
// again where the file changed; the indexes do the same by bringing every
// changed item up to date first, then reading the items of the one type or
// category asked for.
//
// Contents:
//   1. getTypeItems, and its narrowing by stem for the folders.
//   2. getCategoryItems and claiming.
#include <algorithm>

#include "workspace/itemindex.h"
#include "workspace/workspace.h"

// ---------------------------------------------------------------------------
// 1. getTypeItems
// ---------------------------------------------------------------------------

fileItemList* DesignWorkspace::getTypeItems(const KVE_fileTypeEnum& type) {
    index->bringTypesUpToDate();
    fileItemList* list = new fileItemList;
    for (DesignFileItem* item : index->ofType(type.value())) list->push_back(item);
    return list;
}

fileItemList* DesignWorkspace::getTypeItemsWithRoot(const KVE_fileTypeEnum& type, const std::string& root) {
    index->bringTypesUpToDate();
    fileItemList* list = new fileItemList;
    const std::vector<DesignFileItem*>* same = index->ofTypeAndStem(type.value(), foldCase(root));
    if (!same) return list;
    std::vector<DesignFileItem*> ordered(*same);
    std::sort(ordered.begin(), ordered.end(), itemOrder());
    list->insert(list->end(), ordered.begin(), ordered.end());
    return list;
}

// ---------------------------------------------------------------------------
// 2. getCategoryItems
// ---------------------------------------------------------------------------

// A file is claimed when a parent of the same stem stands beside it: for the
// first membership row of its type whose folder's parent type has a Local,
// existing item with the same stem (without regard to case).
bool DesignWorkspace::isClaimed(DesignFileItem* item) {
    std::string stem;
    item->getFullPathString().getRoot(stem);
    const std::string stemKey = foldCase(stem);
    const int type = item->getFileType().value();
    for (int row = 0; row < membershipTableSize; ++row) {
        if (membershipTable[row].type != type) continue;
        const int parentType = getParentTypeOfSubCategory(membershipTable[row].subCategory);
        const std::vector<DesignFileItem*>* parents = index->ofTypeAndStem(parentType, stemKey);
        if (!parents) continue;
        for (DesignFileItem* parent : *parents)
            if (parent->getLocality() == KVE_Locality::Local && parent->exists()) return true;
    }
    return false;
}

fileItemList* DesignWorkspace::getCategoryItems(const KVE_fileCategoryEnum& category) {
    index->bringTypesUpToDate();
    fileItemList* list = new fileItemList;
    // Local items come first in item order, so each walk ends at the first
    // item of another locality.
    for (DesignFileItem* item : index->ofCategory(category.value())) {
        if (item->getLocality() != KVE_Locality::Local) break;
        if (item->exists() && item->isListed()) list->push_back(item);
    }

    // Miscellaneous Files has no type of its own: it shows the Local files
    // whose type has no category and that no parent claims, whether they
    // exist or not.
    if (category == KVE_fileCategoryEnum::MiscellaneousFiles) {
        for (DesignFileItem* item : index->ofCategory(KVE_fileCategoryEnum::invalid)) {
            if (item->getLocality() != KVE_Locality::Local) break;
            if (!isClaimed(item)) list->push_back(item);
        }
    }
    return list;
}
