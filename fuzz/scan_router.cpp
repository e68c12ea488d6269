// Fuzz target: arbitrary bytes as a router file (.do), scanned and rewritten
// (fuzz/scanformat.h).
#include "scanformat.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { return fuzzScanFormat("do", data, size); }
