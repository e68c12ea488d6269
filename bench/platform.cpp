// Benchmark of the platform layer against plain POSIX on the same machine,
// in the same run:
//
//   listing     FindFirstFileA "*" over a directory of N files, against a
//               bare readdir + fstatat of every entry
//   lookup      GetFileAttributesA of a name spelled in another case, against
//               one bare readdir of the directory: once the directory has
//               been quiet for a moment, its listing comes from the layer's
//               cache, checked with one stat
//   fgets       kvFopen "r" (CR LF text) read line by line, against fopen
//   copy        CopyFileA of a large file, against a read/write loop
//
// N is 20000 by default (KV_BENCH_FILES sets it; the workspace of a large
// design may hold 100000). Each figure is the best of three runs, printed as
// a ratio to its baseline.
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

#include "benchsupport.h"
#include "platform/platform.h"

int main() {
    const char* env = getenv("KV_BENCH_FILES");
    int files = env ? atoi(env) : 20000;
    std::string root = bench::makeTempDir("platform");
    std::string many = root + "/many";
    mkdir(many.c_str(), 0755);
    printf("creating %d files...\n", files);
    for (int i = 0; i < files; ++i) {
        char name[64];
        snprintf(name, sizeof name, "/Design_%06d.sch", (i * 7919) % files);
        bench::writeHost(many + name, "x");
    }
    std::string engineMany = ToEnginePath(many.c_str());

    // listing
    size_t seen = 0;
    double bare = bench::bestOf(3, [&] {
        DIR* d = opendir(many.c_str());
        struct stat st;
        seen = 0;
        while (struct dirent* e = readdir(d))
            if (fstatat(dirfd(d), e->d_name, &st, AT_SYMLINK_NOFOLLOW) == 0) ++seen;
        closedir(d);
    });
    size_t found = 0;
    double listing = bench::bestOf(3, [&] {
        WIN32_FIND_DATAA data;
        found = 0;
        HANDLE h = FindFirstFileA((engineMany + "\\*").c_str(), &data);
        if (h == INVALID_HANDLE_VALUE) return;
        do ++found;
        while (FindNextFileA(h, &data));
        FindClose(h);
    });
    if (found != seen) printf("listing gave %zu entries, readdir %zu\n", found, seen);
    bench::report("listing", listing, "readdir + fstatat per entry", bare);

    // lookup of another spelling: the listing of the big directory, from the
    // cache once the directory is quiet
    double readdirOnly = bench::bestOf(3, [&] {
        DIR* d = opendir(many.c_str());
        while (readdir(d)) {
        }
        closedir(d);
    });
    std::string otherCase = engineMany + "\\DESIGN_000001.SCH";
    double lookup = bench::bestOf(3, [&] {
        if (GetFileAttributesA(otherCase.c_str()) == INVALID_FILE_ATTRIBUTES) printf("lookup failed\n");
    });
    bench::report("lookup", lookup, "one readdir of the directory", readdirOnly);

    // fgets over a CR LF file of about 40 MB
    std::string text;
    for (int i = 0; i < 600000; ++i) text += "R" + std::to_string(i) + " net_a net_b 1k ; a resistor line\r\n";
    std::string textFile = root + "/big.cir";
    bench::writeHost(textFile, text);
    std::string engineText = ToEnginePath(textFile.c_str());
    char line[1024];
    double plain = bench::bestOf(3, [&] {
        FILE* f = fopen(textFile.c_str(), "r");
        while (fgets(line, sizeof line, f)) {
        }
        fclose(f);
    });
    double layered = bench::bestOf(3, [&] {
        FILE* f = kvFopen(engineText.c_str(), "r");
        while (fgets(line, sizeof line, f)) {
        }
        fclose(f);
    });
    bench::report("fgets", layered, "fopen + fgets (no CR LF folding)", plain);

    // copy of the same file
    std::string copyTarget = root + "/copy.cir";
    std::string engineCopy = ToEnginePath(copyTarget.c_str());
    double loop = bench::bestOf(3, [&] {
        int in = open(textFile.c_str(), O_RDONLY);
        int out = open(copyTarget.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        std::vector<char> buffer(1 << 17);
        ssize_t n;
        while ((n = read(in, buffer.data(), buffer.size())) > 0)
            if (write(out, buffer.data(), n) != n) break;
        close(in);
        close(out);
    });
    double copy = bench::bestOf(3, [&] {
        if (!CopyFileA(engineText.c_str(), engineCopy.c_str(), FALSE)) printf("copy failed\n");
    });
    bench::report("copy", copy, "read/write loop (no temporary)", loop);

    bench::removeTree(root);
    return 0;
}
