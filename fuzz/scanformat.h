// The fuzz harness shared by the per-format targets of the line engine.
//
// The input becomes a design file of the target's extension in a scratch
// workspace; for a circuit, the text after a line "#MIF" becomes its model
// index. Each run scans the file (the read-only pass, with the scan
// operation and its lists), asks the dependency questions, and rewrites it
// twice: into a target directory and in place, through an operation that
// maps every path to its bare name, so that no rewrite can create
// directories outside the scratch directory. Any crash or sanitizer report
// is a finding; the results themselves are not checked here (the golden
// files do that).
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ftw.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "operations/operation.h"
#include "platform/platform.h"
#include "scanning/lineengine.h"
#include "workspace/workspace.h"

static const size_t kMaxScanInput = 65536;

// Records every path as reported and maps it to its bare name.
class bareNameOperation : public InternalFunctionObject {
public:
    bool dependencyFound(pathstring& path, bool, bool) override {
        found.push_back(path);
        path = path.getBase();
        return true;
    }
    bool acceptsItem(fileItem*) override { return true; }
    std::vector<std::string> found;
};

static std::string scanScratch;
static int removeScanEntry(const char* path, const struct stat*, int, struct FTW*) { return remove(path); }
static void removeScanScratch() {
    if (!scanScratch.empty()) nftw(scanScratch.c_str(), removeScanEntry, 16, FTW_DEPTH | FTW_PHYS);
}

static void writeHostFile(const std::string& path, const uint8_t* data, size_t size) {
    FILE* f = fopen(path.c_str(), "wb");
    if (!f) abort();
    if (size) fwrite(data, 1, size, f);
    fclose(f);
}

// Makes the scratch workspace on the first run; prefix names it.
static inline bool makeScanScratch(const char* prefix) {
    if (!scanScratch.empty()) return false;
    SetTraceOutput(nullptr);
    std::string pattern = std::string("/tmp/") + prefix + "-XXXXXX";
    std::vector<char> dir(pattern.begin(), pattern.end());
    dir.push_back('\0');
    if (!mkdtemp(dir.data())) abort();
    scanScratch = dir.data();
    atexit(removeScanScratch);
    mkdir((scanScratch + "/out").c_str(), 0755);
    mkdir((scanScratch + "/sub").c_str(), 0755);
    return true;
}

// The passes over the scratch file name: scan, dependency questions and
// closure, then the rewrite into out/ (which must meet the references of
// the scan, in order) and in place.
static inline int exerciseScanFile(const std::string& name) {
    char saved[MAX_PATH] = "";
    GetCurrentDirectoryA(MAX_PATH, saved);
    KVE_Status status;
    DesignWorkspace* ws = static_cast<DesignWorkspace*>(OpenWorkspace(status, ToEnginePath(scanScratch.c_str()).c_str()));
    if (!ws) abort();
    const std::string enginePath = ToEnginePath((scanScratch + "/" + name).c_str());
    DesignFileItem* item = dynamic_cast<DesignFileItem*>(ws->findItem(enginePath.c_str()));
    if (!item) abort();
    // Each run starts from a clean context, as the first file of a process.
    getScanContext().currentSymbolLibrary[0] = '\0';
    getScanContext().lastPartName[0] = '\0';
    dummyCallback nobody;
    item->getFileDependencies(&nobody);
    item->getSystemDependencies(&nobody);
    item->hasChildren(0, &nobody);
    for (fileItem* each : item->getFileDependencies(&nobody)) each->getFileType();
    delete item->getDependencyClosure(&nobody, 0);

    // A scan passes over lines that cannot name a file without reading
    // them one by one; a rewrite reads every line. Both must meet the same
    // references in the same order.
    bareNameOperation scanned;
    item->scanFile(&nobody, scanned);
    bareNameOperation op;
    const pathstring source(enginePath.c_str());
    const pathstring target(ToEnginePath((scanScratch + "/out/" + name).c_str()).c_str());
    item->rewriteFile(&nobody, source, target, op);
    if (scanned.found != op.found) {
        fprintf(stderr, "the scan met %zu references, the rewrite %zu\n", scanned.found.size(), op.found.size());
        abort();
    }
    SetCurrentDirectoryA(ToEnginePath(scanScratch.c_str()).c_str());
    item->rewriteFile(&nobody, source, source, op);
    SetCurrentDirectoryA(saved);
    delete ws;
    return 0;
}

// One run over data as a file named "design." + extension.
static inline int fuzzScanFormat(const char* extension, const uint8_t* data, size_t size) {
    if (size > kMaxScanInput) return 0;
    makeScanScratch("kvfuzz-scan");
    const std::string name = std::string("design.") + extension;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const size_t split = std::string(extension) == "cir" ? text.find("\n#MIF\n") : std::string::npos;
    if (split == std::string::npos) {
        writeHostFile(scanScratch + "/" + name, data, size);
        unlink((scanScratch + "/design.mif").c_str());
    } else {
        writeHostFile(scanScratch + "/" + name, data, split + 1);
        writeHostFile(scanScratch + "/design.mif", data + split + 6, size - split - 6);
    }
    return exerciseScanFile(name);
}
