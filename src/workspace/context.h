// The engine context: what is global to the engine rather than to a
// workspace.
//
// Contents:
//   1. Library start-up and shutdown: the module handle, the attach count
//      and the entry point that the library's load and unload run.
//   2. The INI context: SetIniFileContext, GetIniFileContext,
//      RemoveIniFileContext, and the one library configuration they manage.
//   3. The externals subdirectory: the name of the directory that takes
//      external files in a copy.
//   4. Questions about libraries: isPartLib, isSystemLibraryPath.
//   5. Helpers for the other subsystems: profile reading, string copies,
//      TokenList, parseListEntry, removeDirectoryTree.
//
// The engine only reads INI files: nothing here writes one.
#pragma once

#include <string>
#include <vector>

#include "kv_export.h"
#include "platform/platform.h"

class fileItem;
class LibraryConfiguration;

// ---------------------------------------------------------------------------
// 1. Start-up and shutdown
// ---------------------------------------------------------------------------

// Reasons for which the entry point runs (the Win32 values).
#define DLL_PROCESS_DETACH 0
#define DLL_PROCESS_ATTACH 1
#define DLL_THREAD_ATTACH 2
#define DLL_THREAD_DETACH 3

// The engine's own module; every LoadStringA and LoadImageA of the engine
// uses it. Null until the library has started.
extern HMODULE moduleHandle;
// Process attachments minus detachments.
extern int attachCount;

// The library's entry point. Process attach stores module as moduleHandle
// and counts up; process detach counts down and, at the last detach,
// drops the library configuration (as RemoveIniFileContext does) and puts
// the externals subdirectory back to "sys_libs". Thread attach and detach
// do nothing. Always returns TRUE. src/resources/module.cpp calls it when
// the library is loaded and unloaded.
BOOL engineEntryPoint(HMODULE module, DWORD reason);

// ---------------------------------------------------------------------------
// 2. The INI context
// ---------------------------------------------------------------------------

// The function a client hands to SetIniFileContext; the configuration calls
// it after each load of the INI files. The engine ignores its result.
typedef int (*iniKeyFunction)();

// The name of the INI file that describes the installation. A non-empty
// name replaces the stored one; a null or empty name keeps it. The first
// call makes the library configuration from the INI files; every later
// call reloads it and throws away the cached scan results of every open
// workspace, whose answers about libraries may now differ. getKey may be
// null; it is handed to the configuration, never called here.
KVENG_API void SetIniFileContext(const char* iniFile, iniKeyFunction getKey);
// The name last given to SetIniFileContext, or null if none was.
KVENG_API const char* GetIniFileContext();
// Drops the library configuration, if any. The stored name stays, and so
// does every workspace with the localities its items got.
KVENG_API void RemoveIniFileContext();

// The library configuration, or null before the first SetIniFileContext and
// after RemoveIniFileContext.
LibraryConfiguration* getLibraryConfiguration();

// ---------------------------------------------------------------------------
// 3. The externals subdirectory
// ---------------------------------------------------------------------------

// Stores a copy of name; a null or empty name (or a copy that cannot be
// made) restores the default "sys_libs".
KVENG_API void SetNameOfExternalsSubdirectory(const char* name);
// The current name; "sys_libs" unless a name was set.
KVENG_API const char* GetNameOfExternalsSubdirectory();

// ---------------------------------------------------------------------------
// 4. Questions about libraries
// ---------------------------------------------------------------------------

// Whether path is one of the configured part libraries (compared without
// regard to case). False without a library configuration.
KVENG_API bool isPartLib(const char* path);
// The same for an item's full path.
KVENG_API bool isPartLib(const fileItem* item);
// Whether directory, which must end in a backslash, is exactly one of the
// directories of the library path (without regard to case). A subdirectory
// of one does not count. False without a library configuration.
KVENG_API bool isSystemLibraryPath(const char* directory);

// ---------------------------------------------------------------------------
// 5. Helpers
// ---------------------------------------------------------------------------

// The fixed INI file of the installation, "tarnel91.ini". As a bare name it
// is found where the platform layer puts bare INI names ($KVENG_WINDIR, ...).
std::string getDefaultIniFile();

// The default of a whole-file read: a text so odd that a caller can tell
// that nothing was found.
extern const char profileSentinel[];

// Reads from iniFile, or from getDefaultIniFile() when iniFile is null.
// A null section lists the section names (defaultText and key ignored, the
// sentinel as default); a null key lists the keys of section (buffer's first
// byte is cleared first); otherwise the value of key. Returns what
// GetPrivateProfileStringA returned; buffer (of size bytes) receives the text.
int readProfileString(const char* section, const char* key, const char* defaultText, char* buffer,
                      unsigned size, const char* iniFile);

// A heap copy of text (free with delete[]); null for null.
char* duplicateString(const char* text);

// A text broken into tokens at any of a set of separator characters.
// A quote character turns a quoted stretch on and off; a separator inside
// one does not split, and the quotes stay in the token. With skipEmpty,
// adjacent separators give no empty token; without it an empty token
// stands between them (and at either end). An empty text or an empty set
// of separators gives no tokens.
class TokenList {
public:
    // quote 0: no quote character.
    TokenList(const char* text, const char* separators, char quote, bool skipEmpty);

    int count() const { return static_cast<int>(tokens.size()); }
    // The token at index, or the empty string outside the list.
    const std::string& get(int index) const;
    const std::string& operator[](int index) const { return get(index); }

private:
    std::string text;
    std::string separators;
    char quote;
    bool skipEmpty;
    std::vector<std::string> tokens;
};

// Takes a line of a name followed by a bracketed pair of suffixes, such as
// `lib [.slb, .plb]`, apart. Without a list part, first gets the whole
// text. Otherwise first and second (each if not empty) get the name with
// the first and the second suffix appended, blanks stripped. Always 0.
int parseListEntry(const char* text, std::string& first, std::string& second);

// The answers of a removeDirectoryTree confirmation.
enum deleteConfirmAnswer {
    DeleteYes = 0,      // delete this one, ask again for the next
    DeleteNo = 1,       // keep this file; a directory asked about stays whole
    DeleteYesToAll = 2, // delete this and everything after without asking
    DeleteCancel = 3,   // stop at once
};
// Asked with the path of a directory or file about to go; returns an answer
// of deleteConfirmAnswer.
typedef int (*deleteConfirmFunction)(const char* path);

// The result of removeDirectoryTree when anything could not be removed.
#define REMOVE_TREE_FAILED 0x650001u

// Removes directory (an engine path without trailing backslash) with all
// that lies beneath it. The last answer of confirm is kept for the whole
// process (resetDeleteAnswer forgets it):
//   - without confirm the answer becomes "yes to all" and everything goes;
//   - with confirm and no answer yet (or "yes"), the directory itself is
//     asked about; after "no" or "cancel" the call returns 0 and removes
//     nothing;
//   - each file is asked about until the answer is "yes to all"; a file
//     answered "no" stays (and so does its directory, which then fails to
//     go), "cancel" stops the walk.
// A link to a directory is removed as a link; what it points to is never
// entered. Returns 0, or REMOVE_TREE_FAILED when an entry could not be
// listed or removed (a read-only file, a directory left non-empty); the
// walk stops at the first failure.
unsigned removeDirectoryTree(const std::string& directory, deleteConfirmFunction confirm);
// Forgets the last answer, so that the next removal asks again.
void resetDeleteAnswer();
