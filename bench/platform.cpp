// Benchmark of the platform layer against plain POSIX on the same machine,
// in the same run:
//
//   listing     FindFirstFileA "*" over a directory of N files, against a
//               bare readdir + fstatat of every entry
//   lookup      GetFileAttributesA of a name spelled in another case (a walk
//               with one readdir), against one bare readdir of the directory
//   fgets       kvFopen "r" (CR LF text) read line by line, against fopen
//   copy        CopyFileA of a large file, against a read/write loop
//
// N is 20000 by default (KV_BENCH_FILES sets it; the workspace of a large
// design may hold 100000). Each figure is the best of three runs, printed as
// a ratio to its baseline.
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

#include "platform/platform.h"

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

static void report(const char* name, double measured, double baseline, const char* against) {
    printf("%-8s %9.2f ms   %-34s %9.2f ms   ratio %.2f\n", name, measured * 1e3, against, baseline * 1e3,
           measured / baseline);
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

int main() {
    const char* env = getenv("KV_BENCH_FILES");
    int files = env ? atoi(env) : 20000;
    const char* tmp = getenv("TMPDIR");
    std::string base = std::string(tmp && *tmp ? tmp : "/tmp") + "/kvbench-XXXXXX";
    std::vector<char> templ(base.begin(), base.end());
    templ.push_back('\0');
    if (!mkdtemp(templ.data())) return 1;
    std::string root = templ.data();
    std::string many = root + "/many";
    mkdir(many.c_str(), 0755);
    printf("creating %d files...\n", files);
    for (int i = 0; i < files; ++i) {
        char name[64];
        snprintf(name, sizeof name, "/Design_%06d.sch", (i * 7919) % files);
        writeHost(many + name, "x");
    }
    std::string engineMany = ToEnginePath(many.c_str());

    // listing
    size_t seen = 0;
    double bare = bestOf3([&] {
        DIR* d = opendir(many.c_str());
        struct stat st;
        seen = 0;
        while (struct dirent* e = readdir(d))
            if (fstatat(dirfd(d), e->d_name, &st, AT_SYMLINK_NOFOLLOW) == 0) ++seen;
        closedir(d);
    });
    size_t found = 0;
    double listing = bestOf3([&] {
        WIN32_FIND_DATAA data;
        found = 0;
        HANDLE h = FindFirstFileA((engineMany + "\\*").c_str(), &data);
        if (h == INVALID_HANDLE_VALUE) return;
        do ++found;
        while (FindNextFileA(h, &data));
        FindClose(h);
    });
    if (found != seen) printf("listing gave %zu entries, readdir %zu\n", found, seen);
    report("listing", listing, bare, "readdir + fstatat per entry");

    // lookup of another spelling: one walk with a readdir of the big directory
    double readdirOnly = bestOf3([&] {
        DIR* d = opendir(many.c_str());
        while (readdir(d)) {
        }
        closedir(d);
    });
    std::string otherCase = engineMany + "\\DESIGN_000001.SCH";
    double lookup = bestOf3([&] {
        if (GetFileAttributesA(otherCase.c_str()) == INVALID_FILE_ATTRIBUTES) printf("lookup failed\n");
    });
    report("lookup", lookup, readdirOnly, "one readdir of the directory");

    // fgets over a CR LF file of about 40 MB
    std::string text;
    for (int i = 0; i < 600000; ++i) text += "R" + std::to_string(i) + " net_a net_b 1k ; a resistor line\r\n";
    std::string textFile = root + "/big.cir";
    writeHost(textFile, text);
    std::string engineText = ToEnginePath(textFile.c_str());
    char line[1024];
    double plain = bestOf3([&] {
        FILE* f = fopen(textFile.c_str(), "r");
        while (fgets(line, sizeof line, f)) {
        }
        fclose(f);
    });
    double layered = bestOf3([&] {
        FILE* f = kvFopen(engineText.c_str(), "r");
        while (fgets(line, sizeof line, f)) {
        }
        fclose(f);
    });
    report("fgets", layered, plain, "fopen + fgets (no CR LF folding)");

    // copy of the same file
    std::string copyTarget = root + "/copy.cir";
    std::string engineCopy = ToEnginePath(copyTarget.c_str());
    double loop = bestOf3([&] {
        int in = open(textFile.c_str(), O_RDONLY);
        int out = open(copyTarget.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        std::vector<char> buffer(1 << 17);
        ssize_t n;
        while ((n = read(in, buffer.data(), buffer.size())) > 0)
            if (write(out, buffer.data(), n) != n) break;
        close(in);
        close(out);
    });
    double copy = bestOf3([&] {
        if (!CopyFileA(engineText.c_str(), engineCopy.c_str(), FALSE)) printf("copy failed\n");
    });
    report("copy", copy, loop, "read/write loop (no temporary)");

    removeTree(root);
    return 0;
}
