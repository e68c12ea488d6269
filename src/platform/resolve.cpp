// Resolution of engine paths to host paths, without regard to case.
//
// As Wine does it: the exact spelling is tried first with one stat of the
// whole path; only if that fails is the path walked from the drive root,
// each component taking the entry of exactly that name if there is one,
// else the first entry in name order that matches it without regard to
// case (for a directory component, the first such directory). The walk
// tells a missing last component (every directory there: a new file can be
// made with the spelling given) from a missing directory. The names of a
// directory come from the listing cache (listings.cpp), which answers only
// when it is sure to hold the directory as it is now; everything else is
// asked of the disk at each look-up.
//
//   1. Name order and comparison
//   2. The walk
//   3. ToHostPath
#include <cstring>

#include "platform/hostcalls.h"
#include "platform/internal.h"

// ---------------------------------------------------------------------------
// 1. Name order
// ---------------------------------------------------------------------------

static inline unsigned char upperAscii(unsigned char c) { return c >= 'a' && c <= 'z' ? c - 32 : c; }

int kvCompareNames(const char* a, const char* b) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(a);
    const unsigned char* q = reinterpret_cast<const unsigned char*>(b);
    for (;; ++p, ++q) {
        unsigned char x = upperAscii(*p), y = upperAscii(*q);
        if (x != y) return x < y ? -1 : 1;
        if (!x) break;
    }
    int exact = strcmp(a, b);
    return exact < 0 ? -1 : exact > 0 ? 1 : 0;
}

bool kvSameName(const char* a, const char* b) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(a);
    const unsigned char* q = reinterpret_cast<const unsigned char*>(b);
    for (;; ++p, ++q) {
        if (upperAscii(*p) != upperAscii(*q)) return false;
        if (!*p) return true;
    }
}

// ---------------------------------------------------------------------------
// 2. The walk
// ---------------------------------------------------------------------------

static std::string joinHost(const std::string& dir, const std::string& name) {
    return dir == "/" ? "/" + name : dir + "/" + name;
}

static bool statPath(const std::string& path, bool follow, struct statx& out) {
    return hostStat(AT_FDCWD, path.c_str(), follow ? 0 : AT_SYMLINK_NOFOLLOW, KV_STATX_MASK, &out) == 0;
}

static HostFile failed(int error, DWORD win32) {
    HostFile f;
    f.status = HostFile::Failed;
    f.error = error;
    f.win32 = win32;
    return f;
}

// The rest of the components from index `from`, spelled as given.
static std::string appendRest(std::string host, const EnginePath& path, size_t from) {
    for (size_t i = from; i < path.parts.size(); ++i) host = joinHost(host, path.parts[i]);
    return host;
}

std::string kvHostPathAsSpelled(const EnginePath& path) {
    if (path.kind != EnginePath::Drive) return std::string();
    for (const std::string& part : path.parts)
        if (part.find_first_of("*?") != std::string::npos) return std::string();
    std::string root = kvDriveRoot(path.drive);
    if (root.empty()) return std::string();
    return appendRest(root, path, 0);
}

HostFile kvResolvePath(const EnginePath& path) {
    if (path.kind != EnginePath::Drive) return failed(ENOENT, ERROR_BAD_NETPATH);
    // Wildcards are no part of a name on Windows.
    for (const std::string& part : path.parts)
        if (part.find_first_of("*?") != std::string::npos) return failed(ENOENT, ERROR_INVALID_NAME);
    std::string root = kvDriveRoot(path.drive);
    if (root.empty()) return failed(ENOENT, ERROR_PATH_NOT_FOUND);

    HostFile f;
    f.host = appendRest(root, path, 0);
    // A drive root is a volume, not a link, even where its host directory is one.
    if (statPath(f.host, path.parts.empty(), f.st)) {
        f.status = HostFile::Found;
        return f;
    }
    if (errno != ENOENT && errno != ENOTDIR) {
        f.status = HostFile::Failed;
        f.error = errno;
        f.win32 = kvWin32FromErrno(errno);
        return f;
    }
    const bool lastMissing = errno == ENOENT;  // as spelled, if its directory is there

    size_t n = path.parts.size();
    struct statx st;
    std::string dir = root;
    size_t from = 0;
    // The stat of `dir` where one was just taken: the listing cache checks
    // its listing against it rather than stat'ing the directory again.
    struct statx dirStat{};
    bool dirStatKnown = false;
    // Where the directory of the last component is there as spelled, a
    // walk would take every directory by its exact name: only the last
    // component is looked for.
    if (n > 1) {
        std::string parent = f.host.substr(0, f.host.size() - path.parts.back().size() - 1);
        if (statPath(parent, true, st)) {
            if (S_ISDIR(st.stx_mode)) {
                dir = parent;
                from = n - 1;
                dirStat = st;
                dirStatKnown = true;
            }
        } else if (errno != ENOENT && errno != ENOTDIR) {
            f.status = HostFile::Failed;
            f.error = errno;
            f.win32 = kvWin32FromErrno(errno);
            return f;
        }
    }

    // Otherwise a walk from the root.
    if (from == 0) {
        bool rootThere = statPath(dir, true, st);
        if (!rootThere && errno != ENOENT && errno != ENOTDIR) {
            f.status = HostFile::Failed;
            f.error = errno;
            f.win32 = kvWin32FromErrno(errno);
            return f;
        }
        if (!rootThere || !S_ISDIR(st.stx_mode)) {
            f.status = HostFile::DirMissing;
            f.error = ENOENT;
            f.win32 = ERROR_PATH_NOT_FOUND;
            return f;
        }
        dirStat = st;
        dirStatKnown = true;
    }
    for (size_t i = from; i < n; ++i) {
        const std::string& name = path.parts[i];
        bool last = i + 1 == n;
        std::string exact = joinHost(dir, name);
        // The last component in a directory there as spelled is the path
        // of the first stat, which did not find it.
        const bool known = last && from > 0 && lastMissing;
        bool there = false;
        int error = ENOENT;
        if (!known) {
            there = statPath(exact, !last, st);
            if (!there) error = errno;
        }
        if (there) {
            if (last) {
                f.status = HostFile::Found;
                f.host = exact;
                f.st = st;
                return f;
            }
            if (S_ISDIR(st.stx_mode)) {
                dir = exact;
                dirStat = st;
                dirStatKnown = true;
                continue;
            }
            // A file where a directory should be: the path does not exist.
            f.status = HostFile::DirMissing;
            f.host = appendRest(dir, path, i);
            f.error = ENOTDIR;
            f.win32 = ERROR_PATH_NOT_FOUND;
            return f;
        }
        if (error != ENOENT) {
            f.status = HostFile::Failed;
            f.host = appendRest(dir, path, i);
            f.error = error;
            f.win32 = error == ENOTDIR ? ERROR_PATH_NOT_FOUND : kvWin32FromErrno(error);
            return f;
        }
        std::string match;
        if (!kvFindCaseMatch(dir, name, !last, match, dirStatKnown ? &dirStat : nullptr)) {
            f.status = HostFile::Failed;
            f.host = appendRest(dir, path, i);
            f.error = errno;
            f.win32 = kvWin32FromErrno(errno);
            return f;
        }
        if (match.empty()) {
            f.status = last ? HostFile::LastMissing : HostFile::DirMissing;
            f.host = appendRest(dir, path, i);
            f.error = ENOENT;
            f.win32 = last ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
            return f;
        }
        std::string found = joinHost(dir, match);
        if (last) {
            if (!statPath(found, false, st)) {
                if (errno != ENOENT) {
                    f.status = HostFile::Failed;
                    f.host = found;
                    f.error = errno;
                    f.win32 = kvWin32FromErrno(errno);
                    return f;
                }
                // Gone since the listing.
                f.status = HostFile::LastMissing;
                f.host = exact;
                f.error = ENOENT;
                f.win32 = ERROR_FILE_NOT_FOUND;
                return f;
            }
            f.status = HostFile::Found;
            f.host = found;
            f.st = st;
            return f;
        }
        dir = found;
        dirStatKnown = false;
    }
    // No components: the drive root itself, which the first stat would have
    // found unless it vanished in between.
    f.status = HostFile::DirMissing;
    f.error = ENOENT;
    f.win32 = ERROR_PATH_NOT_FOUND;
    return f;
}

HostFile kvResolve(const char* enginePath) {
    EnginePath path;
    if (!kvParsePath(enginePath, path)) return failed(errno, GetLastError());
    return kvResolvePath(path);
}

bool kvStatTarget(const HostFile& file, struct statx& out) {
    if (!S_ISLNK(file.st.stx_mode)) {
        out = file.st;
        return true;
    }
    return hostStat(AT_FDCWD, file.host.c_str(), 0, KV_STATX_MASK, &out) == 0;
}

// ---------------------------------------------------------------------------
// 3. ToHostPath
// ---------------------------------------------------------------------------

std::string ToHostPath(const char* enginePath) {
    EnginePath path;
    if (!kvParsePath(enginePath, path)) return std::string();
    if (path.kind != EnginePath::Drive) return std::string();
    std::string root = kvDriveRoot(path.drive);
    if (root.empty()) return std::string();
    HostFile f = kvResolvePath(path);
    if (!f.host.empty()) return f.host;
    return appendRest(root, path, 0);
}
