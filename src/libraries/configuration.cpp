// The library configuration and the searches along a list of directories.
//
// Format notes. INI values read here, each with the default "*"; a value
// that starts with "*" counts as missing:
//   [TARNEL]       LIBPATH   in the context's INI file: directories with ";"
//                            between them, each may stand in double quotes
//   [Part Libs]    LIB1 ...  in "tarnel91.ini": library lines, such as
//                            `MYLIB [.SLB,.PLB]`; read up to the first gap
//   [Special Libs] LIB1 ...  in "tarnel91.ini": paths of libraries
// A library line is words separated by blanks (double quotes protect
// blanks). The first word is the stem; the others, joined and lower-cased,
// are looked through for ".slb" and ".plb", each naming stem + that
// extension. The marker library "MARKER [.SLB]" is always configured first.
//
// Contents:
//   1. libraryKindOfPath.
//   2. Construction, loading, teardown.
//   3. Configured libraries and their workspaces.
//   4. The library path: existsOnLibraryPath, findOnLibraryPath.
//   5. searchPathForFile.
#include "libraries/configuration.h"

#include <cctype>
#include <cstring>
#include <new>
#include <vector>

#include "libraries/libraryitem.h"
#include "libraries/libraryusage.h"
#include "paths/pathstring.h"
#include "workspace/workspace.h"

// ---------------------------------------------------------------------------
// 1. libraryKindOfPath
// ---------------------------------------------------------------------------

int libraryKindOfPath(const char* path) {
    std::string lower = path ? path : "";
    for (char& c : lower) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    if (lower.find(".slb") != std::string::npos) return LibraryKindSymbols;
    if (lower.find(".plb") != std::string::npos) return LibraryKindPackages;
    if (lower.find(".lib") != std::string::npos) return LibraryKindModels;
    if (lower.find(".flb") != std::string::npos) return LibraryKindFootprints;
    return LibraryKindNone;
}

// ---------------------------------------------------------------------------
// 2. Construction, loading, teardown
// ---------------------------------------------------------------------------

// A value read with the default "*" that starts with "*" is missing.
static bool isMissing(const char* value) { return value[0] == '*'; }

// Text without its double quotes.
static std::string withoutQuotes(const std::string& text) {
    std::string result;
    for (char c : text)
        if (c != '"') result += c;
    return result;
}

LibraryConfiguration::LibraryConfiguration(const char* iniFile_, iniKeyFunction getKey_)
    : getKey(getKey_), iniFile(iniFile_ ? iniFile_ : "") {
    if (iniFile.size() >= iniValueSize) iniFile.resize(iniValueSize - 1);
    lastLoad = load();
    if (getKey) getKey();
}

LibraryConfiguration::~LibraryConfiguration() {
    deleteLibraryItems();
    deleteLibraryWorkspaces();
}

void LibraryConfiguration::setIniFile(const char* iniFile_, iniKeyFunction getKey_) {
    bool wasEmpty = iniFile.empty();
    iniFile = iniFile_ ? iniFile_ : "";
    if (iniFile.size() >= iniValueSize) iniFile.resize(iniValueSize - 1);
    if (getKey_) getKey = getKey_;
    if (loaded && wasEmpty) return;
    lastLoad = load();
    if (getKey) getKey();
}

// The values of LIB1, LIB2, ... of section in file, up to the first key
// that is missing.
static std::vector<std::string> numberedRows(const char* section, const std::string& file) {
    std::vector<std::string> rows;
    char key[32];
    char line[LibraryConfiguration::iniValueSize];
    for (int n = 1;; ++n) {
        snprintf(key, sizeof key, "LIB%d", n);
        GetPrivateProfileStringA(section, key, "*", line, sizeof line, file.c_str());
        if (isMissing(line)) return rows;
        rows.push_back(line);
    }
}

bool LibraryConfiguration::load() {
    char value[searchPathSize];
    GetPrivateProfileStringA("TARNEL", "LIBPATH", "*", value, sizeof value, iniFile.c_str());
    if (isMissing(value)) return false;

    searchPath.clear();
    TokenList directories(value, ";", '"', true);
    for (int i = 0; i < directories.count(); ++i) {
        pathstring directory(withoutQuotes(directories[i]).c_str()); // tidied on assignment
        if (!searchPath.empty()) searchPath += ";";
        searchPath += "\"" + directory + "\"";
    }

    addLibraryLine("MARKER [.SLB]");

    const std::string fixedFile = getDefaultIniFile();
    const std::vector<std::string> partRows = numberedRows("Part Libs", fixedFile);
    for (const std::string& row : partRows) addLibraryLine(row.c_str());
    loaded = true;

    const std::vector<std::string> specialRows = numberedRows("Special Libs", fixedFile);
    for (const std::string& row : specialRows)
        if (!row.empty()) addSpecialLibrary(row.c_str());
    hasSpecialLibs = !specialRows.empty();
    return !partRows.empty();
}

void LibraryConfiguration::addLibraryLine(const char* line) {
    TokenList words(line, " \t", '"', true);
    if (words.count() < 2) return;
    std::string stem = withoutQuotes(words[0]);
    std::string suffixes;
    for (int i = 1; i < words.count(); ++i) suffixes += words[i];
    for (char& c : suffixes) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    if (suffixes.find(".slb") != std::string::npos) addLibraryFile((stem + ".slb").c_str());
    if (suffixes.find(".plb") != std::string::npos) addLibraryFile((stem + ".plb").c_str());
}

void LibraryConfiguration::addLibraryFile(const char* fileName) {
    char path[MAX_PATH * 2];
    DesignWorkspace* workspace = nullptr;
    if (!findOnLibraryPath(fileName, path, &workspace) || !workspace) return;
    WIN32_FIND_DATA found;
    HANDLE find = FindFirstFileA(path, &found);
    if (find == INVALID_HANDLE_VALUE) return;
    LibraryFileItem* item = new (std::nothrow) LibraryFileItem(found, workspace->getDirectory(), workspace);
    if (item) {
        item->setLibraryKind(libraryKindOfPath(path));
        item->determineType();
        partLibraries.push_back(item);
    }
    FindClose(find);
}

void LibraryConfiguration::addSpecialLibrary(const char* path_) {
    pathstring path(path_); // tidied on assignment
    WIN32_FIND_DATA found;
    HANDLE find = FindFirstFileA(path.c_str(), &found);
    bool exists = find != INVALID_HANDLE_VALUE;
    if (exists) {
        FindClose(find);
    } else {
        // A special library is configured even where there is no such file.
        memset(&found, 0, sizeof found);
        std::string base = path.getBase();
        snprintf(found.cFileName, sizeof found.cFileName, "%s", base.c_str());
    }
    DesignWorkspace* workspace = getLibraryWorkspace(path.getPath().c_str());
    LibraryFileItem* item =
        new (std::nothrow) LibraryFileItem(found, workspace ? workspace->getDirectory() : "", workspace);
    if (!item) return;
    item->setExists(exists);
    item->setLibraryKind(LibraryKindSymbols);
    item->determineType();
    specialLibraries.push_back(item);
}

void LibraryConfiguration::deleteLibraryItems() {
    for (LibraryFileItem* item : partLibraries) delete item;
    partLibraries.clear();
    for (LibraryFileItem* item : specialLibraries) delete item;
    specialLibraries.clear();
}

void LibraryConfiguration::deleteLibraryWorkspaces() {
    for (DesignWorkspace* workspace : libraryWorkspaces) delete workspace;
    libraryWorkspaces.clear();
}

// ---------------------------------------------------------------------------
// 3. Configured libraries and their workspaces
// ---------------------------------------------------------------------------

LibraryFileItem* LibraryConfiguration::findConfiguredLibrary(const char* path) const {
    if (!path) return nullptr;
    for (LibraryFileItem* item : partLibraries)
        if (_stricmp(item->getFullPath(), path) == 0) return item;
    return nullptr;
}

libraryUsage* LibraryConfiguration::findConfiguredEntry(const char* name, int kind, InternalFunctionObject& op) {
    for (LibraryFileItem* library : partLibraries) {
        if (library->getLibraryKind() != kind) continue;
        libraryIndexEntry* entry = library->findIndexEntry(name, op);
        if (!entry) continue;
        entry->owner = library;
        return new (std::nothrow) libraryUsage(library, entry, name);
    }
    return nullptr;
}

libraryUsage* LibraryConfiguration::findConfiguredSymbol(const char* name, InternalFunctionObject& op) {
    return findConfiguredEntry(name, LibraryKindSymbols, op);
}

libraryUsage* LibraryConfiguration::findConfiguredPackage(const char* name, InternalFunctionObject& op) {
    return findConfiguredEntry(name, LibraryKindPackages, op);
}

DesignWorkspace* LibraryConfiguration::getLibraryWorkspace(const char* directory_) {
    pathstring directory(directory_ ? directory_ : ""); // tidied on assignment
    std::string wanted = directory + "\\";
    for (DesignWorkspace* workspace : libraryWorkspaces)
        if (workspace && _stricmp(workspace->getDirectory(), wanted.c_str()) == 0) return workspace;
    DesignWorkspace* workspace = new (std::nothrow) DesignWorkspace(wanted.c_str());
    libraryWorkspaces.push_back(workspace);
    return workspace;
}

// ---------------------------------------------------------------------------
// 4. The library path
// ---------------------------------------------------------------------------

// Copies text into a MAX_PATH buffer, cut to fit.
static void copyPath(char* buffer, const std::string& text) { snprintf(buffer, MAX_PATH, "%s", text.c_str()); }

static bool statExists(const char* path) {
    struct _stat info;
    return _stat(path, &info) == 0;
}

bool LibraryConfiguration::existsOnLibraryPath(const char* name, char* foundPath) {
    foundPath[0] = 0;
    if (!name) return false;
    TokenList directories(searchPath.c_str(), ";", '"', true);
    pathstring named{std::string(name)}; // as given
    if (!named.getPath().empty()) return statExists(name);
    for (int i = 0; i < directories.count(); ++i) {
        std::string candidate = withoutQuotes(directories[i]) + "\\" + name;
        copyPath(foundPath, candidate);
        if (statExists(candidate.c_str())) return true;
    }
    return false;
}

bool LibraryConfiguration::findOnLibraryPath(const char* name, char* foundPath, DesignWorkspace** workspace) {
    foundPath[0] = 0;
    if (!name) return false;
    TokenList directories(searchPath.c_str(), ";", '"', true);
    pathstring named{std::string(name)}; // as given
    std::string ownDirectory = named.getPath();
    for (int i = 0; i < directories.count(); ++i) {
        std::string directory = withoutQuotes(directories[i]);
        std::string candidate = ownDirectory.empty() ? directory + "\\" + name : std::string(name);
        if (!statExists(candidate.c_str())) continue;
        DesignWorkspace* found = getLibraryWorkspace(ownDirectory.empty() ? directory.c_str() : ownDirectory.c_str());
        if (workspace) *workspace = found;
        copyPath(foundPath, candidate);
        return true;
    }
    return false;
}

// ---------------------------------------------------------------------------
// 5. searchPathForFile
// ---------------------------------------------------------------------------

// The full form of a name: "/" as "\", doubled separators collapsed (a
// leading pair stays), absolute against the current directory.
static std::string fullName(const std::string& name) {
    std::string text;
    for (size_t i = 0; i < name.size(); ++i) {
        char c = name[i] == '/' ? '\\' : name[i];
        if (c == '\\' && i >= 1 && !text.empty() && text.back() == '\\' && text.size() > 1) continue;
        text += c;
    }
    char full[520];
    DWORD length = GetFullPathNameA(text.c_str(), sizeof full, full, nullptr);
    if (length == 0 || length >= sizeof full) return text;
    return full;
}

static bool isRegularFile(const std::string& path) {
    DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool searchPathForFile(const char* baseDir, const char* searchPath, const char* name, const char* defaultExt,
                       pathstring& result) {
    return searchPathForFile(baseDir, searchPath, name, defaultExt, result, nullptr);
}

bool searchPathForFile(const char* baseDir, const char* searchPath, const char* name_, const char* defaultExt,
                       pathstring& result, std::list<std::string>* tried) {
    if (!name_) return false;
    std::string name = name_;
    size_t dots = 0;
    while (dots < name.size() && name[dots] == '.') ++dots;
    if (dots >= 3) {
        // N dots lead N - 1 levels up.
        std::string up;
        for (size_t i = 0; i < dots - 2; ++i) up += "..\\";
        name = up + name.substr(dots - 2);
    }
    const bool hasDrive = name.size() >= 2 && name[1] == ':';
    const bool isUNC = name.size() >= 2 && (name[0] == '\\' || name[0] == '/') && (name[1] == '\\' || name[1] == '/');
    const bool withDefaultExt = defaultExt && *defaultExt;
    // The full form of the name itself, which a relative name without a
    // default extension needs only when no directory of the list has it:
    // a scan looks up many such names, and each full form asks for the
    // current directory.
    std::string full;
    if (withDefaultExt || hasDrive || isUNC) full = fullName(name);

    std::string extension;
    if (withDefaultExt) {
        pathstring asPath{std::string(full)};
        if (asPath.getExt().empty()) {
            extension = defaultExt[0] == '.' ? defaultExt : std::string(".") + defaultExt;
            full += extension;
        }
    }

    if (hasDrive || isUNC) {
        if (tried) tried->push_back(full);
        result = pathstring(full);
        return isRegularFile(full);
    }

    std::string list;
    if (baseDir && *baseDir) list = baseDir;
    if (searchPath && *searchPath) {
        if (!list.empty()) list += ";";
        list += searchPath;
    }
    TokenList directories(list.c_str(), ";", '"', true);
    for (int i = 0; i < directories.count(); ++i) {
        std::string candidate = fullName(withoutQuotes(directories[i]) + "\\" + name + extension);
        if (tried) tried->push_back(candidate);
        if (isRegularFile(candidate)) {
            result = pathstring(candidate);
            return true;
        }
    }
    if (!withDefaultExt) full = fullName(name);
    result = pathstring(full);
    return false;
}
