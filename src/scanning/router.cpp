// Router command files (DO): file names among the words of a command
// script, with no keyword to find them by.
//
// Format notes. A line beginning with "#" is a comment. Any other line is a
// list of words; a word that holds a backslash, a slash or a colon and
// whose directory exists is taken for a file name. A line names at most
// one file. A rewrite writes the words before it each followed by one
// blank, then the file's new path, and drops the rest of the line.
//
// The walk over the words steps from where the last read began, by the
// length of the word and one, not from where the word was found: after a
// run of blanks the tail of a word is read again as a word of its own.
// Command files written by the tools have single blanks, where this does
// not arise, and rewritten files keep the walk's known output.
//
// Contents: the router command handler.
#include <cstring>
#include <string>

#include "operations/operation.h"
#include "scanning/lineengine.h"
#include "workspace/fileitem.h"

// Reads the word at position at of line into word (white space skipped
// first). False when there is none, also when at lies past the line.
static bool readWord(const char* line, size_t length, size_t at, std::string& word) {
    if (at > length) return false;
    const char* p = line + at;
    while (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r' || *p == '\v' || *p == '\f') ++p;
    if (!*p) return false;
    const size_t size = strcspn(p, " \t\n\r\v\f");
    word.assign(p, size);
    return true;
}

int DesignFileItem::routerCommandLine(scanPass& pass) {
    const char* line = pass.line;
    if (line[0] == '#') {
        copyScanLine(pass.out, line);
        return 0;
    }
    const size_t length = strlen(line);
    size_t at = 0;
    std::string word;
    if (!readWord(line, length, at, word)) {
        if (pass.out) fputc('\n', pass.out);
        return 0;
    }
    for (;;) {
        if (word.find_first_of("\\/:") != std::string::npos) {
            pathstring path(word.c_str()); // tidied
            if (path.getPath().existsDirectory()) {
                pass.op.dependencyFound(path, false, false);
                if (pass.out) {
                    path.getPath().createDirectory();
                    std::string shortName;
                    path.getSFN(shortName);
                    fprintf(pass.out, "%s\n", shortName.c_str());
                }
                return 1;
            }
        }
        if (pass.out) fprintf(pass.out, "%s ", word.c_str());
        at += word.size() + 1;
        if (!readWord(line, length, at, word)) {
            if (pass.out) fputc('\n', pass.out);
            return 0;
        }
    }
}
