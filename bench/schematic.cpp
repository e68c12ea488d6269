// Benchmark of the scan of a large schematic, whose symbols are looked up
// in large libraries, against reading the same files in the same run.
//
//   cat(1)   the cat program on the schematic and its six libraries, its
//            output to /dev/null, run without a shell: process start
//            included, as reading the files with cat costs
//   read     the same bytes read to nowhere in this process with read(2) in
//            64 KB blocks: the floor of any reading, for comparison
//   scan     getFileDependencies of the schematic on a fresh workspace:
//            each library's index read, every part looked up, each symbol's
//            text read once (where it stands) for views and package, the
//            package looked up; and the same for a schematic with half its
//            symbols missing. Against cat(1) (target: within 5x) and the
//            read; the scan reads only the libraries' indexes and the
//            entries it uses, so the bytes of the read are an upper bound
//            of what it reads
//   rewrite  rewriteFile of the schematic into a target directory through
//            a copy-like operation, with the page index patched; against
//            copying the schematic's bytes (cp)
//
// The design is generated: a schematic of 200 pages with 20,000 part lines
// (each with its attribute lines), naming three symbol libraries of 20,000
// symbols each and their package libraries of 200 packages. The parts use
// 6,000 different symbols spread over the three libraries. Each figure is
// the best of three runs, printed as a ratio to its baseline (target for
// the scan: within 5x cat(1)).
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "benchsupport.h"
#include "operations/operation.h"
#include "platform/platform.h"
#include "workspace/workspace.h"

// A library: an index line per entry, then the entries' texts.
static std::string makeLibrary(const std::vector<std::pair<std::string, std::string>>& entries) {
    std::string index = "@INDEX\n", bodies;
    char line[256];
    for (const auto& entry : entries) {
        snprintf(line, sizeof line, "symloc %s %08zu %08zu\n", entry.first.c_str(), bodies.size(), entry.second.size());
        index += line;
        bodies += entry.second;
    }
    return index + bodies;
}

static std::string symbolName(int library, int n) { return "L" + std::to_string(library) + "_S" + std::to_string(n); }

static const int libraries = 3, symbolsPerLibrary = 20000, packagesPerLibrary = 200;
static const int pages = 200, parts = 20000, distinctSymbols = 6000;

static std::string lower(std::string text) {
    for (char& c : text) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    return text;
}

static std::string makeSymbols(int library) {
    std::vector<std::pair<std::string, std::string>> entries;
    for (int n = 0; n < symbolsPerLibrary; ++n) {
        const std::string name = lower(symbolName(library, n));
        // Every tenth symbol is derived from the one before.
        const std::string names = n % 10 == 9 ? name + ":" + lower(symbolName(library, n - 1)) : name;
        std::string text = "*symbol " + name + "\nd generated symbol\n@type g\n@attributes\n";
        text += "a 0 sp 11 0 10 20 hcn 100 COMPONENT=PKG" + std::to_string(n % packagesPerLibrary) + "\n";
        text += "a 0 u 13 0 10 25 hln 100 VALUE=1k\n@pins\np 2 1 0 0 10 0 hln 0 1\np 2 2 20 0 30 0 hln 0 2\n";
        entries.emplace_back(names, text);
    }
    return makeLibrary(entries);
}

static std::string makePackages() {
    std::vector<std::pair<std::string, std::string>> entries;
    for (int n = 0; n < packagesPerLibrary; ++n) {
        const std::string name = "pkg" + std::to_string(n);
        entries.emplace_back(name, "*package " + name + "\n{" + name + " pads}\n");
    }
    return makeLibrary(entries);
}

// missing: every other part names a symbol that no library holds (each a
// different name), as in a design whose libraries are not at hand.
static std::string makeSchematic(bool missing = false) {
    std::string text = "*version 9.10 3318411421\n@LIBRARIES\n";
    for (int k = 0; k < libraries; ++k) text += "\"lib" + std::to_string(k) + "\"  [.slb,.plb]\n";
    text += "@INDEX\n";
    for (int p = 1; p <= pages; ++p) text += "pageloc " + std::to_string(p) + " 0 0\n";
    char line[256];
    int part = 0;
    for (int p = 1; p <= pages; ++p) {
        snprintf(line, sizeof line, "*page %d 0 970 720 iA\n@parts\n", p);
        text += line;
        for (int i = 0; i < parts / pages; ++i, ++part) {
            const int symbol = static_cast<int>((part * 7919L) % distinctSymbols);
            const std::string name = missing && part % 2 ? "MISSING" + std::to_string(part)
                                                         : symbolName(symbol % libraries, symbol / libraries);
            snprintf(line, sizeof line, "part %d %s %d %d h\n", part, name.c_str(), 10 * (i % 40), 10 * (i / 40));
            text += line;
            snprintf(line, sizeof line, "a 0 u 13 0 10 25 hln 100 REFDES=U%d\n", part);
            text += line;
        }
        text += "@conn\n";
        for (int w = 0; w < 50; ++w) {
            snprintf(line, sizeof line, "w %d 0 %d 90 %d 90\n", w, w * 10, w * 10 + 40);
            text += line;
        }
    }
    return text;
}

using namespace bench;

int main() {
    SetTraceOutput(nullptr);
    const std::string root = makeTempDir("sch");
    const std::string dir = root + "/design";
    const std::string target = root + "/target";
    mkdir(dir.c_str(), 0755);
    mkdir(target.c_str(), 0755);

    std::vector<std::string> files = {dir + "/top.sch"};
    size_t bytes = 0;
    const std::string schematic = makeSchematic();
    writeHost(files[0], schematic);
    bytes += schematic.size();
    const std::string packages = makePackages();
    for (int k = 0; k < libraries; ++k) {
        const std::string stem = dir + "/lib" + std::to_string(k);
        const std::string symbols = makeSymbols(k);
        writeHost(stem + ".slb", symbols);
        writeHost(stem + ".plb", packages);
        files.push_back(stem + ".slb");
        files.push_back(stem + ".plb");
        bytes += symbols.size() + packages.size();
    }
    printf("schematic of %d pages and %d parts, %d libraries of %d symbols; %.1f MB in all\n", pages, parts,
           libraries, symbolsPerLibrary, bytes / 1e6);

    const double read = bestOf(3, [&] { catFiles(files); });
    std::vector<std::string> cat = {"cat"};
    cat.insert(cat.end(), files.begin(), files.end());
    const double catProgram = bestOf(3, [&] { runProgram(cat); });
    const double cp = bestOf(3, [&] { copyFile(files[0], target + "/copy.sch"); });

    // Each run on a fresh workspace, so that the libraries' indexes are read
    // and every symbol is looked up anew.
    size_t dependencies = 0, symbols = 0;
    const int runs = getenv("KV_BENCH_SCAN_RUNS") ? atoi(getenv("KV_BENCH_SCAN_RUNS")) : 3;
    auto bestScan = [&](const std::string& file) {
        double best = 1e30;
        for (int run = 0; run < runs; ++run) {
            KVE_Status status;
            std::unique_ptr<workspace> ws(OpenWorkspace(status, ToEnginePath(dir.c_str()).c_str()));
            DesignFileItem* item = static_cast<DesignFileItem*>(ws->findItem(ToEnginePath(file.c_str()).c_str()));
            auto start = std::chrono::steady_clock::now();
            dependencies = item->getFileDependencies(nullptr).size();
            const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            if (seconds < best) best = seconds;
            symbols = item->getUsedSymbols().size();
        }
        return best;
    };
    // The design with half its parts' symbols missing: each miss is looked
    // for in every library and reported once.
    const std::string missingPath = dir + "/missing.sch";
    writeHost(missingPath, makeSchematic(true));
    const double scanMissing = bestScan(missingPath);
    const double scan = bestScan(files[0]);

    KVE_Status status;
    std::unique_ptr<workspace> ws(OpenWorkspace(status, ToEnginePath(dir.c_str()).c_str()));
    DesignFileItem* top = static_cast<DesignFileItem*>(ws->findItem(ToEnginePath(files[0].c_str()).c_str()));
    const double rewrite = bestOf(3, [&] {
        bareNameOperation op;
        top->rewriteFile(nullptr, pathstring(ToEnginePath(files[0].c_str()).c_str()),
                         pathstring(ToEnginePath((target + "/top.sch").c_str()).c_str()), op);
    });

    printf("scan records %zu files and %zu symbols\n", dependencies, symbols);
    printf("cat(1)   %8.4f s  (the cat program, process start included)\n", catProgram);
    printf("read     %8.4f s  (the same bytes read in this process)\n", read);
    printf("scan     %8.4f s  %5.2fx cat(1) (target: within 5x), %5.2fx the read\n", scan, scan / catProgram,
           scan / read);
    printf("scan with half the symbols missing %8.4f s  %5.2fx cat(1)\n", scanMissing, scanMissing / catProgram);
    printf("cp       %8.3f s\n", cp);
    printf("rewrite  %8.3f s  %5.2fx cp\n", rewrite, rewrite / cp);
    removeTree(root);
    return 0;
}
