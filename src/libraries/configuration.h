// Where libraries and the files that designs name are found.
//
// The engine has one LibraryConfiguration, made by SetIniFileContext: the
// library path ("LIBPATH" of section "TARNEL" in the context's INI file)
// and the configured libraries ("LIB1", "LIB2", ... of sections "Part Libs"
// and "Special Libs" in the fixed file "tarnel91.ini"). searchPathForFile is
// the search for any name that a design text holds: the directory of the
// referring file first, then the library path.
//
// Contents:
//   1. libraryKind of a path.
//   2. LibraryConfiguration.
//   3. searchPathForFile.
#pragma once

#include <list>
#include <string>

#include "workspace/context.h"

class DesignWorkspace;
class InternalFunctionObject;
class LibraryFileItem;
class libraryUsage;
class pathstring;

// ---------------------------------------------------------------------------
// 1. Library kinds
// ---------------------------------------------------------------------------

// Kinds of library (LibraryFileItem::libraryKind).
enum {
    LibraryKindNone = 0,
    LibraryKindSymbols = 1,
    LibraryKindModels = 2,
    LibraryKindPackages = 3,
    LibraryKindFootprints = 4,
};

// The kind a path names, by the first of ".slb", ".plb", ".lib", ".flb"
// that the whole path holds anywhere, without regard to case (so a
// directory name can decide it); 0 for none.
int libraryKindOfPath(const char* path);

// ---------------------------------------------------------------------------
// 2. LibraryConfiguration
// ---------------------------------------------------------------------------

class LibraryConfiguration {
public:
    // Stores iniFile (null counts as empty) and getKey, loads, and calls
    // getKey if it is not null.
    LibraryConfiguration(const char* iniFile, iniKeyFunction getKey);
    // Deletes what the two teardown steps have left.
    ~LibraryConfiguration();

    // Takes a new INI file name (null counts as empty) and, if given, a new
    // getKey; loads again (and calls getKey) unless the libraries are loaded
    // and no name had been given before.
    void setIniFile(const char* iniFile, iniKeyFunction getKey);
    // Reads the library path and the configured libraries. Without a
    // "LIBPATH" nothing changes and the result is false. A second load adds
    // the libraries again behind the first ones. Returns whether "Part
    // Libs" had a row.
    bool load();
    // What the last load returned (false before any load ran).
    bool lastLoadResult() const { return lastLoad; }

    // Teardown, in this order: the library items, then the library
    // workspaces (which own nothing the items need by then).
    void deleteLibraryItems();
    void deleteLibraryWorkspaces();

    // The first part library whose full path equals path without regard to
    // case, or null.
    LibraryFileItem* findConfiguredLibrary(const char* path) const;
    // The first entry for name in the part libraries of symbols (of
    // packages), in their order, as a new libraryUsage that the caller
    // owns; the entry's owner is set to the library. Null if none has it.
    libraryUsage* findConfiguredSymbol(const char* name, InternalFunctionObject& op);
    libraryUsage* findConfiguredPackage(const char* name, InternalFunctionObject& op);

    // The hidden workspace of a library directory, made at the first
    // request. Null only when it could not be allocated.
    DesignWorkspace* getLibraryWorkspace(const char* directory);

    // Whether name is on the library path. A name with a directory part is
    // only tested for existence, and foundPath stays empty. Otherwise
    // foundPath receives the first directory + "\" + name that exists, or
    // the last one tried. foundPath has room for MAX_PATH bytes.
    bool existsOnLibraryPath(const char* name, char* foundPath);
    // Like existsOnLibraryPath, but a name with a directory part is tried
    // (once per directory of the path, so not at all without one), and on
    // success the workspace of the file's directory is given too.
    bool findOnLibraryPath(const char* name, char* foundPath, DesignWorkspace** workspace);

    // The library path: every directory in double quotes, ";" between them;
    // empty without one.
    const char* getSearchPath() const { return searchPath.c_str(); }
    const char* getIniFile() const { return iniFile.c_str(); }
    bool isLoaded() const { return loaded; }
    bool hasSpecialLibraries() const { return hasSpecialLibs; }
    const std::list<LibraryFileItem*>& getPartLibraries() const { return partLibraries; }
    const std::list<LibraryFileItem*>& getSpecialLibraries() const { return specialLibraries; }
    const std::list<DesignWorkspace*>& getLibraryWorkspaces() const { return libraryWorkspaces; }

    // The sizes of the fixed buffers of the INI values.
    static const unsigned searchPathSize = 3072;
    static const unsigned iniValueSize = 1024;

private:
    void addLibraryLine(const char* line);
    void addLibraryFile(const char* fileName);
    void addSpecialLibrary(const char* path);
    libraryUsage* findConfiguredEntry(const char* name, int kind, InternalFunctionObject& op);

    bool loaded = false;
    bool hasSpecialLibs = false;
    iniKeyFunction getKey = nullptr;
    std::string searchPath;
    std::string iniFile;
    std::list<LibraryFileItem*> partLibraries;
    std::list<LibraryFileItem*> specialLibraries;
    std::list<DesignWorkspace*> libraryWorkspaces;
    bool lastLoad = false;
};

// ---------------------------------------------------------------------------
// 3. searchPathForFile
// ---------------------------------------------------------------------------

// Finds a file that a design text names. baseDir (the directory of the
// referring file), searchPath (directories, ";" between them, each may be
// quoted) and defaultExt (with or without its dot) may be null.
//   - N >= 3 leading dots lead N - 1 levels up ("...\x" is "..\..\x");
//   - "/" counts as "\"; the name is made full against the current
//     directory; defaultExt is added when the name has no extension;
//   - a name with a drive or a leading "\\" is only checked;
//   - otherwise baseDir and then each directory of searchPath is tried.
// result receives the path found (a regular file), or, when none is found,
// the full path of the name itself with the default extension. A null name
// returns false and leaves result alone.
bool searchPathForFile(const char* baseDir, const char* searchPath, const char* name, const char* defaultExt,
                       pathstring& result);

// The same, telling each candidate path in the order tried (for the front
// end). tried may be null.
bool searchPathForFile(const char* baseDir, const char* searchPath, const char* name, const char* defaultExt,
                       pathstring& result, std::list<std::string>* tried);
