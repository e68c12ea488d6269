// DesignFileItem: names, locality, record, selection and the item order.
//
// Contents:
//   1. fileStamp.
//   2. Construction and destruction (names and locality).
//   3. The find record: size, time, existence, replacing the record.
//   4. Selection.
//   5. Locality and kind questions.
//   6. The item order.
//   7. isNetlistType.
// Type determination is in filetype.cpp, the dependency questions in
// fileitem_relations.cpp.
#include <cctype>
#include <cstring>

#include "workspace/context.h"
#include "workspace/fileitem.h"
#include "workspace/itemindex.h"
#include "workspace/workspace.h"

// ---------------------------------------------------------------------------
// 1. fileStamp
// ---------------------------------------------------------------------------

fileStamp fileStamp::of(const WIN32_FIND_DATA& found) {
    fileStamp stamp;
    stamp.lastWriteLow = found.ftLastWriteTime.dwLowDateTime;
    stamp.lastWriteHigh = found.ftLastWriteTime.dwHighDateTime;
    stamp.sizeHigh = found.nFileSizeHigh;
    stamp.sizeLow = found.nFileSizeLow;
    return stamp;
}

// ---------------------------------------------------------------------------
// 2. Construction and destruction
// ---------------------------------------------------------------------------

fileItem::~fileItem() {}

DesignFileItem::DesignFileItem(const WIN32_FIND_DATA& record, const char* directory, workspace* owner_)
    : owner(owner_), found(record), designOwner(dynamic_cast<DesignWorkspace*>(owner_)) {
    // The enumerations start on their invalid rows (their default), the
    // stamps at zero.
    if (!directory || !*directory) return;
    pathstring tidied(directory); // tidied, as every C string given to a pathstring
    tidied.tidyUp(false);
    placeIn(tidied);
}

DesignFileItem::DesignFileItem(const WIN32_FIND_DATA& record, const pathstring& tidiedDirectory, workspace* owner_)
    : owner(owner_), found(record), designOwner(dynamic_cast<DesignWorkspace*>(owner_)) {
    if (!tidiedDirectory.empty()) placeIn(tidiedDirectory);
}

bool appendsUnchanged(const char* name) {
    if (!*name) return false;
    for (const char* c = name; *c; ++c)
        if (isspace(static_cast<unsigned char>(*c)) || *c == '\\' || *c == '/' || *c == ':' || *c == '"')
            return false;
    return true;
}

void DesignFileItem::placeIn(const pathstring& tidiedDirectory) {
    if (!tidiedDirectory.empty() && tidiedDirectory.back() == '\\' && appendsUnchanged(found.cFileName)) {
        // What appendComponent, getBase and getPath would give, without
        // tidying the whole path again: the directory, then the name.
        const size_t nameLength = strlen(found.cFileName);
        std::string& full = fullPath;
        full.reserve(tidiedDirectory.size() + nameLength);
        full.assign(tidiedDirectory).append(found.cFileName, nameLength);
        static_cast<std::string&>(baseName).assign(found.cFileName, nameLength);
        static_cast<std::string&>(directoryPath).assign(tidiedDirectory);
    } else {
        fullPath = tidiedDirectory;
        fullPath.appendComponent(found.cFileName);
        fullPath.getBase(baseName);
        fullPath.getPath(directoryPath);
    }

    // Locality, decided here once. A system library directory counts as
    // System even beneath the workspace, so that test comes before the
    // subdirectory test.
    // The design workspace's own directory is compared in place, not copied.
    DesignWorkspace* design = dynamic_cast<DesignWorkspace*>(owner);
    pathstring otherDirectory;
    if (!design) otherDirectory = pathstring(std::string(owner ? owner->getDirectory() : ""));
    const pathstring& workspaceDirectory = design ? design->getDirectoryString() : otherDirectory;
    if (directoryPath.compareEqualQuickly(workspaceDirectory))
        locality = KVE_Locality::Local;
    else if (isSystemLibraryPath(directoryPath.c_str()))
        locality = KVE_Locality::System;
    else if (!workspaceDirectory.empty() && directoryPath.isInDirectory(workspaceDirectory))
        locality = KVE_Locality::Local_subdir;
    else
        locality = KVE_Locality::External;
}

DesignFileItem::~DesignFileItem() {
    freeUsages(usedSymbols);
    freeUsages(usedModels);
    freeUsages(usedPackages);
    for (fileItem* folder : subCategoryItems) delete folder;
}

const char* DesignFileItem::getFullPath() { return fullPath.c_str(); }
const char* DesignFileItem::getBaseName() { return baseName.c_str(); }

// ---------------------------------------------------------------------------
// 3. The find record
// ---------------------------------------------------------------------------

int64_t DesignFileItem::getSize() {
    // The high half counts 0xFFFFFFFF, not 2^32, as getFileSize does.
    return static_cast<int64_t>(found.nFileSizeHigh) * 0xFFFFFFFFll + found.nFileSizeLow;
}

const FILETIME& DesignFileItem::getLastWriteTime() { return found.ftLastWriteTime; }

bool DesignFileItem::exists() { return fileExists; }

void DesignFileItem::setFindData(const WIN32_FIND_DATA& record) {
    found = record;
    if (index && !isTypeCurrent()) index->recordChanged(this);
}

const char* DesignFileItem::getDescription() { return ""; }
void DesignFileItem::setDescription(const char*) {}

// ---------------------------------------------------------------------------
// 4. Selection
// ---------------------------------------------------------------------------

void DesignFileItem::select() { selected = true; }
void DesignFileItem::deselect() { selected = false; }
bool DesignFileItem::isSelected() { return selected; }

// A walk over the items is opened and closed by clearing every visit mark
// of the workspace.
static void clearWorkspaceMarks(workspace* owner) {
    if (DesignWorkspace* w = dynamic_cast<DesignWorkspace*>(owner)) w->clearVisitMarks();
}

void DesignFileItem::selectWithDependencies(bool withSystemFiles) {
    clearWorkspaceMarks(owner);
    selectRelated(withSystemFiles ? 5 : 1);
    clearWorkspaceMarks(owner);
}

void DesignFileItem::selectWithAllDependencies(bool withSystemFiles) {
    clearWorkspaceMarks(owner);
    selectRelated(withSystemFiles ? 6 : 2);
    clearWorkspaceMarks(owner);
}

// ---------------------------------------------------------------------------
// 5. Locality and kind
// ---------------------------------------------------------------------------

bool DesignFileItem::isLocal() { return locality == KVE_Locality::Local || locality == KVE_Locality::Local_subdir; }
bool DesignFileItem::isLocalSubdir() { return locality == KVE_Locality::Local_subdir; }
bool DesignFileItem::isExternal() { return locality == KVE_Locality::External; }
bool DesignFileItem::isSystem() { return locality == KVE_Locality::System; }
bool DesignFileItem::isSystemLibrary() { return isSystem() && getFileType().isLibraryFile(); }
bool DesignFileItem::isSubCategory() { return false; }
bool DesignFileItem::isReservedKind() { return false; }
const KVE_Locality& DesignFileItem::getLocality() { return locality; }

// ---------------------------------------------------------------------------
// 6. The item order
// ---------------------------------------------------------------------------

int DesignFileItem::compareItems(const fileItem* other) const {
    if (other == this) return 0;
    // Items of a workspace are design items: compare their fields directly.
    if (const DesignFileItem* design = dynamic_cast<const DesignFileItem*>(other)) {
        const int mine = locality.value();
        const int theirs = design->locality.value();
        if (mine == theirs) {
            // Equal bytes weigh equally, so the shared start of the two
            // paths (their directory, mostly) can be passed over.
            const char* a = fullPath.c_str();
            const char* b = design->fullPath.c_str();
            while (*a && *a == *b) ++a, ++b;
            return lstrcmpiA(a, b);
        }
        return mine < theirs ? -1 : 1;
    }
    fileItem* that = const_cast<fileItem*>(other);
    const int mine = locality.value();
    const int theirs = that->getLocality().value();
    if (mine == theirs) return fullPath.compareExactNames(that->getFullPath());
    return mine < theirs ? -1 : 1;
}

// ---------------------------------------------------------------------------
// 7. isNetlistType
// ---------------------------------------------------------------------------

bool isNetlistType(const fileItem* item) {
    if (!item) return false;
    return isNetlistTypeValue(const_cast<fileItem*>(item)->getFileType().value());
}
