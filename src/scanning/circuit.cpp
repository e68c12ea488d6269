// Circuit files (CIR) and model libraries (LIB): the directives that name
// files, and how a rewrite writes them.
//
// Format notes. A directive is a line that begins, at column 1, with a dot
// and a keyword, compared without regard to case over the keyword's length
// only (so ".INCLUDEX" is ".INCLUDE"). The path is the first word after the
// keyword, in double quotes when it holds blanks; the words behind it are
// kept as the remainder. Every other line (comments, elements, "+"
// continuation lines) names nothing and is copied. A path too long for one
// line is written over "+" lines, each piece in quotes; the reader follows
// only the first line, as the simulator's own reader does not need more.
//
//   .INCLUDE "path" rest    included text, as written
//   .INC "path" rest        the same
//   .LIB "path" rest        a model library, searched beside the file and
//                           along the library path; no path, or NOM.LIB,
//                           is the default library
//   .LOADBIAS "path" rest   bias point files
//   .SAVEBIAS "path" rest
//   .STMLIB "path"          a stimulus library, ".stl" when it has no
//                           extension
//
// Contents:
//   1. The directive table.
//   2. splitDirective, writeDirective.
//   3. The circuit directive handler.
#include <cstring>
#include <list>
#include <string>

#include "libraries/configuration.h"
#include "operations/operation.h"
#include "scanning/formats.h"
#include "scanning/lineengine.h"
#include "workspace/context.h"
#include "workspace/fileitem.h"

// ---------------------------------------------------------------------------
// 1. The directive table
// ---------------------------------------------------------------------------

// In this order, so that ".INCLUDE" wins over ".INC". skip: characters
// before the path; keywordLength: what writeDirective reserves for the
// keyword on a split line. The formats are given as they are written
// after their one expansion (%% became %).
struct circuitDirective {
    const char* keyword;
    int skip;
    int keywordLength;
    const char* format;
};
static const circuitDirective circuitDirectives[] = {
    {".INCLUDE", 9, 9, ".INCLUDE \"%s\"%s\n"},
    {".INC", 5, 5, ".INC \"%s\"%s\n"},
    {".LIB", 5, 5, ".LIB \"%s\"%s\n"},
    {".LOADBIAS", 9, 10, ".LOADBIAS \"%s\"%s\n"},
    {".SAVEBIAS", 9, 10, ".SAVEBIAS \"%s\"%s\n"},
    {".STMLIB", 8, 8, ".STMLIB \"%s\"\n"},
};
static const char defaultLibraryFormat[] = ".LIB %s%s\n";
static const char modelLibraryFormat[] = ".LIB \"%s\"\n";
static const char defaultModelLibrary[] = "NOM.LIB";

// ---------------------------------------------------------------------------
// 2. splitDirective, writeDirective
// ---------------------------------------------------------------------------

void splitDirective(const char* text, pathstring& path, std::string& remainder) {
    std::vector<std::string> words;
    splitQuotedWords(text, words);
    if (words.empty()) {
        path.clear();
        remainder = text;
        return;
    }
    path = words[0]; // tidied on assignment
    remainder.clear();
    for (size_t i = 1; i < words.size(); ++i) {
        remainder += ' ';
        remainder += words[i];
    }
}

// Writes format with its first slot filled by path and, when it has a
// second, by remainder.
static void writeFormat(FILE* out, const char* format, const std::string& path, const char* remainder) {
    // Every format of the table has its path slot first; ".STMLIB"'s has no
    // second one, and fprintf ignores the surplus argument.
    fprintf(out, format, path.c_str(), remainder);
}

void writeDirective(FILE* out, const char* format, const char* path, int keywordLength, const char* remainder) {
    if (!out) return;
    if (!remainder) remainder = "";
    if (!path || !*path) {
        fprintf(out, "%s\n", remainder);
        return;
    }
    const std::string whole(path);
    if (whole.size() + keywordLength <= 132) {
        writeFormat(out, format, whole, remainder);
        return;
    }
    const size_t first = static_cast<size_t>(130 - keywordLength);
    writeFormat(out, format, whole.substr(0, first), "");
    const std::string rest = whole.substr(first);
    fprintf(out, "+ \"%s\"", rest.substr(0, 128).c_str());
    if (rest.size() > 128)
        fprintf(out, "\n+ \"%s\" %s\n", rest.substr(128).c_str(), remainder);
    else
        fprintf(out, " %s\n", remainder);
}

// ---------------------------------------------------------------------------
// 3. The circuit directive handler
// ---------------------------------------------------------------------------

int DesignFileItem::circuitDirectiveLine(scanPass& pass) {
    const char* line = pass.line;
    const circuitDirective* directive = nullptr;
    if (line[0] == '.') {
        for (const circuitDirective& each : circuitDirectives)
            if (_strnicmp(line, each.keyword, strlen(each.keyword)) == 0) {
                directive = &each;
                break;
            }
    }
    if (!directive) {
        copyScanLine(pass.out, line);
        return 0;
    }

    pathstring path;
    std::string remainder;
    // The skip may pass the end of a line that is just the keyword.
    const size_t length = strlen(line);
    splitDirective(line + std::min(length, static_cast<size_t>(directive->skip)), path, remainder);

    const char* format = directive->format;
    const bool isLib = directive->format == circuitDirectives[2].format;
    bool defaultLibrary = false;
    if (isLib) {
        if (path.empty()) {
            format = defaultLibraryFormat;
            defaultLibrary = true;
        } else if (path.compareEqualQuickly(pathstring(defaultModelLibrary))) {
            defaultLibrary = true;
        }
    } else if (directive == &circuitDirectives[5]) {
        if (path.getExt().empty()) path.changeExt(".stl");
    }

    if (isLib && !defaultLibrary) {
        const LibraryConfiguration* configuration = getLibraryConfiguration();
        const char* searchPath = configuration ? configuration->getSearchPath() : "";
        // A tree of circuits names the same few libraries again and again:
        // within one scan each is searched for once.
        std::string key = std::string(directoryPath.c_str()) + '\n' + searchPath + '\n' + path.c_str();
        pathstring result;
        bool found = false;
        if (!rememberedSearch(key, result, found)) {
            found = searchPathForFile(directoryPath.c_str(), searchPath, path.c_str(), "", result);
            rememberSearch(key, result, found);
        }
        path = result;
    }
    path.tidyUp(false);
    pass.op.dependencyFound(path, false, false);
    strncpy(pass.work, path.c_str(), scanLineSize - 1);
    pass.work[scanLineSize - 1] = '\0';

    if (pass.out) {
        std::list<std::string>* modelLibraries = defaultLibrary ? pass.op.getModelLibraryPaths() : nullptr;
        if (modelLibraries) {
            for (const std::string& each : *modelLibraries)
                writeDirective(pass.out, modelLibraryFormat, each.c_str(), 5, "");
            delete modelLibraries;
        } else {
            writeDirective(pass.out, format, path.c_str(), directive->keywordLength, remainder.c_str());
        }
    }
    return 1;
}
