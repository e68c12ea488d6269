// Directory enumeration: FindFirstFileA, FindNextFileA, FindClose, and the
// find record with its attributes.
//
// A listing reads the directory once (readdir), keeps the names that match
// the pattern, sorts them, and puts "." and ".." in front (not at a drive
// root, which has none on Windows either). Each FindNextFileA then takes one
// stat of its entry through the open directory, so a listing of n entries
// costs a readdir, n stats and a sort; an entry that has vanished since the
// readdir is passed over.
//
// Wildcards follow the Windows rules (FsRtlIsNameInExpression after the
// translation that FindFirstFile makes), without regard to case:
//   *      any run of characters           "*.*" also matches "README"
//   ?      one character, or none at a "." or at the end of the name
//   .      before * or ? or at the end: a "." or the end of the name,
//          so "chkpoint.*" matches "chkpoint" and "chkpoint.003", and
//          "*." matches names without a dot
//   *.     (a * before a "."): any run that does not take the last "."
//
//   1. Attributes and find records
//   2. Wildcards
//   3. The listing and the find handle
//   4. FindFirstFileA, FindNextFileA, FindClose
#include <algorithm>
#include <cstring>

#include "platform/hostcalls.h"
#include "platform/internal.h"

// ---------------------------------------------------------------------------
// 1. Attributes and find records
// ---------------------------------------------------------------------------

DWORD kvAttributesOf(const struct statx& entry, const struct statx* target) {
    if (S_ISLNK(entry.stx_mode)) {
        if (!target) return FILE_ATTRIBUTE_REPARSE_POINT;  // points nowhere
        if (!S_ISDIR(target->stx_mode)) return kvAttributesOf(*target, nullptr);
        DWORD a = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
        if (kvModeReadOnly(target->stx_mode)) a |= FILE_ATTRIBUTE_READONLY;
        return a;
    }
    DWORD a = 0;
    if (S_ISDIR(entry.stx_mode))
        a = FILE_ATTRIBUTE_DIRECTORY;
    else if (S_ISREG(entry.stx_mode))
        a = FILE_ATTRIBUTE_ARCHIVE;
    else
        a = FILE_ATTRIBUTE_SYSTEM;  // a device, pipe or socket: nothing to copy
    if (kvModeReadOnly(entry.stx_mode)) a |= FILE_ATTRIBUTE_READONLY;
    return a ? a : FILE_ATTRIBUTE_NORMAL;
}

static FILETIME fileTimeOf(const struct statx_timestamp& t) { return kvFileTimeFromUnix(t.tv_sec, t.tv_nsec); }

void kvFillFindData(const char* name, const struct statx& entry, const struct statx* target, WIN32_FIND_DATAA* out) {
    memset(out, 0, sizeof *out);
    out->dwFileAttributes = kvAttributesOf(entry, target);
    const struct statx& s = target ? *target : entry;
    out->ftLastWriteTime = fileTimeOf(s.stx_mtime);
    out->ftLastAccessTime = fileTimeOf(s.stx_atime);
    out->ftCreationTime = (s.stx_mask & STATX_BTIME) ? fileTimeOf(s.stx_btime) : out->ftLastWriteTime;
    if (S_ISREG(s.stx_mode)) {
        out->nFileSizeHigh = static_cast<DWORD>(s.stx_size >> 32);
        out->nFileSizeLow = static_cast<DWORD>(s.stx_size);
    }
    strncpy(out->cFileName, name, MAX_PATH - 1);
}

// ---------------------------------------------------------------------------
// 2. Wildcards
// ---------------------------------------------------------------------------

enum : int { kStar = 256, kDosStar, kDosQm, kDosDot };

static inline unsigned char upperAscii(unsigned char c) { return c >= 'a' && c <= 'z' ? c - 32 : c; }

// A compiled pattern; `all` when it matches every name.
struct Wildcard {
    std::vector<int> tokens;
    bool all = false;
    // Work space of the matcher, kept between names.
    std::vector<char> now, next;
};

static bool hasWildcards(const char* text) { return strpbrk(text, "*?") != nullptr; }

static void compileWildcard(const std::string& pattern, Wildcard& w) {
    w.tokens.clear();
    w.all = pattern == "*" || pattern == "*.*";
    for (size_t i = 0; i < pattern.size(); ++i) {
        unsigned char c = static_cast<unsigned char>(pattern[i]);
        char after = i + 1 < pattern.size() ? pattern[i + 1] : '\0';
        if (c == '?')
            w.tokens.push_back(kDosQm);
        else if (c == '*')
            w.tokens.push_back(after == '.' ? kDosStar : kStar);
        else if (c == '.' && (after == '?' || after == '*' || after == '\0'))
            w.tokens.push_back(kDosDot);
        else
            w.tokens.push_back(upperAscii(c));
    }
    w.now.assign(w.tokens.size() + 1, 0);
    w.next.assign(w.tokens.size() + 1, 0);
}

// Follows the moves that take no character at position j of the name.
static void closeOver(const Wildcard& w, std::vector<char>& states, size_t j, size_t n, const char* name) {
    for (size_t i = 0; i < w.tokens.size(); ++i) {
        if (!states[i]) continue;
        int t = w.tokens[i];
        bool atEnd = j == n;
        if (t == kStar || t == kDosStar || (t == kDosQm && (atEnd || name[j] == '.')) || (t == kDosDot && atEnd))
            states[i + 1] = 1;
    }
}

static bool matchWildcard(Wildcard& w, const char* name) {
    if (w.all) return true;
    size_t n = strlen(name);
    const char* dot = strrchr(name, '.');
    size_t lastDot = dot ? static_cast<size_t>(dot - name) : n + 1;
    size_t m = w.tokens.size();
    std::fill(w.now.begin(), w.now.end(), 0);
    w.now[0] = 1;
    closeOver(w, w.now, 0, n, name);
    for (size_t j = 0; j < n; ++j) {
        std::fill(w.next.begin(), w.next.end(), 0);
        unsigned char c = static_cast<unsigned char>(name[j]);
        bool any = false;
        for (size_t i = 0; i < m; ++i) {
            if (!w.now[i]) continue;
            int t = w.tokens[i];
            if (t == kStar) {
                w.next[i] = 1;
            } else if (t == kDosStar) {
                if (j != lastDot) w.next[i] = 1;
            } else if (t == kDosQm) {
                if (c != '.') w.next[i + 1] = 1;
            } else if (t == kDosDot) {
                if (c == '.') w.next[i + 1] = 1;
            } else if (t == upperAscii(c)) {
                w.next[i + 1] = 1;
            }
        }
        closeOver(w, w.next, j + 1, n, name);
        w.now.swap(w.next);
        for (size_t i = 0; i <= m && !any; ++i) any = w.now[i];
        if (!any) return false;
    }
    return w.now[m] != 0;
}

// ---------------------------------------------------------------------------
// 3. The listing and the find handle
// ---------------------------------------------------------------------------

struct FindState : KvHandle {
    DIR* dir = nullptr;           // open while the handle lives: stats go through it
    std::vector<char> pool;       // the names, each NUL-terminated
    std::vector<uint32_t> order;  // offsets into pool, in listing order
    size_t next = 0;
    bool single = false;          // a plain path: one record, already made
    WIN32_FIND_DATAA record;
};

static void destroy(FindState* s) {
    if (s->dir) hostClosedir(s->dir);
    s->kind = 0;
    delete s;
}

// Fills `data` with the next entry that still exists. False with the last
// error 18 at the end, or with the error of a stat that failed.
static bool nextEntry(FindState* s, WIN32_FIND_DATAA* data) {
    if (s->single) {
        if (s->next++ == 0) {
            *data = s->record;
            return true;
        }
        SetLastError(ERROR_NO_MORE_FILES);
        return false;
    }
    int fd = dirfd(s->dir);
    while (s->next < s->order.size()) {
        const char* name = s->pool.data() + s->order[s->next++];
        struct statx entry, target;
        if (hostStat(fd, name, AT_SYMLINK_NOFOLLOW, KV_STATX_MASK, &entry) != 0) {
            if (errno == ENOENT) continue;  // removed since the readdir
            kvSetErrno(errno);
            return false;
        }
        const struct statx* t = nullptr;
        if (S_ISLNK(entry.stx_mode) && hostStat(fd, name, 0, KV_STATX_MASK, &target) == 0) t = &target;
        kvFillFindData(name, entry, t, data);
        return true;
    }
    SetLastError(ERROR_NO_MORE_FILES);
    return false;
}

static void addName(FindState* s, const char* name) {
    s->order.push_back(static_cast<uint32_t>(s->pool.size()));
    s->pool.insert(s->pool.end(), name, name + strlen(name) + 1);
}

// The first 8 bytes of a name in upper case, packed so that numbers
// compare as kvCompareNames orders (a shorter name is padded with 0, which
// sorts first as its end does there).
static uint64_t sortPrefix(const char* name) {
    uint64_t key = 0;
    int i = 0;
    for (; i < 8 && name[i]; ++i) key = key << 8 | upperAscii(static_cast<unsigned char>(name[i]));
    return key << (8 * (8 - i));
}

// Sorts the names of a listing into kvCompareNames order. Most names
// differ within their first 8 bytes, which are compared as one number; only
// names that share them are compared in full.
static void sortNames(FindState* s) {
    const char* pool = s->pool.data();
    std::vector<std::pair<uint64_t, uint32_t>> keyed;
    keyed.reserve(s->order.size());
    for (uint32_t offset : s->order) keyed.emplace_back(sortPrefix(pool + offset), offset);
    std::sort(keyed.begin(), keyed.end(),
              [pool](const std::pair<uint64_t, uint32_t>& a, const std::pair<uint64_t, uint32_t>& b) {
                  if (a.first != b.first) return a.first < b.first;
                  return kvCompareNames(pool + a.second, pool + b.second) < 0;
              });
    for (size_t i = 0; i < keyed.size(); ++i) s->order[i] = keyed[i].second;
}

// Reads directory `host`, keeping the names that match. False with the last
// error set if it cannot be read.
static bool readListing(FindState* s, const std::string& host, const std::string& pattern, bool driveRoot) {
    s->dir = hostOpendir(host.c_str());
    if (!s->dir) {
        kvSetErrno(errno);
        return false;
    }
    Wildcard w;
    compileWildcard(pattern, w);
    for (;;) {
        errno = 0;
        struct dirent* e = hostReaddir(s->dir);
        if (!e) {
            if (errno != 0) {
                kvSetErrno(errno);
                return false;
            }
            break;
        }
        if (!strcmp(e->d_name, ".") || !strcmp(e->d_name, "..")) continue;
        if (matchWildcard(w, e->d_name)) addName(s, e->d_name);
    }
    sortNames(s);
    if (!driveRoot) {
        std::vector<uint32_t> dots;
        for (const char* dot : {".", ".."}) {
            if (!matchWildcard(w, dot)) continue;
            dots.push_back(static_cast<uint32_t>(s->pool.size()));
            s->pool.insert(s->pool.end(), dot, dot + strlen(dot) + 1);
        }
        s->order.insert(s->order.begin(), dots.begin(), dots.end());
    }
    return true;
}

// ---------------------------------------------------------------------------
// 4. FindFirstFileA, FindNextFileA, FindClose
// ---------------------------------------------------------------------------

static bool isSeparator(char c) { return c == '/' || c == '\\'; }

// Finds one entry by its path.
static HANDLE findSingle(const char* path, WIN32_FIND_DATAA* data) {
    size_t length = strlen(path);
    if (length == 0 || isSeparator(path[length - 1])) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    EnginePath parsed;
    if (!kvParsePath(path, parsed)) return INVALID_HANDLE_VALUE;
    if (parsed.parts.empty()) {  // a drive root has no entry of its own
        SetLastError(parsed.kind == EnginePath::Drive ? ERROR_FILE_NOT_FOUND : ERROR_BAD_NETPATH);
        return INVALID_HANDLE_VALUE;
    }
    HostFile f = kvResolvePath(parsed);
    if (!f.found()) {
        f.fail();
        return INVALID_HANDLE_VALUE;
    }
    struct statx target;
    const struct statx* t = S_ISLNK(f.st.stx_mode) && kvStatTarget(f, target) ? &target : nullptr;
    FindState* s = new FindState;
    s->kind = KvFindHandle;
    s->single = true;
    kvFillFindData(f.host.substr(f.host.rfind('/') + 1).c_str(), f.st, t, &s->record);
    nextEntry(s, data);
    return s;
}

HANDLE FindFirstFileA(const char* pattern, WIN32_FIND_DATAA* data) {
    if (!pattern || !data) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    // Split off the last component: the one that may hold wildcards.
    std::string text = pattern;
    size_t cut = text.find_last_of("/\\");
    std::string directory, last;
    if (cut != std::string::npos) {
        directory = text.substr(0, cut + 1);
        last = text.substr(cut + 1);
    } else if (text.size() >= 2 && text[1] == ':') {
        directory = text.substr(0, 2);
        last = text.substr(2);
    } else {
        directory = ".";
        last = text;
    }
    if (!hasWildcards(last.c_str())) return findSingle(pattern, data);
    if (hasWildcards(directory.c_str())) {
        SetLastError(ERROR_INVALID_NAME);
        return INVALID_HANDLE_VALUE;
    }

    EnginePath parsed;
    if (!kvParsePath(directory.c_str(), parsed)) return INVALID_HANDLE_VALUE;
    HostFile f = kvResolvePath(parsed);
    struct statx target;
    if (f.status == HostFile::Failed) {
        f.fail();
        return INVALID_HANDLE_VALUE;
    }
    if (!f.found() || !kvStatTarget(f, target) || !S_ISDIR(target.stx_mode)) {
        SetLastError(ERROR_PATH_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    bool driveRoot = parsed.parts.empty();
    FindState* s = new FindState;
    s->kind = KvFindHandle;
    if (!readListing(s, f.host, last, driveRoot)) {
        destroy(s);
        return INVALID_HANDLE_VALUE;
    }
    if (!nextEntry(s, data)) {
        if (GetLastError() == ERROR_NO_MORE_FILES) SetLastError(ERROR_FILE_NOT_FOUND);
        destroy(s);
        return INVALID_HANDLE_VALUE;
    }
    return s;
}

static FindState* findState(HANDLE h) {
    if (!h || h == INVALID_HANDLE_VALUE || static_cast<KvHandle*>(h)->kind != KvFindHandle) return nullptr;
    return static_cast<FindState*>(h);
}

BOOL FindNextFileA(HANDLE find, WIN32_FIND_DATAA* data) {
    FindState* s = findState(find);
    if (!s || !data) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    return nextEntry(s, data) ? TRUE : FALSE;
}

BOOL FindClose(HANDLE find) {
    FindState* s = findState(find);
    if (!s) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    destroy(s);
    return TRUE;
}
