// Fuzz target: arbitrary bytes as an archive file, read into a fresh target
// directory, then listed and verified in memory.
//
// The target directory lies inside a scratch directory beside a fence
// directory with a sentinel file, and it starts each run holding a link to
// the fence. After every run the scratch directory must hold exactly the
// archive, the fence with its sentinel unchanged, and the target: nothing
// may appear outside the target, and nothing may be written through the
// link. The input is capped, so that the expansion of one run stays small.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "archive/compressedarchive.h"
#include "platform/platform.h"

static const size_t kMaxInput = 16384;

static std::string scratch;
static int removeEntry(const char* path, const struct stat*, int, struct FTW*) {
    chmod(path, 0700);  // a restored read-only file must not stay behind
    return remove(path);
}
static void removeTree(const std::string& path) { nftw(path.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS); }
static void removeScratch() {
    if (!scratch.empty()) removeTree(scratch);
}

static void writeHost(const std::string& path, const uint8_t* data, size_t size) {
    FILE* f = fopen(path.c_str(), "wb");
    if (!f) abort();
    if (size && fwrite(data, 1, size, f) != size) abort();
    fclose(f);
}

static std::string readHost(const std::string& path) {
    std::string s;
    FILE* f = fopen(path.c_str(), "rb");
    if (!f) return s;
    char buffer[256];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, f)) > 0) s.append(buffer, n);
    fclose(f);
    return s;
}

// The names in a host directory, "." and ".." left out.
static std::string namesIn(const std::string& path) {
    std::string names;
    DIR* d = opendir(path.c_str());
    if (!d) return "?";
    while (struct dirent* e = readdir(d))
        if (strcmp(e->d_name, ".") && strcmp(e->d_name, "..")) names += std::string(e->d_name) + "|";
    closedir(d);
    return names;
}

class Ignore : public ArchiveEntryVisitor {
public:
    bool entry(const char*, const ArchiveEntryHeader&, int) override { return true; }
};

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > kMaxInput) return 0;
    if (scratch.empty()) {
        char dir[] = "/tmp/kvfuzz-archive-XXXXXX";
        if (!mkdtemp(dir)) abort();
        scratch = dir;
        atexit(removeScratch);
        mkdir((scratch + "/fence").c_str(), 0755);
        writeHost(scratch + "/fence/sentinel.txt", reinterpret_cast<const uint8_t*>("sentinel"), 8);
    }
    std::string target = scratch + "/target";
    removeTree(target);
    mkdir(target.c_str(), 0755);
    if (symlink((scratch + "/fence").c_str(), (target + "/link").c_str()) != 0) abort();
    writeHost(scratch + "/in.ma", data, size);

    std::string archive = ToEnginePath((scratch + "/in.ma").c_str());
    {
        CompressedArchive a;
        CompressedArchive::resetEntryCount();
        int status = a.readArchive(archive.c_str(), ToEnginePath(target.c_str()).c_str());
        if (status > 0 || status < -22) abort();
        if (status != 0 && !a.errorName) abort();  // no memory is not expected here
    }
    {
        CompressedArchive a;
        Ignore ignore;
        int status = a.listArchive(archive.c_str(), ignore, true);
        if (status > 0 || status < -22) abort();
    }

    // Nothing outside the target, nothing through the link.
    std::string top = namesIn(scratch);
    if (top != "fence|in.ma|target|" && top != "fence|target|in.ma|" && top != "in.ma|fence|target|" &&
        top != "in.ma|target|fence|" && top != "target|fence|in.ma|" && top != "target|in.ma|fence|") {
        fprintf(stderr, "outside the target: %s\n", top.c_str());
        abort();
    }
    if (namesIn(scratch + "/fence") != "sentinel.txt|" || readHost(scratch + "/fence/sentinel.txt") != "sentinel") {
        fprintf(stderr, "the fence changed: %s\n", namesIn(scratch + "/fence").c_str());
        abort();
    }
    return 0;
}
