// Attributes, directories, the current directory and temporary names.
//
//   1. GetFileAttributesA, SetFileAttributesA, GetShortPathNameA
//   2. CreateDirectoryA, RemoveDirectoryA
//   3. SetCurrentDirectoryA (GetCurrentDirectoryA is in fullpath.cpp)
//   4. GetTempPathA, GetTempFileNameA
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "platform/hostcalls.h"
#include "platform/internal.h"

// ---------------------------------------------------------------------------
// 1. Attributes
// ---------------------------------------------------------------------------

DWORD GetFileAttributesA(const char* path) {
    HostFile f = kvResolve(path);
    if (!f.found()) {
        f.fail();
        return INVALID_FILE_ATTRIBUTES;
    }
    struct statx target;
    bool points = kvStatTarget(f, target);
    return kvAttributesOf(f.st, points && S_ISLNK(f.st.stx_mode) ? &target : nullptr);
}

BOOL SetFileAttributesA(const char* path, DWORD attributes) {
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    HostFile f = kvResolve(path);
    if (!f.found()) {
        f.fail();
        return FALSE;
    }
    struct statx target;
    if (!kvStatTarget(f, target)) {
        kvSetErrno(errno);
        return FALSE;
    }
    // Read-only on a directory has no meaning for Windows' own rules (it
    // does not stop files being made in it); on Linux it would, so it is
    // left alone. Only regular files change.
    if (!S_ISREG(target.stx_mode)) return TRUE;
    mode_t mode = target.stx_mode & 07777;
    mode_t wanted = (attributes & FILE_ATTRIBUTE_READONLY) ? mode & ~0222 : mode | S_IWUSR;
    if (wanted == mode) return TRUE;
    if (hostChmod(f.host.c_str(), wanted) != 0) {
        kvSetErrno(errno);
        return FALSE;
    }
    return TRUE;
}

DWORD GetShortPathNameA(const char* longPath, char* shortPath, DWORD size) {
    if (!longPath) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    HostFile f = kvResolve(longPath);
    if (!f.found()) {
        f.fail();
        return 0;
    }
    size_t length = strlen(longPath);
    if (length + 1 > size || !shortPath) return static_cast<DWORD>(length + 1);
    memmove(shortPath, longPath, length + 1);
    return static_cast<DWORD>(length);
}

// ---------------------------------------------------------------------------
// 2. Directories
// ---------------------------------------------------------------------------

BOOL CreateDirectoryA(const char* path, void*) {
    HostFile f = kvResolve(path);
    if (f.found()) {
        SetLastError(ERROR_ALREADY_EXISTS);
        return FALSE;
    }
    if (f.status != HostFile::LastMissing) {
        f.fail();
        return FALSE;
    }
    if (hostMkdir(f.host.c_str(), 0777) != 0) {
        kvSetError(errno, errno == ENOENT ? ERROR_PATH_NOT_FOUND : kvWin32FromErrno(errno));
        return FALSE;
    }
    return TRUE;
}

BOOL RemoveDirectoryA(const char* path) {
    HostFile f = kvResolve(path);
    if (!f.found()) {
        f.fail();
        return FALSE;
    }
    struct statx target;
    bool points = kvStatTarget(f, target);
    if (S_ISLNK(f.st.stx_mode)) {
        // A link to a directory goes as a link: what it points to stays.
        if (!points || !S_ISDIR(target.stx_mode)) {
            SetLastError(ERROR_DIRECTORY);
            return FALSE;
        }
        if (hostUnlink(f.host.c_str()) != 0) {
            kvSetErrno(errno);
            return FALSE;
        }
        return TRUE;
    }
    if (!S_ISDIR(f.st.stx_mode)) {
        SetLastError(ERROR_DIRECTORY);
        return FALSE;
    }
    if (kvModeReadOnly(f.st.stx_mode)) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    if (hostRmdir(f.host.c_str()) != 0) {
        kvSetErrno(errno);
        return FALSE;
    }
    return TRUE;
}

// ---------------------------------------------------------------------------
// 3. The current directory
// ---------------------------------------------------------------------------

BOOL SetCurrentDirectoryA(const char* path) {
    // A directory there as spelled takes one chdir; only where that finds
    // nothing is the path resolved without regard to case.
    EnginePath parsed;
    if (path && kvParsePath(path, parsed) && parsed.kind == EnginePath::Drive) {
        std::string host = kvDriveRoot(parsed.drive);
        bool plain = !host.empty();
        for (const std::string& part : parsed.parts) {
            if (part.find_first_of("*?") != std::string::npos) plain = false;
            host += host == "/" ? part : "/" + part;
        }
        if (plain) {
            if (hostChdir(host.c_str()) == 0) return TRUE;
            if (errno != ENOENT && errno != ENOTDIR) {
                kvSetErrno(errno);
                return FALSE;
            }
        }
    }
    HostFile f = kvResolve(path);
    if (!f.found()) {
        f.fail();
        return FALSE;
    }
    struct statx target;
    if (!kvStatTarget(f, target) || !S_ISDIR(target.stx_mode)) {
        SetLastError(ERROR_DIRECTORY);
        return FALSE;
    }
    if (hostChdir(f.host.c_str()) != 0) {
        kvSetErrno(errno);
        return FALSE;
    }
    return TRUE;
}

// ---------------------------------------------------------------------------
// 4. Temporary names
// ---------------------------------------------------------------------------

DWORD GetTempPathA(DWORD size, char* buffer) {
    const char* tmp = getenv("TMPDIR");
    std::string path = ToEnginePath(tmp && *tmp ? tmp : "/tmp");
    if (path.empty()) {
        kvSetErrno(errno ? errno : ENOENT);
        return 0;
    }
    if (path.back() != '\\') path += '\\';
    if (path.size() + 1 > size || !buffer) return static_cast<DWORD>(path.size() + 1);
    memcpy(buffer, path.c_str(), path.size() + 1);
    return static_cast<DWORD>(path.size());
}

// Builds path\PREunique.TMP; false if it would not fit MAX_PATH.
static bool tempName(const char* path, const char* prefix, unsigned unique, char* out) {
    std::string name = path;
    if (!name.empty() && name.back() != '\\' && name.back() != '/') name += '\\';
    if (prefix) name.append(prefix, strnlen(prefix, 3));
    char number[16];
    snprintf(number, sizeof number, "%X.TMP", unique);
    name += number;
    if (name.size() >= MAX_PATH) return false;
    memcpy(out, name.c_str(), name.size() + 1);
    return true;
}

UINT GetTempFileNameA(const char* path, const char* prefix, UINT unique, char* tempFileName) {
    if (!path || !tempFileName) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    unique &= 0xFFFF;
    if (unique != 0) {
        // The name only: nothing is looked at or made.
        if (!tempName(path, prefix, unique, tempFileName)) {
            SetLastError(ERROR_FILENAME_EXCED_RANGE);
            return 0;
        }
        return unique;
    }
    HostFile dir = kvResolve(path);
    struct statx target;
    if (!dir.found() || !kvStatTarget(dir, target) || !S_ISDIR(target.stx_mode)) {
        SetLastError(dir.status == HostFile::Failed ? dir.win32 : ERROR_DIRECTORY);
        return 0;
    }
    // A free number is searched from a start that differs between runs, and
    // the file made, so that the name is ours.
    unsigned start = (static_cast<unsigned>(time(nullptr)) ^ static_cast<unsigned>(getpid())) & 0xFFFF;
    if (start == 0) start = 1;
    for (unsigned i = 0; i < 0xFFFF; ++i) {
        unsigned n = (start - 1 + i) % 0xFFFF + 1;
        char name[MAX_PATH];
        if (!tempName(path, prefix, n, name)) {
            SetLastError(ERROR_FILENAME_EXCED_RANGE);
            return 0;
        }
        // Taken if it exists in any spelling, as it would be on Windows.
        HostFile file = kvResolve(name);
        if (file.found()) continue;
        if (file.status != HostFile::LastMissing) {
            file.fail();
            return 0;
        }
        int fd = hostOpen(file.host.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0666);
        if (fd < 0) {
            if (errno == EEXIST) continue;
            kvSetErrno(errno);
            return 0;
        }
        if (hostClose(fd) != 0) {
            kvSetErrno(errno);
            return 0;
        }
        memcpy(tempFileName, name, strlen(name) + 1);
        return n;
    }
    SetLastError(ERROR_FILE_EXISTS);
    return 0;
}
