// What a scan keeps of the libraries it reads, for the length of one scan.
//
// A schematic of twenty thousand parts uses a few thousand symbols, each
// many times over. Every use must leave the same traces in the lists (the
// library and package as dependencies, the view schematics, the usage
// records), but the disk and the workspace's items do not change under a
// scan, so what each use learns from them is learned once: the library
// streams stay open, each entry's views and package are taken from its text
// once, and each library file's library item is looked up once. All of it
// is forgotten when the outermost scan ends (beginLibraryReads and
// endLibraryReads in formats.h bracket each scan span: one scanFile, or a
// closure's scans of many files), and what is kept by
// the address of an index entry is also forgotten when any library frees
// its index.
//
// Contents:
//   1. The span, the library streams.
//   2. What an entry gave.
//   3. The library item of a library file.
//   4. Tidied paths; items recorded in a list.
#pragma once

#include <cstdio>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "paths/pathstring.h"

class DesignWorkspace;
class LibraryFileItem;
class fileItem;
struct libraryIndexEntry;

// ---------------------------------------------------------------------------
// 1. The span, the library streams
// ---------------------------------------------------------------------------

// Whether a scan is under way (between the outermost begin and end).
bool libraryReadsOpen();

// The stream of library, opened in binary, for reads at a place
// (kvReadAt). Within a scan it is kept open until the scan ends (at most
// 16 at once, the oldest closed first) and kept is set (the caller must not
// close it); outside one the caller closes it. Null when it does not open.
// Entries are read where they stand, each once: a design uses a few of a
// library's thousands, and a read of each costs less than reading the
// whole file, which would mostly be memory the scan never looks at.
FILE* libraryStream(LibraryFileItem* library, bool& kept);

// ---------------------------------------------------------------------------
// 2. What an entry gave
// ---------------------------------------------------------------------------

// What the text of one symbol entry gave, as seen from one workspace.
struct entryFacts {
    // The views: each schematic's item, and whether it goes to the system
    // dependencies. Known once the text was read without failure.
    bool viewsKnown = false;
    std::vector<std::pair<fileItem*, bool>> views;

    // The package: the name behind "component=" or "part=" in the
    // lower-cased text. Known once the text was read without failure.
    bool packageKnown = false;
    bool hasPackage = false;
    std::string packageName;
    // The package's entry in the package library beside the symbol
    // library, once found there (a miss is asked again at the next use).
    libraryIndexEntry* package = nullptr;
};

// What one symbol library's path is, and what the package library beside
// it is, as seen from one workspace: once found (a miss is asked again at
// the next use, since the workspace may gain the library meanwhile), its
// item, its full path tidied, and its item as a file once the path has
// been recorded.
struct packageLibraryFacts {
    // The symbol library's own path, tidied, once a part line has taken it
    // (empty before: a library's full path never is).
    pathstring symbolPath;
    LibraryFileItem* packages = nullptr;
    pathstring packagePath;
    fileItem* packageItem = nullptr;
};

// The facts kept for entry of library, read in workspace ws; created empty
// at the first ask. Null outside a scan.
entryFacts* factsOfEntry(DesignWorkspace* ws, LibraryFileItem* library, libraryIndexEntry* entry);
// The same for the package library beside library.
packageLibraryFacts* packageFactsOf(DesignWorkspace* ws, LibraryFileItem* library);

// ---------------------------------------------------------------------------
// 3. The library item of a library file
// ---------------------------------------------------------------------------

// The library item that addUsedLibrary gave for item in this scan, or null.
LibraryFileItem* rememberedLibraryOf(fileItem* item);
// Keeps it; does nothing outside a scan.
void rememberLibraryOf(fileItem* item, LibraryFileItem* library);

// ---------------------------------------------------------------------------
// 4. Tidied paths; items recorded in a list
// ---------------------------------------------------------------------------

// path = text, tidied (as pathstring's constructor tidies); within a scan
// each text is tidied once.
void assignTidied(pathstring& path, const char* text);

// The distinct libraries of list (a file's usedLibraries, which only
// grows, a library standing once for each use), in the order of their
// first place. Within a scan only the places added since the last ask are
// read; outside one the whole list is.
const std::vector<LibraryFileItem*>& librariesIn(const std::vector<fileItem*>& list);

// Whether item was recorded in list in this scan. The recording puts an
// item into a sorted list at every use of a symbol; once it stands there,
// the walk that finds its place is not needed again.
bool isRecordedIn(const std::list<fileItem*>& list, const fileItem* item);
// Keeps that item stands in list; does nothing outside a scan.
void rememberRecordedIn(const std::list<fileItem*>& list, const fileItem* item);
// Forgets what was kept of list: call it whenever list is emptied or loses
// an element.
void forgetRecordsIn(const std::list<fileItem*>& list);
