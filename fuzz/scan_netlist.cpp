// Fuzz target: arbitrary bytes as a netlist file (.nlf), scanned and rewritten
// (fuzz/scanformat.h).
#include "scanformat.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { return fuzzScanFormat("nlf", data, size); }
