// Benchmark of the dependency scan and the rewrite pass, against reading
// and copying the same bytes in the same run.
//
//   cat      read every file to nowhere with read(2) in 64 KB blocks: the
//            bytes a scan cannot avoid reading
//   scan     the closure of the top circuit on an open workspace: every file
//            scanned once through the line engine, every include and
//            library recorded
//   cp       read every file and write it to a target directory
//   rewrite  rewriteFile of every circuit into a target directory through a
//            copy-like operation (bare names for neighbours)
//
// The design is generated: circuits of 200 KB of element lines, each
// including two others (a binary tree from c0000.cir, so the closure of the
// top reaches all) and naming three of ten model libraries, with comments
// and continuation lines between. By default 400 circuits (80 MB);
// KV_BENCH_SCAN_FULL=1 gives the full size of 2,000 circuits (400 MB), and
// KV_BENCH_SCAN_FILES=N any other count. Each figure is the best of its
// runs on warm caches (cat and scan take turns, five runs; cp and rewrite
// three), printed as a ratio to its baseline: the scan against cat (target:
// within 3x), the rewrite against cp.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "benchsupport.h"
#include "operations/operation.h"
#include "platform/platform.h"
#include "workspace/workspace.h"

static std::string circuitName(int i) {
    char name[32];
    snprintf(name, sizeof name, "c%04d.cir", i);
    return name;
}

// One circuit of about size bytes.
static std::string makeCircuit(int i, int count, size_t size) {
    std::string text = "* generated circuit " + std::to_string(i) + "\n";
    for (int child : {2 * i + 1, 2 * i + 2})
        if (child < count) text += ".INC \"" + circuitName(child) + "\"\n";
    for (int k = 0; k < 3; ++k) text += ".LIB models" + std::to_string((i + k) % 10) + ".lib\n";
    text += ".LIB\n";
    char line[128];
    for (int n = 0; text.size() < size; ++n) {
        if (n % 50 == 0)
            snprintf(line, sizeof line, "* section %d of the amplifier chain, stage %d\n", n / 50, i);
        else if (n % 17 == 0)
            snprintf(line, sizeof line, "+ IS=1e-14 BF=%d VAF=%d\n", 100 + n % 50, 50 + n % 30);
        else
            snprintf(line, sizeof line, "R%d n%d n%d %dk\n", n, n, n + 1, 1 + n % 97);
        text += line;
    }
    text += ".END\n";
    return text;
}

int main() {
    SetTraceOutput(nullptr);
    int count = 400;
    if (getenv("KV_BENCH_SCAN_FULL")) count = 2000;
    if (const char* n = getenv("KV_BENCH_SCAN_FILES")) count = atoi(n);
    if (count < 1) count = 1;
    const size_t size = 200 * 1024;

    const std::string root = bench::makeTempDir("scan");
    const std::string dir = root + "/design";
    const std::string target = root + "/target";
    mkdir(dir.c_str(), 0755);
    mkdir(target.c_str(), 0755);
    size_t bytes = 0;
    std::vector<std::string> circuits;
    for (int i = 0; i < count; ++i) {
        const std::string text = makeCircuit(i, count, size);
        bytes += text.size();
        circuits.push_back(dir + "/" + circuitName(i));
        bench::writeHost(circuits.back(), text);
    }
    for (int k = 0; k < 10; ++k)
        bench::writeHost(dir + "/models" + std::to_string(k) + ".lib", "* models\n.MODEL D D\n");
    printf("%d circuits, %.0f MB\n", count, bytes / 1e6);

    // cat and the scan take turns, so that a change in the machine's load
    // falls on both; each figure is the best of its runs. Each scan runs on
    // a fresh workspace, so that every file is scanned; only the closure is
    // timed (bench_workspace times the open). KV_BENCH_SCAN_RUNS sets the
    // number of runs (5 by default; more for a profiler).
    size_t reached = 0;
    double cat = 1e30, scan = 1e30;
    const int runs = getenv("KV_BENCH_SCAN_RUNS") ? atoi(getenv("KV_BENCH_SCAN_RUNS")) : 5;
    for (int run = 0; run < runs; ++run) {
        cat = std::min(cat, bench::timed([&] { bench::catFiles(circuits); }));
        KVE_Status status;
        std::unique_ptr<workspace> ws(OpenWorkspace(status, ToEnginePath(dir.c_str()).c_str()));
        fileItem* top = ws->findItem(ToEnginePath((dir + "/" + circuitName(0)).c_str()).c_str());
        fileItemList* closure = nullptr;
        scan = std::min(scan, bench::timed([&] { closure = top->getDependencyClosure(nullptr, 0); }));
        reached = closure->size();
        delete closure;
    }

    const double cp = bench::bestOf(3, [&] {
        for (int i = 0; i < count; ++i) bench::copyFile(circuits[i], target + "/" + circuitName(i));
    });
    KVE_Status status;
    std::unique_ptr<workspace> ws(OpenWorkspace(status, ToEnginePath(dir.c_str()).c_str()));
    const double rewrite = bench::bestOf(3, [&] {
        for (int i = 0; i < count; ++i) {
            const std::string source = ToEnginePath((dir + "/" + circuitName(i)).c_str());
            DesignFileItem* item = static_cast<DesignFileItem*>(ws->findItem(source.c_str()));
            bench::bareNameOperation op;
            item->rewriteFile(nullptr, pathstring(source.c_str()),
                              pathstring(ToEnginePath((target + "/" + circuitName(i)).c_str()).c_str()), op);
        }
    });

    printf("closure reaches %zu files\n", reached);
    bench::report("scan", scan, "cat", cat);
    printf("           (target: scan within 3x cat)\n");
    bench::report("rewrite", rewrite, "cp", cp);
    bench::removeTree(root);
    return 0;
}
