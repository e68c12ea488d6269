// GetPrivateProfileStringA: reading INI files by the Windows rules.
//
// Format notes (as read here):
//   - Lines end in LF, CR LF or CR. Blanks and tabs around a line are
//     ignored; an empty line, or one that starts with ";", is nothing.
//     A UTF-8 byte order mark at the start is passed over; the text ends at
//     a NUL byte, if there is one.
//   - "[name]" opens a section; the name is what stands between "[" and the
//     last "]", trimmed. A line starting with "[" but without "]" is nothing.
//     Lines before the first section belong to none and cannot be read.
//   - "key=value": key and value are trimmed; one pair of matching quotes
//     (double or single) around the value is removed. The value runs to the
//     end of the line (";" inside it is text). A line without "=" is a key
//     without a value: asking for it gives the default, and key lists
//     leave it out.
//   - Sections and keys match without regard to case. Of several sections
//     of one name, the first is the one read; of several keys of one name
//     in it, the first. Lists name each once, spelled as first met.
//
// Results, as Windows gives them (buffer of `size` characters):
//   - a value: copied and cut to size - 1 characters; returns its length.
//   - a list (null section: the sections; null key: the keys): each name
//     NUL-terminated, the list ended by a second NUL. When the list and its
//     final NUL do not fit in size - 1 characters (so also when it fits
//     exactly), the last name is cut, two NULs end the buffer, and the
//     result is size - 2.
//   - the default (no file, no such section, key or value, an empty key
//     list): trailing blanks removed, copied and cut as a value. A null
//     default is "". The last error is then 2 (file not found); a result
//     from the file leaves the last error alone.
// The file is read at every call: no answer can be older than the disk.
//
//   1. Where the file lies
//   2. Parsing
//   3. Copying results
//   4. GetPrivateProfileStringA
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "platform/hostcalls.h"
#include "platform/internal.h"

// ---------------------------------------------------------------------------
// 1. Where the file lies
// ---------------------------------------------------------------------------

// The engine path of an INI file name: a bare name (no separator and no
// drive) lies in $KVENG_WINDIR, else $XDG_CONFIG_HOME/kelvault, else
// ~/.config/kelvault. Empty if there is no such directory to look in.
static std::string profilePath(const char* fileName) {
    std::string name = fileName && *fileName ? fileName : "win.ini";
    if (name.find_first_of("\\/:") != std::string::npos) return name;
    std::string directory;
    const char* windir = getenv("KVENG_WINDIR");
    const char* config = getenv("XDG_CONFIG_HOME");
    const char* home = getenv("HOME");
    if (windir && *windir)
        directory = windir;
    else if (config && config[0] == '/')
        directory = std::string(config) + "/kelvault";
    else if (home && *home)
        directory = std::string(home) + "/.config/kelvault";
    else
        return std::string();
    return ToEnginePath(directory.c_str()) + "\\" + name;
}

// Reads the whole file. False if it cannot be opened or read.
static bool readWhole(const char* enginePath, std::string& text) {
    HostFile f = kvResolve(enginePath);
    if (!f.found()) {
        f.fail();
        return false;
    }
    struct statx target;
    if (!kvStatTarget(f, target) || !S_ISREG(target.stx_mode)) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return false;
    }
    int fd = hostOpen(f.host.c_str(), O_RDONLY | O_NONBLOCK);
    if (fd < 0) {
        kvSetErrno(errno);
        return false;
    }
    char buffer[16384];
    for (;;) {
        ssize_t n = hostRead(fd, buffer, sizeof buffer);
        if (n < 0) {
            int error = errno;
            hostCloseQuietly(fd);
            kvSetErrno(error);
            return false;
        }
        if (n == 0) break;
        text.append(buffer, static_cast<size_t>(n));
    }
    hostClose(fd);
    return true;
}

// ---------------------------------------------------------------------------
// 2. Parsing
// ---------------------------------------------------------------------------

struct ProfileKey {
    std::string name;
    std::string value;
    bool hasValue;
};

struct ProfileSection {
    std::string name;
    std::vector<ProfileKey> keys;
};

static bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }

static std::string trimmed(const char* begin, const char* end) {
    while (begin < end && isBlank(*begin)) ++begin;
    while (end > begin && isBlank(end[-1])) --end;
    return std::string(begin, end);
}

static void parseProfile(const std::string& file, std::vector<ProfileSection>& sections) {
    const char* p = file.c_str();  // stops at a NUL byte, if any
    const char* end = p + strlen(p);
    if (end - p >= 3 && !memcmp(p, "\xEF\xBB\xBF", 3)) p += 3;
    ProfileSection* current = nullptr;
    while (p < end) {
        const char* lineEnd = p;
        while (lineEnd < end && *lineEnd != '\n' && *lineEnd != '\r') ++lineEnd;
        std::string line = trimmed(p, lineEnd);
        p = lineEnd < end ? lineEnd + 1 : end;
        if (line.empty() || line[0] == ';') continue;
        if (line[0] == '[') {
            size_t close = line.rfind(']');
            if (close == std::string::npos) continue;
            sections.push_back(ProfileSection());
            current = &sections.back();
            current->name = trimmed(line.c_str() + 1, line.c_str() + close);
            continue;
        }
        if (!current) continue;
        ProfileKey key;
        size_t eq = line.find('=');
        if (eq == std::string::npos) {
            key.name = line;
            key.hasValue = false;
        } else {
            key.name = trimmed(line.c_str(), line.c_str() + eq);
            key.value = trimmed(line.c_str() + eq + 1, line.c_str() + line.size());
            size_t n = key.value.size();
            if (n >= 2 && (key.value[0] == '"' || key.value[0] == '\'') && key.value[n - 1] == key.value[0])
                key.value = key.value.substr(1, n - 2);
            key.hasValue = true;
        }
        current->keys.push_back(key);
    }
}

static const ProfileSection* findSection(const std::vector<ProfileSection>& sections, const char* name) {
    for (const ProfileSection& s : sections)
        if (!s.name.empty() && kvSameName(s.name.c_str(), name)) return &s;
    return nullptr;
}

// ---------------------------------------------------------------------------
// 3. Copying results
// ---------------------------------------------------------------------------

// A value: cut to size - 1 characters. Returns the length copied.
static DWORD copyValue(const std::string& value, char* buffer, DWORD size) {
    size_t n = std::min<size_t>(value.size(), size - 1);
    memcpy(buffer, value.data(), n);
    buffer[n] = '\0';
    return static_cast<DWORD>(strlen(buffer));  // a value cannot hold a NUL, but be sure
}

// A list of names, NUL-separated and ended by a second NUL, by the Windows
// rule for a list that does not fit (see the head of this file).
static DWORD copyList(const std::vector<std::string>& names, char* buffer, DWORD size) {
    if (size == 1) {
        buffer[0] = '\0';
        return 0;
    }
    size_t room = size - 1;  // keeps one character for the final NUL
    char* p = buffer;
    for (const std::string& name : names) {
        size_t need = name.size() + 1;
        if (need >= room) {
            memcpy(p, name.data(), room - 1);
            p += room - 1;
            *p++ = '\0';
            *p = '\0';
            return size - 2;
        }
        memcpy(p, name.c_str(), need);
        p += need;
        room -= need;
    }
    *p = '\0';
    if (p == buffer) p[1] = '\0';  // an empty list: two NULs all the same
    return static_cast<DWORD>(p - buffer);
}

// ---------------------------------------------------------------------------
// 4. GetPrivateProfileStringA
// ---------------------------------------------------------------------------

// Adds `name` to `names` unless it is empty or there already, in any case.
static void addOnce(std::vector<std::string>& names, const std::string& name) {
    if (name.empty()) return;
    for (const std::string& n : names)
        if (kvSameName(n.c_str(), name.c_str())) return;
    names.push_back(name);
}

DWORD GetPrivateProfileStringA(const char* section, const char* key, const char* defaultText, char* buffer,
                               DWORD size, const char* fileName) {
    if (!buffer || size == 0) return 0;
    std::string fallback = defaultText ? defaultText : "";
    while (!fallback.empty() && fallback.back() == ' ') fallback.pop_back();

    std::string path = profilePath(fileName);
    std::string text;
    if (path.empty() || !readWhole(path.c_str(), text)) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return copyValue(fallback, buffer, size);
    }
    std::vector<ProfileSection> sections;
    parseProfile(text, sections);

    if (!section) {
        std::vector<std::string> names;
        for (const ProfileSection& s : sections) addOnce(names, s.name);
        return copyList(names, buffer, size);
    }
    const ProfileSection* found = findSection(sections, section);
    if (!key) {
        std::vector<std::string> names;
        if (found)
            for (const ProfileKey& k : found->keys)
                if (k.hasValue) addOnce(names, k.name);
        if (!names.empty()) return copyList(names, buffer, size);
    } else if (found && *key) {
        for (const ProfileKey& k : found->keys) {
            if (!kvSameName(k.name.c_str(), key)) continue;
            if (k.hasValue) return copyValue(k.value, buffer, size);
            break;
        }
    }
    SetLastError(ERROR_FILE_NOT_FOUND);
    return copyValue(fallback, buffer, size);
}
