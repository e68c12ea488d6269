// Folders beneath a file: construction, the folder's answers, the visits
// of its content, the factory, and the building of a file's folders.
//
// Contents:
//   1. Construction and the folder's own answers.
//   2. Selection.
//   3. Member folders: applyToMembers of the base.
//   4. Dependency folders (20, 21, 22, 34) and the checkpoint folder (19).
//   5. The factory.
//   6. DesignFileItem::buildSubCategoryItems.
#include <cstring>
#include <new>

#include "resources/resources.h"
#include "vocabulary/callback.h"
#include "workspace/context.h"
#include "workspace/subcategory.h"
#include "workspace/workspace.h"

// ---------------------------------------------------------------------------
// 1. Construction and answers
// ---------------------------------------------------------------------------

subCategoryDesignFileItem::subCategoryDesignFileItem(int value, DesignFileItem* parent_, const WIN32_FIND_DATA& record,
                                                     const char* parentPath, workspace* owner_)
    : DesignFileItem(record, static_cast<const char*>(nullptr), owner_), parent(parent_), subCategory(value),
      subType(KVE_fileTypeEnum::SUBCAT) {
    // The folder stands where its parent stands: the parent's path and
    // locality, not a path of its own below it.
    if (parent) {
        fullPath = parent->getFullPathString();
        directoryPath = parent->getDirectoryString();
        baseName = parent->getBaseNameString();
        locality = parent->getLocality();
    } else if (parentPath && *parentPath) {
        fullPath = pathstring(parentPath);
        fullPath.getPath(directoryPath);
        fullPath.getBase(baseName);
    }
    char text[512] = "";
    LoadStringA(moduleHandle, static_cast<UINT>(subCategory.getMessageID()), text, sizeof text);
    const size_t length = strnlen(text, sizeof displayName - 1);
    memcpy(displayName, text, length);
    displayName[length] = '\0';
}

const char* subCategoryDesignFileItem::getFullPath() { return displayName; }
const char* subCategoryDesignFileItem::getBaseName() { return displayName; }
const char* subCategoryDesignFileItem::getDescription() { return displayName; }
const KVE_fileCategoryEnum& subCategoryDesignFileItem::getCategory() { return subCategory; }
const KVE_fileTypeEnum& subCategoryDesignFileItem::getFileType() { return subType; }
bool subCategoryDesignFileItem::exists() { return true; }
bool subCategoryDesignFileItem::isExternal() { return false; }
bool subCategoryDesignFileItem::isSubCategory() { return true; }
bool subCategoryDesignFileItem::isListed() { return false; }

bool subCategoryDesignFileItem::isReservedKind() {
    switch (subCategory.value()) {
    case KVE_fileCategoryEnum::LocalDependencies:
    case KVE_fileCategoryEnum::ExternalDependencies:
    case KVE_fileCategoryEnum::SystemDependencies:
    case KVE_fileCategoryEnum::Dependencies:
    case KVE_fileCategoryEnum::SystemFiles_36:
    case KVE_fileCategoryEnum::SystemFiles_37:
        return true;
    default:
        return false;
    }
}

// A client that gave no callback still gets its scans: they then tell
// nobody.
static callBack* orNobody(callBack* client) {
    static dummyCallback nobody;
    return client ? client : &nobody;
}

bool subCategoryDesignFileItem::hasChildren(int, callBack* client) {
    return !applyToMembers(0, orNobody(client), nullptr, 0);
}

fileItemList* subCategoryDesignFileItem::getChildren(callBack* client, int) {
    fileItemList* list = new fileItemList;
    applyToMembers(3, orNobody(client), list, 0);
    return list;
}

fileItemList* subCategoryDesignFileItem::getDependencyClosure(callBack* client, int relation) {
    return getChildren(client, relation);
}

// ---------------------------------------------------------------------------
// 2. Selection
// ---------------------------------------------------------------------------

void subCategoryDesignFileItem::deselect() {
    static dummyCallback nobody;
    selected = false;
    applyToMembers(2, &nobody, nullptr, 0);
}

void subCategoryDesignFileItem::selectRelated(int flags) {
    static dummyCallback nobody;
    selected = true;
    applyToMembers(1, &nobody, nullptr, flags);
}

void subCategoryDesignFileItem::visitItem(fileItem* item, int action, fileItemList* list, int flags) {
    switch (action) {
    case 1:
        if (flags != 0)
            item->selectRelated(flags);
        else
            item->select();
        break;
    case 2:
        item->deselect();
        break;
    case 3:
        list->push_back(item);
        break;
    default:
        break;
    }
}

// ---------------------------------------------------------------------------
// 3. Member folders
// ---------------------------------------------------------------------------

// A member is a file of a member type whose whole path without extension
// equals the parent's, without regard to case: same directory, same stem.
// The members come from the type listings, which ignore locality and
// existence, so a member that has vanished from disk still shows.
bool subCategoryDesignFileItem::applyToMembers(int action, callBack*, fileItemList* list, int flags) {
    if (action == 3 && !list) return false;
    if (!parent || !owner) return true;
    bool result = true;
    std::string parentStem, parentRoot;
    const pathstring parentPath(std::string(parent->getFullPath()));
    parentPath.getNameNoExt(parentStem);
    parentPath.getRoot(parentRoot);
    // A design workspace narrows the type listing to the items of the
    // parent's root through its index; the test below is the same.
    DesignWorkspace* design = dynamic_cast<DesignWorkspace*>(owner);
    for (int row = 0; row < membershipTableSize; ++row) {
        if (membershipTable[row].subCategory != subCategory.value()) continue;
        const KVE_fileTypeEnum type(membershipTable[row].type);
        fileItemList* items = design ? design->getTypeItemsWithRoot(type, parentRoot) : owner->getTypeItems(type);
        std::string stem;
        for (fileItem* item : *items) {
            pathstring(std::string(item->getFullPath())).getNameNoExt(stem);
            if (_stricmp(stem.c_str(), parentStem.c_str()) != 0) continue;
            if (action == 0) {
                result = false;
                break;
            }
            visitItem(item, action, list, flags);
        }
        delete items;
    }
    return result;
}

// ---------------------------------------------------------------------------
// 4. Dependency folders and the checkpoint folder
// ---------------------------------------------------------------------------

// The parent's lists, scanned first when its file has changed: the system
// dependencies for folder 22, the file dependencies for 20 and 21, of which
// 20 keeps the Local and Local_subdir items and 21 the External ones.
bool subCategoryDesignFileItem::applyToDependencies(int action, callBack* client, fileItemList* list, int flags) {
    if (action == 3 && !list) return false;
    if (!parent) return true;
    const int value = subCategory.value();
    std::list<fileItem*>& dependencies = value == KVE_fileCategoryEnum::SystemDependencies
                                             ? parent->getSystemDependencies(orNobody(client))
                                             : parent->getFileDependencies(orNobody(client));
    // A visit may select items that scan and so change other lists, never
    // this one; a copy keeps the walk safe all the same.
    const std::list<fileItem*> kept(dependencies.begin(), dependencies.end());
    for (fileItem* item : kept) {
        if (value == KVE_fileCategoryEnum::LocalDependencies && !item->isLocal()) continue;
        if (value == KVE_fileCategoryEnum::ExternalDependencies && !item->isExternal()) continue;
        if (action == 0) return false;
        visitItem(item, action, list, flags);
    }
    return true;
}

bool subCategoryLocalDependencies::hasChildren(int, callBack*) { return true; }
bool subCategoryExternalDependencies::hasChildren(int, callBack*) { return true; }
bool subCategorySystemDependencies::hasChildren(int, callBack*) { return true; }

bool subCategoryLocalDependencies::applyToMembers(int action, callBack* client, fileItemList* list, int flags) {
    return applyToDependencies(action, client, list, flags);
}
bool subCategoryExternalDependencies::applyToMembers(int action, callBack* client, fileItemList* list, int flags) {
    return applyToDependencies(action, client, list, flags);
}
bool subCategorySystemDependencies::applyToMembers(int action, callBack* client, fileItemList* list, int flags) {
    return applyToDependencies(action, client, list, flags);
}

// Both lists of the parent, the system dependencies first.
bool subCategoryFusekDependencies::applyToMembers(int action, callBack* client, fileItemList* list, int flags) {
    if (action == 3 && !list) return false;
    if (!parent) return true;
    std::list<fileItem*> all(parent->getSystemDependencies(orNobody(client)));
    const std::list<fileItem*>& files = parent->getFileDependencies(orNobody(client));
    all.insert(all.end(), files.begin(), files.end());
    if (action == 0) return all.empty();
    for (fileItem* item : all) visitItem(item, action, list, flags);
    return true;
}

// No checkpoints are kept yet: nothing to test, list or select.
bool subCategoryCheckpoints::applyToMembers(int action, callBack*, fileItemList* list, int) {
    return !(action == 3 && !list);
}

// ---------------------------------------------------------------------------
// 5. The factory
// ---------------------------------------------------------------------------

fileItem* makeSubCategoryItem(int value, DesignFileItem* parent, const WIN32_FIND_DATA& found,
                              const char* parentPath, workspace* owner) {
#define KV_MAKE(name) new (std::nothrow) name(value, parent, found, parentPath, owner)
    switch (value) {
    case KVE_fileCategoryEnum::Reports: return KV_MAKE(subCategorySketchvaneReports);
    case KVE_fileCategoryEnum::SimulationOutput: return KV_MAKE(subCategorySimulationOutput);
    case KVE_fileCategoryEnum::Netlists: return KV_MAKE(subCategoryNetlistFiles);
    case KVE_fileCategoryEnum::Checkpoints_19: return KV_MAKE(subCategoryCheckpoints);
    case KVE_fileCategoryEnum::LocalDependencies: return KV_MAKE(subCategoryLocalDependencies);
    case KVE_fileCategoryEnum::ExternalDependencies: return KV_MAKE(subCategoryExternalDependencies);
    case KVE_fileCategoryEnum::SystemDependencies: return KV_MAKE(subCategorySystemDependencies);
    case KVE_fileCategoryEnum::SystemFiles: return KV_MAKE(subCategorySketchvaneSystemFiles);
    case KVE_fileCategoryEnum::Output: return KV_MAKE(subCategoryFileSimulationOutput);
    case KVE_fileCategoryEnum::SystemFiles_25: return KV_MAKE(subCategoryFileSimulationSystemFiles);
    case KVE_fileCategoryEnum::Reports_26: return KV_MAKE(subCategoryLamineerReports);
    case KVE_fileCategoryEnum::GerberOutput: return KV_MAKE(subCategoryGerberOutput);
    case KVE_fileCategoryEnum::DrillOutput: return KV_MAKE(subCategoryDrillOutput);
    case KVE_fileCategoryEnum::AutorouterControl: return KV_MAKE(subCategoryAutorouterControl);
    case KVE_fileCategoryEnum::SystemFiles_30: return KV_MAKE(subCategoryLamineerSystemFiles);
    case KVE_fileCategoryEnum::Reports_31: return KV_MAKE(subCategoryFusekReports);
    case KVE_fileCategoryEnum::DeviceProgrammingOutput: return KV_MAKE(subCategoryDeviceProgrammingOutput);
    case KVE_fileCategoryEnum::PhysicalImplementation: return KV_MAKE(subCategoryPhysicalImplementation);
    case KVE_fileCategoryEnum::Dependencies: return KV_MAKE(subCategoryFusekDependencies);
    case KVE_fileCategoryEnum::SystemFiles_35: return KV_MAKE(subCategoryFusekSystemFiles);
    case KVE_fileCategoryEnum::SystemFiles_36: return KV_MAKE(subCategoryModelLibSystemFiles);
    case KVE_fileCategoryEnum::SystemFiles_37: return KV_MAKE(subCategorySymbolLibSystemFiles);
    default: return nullptr;
    }
#undef KV_MAKE
}

// ---------------------------------------------------------------------------
// 6. buildSubCategoryItems
// ---------------------------------------------------------------------------

// One folder per subcategory-table row of this item's type, in table order,
// each made once: a later call only adds what is missing.
void DesignFileItem::buildSubCategoryItems() {
    const int type = getFileType().value();
    for (int row = 0; row < subCategoryTableSize; ++row) {
        if (subCategoryTable[row].type != type) continue;
        const int value = subCategoryTable[row].subCategory;
        bool made = false;
        for (fileItem* folder : subCategoryItems)
            if (folder->getCategory().value() == value) made = true;
        if (made) continue;
        if (fileItem* folder = makeSubCategoryItem(value, this, found, fullPath.c_str(), owner))
            subCategoryItems.push_back(folder);
    }
}
