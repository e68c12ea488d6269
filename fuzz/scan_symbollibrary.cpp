// Fuzz target: arbitrary bytes as a symbol library (.slb), scanned and
// rewritten (fuzz/scanformat.h). A rewrite seeks back into its own output
// to patch the index, so a damaged index must never make it write outside
// the reserved fields or hang the pass.
#include "scanformat.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { return fuzzScanFormat("slb", data, size); }
