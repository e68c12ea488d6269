// The C runtime extras of Windows: _splitpath, _access, _stat, _unlink,
// working on engine paths.
//
// _splitpath splits by the text alone:
//   "C:\dir\sub\name.ext"  drive "C:"  dir "\dir\sub\"  fname "name"  ext ".ext"
//   "a.b\c"                drive ""    dir "a.b\"       fname "c"     ext ""
//   "name."                                             fname "name"  ext "."
//   ".cfg"                                              fname ""      ext ".cfg"
// A part longer than its _MAX_ size empties every output and sets errno to
// ERANGE, as _splitpath_s does, rather than handing out a cut name.
//
//   1. _splitpath
//   2. _access, _stat, _unlink
#include <cerrno>
#include <cstring>

#include "platform/hostcalls.h"
#include "platform/internal.h"

// ---------------------------------------------------------------------------
// 1. _splitpath
// ---------------------------------------------------------------------------

static void clearOutputs(char* drive, char* dir, char* fname, char* ext) {
    for (char* out : {drive, dir, fname, ext})
        if (out) *out = '\0';
}

static void copyPart(char* out, const char* from, size_t length) {
    if (!out) return;
    memcpy(out, from, length);
    out[length] = '\0';
}

void _splitpath(const char* path, char* drive, char* dir, char* fname, char* ext) {
    if (!path) {
        clearOutputs(drive, dir, fname, ext);
        errno = EINVAL;
        return;
    }
    const char* p = path;
    size_t driveLength = 0;
    if (p[0] && p[1] == ':') {
        driveLength = 2;
        p += 2;
    }
    const char* lastSeparator = nullptr;
    for (const char* q = p; *q; ++q)
        if (*q == '\\' || *q == '/') lastSeparator = q;
    const char* name = lastSeparator ? lastSeparator + 1 : p;
    const char* dot = strrchr(name, '.');
    const char* end = name + strlen(name);
    size_t dirLength = static_cast<size_t>(name - p);
    size_t fnameLength = static_cast<size_t>((dot ? dot : end) - name);
    size_t extLength = dot ? static_cast<size_t>(end - dot) : 0;
    if ((dir && dirLength >= _MAX_DIR) || (fname && fnameLength >= _MAX_FNAME) || (ext && extLength >= _MAX_EXT)) {
        clearOutputs(drive, dir, fname, ext);
        errno = ERANGE;
        return;
    }
    copyPart(drive, path, driveLength);
    copyPart(dir, p, dirLength);
    copyPart(fname, name, fnameLength);
    copyPart(ext, dot ? dot : end, extLength);
}

// ---------------------------------------------------------------------------
// 2. _access, _stat, _unlink
// ---------------------------------------------------------------------------

// Resolves `path` to what it stands for (a link followed). False with errno
// and the last error set if there is nothing.
static bool statEngine(const char* path, HostFile& f, struct statx& target) {
    f = kvResolve(path);
    if (!f.found()) {
        f.fail();
        return false;
    }
    if (!kvStatTarget(f, target)) {
        kvSetErrno(errno);
        return false;
    }
    return true;
}

int _access(const char* path, int mode) {
    if (!path || (mode & ~6) != 0) {
        kvSetError(EINVAL, ERROR_INVALID_PARAMETER);
        return -1;
    }
    HostFile f;
    struct statx target;
    if (!statEngine(path, f, target)) return -1;
    // Directories answer only whether they exist; every file is readable.
    if ((mode & 2) && !S_ISDIR(target.stx_mode) && kvModeReadOnly(target.stx_mode)) {
        kvSetError(EACCES, ERROR_ACCESS_DENIED);
        return -1;
    }
    return 0;
}

static bool executableName(const char* path) {
    const char* dot = strrchr(path, '.');
    if (!dot || strpbrk(dot, "\\/")) return false;
    for (const char* ext : {".exe", ".com", ".bat", ".cmd"})
        if (_stricmp(dot, ext) == 0) return true;
    return false;
}

int _stat(const char* path, struct _stat* buffer) {
    if (!path || !buffer) {
        kvSetError(EINVAL, ERROR_INVALID_PARAMETER);
        return -1;
    }
    HostFile f;
    struct statx target;
    if (!statEngine(path, f, target)) return -1;
    EnginePath parsed;
    kvParsePath(path, parsed);

    unsigned short mode = _S_IREAD;
    if (S_ISDIR(target.stx_mode)) mode |= _S_IFDIR | 0100;
    else mode |= _S_IFREG;
    if (!kvModeReadOnly(target.stx_mode)) mode |= _S_IWRITE;
    if (!S_ISDIR(target.stx_mode) && executableName(path)) mode |= 0100;
    // The owner's bits stand for all three, as on Windows.
    mode |= (mode & 0700) >> 3;
    mode |= (mode & 0700) >> 6;

    memset(buffer, 0, sizeof *buffer);
    unsigned drive = parsed.drive >= 'A' && parsed.drive <= 'Z' ? static_cast<unsigned>(parsed.drive - 'A') : 0;
    buffer->st_dev = drive;
    buffer->st_rdev = drive;
    buffer->st_mode = mode;
    buffer->st_nlink = static_cast<short>(target.stx_nlink > 0x7fff ? 0x7fff : target.stx_nlink);
    buffer->st_size = S_ISREG(target.stx_mode) ? static_cast<int64_t>(target.stx_size) : 0;
    buffer->st_atime = target.stx_atime.tv_sec;
    buffer->st_mtime = target.stx_mtime.tv_sec;
    buffer->st_ctime = (target.stx_mask & STATX_BTIME) ? target.stx_btime.tv_sec : target.stx_mtime.tv_sec;
    return 0;
}

int _unlink(const char* path) {
    if (!path) {
        kvSetError(EINVAL, ERROR_INVALID_PARAMETER);
        return -1;
    }
    HostFile f = kvResolve(path);
    if (!f.found()) {
        f.fail();
        return -1;
    }
    struct statx target;
    if (kvStatTarget(f, target) && (S_ISDIR(target.stx_mode) || kvModeReadOnly(target.stx_mode))) {
        kvSetError(EACCES, ERROR_ACCESS_DENIED);
        return -1;
    }
    if (hostUnlink(f.host.c_str()) != 0) {
        kvSetErrno(errno);
        return -1;
    }
    return 0;
}
