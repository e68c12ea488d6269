// Helpers of the format grammars that other code and the tests reach.
//
// Contents:
//   1. Circuit directives: splitDirective, writeDirective (circuit.cpp).
//   2. The model index: findUsage (modelindex.cpp).
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
