// Workspaces: a directory that a client has opened, with one item for every
// file met in it or reached from it.
//
// A client opens a directory with OpenWorkspace (or CreateWorkspace, the
// same call), walks the top-level categories with getCategoryItems, changes
// the selection, starts whole-design operations, and deletes the workspace
// to close it. Nothing of a workspace is persisted: every open rebuilds it
// from the directory. "tarnel.mdf", the design file name, may be passed
// instead of the directory; it is cut off and never opened.
//
// Design trees hold tens of thousands of files. The items are kept in
// the order the interface promises (by locality, then by name without
// regard to case) and, beside that list, in indexes by path, by type, by
// category and by stem (itemindex.h), so that opening, look-ups and a walk
// of all categories grow linearly with the number of files.
//
// Contents:
//   1. The registry of open workspaces and the open call (exported).
//   2. workspace: the abstract interface, in its fixed order.
//   3. DesignWorkspace: the one implementation.
//
// Sources: workspace.cpp (open, refresh, items, look-ups, selection),
// categories.cpp (listings by type and category, claiming),
// itemindex.cpp (the indexes), operationstarts.cpp (copyDesign and its
// siblings).
#pragma once

#include <list>
#include <memory>

#include "kv_export.h"
#include "paths/pathstring.h"
#include "platform/platform.h"
#include "vocabulary/enums.h"
#include "vocabulary/filetypes.h"
#include "workspace/fileitem.h"

class callBack;
struct copyOptions;
class foldedHash;
class itemIndex;
class workspace;

// ---------------------------------------------------------------------------
// 1. Registry and open
// ---------------------------------------------------------------------------

// All live workspaces in order of opening (not owned), and their number;
// a workspace adds itself when opened and removes itself when deleted.
// The list is never destroyed: the library's shutdown may delete
// workspaces that a client left open after static destructors have run.
extern std::list<workspace*>& openWorkspaces;
extern unsigned openWorkspaceCount;
// "tarnel.mdf": a name a client may give instead of the directory.
extern const char* designFileName;

// Opens path (an engine path) as a workspace and reads it. A missing
// directory is created, with every missing level. Out: status, NoError,
// DirectoryNotFound (missing and could not be created, or a plain file) or
// NoPathGiven (null or empty path). Returns the workspace, or null; the
// caller deletes it. A second open of the same directory makes a second,
// independent workspace.
KVENG_API workspace* OpenWorkspace(KVE_Status& status, const char* path);
// The same call as OpenWorkspace.
KVENG_API workspace* CreateWorkspace(KVE_Status& status, const char* path);

// ---------------------------------------------------------------------------
// 2. workspace
// ---------------------------------------------------------------------------

// The order of the virtual members is part of the interface; new members
// go at the end only. Every listing returns a new list that the caller
// deletes; the items stay the workspace's.
class workspace {
public:
    virtual ~workspace();

    // Reads the directory again: new files join, changed ones get their
    // new record, vanished ones stay with exists() false.
    virtual void refresh() = 0;
    // The directory in long-name form, ending in a backslash.
    virtual const char* getDirectory() = 0;
    // The items shown under a category: Local, existing, listed items of
    // that category; Miscellaneous Files shows the Local files without a
    // category that no parent of the same stem claims.
    virtual fileItemList* getCategoryItems(const KVE_fileCategoryEnum& category) = 0;
    // Every item of a type, whatever its locality and existence.
    virtual fileItemList* getTypeItems(const KVE_fileTypeEnum& type) = 0;
    // Items directly in the directory, existing or not.
    virtual fileItemList* getLocalItems() = 0;
    virtual fileItemList* getSelectedItems() = 0;
    virtual fileItemList* getSelectedLocalItems() = 0;
    // The item of an absolute path (tidied and compared without regard to
    // case), or null. A relative path finds nothing.
    virtual fileItem* findItem(const char* path) = 0;
    // Always null here; kept for its place in the interface.
    virtual fileItem* findCheckPointItem(const char* name) = 0;
    // The item of a path relative to the directory, or null.
    virtual fileItem* findItemRelative(const char* path) = 0;
    virtual void selectLocalItems() = 0;
    virtual void selectAllItems() = 0;
    // Also reaches the library items.
    virtual void deselectAllItems() = 0;
    // The whole-design operations on the selection. They report through
    // client only; options belong to the client.
    virtual void copyDesign(callBack* client, const char* target, copyOptions* options) = 0;
    virtual void moveDesign(callBack* client, const char* target, copyOptions* options) = 0;
    virtual void archiveDesign(callBack* client, const char* target, copyOptions* options) = 0;
    virtual void restoreDesign(callBack* client, const char* target, copyOptions* options) = 0;
    // Does nothing; kept for its place in the interface.
    virtual void reservedOperation(void* first, void* second, void* third) = 0;
};

// ---------------------------------------------------------------------------
// 3. DesignWorkspace
// ---------------------------------------------------------------------------

class DesignWorkspace : public workspace {
public:
    // A workspace of directory (put in long-name form, ending in a
    // backslash), with no items yet. OpenWorkspace registers and reads it.
    explicit DesignWorkspace(const char* directory);
    // Deletes the library items, then the file items, and leaves the
    // registry.
    ~DesignWorkspace() override;
    DesignWorkspace(const DesignWorkspace&) = delete;
    DesignWorkspace& operator=(const DesignWorkspace&) = delete;

    // workspace
    void refresh() override;
    const char* getDirectory() override;
    fileItemList* getCategoryItems(const KVE_fileCategoryEnum& category) override;
    fileItemList* getTypeItems(const KVE_fileTypeEnum& type) override;
    fileItemList* getLocalItems() override;
    fileItemList* getSelectedItems() override;
    fileItemList* getSelectedLocalItems() override;
    fileItem* findItem(const char* path) override;
    fileItem* findCheckPointItem(const char* name) override;
    fileItem* findItemRelative(const char* path) override;
    void selectLocalItems() override;
    void selectAllItems() override;
    void deselectAllItems() override;
    void copyDesign(callBack* client, const char* target, copyOptions* options) override;
    void moveDesign(callBack* client, const char* target, copyOptions* options) override;
    void archiveDesign(callBack* client, const char* target, copyOptions* options) override;
    void restoreDesign(callBack* client, const char* target, copyOptions* options) override;
    void reservedOperation(void* first, void* second, void* third) override;

    // The item of path, made if there is none. found, when given, is the
    // file's find record and replaces the record of an existing item (whose
    // type is then left to the staleness check); without it a new item
    // looks at the disk itself and, for a missing file, gets exists()
    // false. Returns the item in the list.
    fileItem* addFileItem(const char* path, const WIN32_FIND_DATA* found);
    // The items of type whose name without extension (getRoot) equals
    // root without regard to case, in item order: what getTypeItems gives,
    // narrowed through the index by stem. For the folders beneath a file.
    fileItemList* getTypeItemsWithRoot(const KVE_fileTypeEnum& type, const std::string& root);
    // Visit marks of every item of both lists to 0; opens every walk.
    void clearVisitMarks();
    // Appends the selected items of fileItems, in order.
    void appendSelectedItems(fileItemList& list);

    // Library items, cached scan results and the sweep after an
    // operation: defined with the library items.
    fileItem* addLibraryItem(const char* path, const WIN32_FIND_DATA* found);
    fileItem* findLibraryItem(const char* path);
    void discardScanResults(bool alsoDependencies);
    void sweepUnreachedItems();

    // Takes item out of fileItems and the indexes without deleting it
    // (the sweep deletes it afterwards). Nothing if it is not there.
    void unlinkFileItem(fileItem* item);

    pathstring& getDirectoryString() { return directory; }
    // The items in their order. Change the list only through addFileItem
    // and unlinkFileItem, which keep the indexes.
    const std::list<fileItem*>& getFileItems() const { return fileItems; }
    std::list<fileItem*>& getLibraryItems() { return libraryItems; }

protected:
    std::list<fileItem*> fileItems;    // owned, in item order
    pathstring directory;              // long-name form, trailing backslash
    std::list<fileItem*> libraryItems; // owned, in order of first use

private:
    // addFileItem, with longName telling that path is already tidied and
    // in long-name form (a directory entry of this workspace).
    fileItem* addItem(const pathstring& path, const WIN32_FIND_DATA* found, bool longName);
    // refresh's addFileItem for an entry of the directory (tidied, with
    // directoryHash its hash) whose name needs no tidying.
    void addDirectoryEntry(const pathstring& directory, const foldedHash& directoryHash,
                           const WIN32_FIND_DATA& entry);
    // A new item (a LibraryFileItem when library) of longPath, tidied and in
    // long-name form, typed, not yet in any list. found, when given, is its
    // find record; without it the disk is looked at, and a missing file gets
    // a blank record with its name and exists() false.
    DesignFileItem* newItem(const pathstring& longPath, const WIN32_FIND_DATA* found, bool library);
    // The item whose full path equals path without regard to case.
    DesignFileItem* lookUp(const pathstring& path);
    // Whether a Local, existing file of a parent type with the stem of
    // item stands beside it (the claiming rule of Miscellaneous Files).
    bool isClaimed(DesignFileItem* item);

    std::unique_ptr<itemIndex> index;
};
