// DesignWorkspace: opening, reading the directory, items, look-ups,
// listings and selection.
//
// Contents:
//   1. The registry and OpenWorkspace.
//   2. Construction and destruction.
//   3. refresh.
//   4. addFileItem, newItem and the long-name form of a path.
//   5. Look-ups.
//   6. Listings and selection.
// Listings by type and category are in categories.cpp.
#include <cstring>

#include "libraries/libraryitem.h"
#include "workspace/itemindex.h"
#include "workspace/workspace.h"

// ---------------------------------------------------------------------------
// 1. The registry and OpenWorkspace
// ---------------------------------------------------------------------------

std::list<workspace*>& openWorkspaces = *new std::list<workspace*>;
unsigned openWorkspaceCount = 0;
const char* designFileName = "tarnel.mdf";

workspace* OpenWorkspace(KVE_Status& status, const char* path) {
    workspace* result = nullptr;
    if (!path || !*path) {
        status = KVE_Status::NoPathGiven;
        return result;
    }
    status = KVE_Status::NoError;
    pathstring directory(path);
    directory.tidyUp(false);
    directory.getLFN(directory);

    // "tarnel.mdf" given instead of its directory is cut off; the file
    // itself is never opened.
    pathstring design(designFileName);
    const char* baseBegin;
    const char* baseEnd;
    directory.getBase(baseBegin, baseEnd);
    if (design.compareEqualQuickly(pathstring(std::string(baseBegin, baseEnd))))
        directory.erase(static_cast<size_t>(baseBegin - directory.data()), static_cast<size_t>(baseEnd - baseBegin));
    directory.forceEndInSlash();

    if (!directory.existsDirectory()) {
        directory.createDirectory();
        if (!directory.existsDirectory()) status = KVE_Status::DirectoryNotFound;
    }
    if (status == KVE_Status::NoError) {
        DesignWorkspace* opened = new DesignWorkspace(directory.c_str());
        openWorkspaces.push_back(opened);
        ++openWorkspaceCount;
        opened->refresh();
        result = opened;
    }
    return result;
}

workspace* CreateWorkspace(KVE_Status& status, const char* path) { return OpenWorkspace(status, path); }

// ---------------------------------------------------------------------------
// 2. Construction and destruction
// ---------------------------------------------------------------------------

workspace::~workspace() {}

DesignWorkspace::DesignWorkspace(const char* path) : index(new itemIndex(fileItems)) {
    directory = path;
    directory.getLFN(directory);
    directory.forceEndInSlash();
}

DesignWorkspace::~DesignWorkspace() {
    for (fileItem* item : libraryItems) delete item;
    libraryItems.clear();
    for (fileItem* item : fileItems) delete item;
    fileItems.clear();
    for (auto it = openWorkspaces.begin(); it != openWorkspaces.end(); ++it) {
        if (*it != this) continue;
        openWorkspaces.erase(it);
        --openWorkspaceCount;
        break;
    }
}

const char* DesignWorkspace::getDirectory() { return directory.c_str(); }

// ---------------------------------------------------------------------------
// 3. refresh
// ---------------------------------------------------------------------------

void DesignWorkspace::refresh() {
    for (fileItem* item : fileItems) static_cast<DesignFileItem*>(item)->setExists(false);

    // One level of the directory; subdirectories give no items. A directory
    // that cannot be read shows nothing new.
    pathstring base(directory);
    base.tidyUp(false);
    pathstring pattern(base);
    pattern.appendComponent("*");
    foldedHash baseHash;
    baseHash.add(base.data(), base.size());
    WIN32_FIND_DATA entry;
    index->beginBatch(); // every entry is looked up by path before it is added
    HANDLE find = FindFirstFileA(pattern.c_str(), &entry);
    if (find != INVALID_HANDLE_VALUE) {
        do {
            if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) continue;
            if (appendsUnchanged(entry.cFileName)) {
                addDirectoryEntry(base, baseHash, entry);
                continue;
            }
            pathstring path(base);
            path.appendComponent(entry.cFileName);
            addItem(path, &entry, true);
        } while (FindNextFileA(find, &entry));
        FindClose(find);
    }
    index->endBatch();

    // Items not seen in the listing (vanished, or outside the directory):
    // look at each. One that is not found keeps its old record and type.
    for (fileItem* each : fileItems) {
        DesignFileItem* item = static_cast<DesignFileItem*>(each);
        if (item->exists()) continue;
        WIN32_FIND_DATA record;
        HANDLE one = FindFirstFileA(item->getFullPath(), &record);
        if (one == INVALID_HANDLE_VALUE) continue;
        item->setFindData(record);
        item->setExists(!(record.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY));
        item->determineType();
        FindClose(one);
    }

    for (fileItem* each : libraryItems) {
        DesignFileItem* item = static_cast<DesignFileItem*>(each);
        WIN32_FIND_DATA record;
        HANDLE one = FindFirstFileA(item->getFullPath(), &record);
        if (one != INVALID_HANDLE_VALUE) {
            FindClose(one);
            item->setFindData(record);
            item->setExists(!(record.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY));
        } else {
            item->setExists(false);
        }
        item->determineType();
    }
}

// ---------------------------------------------------------------------------
// 4. addFileItem
// ---------------------------------------------------------------------------

bool longNameOnlyChangesCase(const pathstring& path) {
    if (!path.hasDriveLetter() || path.isUNCname()) return false;
    if (path.find_first_of("*?") != std::string::npos) return false;
    size_t start = 2;
    while (start < path.size()) {
        size_t end = path.find('\\', start);
        if (end == std::string::npos) end = path.size();
        if (end > start) {
            char last = path[end - 1];
            if (last == '.' || last == ' ') return false;
        }
        start = end + 1;
    }
    return true;
}

// The long-name form of a tidied path, as the index compares it (without
// regard to case): where it can differ from the path only in case, the path
// itself without a trailing backslash; else asked of the disk.
static std::string longNameText(const pathstring& path) {
    if (longNameOnlyChangesCase(path)) {
        std::string text(path);
        if (text.size() > 3 && text.back() == '\\') text.pop_back();
        return text;
    }
    std::string longName;
    path.getLFN(longName);
    return longName;
}

// The work of addItem for a directory entry, without forming and tidying
// the path: it is the directory followed by the name.
void DesignWorkspace::addDirectoryEntry(const pathstring& base, const foldedHash& baseHash,
                                        const WIN32_FIND_DATA& entry) {
    const pathKey key = pathKey::of(base, baseHash, entry.cFileName);
    if (DesignFileItem* item = index->findByPath(key)) {
        item->setFindData(entry);
        item->setExists(true);
        return;
    }
    DesignFileItem* created = new DesignFileItem(entry, base, this);
    created->setExists(!(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY));
    created->determineType();
    if (DesignFileItem* equal = index->insert(created, &key.hash)) {
        delete created;
        equal->setFindData(entry);
    }
}

DesignFileItem* DesignWorkspace::newItem(const pathstring& longPath, const WIN32_FIND_DATA* found, bool library) {
    WIN32_FIND_DATA record;
    bool exists;
    if (found) {
        record = *found;
        exists = !(record.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);
    } else {
        HANDLE one = FindFirstFileA(longPath.c_str(), &record);
        if (one != INVALID_HANDLE_VALUE) {
            FindClose(one);
            exists = !(record.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);
        } else {
            memset(&record, 0, sizeof record);
            std::string name;
            longPath.getBase(name);
            strncpy(record.cFileName, name.c_str(), sizeof record.cFileName - 1);
            exists = false;
        }
    }
    std::string itemDirectory;
    longPath.getPath(itemDirectory);
    DesignFileItem* created = library ? new LibraryFileItem(record, itemDirectory.c_str(), this)
                                      : new DesignFileItem(record, itemDirectory.c_str(), this);
    created->setExists(exists);
    created->determineType();
    return created;
}

fileItem* DesignWorkspace::addFileItem(const char* path, const WIN32_FIND_DATA* found) {
    return addItem(pathstring(path), found, false);
}

DesignFileItem* DesignWorkspace::lookUp(const pathstring& path) {
    const std::string text = longNameText(path);
    return index->findByPath(pathKey::of(text));
}

fileItem* DesignWorkspace::addItem(const pathstring& path, const WIN32_FIND_DATA* found, bool longName) {
    DesignFileItem* item = longName ? index->findByPath(pathKey::of(path)) : lookUp(path);
    if (item) {
        if (found) {
            item->setFindData(*found);
            item->setExists(true);
        }
        return item;
    }

    pathstring longPath(path);
    if (!longName) path.getLFN(longPath);
    DesignFileItem* created = newItem(longPath, found, false);
    if (DesignFileItem* equal = index->insert(created)) {
        delete created;
        if (found) equal->setFindData(*found);
        return equal;
    }
    return created;
}

void DesignWorkspace::unlinkFileItem(fileItem* item) {
    DesignFileItem* design = dynamic_cast<DesignFileItem*>(item);
    if (design) index->remove(design);
}

// ---------------------------------------------------------------------------
// 5. Look-ups
// ---------------------------------------------------------------------------

fileItem* DesignWorkspace::findItem(const char* path) { return lookUp(pathstring(path)); }

fileItem* DesignWorkspace::findCheckPointItem(const char*) { return nullptr; }

fileItem* DesignWorkspace::findItemRelative(const char* path) {
    pathstring relative(path);
    pathstring base(directory);
    base.tidyUp(false);
    relative.assignRelativeTo(base);
    return lookUp(relative);
}

// ---------------------------------------------------------------------------
// 6. Listings and selection
// ---------------------------------------------------------------------------

fileItemList* DesignWorkspace::getLocalItems() {
    fileItemList* list = new fileItemList;
    for (fileItem* item : fileItems)
        if (item->getLocality() == KVE_Locality::Local) list->push_back(item);
    return list;
}

fileItemList* DesignWorkspace::getSelectedItems() {
    fileItemList* list = new fileItemList;
    for (fileItem* item : fileItems)
        if (item->isSelected()) list->push_back(item);
    return list;
}

fileItemList* DesignWorkspace::getSelectedLocalItems() {
    fileItemList* list = new fileItemList;
    for (fileItem* item : fileItems)
        if (item->isSelected() && item->isLocal()) list->push_back(item);
    return list;
}

void DesignWorkspace::appendSelectedItems(fileItemList& list) {
    for (fileItem* item : fileItems)
        if (item->isSelected()) list.push_back(item);
}

void DesignWorkspace::selectLocalItems() {
    for (fileItem* item : fileItems)
        if (item->isLocal()) item->select();
}

void DesignWorkspace::selectAllItems() {
    for (fileItem* item : fileItems) item->select();
}

void DesignWorkspace::deselectAllItems() {
    for (fileItem* item : fileItems) item->deselect();
    for (fileItem* item : libraryItems) item->deselect();
}

void DesignWorkspace::clearVisitMarks() {
    for (fileItem* item : fileItems) static_cast<DesignFileItem*>(item)->setVisitMark(0);
    for (fileItem* item : libraryItems) static_cast<DesignFileItem*>(item)->setVisitMark(0);
}

void DesignWorkspace::reservedOperation(void*, void*, void*) {}
