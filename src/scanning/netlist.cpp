// The one-line references of the board side: the "*localLib" line of a
// netlist (NLF) and the "*netlistName" line of a board file (PCA, PCV).
//
// Format notes. The keyword stands at column 1, in any case; the second
// word of the line, in double quotes when it holds blanks, is a path as
// written (no search). A rewrite writes the line anew in the keyword's own
// spelling with the path in quotes; further words are dropped. Every other
// line is copied.
//
// Contents: the shared handler, and its two entries.
#include <cstring>
#include <string>
#include <vector>

#include "operations/operation.h"
#include "scanning/lineengine.h"
#include "workspace/fileitem.h"

// The handler for keyword; format writes the line back with the path.
static int oneLineReference(scanPass& pass, const char* keyword, const char* format) {
    if (_strnicmp(pass.line, keyword, strlen(keyword)) != 0) {
        copyScanLine(pass.out, pass.line);
        return 0;
    }
    std::vector<std::string> words;
    splitQuotedWords(pass.line, words);
    pathstring path(words.size() > 1 ? words[1].c_str() : ""); // tidied
    pass.op.dependencyFound(path, false, false);
    if (pass.out) fprintf(pass.out, format, path.c_str());
    return 1;
}

int DesignFileItem::localLibLine(scanPass& pass) {
    return oneLineReference(pass, "*localLib", "*localLib \"%s\"\n");
}

int DesignFileItem::netlistNameLine(scanPass& pass) {
    return oneLineReference(pass, "*netlistName", "*netlistName \"%s\"\n");
}
