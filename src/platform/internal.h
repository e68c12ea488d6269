// What the sources of src/platform/ share among themselves. Engine code
// outside this directory uses platform.h and nothing of this.
//
//   1. Errors: errno to Win32, and setting both
//   2. Drives: the host root of a drive letter
//   3. Engine paths: parsing to the full form
//   4. Resolution: engine path to host path, without regard to case
//   5. Find records, attributes and times
//   6. Handles
#pragma once

#include <string>
#include <sys/stat.h>
#include <vector>

#include "platform/platform.h"

// ---------------------------------------------------------------------------
// 1. Errors
// ---------------------------------------------------------------------------

// The one mapping from errno to Win32 error codes. ENOENT gives 2; where a
// directory of the path is missing the caller knows better and says 3.
DWORD kvWin32FromErrno(int error);
// Sets errno to `error` and the last error to its Win32 code.
void kvSetErrno(int error);
// Sets errno and the last error apart (ENOENT with 3, EEXIST with 80, ...).
void kvSetError(int error, DWORD win32);

// ---------------------------------------------------------------------------
// 2. Drives
// ---------------------------------------------------------------------------

// The host directory that drive `letter` (either case) stands for, without
// a trailing slash except for "/" itself; empty for an unmapped letter. Z is
// "/"; KVENG_DRIVES maps more, and is read again whenever it changes.
std::string kvDriveRoot(char letter);

// ---------------------------------------------------------------------------
// 3. Engine paths
// ---------------------------------------------------------------------------

// An engine path in its full form, split into components.
struct EnginePath {
    enum Kind { Drive, Unc };
    Kind kind = Drive;
    char drive = 0;                  // the drive letter, upper case
    std::string server, share;       // of a UNC name
    std::vector<std::string> parts;  // the components, "." and ".." resolved
    bool trailingSeparator = false;  // the text ended in a separator

    // The engine form: "C:\a\b", "C:\", "\\server\share\a".
    std::string text() const;
};

// Parses `path` to its full form against the current directory, by the
// rules of GetFullPathNameA: "/" and "\" both separate, "." and ".." are
// resolved by the text, trailing dots and blanks of the last component go.
// False with errno and last error set if the path is empty or the current
// directory cannot be read.
bool kvParsePath(const char* path, EnginePath& out);
// The engine form of the current directory; empty on failure (errno and
// last error set).
std::string kvCurrentDirectory();

// ---------------------------------------------------------------------------
// 4. Resolution
// ---------------------------------------------------------------------------

// An engine path resolved against the disk.
struct HostFile {
    enum Status {
        Found,        // the path names an entry; host is its disk spelling
        LastMissing,  // every directory exists, the last component does not
        DirMissing,   // a directory of the path is missing (or is a file)
        Failed        // nothing can be said: unmapped drive, UNC, I/O error
    };
    Status status = Failed;
    std::string host;   // host path: spelled as on disk as far as it exists,
                        // then as given; empty when Failed
    struct statx st{};  // Found: the entry itself, a link not followed
    int error = 0;      // errno when not Found
    DWORD win32 = 0;    // the last error when not Found

    bool found() const { return status == Found; }
    // Sets errno and the last error from a resolution that did not find.
    void fail() const { kvSetError(error, win32); }
};

// Resolves an engine path: an exact match wins (one stat of the whole
// path); otherwise each component is matched without regard to case, the
// first match in name order winning.
HostFile kvResolve(const char* enginePath);
HostFile kvResolvePath(const EnginePath& path);
// The host path of an engine path spelled exactly as given, without asking
// the disk; empty where kvResolvePath fails before asking (UNC, unmapped
// drive, wildcards).
std::string kvHostPathAsSpelled(const EnginePath& path);
// The entry that a found file stands for: what a link points to, or the
// entry itself. False for a link that points nowhere (errno set).
bool kvStatTarget(const HostFile& file, struct statx& out);

// Looks in host directory `dir` for the first entry, in name order, whose
// name matches `name` without regard to case, and that is a directory (or
// a link to one) if `wantDirectory`; `match` is left empty if there is
// none or the directory is gone. Returns false with errno set if the
// directory cannot be read (also for want of permission): not knowing which
// spellings exist, the caller must not take the name as missing. Served
// from the listing cache when it is sure to be current (listings.cpp).
// `dirStat`, if given, is a stat of `dir` (links followed) that the caller
// has just taken; otherwise the directory is stat'ed here.
bool kvFindCaseMatch(const std::string& dir, const std::string& name, bool wantDirectory, std::string& match,
                     const struct statx* dirStat = nullptr);
// Empties the listing cache.
void kvListingCacheClear();

// The order of names in a listing: without regard to case (by upper-case
// ASCII, as NTFS orders), names equal but for case by their bytes.
int kvCompareNames(const char* a, const char* b);
// Equality of names without regard to ASCII case.
bool kvSameName(const char* a, const char* b);

// The statx fields the layer asks for.
#define KV_STATX_MASK (STATX_BASIC_STATS | STATX_BTIME)

// ---------------------------------------------------------------------------
// 5. Find records, attributes, times
// ---------------------------------------------------------------------------

// Attributes of an entry: `entry` as lstat sees it, `target` what a link
// points to (null if it is no link or points nowhere).
DWORD kvAttributesOf(const struct statx& entry, const struct statx* target);
// Read-only: the owner may not write. Not access(), which root passes.
inline bool kvModeReadOnly(unsigned int mode) { return (mode & S_IWUSR) == 0; }
// A find record for an entry named `name`.
void kvFillFindData(const char* name, const struct statx& entry, const struct statx* target,
                    WIN32_FIND_DATAA* out);

FILETIME kvFileTimeFromUnix(int64_t seconds, uint32_t nanoseconds);
// False if the time lies beyond what a timespec holds.
bool kvUnixFromFileTime(const FILETIME& time, struct timespec& out);

// ---------------------------------------------------------------------------
// 6. Handles: find handles and file handles are objects with a tag, so that
// a handle of the wrong kind (or a stale one) is refused.
// ---------------------------------------------------------------------------

enum KvHandleKind : uint32_t { KvFindHandle = 0x464e4448u, KvFileHandle = 0x464c4548u };

struct KvHandle {
    uint32_t kind;
};

// ---------------------------------------------------------------------------
// 7. File views: a whole file mapped to read, for reads at many places
// ---------------------------------------------------------------------------

struct FileView {
    const char* data = nullptr; // null: no view
    size_t size = 0;
};

// Maps the first size bytes (size > 0) of fd to read. False, with errno
// set, when the host will not.
bool kvMapView(int fd, size_t size, FileView& view);
// Unmaps view, which is empty behind it.
void kvUnmapView(FileView& view);
// Copies size bytes at offset of view (offset + size <= view.size) into
// out. False when the file has been cut shorter than the view since it was
// mapped: what lay past its new end reads as zeros, and the view no longer
// tells the file. The process does not die of it: the host's SIGBUS for a
// page of the view under this copy is caught (see fileview.cpp).
bool kvCopyFromView(const FileView& view, size_t offset, char* out, size_t size);
