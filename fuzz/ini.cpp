// Fuzz target: arbitrary bytes as an INI file, read back through
// GetPrivateProfileStringA with buffers from 0 bytes to large. Each buffer
// is allocated at its exact size, so that AddressSanitizer sees any write
// past it, and every result is checked against the Windows rules: a value
// is NUL-terminated at its returned length; a list ends in two NULs within
// the buffer, or, cut, returns size - 2 with NULs in the last two bytes.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "platform/platform.h"

static const size_t kMaxInput = 65536;
static const DWORD kSizes[] = {0, 1, 2, 3, 5, 16, 1024, 70000};

// Removes the fuzzer's own temporary directory at exit.
static std::string scratch;
static int removeEntry(const char* path, const struct stat*, int, struct FTW*) { return remove(path); }
static void removeScratch() {
    if (!scratch.empty()) nftw(scratch.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
}

static const std::string& iniPath() {
    static std::string path;
    if (path.empty()) {
        char dir[] = "/tmp/kvfuzz-ini-XXXXXX";
        if (!mkdtemp(dir)) abort();
        scratch = dir;
        atexit(removeScratch);
        path = std::string(dir) + "/fuzz.ini";
    }
    return path;
}

static void check(bool ok, const char* what) {
    if (!ok) {
        fprintf(stderr, "broken rule: %s\n", what);
        abort();
    }
}

// One query at every buffer size; returns the result with the largest.
static std::string query(const char* section, const char* key, const char* engine) {
    bool list = !section || !key;
    std::string largest;
    for (DWORD size : kSizes) {
        char* buffer = static_cast<char*>(malloc(size ? size : 1));
        memset(buffer, 0x55, size ? size : 1);
        DWORD n = GetPrivateProfileStringA(section, key, list ? "" : "dflt", buffer, size, engine);
        if (size == 0) {
            check(n == 0, "no buffer: 0");
        } else if (!list) {
            check(n < size, "a value fits in size - 1");
            check(buffer[n] == '\0' && strlen(buffer) == n, "a value ends at its length");
        } else {
            check(n == 0 || n + 1 < size, "a list leaves room for its final NUL");
            check(buffer[n] == '\0', "a list ends in a NUL");
            bool cut = n + 2 == size && buffer[n + 1] == '\0';
            check(n == 0 || cut || buffer[n - 1] == '\0', "a whole list ends in two NULs");
        }
        if (size == 70000) largest.assign(buffer, n);
        free(buffer);
    }
    return largest;
}

// The names of a double-NUL list.
static std::vector<std::string> names(const std::string& list) {
    std::vector<std::string> out;
    size_t i = 0;
    while (i < list.size()) {
        std::string name = list.c_str() + i;
        if (name.empty()) break;
        out.push_back(name);
        i += name.size() + 1;
    }
    return out;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > kMaxInput) return 0;
    const std::string& host = iniPath();
    int fd = open(host.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0 || write(fd, data, size) != static_cast<ssize_t>(size)) abort();
    close(fd);
    std::string engine = ToEnginePath(host.c_str());

    std::vector<std::string> sections = names(query(nullptr, nullptr, engine.c_str()));
    int s = 0;
    for (const std::string& section : sections) {
        if (++s > 8) break;
        std::vector<std::string> keys = names(query(section.c_str(), nullptr, engine.c_str()));
        int k = 0;
        for (const std::string& key : keys) {
            if (++k > 8) break;
            query(section.c_str(), key.c_str(), engine.c_str());
        }
        query(section.c_str(), "no such key", engine.c_str());
    }
    // A section and key named by the first bytes of the input.
    std::string head(reinterpret_cast<const char*>(data), size < 12 ? size : 12);
    head = head.c_str();
    query(head.c_str(), head.c_str(), engine.c_str());
    return 0;
}
