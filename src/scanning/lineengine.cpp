// The line engine and the two passes over a file.
//
// Contents:
//   1. The scan context.
//   2. Text helpers shared by the formats.
//   3. The dispatch tables: file type -> line handler, state -> grammar.
//   4. nextDependency.
//   5. scanFile and rewriteFile.
#include "scanning/lineengine.h"

#include <cstring>
#include <string>
#include <unistd.h>

#include "operations/operation.h"
#include "platform/platform.h"
#include "workspace/fileitem.h"

// ---------------------------------------------------------------------------
// 1. The scan context
// ---------------------------------------------------------------------------

scanContext::~scanContext() { freeRecords(); }

void scanContext::freeRecords() {
    for (indexRecord* record : pageRecords) delete record;
    for (indexRecord* record : symbolRecords) delete record;
    pageRecords.clear();
    symbolRecords.clear();
}

scanContext& getScanContext() {
    static scanContext context;
    return context;
}

// ---------------------------------------------------------------------------
// 2. Text helpers
// ---------------------------------------------------------------------------

bool readScanLine(FILE* in, char* line) {
    if (!fgets(line, scanLineSize, in)) {
        line[0] = '\0';
        return false;
    }
    // A NUL read from the file ends the line early; the rest is dropped.
    size_t length = strlen(line);
    if (char* cr = static_cast<char*>(memrchr(line, '\r', length)))
        *cr = '\0';
    else if (length && line[length - 1] == '\n')
        line[length - 1] = '\0';
    return true;
}

void copyScanLine(FILE* out, const char* line) {
    if (!out) return;
    fputs(line, out);
    fputc('\n', out);
}

char* findFileNameValue(char* line) {
    static const char keyword[] = "filename=";
    const size_t keywordLength = sizeof keyword - 1;
    // The search on a lower-cased copy: the position is the same in line.
    const size_t length = strlen(line);
    char* found = nullptr;
    for (size_t i = 0; i + keywordLength <= length && !found; ++i) {
        if ((line[i] | 0x20) != 'f') continue;
        if (_strnicmp(line + i, keyword, keywordLength) == 0) found = line + i;
    }
    if (found) {
        char* value = found + keywordLength;
        while (*value == ' ') ++value;
        // Blanks to the end give the terminator itself, which is no line end.
        if (*value == '\n' || *value == '\r') return nullptr;
        if (value == found + keywordLength && *value == '\0') return nullptr;
        return value;
    }
    if ((line[0] == 'i' || line[0] == 'I') && line[1] == ' ') return strchr(line, '"');
    return nullptr;
}

void splitQuotedWords(const char* text, std::vector<std::string>& words) {
    const char* p = text;
    for (;;) {
        while (*p == ' ' || *p == '\t') ++p;
        if (!*p) return;
        std::string word;
        bool quoted = false;
        for (; *p; ++p) {
            if (*p == '"') {
                quoted = !quoted;
                continue;
            }
            if (!quoted && (*p == ' ' || *p == '\t')) break;
            word += *p;
        }
        words.push_back(word);
    }
}

// ---------------------------------------------------------------------------
// 3. Dispatch tables
// ---------------------------------------------------------------------------

typedef int (DesignFileItem::*lineHandler)(scanPass& pass);

// The handler of state Line for each type that has one. A type that is not
// here ends its pass after the first line. The schematic and symbol
// library handlers join this table with their grammars.
struct typeHandlerRow {
    int type;
    lineHandler handler;
};
static const typeHandlerRow typeHandlers[] = {
    {KVE_fileTypeEnum::CIR, &DesignFileItem::circuitDirectiveLine},
    {KVE_fileTypeEnum::LIB, &DesignFileItem::circuitDirectiveLine},
    {KVE_fileTypeEnum::DO, &DesignFileItem::routerCommandLine},
    {KVE_fileTypeEnum::DSL, &DesignFileItem::synthesisSourceLine},
    {KVE_fileTypeEnum::NLF, &DesignFileItem::localLibLine},
    {KVE_fileTypeEnum::PCA, &DesignFileItem::netlistNameLine},
    {KVE_fileTypeEnum::PCV, &DesignFileItem::netlistNameLine},
};

// The grammars of the states other than Line, by state. They come with
// the schematic (1, 2, 3, 5, 7, 8, 10) and symbol library (4, 6, 9, 11)
// formats; a state without one ends the pass. readsLine is false for the
// states that work on the line in the buffer and go back to Line after.
struct stateRow {
    lineHandler handler;
    bool readsLine;
};
static const stateRow stateHandlers[ScanStateCount] = {
    {nullptr, true},  // Line: handled by nextDependency itself
    {nullptr, true},  // SchematicViews
    {nullptr, true},  // SchematicLibraries
    {nullptr, true},  // PageIndex
    {nullptr, true},  // SymbolIndex
    {nullptr, false}, // PartLine
    {nullptr, true},  // SymbolBody
    {nullptr, false}, // PortLine
    {nullptr, false}, // PackageLine
    {nullptr, true},  // SymbolViews
    {nullptr, true},  // SchematicAnalysis
    {nullptr, true},  // SymbolIndexFinish
};

static lineHandler handlerOfType(int type) {
    for (const typeHandlerRow& row : typeHandlers)
        if (row.type == type) return row.handler;
    return nullptr;
}

// ---------------------------------------------------------------------------
// 4. nextDependency
// ---------------------------------------------------------------------------

int DesignFileItem::nextDependency(FILE* in, FILE* out, char* work, InternalFunctionObject& op, int& state) {
    scanPass pass(in, out, work, op, state);
    scanContext& context = getScanContext();
    const int type = fileType.value();
    const lineHandler typeHandler = handlerOfType(type);
    int result = 0;
    while (!pass.finished) {
        if (state != Line) {
            const stateRow& row =
                state > 0 && state < ScanStateCount ? stateHandlers[state] : stateHandlers[SymbolIndexFinish];
            if (!row.handler) {
                // A grammar that is not built yet: the file ends here.
                state = Line;
                pass.finished = true;
                break;
            }
            result = (this->*row.handler)(pass);
            if (!row.readsLine) state = Line;
            if (result) return result;
            continue;
        }

        if (pass.pushBack)
            pass.pushBack = false;
        else if (!readScanLine(in, pass.line)) {
            // End of input in state Line.
            if (type == KVE_fileTypeEnum::CIR) {
                readModelIndex(op);
                context.circuitLineCount = 0;
            }
            pass.finished = true;
            break;
        }

        if (!typeHandler) {
            pass.finished = true;
            break;
        }
        if (type == KVE_fileTypeEnum::CIR) {
            // A rewritten circuit opens with a comment naming its file.
            if (++context.circuitLineCount == 1 && out) fprintf(out, "* %s\n", getBaseName());
        }
        result = (this->*typeHandler)(pass);
        if (result) return result;
    }
    return 0;
}

// ---------------------------------------------------------------------------
// 5. scanFile and rewriteFile
// ---------------------------------------------------------------------------

void DesignFileItem::scanFile(callBack*, InternalFunctionObject& op) {
    scanStamp = fileStamp();
    fileDependencies.clear();
    systemDependencies.clear();
    if (exists() && getFileType().canHaveDependencies() && !isSubCategory()) {
        FILE* in = kvFopen(fullPath.c_str(), "rt");
        if (!in) {
            op.reportProblem(KVE_callBackAction::CannotReadFile, nullptr, nullptr);
        } else {
            char saved[MAX_PATH] = "";
            GetCurrentDirectoryA(MAX_PATH, saved);
            SetCurrentDirectoryA(directoryPath.c_str());
            char work[scanLineSize] = "";
            int state = Line;
            while (nextDependency(in, nullptr, work, op, state)) {
            }
            fclose(in);
            SetCurrentDirectoryA(saved);
        }
    }
    // Set also after a failure: the file counts as scanned until it changes.
    scanStamp = fileStamp::of(found);
    // A file met both ways stays where it was recorded as a plain file.
    for (auto it = systemDependencies.begin(); it != systemDependencies.end();) {
        bool twice = false;
        for (fileItem* plain : fileDependencies)
            if (plain == *it) twice = true;
        it = twice ? systemDependencies.erase(it) : std::next(it);
    }
}

// The temporary file of an in-place rewrite, in the current directory; the
// process id keeps two processes apart.
static std::string temporaryRewriteName() {
    char directory[MAX_PATH] = "";
    GetCurrentDirectoryA(MAX_PATH, directory);
    pathstring path(directory);
    path.appendComponent("_KV_TMP_" + std::to_string(static_cast<long>(getpid())) + ".TMP");
    return path;
}

bool DesignFileItem::rewriteFile(callBack*, const pathstring& source, const pathstring& target,
                                 InternalFunctionObject& op) {
    const KVE_fileTypeEnum& type = getFileType();
    if (!type.canHaveDependencies()) return false;
    // These formats hold byte offsets of their own content, which must be
    // the true output positions: written in binary, with bare line feeds.
    const bool binary = type == KVE_fileTypeEnum::SCH || type == KVE_fileTypeEnum::SCV || type == KVE_fileTypeEnum::SLB;
    const char* mode = binary ? "wb" : "wt";

    const bool inPlace = source.compareEqualQuickly(target);
    std::string outputPath;
    if (inPlace) {
        kvTrace("FIXUP/LOCALIZE file %s\n", source.c_str());
        outputPath = temporaryRewriteName();
    } else {
        outputPath = target;
    }
    FILE* out = kvFopen(outputPath.c_str(), mode);
    if (!out) {
        op.reportProblem(KVE_callBackAction::CannotWriteFile, nullptr, nullptr);
        return true;
    }

    FILE* in = kvFopen(fullPath.c_str(), "rt");
    if (in) {
        char saved[MAX_PATH] = "";
        GetCurrentDirectoryA(MAX_PATH, saved);
        SetCurrentDirectoryA(directoryPath.c_str());
        char work[scanLineSize] = "";
        int state = Line;
        while (nextDependency(in, out, work, op, state)) {
        }
        fclose(in);
        SetCurrentDirectoryA(saved);
    }
    fclose(out);

    if (inPlace) {
        // An input that did not open leaves the source as it is, rather than
        // replacing it by the empty output.
        if (in && CopyFileA(outputPath.c_str(), source.c_str(), FALSE)) DeleteFileA(outputPath.c_str());
        else if (!in) DeleteFileA(outputPath.c_str());
    }
    return true;
}
