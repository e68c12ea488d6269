// What the property-checking fuzz targets share: the check that stops a run
// on a broken rule, and a scratch directory of their own that is removed
// when the fuzzer exits.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <ftw.h>
#include <string>
#include <sys/stat.h>

// Stops the run with the rule's text when ok is false: libFuzzer keeps the
// input as a finding.
static inline void check(bool ok, const char* what) {
    if (!ok) {
        fprintf(stderr, "broken rule: %s\n", what);
        abort();
    }
}

static std::string fuzzScratch;
static inline int removeFuzzEntry(const char* path, const struct stat*, int, struct FTW*) { return remove(path); }
static inline void removeFuzzScratch() { nftw(fuzzScratch.c_str(), removeFuzzEntry, 16, FTW_DEPTH | FTW_PHYS); }

// The scratch directory (/tmp/kvfuzz-<name>-XXXXXX), made at the first call.
static inline const std::string& fuzzScratchDirectory(const char* name) {
    if (fuzzScratch.empty()) {
        std::string pattern = std::string("/tmp/kvfuzz-") + name + "-XXXXXX";
        if (!mkdtemp(&pattern[0])) abort();
        fuzzScratch = pattern;
        atexit(removeFuzzScratch);
    }
    return fuzzScratch;
}
