// Schematics (SCH, and their autosave form SCV): the lines that name files,
// libraries, symbols and packages, and the page index that a rewrite must
// keep true.
//
// Format notes. A schematic is a sequence of lines. A line beginning with
// "@" opens a section and one beginning with "*" opens a block; either ends
// the section before it. Keywords at column 1 are compared without regard
// to case over their own length ("@VIEWSX" is "@VIEWS").
//
//   @LIBRARIES            library lines:  "name"  [.slb,.plb]
//                         ("name"  [.slb] symbols only, "name"  [,.plb]
//                         packages only; anything else is a symbol
//                         library name as a whole)
//   @ANALYSIS             simulator directives: .LIB path, .STMLIB path,
//                         .INC path, and "+ path" continuing the last one
//   @VIEWS                view lines:  name=path  (".SCH" when the path
//                         has no dot)
//   @INDEX                one line per page:  pageloc PPP OOOOOOOO SSSSSSSS
//                         (page, offset, size; widths 3, 8, 8)
//   *page N               the start of page N
//   part ID SYMBOL ...    a symbol instance, looked up in the libraries
//   port ID SYMBOL ...    a port symbol, looked up likewise
//   ...COMPONENT=NAME     a package (with case, anywhere in a line)
//   ...PART=NAME          a package; empty means the last part's symbol
//   ...filename=PATH      a file (any case, anywhere), to the end of line
//   i ... "PATH           an image file, from the double quote on
//
// Page offsets: the first page keeps the offset its pageloc line declares;
// each later page's offset is the one before plus that page's size, the
// size of a page being the distance in the output from its "*page" line to
// the next one (the last runs to the end of the file). A rewrite reserves
// each pageloc line at its full width of 30 bytes and patches it at the
// end, which is why schematics are written in binary.
//
// Contents:
//   1. Small helpers.
//   2. splitLibraryLine.
//   3. The schematic line handler (state Line).
//   4. @VIEWS, @LIBRARIES, @ANALYSIS.
//   5. @INDEX, the page step and the patch.
#include <cstdint>
#include <cstring>
#include <list>
#include <string>

#include "libraries/configuration.h"
#include "libraries/libraryitem.h"
#include "operations/operation.h"
#include "scanning/formats.h"
#include "scanning/lineengine.h"
#include "workspace/context.h"
#include "workspace/fileitem.h"

// ---------------------------------------------------------------------------
// 1. Small helpers
// ---------------------------------------------------------------------------

// line begins with keyword, without regard to case.
static bool startsWith(const char* line, const char* keyword) {
    return _strnicmp(line, keyword, strlen(keyword)) == 0;
}

// A line that ends the section it stands in.
static bool endsSection(const char* line) { return line[0] == '@' || line[0] == '*'; }

static const char* librarySearchPath() {
    const LibraryConfiguration* configuration = getLibraryConfiguration();
    return configuration ? configuration->getSearchPath() : "";
}

// The end of a schematic inside a section: the pass ends with no patch,
// and the reserved index lines stay as they were written. Their records
// go, so that no later file is patched with them.
static void endInsideSection(scanPass& pass) {
    pass.finished = true;
    scanContext& context = getScanContext();
    for (indexRecord* record : context.pageRecords) delete record;
    context.pageRecords.clear();
}

// Where the next line of a section stands.
enum sectionStep { InSection, SectionEnds, InputEnds };

// Reads the next line of a section into pass.line. At the end of the input
// the pass ends inside the section; a line that ends the section is given
// back to the line handler, whose state the pass takes again.
static sectionStep nextSectionLine(scanPass& pass) {
    if (!nextPassLine(pass)) {
        endInsideSection(pass);
        return InputEnds;
    }
    if (!endsSection(pass.line)) return InSection;
    pass.pushBack = true;
    pass.state = Line;
    return SectionEnds;
}

// ---------------------------------------------------------------------------
// 2. splitLibraryLine
// ---------------------------------------------------------------------------

// Cuts text into words on blank, tab, line feed and square brackets;
// double quotes protect what they enclose and are removed (so "" is an
// empty word). Out: firstEnd, the position behind the first word.
static std::vector<std::string> libraryWords(const char* text, size_t& firstEnd) {
    std::vector<std::string> words;
    firstEnd = 0;
    auto separator = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '[' || c == ']'; };
    const char* p = text;
    for (;;) {
        while (*p && separator(*p)) ++p;
        if (!*p) break;
        std::string word;
        bool quoted = false;
        for (; *p; ++p) {
            if (*p == '"') {
                quoted = !quoted;
                continue;
            }
            if (!quoted && separator(*p)) break;
            word += *p;
        }
        words.push_back(word);
        if (words.size() == 1) firstEnd = static_cast<size_t>(p - text);
    }
    return words;
}

// text without white space on either side.
static std::string stripped(const std::string& text) {
    const char* blanks = " \t\r\n\v\f";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

libraryLine splitLibraryLine(const char* line) {
    libraryLine result;
    size_t firstEnd = 0;
    const std::vector<std::string> words = libraryWords(line, firstEnd);
    if (words.size() < 2 || words[1].empty()) {
        result.symbols = line;
        return result;
    }
    // The extensions: between the first "[" and the last "]", or behind
    // the first word when there is no "[".
    const std::string text(line);
    std::string extensions;
    const size_t open = text.find('[');
    if (open == std::string::npos) {
        extensions = text.substr(firstEnd);
    } else {
        const size_t close = text.rfind(']');
        extensions = close != std::string::npos && close > open ? text.substr(open + 1, close - open - 1)
                                                                : text.substr(open + 1);
    }
    const size_t comma = extensions.find(',');
    const std::string first = stripped(extensions.substr(0, comma));
    std::string second;
    if (comma != std::string::npos) {
        const size_t next = extensions.find(',', comma + 1);
        second = stripped(extensions.substr(comma + 1, next == std::string::npos ? std::string::npos : next - comma - 1));
    }
    if (!first.empty()) result.symbols = words[0] + first;
    if (!second.empty()) result.packages = words[0] + second;
    return result;
}

// ---------------------------------------------------------------------------
// 3. The schematic line handler
// ---------------------------------------------------------------------------

// A COMPONENT= or PART= line: the package named behind keyword, in the
// package library of the last symbol's library. Reports that library and
// returns 1 when the package is found; the line is copied as it is.
static int packageReference(DesignFileItem& item, scanPass& pass, const char* keyword) {
    scanContext& context = getScanContext();
    const char* behind = strstr(pass.line, keyword) + strlen(keyword);
    char name[scanLineSize];
    takeWord(behind, 0, name, sizeof name);
    if (!name[0] && keyword[0] == 'P') snprintf(name, sizeof name, "%s", context.lastPartName);
    copyScanLine(pass.out, pass.line);
    clearResolutionCancelled();
    libraryIndexEntry* entry = item.findPackage(name, context.currentSymbolLibrary, pass.op);
    int result = 0;
    if (entry && entry->owner) {
        pathstring path(entry->owner->getFullPath());
        pass.op.dependencyFound(path, false, false);
        result = 1;
    }
    if (resolutionWasCancelled()) {
        pass.finished = true;
        return 0;
    }
    return result;
}

int DesignFileItem::schematicLine(scanPass& pass) {
    scanContext& context = getScanContext();
    char* line = pass.line;
    // Every keyword below begins with one of these bytes: most lines
    // (attributes, wires) need none of the comparisons.
    const char first = line[0];
    if (first == 'p' || first == 'P' || first == '@' || first == '*') {
        if (startsWith(line, "port ")) {
            copyScanLine(pass.out, line);
            if (pass.op.isScanOnly()) pass.state = PortLine;
            return 0;
        }
        if (startsWith(line, "part ")) {
            takeWord(line, 2, context.lastPartName, sizeof context.lastPartName);
            copyScanLine(pass.out, line);
            if (pass.op.isScanOnly()) pass.state = PartLine;
            return 0;
        }
        // A section whose lines its own handler reads. No keyword here is
        // the start of another, so the order of the tests does not matter.
        static const struct {
            const char* keyword;
            int state;
        } sections[] = {{"@VIEWS", SchematicViews}, {"@ANALYSIS", SchematicAnalysis}, {"@LIBRARIES", SchematicLibraries}};
        for (const auto& section : sections)
            if (startsWith(line, section.keyword)) {
                copyScanLine(pass.out, line);
                pass.state = section.state;
                return 0;
            }
        if (startsWith(line, "@INDEX")) {
            copyScanLine(pass.out, line);
            pass.state = PageIndex;
            context.pageCount = 0;
            for (indexRecord* record : context.pageRecords) delete record;
            context.pageRecords.clear();
            return 0;
        }
        if (startsWith(line, "*page")) {
            if (pass.out) pageStep(pass);
            pass.state = Line;
            return 0;
        }
    }
    // Each keyword below ends in "=" (only an "i" line's quoted name has
    // none): one walk over the "="s of the line tells which of them stand
    // anywhere in it, as a search for each would.
    bool component = false, part = false, fileName = false;
    for (const char* equals = strchr(line, '='); equals; equals = strchr(equals + 1, '=')) {
        const size_t before = static_cast<size_t>(equals - line);
        component = component || (before >= 9 && memcmp(equals - 9, "COMPONENT", 9) == 0);
        part = part || (before >= 4 && memcmp(equals - 4, "PART", 4) == 0);
        // The last letter first: most "="s stand behind other words.
        fileName = fileName || (before >= 8 && (equals[-1] | 0x20) == 'e' && _strnicmp(equals - 8, "filename", 8) == 0);
    }
    if (component) return packageReference(*this, pass, "COMPONENT=");
    if (part) return packageReference(*this, pass, "PART=");

    char* value = fileName || first == 'i' || first == 'I' ? findFileNameValue(line) : nullptr;
    if (value) {
        const bool quoted = *value == '"';
        const pathstring named(value); // tidied: quotes go
        pathstring path;
        searchPathForFile(directoryPath.c_str(), librarySearchPath(), named.c_str(), ".sch", path);
        path.tidyUp(false);
        pass.op.dependencyFound(path, false, false);
        if (pass.out) {
            const size_t at = static_cast<size_t>(value - line);
            memcpy(pass.work, line, at);
            snprintf(pass.work + at, scanLineSize - at, quoted ? "\"%s\"" : "%s", path.c_str());
            copyScanLine(pass.out, pass.work);
        }
        return 1;
    }
    copyScanLine(pass.out, line);
    return 0;
}

// ---------------------------------------------------------------------------
// 4. @VIEWS, @LIBRARIES, @ANALYSIS
// ---------------------------------------------------------------------------

int DesignFileItem::schematicViewsLine(scanPass& pass) {
    if (nextSectionLine(pass) != InSection) return 0;
    char* line = pass.line;
    char* equals = strrchr(line, '=');
    if (!equals) return 0; // names nothing; a rewrite drops it
    snprintf(pass.work, scanLineSize, "%s", equals + 1);
    if (!strchr(pass.work, '.')) {
        const size_t length = strlen(pass.work);
        snprintf(pass.work + length, scanLineSize - length, ".SCH");
    }
    pathstring path(pass.work); // no search: the text is the path
    pass.op.dependencyFound(path, false, false);
    if (pass.out) {
        *equals = '\0';
        fprintf(pass.out, "%s=%s\n", line, path.c_str());
    }
    return 1;
}

// Looks up one library named in @LIBRARIES, reports it and registers it.
// Out: path, the path as the operation left it (what a rewrite writes:
// registering makes a bare name full, and that is not to be written).
static void findSectionLibrary(DesignFileItem& item, const std::string& name, const char* defaultExt,
                               InternalFunctionObject& op, pathstring& path) {
    searchPathForFile(item.getDirectoryString().c_str(), librarySearchPath(), name.c_str(), defaultExt, path);
    path.tidyUp(false);
    op.dependencyFound(path, false, false);
    pathstring registered = path;
    item.addUsedLibrary(registered);
}

int DesignFileItem::schematicLibrariesLine(scanPass& pass) {
    const sectionStep step = nextSectionLine(pass);
    if (step == InputEnds) return 0; // the localized libraries are not added
    const char* line = pass.line;
    if (step == SectionEnds) {
        pass.work[0] = '\0';
        // A copy adds here the lines of the libraries it localized.
        if (std::list<std::string>* added = pass.op.getLibraryLines()) {
            for (const std::string& each : *added) copyScanLine(pass.out, each.c_str());
            delete added;
        }
        return 0;
    }
    if (!line[0]) return 0; // dropped
    const libraryLine names = splitLibraryLine(line);
    pathstring symbols, packages;
    if (!names.symbols.empty()) findSectionLibrary(*this, names.symbols, ".slb", pass.op, symbols);
    if (!names.packages.empty()) findSectionLibrary(*this, names.packages, ".plb", pass.op, packages);
    if (!pass.out) return 0;
    std::string stem, symbolExt, packageExt;
    if (!names.symbols.empty()) {
        symbols.getNameNoExt(stem);
        symbols.getExt(symbolExt);
        if (!names.packages.empty()) packages.getExt(packageExt);
        if (names.packages.empty())
            fprintf(pass.out, "\"%s\"  [%s]\n", stem.c_str(), symbolExt.c_str());
        else
            fprintf(pass.out, "\"%s\"  [%s,%s]\n", stem.c_str(), symbolExt.c_str(), packageExt.c_str());
    } else if (!names.packages.empty()) {
        packages.getNameNoExt(stem);
        packages.getExt(packageExt);
        fprintf(pass.out, "\"%s\"  [,%s]\n", stem.c_str(), packageExt.c_str());
    } else {
        copyScanLine(pass.out, line);
    }
    return 0;
}

// The directives of @ANALYSIS that name a file: keyword as compared (its
// first characters), the keyword as written back, and where the path
// starts in the line.
struct analysisDirective {
    const char* compared;
    const char* written;
    size_t pathStart;
};
static const analysisDirective analysisDirectives[] = {
    {".lib", ".LIB ", 5},
    {".stmlib", ".STMLIB ", 8},
    // ".INCLUDE" lands here too, its path taken from the same place.
    {".inc", ".INC ", 5},
};

int DesignFileItem::schematicAnalysisLine(scanPass& pass) {
    scanContext& context = getScanContext();
    const sectionStep step = nextSectionLine(pass);
    if (step == InputEnds) return 0; // no model index and no added libraries at this end
    const char* line = pass.line;
    if (step == SectionEnds) {
        context.analysisKeyword[0] = '\0';
        readModelIndex(pass.op);
        if (std::list<std::string>* added = pass.op.getModelLibraryPaths()) {
            if (pass.out)
                for (const std::string& each : *added) fprintf(pass.out, ".LIB %s\n", each.c_str());
            delete added;
        }
        return 0;
    }
    const size_t length = strlen(line);
    for (const analysisDirective& directive : analysisDirectives) {
        if (!startsWith(line, directive.compared)) continue;
        snprintf(context.analysisKeyword, sizeof context.analysisKeyword, "%s", directive.written);
        pathstring path(line + (length < directive.pathStart ? length : directive.pathStart));
        pass.op.dependencyFound(path, false, false);
        if (pass.out) fprintf(pass.out, "%s%s\n", directive.written, path.c_str());
        return 1;
    }
    if (line[0] == '+' && context.analysisKeyword[0]) {
        // A continuation: written back as a directive of its own.
        pathstring path(line + 1);
        pass.op.dependencyFound(path, false, false);
        if (pass.out) fprintf(pass.out, "%s %s\n", context.analysisKeyword, path.c_str());
        return 1;
    }
    context.analysisKeyword[0] = '\0';
    copyScanLine(pass.out, line);
    return 0;
}

// ---------------------------------------------------------------------------
// 5. @INDEX, the page step and the patch
// ---------------------------------------------------------------------------

// The reserved form of a pageloc line: exactly the width of the patch.
static const char reservedPageLine[] = "pageloc 000 00000000 00000000\n";
static const size_t pageLineWidth = sizeof reservedPageLine - 1; // 30

// A number of a pageloc line, held to the range of the record's fields.
static int clampToInt(long long value) {
    if (value > INT32_MAX) return INT32_MAX;
    if (value < INT32_MIN) return INT32_MIN;
    return static_cast<int>(value);
}

int DesignFileItem::pageIndexLine(scanPass& pass) {
    scanContext& context = getScanContext();
    if (nextSectionLine(pass) != InSection) return 0;
    const char* line = pass.line;
    if (!pass.out) return 0; // a scan only reads the index
    indexRecord* record = new indexRecord;
    record->linePosition = static_cast<int>(ftell(pass.out));
    // Fields that do not parse keep their values (zero).
    long long page = 0, offset = 0, size = 0;
    const int got = sscanf(line, "%*s %lld %lld %lld", &page, &offset, &size);
    if (got >= 1) record->page = clampToInt(page);
    if (got >= 2) record->offset = clampToInt(offset);
    if (got >= 3) record->size = clampToInt(size);
    context.pageRecords.push_back(record);
    fwrite(reservedPageLine, 1, pageLineWidth, pass.out);
    return 0;
}

// Sums of offsets and sizes, kept to 32 bits as the fields are (a damaged
// index wraps rather than overflows).
static int wrapped(long long value) { return static_cast<int>(static_cast<uint32_t>(value)); }

void DesignFileItem::pageStep(scanPass& pass) {
    scanContext& context = getScanContext();
    const int position = static_cast<int>(ftell(pass.out));
    copyScanLine(pass.out, pass.line);
    long long number = 0;
    sscanf(pass.line + 5, "%lld", &number);
    const int n = clampToInt(number);
    ++context.pageCount;
    int runningOffset = 0, runningSize = 0;
    for (indexRecord* record : context.pageRecords) {
        if (n > 1 && record->page == n - 1) {
            record->size = wrapped(static_cast<long long>(position) - record->start);
            runningOffset = record->offset;
            runningSize = record->size;
        }
        if (n > 1 && record->page == n) record->offset = wrapped(static_cast<long long>(runningOffset) + runningSize);
        if (record->page == n) record->start = position;
    }
}

void DesignFileItem::patchPageIndex(scanPass& pass) {
    scanContext& context = getScanContext();
    if (!pass.out || context.pageRecords.empty()) return;
    indexRecord* last = context.pageRecords.back();
    last->size = wrapped(static_cast<long long>(ftell(pass.out)) - last->start);
    for (indexRecord* record : context.pageRecords) {
        // At least 30 characters; a number too wide for its field is cut
        // with the tail of the line.
        snprintf(pass.work, scanLineSize, "pageloc %3d %8d %8d\n", record->page, record->offset, record->size);
        fseek(pass.out, record->linePosition, SEEK_SET);
        fwrite(pass.work, 1, pageLineWidth, pass.out);
        delete record;
    }
    context.pageRecords.clear();
    fseek(pass.out, 0, SEEK_END);
}
