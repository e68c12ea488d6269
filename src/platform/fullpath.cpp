// Engine paths in their full form: parsing against the current directory,
// GetFullPathNameA and GetCurrentDirectoryA.
//
// The rules are those of Windows path normalisation, applied to the text
// alone (nothing here looks at the disk beyond the current directory):
//
//   "C:\a\b"     absolute                      C:\a\b
//   "C:a"        relative to drive C           the current directory if it
//                                              is on C:, else the root; + a
//   "\a"         rooted on the current drive   Z:\a (when the cwd is on Z:)
//   "a\..\b"     relative to the current dir   Z:\cwd\b
//   "C:/a//b/"   either slash, runs collapse   C:\a\b\  (trailing one kept)
//   "C:\a\b. "   trailing dots and blanks of the last component go: C:\a\b
//   "C:\.."      ".." stops at the root        C:\ (the root)
//   "\\srv\sh\x" a UNC name                    \\srv\sh\x (names nothing on Linux)
//
//   1. Parsing
//   2. GetFullPathNameA, GetCurrentDirectoryA
#include <algorithm>
#include <climits>
#include <cstring>

#include "platform/hostcalls.h"
#include "platform/internal.h"

static bool isSeparator(char c) { return c == '/' || c == '\\'; }

// ---------------------------------------------------------------------------
// 1. Parsing
// ---------------------------------------------------------------------------

std::string EnginePath::text() const {
    std::string out;
    if (kind == Unc) {
        out = "\\\\" + server;
        if (!share.empty()) out += "\\" + share;
        for (const std::string& p : parts) out += "\\" + p;
        if (trailingSeparator && !parts.empty()) out += '\\';
        return out;
    }
    out += drive;
    out += ':';
    if (parts.empty()) return out + '\\';
    for (const std::string& p : parts) out += "\\" + p;
    if (trailingSeparator) out += '\\';
    return out;
}

std::string kvCurrentDirectory() {
    std::vector<char> cwd(PATH_MAX);
    while (!hostGetcwd(cwd.data(), cwd.size())) {
        if (errno != ERANGE) {
            kvSetErrno(errno);
            return std::string();
        }
        cwd.resize(cwd.size() * 2);
    }
    return ToEnginePath(cwd.data());
}

// Splits text at separators, dropping empty pieces.
static void splitComponents(const char* text, std::vector<std::string>& out) {
    const char* p = text;
    while (*p) {
        while (isSeparator(*p)) ++p;
        const char* start = p;
        while (*p && !isSeparator(*p)) ++p;
        if (p > start) out.emplace_back(start, p);
    }
}

// The current directory as a drive letter and components.
static bool currentDirectory(char& drive, std::vector<std::string>& parts) {
    std::string cwd = kvCurrentDirectory();
    if (cwd.size() < 3) return false;
    drive = cwd[0];
    parts.clear();
    splitComponents(cwd.c_str() + 2, parts);
    return true;
}

bool kvParsePath(const char* path, EnginePath& out) {
    out = EnginePath();
    if (!path) {
        kvSetError(EINVAL, ERROR_INVALID_PARAMETER);
        return false;
    }
    if (!*path) {
        kvSetError(ENOENT, ERROR_INVALID_NAME);
        return false;
    }
    const char* rest = path;
    if (isSeparator(path[0]) && isSeparator(path[1])) {
        // \\server\share\rest
        out.kind = EnginePath::Unc;
        const char* p = path + 2;
        const char* start = p;
        while (*p && !isSeparator(*p)) ++p;
        out.server.assign(start, p);
        while (isSeparator(*p)) ++p;
        start = p;
        while (*p && !isSeparator(*p)) ++p;
        out.share.assign(start, p);
        rest = p;
    } else if (path[1] == ':') {
        out.drive = static_cast<char>(toupper(static_cast<unsigned char>(path[0])));
        rest = path + 2;
        if (!isSeparator(*rest)) {
            // Relative to the drive: its current directory is ours if we
            // stand on it, else its root (there is one current directory).
            char drive;
            std::vector<std::string> parts;
            if (!currentDirectory(drive, parts)) return false;
            if (drive == out.drive) out.parts = parts;
        }
    } else {
        char drive;
        std::vector<std::string> parts;
        if (!currentDirectory(drive, parts)) return false;
        out.drive = drive;
        if (!isSeparator(path[0])) out.parts = parts;
    }

    std::vector<std::string> pieces;
    splitComponents(rest, pieces);
    size_t length = strlen(rest);
    out.trailingSeparator = length > 0 && isSeparator(rest[length - 1]) && !pieces.empty();
    // Components from the current directory come first; only those of the
    // text given lose trailing dots and blanks.
    size_t fromCurrent = out.parts.size();
    for (const std::string& piece : pieces) {
        if (piece == ".") continue;
        if (piece == "..") {
            if (!out.parts.empty()) out.parts.pop_back();
            fromCurrent = std::min(fromCurrent, out.parts.size());
            continue;
        }
        out.parts.push_back(piece);
    }
    // Windows drops trailing dots and blanks of the last component ("a." is
    // "a"); a component made of nothing else goes, leaving a separator.
    if (!out.trailingSeparator && out.parts.size() > fromCurrent) {
        std::string& last = out.parts.back();
        size_t keep = last.find_last_not_of(". ");
        if (keep == std::string::npos) {
            out.parts.pop_back();
            out.trailingSeparator = true;
        } else {
            last.erase(keep + 1);
        }
    }
    if (out.parts.empty()) out.trailingSeparator = false;
    return true;
}

// ---------------------------------------------------------------------------
// 2. GetFullPathNameA, GetCurrentDirectoryA
// ---------------------------------------------------------------------------

// Copies text into a caller's buffer by the Win32 rule: the length without
// the NUL on success, the size needed with the NUL if it does not fit.
static DWORD copyOut(const std::string& text, DWORD size, char* buffer) {
    if (text.size() + 1 > size || !buffer) return static_cast<DWORD>(text.size() + 1);
    memcpy(buffer, text.c_str(), text.size() + 1);
    return static_cast<DWORD>(text.size());
}

DWORD GetFullPathNameA(const char* path, DWORD size, char* buffer, char** filePart) {
    EnginePath full;
    if (!kvParsePath(path, full)) return 0;
    std::string text = full.text();
    DWORD result = copyOut(text, size, buffer);
    if (result == text.size() && filePart) {
        size_t slash = text.rfind('\\');
        *filePart = slash + 1 < text.size() ? buffer + slash + 1 : nullptr;
    }
    return result;
}

DWORD GetCurrentDirectoryA(DWORD size, char* buffer) {
    std::string cwd = kvCurrentDirectory();
    if (cwd.empty()) return 0;
    return copyOut(cwd, size, buffer);
}
