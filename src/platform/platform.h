// The engine's view of the host: Win32 and C runtime names over POSIX.
//
// Engine code is written against the ANSI Win32 file interface and a few C
// runtime extras. This header declares those names with the outcomes that
// the engine relies on; src/platform/ implements them on Linux. It is the
// only code that touches the host file system: no other directory calls
// open, stat, readdir, chdir or fopen on an engine path.
//
// Contents:
//   1. Types and constants (DWORD, FILETIME, WIN32_FIND_DATA, error codes, ...)
//   2. Errors: GetLastError / SetLastError
//   3. Enumeration: FindFirstFileA / FindNextFileA / FindClose
//   4. Attributes, paths, directories
//   5. Files: copy, delete, handles, times
//   6. Text services: lstrcmpiA, FormatMessageA, LocalFree
//   7. Profiles: GetPrivateProfileStringA
//   8. C runtime extras: _stricmp, _splitpath, _access, _stat, ...
//   9. Streams: kvFopen, the one way to open an engine path as a FILE*
//  10. Engine helpers: path conversion and the trace output (exported)
//
// Engine paths are Windows-style (see docs/platform.md): a drive letter on
// every absolute path, Z: being the host root and KVENG_DRIVES mapping more
// letters; every component is resolved without regard to case.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

// glibc's <sys/stat.h> defines st_atime, st_mtime and st_ctime as macros that
// would rename the members of struct _stat below. Include it here, once, and
// drop those macros; POSIX code beside this header uses st_mtim.tv_sec.
#include <sys/stat.h>
#undef st_atime
#undef st_mtime
#undef st_ctime

#include "kv_export.h"

// ---------------------------------------------------------------------------
// 1. Types and constants
// ---------------------------------------------------------------------------

typedef uint32_t DWORD;
typedef uint16_t WORD;
typedef uint8_t BYTE;
typedef int BOOL;
typedef unsigned int UINT;
typedef void* HANDLE;
typedef void* HMODULE;
typedef void* HINSTANCE;
typedef const char* LPCSTR;
typedef char* LPSTR;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

#define MAX_PATH 260

#define INVALID_HANDLE_VALUE ((HANDLE)(intptr_t)-1)
#define INVALID_FILE_ATTRIBUTES ((DWORD)0xFFFFFFFF)

#define FILE_ATTRIBUTE_READONLY 0x00000001
#define FILE_ATTRIBUTE_HIDDEN 0x00000002
#define FILE_ATTRIBUTE_SYSTEM 0x00000004
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010
#define FILE_ATTRIBUTE_ARCHIVE 0x00000020
#define FILE_ATTRIBUTE_NORMAL 0x00000080
#define FILE_ATTRIBUTE_REPARSE_POINT 0x00000400

// Win32 error codes that the engine tests or reports.
#define ERROR_SUCCESS 0
#define ERROR_FILE_NOT_FOUND 2
#define ERROR_PATH_NOT_FOUND 3
#define ERROR_TOO_MANY_OPEN_FILES 4
#define ERROR_ACCESS_DENIED 5
#define ERROR_INVALID_HANDLE 6
#define ERROR_NOT_ENOUGH_MEMORY 8
#define ERROR_NOT_SAME_DEVICE 17
#define ERROR_NO_MORE_FILES 18
#define ERROR_WRITE_FAULT 29
#define ERROR_READ_FAULT 30
#define ERROR_GEN_FAILURE 31
#define ERROR_SHARING_VIOLATION 32
#define ERROR_HANDLE_DISK_FULL 39
#define ERROR_BAD_NETPATH 53
#define ERROR_FILE_EXISTS 80
#define ERROR_INVALID_PARAMETER 87
#define ERROR_BUFFER_OVERFLOW 111
#define ERROR_DISK_FULL 112
#define ERROR_INSUFFICIENT_BUFFER 122
#define ERROR_INVALID_NAME 123
#define ERROR_NEGATIVE_SEEK 131
#define ERROR_DIR_NOT_EMPTY 145
#define ERROR_ALREADY_EXISTS 183
#define ERROR_FILENAME_EXCED_RANGE 206
#define ERROR_FILE_TOO_LARGE 223
#define ERROR_DIRECTORY 267
#define ERROR_IO_DEVICE 1117
#define ERROR_CANT_RESOLVE_FILENAME 1921

// CreateFileA
#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4
#define TRUNCATE_EXISTING 5
#define FILE_FLAG_BACKUP_SEMANTICS 0x02000000u
#define FILE_SHARE_READ 0x00000001
#define FILE_SHARE_WRITE 0x00000002
#define FILE_SHARE_DELETE 0x00000004

// FormatMessageA
#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x00000100
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x00000200
#define FORMAT_MESSAGE_FROM_STRING 0x00000400
#define FORMAT_MESSAGE_FROM_HMODULE 0x00000800
#define FORMAT_MESSAGE_FROM_SYSTEM 0x00001000
#define FORMAT_MESSAGE_ARGUMENT_ARRAY 0x00002000
#define FORMAT_MESSAGE_MAX_WIDTH_MASK 0x000000FF

// 100-nanosecond units since 1 January 1601 UTC, in two halves.
struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

// The find record of a directory entry. cFileName is the name as the file
// system spells it; the size is split into two 32-bit halves.
struct WIN32_FIND_DATAA {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;
    DWORD dwReserved1;
    char cFileName[MAX_PATH];
    char cAlternateFileName[14];
};
typedef WIN32_FIND_DATAA WIN32_FIND_DATA;

// ---------------------------------------------------------------------------
// 2. Errors
// ---------------------------------------------------------------------------

// The Win32 code of the last failing call of this layer (kept per thread, as
// Windows does; the engine has one). Calls that succeed leave it as it was,
// except where Windows sets it on success too (CreateFileA).
DWORD GetLastError();
void SetLastError(DWORD code);

// ---------------------------------------------------------------------------
// 3. Enumeration
// ---------------------------------------------------------------------------

// pattern: a directory followed by a last component that may hold the
// wildcards * and ?, matched without regard to case ("*.*" also matches names
// without a dot), or a plain path, which finds that one entry with its name
// as spelled on disk. A directory listing gives "." and ".." first (none at a
// drive root), then the entries sorted by name without regard to case (by
// upper-case ASCII; names equal but for case by their bytes). A link to a
// directory has the attributes 0x10 | 0x400; a link to a file is that file.
// Returns INVALID_HANDLE_VALUE and sets the last error on failure: 2 when
// nothing matches in an existing directory (or a plain path is missing in
// an existing directory), 3 when the directory is missing, 123 for a
// wildcard before the last component.
HANDLE FindFirstFileA(const char* pattern, WIN32_FIND_DATAA* data);
// FALSE with last error 18 at the end of the listing; any other last error
// means the listing failed (an entry could not be read).
BOOL FindNextFileA(HANDLE find, WIN32_FIND_DATAA* data);
BOOL FindClose(HANDLE find);

// ---------------------------------------------------------------------------
// 4. Attributes, paths, directories
// ---------------------------------------------------------------------------

// INVALID_FILE_ATTRIBUTES if the path is not there (last error 2 if its
// directory exists, 3 if not).
DWORD GetFileAttributesA(const char* path);
// Only the read-only bit has an effect, and only on files: set, it clears
// every write permission bit; cleared, it gives the owner write permission.
BOOL SetFileAttributesA(const char* path, DWORD attributes);
// Absolute engine form of path against the current directory, with "." and
// ".." resolved by the text, trailing dots and blanks of the last component
// removed; the disk is not looked at. Returns the length written, or the
// size needed (with the NUL) if the buffer is too small, or 0 on failure.
// filePart, if not null, receives a pointer to the last component inside
// buffer (null if the result ends in a backslash).
DWORD GetFullPathNameA(const char* path, DWORD size, char* buffer, char** filePart);
// The host has no short names: the path itself, if it exists; 0 if not.
DWORD GetShortPathNameA(const char* longPath, char* shortPath, DWORD size);
// Creates one level, with the spelling given. Fails with 183 if it exists,
// 3 if the parent is missing.
BOOL CreateDirectoryA(const char* path, void* securityAttributes);
// Removes an empty directory (145 if not empty, 267 for a file). On a link
// to a directory, removes the link and never what it points to.
BOOL RemoveDirectoryA(const char* path);
// Engine form of the process's current directory (drive letter, backslashes,
// no trailing backslash except at a drive root).
DWORD GetCurrentDirectoryA(DWORD size, char* buffer);
BOOL SetCurrentDirectoryA(const char* path);
// $TMPDIR, else /tmp, in engine form with a trailing backslash.
DWORD GetTempPathA(DWORD size, char* buffer);
// path + "\" + prefix (at most 3 characters) + unique in hex + ".TMP".
// With unique 0 a free name is searched and the file created; with any other
// number (its low 16 bits) the name is only built, nothing is looked at.
// Returns the number used, 0 on failure.
UINT GetTempFileNameA(const char* path, const char* prefix, UINT unique, char* tempFileName);

// ---------------------------------------------------------------------------
// 5. Files
// ---------------------------------------------------------------------------

// Copies content, permission bits and last write time. Fails (80) if
// failIfExists and the target exists, (5) if the target is read-only or a
// directory, (32) if both name the same file. Never leaves a half-written
// target in place of a good one: the copy goes to a temporary file beside
// the target, renamed over it at the end. A link as target is replaced by
// the copy; what it pointed to is not touched.
BOOL CopyFileA(const char* existing, const char* target, BOOL failIfExists);
// Fails with 5 on a read-only file or a directory, as on Windows.
BOOL DeleteFileA(const char* path);
// Renames within or across directories. Fails (183) if the target exists,
// unless it is the same entry in another case. Across file systems a file
// is copied and then deleted; a directory cannot move (17).
BOOL MoveFileA(const char* existing, const char* target);

// Enough of CreateFileA for what the engine does with handles: open an
// existing file (or directory, with FILE_FLAG_BACKUP_SEMANTICS) to set its
// times, or create one. Opening a read-only file for writing fails (5).
HANDLE CreateFileA(const char* path, DWORD access, DWORD shareMode, void* securityAttributes,
                   DWORD creationDisposition, DWORD flags, HANDLE templateFile);
// Any of the three may be null; only the last write time reaches the host,
// and a time of zero leaves it as it is.
BOOL SetFileTime(HANDLE file, const FILETIME* creation, const FILETIME* lastAccess,
                 const FILETIME* lastWrite);
BOOL CloseHandle(HANDLE handle);
// UTC to local time by the host time zone (TZ), with the offset in force at
// that time.
BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local);
BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* system);

// ---------------------------------------------------------------------------
// 6. Text services
// ---------------------------------------------------------------------------

// Ordering comparison without regard to case (<0, 0, >0): punctuation before
// digits before letters; 0 exactly when equal but for ASCII case.
int lstrcmpiA(const char* a, const char* b);
// FORMAT_MESSAGE_FROM_STRING only: positional %1 to %9 from an array of
// strings (FORMAT_MESSAGE_ARGUMENT_ARRAY), %% for a percent sign, %0 ends
// the text. With FORMAT_MESSAGE_ALLOCATE_BUFFER, *(char**)buffer receives a
// block that the caller frees with LocalFree. Returns the length of the
// result, 0 on failure (87 for a bad call, 122 if it does not fit).
DWORD FormatMessageA(DWORD flags, const void* source, DWORD messageId, DWORD languageId,
                     char* buffer, DWORD size, const char* const* arguments);
void* LocalFree(void* memory);

// ---------------------------------------------------------------------------
// 7. Profiles
// ---------------------------------------------------------------------------

// Windows rules: sections and keys without regard to case, values trimmed,
// one pair of surrounding quotes removed; a null section lists the sections,
// a null key the keys of a section, each NUL-terminated and the list ended
// by a second NUL. A value is cut to size - 1 characters; a list that does
// not fit in size - 1 (also one that fits exactly) has its last name cut,
// two NULs at the end of the buffer, and returns size - 2. Otherwise returns
// the number of characters copied without the final NUL. A missing file,
// section, key or value gives the default, trailing blanks removed (last
// error 2). A bare file name is looked up in $KVENG_WINDIR, else
// $XDG_CONFIG_HOME/kelvault, else ~/.config/kelvault. The file is read at
// every call.
DWORD GetPrivateProfileStringA(const char* section, const char* key, const char* defaultText,
                               char* buffer, DWORD size, const char* fileName);

// ---------------------------------------------------------------------------
// 8. C runtime extras
// ---------------------------------------------------------------------------

#define _MAX_DRIVE 3
#define _MAX_DIR 256
#define _MAX_FNAME 256
#define _MAX_EXT 256

#define _S_IFDIR 0040000
#define _S_IFREG 0100000
#define _S_IREAD 0000400
#define _S_IWRITE 0000200

struct _stat {
    unsigned int st_dev;
    unsigned short st_ino;
    unsigned short st_mode;
    short st_nlink;
    short st_uid;
    short st_gid;
    unsigned int st_rdev;
    int64_t st_size;
    int64_t st_atime;
    int64_t st_mtime;
    int64_t st_ctime;
};

int _stricmp(const char* a, const char* b);
int _strcmpi(const char* a, const char* b);
int _strnicmp(const char* a, const char* b, size_t count);
char* _strlwr(char* text);
// Any of the outputs may be null. Separators are "\" and "/". A part longer
// than its _MAX_ size empties every output and sets errno to ERANGE.
void _splitpath(const char* path, char* drive, char* dir, char* fname, char* ext);
// mode 0 exists, 2 writable, 4 readable, 6 both. 0 on success, -1 with errno.
// A directory answers only whether it exists.
int _access(const char* path, int mode);
// As on Windows: the owner's read/write bits stand for all three, execute
// by extension (.exe .com .bat .cmd) and on directories; st_dev is the drive
// number (Z: 25), st_ctime the creation time.
int _stat(const char* path, struct _stat* buffer);
// Fails (EACCES) on a read-only file or a directory.
int _unlink(const char* path);

// ---------------------------------------------------------------------------
// 9. Streams
// ---------------------------------------------------------------------------

// fopen of an engine path, with the fopen modes the engine uses ("r", "rt",
// "rb", "w", "wt", "wb", "wb+", "a", ...). Text mode ("r", "rt") reads CR LF
// as LF, as Windows text mode does (a lone CR stays); its positions count
// characters as read. ftell and fseek on any other stream are byte offsets
// of the file. Text mode writes line feeds as they are. A new file takes the
// spelling given, in the directory as spelled on disk; a read-only file does
// not open for writing (EACCES, 5). Every read, write, seek and close goes
// through the host call table, so that tests can make them fail; fclose
// fails if any write of the stream failed. Null with errno and last error
// set on failure.
FILE* kvFopen(const char* path, const char* mode);

// fread(buffer, 1, size, stream), except that it may return fewer than
// size characters before the end (0 only at the end or on an error, which
// ferror then tells). A stream of kvFopen that only reads, and whose own
// buffer holds nothing, is read straight into buffer (text translated
// there), so that a caller with a large buffer of its own has each byte
// copied once.
size_t kvFreadBlock(FILE* stream, char* buffer, size_t size);

// size bytes at offset (a byte offset of the file) of a stream of kvFopen
// opened to read in binary, read without moving the stream: as many as the
// file holds there, fewer only at its end; a failure sets ferror. Any other
// stream is sought and read with fseek and fread.
size_t kvReadAt(FILE* stream, int64_t offset, char* buffer, size_t size);

// ---------------------------------------------------------------------------
// 10. Engine helpers
// ---------------------------------------------------------------------------

// Host path (absolute, or relative to the current directory) to engine
// path: the drive letter whose root is its longest prefix, backslashes.
KVENG_API std::string ToEnginePath(const char* hostPath);
// Engine path to host path; case is resolved against the disk where the
// path exists. An unmapped drive or a UNC name gives an empty string.
KVENG_API std::string ToHostPath(const char* enginePath);
// Where the engine's trace lines go; null turns them off. Standard output
// at start.
KVENG_API void SetTraceOutput(FILE* out);
// printf-style write to the trace output, if any.
void kvTrace(const char* format, ...) __attribute__((format(printf, 1, 2)));
