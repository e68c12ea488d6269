// Fuzz target: arbitrary bytes as a symbol library, read through
// LibraryFileItem::generateIndexList, then looked up by names taken from the
// input and by a few fixed ones. Every look-up through the name map is
// checked against a walk of the entries in file order; any difference, or
// an entry whose texts are not what the reader promises, aborts.
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ftw.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "libraries/libraryitem.h"
#include "operations/operation.h"
#include "platform/platform.h"
#include "workspace/workspace.h"

static const size_t kMaxInput = 65536;

class QuietOperation : public InternalFunctionObject {
public:
    bool dependencyFound(pathstring&, bool, bool) override { return true; }
    bool acceptsItem(fileItem*) override { return true; }
};

static std::string scratch;
static int removeEntry(const char* path, const struct stat*, int, struct FTW*) { return remove(path); }
static void removeScratch() {
    if (!scratch.empty()) nftw(scratch.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
}

static void check(bool ok, const char* what) {
    if (!ok) {
        fprintf(stderr, "broken rule: %s\n", what);
        abort();
    }
}

static LibraryFileItem* library() {
    static LibraryFileItem* item = nullptr;
    if (!item) {
        SetTraceOutput(nullptr);
        char dir[] = "/tmp/kvfuzz-libindex-XXXXXX";
        if (!mkdtemp(dir)) abort();
        scratch = dir;
        atexit(removeScratch);
        FILE* f = fopen((scratch + "/fuzz.slb").c_str(), "wb");
        if (!f) abort();
        fclose(f);
        KVE_Status status;
        workspace* ws = OpenWorkspace(status, ToEnginePath(dir).c_str());
        if (!ws) abort();
        item = static_cast<LibraryFileItem*>(
            static_cast<DesignWorkspace*>(ws)->addLibraryItem(ToEnginePath((scratch + "/fuzz.slb").c_str()).c_str(),
                                                              nullptr));
        if (!item) abort();
    }
    return item;
}

static libraryIndexEntry* walk(LibraryFileItem* lib, const std::string& name) {
    char key[1024];
    snprintf(key, sizeof key, ",%s,", name.c_str());
    _strlwr(key);
    for (libraryIndexEntry* e : lib->getIndexEntries())
        if (e->names && strstr(e->names, key)) return e;
    return nullptr;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > kMaxInput) return 0;
    LibraryFileItem* lib = library();
    FILE* f = fopen((scratch + "/fuzz.slb").c_str(), "wb");
    if (!f) abort();
    fwrite(data, 1, size, f);
    fclose(f);

    QuietOperation op;
    lib->releaseIndex();
    lib->generateIndexList();
    for (libraryIndexEntry* e : lib->getIndexEntries()) {
        check(e->owner == lib, "owner is the library");
        check(e->names && e->names[0] == ',' && e->names[strlen(e->names) - 1] == ',', "names framed by commas");
        for (const char* c = e->names; *c; ++c) check(!isupper(static_cast<unsigned char>(*c)), "names lower case");
    }

    // Names from the input: its words, cut at blanks, commas and colons.
    std::vector<std::string> names = {"", "a", "symloc", ",", "a,b"};
    std::string word;
    for (size_t i = 0; i <= size && names.size() < 64; ++i) {
        char c = i < size ? static_cast<char>(data[i]) : ' ';
        if (c == 0 || isspace(static_cast<unsigned char>(c)) || c == ':') {
            if (!word.empty()) names.push_back(word);
            if (word.find(',') != std::string::npos) names.push_back(word.substr(0, word.find(',')));
            word.clear();
        } else {
            word += c;
        }
    }
    for (const std::string& name : names) {
        libraryIndexEntry* found = lib->findIndexEntry(name.c_str(), op);
        check(found == walk(lib, name), "the map answers as the walk in file order");
    }
    return 0;
}
