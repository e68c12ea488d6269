// The indexes of a workspace's file items.
//
// The workspace promises its items in one order (by locality, then by full
// path without regard to case) and describes its look-ups as searches of
// that list. With tens of thousands of files such searches would make
// opening and listing quadratic, so the list is shadowed by:
//   - a vector of the items in item order, which finds where a new item
//     goes;
//   - a table of full paths hashed without regard to case, for findItem
//     and for the look-up of each directory entry during refresh: one flat
//     array of (hash, item), so that a look-up touches one slot and the
//     item's path only on a hash match, and no key is copied or folded;
//   - a vector in item order per file type and per category, for the
//     listings;
//   - a hash of (type, stem folded to lower case), for the claiming rule,
//     made when that rule is first asked.
// Every answer is the one the plain list would give: the vectors use the
// item order itself, and a key matches exactly when the list's comparison
// (equal but for ASCII case) would.
//
// A directory listing arrives almost in item order (it is sorted by name,
// but punctuation such as "_" sorts after the letters there and before them
// here), so an item that sorts after the last one is appended everywhere.
// While refresh reads the directory, the items that do not are held back
// and merged in one pass at its end, so that no order of the listing makes
// opening quadratic; the path table has them at once. Outside a refresh
// (files met by a scan) an item is put in its place directly, moving the
// pointers behind it.
//
// Types change when an item's find record changes and the type is
// determined again. Items whose record changed are kept as stale until the
// next listing, which determines them first (as a walk that asks each item
// for its type would).
//
// Contents:
//   1. itemOrder: the item order as a comparator; foldCase.
//   2. pathKey: a path as the path table looks it up.
//   3. itemIndex.
#pragma once

#include <cstdint>
#include <list>
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
typedef std::vector<DesignFileItem*> orderedItems;

// A text folded to ASCII lower case: the key of comparisons without regard
// to case (compareEqualQuickly, _stricmp).
std::string foldCase(const std::string& text);

// Whether appending name to a tidied directory that ends in its separator
// leaves the name as it is: not empty, no blank, separator, colon or quote.
// Such a name is appended without tidying the whole path again.
bool appendsUnchanged(const char* name);

// Whether the long-name form of the tidied path differs from the path only
// in the case of its components (and a trailing backslash): a path with a
// drive letter, no wildcard, and no component that the file system would
// read differently (".", "..", a trailing dot or blank). For such a path
// the case-blind key can be formed without asking the disk.
bool longNameOnlyChangesCase(const pathstring& path);

// ---------------------------------------------------------------------------
// 2. pathKey
// ---------------------------------------------------------------------------

// A hash of a text without regard to ASCII case, fed in pieces: the hash of
// a directory is taken once and carried on over each name in it.
class foldedHash {
public:
    void add(const char* text, size_t length);
    // The hash of everything added so far.
    uint64_t value() const;

private:
    uint64_t state = 14695981039346656037ull;
};

// A path to look up: head followed by tail (either may be empty), compared
// without regard to ASCII case, and the foldedHash of the two.
struct pathKey {
    const char* head = "";
    size_t headLength = 0;
    const char* tail = "";
    size_t tailLength = 0;
    uint64_t hash = 0;

    // The key of a whole path.
    static pathKey of(const std::string& path);
    // The key of directory followed by name, where directoryHash holds the
    // directory already.
    static pathKey of(const std::string& directory, const foldedHash& directoryHash, const char* name);
};

// ---------------------------------------------------------------------------
// 3. itemIndex
// ---------------------------------------------------------------------------

class itemIndex {
public:
    explicit itemIndex(std::list<fileItem*>& items) : items(items) {}

    // Inserts item into the list at its place in item order, and into every
    // index. If an item that compares equal is there already, nothing is
    // inserted and that item is returned; otherwise null. pathHash, if
    // given, is the hash of the item's full path (pathKey::hash).
    DesignFileItem* insert(DesignFileItem* item, const uint64_t* pathHash = nullptr);
    // Takes item out of the list and every index.
    void remove(DesignFileItem* item);
    // Between the two, inserted items that do not sort after the last one
    // are held back: they are in the path table at once, and in the list
    // and the other indexes from endBatch on. The caller looks every item
    // up by path before inserting it, and reads no listing in between.
    void beginBatch() { batching = true; }
    void endBatch();

    // The item whose full path equals key without regard to case, or null;
    // the first indexed where several do.
    DesignFileItem* findByPath(const pathKey& key) const;

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
    void addToStems(DesignFileItem* item);
    // Whether item is held back in a batch: indexed by path, not yet in the
    // list (its place there is the list's end).
    bool isHeldBack(const DesignFileItem* item) const { return item->listPosition == items.end(); }
    void removeFromTypeIndexes(DesignFileItem* item, int type, int category);
    // The path table: open addressing with linear probing over a power of
    // two of slots. An empty slot has no item and hash 0, a removed one no
    // item and hash 1.
    struct pathSlot {
        uint64_t hash;
        DesignFileItem* item;
    };
    void addPath(DesignFileItem* item, uint64_t hash);
    void removePath(DesignFileItem* item);
    void growPaths();

    std::list<fileItem*>& items;
    orderedItems order;
    std::vector<pathSlot> pathSlots;
    size_t pathsUsed = 0;    // slots with an item
    size_t pathsRemoved = 0; // slots marked removed
    orderedItems byType[KVE_fileTypeEnum::invalid + 1];
    orderedItems byCategory[KVE_fileCategoryEnum::invalid + 1];
    // Built at the first question (only Miscellaneous Files asks), then kept.
    mutable bool stemsIndexed = false;
    mutable std::unordered_map<std::string, std::vector<DesignFileItem*>> byTypeAndStem;
    std::unordered_set<DesignFileItem*> stale;
    bool batching = false;
    std::vector<DesignFileItem*> heldBack; // in the batch, not yet in the list
};
