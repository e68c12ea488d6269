// Library files as items: a symbol, package, model or footprint library
// known by its entries and not only as a file.
//
// The index of a symbol or package library is a run of lines at the head of
// the file ("Format notes" in libraryitem.cpp); it is read at the first
// look-up and kept until the scan results are thrown away. A design looks
// up hundreds of names in a library of tens of thousands, so the reader
// also builds a map from each single name to its first entry: a look-up
// costs one hash probe, with exactly the answer of a walk of the entries
// in file order.
//
// Contents:
//   1. libraryIndexEntry, readIndexFields.
//   2. LibraryFileItem.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "workspace/fileitem.h"

class InternalFunctionObject;
class LibraryFileItem;
class workspace;

// ---------------------------------------------------------------------------
// 1. libraryIndexEntry
// ---------------------------------------------------------------------------

// One entry of a library. The texts are owned by the entry's library,
// which frees them with the entry (delete[]), or, for the entries it read
// from its index, with its pool; names must not change once the entry is
// in a library.
struct libraryIndexEntry {
    // The library: the item that read the index, set again by whoever finds
    // the entry through a search.
    LibraryFileItem* owner = nullptr;
    // The entry's names, lower case, as ",name1,name2,"; null for an entry
    // without names (a model's place in a model library), which no name
    // finds.
    char* names = nullptr;
    // The "ako" parent written behind ":" in the name field, or null.
    char* parent = nullptr;
    // Where the entry's text starts, counted from the library's baseOffset,
    // and how many bytes it has.
    int32_t offset = 0;
    int32_t size = 0;
    // The index line ended in the mark "b".
    bool isBlock = false;
    // The entry and its texts lie in the library's pool.
    bool pooled = false;
};

// The fields of an index line behind its keyword and one separator, read
// exactly as "%1023s %d %d %c" reads them: a field that cannot be read
// leaves its output and those of the fields behind it untouched. name has
// room for 1024 characters.
void readIndexFields(const char* text, char* name, int& offset, int& size, char& mark);

// ---------------------------------------------------------------------------
// 2. LibraryFileItem
// ---------------------------------------------------------------------------

class LibraryFileItem : public DesignFileItem {
public:
    // As DesignFileItem; the index starts empty and libraryKind at 0.
    LibraryFileItem(const WIN32_FIND_DATA& found, const char* directory, workspace* owner);
    ~LibraryFileItem() override;

    // A library item is a system library whenever it is a system file.
    bool isSystemLibrary() override;

    // Reads the index of the file, appending to the entries (a second read
    // without releaseIndex doubles them). Prints the trace line
    // "LibraryFileItem::generateIndexList() for <path>". An unreadable file
    // adds nothing.
    void generateIndexList();
    // The first entry, in file order, one of whose names is name (without
    // regard to case), or null. An empty index is read first, after telling
    // the client SearchingLibrary through op.
    libraryIndexEntry* findIndexEntry(const char* name, InternalFunctionObject& op);
    // A name made ready to be looked up, once for any number of libraries:
    // ",name," lower-cased (cut to 1023 characters, as a formatted print
    // cuts), whether the name map can answer it (one whole name), and its
    // hash in the map.
    struct lookUpKey {
        explicit lookUpKey(const char* name);
        char text[1024];
        size_t length;
        bool plain;
        uint32_t hash;
    };
    // findIndexEntry of the key's name.
    libraryIndexEntry* findIndexEntry(const lookUpKey& key, InternalFunctionObject& op);
    // Tells the library that key is about to be looked up: where its index
    // is read, the memory of the look-up is fetched ahead, so that a name
    // asked of several libraries in turn waits for memory once rather than
    // once per library.
    void expectLookUp(const lookUpKey& key) const {
        if (key.plain) firstEntryOfName.prefetch(key.hash);
    }
    // Frees every entry; the next look-up reads the file again.
    void releaseIndex();
    // How many times any library has freed its entries: what remembers
    // entries by address must forget them when this changes.
    static uint64_t indexReleases();
    // Appends an entry made elsewhere (such as a model's place in a model
    // library); the library takes it over and sets its owner.
    void addIndexEntry(libraryIndexEntry* entry);

    const std::vector<libraryIndexEntry*>& getIndexEntries() const { return indexEntries; }
    int32_t getBaseOffset() const { return baseOffset; }
    int getLibraryKind() const { return libraryKind; }
    void setLibraryKind(int kind) { libraryKind = kind; }
    workspace* getWorkspace() const { return libraryWorkspace; }

    // 0 none, 1 symbols, 2 models, 3 packages, 4 footprints (see
    // libraries/configuration.h).
    int libraryKind = 0;

private:
    void indexNames(libraryIndexEntry* entry);
    // size bytes from the pool, aligned for an entry; null when memory
    // runs out.
    void* fromPool(size_t size);
    libraryIndexEntry* linearSearch(const char* key) const;

    workspace* libraryWorkspace;
    std::vector<libraryIndexEntry*> indexEntries;
    // The first byte behind the index: entry offsets count from here.
    int32_t baseOffset = 0;
    // Each single name to its first entry, by open addressing over one
    // array: a scan asks a large library thousands of times, and a node per
    // name would cost a cache miss per probe. The names stay in the
    // entries, which live as long as the table; a name lies right behind its
    // entry, so a hit reads the slot and the entry's own memory.
    class nameTable {
    public:
        void clear();
        // Makes room for names more names without growing on the way.
        void reserve(size_t names);
        // Enters name for entry unless it is held already; hash is
        // hashOf(name).
        void add(std::string_view name, uint32_t hash, libraryIndexEntry* entry);
        static uint32_t hashOf(std::string_view name);
        // The hash of a name one character longer.
        static uint32_t hashOn(uint32_t hash, char c) { return (hash ^ static_cast<unsigned char>(c)) * 16777619u; }
        // The entry of name, or null; hash is hashOf(name).
        libraryIndexEntry* find(std::string_view name, uint32_t hash) const;
        // Fetches the memory that a look-up of a name of this hash reads first.
        void prefetch(uint32_t hash) const {
            if (!slots.empty()) __builtin_prefetch(&slots[hash & (slots.size() - 1)]);
        }

    private:
        // 16 bytes: the name is found in its entry's names, where it stands
        // at offset (names read from an index are short, lines being at
        // most 1023 bytes).
        struct slot {
            libraryIndexEntry* entry = nullptr; // null: empty
            uint32_t hash = 0;
            uint16_t length = 0;
            uint16_t offset = 0;
            const char* name() const { return entry->names + offset; }
        };
        void grow(size_t capacity);
        std::vector<slot> slots; // a power of two long, at most three quarters full
        size_t held = 0;
    };
    nameTable firstEntryOfName;
    // The entries read from the index and their texts, in blocks: a large
    // library has tens of thousands, and one allocation each would cost
    // more than reading them.
    std::vector<std::unique_ptr<char[]>> pool;
    char* poolUsedEnd = nullptr;
    size_t poolLeft = 0;
};
