// The host call table and its faults (see hostcalls.h).
//
//   1. The default table: the POSIX calls, with EINTR retried
//   2. Faults and counts
#include "platform/hostcalls.h"
#include "platform/internal.h"

#include <cstdio>
#include <sys/stat.h>

// ---------------------------------------------------------------------------
// 1. The default table
// ---------------------------------------------------------------------------

static int defaultOpen(const char* path, int flags, mode_t mode) {
    int fd;
    do fd = ::open(path, flags | O_CLOEXEC, mode);
    while (fd < 0 && errno == EINTR);
    return fd;
}

static ssize_t defaultRead(int fd, void* buffer, size_t size) {
    ssize_t n;
    do n = ::read(fd, buffer, size);
    while (n < 0 && errno == EINTR);
    return n;
}

static ssize_t defaultPread(int fd, void* buffer, size_t size, off_t offset) {
    ssize_t n;
    do n = ::pread(fd, buffer, size, offset);
    while (n < 0 && errno == EINTR);
    return n;
}

static ssize_t defaultWrite(int fd, const void* buffer, size_t size) {
    ssize_t n;
    do n = ::write(fd, buffer, size);
    while (n < 0 && errno == EINTR);
    return n;
}

static int defaultClose(int fd) {
    // Linux releases the descriptor even when close reports EINTR: no retry.
    return ::close(fd);
}

static off_t defaultLseek(int fd, off_t offset, int whence) { return ::lseek(fd, offset, whence); }

static int defaultStat(int dirfd, const char* path, int flags, unsigned int mask, struct statx* out) {
    return ::statx(dirfd, path, flags, mask, out);
}

static int defaultRename(const char* from, const char* to) { return ::rename(from, to); }
static int defaultUnlink(const char* path) { return ::unlink(path); }
static int defaultMkdir(const char* path, mode_t mode) { return ::mkdir(path, mode); }
static int defaultRmdir(const char* path) { return ::rmdir(path); }
static DIR* defaultOpendir(const char* path) { return ::opendir(path); }
static struct dirent* defaultReaddir(DIR* dir) { return ::readdir(dir); }
static int defaultClosedir(DIR* dir) { return ::closedir(dir); }
static int defaultChmod(const char* path, mode_t mode) { return ::chmod(path, mode); }
static int defaultFchmod(int fd, mode_t mode) { return ::fchmod(fd, mode); }
static int defaultFutimens(int fd, const struct timespec times[2]) { return ::futimens(fd, times); }
static char* defaultGetcwd(char* buffer, size_t size) { return ::getcwd(buffer, size); }
static int defaultChdir(const char* path) { return ::chdir(path); }
static void* defaultMmap(void* address, size_t size, int protection, int flags, int fd, off_t offset) {
    return ::mmap(address, size, protection, flags, fd, offset);
}
static int defaultMunmap(void* address, size_t size) { return ::munmap(address, size); }

const HostCallTable kvHostDefaults = {
    defaultOpen,  defaultRead,    defaultPread,    defaultWrite,    defaultClose,   defaultLseek,  defaultStat,
    defaultRename, defaultUnlink, defaultMkdir,    defaultRmdir,   defaultOpendir, defaultReaddir,
    defaultClosedir, defaultChmod, defaultFchmod, defaultFutimens, defaultGetcwd, defaultChdir,
    defaultMmap,   defaultMunmap,
};

HostCallTable kvHost = kvHostDefaults;

const char* kvHostCallName(HostCall kind) {
    static const char* const names[] = {"open",  "read",    "write",   "close",    "lseek", "stat",
                                        "rename", "unlink", "mkdir",   "rmdir",    "opendir", "readdir",
                                        "closedir", "chmod", "fchmod", "futimens", "getcwd", "chdir",
                                        "mmap",     "any"};
    int i = static_cast<int>(kind);
    return i >= 0 && i <= static_cast<int>(HostCall::Any) ? names[i] : "?";
}

void hostCloseQuietly(int fd) {
    int saved = errno;
    kvHost.close(fd);
    errno = saved;
}

// ---------------------------------------------------------------------------
// 2. Faults and counts
// ---------------------------------------------------------------------------

struct Fault {
    HostCall kind;
    unsigned long first;  // count of `kind` at which failing starts
    unsigned long last;   // ... and ends (0: never)
    int error;
};
static const int kMaxFaults = 16;
static const int kKinds = static_cast<int>(HostCall::Any) + 1;
static Fault faults[kMaxFaults];
static int faultCount = 0;
static unsigned long counts[kKinds];
static unsigned long hits = 0;

void kvFaultAt(HostCall kind, unsigned long n, int error, unsigned long count) {
    if (faultCount == kMaxFaults || n == 0) return;
    kvListingCacheClear();
    Fault& f = faults[faultCount++];
    f.kind = kind;
    f.first = counts[static_cast<int>(kind)] + n;
    f.last = count == 0 ? 0 : f.first + count - 1;
    f.error = error;
}

void kvFaultsClear() {
    faultCount = 0;
    for (unsigned long& c : counts) c = 0;
    hits = 0;
    kvHost = kvHostDefaults;
    kvListingCacheClear();
}

unsigned long kvHostCallCount(HostCall kind) { return counts[static_cast<int>(kind)]; }

unsigned long kvFaultsHit() { return hits; }

bool kvHostCallFails(HostCall kind) {
    unsigned long mine = ++counts[static_cast<int>(kind)];
    unsigned long any = ++counts[static_cast<int>(HostCall::Any)];
    for (int i = 0; i < faultCount; ++i) {
        const Fault& f = faults[i];
        unsigned long c;
        if (f.kind == HostCall::Any)
            c = any;
        else if (f.kind == kind)
            c = mine;
        else
            continue;
        if (c >= f.first && (f.last == 0 || c <= f.last)) {
            ++hits;
            errno = f.error;
            return true;
        }
    }
    return false;
}
