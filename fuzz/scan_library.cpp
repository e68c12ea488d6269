// Fuzz target: arbitrary bytes as a library file (.lib), scanned and rewritten
// (fuzz/scanformat.h).
#include "scanformat.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { return fuzzScanFormat("lib", data, size); }
