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
    if (makeScanScratch("kvfuzz-sch")) {
        const std::string packages = defaultPackages;
        writeHostFile(scanScratch + "/parts.plb", reinterpret_cast<const uint8_t*>(packages.data()), packages.size());
    }
    const std::string text(reinterpret_cast<const char*>(data), size);
    const size_t split = text.find("\n#SLB\n");
    const std::string design = "*version 9.10\n" + text.substr(0, split == std::string::npos ? size : split + 1);
    const std::string symbols = split == std::string::npos ? std::string(defaultSymbols) : text.substr(split + 6);
    writeHostFile(scanScratch + "/design.sch", reinterpret_cast<const uint8_t*>(design.data()), design.size());
    writeHostFile(scanScratch + "/parts.slb", reinterpret_cast<const uint8_t*>(symbols.data()), symbols.size());
    return exerciseScanFile("design.sch");
}
