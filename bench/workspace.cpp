// Benchmark of opening a workspace and walking its categories, against a
// bare walk of the same directory in the same run.
//
//   open    OpenWorkspace on a generated design directory
//   walk    getCategoryItems of every top-level category, with the type
//           and name of every item shown (an open workspace, as a tree
//           view walks it)
//   bare    the unavoidable system work: readdir, a stat of each entry, and
//           the first line of each file whose extension has a signature
//   layer   the same work through the platform layer, as the engine must
//           do it (FindFirstFileA / FindNextFileA, kvFopen and fgets): the
//           part of "open" that is not the workspace's own
//
// Directories of 1,000, 10,000 and 100,000 files are generated (KV_BENCH_SIZES
// sets other sizes, comma-separated), as design families of a realistic mix:
// schematics with and without their signature, their netlists, reports and
// circuits, boards with numbered gerber and drill outputs, text and wave
// data with and without signatures, and unknown files. The walks take turns
// for five rounds (three at 100,000 files); each figure is the best of its
// rounds, printed as a ratio to the bare walk; the change of the
// ratios from 10,000 to 100,000 files shows whether the cost grows
// faster than the files.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "benchsupport.h"
#include "workspace/workspace.h"

// One design family: 20 files around one stem.
static int writeFamily(const std::string& dir, int n, int limit) {
    const std::string stem = dir + "/d" + std::to_string(n);
    struct entry {
        const char* suffix;
        const char* content;
    };
    const bool signedSchematic = n % 7 != 0;
    const entry family[] = {
        {".sch", signedSchematic ? "*version 9.1 2 4\n@LIBRARIES\n" : "not a schematic\n"},
        {".net", "netlist\n"},
        {".bom", "bill of materials\n"},
        {".xrf", "cross reference\n"},
        {".cir", "* circuit\n.end\n"},
        {".out", "simulation output\n"},
        {".1op", "operating point\n"},
        {".pca", "layout\n"},
        {".g01", "G04 top*\n"},
        {".g02", "G04 bottom*\n"},
        {".g03", "G04 mask*\n"},
        {".d01", "M48\n"},
        {".drc", "drc report\n"},
        {".txt", n % 3 ? "#H csdf\n" : "plain text\n"},
        {".dat", n % 2 ? "\xFF\x01\x02\x03" : "1 2 3\n"},
        {".doc", "FKDocument\n"},
        {".log", "log\n"},
        {"-notes.xyz", "unknown\n"},
        {".bak", "backup\n"},
        {"_old.sch", "*version 8\n"},
    };
    int written = 0;
    for (const entry& e : family) {
        if (written == limit) break;
        bench::writeHost(stem + e.suffix, e.content);
        ++written;
    }
    return written;
}

// Extensions with a row that carries a signature.
static bool hasSignatureRow(const char* name) {
    const char* dot = strrchr(name, '.');
    if (!dot) return false;
    for (const char* ext : {".sch", ".adf", ".cat", ".csd", ".dat", ".doc", ".txt"})
        if (strcasecmp(dot, ext) == 0) return true;
    return false;
}

// readdir, a stat of each entry, and the first line of each signature file.
static size_t bareWalk(const std::string& dir) {
    size_t seen = 0;
    DIR* d = opendir(dir.c_str());
    if (!d) return 0;
    const int fd = dirfd(d);
    char line[1024];
    while (struct dirent* e = readdir(d)) {
        struct stat st;
        if (fstatat(fd, e->d_name, &st, 0) != 0 || S_ISDIR(st.st_mode)) continue;
        ++seen;
        if (st.st_size > 0 && hasSignatureRow(e->d_name)) {
            int file = openat(fd, e->d_name, O_RDONLY);
            if (file >= 0) {
                if (read(file, line, sizeof line) > 0) seen += line[0] == '*';
                close(file);
            }
        }
    }
    closedir(d);
    return seen;
}

// The bare walk's work through the platform layer.
static size_t layerWalk(const std::string& engineDir) {
    size_t seen = 0;
    WIN32_FIND_DATA entry;
    HANDLE find = FindFirstFileA((engineDir + "\\*").c_str(), &entry);
    if (find == INVALID_HANDLE_VALUE) return 0;
    char line[1024];
    do {
        if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) continue;
        ++seen;
        if ((entry.nFileSizeLow || entry.nFileSizeHigh) && hasSignatureRow(entry.cFileName)) {
            FILE* file = kvFopen((engineDir + "\\" + entry.cFileName).c_str(), "r");
            if (file) {
                if (fgets(line, sizeof line, file)) seen += line[0] == '*';
                fclose(file);
            }
        }
    } while (FindNextFileA(find, &entry));
    FindClose(find);
    return seen;
}

// Every top-level category, and the type and name of every item in it.
static size_t walkCategories(workspace& ws) {
    size_t seen = 0;
    for (KVE_fileCategoryEnum c(0); c.topLevel(); c.setNext()) {
        fileItemList* items = ws.getCategoryItems(c);
        for (fileItem* item : *items) seen += item->getFileType().value() + strlen(item->getBaseName());
        delete items;
    }
    return seen;
}

struct figures {
    int files;
    double bare, layer, open, walk;
};

int main() {
    std::vector<int> sizes = {1000, 10000, 100000};
    if (const char* env = getenv("KV_BENCH_SIZES")) {
        sizes.clear();
        for (const char* p = env; *p;) {
            sizes.push_back(atoi(p));
            p = strchr(p, ',');
            if (!p) break;
            ++p;
        }
    }
    const std::string root = bench::makeTempDir("ws");

    std::vector<figures> results;
    printf("%8s %12s %12s %12s %12s %8s %8s %8s\n", "files", "bare walk", "layer walk", "open", "cat. walk",
           "layer/x", "open/x", "walk/x");
    for (int files : sizes) {
        const std::string dir = root + "/ws" + std::to_string(files);
        mkdir(dir.c_str(), 0755);
        for (int n = 0, written = 0; written < files; ++n) written += writeFamily(dir, n, files - written);
        const std::string engineDir = ToEnginePath(dir.c_str());

        // The three walks take turns, so that a change in the machine's load
        // falls on all of them; each figure is the best of its rounds.
        figures f{files, 1e30, 1e30, 1e30, 1e30};
        size_t sink = 0;
        const int rounds = files >= 100000 ? 3 : 5;
        for (int round = 0; round < rounds; ++round) {
            f.bare = std::min(f.bare, bench::timed([&] { sink += bareWalk(dir); }));
            f.layer = std::min(f.layer, bench::timed([&] { sink += layerWalk(engineDir); }));
            workspace* ws = nullptr;
            f.open = std::min(f.open, bench::timed([&] {
                                  KVE_Status status;
                                  ws = OpenWorkspace(status, engineDir.c_str());
                              }));
            if (!ws) {
                fprintf(stderr, "cannot open %s\n", engineDir.c_str());
                return 1;
            }
            walkCategories(*ws); // the first walk also builds the stem index
            f.walk = std::min(f.walk, bench::timed([&] { sink += walkCategories(*ws); }));
            delete ws; // closing is not timed
        }
        if (sink == 0) printf("(nothing seen)\n");
        printf("%8d %9.2f ms %9.2f ms %9.2f ms %9.2f ms %8.2f %8.2f %8.2f\n", files, f.bare * 1e3, f.layer * 1e3,
               f.open * 1e3, f.walk * 1e3, f.layer / f.bare, f.open / f.bare, f.walk / f.bare);
        fflush(stdout);
        results.push_back(f);
        bench::removeTree(dir);
    }
    bench::removeTree(root);

    // How the ratios change from the second size to the third: near 1 means
    // the cost grows as the files do.
    if (results.size() >= 3) {
        const figures& a = results[1];
        const figures& b = results[2];
        printf("from %d to %d files: open ratio x%.2f, walk ratio x%.2f (1.00: linear like the bare walk)\n",
               a.files, b.files, (b.open / b.bare) / (a.open / a.bare), (b.walk / b.bare) / (a.walk / a.bare));
    }
    return 0;
}
