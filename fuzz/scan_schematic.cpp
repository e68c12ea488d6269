// Fuzz target: arbitrary bytes as a schematic (.sch), scanned and rewritten,
// with a symbol and package library beside it so that the part, port and
// COMPONENT= lines are resolved.
//
// The input follows a first line "*version 9.10" (the file type is known by
// it). Text after a line "#SLB" replaces the symbol library "parts.slb", so
// that damaged indexes, offsets and entries are read too. The run scans the
// schematic with the scan operation (which resolves symbols), asks the
// dependency questions, then scans and rewrites it with an operation that
// maps every path to its bare name; the two must meet the same references.
// Finally it rewrites the file in place.
#include "scanformat.h"

#include "scanning/lineengine.h"

// The libraries of a run when the input brings none: symbols with parents,
// views and packages, and a package library of the same stem.
static const char defaultSymbols[] =
    "@INDEX\n"
    "symloc r,res 00000000 00000089\n"
    "symloc r_smd:r 00000089 00000051\n"
    "symloc loop:loop 00000140 00000017\n"
    "*symbol r\n@views\nschematic=sub\\impl\n@attributes\na 0 sp 11 0 10 20 hcn 100 COMPONENT=RC05\n"
    "*symbol r_smd\nak r\na 0 sp 11 0 10 20 hcn 100 PART=\n"
    "*symbol loop\nx\nx\n";
static const char defaultPackages[] =
    "@INDEX\n"
    "symloc rc05:rc05 00000000 00000014\n"
    "symloc smd:none 00000014 00000011\n"
    "*package rc05\n*package x\n";

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > kMaxScanInput) return 0;
    if (scanScratch.empty()) {
        SetTraceOutput(nullptr);
        char dir[] = "/tmp/kvfuzz-sch-XXXXXX";
        if (!mkdtemp(dir)) abort();
        scanScratch = dir;
        atexit(removeScanScratch);
        mkdir((scanScratch + "/out").c_str(), 0755);
        mkdir((scanScratch + "/sub").c_str(), 0755);
        const std::string packages = defaultPackages;
        writeHostFile(scanScratch + "/parts.plb", reinterpret_cast<const uint8_t*>(packages.data()), packages.size());
    }
    const std::string text(reinterpret_cast<const char*>(data), size);
    const size_t split = text.find("\n#SLB\n");
    const std::string design = "*version 9.10\n" + text.substr(0, split == std::string::npos ? size : split + 1);
    const std::string symbols = split == std::string::npos ? std::string(defaultSymbols) : text.substr(split + 6);
    writeHostFile(scanScratch + "/design.sch", reinterpret_cast<const uint8_t*>(design.data()), design.size());
    writeHostFile(scanScratch + "/parts.slb", reinterpret_cast<const uint8_t*>(symbols.data()), symbols.size());

    char saved[MAX_PATH] = "";
    GetCurrentDirectoryA(MAX_PATH, saved);
    KVE_Status status;
    DesignWorkspace* ws = static_cast<DesignWorkspace*>(OpenWorkspace(status, ToEnginePath(scanScratch.c_str()).c_str()));
    if (!ws) abort();
    const std::string enginePath = ToEnginePath((scanScratch + "/design.sch").c_str());
    DesignFileItem* item = dynamic_cast<DesignFileItem*>(ws->findItem(enginePath.c_str()));
    if (!item) abort();
    // Each run starts from a clean context, as the first file of a process.
    getScanContext().currentSymbolLibrary[0] = '\0';
    getScanContext().lastPartName[0] = '\0';
    dummyCallback nobody;
    item->getFileDependencies(&nobody);
    item->getSystemDependencies(&nobody);
    item->hasChildren(0, &nobody);
    fileItemList* closure = item->getDependencyClosure(&nobody, 0);
    delete closure;

    bareNameOperation scanned;
    item->scanFile(&nobody, scanned);
    bareNameOperation op;
    const pathstring source(enginePath.c_str());
    const pathstring target(ToEnginePath((scanScratch + "/out/design.sch").c_str()).c_str());
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
