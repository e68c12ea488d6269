// LibraryFileItem: reading a library's index and finding a name in it.
//
// Format notes. The index is a run of lines at the head of the file:
//
//   symloc <names>[:<parent>] <offset> <size> [b]
//
//   - "symloc" is compared over its 6 characters without regard to case; the
//     rest of the line is read from its 8th character with "%s %d %d %c".
//   - <names>: one word, names with "," between them; ":" and the name of
//     the entry this one derives from ("ako" parent) may follow.
//   - <offset>: decimal, counted from the first byte behind the index (the
//     start of the first line after the last "symloc" line); <size>: bytes.
//     Both come 8 wide in symbol libraries, plain where a reduced library
//     was written.
//   - "b" as the last field marks a block; anything else, or nothing, not.
// Lines ahead of the first "symloc" line are passed over. A line whose
// numbers cannot be read keeps the numbers of the line before. A name field
// that starts with ":" gives no entry but does start the index. A file that
// ends with an index line and a line feed has its last line read twice
// (the read at the end leaves the buffer as it was), so the last entry
// stands twice; a look-up meets the first copy.
//
// Contents:
//   1. Construction and destruction.
//   2. Reading the index.
//   3. Look-up, release.
#include "libraries/libraryitem.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "operations/operation.h"
#include "workspace/context.h"

// ---------------------------------------------------------------------------
// 1. Construction and destruction
// ---------------------------------------------------------------------------

LibraryFileItem::LibraryFileItem(const WIN32_FIND_DATA& found, const char* directory, workspace* owner)
    : DesignFileItem(found, directory, owner), libraryWorkspace(owner) {}

LibraryFileItem::~LibraryFileItem() {
    releaseIndex();
    std::vector<libraryIndexEntry*>().swap(indexEntries);
}

bool LibraryFileItem::isSystemLibrary() { return isSystem(); }

// ---------------------------------------------------------------------------
// 2. Reading the index
// ---------------------------------------------------------------------------

static const char indexKeyword[] = "symloc";
static const size_t lineSize = 1024;

void LibraryFileItem::generateIndexList() {
    const char* path = getFullPath();
    FILE* file = kvFopen(path, "rb");
    kvTrace("LibraryFileItem::generateIndexList() for %s\n", path);
    if (!file) return;
    char line[lineSize] = "";
    char name[lineSize];
    int offset = 0, size = 0;
    bool inIndex = false;
    bool ended = false;
    // The position behind the last line read is asked once, where the loop
    // ends: a seek per line would cost more than the reading.
    while (!feof(file)) {
        // At the end fgets fails and leaves line as it was: the last line
        // is parsed once more, as the format notes say.
        if (!fgets(line, sizeof line, file) && ferror(file)) break;
        if (_strnicmp(line, indexKeyword, 6) != 0) {
            if (!inIndex) continue;
            // The start of this line: what the offsets count from.
            baseOffset = static_cast<int32_t>(ftell(file)) - static_cast<int32_t>(strlen(line));
            ended = true;
            break;
        }
        name[0] = 0;
        char mark = 0;
        // The fields start behind "symloc" and one separator.
        if (strlen(line) > 7) sscanf(line + 7, "%1023s %d %d %c", name, &offset, &size, &mark);
        inIndex = true;
        char* parent = strchr(name, ':');
        if (parent) *parent++ = 0;
        if (!name[0]) continue;
        libraryIndexEntry* entry = new (std::nothrow) libraryIndexEntry;
        if (!entry) break;
        size_t length = strlen(name) + 3;
        entry->names = new (std::nothrow) char[length];
        if (!entry->names) {
            delete entry;
            break;
        }
        snprintf(entry->names, length, ",%s,", name);
        _strlwr(entry->names);
        entry->parent = parent ? duplicateString(parent) : nullptr;
        entry->offset = offset;
        entry->size = size;
        entry->isBlock = mark == 'b';
        entry->owner = this;
        indexEntries.push_back(entry);
        indexNames(indexEntries.size() - 1);
    }
    if (!ended) baseOffset = static_cast<int32_t>(ftell(file));
    fclose(file);
}

// Enters each single name of the entry at position into the map, unless an
// earlier entry holds it already.
void LibraryFileItem::indexNames(size_t position) {
    const char* names = indexEntries[position]->names;
    if (!names) return;
    // names is ",a,b,": every name stands between two commas.
    const char* start = names + 1;
    for (const char* comma; (comma = strchr(start, ',')) != nullptr; start = comma + 1)
        firstEntryOfName.emplace(std::string_view(start, static_cast<size_t>(comma - start)), position);
}

void LibraryFileItem::addIndexEntry(libraryIndexEntry* entry) {
    if (!entry) return;
    entry->owner = this;
    indexEntries.push_back(entry);
    indexNames(indexEntries.size() - 1);
}

// ---------------------------------------------------------------------------
// 3. Look-up, release
// ---------------------------------------------------------------------------

// The first entry whose names hold key as a substring.
libraryIndexEntry* LibraryFileItem::linearSearch(const char* key) const {
    for (libraryIndexEntry* entry : indexEntries)
        if (entry->names && strstr(entry->names, key)) return entry;
    return nullptr;
}

libraryIndexEntry* LibraryFileItem::findIndexEntry(const char* name, InternalFunctionObject& op) {
    if (indexEntries.empty()) {
        op.reportAction(KVE_callBackAction::SearchingLibrary, "", this);
        generateIndexList();
    }
    char key[lineSize];
    snprintf(key, sizeof key, ",%s,", name ? name : "");
    _strlwr(key);
    size_t length = strlen(key);
    // A key of one name between its two commas matches a whole name of an
    // entry, which the map answers. A name that holds a comma itself, or
    // one cut short by the buffer, can match across names: those take the
    // walk in file order.
    bool plain = length >= 2 && key[length - 1] == ',' && !memchr(key + 1, ',', length - 2);
    if (!plain) return linearSearch(key);
    auto found = firstEntryOfName.find(std::string_view(key + 1, length - 2));
    return found == firstEntryOfName.end() ? nullptr : indexEntries[found->second];
}

void LibraryFileItem::releaseIndex() {
    for (libraryIndexEntry* entry : indexEntries) {
        delete[] entry->names;
        delete[] entry->parent;
        delete entry;
    }
    indexEntries.clear();
    firstEntryOfName.clear();
}
