// The line engine: one machine that reads the family's text formats line by
// line and either records what a file refers to (a scan) or writes a new
// copy with every reference replaced (a fix-up).
//
// Both passes are the same code. DesignFileItem::nextDependency reads lines
// and hands each to the handler of the current grammar (ScanState); a
// handler that meets a file name gives it to the running operation through
// InternalFunctionObject::dependencyFound and, in a fix-up, writes the line
// again with the path that the operation gave back. Lines that name nothing
// are copied as they came (line ends aside).
//
// Contents:
//   1. ScanState: the grammars of the engine.
//   2. indexRecord and scanContext: what the engine keeps across lines and
//      files (one per process).
//   3. scanPass: the data of one nextDependency call that handlers share.
//   4. Text helpers for all formats: readScanLine, copyScanLine,
//      findFileNameValue, the quoted-word splitter.
//   5. scanSpan: what a scan keeps of the disk while it runs (the current
//      directory, library searches, model indexes that are not there).
//
// Sources: lineengine.cpp (the driver, scanFile, rewriteFile),
// dependencies.cpp (the lists, closures, marks and the fileItem questions
// that rest on them), and one source per format: circuit.cpp,
// netlist.cpp, synthesis.cpp, router.cpp, modelindex.cpp, schematic.cpp,
// with resolution.cpp for the symbols and packages of a schematic, and
// symbollibrary.cpp.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

class InternalFunctionObject;
class libraryUsage;
class pathstring;

// ---------------------------------------------------------------------------
// 1. ScanState
// ---------------------------------------------------------------------------

// The current grammar, kept by the caller of nextDependency across calls;
// 0 at the start of a file. States that read no line of their own (5, 7, 8)
// go back to Line after their handler, whatever it left.
enum ScanState {
    Line = 0,               // read a line, dispatch on the file's type
    SchematicViews = 1,     // @VIEWS of a schematic
    SchematicLibraries = 2, // @LIBRARIES of a schematic
    PageIndex = 3,          // @INDEX of a schematic
    SymbolIndex = 4,        // @INDEX of a symbol library
    PartLine = 5,           // resolve the part line in the buffer
    SymbolBody = 6,         // inside a *symbol block
    PortLine = 7,           // resolve the port line in the buffer
    PackageLine = 8,        // resolve a package (never reached)
    SymbolViews = 9,        // @VIEWS at the top of a symbol library
    SchematicAnalysis = 10, // @ANALYSIS of a schematic
    SymbolIndexFinish = 11, // end of a symbol library in a rewrite
    ScanStateCount = 12,
};

// ---------------------------------------------------------------------------
// 2. indexRecord and scanContext
// ---------------------------------------------------------------------------

// One line of a byte-offset index met while a schematic or symbol library
// is rewritten; patched once the true positions are known.
struct indexRecord {
    int linePosition = 0; // output position where the numbers are patched
    int page = 0;         // page number as read (0 for a symbol library)
    int offset = 0;       // as read, then recomputed
    int size = 0;         // as read, then recomputed
    int start = 0;        // output position of the block it indexes
};

// What the engine keeps across lines and across files. There is one per
// process (getScanContext); nothing resets it between files except where
// a grammar says so, which is why passes must not overlap.
struct scanContext {
    scanContext() = default;
    ~scanContext();
    scanContext(const scanContext&) = delete;
    scanContext& operator=(const scanContext&) = delete;

    std::vector<indexRecord*> pageRecords;   // owned
    std::vector<indexRecord*> symbolRecords; // owned
    int pageCount = 0;        // pages met since the last @INDEX
    int symbolCount = 0;      // symbols met since the last @INDEX
    int circuitLineCount = 0; // lines read of the circuit in progress
    char lastPartName[1024] = "";
    char currentSymbolName[1028] = "";
    char currentSymbolLibrary[1028] = "";
    char analysisKeyword[1024] = "";

    // Frees and empties both record lists.
    void freeRecords();
};

// The process-wide scan context.
scanContext& getScanContext();

// ---------------------------------------------------------------------------
// 3. scanPass
// ---------------------------------------------------------------------------

// The size of a line buffer and of the caller's work buffer.
enum { scanLineSize = 1024 };

// One call of nextDependency as its handlers see it. line is private to
// the call; pushBack and finished live only as long as the call, since a
// reference ends it.
struct scanPass {
    // line starts empty, not zeroed: a pass is made at every reference
    // found, and a line is always read into it before its bytes count.
    scanPass(FILE* in_, FILE* out_, char* work_, InternalFunctionObject& op_, int& state_)
        : in(in_), out(out_), work(work_), op(op_), state(state_) {
        line[0] = '\0';
    }

    FILE* in;
    FILE* out;  // null in a scan
    char* work; // the caller's, scanLineSize bytes
    InternalFunctionObject& op;
    int& state;
    char line[scanLineSize];
    bool pushBack = false; // the line in the buffer is to be read again
    bool finished = false; // the end of the pass
};

// ---------------------------------------------------------------------------
// 4. Text helpers
// ---------------------------------------------------------------------------

// Reads the next line of in into line (scanLineSize bytes): at most 1023
// characters, so a longer line comes in pieces, each taken as a line. The
// line is cut at its last carriage return if it has one, else at its last
// line feed. False at the end of the input.
bool readScanLine(FILE* in, char* line);

// readScanLine for the file of a pass: the same lines, read from in by
// blocks. The block buffer is kept between calls (a pass returns at every
// reference) and belongs to in until resetPassReader; scanFile and
// rewriteFile reset it at the start and end of their pass.
bool readPassLine(FILE* in, char* line);
void resetPassReader(FILE* in);
// readPassLine that passes over the lines whose first character is not one
// of firsts without copying them (a scan's fast path: the grammar would
// only pass them on). skipped counts those taken one by one; a run passed
// over by searching for a single first character is not counted.
bool readPassLineStartingWith(FILE* in, char* line, const char* firsts, int& skipped);

// The next line of a grammar: the line in the buffer again when pushBack is
// set (which it clears), else a new one from the pass's file. False at the
// end of the input.
bool nextPassLine(scanPass& pass);

// Writes line and a line feed to out; nothing when out is null.
void copyScanLine(FILE* out, const char* line);

// The position inside line where a file name value begins, or null. On a
// lower-cased copy "filename=" is looked for anywhere; its value starts
// after the keyword and leading blanks (null if it is then empty or a line
// end). Without it, a line beginning "i " (any case) gives its first double
// quote, which belongs to the value. The value runs to the end of the line.
char* findFileNameValue(char* line);

// Frees the index records of a symbol library whose pass ended before
// its patch (symbollibrary.cpp), so that they never reach another file.
void dropUnpatchedSymbolRecords();

// Cuts text into words on blank and tab (runs count as one), double quotes
// protecting blanks and removed from the words. Appends to words.
void splitQuotedWords(const char* text, std::vector<std::string>& words);

// ---------------------------------------------------------------------------
// 5. scanSpan
// ---------------------------------------------------------------------------

// One scan as the disk sees it: scanFile opens one around its pass, and the
// closures one around their whole walk (spans nest; the outermost one
// counts). A scan reads and never writes, so within a span
//   - the current directory stays where the last pass set it, and goes back
//     to where it was only when the span ends;
//   - a library search gives, for the same directory, library path and
//     name, the result of its first run;
//   - a directory asked more than once for a model index is listed once,
//     and a circuit whose index the listing lacks is not looked for again;
//   - the library reads of symbol resolution stay open (a span begins and
//     ends library reads, formats.h).
// All of it is dropped when the outermost span ends, so nothing outlives
// the scan: the next scan sees every change made to the disk meanwhile.
class scanSpan {
public:
    scanSpan();
    ~scanSpan();
    scanSpan(const scanSpan&) = delete;
    scanSpan& operator=(const scanSpan&) = delete;
};

// Whether a scan span is open.
bool scanSpanOpen();

// Sets the current directory to directory (an engine path, a trailing
// backslash allowed) for a pass. Out: saved, the directory to give back to
// leaveScanDirectory (empty within a span, where the span gives it back).
void enterScanDirectory(const pathstring& directory, std::string& saved);
void leaveScanDirectory(const std::string& saved);

// The result of a library search run before in this span, with found set
// as the search returned; false when there is none (or no span).
bool rememberedSearch(const std::string& key, pathstring& result, bool& found);
// Keeps it; does nothing outside a span.
void rememberSearch(const std::string& key, const pathstring& result, bool found);

// False when the model index named indexName (a bare name) in directory
// (with its trailing backslash) is known, within this span, not to be
// there; true when it may be, which is always so outside a span.
bool modelIndexMayExist(const pathstring& directory, const std::string& indexName);
