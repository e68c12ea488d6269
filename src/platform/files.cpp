// Files: copying, deleting, moving, and the file handles of CreateFileA.
//
// Read-only is the owner's write permission bit, so that a file that the
// engine or a user marked read-only stays protected as on Windows, also for
// root (who passes every access() check).
//
// CopyFileA never leaves a half-written target in place of a good one: it
// writes a hidden temporary file beside the target (".NAME.kvcopy-PID-N"),
// gives it the source's permission bits and last write time, and renames
// it over the target. On any failure the temporary file is removed and the
// old target is untouched.
//
//   1. Copying (CopyFileA, and the copy of MoveFileA across file systems)
//   2. DeleteFileA, MoveFileA
//   3. CreateFileA, SetFileTime, CloseHandle
#include <cstring>
#include <vector>

#include "platform/hostcalls.h"
#include "platform/internal.h"

// ---------------------------------------------------------------------------
// 1. Copying
// ---------------------------------------------------------------------------

static std::string parentOf(const std::string& host) {
    size_t slash = host.rfind('/');
    return slash == 0 ? "/" : host.substr(0, slash);
}

static std::string baseOf(const std::string& host) { return host.substr(host.rfind('/') + 1); }

// Writes all of `size` bytes; false with errno set.
static bool writeAll(int fd, const char* data, size_t size) {
    while (size > 0) {
        ssize_t n = hostWrite(fd, data, size);
        if (n < 0) return false;
        if (n == 0) {
            errno = EIO;
            return false;
        }
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

// Copies the regular file `from` (whose stat is `fromStat`) to `to`, through
// a temporary file beside `to` that is renamed over it at the end. False
// with errno and last error set; then `to` is as it was.
static bool copyThroughTemporary(const std::string& from, const struct statx& fromStat, const std::string& to) {
    int in = hostOpen(from.c_str(), O_RDONLY | O_NONBLOCK);
    if (in < 0) {
        kvSetErrno(errno);
        return false;
    }
    static unsigned counter = 0;
    std::string directory = parentOf(to);
    std::string base = baseOf(to).substr(0, 200);
    std::string temp;
    int out = -1;
    for (int attempt = 0; attempt < 100 && out < 0; ++attempt) {
        char tail[48];
        snprintf(tail, sizeof tail, ".kvcopy-%ld-%u", static_cast<long>(getpid()), ++counter);
        temp = (directory == "/" ? "" : directory) + "/." + base + tail;
        out = hostOpen(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
        if (out < 0 && errno != EEXIST) break;
    }
    if (out < 0) {
        int error = errno;
        hostCloseQuietly(in);
        kvSetErrno(error);
        return false;
    }

    bool ok = true;
    static std::vector<char> buffer(1 << 17);
    for (;;) {
        ssize_t n = hostRead(in, buffer.data(), buffer.size());
        if (n < 0) {
            ok = false;
            break;
        }
        if (n == 0) break;
        if (!writeAll(out, buffer.data(), static_cast<size_t>(n))) {
            ok = false;
            break;
        }
    }
    struct timespec times[2];
    times[0].tv_nsec = UTIME_OMIT;
    times[0].tv_sec = 0;
    times[1].tv_sec = fromStat.stx_mtime.tv_sec;
    times[1].tv_nsec = fromStat.stx_mtime.tv_nsec;
    ok = ok && hostFchmod(out, fromStat.stx_mode & 0777) == 0;
    ok = ok && hostFutimens(out, times) == 0;
    int error = errno;
    if (ok) {
        // close reports what the file system could not write in the end.
        ok = hostClose(out) == 0;
        error = errno;
    } else {
        hostCloseQuietly(out);
    }
    hostCloseQuietly(in);
    if (ok && hostRename(temp.c_str(), to.c_str()) != 0) {
        ok = false;
        error = errno;
    }
    if (!ok) {
        hostUnlink(temp.c_str());
        kvSetErrno(error);
    }
    return ok;
}

static bool sameEntry(const struct statx& a, const struct statx& b) {
    return a.stx_ino == b.stx_ino && a.stx_dev_major == b.stx_dev_major && a.stx_dev_minor == b.stx_dev_minor;
}

BOOL CopyFileA(const char* existing, const char* target, BOOL failIfExists) {
    if (!existing || !target) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    HostFile source = kvResolve(existing);
    if (!source.found()) {
        source.fail();
        return FALSE;
    }
    struct statx from;
    if (!kvStatTarget(source, from)) {
        kvSetErrno(errno);
        return FALSE;
    }
    if (!S_ISREG(from.stx_mode)) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    HostFile destination = kvResolve(target);
    if (destination.found()) {
        if (failIfExists) {
            kvSetError(EEXIST, ERROR_FILE_EXISTS);
            return FALSE;
        }
        struct statx to;
        if (kvStatTarget(destination, to)) {
            if (!S_ISREG(to.stx_mode) || kvModeReadOnly(to.stx_mode)) {
                kvSetError(EACCES, ERROR_ACCESS_DENIED);
                return FALSE;
            }
            if (sameEntry(from, to)) {
                kvSetError(EBUSY, ERROR_SHARING_VIOLATION);
                return FALSE;
            }
        }
    } else if (destination.status != HostFile::LastMissing) {
        destination.fail();
        return FALSE;
    }
    return copyThroughTemporary(source.host, from, destination.host) ? TRUE : FALSE;
}

// ---------------------------------------------------------------------------
// 2. DeleteFileA, MoveFileA
// ---------------------------------------------------------------------------

BOOL DeleteFileA(const char* path) {
    HostFile f = kvResolve(path);
    if (!f.found()) {
        f.fail();
        return FALSE;
    }
    struct statx target;
    bool points = kvStatTarget(f, target);
    const struct statx& what = points ? target : f.st;
    if (points && (S_ISDIR(what.stx_mode) || kvModeReadOnly(what.stx_mode))) {
        kvSetError(EACCES, ERROR_ACCESS_DENIED);
        return FALSE;
    }
    if (hostUnlink(f.host.c_str()) != 0) {
        kvSetErrno(errno);
        return FALSE;
    }
    return TRUE;
}

BOOL MoveFileA(const char* existing, const char* newName) {
    if (!existing || !newName) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    HostFile source = kvResolve(existing);
    if (!source.found()) {
        source.fail();
        return FALSE;
    }
    EnginePath parsed;
    if (!kvParsePath(newName, parsed)) return FALSE;
    HostFile destination = kvResolvePath(parsed);
    std::string to = destination.host;
    if (destination.found()) {
        // Only a change of case of the same entry may land on an existing name.
        if (!sameEntry(source.st, destination.st) || parsed.parts.empty()) {
            kvSetError(EEXIST, ERROR_ALREADY_EXISTS);
            return FALSE;
        }
        to = parentOf(destination.host) + (parentOf(destination.host) == "/" ? "" : "/") + parsed.parts.back();
    } else if (destination.status != HostFile::LastMissing) {
        destination.fail();
        return FALSE;
    }
    if (hostRename(source.host.c_str(), to.c_str()) == 0) return TRUE;
    if (errno != EXDEV) {
        kvSetErrno(errno);
        return FALSE;
    }
    // Another file system: a file is copied and then deleted; a directory
    // cannot move, as on Windows between volumes.
    struct statx from;
    if (S_ISLNK(source.st.stx_mode) || !kvStatTarget(source, from) || !S_ISREG(from.stx_mode)) {
        kvSetError(EXDEV, ERROR_NOT_SAME_DEVICE);
        return FALSE;
    }
    if (!copyThroughTemporary(source.host, from, to)) return FALSE;
    if (hostUnlink(source.host.c_str()) != 0) {
        // The copy stands; the source stays too. Nothing is lost.
        kvSetErrno(errno);
        return FALSE;
    }
    return TRUE;
}

// ---------------------------------------------------------------------------
// 3. File handles
// ---------------------------------------------------------------------------

struct FileState : KvHandle {
    int fd;
};

static FileState* fileState(HANDLE h) {
    if (!h || h == INVALID_HANDLE_VALUE || static_cast<KvHandle*>(h)->kind != KvFileHandle) return nullptr;
    return static_cast<FileState*>(h);
}

static HANDLE newFileHandle(int fd) {
    FileState* s = new FileState;
    s->kind = KvFileHandle;
    s->fd = fd;
    return s;
}

HANDLE CreateFileA(const char* path, DWORD access, DWORD, void*, DWORD creationDisposition, DWORD flags, HANDLE) {
    if (creationDisposition < CREATE_NEW || creationDisposition > TRUNCATE_EXISTING) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    HostFile f = kvResolve(path);
    bool writing = (access & GENERIC_WRITE) != 0;
    bool reading = (access & GENERIC_READ) != 0;
    int mode = writing ? (reading ? O_RDWR : O_WRONLY) : O_RDONLY;
    if (f.found()) {
        if (creationDisposition == CREATE_NEW) {
            kvSetError(EEXIST, ERROR_FILE_EXISTS);
            return INVALID_HANDLE_VALUE;
        }
        struct statx target;
        if (!kvStatTarget(f, target)) {
            kvSetErrno(errno);
            return INVALID_HANDLE_VALUE;
        }
        if (S_ISDIR(target.stx_mode)) {
            // A directory opens only for its attributes and times.
            if (!(flags & FILE_FLAG_BACKUP_SEMANTICS) || creationDisposition == CREATE_ALWAYS ||
                creationDisposition == TRUNCATE_EXISTING) {
                kvSetError(EISDIR, ERROR_ACCESS_DENIED);
                return INVALID_HANDLE_VALUE;
            }
            int fd = hostOpen(f.host.c_str(), O_RDONLY | O_DIRECTORY);
            if (fd < 0) {
                kvSetErrno(errno);
                return INVALID_HANDLE_VALUE;
            }
            return newFileHandle(fd);
        }
        bool truncating = creationDisposition == CREATE_ALWAYS || creationDisposition == TRUNCATE_EXISTING;
        if (!S_ISREG(target.stx_mode) || ((writing || truncating) && kvModeReadOnly(target.stx_mode))) {
            kvSetError(EACCES, ERROR_ACCESS_DENIED);
            return INVALID_HANDLE_VALUE;
        }
        if (truncating) {
            mode |= O_TRUNC;
            if (!writing) mode = O_WRONLY | O_TRUNC;
        }
        int fd = hostOpen(f.host.c_str(), mode | O_NONBLOCK);
        if (fd < 0) {
            kvSetErrno(errno);
            return INVALID_HANDLE_VALUE;
        }
        if (creationDisposition == CREATE_ALWAYS || creationDisposition == OPEN_ALWAYS)
            SetLastError(ERROR_ALREADY_EXISTS);
        return newFileHandle(fd);
    }
    if (f.status != HostFile::LastMissing) {
        f.fail();
        return INVALID_HANDLE_VALUE;
    }
    if (creationDisposition == OPEN_EXISTING || creationDisposition == TRUNCATE_EXISTING) {
        f.fail();
        return INVALID_HANDLE_VALUE;
    }
    mode_t permissions = (flags & FILE_ATTRIBUTE_READONLY) ? 0444 : 0666;
    int fd = hostOpen(f.host.c_str(), mode | O_CREAT | O_EXCL, permissions);
    if (fd < 0) {
        kvSetError(errno, errno == ENOENT ? ERROR_PATH_NOT_FOUND : kvWin32FromErrno(errno));
        return INVALID_HANDLE_VALUE;
    }
    SetLastError(ERROR_SUCCESS);
    return newFileHandle(fd);
}

BOOL SetFileTime(HANDLE file, const FILETIME*, const FILETIME*, const FILETIME* lastWrite) {
    FileState* s = fileState(file);
    if (!s) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    // A time of zero means "leave it", as on Windows.
    if (!lastWrite || (lastWrite->dwLowDateTime == 0 && lastWrite->dwHighDateTime == 0)) return TRUE;
    struct timespec times[2];
    times[0].tv_sec = 0;
    times[0].tv_nsec = UTIME_OMIT;
    if (!kvUnixFromFileTime(*lastWrite, times[1])) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    if (hostFutimens(s->fd, times) != 0) {
        kvSetErrno(errno);
        return FALSE;
    }
    return TRUE;
}

BOOL CloseHandle(HANDLE handle) {
    FileState* s = fileState(handle);
    if (!s) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    int result = hostClose(s->fd);
    int error = errno;
    s->kind = 0;
    delete s;
    if (result != 0) {
        kvSetErrno(error);
        return FALSE;
    }
    return TRUE;
}
