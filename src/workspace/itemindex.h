// The indexes of a workspace's file items.
//
// The workspace promises its items in one order (by locality, then by full
// path without regard to case) and describes its look-ups as searches of
// that list. With tens of thousands of files such searches would make
// opening and listing quadratic, so the list is shadowed by:
//   - an ordered set in item order, which finds where a new item goes;
//   - a hash of full paths folded to lower case, for findItem;
//   - an ordered set per file type and per category, for the listings;
//   - a hash of (type, stem folded to lower case), for the claiming rule,
//     made when that rule is first asked.
// Every answer is the one the plain list would give: the sets use the item
// order itself, and a key matches exactly when the list's comparison
// (equal but for ASCII case) would.
//
// Types change when an item's find record changes and the type is
// determined again. Items whose record changed are kept as stale until the
// next listing, which determines them first (as a walk that asks each item
// for its type would).
//
// Contents:
//   1. itemOrder: the item order as a comparator.
//   2. itemIndex.
#pragma once

#include <list>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "workspace/fileitem.h"

// ---------------------------------------------------------------------------
// 1. itemOrder
// ---------------------------------------------------------------------------

struct itemOrder {
    bool operator()(const DesignFileItem* a, const DesignFileItem* b) const { return a->compareItems(b) < 0; }
};
typedef std::set<DesignFileItem*, itemOrder> orderedItems;

// A text folded to ASCII lower case: the key of comparisons without regard
// to case (compareEqualQuickly, _stricmp).
std::string foldCase(const std::string& text);

// Whether the long-name form of the tidied path differs from the path only
// in the case of its components (and a trailing backslash): a path with a
// drive letter, no wildcard, and no component that the file system would
// read differently (".", "..", a trailing dot or blank). For such a path
// the case-blind key can be formed without asking the disk.
bool longNameOnlyChangesCase(const pathstring& path);

// ---------------------------------------------------------------------------
// 2. itemIndex
// ---------------------------------------------------------------------------

class itemIndex {
public:
    explicit itemIndex(std::list<fileItem*>& items) : items(items) {}

    // Inserts item into the list at its place in item order, and into every
    // index. If an item that compares equal is there already, nothing is
    // inserted and that item is returned; otherwise null.
    // pathKey, if given, is foldCase of the item's full path.
    DesignFileItem* insert(DesignFileItem* item, std::string pathKey = std::string());
    // Takes item out of the list and every index.
    void remove(DesignFileItem* item);

    // The item whose full path folds to key, or null.
    DesignFileItem* findByPath(const std::string& key) const;

    // Called by the item when its type was determined again.
    void typeChanged(DesignFileItem* item, int oldType, int oldCategory);
    // Called by the item when its find record was replaced.
    void recordChanged(DesignFileItem* item);
    // Determines again the type of every item whose record changed since.
    void bringTypesUpToDate();

    // The items of a type or category, in item order.
    const orderedItems& ofType(int type) const { return byType[clampType(type)]; }
    const orderedItems& ofCategory(int category) const { return byCategory[clampCategory(category)]; }
    // The items of type whose stem folds to stemKey, in no order.
    const std::vector<DesignFileItem*>* ofTypeAndStem(int type, const std::string& stemKey) const;

private:
    static int clampType(int type);
    static int clampCategory(int category);
    static std::string stemKey(int type, DesignFileItem* item);
    static std::string stemKey(int type, const std::string& foldedStem);
    void addToTypeIndexes(DesignFileItem* item);
    void removeFromTypeIndexes(DesignFileItem* item, int type, int category);

    std::list<fileItem*>& items;
    orderedItems order;
    std::unordered_map<std::string, DesignFileItem*> byPath;
    orderedItems byType[KVE_fileTypeEnum::invalid + 1];
    orderedItems byCategory[KVE_fileCategoryEnum::invalid + 1];
    // Built at the first question (only Miscellaneous Files asks), then kept.
    mutable bool stemsIndexed = false;
    mutable std::unordered_map<std::string, std::vector<DesignFileItem*>> byTypeAndStem;
    std::unordered_set<DesignFileItem*> stale;
};
