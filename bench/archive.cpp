// Benchmark of the compressed archive against tar with gzip, on the same
// generated design tree, in the same run:
//
//   pack     writeArchive of the tree, against `tar czf`
//   unpack   readArchive into an empty directory, against `tar xzf`
//
// The tree is about 100 MB (KV_BENCH_ARCHIVE_MB sets another size): design
// text of several kinds (schematics, netlists, symbol libraries, reports),
// each file with its own mix of names and numbers, and about a tenth of the
// bytes in binary files (waveform samples, and incompressible noise). Each
// time is the best of two runs, printed with its ratio to tar's (below 1:
// faster), and both archives' sizes as a share of the tree. Beside the
// wall-clock time each line gives the processor time (user and system, of
// this process and of the tar and gzip it starts), which a shared, busy
// machine disturbs far less.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "archive/compressedarchive.h"
#include "benchsupport.h"
#include "platform/platform.h"

// --- the generated tree --------------------------------------------------------

struct Random {
    uint32_t state;
    uint32_t next() {
        state = state * 1664525u + 1013904223u;
        return state >> 8;
    }
    uint32_t below(uint32_t n) { return next() % n; }
};

static const char* const kParts[] = {"R", "C", "L", "U", "Q", "D", "J", "X"};
static const char* const kNets[] = {"VCC", "GND", "CLK", "RESET_N", "DATA", "ADDR", "IRQ", "SDA", "SCL", "VREF"};
static const char* const kModels[] = {"2N3904", "1N4148", "LM358", "OPA2134", "74HC595", "BSS138", "TL431"};

// One file of design text of the given kind, about `size` bytes.
static std::string designText(int kind, size_t size, Random& r) {
    std::string s;
    s.reserve(size + 200);
    char line[200];
    if (kind == 0) s += "*version 9.1 schematic\n";
    while (s.size() < size) {
        const char* part = kParts[r.below(8)];
        const char* net = kNets[r.below(10)];
        switch (kind) {
        case 0:  // schematic
            snprintf(line, sizeof line, "@PART %s%u %s x=%u y=%u rot=%u lib=\"analog.slb\"\n  PIN %u NET %s_%u\n",
                     part, r.below(400), kModels[r.below(7)], r.below(2000) * 10, r.below(1500) * 10, r.below(4) * 90,
                     r.below(16), net, r.below(64));
            break;
        case 1:  // netlist
            snprintf(line, sizeof line, "%s%u N%05u N%05u %s %u.%02u%s\n", part, r.below(900), r.below(3000),
                     r.below(3000), kModels[r.below(7)], r.below(100), r.below(100), r.below(3) ? "k" : "u");
            break;
        case 2:  // symbol library
            snprintf(line, sizeof line, "*symbol %s_%u\nd %s\nb 0 0 %u %u\np %u %u %s\n", kModels[r.below(7)],
                     r.below(500), "generic part", r.below(80) * 5, r.below(60) * 5, r.below(40) * 5, r.below(40) * 5,
                     net);
            break;
        default:  // report
            snprintf(line, sizeof line, "  %-12s %8.3f ns  slack %+7.3f  %s -> %s\n", net, r.below(100000) / 1000.0,
                     (static_cast<int>(r.below(20000)) - 10000) / 1000.0, kNets[r.below(10)], kNets[r.below(10)]);
            break;
        }
        s += line;
    }
    return s;
}

// Waveform samples: slowly varying 16-bit values with noise in the low bits.
static std::string waveform(size_t size, Random& r) {
    std::string s(size, '\0');
    double phase = 0;
    for (size_t i = 0; i + 1 < size; i += 2) {
        phase += 0.01;
        int v = static_cast<int>(10000 * __builtin_sin(phase)) + static_cast<int>(r.below(16));
        s[i] = static_cast<char>(v);
        s[i + 1] = static_cast<char>(v >> 8);
    }
    return s;
}

static std::string noise(size_t size, Random& r) {
    std::string s(size, '\0');
    for (size_t i = 0; i < size; ++i) s[i] = static_cast<char>(r.next());
    return s;
}

// Writes the tree below root; returns its bytes.
static long long makeTree(const std::string& root, long long total) {
    Random r{12345};
    static const char* const kExt[] = {".sch", ".cir", ".slb", ".rpt"};
    long long written = 0;
    int project = 0;
    while (written < total) {
        std::string p = root + "/Project" + std::to_string(project++);
        mkdir(p.c_str(), 0755);
        mkdir((p + "/sheets").c_str(), 0755);
        mkdir((p + "/lib").c_str(), 0755);
        mkdir((p + "/sim").c_str(), 0755);
        for (int f = 0; f < 40 && written < total; ++f) {
            int kind = f % 4;
            size_t size = 4000 + r.below(kind == 3 ? 200000 : 120000);
            std::string dir = p + (kind == 2 ? "/lib" : kind == 1 ? "/sim" : "/sheets");
            std::string text = designText(kind, size, r);
            bench::writeHost(dir + "/part" + std::to_string(f) + kExt[kind], text);
            written += static_cast<long long>(text.size());
        }
        // About a tenth binary: one waveform and one noise file per project.
        std::string wave = waveform(150000 + r.below(100000), r);
        bench::writeHost(p + "/sim/run.dat", wave);
        std::string blob = noise(30000 + r.below(60000), r);
        bench::writeHost(p + "/lib/footprints.bin", blob);
        written += static_cast<long long>(wave.size() + blob.size());
    }
    return written;
}

int main() {
    const char* mbText = getenv("KV_BENCH_ARCHIVE_MB");
    long long megabytes = mbText ? atoll(mbText) : 100;
    if (megabytes < 1) megabytes = 1;
    std::string dir = bench::makeTempDir("archive");
    std::string tree = dir + "/tree";
    mkdir(tree.c_str(), 0755);
    printf("creating a design tree of about %lld MB...\n", megabytes);
    long long bytes = makeTree(tree, megabytes << 20);

    std::string ma = dir + "/tree.ma", tgz = dir + "/tree.tgz";
    std::string maOut = dir + "/ma-out", tarOut = dir + "/tar-out";
    std::string engineTree = ToEnginePath(tree.c_str()), engineMa = ToEnginePath(ma.c_str());
    std::string engineOut = ToEnginePath(maOut.c_str());

    auto nothing = [] {};
    int status = 0;
    bench::Timing pack = bench::bestOf(2, nothing, [&] {
        CompressedArchive a;
        CompressedArchive::resetEntryCount();
        status |= a.writeArchive(engineTree.c_str(), engineMa.c_str(), nullptr);
    });
    bench::Timing tarPack =
        bench::bestOf(2, nothing, [&] { bench::run("tar czf '" + tgz + "' -C '" + dir + "' tree"); });
    bench::Timing unpack = bench::bestOf(2, [&] { bench::removeTree(maOut); mkdir(maOut.c_str(), 0755); }, [&] {
        CompressedArchive a;
        CompressedArchive::resetEntryCount();
        status |= a.readArchive(engineMa.c_str(), engineOut.c_str());
    });
    bench::Timing tarUnpack = bench::bestOf(2, [&] { bench::removeTree(tarOut); mkdir(tarOut.c_str(), 0755); },
                                            [&] { bench::run("tar xzf '" + tgz + "' -C '" + tarOut + "'"); });
    if (status != 0) {
        fprintf(stderr, "the archive failed: status %d\n", status);
        bench::removeTree(dir);
        return 1;
    }
    // The unpacked tree must be the tree.
    bool same = system(("diff -r -q '" + tree + "' '" + maOut + "' >/dev/null").c_str()) == 0;

    long long maSize = bench::fileSize(ma), tgzSize = bench::fileSize(tgz);
    printf("tree          %8.1f MB\n", bytes / 1048576.0);
    printf("pack   %7.2f s   tar czf %7.2f s   ratio %.2f    processor %6.2f s against %6.2f s   ratio %.2f\n",
           pack.wall, tarPack.wall, pack.wall / tarPack.wall, pack.cpu, tarPack.cpu, pack.cpu / tarPack.cpu);
    printf("unpack %7.2f s   tar xzf %7.2f s   ratio %.2f    processor %6.2f s against %6.2f s   ratio %.2f\n",
           unpack.wall, tarUnpack.wall, unpack.wall / tarUnpack.wall, unpack.cpu, tarUnpack.cpu,
           unpack.cpu / tarUnpack.cpu);
    printf("size   %8.1f%% of the tree   tar.gz %8.1f%%   ratio %.2f\n", 100.0 * maSize / bytes,
           100.0 * tgzSize / bytes, static_cast<double>(maSize) / tgzSize);
    printf("round trip %s\n", same ? "identical" : "DIFFERS");
    bench::removeTree(dir);
    return same ? 0 : 1;
}
