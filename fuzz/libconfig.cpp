// Fuzz target: arbitrary bytes as the two INI files of the library
// configuration. The input is split at its first NUL byte: the part before
// it is the context's INI file (LIBPATH), the part after it the fixed file
// "tarnel91.ini" (Part Libs, Special Libs). The scratch directory holds a
// few libraries; "@" in the input stands for the scratch directory's engine
// path, so that a fuzzed LIBPATH can reach them. The configuration is made,
// reloaded, asked and dropped; each line of the input also goes through
// parseListEntry and TokenList.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ftw.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "libraries/configuration.h"
#include "platform/platform.h"
#include "workspace/context.h"

static const size_t kMaxInput = 65536;

static std::string scratch;
static int removeEntry(const char* path, const struct stat*, int, struct FTW*) { return remove(path); }
static void removeScratch() {
    if (!scratch.empty()) nftw(scratch.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
}

static void writeHost(const std::string& path, const char* data, size_t size) {
    FILE* f = fopen(path.c_str(), "wb");
    if (!f) abort();
    fwrite(data, 1, size, f);
    fclose(f);
}

static void setUp() {
    if (!scratch.empty()) return;
    SetTraceOutput(nullptr);
    char dir[] = "/tmp/kvfuzz-libconfig-XXXXXX";
    if (!mkdtemp(dir)) abort();
    scratch = dir;
    atexit(removeScratch);
    mkdir((scratch + "/lib").c_str(), 0755);
    writeHost(scratch + "/lib/std.slb", "symloc A 0 1\n*\n", 15);
    writeHost(scratch + "/lib/std.plb", "symloc P 0 1\n*\n", 15);
    writeHost(scratch + "/lib/marker.slb", "", 0);
    setenv("KVENG_WINDIR", dir, 1);
}

// The text with every "@" replaced by the scratch directory.
static std::string expand(const char* text, size_t size) {
    static const std::string root = ToEnginePath(scratch.c_str());
    std::string out;
    for (size_t i = 0; i < size; ++i) {
        if (text[i] == '@')
            out += root;
        else
            out += text[i];
    }
    return out;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > kMaxInput) return 0;
    setUp();
    const char* text = reinterpret_cast<const char*>(data);
    const void* nul = memchr(data, 0, size);
    size_t first = nul ? static_cast<size_t>(static_cast<const uint8_t*>(nul) - data) : size;
    std::string context = expand(text, first);
    writeHost(scratch + "/ctx.ini", context.data(), context.size());
    size_t rest = first < size ? first + 1 : size;
    std::string fixed = expand(text + rest, size - rest);
    writeHost(scratch + "/tarnel91.ini", fixed.data(), fixed.size());

    std::string ctx = ToEnginePath((scratch + "/ctx.ini").c_str());
    SetIniFileContext(ctx.c_str(), nullptr);
    SetIniFileContext(ctx.c_str(), nullptr);
    std::string libDir = ToEnginePath((scratch + "/lib").c_str()) + "\\";
    isSystemLibraryPath(libDir.c_str());
    isPartLib((libDir + "std.slb").c_str());
    RemoveIniFileContext();

    std::string line;
    for (size_t i = 0; i <= size; ++i) {
        if (i == size || data[i] == '\n' || data[i] == 0) {
            std::string a, b;
            parseListEntry(line.c_str(), a, b);
            TokenList tokens(line.c_str(), "; ,", '"', false);
            for (int t = 0; t < tokens.count(); ++t) (void)tokens[t].size();
            line.clear();
        } else {
            line += static_cast<char>(data[i]);
        }
    }
    return 0;
}
