// The listing cache: the names of host directories, kept between look-ups
// so that resolving names in a large directory does not read it again for
// every name that is not spelled as on disk (a missing file, a name in
// another case).
//
// A listing is kept per host directory path: its names sorted in name
// order (kvCompareNames), each with whether it is a directory as far as
// readdir tells. It is never trusted blindly:
//   - Before each use the directory is stat'ed again (through the host call
//     table; usually the look-up has just done so on its way); device,
//     inode, mtime and ctime, all to the nanosecond, must be those seen
//     when the listing was read. Any change of an entry
//     changes mtime and ctime; ctime cannot be set back by anyone.
//   - A listing is kept only if, when it was read, the directory's ctime
//     already lay further in the past than the granularity of the file
//     system's clock. Otherwise a change made in the same clock tick would
//     leave every time stamp as it was, and go unseen. Without nanoseconds
//     in its time stamps a file system is taken to count in seconds (or
//     two, as FAT does), and the listing must be older still.
//   - The layer's own calls that make, remove or rename an entry drop the
//     listings of the directories concerned (kvListingChanged).
//   - Setting or clearing faults empties the cache, so that a test sees
//     every call of a look-up; while a test has put a function of its own
//     into the stat or listing entries of the table, nothing is kept.
// At most kMaxDirectories listings and kMaxNames names are kept; the least
// recently used go first. Threads: none, as for the rest of the layer.
//
// Contents:
//   1. The cache
//   2. Reading a listing
//   3. kvFindCaseMatch
//   4. Dropping listings
#include <algorithm>
#include <cstring>
#include <ctime>
#include <list>
#include <unordered_map>

#include "platform/hostcalls.h"
#include "platform/internal.h"

// ---------------------------------------------------------------------------
// 1. The cache
// ---------------------------------------------------------------------------

namespace {

const size_t kMaxDirectories = 256;
const size_t kMaxNames = 1000000;
// How far in the past the ctime of a directory must lie, when it is read,
// for its listing to be kept: well above the tick of the kernel's coarse
// clock (at most 10 ms) on file systems with nanosecond time stamps, above
// two seconds on the others.
const int64_t kSettleFineNs = 100 * 1000 * 1000LL;
const int64_t kSettleCoarseNs = 3 * 1000 * 1000 * 1000LL;

enum EntryKind : unsigned char { KindDirectory, KindOther, KindUnknown };

struct Entry {
    std::string name;
    EntryKind kind;
};

// What identifies the state of a directory.
struct Stamp {
    uint32_t devMajor = 0, devMinor = 0;
    uint64_t ino = 0;
    int64_t mtimeSec = 0, ctimeSec = 0;
    uint32_t mtimeNsec = 0, ctimeNsec = 0;

    bool operator==(const Stamp& o) const {
        return devMajor == o.devMajor && devMinor == o.devMinor && ino == o.ino && mtimeSec == o.mtimeSec &&
               mtimeNsec == o.mtimeNsec && ctimeSec == o.ctimeSec && ctimeNsec == o.ctimeNsec;
    }
};

struct Listing {
    std::string dir;
    Stamp stamp;
    std::vector<Entry> entries;  // in name order
};

struct Cache {
    std::list<Listing> listings;  // most recently used first
    std::unordered_map<std::string, std::list<Listing>::iterator> byDir;
    size_t names = 0;
};

Cache& theCache() {
    static Cache* cache = new Cache;  // never destroyed: usable during exit
    return *cache;
}

void dropListing(Cache& c, std::list<Listing>::iterator it) {
    c.names -= it->entries.size();
    c.byDir.erase(it->dir);
    c.listings.erase(it);
}

}  // namespace

static Stamp stampOf(const struct statx& st) {
    Stamp s;
    s.devMajor = st.stx_dev_major;
    s.devMinor = st.stx_dev_minor;
    s.ino = st.stx_ino;
    s.mtimeSec = st.stx_mtime.tv_sec;
    s.mtimeNsec = st.stx_mtime.tv_nsec;
    s.ctimeSec = st.stx_ctime.tv_sec;
    s.ctimeNsec = st.stx_ctime.tv_nsec;
    return s;
}

// True if a listing read now of a directory with this stamp may be kept:
// a later change cannot fall into the clock tick of its last one.
static bool settled(const Stamp& s) {
    struct timespec now;
    if (clock_gettime(CLOCK_REALTIME, &now) != 0) return false;
    const bool fine = s.mtimeNsec != 0 || s.ctimeNsec != 0;
    const int64_t margin = fine ? kSettleFineNs : kSettleCoarseNs;
    const int64_t nowNs = static_cast<int64_t>(now.tv_sec) * 1000000000LL + now.tv_nsec;
    const int64_t ctimeNs = s.ctimeSec * 1000000000LL + s.ctimeNsec;
    return nowNs - ctimeNs > margin;
}

// The cache may stand between the layer and the host only while the table
// holds the host's own stat and listing calls.
static bool cacheUsable() {
    return kvHost.stat == kvHostDefaults.stat && kvHost.opendir == kvHostDefaults.opendir &&
           kvHost.readdir == kvHostDefaults.readdir && kvHost.closedir == kvHostDefaults.closedir;
}

// ---------------------------------------------------------------------------
// 2. Reading a listing
// ---------------------------------------------------------------------------

static bool entryBefore(const Entry& a, const Entry& b) { return kvCompareNames(a.name.c_str(), b.name.c_str()) < 0; }

// Reads the names of `dir` into `out`, sorted, without "." and "..".
// Returns false with errno set if the directory cannot be read; a
// directory that is gone (ENOENT, ENOTDIR) gives true and `gone`.
static bool readListing(const std::string& dir, std::vector<Entry>& out, bool& gone) {
    out.clear();
    gone = false;
    DIR* d = hostOpendir(dir.c_str());
    if (!d) {
        if (errno != ENOENT && errno != ENOTDIR) return false;
        gone = true;
        return true;
    }
    bool ok = true;
    for (;;) {
        errno = 0;
        struct dirent* e = hostReaddir(d);
        if (!e) {
            ok = errno == 0;
            break;
        }
        if (!strcmp(e->d_name, ".") || !strcmp(e->d_name, "..")) continue;
        EntryKind kind = e->d_type == DT_DIR ? KindDirectory
                         : e->d_type == DT_UNKNOWN || e->d_type == DT_LNK ? KindUnknown
                                                                           : KindOther;
        out.push_back(Entry{e->d_name, kind});
    }
    int saved = errno;
    hostClosedir(d);
    errno = saved;
    if (ok) std::sort(out.begin(), out.end(), entryBefore);
    return ok;
}

// ---------------------------------------------------------------------------
// 3. kvFindCaseMatch
// ---------------------------------------------------------------------------

static inline unsigned char upperAscii(unsigned char c) { return c >= 'a' && c <= 'z' ? c - 32 : c; }

// Order without regard to case only: the first key of kvCompareNames.
static int compareFolded(const char* a, const char* b) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(a);
    const unsigned char* q = reinterpret_cast<const unsigned char*>(b);
    for (;; ++p, ++q) {
        unsigned char x = upperAscii(*p), y = upperAscii(*q);
        if (x != y) return x < y ? -1 : 1;
        if (!x) return 0;
    }
}

static std::string joinHost(const std::string& dir, const std::string& name) {
    return dir == "/" ? "/" + name : dir + "/" + name;
}

// The first entry of `entries` that matches `name` without regard to case
// (and is a directory or a link to one, if `wantDirectory`). False with
// errno set if the type of a candidate cannot be learnt.
static bool matchIn(const std::string& dir, const std::vector<Entry>& entries, const std::string& name,
                    bool wantDirectory, std::string& match) {
    match.clear();
    // Names equal but for case sit together, the first in name order first.
    auto it = std::lower_bound(entries.begin(), entries.end(), name, [](const Entry& e, const std::string& key) {
        return compareFolded(e.name.c_str(), key.c_str()) < 0;
    });
    for (; it != entries.end() && kvSameName(it->name.c_str(), name.c_str()); ++it) {
        if (wantDirectory && it->kind != KindDirectory) {
            if (it->kind == KindOther) continue;
            struct statx st;
            if (hostStat(AT_FDCWD, joinHost(dir, it->name).c_str(), 0, KV_STATX_MASK, &st) != 0) {
                if (errno == ENOENT || errno == ENOTDIR || errno == ELOOP || errno == EACCES) continue;
                return false;
            }
            if (!S_ISDIR(st.stx_mode)) continue;
        }
        match = it->name;
        return true;
    }
    return true;
}

bool kvFindCaseMatch(const std::string& dir, const std::string& name, bool wantDirectory, std::string& match,
                     const struct statx* dirStat) {
    match.clear();
    std::vector<Entry> entries;
    bool gone = false;
    if (!cacheUsable()) {
        if (!readListing(dir, entries, gone)) return false;
        return gone || matchIn(dir, entries, name, wantDirectory, match);
    }

    Cache& c = theCache();
    struct statx st;
    if (dirStat) {
        st = *dirStat;
    } else if (hostStat(AT_FDCWD, dir.c_str(), 0, KV_STATX_MASK, &st) != 0) {
        const int error = errno;
        auto known = c.byDir.find(dir);
        if (known != c.byDir.end()) dropListing(c, known->second);
        errno = error;
        return error == ENOENT || error == ENOTDIR;  // gone since its stat
    }
    const Stamp now = stampOf(st);
    auto known = c.byDir.find(dir);
    if (known != c.byDir.end()) {
        if (known->second->stamp == now) {
            c.listings.splice(c.listings.begin(), c.listings, known->second);
            return matchIn(dir, known->second->entries, name, wantDirectory, match);
        }
        dropListing(c, known->second);
    }

    if (!readListing(dir, entries, gone)) return false;
    if (gone) return true;
    if (!matchIn(dir, entries, name, wantDirectory, match)) return false;
    if (settled(now) && entries.size() <= kMaxNames) {
        c.names += entries.size();
        c.listings.push_front(Listing{dir, now, std::move(entries)});
        c.byDir[dir] = c.listings.begin();
        while (c.listings.size() > kMaxDirectories || c.names > kMaxNames) dropListing(c, std::prev(c.listings.end()));
    }
    return true;
}

// ---------------------------------------------------------------------------
// 4. Dropping listings
// ---------------------------------------------------------------------------

void kvListingChanged(const char* path) {
    Cache& c = theCache();
    if (c.listings.empty()) return;
    const std::string p = path ? path : "";
    if (p.empty() || p[0] != '/') {
        kvListingCacheClear();  // relative to a directory the cache does not know
        return;
    }
    // The directory that holds the entry, and the entry itself with all
    // below it, should it be a directory that was renamed or removed.
    size_t slash = p.find_last_of('/');
    const std::string parent = slash == 0 ? "/" : p.substr(0, slash);
    auto known = c.byDir.find(parent);
    if (known != c.byDir.end()) dropListing(c, known->second);
    for (auto it = c.listings.begin(); it != c.listings.end();) {
        auto next = std::next(it);
        const std::string& d = it->dir;
        if (d.compare(0, p.size(), p) == 0 && (d.size() == p.size() || d[p.size()] == '/')) dropListing(c, it);
        it = next;
    }
}

void kvListingCacheClear() {
    Cache& c = theCache();
    c.listings.clear();
    c.byDir.clear();
    c.names = 0;
}
