// The engine context: global state, the library's entry point, the INI
// context and the small helpers shared by the other subsystems.
//
// Contents:
//   1. Start-up and shutdown.
//   2. The INI context and the library configuration.
//   3. The externals subdirectory.
//   4. Questions about libraries.
//   5. Profiles and strings.
//   6. TokenList and parseListEntry.
//   7. removeDirectoryTree.
#include "workspace/context.h"

#include <cctype>
#include <cstring>
#include <new>

#include "libraries/configuration.h"
#include "paths/pathstring.h"
#include "vocabulary/filetypes.h"
#include "workspace/fileitem.h"

// Defined with the library side of the workspace: every open workspace
// throws away its cached scan results, dependencies included.
void discardScanResultsOfOpenWorkspaces();

// ---------------------------------------------------------------------------
// 1. Start-up and shutdown
// ---------------------------------------------------------------------------

HMODULE moduleHandle = nullptr;
int attachCount = 0;

static const char defaultExternalsSubdirectory[] = "sys_libs";
static const char* externalsSubdirectory = defaultExternalsSubdirectory;

static void freeExternalsSubdirectory() {
    if (externalsSubdirectory != defaultExternalsSubdirectory) delete[] externalsSubdirectory;
    externalsSubdirectory = defaultExternalsSubdirectory;
}

BOOL engineEntryPoint(HMODULE module, DWORD reason) {
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        moduleHandle = module;
        ++attachCount;
        break;
    case DLL_PROCESS_DETACH:
        if (attachCount-- == 1) {
            RemoveIniFileContext();
            freeExternalsSubdirectory();
        }
        break;
    default: // thread attach and detach
        break;
    }
    return TRUE;
}

// ---------------------------------------------------------------------------
// 2. The INI context
// ---------------------------------------------------------------------------

static char* iniFileContext = nullptr;
static LibraryConfiguration* libraryConfiguration = nullptr;
// What the last load said about "Part Libs"; nothing reads it.
static bool partLibrariesLoaded = false;

void SetIniFileContext(const char* iniFile, iniKeyFunction getKey) {
    if (iniFile && *iniFile) {
        delete[] iniFileContext;
        iniFileContext = duplicateString(iniFile);
    }
    if (!libraryConfiguration) {
        libraryConfiguration = new (std::nothrow) LibraryConfiguration(iniFile, getKey);
        if (libraryConfiguration) partLibrariesLoaded = libraryConfiguration->lastLoadResult();
        return;
    }
    libraryConfiguration->setIniFile(iniFile, getKey);
    partLibrariesLoaded = libraryConfiguration->lastLoadResult();
    // The answers about libraries may have changed under every workspace.
    discardScanResultsOfOpenWorkspaces();
}

const char* GetIniFileContext() { return iniFileContext; }

void RemoveIniFileContext() {
    if (!libraryConfiguration) return;
    libraryConfiguration->deleteLibraryItems();
    libraryConfiguration->deleteLibraryWorkspaces();
    delete libraryConfiguration;
    libraryConfiguration = nullptr;
}

LibraryConfiguration* getLibraryConfiguration() { return libraryConfiguration; }

// ---------------------------------------------------------------------------
// 3. The externals subdirectory
// ---------------------------------------------------------------------------

void SetNameOfExternalsSubdirectory(const char* name) {
    freeExternalsSubdirectory();
    if (!name || !*name) return;
    if (const char* copy = duplicateString(name)) externalsSubdirectory = copy;
}

const char* GetNameOfExternalsSubdirectory() { return externalsSubdirectory; }

// ---------------------------------------------------------------------------
// 4. Questions about libraries
// ---------------------------------------------------------------------------

bool isPartLib(const char* path) {
    if (!libraryConfiguration || !path) return false;
    return libraryConfiguration->findConfiguredLibrary(path) != nullptr;
}

bool isPartLib(const fileItem* item) {
    if (!libraryConfiguration || !item) return false;
    return isPartLib(const_cast<fileItem*>(item)->getFullPath());
}

bool isSystemLibraryPath(const char* directory) {
    if (!libraryConfiguration || !directory) return false;
    TokenList entries(libraryConfiguration->getSearchPath(), ";", '"', true);
    for (int i = 0; i < entries.count(); ++i) {
        pathstring entry(entries[i].c_str()); // tidied on assignment
        entry.tidyUp(false);
        std::string withSlash = entry + "\\";
        if (_stricmp(withSlash.c_str(), directory) == 0) return true;
    }
    return false;
}

// ---------------------------------------------------------------------------
// 5. Profiles and strings
// ---------------------------------------------------------------------------

const char profileSentinel[] = "+++___~~~!!!@@@###$$$%%%^^^&&&";

std::string getDefaultIniFile() { return "tarnel91.ini"; }

int readProfileString(const char* section, const char* key, const char* defaultText, char* buffer,
                      unsigned size, const char* iniFile) {
    std::string fallback;
    if (!iniFile) {
        fallback = getDefaultIniFile();
        iniFile = fallback.c_str();
    }
    if (!section)
        return static_cast<int>(GetPrivateProfileStringA(nullptr, nullptr, profileSentinel, buffer, size, iniFile));
    if (!key) {
        if (buffer && size) buffer[0] = 0;
        return static_cast<int>(GetPrivateProfileStringA(section, nullptr, defaultText, buffer, size, iniFile));
    }
    return static_cast<int>(GetPrivateProfileStringA(section, key, defaultText, buffer, size, iniFile));
}

char* duplicateString(const char* text) {
    if (!text) return nullptr;
    size_t length = strlen(text) + 1;
    char* copy = new (std::nothrow) char[length];
    if (copy) memcpy(copy, text, length);
    return copy;
}

// ---------------------------------------------------------------------------
// 6. TokenList and parseListEntry
// ---------------------------------------------------------------------------

TokenList::TokenList(const char* text_, const char* separators_, char quote_, bool skipEmpty_)
    : text(text_ ? text_ : ""), separators(separators_ ? separators_ : ""), quote(quote_),
      skipEmpty(skipEmpty_) {
    if (text.empty() || separators.empty()) return;
    std::string token;
    bool quoted = false;
    for (char c : text) {
        if (quote && c == quote) {
            quoted = !quoted;
            token += c;
        } else if (!quoted && c && separators.find(c) != std::string::npos) {
            if (!token.empty() || !skipEmpty) tokens.push_back(token);
            token.clear();
        } else {
            token += c;
        }
    }
    if (!token.empty() || !skipEmpty) tokens.push_back(token);
}

const std::string& TokenList::get(int index) const {
    static const std::string none;
    return index >= 0 && index < count() ? tokens[static_cast<size_t>(index)] : none;
}

static std::string stripBlanks(const std::string& text) {
    size_t begin = 0, end = text.size();
    while (begin < end && isspace(static_cast<unsigned char>(text[begin]))) ++begin;
    while (end > begin && isspace(static_cast<unsigned char>(text[end - 1]))) --end;
    return text.substr(begin, end - begin);
}

int parseListEntry(const char* text, std::string& first, std::string& second) {
    std::string whole = text ? text : "";
    TokenList words(whole.c_str(), " \t\n[]", '"', true);
    if (words.count() < 2 || words[1].empty()) {
        first = whole;
        return 0;
    }
    std::string listPart = words[1];
    if (words.count() > 2) {
        size_t after = words[0].size();
        size_t open = whole.find('[', after);
        if (open != std::string::npos) {
            size_t close = whole.rfind(']');
            size_t end = close != std::string::npos && close > open ? close : whole.size();
            listPart = whole.substr(open + 1, end - open - 1);
        } else {
            listPart = after < whole.size() ? whole.substr(after) : std::string();
        }
    }
    TokenList suffixes(listPart.c_str(), ",", '"', false);
    std::string values[2];
    if (suffixes.count() >= 1) values[0] = stripBlanks(suffixes[0]);
    if (suffixes.count() >= 2) values[1] = stripBlanks(suffixes[1]);
    if (!values[0].empty()) first = words[0] + values[0];
    if (!values[1].empty()) second = words[0] + values[1];
    return 0;
}

// ---------------------------------------------------------------------------
// 7. removeDirectoryTree
// ---------------------------------------------------------------------------

// The last answer of a confirmation; kept across calls.
static int deleteAnswer = DeleteYes;

void resetDeleteAnswer() { deleteAnswer = DeleteYes; }

unsigned removeDirectoryTree(const std::string& directory, deleteConfirmFunction confirm) {
    if (!confirm) {
        deleteAnswer = DeleteYesToAll;
    } else {
        if (deleteAnswer == DeleteYes) deleteAnswer = confirm(directory.c_str());
        if (deleteAnswer == DeleteNo || deleteAnswer == DeleteCancel) return 0;
    }
    WIN32_FIND_DATAA entry;
    std::string pattern = directory + "\\*.*";
    HANDLE find = FindFirstFileA(pattern.c_str(), &entry);
    if (find == INVALID_HANDLE_VALUE) return REMOVE_TREE_FAILED;
    unsigned result = 0;
    for (;;) {
        std::string path = directory + "\\" + entry.cFileName;
        bool isDot = strcmp(entry.cFileName, ".") == 0 || strcmp(entry.cFileName, "..") == 0;
        if (isDot) {
            // nothing to do
        } else if (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT &&
                   entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
            // A link to a directory goes as a link; its target is not ours.
            if (!RemoveDirectoryA(path.c_str())) result = REMOVE_TREE_FAILED;
        } else if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
            result = removeDirectoryTree(path, confirm);
        } else {
            bool remove = true;
            if (deleteAnswer != DeleteYesToAll) {
                deleteAnswer = confirm ? confirm(path.c_str()) : DeleteYesToAll;
                remove = deleteAnswer == DeleteYes || deleteAnswer == DeleteYesToAll;
            }
            if (remove && !DeleteFileA(path.c_str())) result = REMOVE_TREE_FAILED;
        }
        if (result != 0 || deleteAnswer == DeleteCancel) break;
        if (!FindNextFileA(find, &entry)) {
            if (GetLastError() != ERROR_NO_MORE_FILES) result = REMOVE_TREE_FAILED;
            break;
        }
    }
    FindClose(find);
    // After a cancel the directory is not empty, unless the cancel came at
    // its last entry; either way the attempt tells.
    if (!RemoveDirectoryA(directory.c_str())) result = REMOVE_TREE_FAILED;
    return result;
}
