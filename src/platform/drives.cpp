// Drive letters: which host directory each letter stands for, and the
// conversion of host paths to engine paths.
//
// Z: is the host root "/", always. KVENG_DRIVES maps more letters, as in
// "C=/srv/cdrive;D=/mnt/d"; it is read again whenever its value changes, so
// a test may set it at any time. A host path becomes an engine path through
// the letter whose root is its longest prefix, so that one file has one
// engine path.
//
//   1. The drive table
//   2. ToEnginePath
#include <climits>
#include <cstdlib>
#include <cstring>

#include "platform/hostcalls.h"
#include "platform/internal.h"

// ---------------------------------------------------------------------------
// 1. The drive table
// ---------------------------------------------------------------------------

struct DriveRoot {
    char letter;
    std::string root;       // as configured, without trailing slash
    std::string canonical;  // the same with links resolved, if it differs
};

// Removes trailing slashes and collapses doubled ones; "/" stays "/".
static std::string tidyHostRoot(const std::string& path) {
    std::string out;
    for (char c : path) {
        if (c == '/' && !out.empty() && out.back() == '/') continue;
        out += c;
    }
    while (out.size() > 1 && out.back() == '/') out.pop_back();
    return out;
}

// The table for the current value of KVENG_DRIVES. The one host call made
// outside the call table is realpath here, once per change of the variable.
static const std::vector<DriveRoot>& driveTable() {
    static std::vector<DriveRoot> table;
    static std::string seenValue;
    static bool seen = false;
    const char* env = getenv("KVENG_DRIVES");
    std::string value = env ? env : "";
    if (seen && value == seenValue) return table;
    seen = true;
    seenValue = value;
    table.clear();
    table.push_back({'Z', "/", ""});
    size_t start = 0;
    while (start <= value.size()) {
        size_t end = value.find(';', start);
        if (end == std::string::npos) end = value.size();
        std::string entry = value.substr(start, end - start);
        start = end + 1;
        // "C=/path"; "C:=/path" is taken as well.
        size_t eq = entry.find('=');
        if (eq == std::string::npos) continue;
        std::string name = entry.substr(0, eq);
        if (name.size() == 2 && name[1] == ':') name.pop_back();
        std::string root = tidyHostRoot(entry.substr(eq + 1));
        if (name.size() != 1 || !isalpha(static_cast<unsigned char>(name[0]))) continue;
        if (root.empty() || root[0] != '/') continue;
        char letter = static_cast<char>(toupper(static_cast<unsigned char>(name[0])));
        bool taken = false;
        for (const DriveRoot& d : table) taken = taken || d.letter == letter;
        if (taken) continue;
        DriveRoot d{letter, root, ""};
        char resolved[PATH_MAX];
        if (realpath(root.c_str(), resolved) && root != resolved) d.canonical = resolved;
        table.push_back(d);
    }
    return table;
}

std::string kvDriveRoot(char letter) {
    char upper = static_cast<char>(toupper(static_cast<unsigned char>(letter)));
    for (const DriveRoot& d : driveTable())
        if (d.letter == upper) return d.root;
    return std::string();
}

// ---------------------------------------------------------------------------
// 2. ToEnginePath
// ---------------------------------------------------------------------------

// True if `path` is `root` or lies below it.
static bool underRoot(const std::string& path, const std::string& root) {
    if (root == "/") return !path.empty() && path[0] == '/';
    return path.compare(0, root.size(), root) == 0 && (path.size() == root.size() || path[root.size()] == '/');
}

std::string ToEnginePath(const char* hostPath) {
    if (!hostPath || !*hostPath) return std::string();
    std::string full;
    if (hostPath[0] != '/') {
        std::vector<char> cwd(PATH_MAX);
        while (!hostGetcwd(cwd.data(), cwd.size())) {
            if (errno != ERANGE) return std::string();
            cwd.resize(cwd.size() * 2);
        }
        full = cwd.data();
        full += '/';
    }
    full += hostPath;

    // Resolve "." and ".." by the text, as the engine does with its own paths.
    std::vector<std::string> parts;
    size_t i = 0;
    while (i < full.size()) {
        size_t j = full.find('/', i);
        if (j == std::string::npos) j = full.size();
        std::string part = full.substr(i, j - i);
        i = j + 1;
        if (part.empty() || part == ".") continue;
        if (part == "..") {
            if (!parts.empty()) parts.pop_back();
            continue;
        }
        parts.push_back(part);
    }
    std::string normal;
    for (const std::string& p : parts) normal += "/" + p;
    if (normal.empty()) normal = "/";

    const DriveRoot* best = nullptr;
    size_t bestLength = 0;
    for (const DriveRoot& d : driveTable()) {
        for (const std::string* root : {&d.root, &d.canonical}) {
            if (root->empty() || !underRoot(normal, *root)) continue;
            size_t length = *root == "/" ? 0 : root->size();
            if (!best || length > bestLength) {
                best = &d;
                bestLength = length;
            }
        }
    }
    std::string engine;
    engine += best->letter;
    engine += ":\\";
    std::string rest = normal.substr(bestLength);
    if (!rest.empty() && rest[0] == '/') rest.erase(0, 1);
    for (char c : rest) engine += c == '/' ? '\\' : c;
    return engine;
}
