// Fuzz target: arbitrary bytes as an engine path, through GetFullPathNameA,
// _splitpath, and, on drive C: (mapped to a small tree made here), through
// ToHostPath, GetFileAttributesA and FindFirstFileA. Paths on other drives
// are only parsed, never looked up, so the work stays bounded.
//
// Rules checked: GetFullPathNameA's length protocol, a full path parsed
// again is unchanged, _splitpath's parts put together give the input, and
// a path found on disk converts back to the same engine path but for case.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "fuzzsupport.h"
#include "platform/platform.h"

static const size_t kMaxInput = 1024;

static std::string root;

static void makeTree() {
    root = fuzzScratchDirectory("path");
    for (const char* d : {"/Dir", "/Dir/Sub", "/dir2", "/Dir/Sub/Deep"}) mkdir((root + d).c_str(), 0755);
    for (const char* f : {"/Dir/Sub/file.txt", "/Dir/FILE.TXT", "/A.b", "/dir2/x.sch", "/Dir/Sub/Deep/n.LIB"}) {
        int fd = open((root + f).c_str(), O_WRONLY | O_CREAT, 0644);
        close(fd);
    }
    if (symlink(".", (root + "/loop").c_str()) != 0 || symlink("Dir", (root + "/Link").c_str()) != 0) abort();
    // The current directory stays where libFuzzer reads and writes its
    // corpus; relative paths are only parsed.
    setenv("KVENG_DRIVES", ("C=" + root).c_str(), 1);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > kMaxInput) return 0;
    if (root.empty()) makeTree();
    std::string input(reinterpret_cast<const char*>(data), size);
    input = input.c_str();  // a C string ends at its NUL
    const char* path = input.c_str();

    // GetFullPathNameA: the length protocol at several sizes.
    char big[8192];
    DWORD full = GetFullPathNameA(path, sizeof big, big, nullptr);
    for (DWORD n : {0u, 1u, 8u, 260u}) {
        char* buffer = static_cast<char*>(malloc(n ? n : 1));
        DWORD r = GetFullPathNameA(path, n, n ? buffer : nullptr, nullptr);
        if (full == 0) check(r == 0, "a failure fails at every size");
        else if (full < n) check(r == full && !strcmp(buffer, big), "fits: the same text");
        else check(r == full + 1, "does not fit: the size needed");
        free(buffer);
    }
    if (full != 0) {
        check(strlen(big) == full, "the length returned is the length written");
        check((big[0] && big[1] == ':' && big[2] == '\\') || (big[0] == '\\' && big[1] == '\\'),
              "a full path has a drive or is a UNC name");
        char again[8192];
        DWORD second = GetFullPathNameA(big, sizeof again, again, nullptr);
        check(second == full && !strcmp(again, big), "a full path is its own full path");
    }

    // _splitpath into buffers of exactly the documented sizes.
    char* drive = static_cast<char*>(malloc(_MAX_DRIVE));
    char* dir = static_cast<char*>(malloc(_MAX_DIR));
    char* fname = static_cast<char*>(malloc(_MAX_FNAME));
    char* ext = static_cast<char*>(malloc(_MAX_EXT));
    errno = 0;
    _splitpath(path, drive, dir, fname, ext);
    if (errno != ERANGE)
        check(std::string(drive) + dir + fname + ext == input, "the parts make the path");
    free(drive);
    free(dir);
    free(fname);
    free(ext);

    // Look-ups, on drive C: only.
    if (full == 0 || big[0] != 'C') return 0;
    std::string host = ToHostPath(big);
    check(host.compare(0, root.size(), root) == 0, "drive C: stays below its root");
    DWORD attributes = GetFileAttributesA(path);
    if (attributes != INVALID_FILE_ATTRIBUTES) {
        std::string back = ToEnginePath(host.c_str());
        std::string expected = big;
        if (expected.size() > 3 && expected.back() == '\\') expected.pop_back();
        check(_stricmp(back.c_str(), expected.c_str()) == 0, "found: back to the same engine path");
    }
    WIN32_FIND_DATAA found;
    HANDLE h = FindFirstFileA(path, &found);
    if (h != INVALID_HANDLE_VALUE) {
        int count = 0;
        while (FindNextFileA(h, &found) && ++count < 100) {
        }
        FindClose(h);
    }
    return 0;
}
