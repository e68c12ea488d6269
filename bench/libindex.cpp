// Benchmark of library look-ups against reading the library once.
//
//   baseline  one read of the whole library line by line with fgets
//   index     the first look-up: the index read at the head of the file
//   lookups   200 look-ups of names spread over the library, index in hand
//   walk      the same 200 look-ups done as a walk of the entries in file
//             order (what the name map saves)
//
// The library has 50000 symbols by default (KV_BENCH_SYMBOLS sets it), each
// with two names and most with a parent. Each figure is the best of five
// runs, printed as a ratio to the baseline; the look-ups should cost less
// than a second reading of the file (ratio below 1).
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <unistd.h>
#include <vector>

#include "benchsupport.h"
#include "libraries/libraryitem.h"
#include "operations/operation.h"
#include "platform/platform.h"
#include "workspace/workspace.h"

// An operation that only has to exist: look-ups tell it that they read.
class QuietOperation : public InternalFunctionObject {
public:
    bool dependencyFound(pathstring&, bool, bool) override { return true; }
    bool acceptsItem(fileItem*) override { return true; }
};

// A library of n symbols: the index, then every symbol's text.
static std::string makeLibrary(int n) {
    std::vector<std::string> bodies;
    bodies.reserve(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        char body[256];
        snprintf(body, sizeof body,
                 "*symbol SYM%d\nd generated symbol %d\na component=PKG%d\np 1 0 0\np 2 40 0\nl 0 0 40 0\n", i, i,
                 i % 50);
        bodies.push_back(body);
    }
    std::string library = "@INDEX\n";
    long offset = 0;
    for (int i = 0; i < n; ++i) {
        char line[160];
        if (i % 4)
            snprintf(line, sizeof line, "symloc SYM%d,ALIAS_%d:SYM%d %8ld %8zu\n", i, i, i - 1, offset,
                     bodies[static_cast<size_t>(i)].size());
        else
            snprintf(line, sizeof line, "symloc SYM%d,ALIAS_%d %8ld %8zu b\n", i, i, offset,
                     bodies[static_cast<size_t>(i)].size());
        library += line;
        offset += static_cast<long>(bodies[static_cast<size_t>(i)].size());
    }
    for (const std::string& body : bodies) library += body;
    return library;
}

int main() {
    SetTraceOutput(nullptr);
    int symbols = 50000;
    if (const char* n = getenv("KV_BENCH_SYMBOLS")) symbols = atoi(n) > 0 ? atoi(n) : symbols;

    std::string dir = bench::makeTempDir("libindex");
    std::string hostFile = dir + "/big.slb";
    std::string content = makeLibrary(symbols);
    bench::writeHost(hostFile, content);
    printf("library of %d symbols, %.1f MB\n", symbols, content.size() / 1048576.0);

    // Baseline: one read of the file with fgets.
    double baseline = bench::bestOf(5, [&] {
        FILE* in = fopen(hostFile.c_str(), "rb");
        char line[1024];
        size_t lines = 0;
        while (fgets(line, sizeof line, in)) ++lines;
        fclose(in);
        if (lines == 0) abort();
    });
    printf("%-8s %10.3f ms\n", "fgets", baseline * 1e3);

    KVE_Status status;
    DesignWorkspace* ws = static_cast<DesignWorkspace*>(OpenWorkspace(status, ToEnginePath(dir.c_str()).c_str()));
    LibraryFileItem* library =
        static_cast<LibraryFileItem*>(ws->addLibraryItem(ToEnginePath(hostFile.c_str()).c_str(), nullptr));
    QuietOperation op;

    double index = bench::bestOf(5, [&] {
        library->releaseIndex();
        if (!library->findIndexEntry("SYM0", op)) abort();
    });
    bench::report("index", index, "one fgets read", baseline);

    // 200 names spread over the library, in both forms, one missing.
    std::vector<std::string> names;
    for (int i = 0; i < 200; ++i) {
        int k = static_cast<int>((static_cast<long long>(i) * 7919) % symbols);
        names.push_back(i % 2 ? "sym" + std::to_string(k) : "ALIAS_" + std::to_string(k));
    }
    names.back() = "NOT_THERE";
    int found = 0;
    double lookups = bench::bestOf(5, [&] {
        found = 0;
        for (const std::string& name : names) found += library->findIndexEntry(name.c_str(), op) != nullptr;
    });
    bench::report("lookups", lookups, "one fgets read", baseline);

    double walk = bench::bestOf(5, [&] {
        int hits = 0;
        for (const std::string& name : names) {
            std::string key = "," + name + ",";
            _strlwr(&key[0]);
            for (libraryIndexEntry* e : library->getIndexEntries())
                if (e->names && strstr(e->names, key.c_str())) {
                    ++hits;
                    break;
                }
        }
        if (hits != found) abort();
    });
    bench::report("walk", walk, "one fgets read", baseline);
    printf("%d of %zu names found; look-ups %s a second reading of the file\n", found, names.size(),
           lookups < baseline ? "cost less than" : "cost MORE than");

    delete ws;
    bench::removeTree(dir);
    return 0;
}
