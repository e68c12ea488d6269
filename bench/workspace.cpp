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
// data with and without signatures, and unknown files. Each figure is the
// best of three runs, printed as a ratio to the bare walk; the change of the
// ratios from 10,000 to 100,000 files shows whether the cost grows
// faster than the files.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "workspace/workspace.h"

static double bestOf3(const std::function<void()>& work) {
    double best = 1e30;
    for (int i = 0; i < 3; ++i) {
        auto start = std::chrono::steady_clock::now();
        work();
        double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (seconds < best) best = seconds;
    }
    return best;
}

static void writeHost(const std::string& path, const std::string& content) {
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0 || write(fd, content.data(), content.size()) != static_cast<ssize_t>(content.size())) {
        perror(path.c_str());
        exit(1);
    }
    close(fd);
}

static void removeTree(const std::string& dir) {
    DIR* d = opendir(dir.c_str());
    if (!d) return;
    while (struct dirent* e = readdir(d)) {
        if (!strcmp(e->d_name, ".") || !strcmp(e->d_name, "..")) continue;
        std::string path = dir + "/" + e->d_name;
        struct stat st;
        if (lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
            removeTree(path);
        else
            unlink(path.c_str());
    }
    closedir(d);
    rmdir(dir.c_str());
}

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
        writeHost(stem + e.suffix, e.content);
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
    const char* tmp = getenv("TMPDIR");
    std::string base = std::string(tmp && *tmp ? tmp : "/tmp") + "/kvbench-ws-XXXXXX";
    std::vector<char> templ(base.begin(), base.end());
    templ.push_back('\0');
    if (!mkdtemp(templ.data())) return 1;
    const std::string root = templ.data();

    std::vector<figures> results;
    printf("%8s %12s %12s %12s %12s %8s %8s %8s\n", "files", "bare walk", "layer walk", "open", "cat. walk",
           "layer/x", "open/x", "walk/x");
    for (int files : sizes) {
        const std::string dir = root + "/ws" + std::to_string(files);
        mkdir(dir.c_str(), 0755);
        for (int n = 0, written = 0; written < files; ++n) written += writeFamily(dir, n, files - written);
        const std::string engineDir = ToEnginePath(dir.c_str());

        figures f{files, 0, 0, 0, 0};
        size_t sink = 0;
        f.bare = bestOf3([&] { sink += bareWalk(dir); });
        f.layer = bestOf3([&] { sink += layerWalk(engineDir); });
        // The open alone is timed; closing the workspace is not.
        f.open = 1e30;
        for (int i = 0; i < 3; ++i) {
            KVE_Status status;
            auto start = std::chrono::steady_clock::now();
            workspace* ws = OpenWorkspace(status, engineDir.c_str());
            double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            if (!ws) {
                fprintf(stderr, "cannot open %s\n", engineDir.c_str());
                return 1;
            }
            if (seconds < f.open) f.open = seconds;
            delete ws;
        }
        KVE_Status status;
        workspace* ws = OpenWorkspace(status, engineDir.c_str());
        f.walk = bestOf3([&] { sink += walkCategories(*ws); });
        delete ws;
        if (sink == 0) printf("(nothing seen)\n");
        printf("%8d %9.2f ms %9.2f ms %9.2f ms %9.2f ms %8.2f %8.2f %8.2f\n", files, f.bare * 1e3, f.layer * 1e3,
               f.open * 1e3, f.walk * 1e3, f.layer / f.bare, f.open / f.bare, f.walk / f.bare);
        fflush(stdout);
        results.push_back(f);
        removeTree(dir);
    }
    removeTree(root);

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
