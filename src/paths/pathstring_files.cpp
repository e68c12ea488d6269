// pathstring: the members that ask the file system, all through the
// platform layer (Win32 names), so that a path typed in any case finds the
// entry on disk and getLFN reports the spelling the disk has.
//
// Contents:
//   1. Long and short names: getLFN, getSFN
//   2. Existence and directory creation
//   3. Size, last write time, read-only attribute
#include "paths/pathstring.h"

// The path from the start through component index, as a C-string-ready
// std::string.
static std::string throughComponent(const pathstring& path, int index) {
    const char* b;
    const char* e;
    path.getPathComponent(index, b, e);
    return std::string(path.data(), static_cast<size_t>(e - path.data()));
}

// Offset at which component index begins.
static size_t componentStart(const pathstring& path, int index) {
    const char* b;
    const char* e;
    path.getPathComponent(index, b, e);
    return static_cast<size_t>(b - path.data());
}

// ---------------------------------------------------------------------------
// 1. Long and short names
// ---------------------------------------------------------------------------

int pathstring::getLFN(std::string& result) const {
    if (empty()) return 0;
    const int count = getNumberOfComponents();
    pathstring working;
    bool relative = false;
    int first;
    if (isUNCname()) {
        first = 2;
    } else if (hasDriveLetter()) {
        first = 1;
    } else {
        working.assign(".");
        relative = true;
        first = 0;
    }
    if (first >= count) {
        result.assign(*this);
        return 0;
    }
    int missing = 0;
    for (int i = first; i < count; ++i) {
        if (i == first && !relative) working.assign(*this, 0, componentStart(*this, i));
        WIN32_FIND_DATAA found;
        HANDLE find = FindFirstFileA(throughComponent(*this, i).c_str(), &found);
        if (find == INVALID_HANDLE_VALUE) {
            // Not there: this component and the rest are kept as given, and
            // all of them count as missing.
            missing = count - i;
            working.appendComponent(substr(componentStart(*this, i)));
            break;
        }
        FindClose(find);
        working.push_back('\\');
        const char* b;
        const char* e;
        getPathComponent(i, b, e);
        if (std::string(b, e).find_first_not_of('.') == std::string::npos) {
            // ".." (what tidying leaves of dot directories) has no spelling
            // of its own: the find record names the directory it leads to,
            // which would put that name in place of the step up.
            working.append(b, e);
        } else {
            working.append(found.cFileName);
        }
        working.removeExtraCharacters();
    }
    result.assign(working);
    return missing;
}

int pathstring::getSFN(std::string& result) const {
    if (empty()) return 0;
    char buffer[MAX_PATH];
    DWORD n = GetShortPathNameA(c_str(), buffer, sizeof buffer);
    if (n > 0 && n < sizeof buffer) {
        result.assign(buffer, n);
        return 0;
    }
    // Shorten the longest leading part that exists and keep the rest.
    const int count = getNumberOfComponents();
    int i = count - 2;
    for (; i >= 0; --i) {
        n = GetShortPathNameA(throughComponent(*this, i).c_str(), buffer, sizeof buffer);
        if (n > 0 && n < sizeof buffer) break;
    }
    if (i < 0) {
        i = -1;
        result.assign(*this);
    } else {
        pathstring shortened(std::string(buffer, n));
        shortened.appendComponent(substr(componentStart(*this, i + 1)));
        result.assign(shortened);
    }
    return count - (i + 1);
}

// ---------------------------------------------------------------------------
// 2. Existence and directory creation
// ---------------------------------------------------------------------------

bool pathstring::exists() const { return GetFileAttributesA(c_str()) != INVALID_FILE_ATTRIBUTES; }

bool pathstring::existsDirectory() const {
    DWORD attributes = GetFileAttributesA(c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool pathstring::existsFile() const {
    DWORD attributes = GetFileAttributesA(c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool pathstring::createDirectory() const {
    const int count = getNumberOfComponents();
    // The deepest level that exists; component 0 is taken to exist.
    int i = count - 1;
    for (; i >= 1; --i) {
        DWORD attributes = GetFileAttributesA(throughComponent(*this, i).c_str());
        if (attributes == INVALID_FILE_ATTRIBUTES) continue;
        if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return false;
        break;
    }
    if (i < 0) i = 0;
    for (int level = i + 1; level < count; ++level)
        if (!CreateDirectoryA(throughComponent(*this, level).c_str(), nullptr)) return false;
    return true;
}

// ---------------------------------------------------------------------------
// 3. Size, last write time, read-only attribute
// ---------------------------------------------------------------------------

int64_t pathstring::getFileSize() const {
    WIN32_FIND_DATAA found;
    HANDLE find = FindFirstFileA(c_str(), &found);
    if (find == INVALID_HANDLE_VALUE) return 0;
    FindClose(find);
    // 4294967295, not 2^32: item sizes of the workspace count the same way.
    return static_cast<int64_t>(found.nFileSizeHigh) * 4294967295LL + found.nFileSizeLow;
}

bool pathstring::getFileTime_LastWrite(FILETIME& lastWrite) const {
    WIN32_FIND_DATAA found;
    HANDLE find = FindFirstFileA(c_str(), &found);
    if (find == INVALID_HANDLE_VALUE) {
        lastWrite.dwLowDateTime = 0;
        lastWrite.dwHighDateTime = 0;
        return false;
    }
    FindClose(find);
    lastWrite = found.ftLastWriteTime;
    return true;
}

bool pathstring::setFileTime_LastWrite(const FILETIME& lastWrite) const {
    HANDLE file = CreateFileA(c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    BOOL done = SetFileTime(file, nullptr, nullptr, &lastWrite);
    CloseHandle(file);
    return done != FALSE;
}

bool pathstring::isReadOnly() const {
    DWORD attributes = GetFileAttributesA(c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
}

bool pathstring::setReadOnly(bool state) const {
    DWORD attributes = GetFileAttributesA(c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return false;
    if (((attributes & FILE_ATTRIBUTE_READONLY) != 0) == state) return true;
    return SetFileAttributesA(c_str(), attributes ^ FILE_ATTRIBUTE_READONLY) != FALSE;
}
