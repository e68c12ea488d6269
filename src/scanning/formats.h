// Helpers of the format grammars that other code and the tests reach.
//
// Contents:
//   1. Circuit directives: splitDirective, writeDirective (circuit.cpp).
//   2. The model index: findUsage (modelindex.cpp).
//   3. Symbol resolution: takeWord, the Cancel of a resolution
//      (resolution.cpp).
//   4. Schematics: the library line (schematic.cpp).
//   5. Library reads of a scan: beginLibraryReads, endLibraryReads
//      (resolution.cpp).
#pragma once

#include <cstdio>
#include <list>
#include <string>

class libraryUsage;
class pathstring;

// ---------------------------------------------------------------------------
// 1. Circuit directives
// ---------------------------------------------------------------------------

// Cuts text into words on blank and tab, double quotes protecting blanks
// and removed. Out: path, the first word tidied; remainder, the other words
// each with one blank in front. A text without a word gives an empty path
// and the text itself as remainder.
void splitDirective(const char* text, pathstring& path, std::string& remainder);

// Writes one directive line to out (nothing when out is null). format has
// two %s slots, the path and the remainder (".STMLIB"'s has one). An empty
// path writes remainder and a line feed. A path longer than
// 132 - keywordLength characters goes over "+" continuation lines, each
// piece in double quotes: 130 - keywordLength characters on the first,
// at most 128 on the second, the rest on the third with the remainder.
void writeDirective(FILE* out, const char* format, const char* path, int keywordLength, const char* remainder);

// ---------------------------------------------------------------------------
// 2. The model index
// ---------------------------------------------------------------------------

// The first record of list with usage's name (without regard to case) and
// the same library object, or null.
libraryUsage* findUsage(const std::list<libraryUsage*>& list, const libraryUsage* usage);

// ---------------------------------------------------------------------------
// 3. Symbol resolution
// ---------------------------------------------------------------------------

// Out: out (size bytes) receives word number index (from 0) of text, words
// being cut on blank and tab; empty when there is none. Cut to fit.
void takeWord(const char* text, int index, char* out, size_t size);

// Whether the client answered Cancel to a report of the resolution since
// the flag was last cleared (the handler that resolved then ends the file).
bool resolutionWasCancelled();
void clearResolutionCancelled();

// Forgets what the part lines of a pass kept for the lines of the same
// names after them; every pass starts with this.
void forgetRepeatedParts();
// Whether part lines keep it at all (on unless a test turns it off, to
// compare); also forgets it.
void keepRepeatedParts(bool keep);

// ---------------------------------------------------------------------------
// 4. Schematics
// ---------------------------------------------------------------------------

// A line of a schematic's @LIBRARIES section, split: the symbol library
// and the package library it names, each empty when it names none.
struct libraryLine {
    std::string symbols;
    std::string packages;
};

// Splits line as a @LIBRARIES line: "name"  [.ext1,.ext2] gives name.ext1
// and name.ext2; either place may be empty. A line with fewer than two
// words, or an empty second one, is a symbol library name as a whole.
libraryLine splitLibraryLine(const char* line);

// ---------------------------------------------------------------------------
// 5. Library reads of a scan
// ---------------------------------------------------------------------------

// Between these calls (they nest) the libraries that symbol resolution
// reads stay open and what it learns of them is kept (scanmemo.h); the
// outermost end closes and forgets all of it, and returns true. A scan
// span (lineengine.h) is such a bracket.
void beginLibraryReads();
bool endLibraryReads();
