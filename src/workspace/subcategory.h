// Folders: the virtual items that a tree shows beneath a real file.
//
// A folder ("Reports", "Local Dependencies", "Gerber Output", ...) has no
// file of its own. Its content is worked out afresh at every question, so
// that a file that appears on disk shows at the next one:
//   - a member folder holds the files beside its parent that have the
//     parent's stem (same directory, same name without extension) and one
//     of the folder's member types (the membership table of filetypes.h);
//   - a dependency folder holds part of the parent's dependency lists,
//     which are scanned first when the parent's file has changed.
// A folder is a fileItem like any other, so a client lists, selects and
// deselects it the same way; selecting a folder with relations, or
// deselecting it, reaches its content.
//
// A file's folders are made the first time something asks for them
// (DesignFileItem::buildSubCategoryItems), are owned by the file and die
// with it. The folder keeps the parent's find record, full path and
// locality; its name, path and description are the folder's display name.
//
// Contents:
//   1. subCategoryDesignFileItem: the base, which is also the member folder.
//   2. The concrete folders, one class per folder value (16 to 37).
//   3. makeSubCategoryItem: the factory.
//
// Source: subcategory.cpp.
#pragma once

#include "workspace/fileitem.h"

// ---------------------------------------------------------------------------
// 1. subCategoryDesignFileItem
// ---------------------------------------------------------------------------

class subCategoryDesignFileItem : public DesignFileItem {
public:
    // The folder of value subCategory beneath parent (not owned). found,
    // parentPath and owner are the parent's record, full path and
    // workspace. The display name is the message text of the folder's
    // category, cut to 511 characters.
    subCategoryDesignFileItem(int subCategory, DesignFileItem* parent, const WIN32_FIND_DATA& found,
                              const char* parentPath, workspace* owner);

    // fileItem: the folder's own answers.
    const char* getFullPath() override;    // the display name
    const char* getBaseName() override;    // the display name
    const char* getDescription() override; // the display name
    // The folder value and type 116 (SUBCAT), with no staleness check.
    const KVE_fileCategoryEnum& getCategory() override;
    const KVE_fileTypeEnum& getFileType() override;
    // Whether the folder has content (applyToMembers(0) says none is not
    // there). relation is ignored, as by the other folder questions.
    bool hasChildren(int relation, callBack* client) override;
    // The content, as getChildren.
    fileItemList* getDependencyClosure(callBack* client, int relation) override;
    // A new list of the content (applyToMembers(3)); relation is ignored.
    fileItemList* getChildren(callBack* client, int relation) override;
    bool exists() override;     // true
    bool isExternal() override; // false
    bool isSubCategory() override; // true
    bool isListed() override;   // false: a folder is never in a category
    // True on the folders of values 20, 21, 22, 34, 36 and 37.
    bool isReservedKind() override;
    // Clears the mark of the folder and of its content.
    void deselect() override;
    // Marks the folder and does selectRelated(flags) on its content (select
    // with flags 0). The folder itself gets no visit mark.
    void selectRelated(int flags) override;

    // Visits the content. action 0: test, the result is false as soon as
    // there is content; 1: select (selectRelated(flags) when flags is not
    // 0, else select); 2: deselect; 3: append each item to list (by
    // pointer, no check for duplicates). Action 3 with a null list gives
    // false; otherwise the result is true. This base visits the members.
    virtual bool applyToMembers(int action, callBack* client, fileItemList* list, int flags);

    DesignFileItem* getParent() const { return parent; }

protected:
    // Does action 1, 2 or 3 of applyToMembers to one item.
    static void visitItem(fileItem* item, int action, fileItemList* list, int flags);
    // applyToMembers of the three dependency folders (20, 21, 22).
    bool applyToDependencies(int action, callBack* client, fileItemList* list, int flags);
    // The parent as a design item, or null.
    DesignFileItem* parent;
    KVE_fileCategoryEnum subCategory;
    KVE_fileTypeEnum subType; // always SUBCAT
    char displayName[512];
};

// ---------------------------------------------------------------------------
// 2. The concrete folders
// ---------------------------------------------------------------------------

// Member folders: the files with the parent's stem and a member type; the
// base does all of it.
class subCategorySketchvaneReports : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 16
};
class subCategorySimulationOutput : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 17
};
class subCategoryNetlistFiles : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 18
};
class subCategorySketchvaneSystemFiles : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 23
};
class subCategoryFileSimulationOutput : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 24
};
class subCategoryFileSimulationSystemFiles : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 25
};
class subCategoryLamineerReports : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 26
};
class subCategoryGerberOutput : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 27
};
class subCategoryDrillOutput : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 28
};
class subCategoryAutorouterControl : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 29
};
class subCategoryLamineerSystemFiles : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 30
};
class subCategoryFusekReports : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 31
};
class subCategoryDeviceProgrammingOutput : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 32
};
class subCategoryPhysicalImplementation : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 33
};
class subCategoryFusekSystemFiles : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 35
};
class subCategoryModelLibSystemFiles : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 36
};
class subCategorySymbolLibSystemFiles : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem; // 37
};

// 19: the parent's checkpoints. Checkpoints are not kept by this engine
// yet, so the folder has no content and a tree does not show it.
class subCategoryCheckpoints : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem;
    bool applyToMembers(int action, callBack* client, fileItemList* list, int flags) override;
};

// 20, 21, 22: the parent's dependencies: the file dependencies that are
// Local or Local_subdir, those that are External, and all system
// dependencies. They claim to have content without a scan, so that a tree
// can show them before any file is read; their content scans the parent
// when its file has changed.
class subCategoryLocalDependencies : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem;
    bool hasChildren(int relation, callBack* client) override; // true at once
    bool applyToMembers(int action, callBack* client, fileItemList* list, int flags) override;
};
class subCategoryExternalDependencies : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem;
    bool hasChildren(int relation, callBack* client) override; // true at once
    bool applyToMembers(int action, callBack* client, fileItemList* list, int flags) override;
};
class subCategorySystemDependencies : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem;
    bool hasChildren(int relation, callBack* client) override; // true at once
    bool applyToMembers(int action, callBack* client, fileItemList* list, int flags) override;
};

// 34: every dependency of a synthesis source, system ones first.
class subCategoryFusekDependencies : public subCategoryDesignFileItem {
public:
    using subCategoryDesignFileItem::subCategoryDesignFileItem;
    bool applyToMembers(int action, callBack* client, fileItemList* list, int flags) override;
};

// ---------------------------------------------------------------------------
// 3. The factory
// ---------------------------------------------------------------------------

// A new folder of value subCategory (16 to 37) beneath parent, of the class
// that stands for that value; owned by the caller (the parent keeps it in
// its subCategoryItems). Null for any other value or when memory runs out.
fileItem* makeSubCategoryItem(int subCategory, DesignFileItem* parent, const WIN32_FIND_DATA& found,
                              const char* parentPath, workspace* owner);
