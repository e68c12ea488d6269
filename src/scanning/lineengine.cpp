// The line engine and the two passes over a file.
//
// Contents:
//   1. The scan context.
//   2. Text helpers shared by the formats.
//   3. The dispatch tables: file type -> line handler, state -> grammar.
//   4. nextDependency.
//   5. scanFile and rewriteFile.
//   6. The scan span.
#include "scanning/lineengine.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <unistd.h>
#include <unordered_map>
#include <unordered_set>

#include "operations/operation.h"
#include "platform/platform.h"
#include "scanning/formats.h"
#include "scanning/scanmemo.h"
#include "workspace/fileitem.h"
#include "workspace/itemindex.h"

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

// Cuts a line as read at its last carriage return, else at its last line
// feed. A NUL read from the file ends the line early; the rest is dropped,
// as it would be behind fgets.
static void cutLine(char* line) {
    size_t length = strlen(line);
    if (char* cr = static_cast<char*>(memrchr(line, '\r', length)))
        *cr = '\0';
    else if (length && line[length - 1] == '\n')
        line[length - 1] = '\0';
}

bool readScanLine(FILE* in, char* line) {
    if (!fgets(line, scanLineSize, in)) {
        line[0] = '\0';
        return false;
    }
    cutLine(line);
    return true;
}

// The block reader of the pass in progress. It hands out exactly the
// pieces that fgets with a buffer of scanLineSize would: up to and with a
// line feed, at most scanLineSize - 1 characters, the rest at the end.
//
// Each read asks for a whole block behind the partial line kept from the
// last; kvFreadBlock puts it there straight from the file, rather than
// through the stream's buffer and a second copy.
namespace {
const size_t passBlockSize = 1 << 16;
struct passReader {
    FILE* in = nullptr;
    std::vector<char> buffer = std::vector<char>(passBlockSize + scanLineSize);
    size_t position = 0, length = 0;
    bool end = false;
};
} // namespace

static passReader& thePassReader() {
    static passReader reader;
    return reader;
}

void resetPassReader(FILE* in) {
    passReader& r = thePassReader();
    r.in = in;
    r.position = r.length = 0;
    r.end = false;
}

// Moves r.position over whole pieces none of which can begin with first,
// without looking at each line: it searches for the character itself and
// takes a hit only where a piece begins (behind a line feed, or where the
// rule of 1023 characters cuts a long line). Stops at a piece that begins
// with first, before a long line (which the caller then takes piece by
// piece), or at the partial line at the end of the buffer.
static void skipPieces(passReader& r, char first) {
    const char* base = r.buffer.data();
    const size_t length = r.length, most = scanLineSize - 1;
    size_t position = r.position, from = position;
    while (position < length && base[position] != first) {
        const char* hit = static_cast<const char*>(memchr(base + from, first, length - from));
        if (!hit) {
            // No piece of the rest can begin with it: keep the partial line.
            if (const char* lf = static_cast<const char*>(memrchr(base + position, '\n', length - position)))
                position = lf + 1 - base;
            break;
        }
        const char* lf = static_cast<const char*>(memrchr(base + position, '\n', hit - (base + position)));
        const size_t lineStart = lf ? lf + 1 - base : position;
        const size_t at = hit - base;
        position = lineStart;
        if (at == lineStart || at - lineStart >= most) break; // a piece begins here, or maybe does
        from = at + 1;
    }
    r.position = position;
}

bool readPassLine(FILE* in, char* line) {
    int skipped = 0;
    return readPassLineStartingWith(in, line, nullptr, skipped);
}

bool readPassLineStartingWith(FILE* in, char* line, const char* firsts, int& skipped) {
    passReader& r = thePassReader();
    if (r.in != in) resetPassReader(in);
    const size_t most = scanLineSize - 1;
    // A table of the wanted first characters (none: every piece).
    bool wanted[256] = {};
    for (const char* f = firsts; f && *f; ++f) wanted[static_cast<unsigned char>(*f)] = true;
    const bool oneFirst = firsts && firsts[0] && !firsts[1];
    for (;;) {
        if (oneFirst) skipPieces(r, firsts[0]);
        const size_t available = r.length - r.position;
        const char* start = r.buffer.data() + r.position;
        size_t take = 0;
        if (const void* lf = memchr(start, '\n', std::min(available, most)))
            take = static_cast<const char*>(lf) - start + 1;
        else if (available >= most)
            take = most;
        else if (!r.end) {
            // Keep the partial line (shorter than a piece) and read on
            // behind it: at least a whole block.
            memmove(r.buffer.data(), start, available);
            r.position = 0;
            r.length = available;
            const size_t got = kvFreadBlock(in, r.buffer.data() + available, r.buffer.size() - available);
            r.length += got;
            if (got == 0) r.end = true;
            continue;
        } else if (available > 0)
            take = available;
        else {
            line[0] = '\0';
            return false;
        }
        // A piece whose first character cannot open a reference: a NUL
        // there would make it an empty line, which cannot either.
        if (firsts && !wanted[static_cast<unsigned char>(*start)]) {
            r.position += take;
            ++skipped;
            continue;
        }
        memcpy(line, start, take);
        line[take] = '\0';
        r.position += take;
        cutLine(line);
        return true;
    }
}

bool nextPassLine(scanPass& pass) {
    if (pass.pushBack) {
        pass.pushBack = false;
        return true;
    }
    return readPassLine(pass.in, pass.line);
}

void copyScanLine(FILE* out, const char* line) {
    if (!out) return;
    fwrite(line, 1, strlen(line), out);
    putc('\n', out);
}

char* findFileNameValue(char* line) {
    static const char keyword[] = "filename=";
    const size_t keywordLength = sizeof keyword - 1;
    // The search on a lower-cased copy: the position is the same in line.
    const size_t length = strlen(line);
    char* found = nullptr;
    for (size_t i = 0; i + keywordLength <= length && !found; ++i) {
        if ((line[i] | 0x20) != 'f' || (line[i + 1] | 0x20) != 'i') continue;
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
// firsts: the characters with which a line that names a file can begin, so
// that a scan may pass over the others unread; null when any line may.
struct typeHandlerRow {
    int type;
    lineHandler handler;
    const char* firsts;
};
static const typeHandlerRow typeHandlers[] = {
    {KVE_fileTypeEnum::CIR, &DesignFileItem::circuitDirectiveLine, "."},
    {KVE_fileTypeEnum::LIB, &DesignFileItem::circuitDirectiveLine, "."},
    {KVE_fileTypeEnum::DO, &DesignFileItem::routerCommandLine, nullptr},
    {KVE_fileTypeEnum::DSL, &DesignFileItem::synthesisSourceLine, "UuIi"},
    {KVE_fileTypeEnum::NLF, &DesignFileItem::localLibLine, "*"},
    {KVE_fileTypeEnum::PCA, &DesignFileItem::netlistNameLine, "*"},
    {KVE_fileTypeEnum::PCV, &DesignFileItem::netlistNameLine, "*"},
    {KVE_fileTypeEnum::SLB, &DesignFileItem::symbolLibraryLine, "aA@*"},
    {KVE_fileTypeEnum::SCH, &DesignFileItem::schematicLine, nullptr},
    {KVE_fileTypeEnum::SCV, &DesignFileItem::schematicLine, nullptr},
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
    {nullptr, true},                                 // Line: handled by nextDependency itself
    {&DesignFileItem::schematicViewsLine, true},     // SchematicViews
    {&DesignFileItem::schematicLibrariesLine, true}, // SchematicLibraries
    {&DesignFileItem::pageIndexLine, true},          // PageIndex
    {&DesignFileItem::symbolIndexLine, true},        // SymbolIndex
    {&DesignFileItem::partLine, false},              // PartLine
    {&DesignFileItem::readSymbolBody, true},         // SymbolBody
    {&DesignFileItem::portLine, false},              // PortLine
    {nullptr, false},                                // PackageLine
    {&DesignFileItem::symbolViewsSection, true},     // SymbolViews
    {&DesignFileItem::schematicAnalysisLine, true},  // SchematicAnalysis
    {&DesignFileItem::symbolIndexFinish, true},      // SymbolIndexFinish
};

static const typeHandlerRow* rowOfType(int type) {
    for (const typeHandlerRow& row : typeHandlers)
        if (row.type == type) return &row;
    return nullptr;
}

// ---------------------------------------------------------------------------
// 4. nextDependency
// ---------------------------------------------------------------------------

int DesignFileItem::nextDependency(FILE* in, FILE* out, char* work, InternalFunctionObject& op, int& state) {
    scanPass pass(in, out, work, op, state);
    scanContext& context = getScanContext();
    const int type = fileType.value();
    const typeHandlerRow* typeRow = rowOfType(type);
    const lineHandler typeHandler = typeRow ? typeRow->handler : nullptr;
    // A scan passes over lines that its grammar would only pass on; a
    // rewrite must copy them.
    const char* firsts = !out && typeRow ? typeRow->firsts : nullptr;
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

        int skipped = 0;
        const bool more = pass.pushBack || !firsts ? nextPassLine(pass)
                                                   : readPassLineStartingWith(in, pass.line, firsts, skipped);
        // Lines passed over one by one still count as lines of the circuit
        // (the count matters to a rewrite only, which reads every line).
        if (type == KVE_fileTypeEnum::CIR) context.circuitLineCount += skipped;
        if (!more) {
            // End of input in state Line.
            if (type == KVE_fileTypeEnum::SCH || type == KVE_fileTypeEnum::SCV) patchPageIndex(pass);
            if (type == KVE_fileTypeEnum::CIR) {
                readModelIndex(op);
                context.circuitLineCount = 0;
            }
            if (type == KVE_fileTypeEnum::SLB) dropUnpatchedSymbolRecords();
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

// Runs the line engine over in, which it closes, writing to out (null in
// a scan), with the current directory set to the item's for the pass.
static void runPass(DesignFileItem& item, FILE* in, FILE* out, InternalFunctionObject& op) {
    std::string saved;
    enterScanDirectory(item.getDirectoryString(), saved);
    char work[scanLineSize] = "";
    int state = Line;
    resetPassReader(in);
    forgetRepeatedParts();
    while (item.nextDependency(in, out, work, op, state)) {
    }
    resetPassReader(nullptr);
    fclose(in);
    leaveScanDirectory(saved);
}

void DesignFileItem::scanFile(callBack*, InternalFunctionObject& op) {
    scanSpan span;
    scanStamp = fileStamp();
    fileDependencies.clear();
    systemDependencies.clear();
    forgetRecordsIn(fileDependencies);
    forgetRecordsIn(systemDependencies);
    if (exists() && getFileType().canHaveDependencies() && !isSubCategory()) {
        FILE* in = kvFopen(fullPath.c_str(), "rt");
        if (!in) {
            op.reportProblem(KVE_callBackAction::CannotReadFile, nullptr, nullptr);
        } else {
            runPass(*this, in, nullptr, op); // the span holds the library reads open
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
    forgetRecordsIn(systemDependencies);
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
    if (in) runPass(*this, in, out, op);
    fclose(out);

    if (inPlace) {
        // An input that did not open leaves the source as it is, rather than
        // replacing it by the empty output.
        if (in && CopyFileA(outputPath.c_str(), source.c_str(), FALSE)) DeleteFileA(outputPath.c_str());
        else if (!in) DeleteFileA(outputPath.c_str());
    }
    return true;
}

// ---------------------------------------------------------------------------
// 6. The scan span
// ---------------------------------------------------------------------------

namespace {
// What the open span keeps; empty outside one. Whether one is open, and
// how deep, is the count of library reads (formats.h), which every span
// opens.
struct spanMemo {
    bool directoryChanged = false; // a pass set the current directory
    std::string savedDirectory;    // where it was before
    std::unordered_map<std::string, std::pair<pathstring, bool>> searches;
    // Model indexes by directory: how often the directory was asked, and
    // once listed, the names of its indexes folded (foldCase).
    struct indexDirectory {
        int asked = 0;
        bool listed = false;
        bool unlisted = false; // the listing failed
        std::unordered_set<std::string> names;
    };
    std::unordered_map<std::string, indexDirectory> indexDirectories;
};
} // namespace

static spanMemo& theSpan() {
    static spanMemo memo;
    return memo;
}

// A span is also a span of library reads, so that what those keep (the
// library item of each library file, among others) lasts a whole closure.
scanSpan::scanSpan() { beginLibraryReads(); }

scanSpan::~scanSpan() {
    if (!endLibraryReads()) return;
    spanMemo& memo = theSpan();
    if (memo.directoryChanged) SetCurrentDirectoryA(memo.savedDirectory.c_str());
    memo.directoryChanged = false;
    memo.savedDirectory.clear();
    memo.searches.clear();
    memo.indexDirectories.clear();
}

bool scanSpanOpen() { return libraryReadsOpen(); }

// The current directory, or empty if it cannot be had.
static std::string currentDirectory() {
    char buffer[MAX_PATH] = "";
    const DWORD length = GetCurrentDirectoryA(MAX_PATH, buffer);
    return length > 0 && length < MAX_PATH ? std::string(buffer, length) : std::string();
}

// directory without its trailing backslash (a root keeps it).
static std::string withoutTrailingSeparator(const std::string& directory) {
    std::string text = directory;
    while (text.size() > 1 && (text.back() == '\\' || text.back() == '/') && text[text.size() - 2] != ':')
        text.pop_back();
    return text;
}

void enterScanDirectory(const pathstring& directory, std::string& saved) {
    saved.clear();
    // The directory is asked each time rather than remembered, so that a
    // change made behind the span's back is never taken for the item's.
    const std::string current = currentDirectory();
    if (!current.empty() && current == withoutTrailingSeparator(directory)) return;
    spanMemo& memo = theSpan();
    if (!scanSpanOpen()) {
        saved = current;
    } else if (!memo.directoryChanged) {
        memo.savedDirectory = current;
        memo.directoryChanged = true;
    }
    SetCurrentDirectoryA(directory.c_str());
}

void leaveScanDirectory(const std::string& saved) {
    if (!saved.empty()) SetCurrentDirectoryA(saved.c_str());
}

bool rememberedSearch(const std::string& key, pathstring& result, bool& found) {
    spanMemo& memo = theSpan();
    auto it = memo.searches.find(key);
    if (it == memo.searches.end()) return false;
    result = it->second.first;
    found = it->second.second;
    return true;
}

void rememberSearch(const std::string& key, const pathstring& result, bool found) {
    spanMemo& memo = theSpan();
    if (scanSpanOpen()) memo.searches[key] = std::make_pair(result, found);
}

bool modelIndexMayExist(const pathstring& directory, const std::string& indexName) {
    if (!scanSpanOpen()) return true;
    spanMemo& memo = theSpan();
    spanMemo::indexDirectory& known = memo.indexDirectories[directory];
    if (known.unlisted) return true;
    // A directory asked once is not worth a listing: the look-up itself is
    // cheaper than reading a large directory.
    if (!known.listed && ++known.asked < 2) return true;
    if (!known.listed) {
        std::string pattern = directory;
        if (!pattern.empty() && pattern.back() != '\\' && pattern.back() != '/') pattern += '\\';
        pattern += "*.MIF";
        WIN32_FIND_DATAA data;
        HANDLE find = FindFirstFileA(pattern.c_str(), &data);
        if (find != INVALID_HANDLE_VALUE) {
            do known.names.insert(foldCase(data.cFileName));
            while (FindNextFileA(find, &data));
            FindClose(find);
        } else if (GetLastError() != ERROR_FILE_NOT_FOUND) {
            // Only a directory listed without failure tells that an index
            // is not there; otherwise each circuit looks for its own.
            known.unlisted = true;
            return true;
        }
        known.listed = true;
    }
    return known.names.count(foldCase(indexName)) > 0;
}
