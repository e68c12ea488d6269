// The last error of the layer, and the one mapping from errno to Win32 codes.
#include <cerrno>

#include "platform/internal.h"

static thread_local DWORD lastError = ERROR_SUCCESS;

DWORD GetLastError() { return lastError; }

void SetLastError(DWORD code) { lastError = code; }

DWORD kvWin32FromErrno(int error) {
    switch (error) {
    case 0: return ERROR_SUCCESS;
    case ENOENT: return ERROR_FILE_NOT_FOUND;
    case ENOTDIR: return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case EBUSY: return ERROR_ACCESS_DENIED;
    case ETXTBSY: return ERROR_SHARING_VIOLATION;
    case EEXIST: return ERROR_ALREADY_EXISTS;
    case ENOTEMPTY: return ERROR_DIR_NOT_EMPTY;
    case ENOSPC:
    case EDQUOT: return ERROR_DISK_FULL;
    case EMFILE:
    case ENFILE: return ERROR_TOO_MANY_OPEN_FILES;
    case ENOMEM: return ERROR_NOT_ENOUGH_MEMORY;
    case EBADF: return ERROR_INVALID_HANDLE;
    case EINVAL: return ERROR_INVALID_PARAMETER;
    case ENAMETOOLONG: return ERROR_FILENAME_EXCED_RANGE;
    case EXDEV: return ERROR_NOT_SAME_DEVICE;
    case ELOOP: return ERROR_CANT_RESOLVE_FILENAME;
    case EFBIG: return ERROR_FILE_TOO_LARGE;
    case EIO: return ERROR_IO_DEVICE;
    default: return ERROR_GEN_FAILURE;
    }
}

void kvSetErrno(int error) {
    errno = error;
    lastError = kvWin32FromErrno(error);
}

void kvSetError(int error, DWORD win32) {
    errno = error;
    lastError = win32;
}
