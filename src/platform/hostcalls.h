// The host calls of the platform layer, all through one table.
//
// Every system call that src/platform/ makes goes through kvHost, a table of
// function pointers, and through the small wrappers below, which count the
// calls and can make one of them fail. A test uses this to prove that an
// operation loses nothing when the disk fills up or a write fails half way:
//
//     kvFaultAt(HostCall::Write, 3, ENOSPC);   // the third write from now fails
//     ... run the operation, check the files ...
//     kvFaultsClear();                          // no faults, default table
//
// A test may also put a function of its own into kvHost (a short write, a
// slow read); kvFaultsClear puts the default table back.
//
// Contents:
//   1. HostCall, the kinds of call
//   2. The table
//   3. Faults and counts (the test-facing API)
//   4. The wrappers that the layer calls
#pragma once

#include <cerrno>
#include <cstddef>
#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

// ---------------------------------------------------------------------------
// 1. Kinds of call. Any stands for all of them in faults and counts.
// ---------------------------------------------------------------------------

enum class HostCall {
    Open,      // open(2), with O_CLOEXEC added
    Read,      // read(2), and pread(2): a read at a place
    Write,     // write(2)
    Close,     // close(2)
    Lseek,     // lseek(2)
    Stat,      // statx(2): every stat by path, following links or not
    Rename,    // rename(2)
    Unlink,    // unlink(2)
    Mkdir,     // mkdir(2)
    Rmdir,     // rmdir(2)
    Opendir,   // opendir(3)
    Readdir,   // readdir(3): fails as readdir does, null with errno set
    Closedir,  // closedir(3)
    Chmod,     // chmod(2)
    Fchmod,    // fchmod(2)
    Futimens,  // futimens(2)
    Getcwd,    // getcwd(3)
    Chdir,     // chdir(2)
    Map,       // mmap(2) of a file to read; munmap(2) is not counted
    Any        // keep last
};

// The name of a kind, for messages ("write", "stat", ...).
const char* kvHostCallName(HostCall kind);

// ---------------------------------------------------------------------------
// 2. The table
// ---------------------------------------------------------------------------

struct statx;

struct HostCallTable {
    int (*open)(const char* path, int flags, mode_t mode);
    ssize_t (*read)(int fd, void* buffer, size_t size);
    ssize_t (*pread)(int fd, void* buffer, size_t size, off_t offset);
    ssize_t (*write)(int fd, const void* buffer, size_t size);
    int (*close)(int fd);
    off_t (*lseek)(int fd, off_t offset, int whence);
    int (*stat)(int dirfd, const char* path, int flags, unsigned int mask, struct statx* out);
    int (*rename)(const char* from, const char* to);
    int (*unlink)(const char* path);
    int (*mkdir)(const char* path, mode_t mode);
    int (*rmdir)(const char* path);
    DIR* (*opendir)(const char* path);
    struct dirent* (*readdir)(DIR* dir);
    int (*closedir)(DIR* dir);
    int (*chmod)(const char* path, mode_t mode);
    int (*fchmod)(int fd, mode_t mode);
    int (*futimens)(int fd, const struct timespec times[2]);
    char* (*getcwd)(char* buffer, size_t size);
    int (*chdir)(const char* path);
    void* (*mmap)(void* address, size_t size, int protection, int flags, int fd, off_t offset);
    int (*munmap)(void* address, size_t size);
};

// The table in use. Tests may replace entries; kvFaultsClear restores them.
extern HostCallTable kvHost;
// The plain POSIX calls.
extern const HostCallTable kvHostDefaults;

// ---------------------------------------------------------------------------
// 3. Faults and counts
// ---------------------------------------------------------------------------

// Makes the n-th call of `kind` counted from now (n = 1: the next one) fail
// with `error` (ENOSPC, EACCES, EIO, ...), and the `count` - 1 calls of that
// kind after it as well; count 0 means every call from then on. With kind
// Any, calls of every kind are counted. A failing call does not reach the
// host: it returns -1 (null for opendir, readdir, getcwd) with errno set.
// Up to 16 faults may wait at once.
void kvFaultAt(HostCall kind, unsigned long n, int error, unsigned long count = 1);
// Drops every waiting fault, puts the default table back into kvHost and
// sets the counts to zero. Both calls also empty the layer's listing cache,
// so that the calls counted and failed are those of the disk.
void kvFaultsClear();
// Calls of `kind` (Any: of all kinds) since the last kvFaultsClear, failed
// ones included.
unsigned long kvHostCallCount(HostCall kind = HostCall::Any);
// Calls that a fault made fail since the last kvFaultsClear.
unsigned long kvFaultsHit();

// ---------------------------------------------------------------------------
// 4. Wrappers: what the layer calls. Each counts the call, fails it if a
// fault says so, and otherwise calls through kvHost.
// ---------------------------------------------------------------------------

// True if this call is to fail; errno is then set.
bool kvHostCallFails(HostCall kind);
// Tells the listing cache that the entry at host path `path` was made,
// removed or renamed: the listings of its directory, and of the entry
// itself and all below it, are dropped.
void kvListingChanged(const char* path);

inline int hostOpen(const char* path, int flags, mode_t mode = 0) {
    if (kvHostCallFails(HostCall::Open)) return -1;
    int fd = kvHost.open(path, flags, mode);
    if (fd >= 0 && (flags & O_CREAT)) kvListingChanged(path);
    return fd;
}
inline ssize_t hostRead(int fd, void* buffer, size_t size) {
    return kvHostCallFails(HostCall::Read) ? -1 : kvHost.read(fd, buffer, size);
}
inline ssize_t hostPread(int fd, void* buffer, size_t size, off_t offset) {
    return kvHostCallFails(HostCall::Read) ? -1 : kvHost.pread(fd, buffer, size, offset);
}
inline ssize_t hostWrite(int fd, const void* buffer, size_t size) {
    return kvHostCallFails(HostCall::Write) ? -1 : kvHost.write(fd, buffer, size);
}
inline int hostClose(int fd) {
    // A failing close still releases the descriptor, as close(2) does.
    if (kvHostCallFails(HostCall::Close)) {
        int saved = errno;
        kvHostDefaults.close(fd);
        errno = saved;
        return -1;
    }
    return kvHost.close(fd);
}
inline off_t hostLseek(int fd, off_t offset, int whence) {
    return kvHostCallFails(HostCall::Lseek) ? -1 : kvHost.lseek(fd, offset, whence);
}
inline int hostStat(int dirfd, const char* path, int flags, unsigned int mask, struct statx* out) {
    return kvHostCallFails(HostCall::Stat) ? -1 : kvHost.stat(dirfd, path, flags, mask, out);
}
inline int hostRename(const char* from, const char* to) {
    if (kvHostCallFails(HostCall::Rename)) return -1;
    int result = kvHost.rename(from, to);
    if (result == 0) {
        kvListingChanged(from);
        kvListingChanged(to);
    }
    return result;
}
inline int hostUnlink(const char* path) {
    if (kvHostCallFails(HostCall::Unlink)) return -1;
    int result = kvHost.unlink(path);
    if (result == 0) kvListingChanged(path);
    return result;
}
inline int hostMkdir(const char* path, mode_t mode) {
    if (kvHostCallFails(HostCall::Mkdir)) return -1;
    int result = kvHost.mkdir(path, mode);
    if (result == 0) kvListingChanged(path);
    return result;
}
inline int hostRmdir(const char* path) {
    if (kvHostCallFails(HostCall::Rmdir)) return -1;
    int result = kvHost.rmdir(path);
    if (result == 0) kvListingChanged(path);
    return result;
}
inline DIR* hostOpendir(const char* path) {
    return kvHostCallFails(HostCall::Opendir) ? nullptr : kvHost.opendir(path);
}
inline struct dirent* hostReaddir(DIR* dir) {
    return kvHostCallFails(HostCall::Readdir) ? nullptr : kvHost.readdir(dir);
}
inline int hostClosedir(DIR* dir) {
    // A failing closedir must still free the stream, as closedir(3) does.
    if (kvHostCallFails(HostCall::Closedir)) {
        int saved = errno;
        kvHostDefaults.closedir(dir);
        errno = saved;
        return -1;
    }
    return kvHost.closedir(dir);
}
// A read-only shared mapping of the first size bytes of fd; MAP_FAILED
// with errno set on failure.
inline void* hostMapToRead(int fd, size_t size) {
    return kvHostCallFails(HostCall::Map) ? MAP_FAILED : kvHost.mmap(nullptr, size, PROT_READ, MAP_SHARED, fd, 0);
}
inline int hostChmod(const char* path, mode_t mode) {
    return kvHostCallFails(HostCall::Chmod) ? -1 : kvHost.chmod(path, mode);
}
inline int hostFchmod(int fd, mode_t mode) { return kvHostCallFails(HostCall::Fchmod) ? -1 : kvHost.fchmod(fd, mode); }
inline int hostFutimens(int fd, const struct timespec times[2]) {
    return kvHostCallFails(HostCall::Futimens) ? -1 : kvHost.futimens(fd, times);
}
inline char* hostGetcwd(char* buffer, size_t size) {
    return kvHostCallFails(HostCall::Getcwd) ? nullptr : kvHost.getcwd(buffer, size);
}
inline int hostChdir(const char* path) { return kvHostCallFails(HostCall::Chdir) ? -1 : kvHost.chdir(path); }

// close() that cannot be failed by a fault and keeps errno: for clean-up
// after an error has already been decided, where a second failure must not
// hide the first. The file descriptor is always released.
void hostCloseQuietly(int fd);
