// Fuzz target: arbitrary bytes as a synthesis file (.dsl), scanned and rewritten
// (fuzz/scanformat.h).
#include "scanformat.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { return fuzzScanFormat("dsl", data, size); }
