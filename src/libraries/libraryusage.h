// One use of a library entry by a design.
//
// A record names the library, the entry and the name by which the design
// asked for it. It is owned by the list in which it stands (the used
// symbols, models or packages of a file item); the entry stays owned by
// its library, so records have to go before the library releases its
// index.
#pragma once

#include <list>
#include <string>

class LibraryFileItem;
struct libraryIndexEntry;

class libraryUsage {
public:
    libraryUsage(LibraryFileItem* library_, libraryIndexEntry* entry_, const char* name_)
        : entry(entry_), library(library_), name(name_ ? name_ : "") {}

    libraryIndexEntry* entry;
    LibraryFileItem* library;
    std::string name;
    // Used by the writing of reduced libraries; 0 at creation.
    int state = 0;
};

typedef std::list<libraryUsage*> libraryUsageList;
