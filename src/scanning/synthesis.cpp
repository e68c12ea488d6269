// Synthesis sources (DSL): the USE and INCLUDE lines that pull in other
// sources.
//
// Format notes. The keyword is compared at column 1 without regard to case
// over its own length, so any line beginning with those letters counts.
// The name stands in single quotes, ended by a single quote, a semicolon or
// the end of the line; without a quote the whole rest of the line is the
// name. USE names a module without its extension (".afb" is meant);
// INCLUDE names a file as it is. A rewrite writes the one canonical form,
// "USE 'name' ;" or "INCLUDE 'name' ;": text around the name is not kept.
//
// Contents: the synthesis source handler.
#include <cstring>
#include <string>

#include "operations/operation.h"
#include "scanning/lineengine.h"
#include "workspace/fileitem.h"

// The name of a USE or INCLUDE line from position from on.
static std::string quotedName(const char* line, size_t from) {
    const size_t length = strlen(line);
    if (from > length) from = length;
    const char* start = line + from;
    const char* quote = strchr(start, '\'');
    if (!quote) return std::string(start);
    const char* name = quote + 1;
    return std::string(name, strcspn(name, "';\r\n"));
}

int DesignFileItem::synthesisSourceLine(scanPass& pass) {
    const char* line = pass.line;
    const bool isUse = _strnicmp(line, "USE", 3) == 0;
    const bool isInclude = !isUse && _strnicmp(line, "INCLUDE", 7) == 0;
    if (!isUse && !isInclude) {
        copyScanLine(pass.out, line);
        return 0;
    }
    const std::string name = quotedName(line, isUse ? 4 : 8);
    strncpy(pass.work, name.c_str(), scanLineSize - 1);
    pass.work[scanLineSize - 1] = '\0';
    pathstring path(pass.work); // tidied
    if (isUse && path.getExt().empty()) path.changeExt("afb");
    pass.op.dependencyFound(path, false, false);
    if (isUse) {
        // Written without an extension, whatever it had.
        path.changeExt("");
        if (pass.out) fprintf(pass.out, "USE '%s' ;\n", path.c_str());
    } else if (pass.out) {
        fprintf(pass.out, "INCLUDE '%s' ;\n", path.c_str());
    }
    return 1;
}
