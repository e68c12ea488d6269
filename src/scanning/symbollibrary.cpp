// Symbol libraries (SLB): the schematics and bitmaps that symbols name, and
// the byte-offset index at the head of the file, kept true by a rewrite.
//
// Format notes. Keywords stand at column 1 and are compared without regard
// to case over their own length.
//
//   @INDEX                         the index follows, one line per symbol:
//   symloc NAME OFFSET SIZE        OFFSET and SIZE decimal, 8 wide; OFFSET
//                                  counts from the first symbol's declared
//                                  offset, SIZE is the symbol's bytes
//   *symbol NAME                   start of a symbol block, to the next one
//                                  or the end of the file
//   a ... filename=VALUE           an attribute naming a schematic (".sch")
//   i ... "VALUE                   an image naming a bitmap (".bmp"), from
//                                  the first double quote on
//   @VIEWS                         view lines "name=VALUE" follow (".sch");
//                                  inside a symbol only the first one counts
//
// A rewrite lower-cases the lines of the symbol blocks, file names
// included (not the one view line behind a symbol's @VIEWS), and writes
// the index in two steps: each "symloc" line is
// written with zeros in place of its numbers (the 18 bytes behind the name
// are reserved), the output position of every "*symbol" line is noted,
// and at the end of the file the numbers are written over the zeros. The
// first symbol keeps its declared offset; every other offset is the one
// before plus the size before. Symbols are matched to index lines by
// place, not by name. A "*symbol" line met by the line handler (in a
// library without @INDEX, or behind a section that ended the index) starts
// the blocks but is itself neither written nor indexed.
//
// Two choices of this reader keep a damaged file from doing harm (see
// docs/deviations.md): a top-level @VIEWS section ends at an "@" or "*"
// line and at the end of the input, as a schematic's does; and an index
// that has fewer lines than the file has symbols indexes the first ones
// only, while index lines without a symbol point behind the last symbol
// with size 0. Index records never outlive the file that made them, and
// the patch never writes more than the 18 reserved bytes.
//
// Contents:
//   1. Helpers: the file value of a line, the offset step, the records.
//   2. The line handler (state Line).
//   3. The index section (state SymbolIndex).
//   4. Symbol blocks (state SymbolBody) and view lines (state SymbolViews).
//   5. The patch of the index (state SymbolIndexFinish).
#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "libraries/configuration.h"
#include "operations/operation.h"
#include "scanning/lineengine.h"
#include "workspace/context.h"
#include "workspace/fileitem.h"

// ---------------------------------------------------------------------------
// 1. Helpers
// ---------------------------------------------------------------------------

// The keyword at the start of line, without regard to case.
static bool startsWith(const char* line, const char* keyword) {
    return _strnicmp(line, keyword, strlen(keyword)) == 0;
}

// Resolves the file named from value on (a position inside pass.line)
// against directory and the library path with defaultExt, reports it, and
// in a rewrite writes the line again: what stands before value, the path
// the operation gave back, then closing ("\"" for an image line) and a
// line feed. Written straight to the output, so that a long path is never
// cut by a line buffer. The name is searched without its double quotes (an
// image's value begins with one), as the tidied path would have it.
static void reportFileValue(scanPass& pass, const char* directory, const char* value, const char* defaultExt,
                            const char* closing) {
    const LibraryConfiguration* configuration = getLibraryConfiguration();
    std::string name(value);
    name.erase(std::remove(name.begin(), name.end(), '"'), name.end());
    pathstring result;
    searchPathForFile(directory, configuration ? configuration->getSearchPath() : "", name.c_str(), defaultExt,
                      result);
    result.tidyUp(false);
    pass.op.dependencyFound(result, false, false);
    if (!pass.out) return;
    fwrite(pass.line, 1, static_cast<size_t>(value - pass.line), pass.out);
    fputs(result.c_str(), pass.out);
    fputs(closing, pass.out);
    fputc('\n', pass.out);
}

// a + b for the index numbers, wrapping instead of overflowing: a damaged
// index may declare any number.
static int addWrapping(int a, int b) {
    return static_cast<int>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

// A number of an index line: the decimal at text, clamped to int; 0 when
// there is none. Out: end, behind the number.
static int readIndexNumber(const char* text, const char** end) {
    char* stop = nullptr;
    long long value = strtoll(text, &stop, 10);
    *end = stop;
    if (value > INT_MAX) return INT_MAX;
    if (value < INT_MIN) return INT_MIN;
    return static_cast<int>(value);
}

// The offset step on the "*symbol" line that begins at output position pos:
// the symbol before gets its size, this one its offset (the one before
// plus its size) and its start. Symbols beyond the index are not indexed.
static void symbolOffsetStep(scanContext& context, long pos) {
    std::vector<indexRecord*>& records = context.symbolRecords;
    const size_t i = static_cast<size_t>(context.symbolCount);
    if (i > 0 && i <= records.size()) {
        indexRecord* before = records[i - 1];
        before->size = static_cast<int>(pos - before->start);
        if (i < records.size()) records[i]->offset = addWrapping(before->offset, before->size);
    }
    if (i < records.size()) records[i]->start = static_cast<int>(pos);
    if (context.symbolCount < INT_MAX) ++context.symbolCount;
}

// Frees the symbol index records. A file that ends before its symbols (or
// without any) has nothing to patch, and its records must not reach the
// patch of a later file, whose output they do not describe.
static void dropSymbolRecords(scanContext& context) {
    for (indexRecord* record : context.symbolRecords) delete record;
    context.symbolRecords.clear();
}

void dropUnpatchedSymbolRecords() { dropSymbolRecords(getScanContext()); }

// ---------------------------------------------------------------------------
// 2. The line handler
// ---------------------------------------------------------------------------

int DesignFileItem::symbolLibraryLine(scanPass& pass) {
    // A system library is neither followed nor rewritten: a rewrite of it
    // is an empty file. Nothing of it would be used, so the pass ends.
    if (isSystemLibrary()) {
        pass.finished = true;
        return 0;
    }
    char* line = pass.line;
    if (startsWith(line, "a ")) {
        if (const char* value = findFileNameValue(line)) {
            reportFileValue(pass, directoryPath.c_str(), value, ".sch", "");
            return 1;
        }
        copyScanLine(pass.out, line);
        return 0;
    }
    if (startsWith(line, "@INDEX")) {
        copyScanLine(pass.out, line);
        scanContext& context = getScanContext();
        context.symbolCount = 0;
        dropSymbolRecords(context);
        pass.state = SymbolIndex;
        return 0;
    }
    if (startsWith(line, "@VIEWS")) {
        // The header itself is not written.
        pass.state = SymbolViews;
        return 0;
    }
    if (startsWith(line, "*symbol")) {
        // Not written and not seen again: only a symbol reached through the
        // index keeps its line.
        pass.state = SymbolBody;
        return 0;
    }
    copyScanLine(pass.out, line);
    return 0;
}

// ---------------------------------------------------------------------------
// 3. The index section
// ---------------------------------------------------------------------------

int DesignFileItem::symbolIndexLine(scanPass& pass) {
    scanContext& context = getScanContext();
    if (!nextPassLine(pass)) {
        pass.finished = true;
        dropSymbolRecords(context);
        return 0;
    }
    const char* line = pass.line;
    if (line[0] == '@') {
        // Ends the index, and is taken as one more index line all the same.
        pass.pushBack = true;
        pass.state = Line;
    } else if (line[0] == '*') {
        pass.pushBack = true;
        pass.state = SymbolBody;
        return 0;
    }
    if (!pass.out) return 0;

    // Two words and two numbers; the second word is the name.
    indexRecord* record = new indexRecord;
    record->linePosition = static_cast<int>(ftell(pass.out));
    std::string name;
    const char* p = line;
    for (int word = 0; word < 2; ++word) {
        while (*p && isspace(static_cast<unsigned char>(*p))) ++p;
        const char* start = p;
        while (*p && !isspace(static_cast<unsigned char>(*p))) ++p;
        if (word == 1) name.assign(start, static_cast<size_t>(p - start));
    }
    const char* end = p;
    record->offset = readIndexNumber(p, &end);
    if (end != p) record->size = readIndexNumber(end, &end);
    // "symloc ", the name and one blank: the numbers start behind them.
    record->linePosition += static_cast<int>(name.size()) + 8;
    context.symbolRecords.push_back(record);
    fprintf(pass.out, "symloc %s 00000000 00000000\n", name.c_str());
    return 0;
}

// ---------------------------------------------------------------------------
// 4. Symbol blocks and view lines
// ---------------------------------------------------------------------------

int DesignFileItem::readSymbolBody(scanPass& pass) {
    if (!nextPassLine(pass)) {
        pass.state = SymbolIndexFinish;
        return 0;
    }
    char* line = pass.line;
    _strlwr(line);
    if (char* symbol = strstr(line, "*symbol")) {
        if (symbol != line) {
            // Text in front of a symbol's start: a line lost its line end.
            pass.op.reportProblem(KVE_callBackAction::LibraryMayBeCorrupt, fullPath.c_str(), nullptr);
            memmove(line, symbol, strlen(symbol) + 1);
        }
        if (pass.out) {
            // Nothing has been written since the line was read: this is
            // where the symbol begins in the output.
            const long pos = ftell(pass.out);
            copyScanLine(pass.out, line);
            symbolOffsetStep(getScanContext(), pos);
        }
        return 0;
    }
    if (strncmp(line, "a ", 2) == 0 || strncmp(line, "i ", 2) == 0) {
        const bool image = line[0] == 'i';
        if (const char* value = findFileNameValue(line)) {
            // An image's value starts at its opening quote, which the path
            // overwrites: the rewritten line keeps the closing quote only.
            reportFileValue(pass, directoryPath.c_str(), value, image ? ".bmp" : ".sch", image ? "\"" : "");
            return 1;
        }
        copyScanLine(pass.out, line);
        return 0;
    }
    if (strncmp(line, "@views", 6) == 0) {
        copyScanLine(pass.out, line);
        // One view line; the lines after it are body lines again.
        return readSymbolViewLine(pass, false);
    }
    copyScanLine(pass.out, line);
    return 0;
}

int DesignFileItem::readSymbolViewLine(scanPass& pass, bool topLevel) {
    if (!nextPassLine(pass)) {
        if (topLevel) {
            pass.finished = true;
            dropSymbolRecords(getScanContext());
        }
        return 0;
    }
    const char* line = pass.line;
    if (line[0] == '@' || line[0] == '*') {
        pass.pushBack = true;
        if (topLevel) pass.state = Line;
        return 0;
    }
    // A line without a value, or one naming no file ("*"), is dropped.
    const char* equals = strchr(line, '=');
    if (!equals || equals[1] == '*') return 0;
    reportFileValue(pass, directoryPath.c_str(), equals + 1, ".sch", "");
    return 1;
}

int DesignFileItem::symbolViewsSection(scanPass& pass) { return readSymbolViewLine(pass, true); }

// ---------------------------------------------------------------------------
// 5. The patch of the index
// ---------------------------------------------------------------------------

int DesignFileItem::symbolIndexFinish(scanPass& pass) {
    scanContext& context = getScanContext();
    std::vector<indexRecord*>& records = context.symbolRecords;
    if (pass.out && !records.empty()) {
        const long end = ftell(pass.out);
        const size_t count = static_cast<size_t>(context.symbolCount);
        // The last symbol runs to the end, unless symbols beyond the index
        // have closed it already.
        if (count > 0 && count <= records.size()) {
            indexRecord* last = records[count - 1];
            last->size = static_cast<int>(end - last->start);
        }
        // Index lines without a symbol point behind the one before, empty.
        for (size_t k = count; k < records.size(); ++k) {
            if (k > 0) records[k]->offset = addWrapping(records[k - 1]->offset, records[k - 1]->size);
            records[k]->size = 0;
        }
        for (indexRecord* record : records) {
            char numbers[64];
            int length = snprintf(numbers, sizeof numbers, "%8d %8d\n", record->offset, record->size);
            // A number wider than its field must not run into the next
            // line: the reserved 18 bytes are all that is written.
            if (length > 18) {
                numbers[17] = '\n';
                length = 18;
            }
            fseek(pass.out, record->linePosition, SEEK_SET);
            fwrite(numbers, 1, static_cast<size_t>(length), pass.out);
        }
        fseek(pass.out, 0, SEEK_END);
    }
    dropSymbolRecords(context);
    pass.finished = true;
    return 0;
}
