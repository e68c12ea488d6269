// Fuzz target: arbitrary bytes as the content of a design file, typed by a
// workspace. The first byte picks the extension; the rest is the file.
//
// Rules checked: every file gets a valid type whose category is the type's;
// a schematic, text, document or aperture file has its type exactly when
// its first line (read as text, CR LF as LF) begins with the signature, in
// any case; a wave data or concatenated data file exactly when its first
// byte is 255; a circuit is a circuit whatever it holds.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "fuzzsupport.h"
#include "workspace/workspace.h"

static const size_t kMaxInput = 4096;

struct extensionRule {
    const char* extension;
    const char* signature; // text the first line must begin with; null: none
    bool binary;           // the first byte must be 255
    int type;              // the type when the rule holds
};

static const extensionRule rules[] = {
    {"sch", "*version", false, KVE_fileTypeEnum::SCH}, {"txt", "#H", false, KVE_fileTypeEnum::TXT},
    {"csd", "#H", false, KVE_fileTypeEnum::TXT},       {"doc", "FKDocument", false, KVE_fileTypeEnum::DOC},
    {"adf", "*aperture", false, KVE_fileTypeEnum::ADF}, {"dat", nullptr, true, KVE_fileTypeEnum::DAT},
    {"cat", nullptr, true, KVE_fileTypeEnum::CAT},     {"cir", nullptr, false, KVE_fileTypeEnum::CIR},
};

// Whether content, read as text, begins with signature without regard to
// case, within its first line.
static bool firstLineBegins(const std::string& content, const char* signature) {
    std::string text;
    for (size_t i = 0; i < content.size(); ++i) {
        if (content[i] == '\r' && i + 1 < content.size() && content[i + 1] == '\n') continue;
        text += content[i];
    }
    const size_t n = strlen(signature);
    if (text.size() < n) return false;
    for (size_t i = 0; i < n; ++i) {
        char c = text[i];
        if (c == '\n' || c == '\0') return false;
        if (tolower(static_cast<unsigned char>(c)) != tolower(static_cast<unsigned char>(signature[i]))) return false;
    }
    return true;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1 || size > kMaxInput) return 0;
    const std::string& scratch = fuzzScratchDirectory("type");
    const extensionRule& rule = rules[data[0] % (sizeof rules / sizeof rules[0])];
    const std::string content(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::string host = scratch + "/f." + rule.extension;
    int fd = open(host.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0 || write(fd, content.data(), content.size()) != static_cast<ssize_t>(content.size())) abort();
    close(fd);

    // A fresh workspace each time: a changed file of the same size within
    // one tick of the clock would keep its old type, as it should.
    KVE_Status status;
    std::unique_ptr<workspace> ws(OpenWorkspace(status, ToEnginePath(scratch.c_str()).c_str()));
    check(ws != nullptr, "the scratch directory opens");
    fileItem* item = ws->findItem((ToEnginePath(scratch.c_str()) + "\\f." + rule.extension).c_str());
    check(item != nullptr, "the file has an item");
    const KVE_fileTypeEnum& type = item->getFileType();
    check(type.isValid(), "a valid type");
    check(item->getCategory().value() == KVE_fileCategoryEnum(type.getCategory()).value(), "the type's category");

    bool holds = true;
    if (rule.signature) holds = !content.empty() && firstLineBegins(content, rule.signature);
    if (rule.binary) holds = !content.empty() && static_cast<unsigned char>(content[0]) == 255;
    check(type.value() == (holds ? rule.type : static_cast<int>(KVE_fileTypeEnum::USER)), "the signature rule");
    delete ws->getCategoryItems(KVE_fileCategoryEnum::MiscellaneousFiles);
    unlink(host.c_str());
    return 0;
}
