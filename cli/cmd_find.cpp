// kelvault find: where the engine finds a name that a design file holds.
//
// Runs the engine's search for a referenced name: the directory of the
// referring file (--from DIR) first, then the library path of the INI
// context (--ini FILE, else the installation's "tarnel91.ini"). Shows each
// path tried and the one found; a name found nowhere shows the path the
// engine would use for it. Exit status 0 if found, 1 if not.
#include <cstdio>
#include <list>
#include <string>

#include "command.h"
#include "json.h"
#include "libraries/configuration.h"
#include "paths/pathstring.h"
#include "workspace/context.h"

// In cmd_libs.cpp.
std::string iniFileArgument(const Args& args);

static std::string shownPath(const std::string& enginePath) {
    std::string host = ToHostPath(enginePath.c_str());
    return host.empty() ? enginePath : host;
}

static int runFind(const Args& args) {
    const std::string& name = args.positional[0];
    std::string from = args.has("from") ? ToEnginePath(args.get("from").c_str()) : std::string();
    std::string extension = args.get("ext");
    std::string ini = iniFileArgument(args);
    SetIniFileContext(ini.c_str(), nullptr);
    LibraryConfiguration* configuration = getLibraryConfiguration();
    const char* searchPath = configuration ? configuration->getSearchPath() : "";

    pathstring result;
    std::list<std::string> tried;
    bool found = searchPathForFile(from.empty() ? nullptr : from.c_str(), searchPath, name.c_str(),
                                   extension.empty() ? nullptr : extension.c_str(), result, &tried);
    if (args.has("json")) {
        JsonWriter j(stdout);
        j.beginObject();
        j.field("name", name);
        j.field("found", found);
        j.field("path", shownPath(result));
        j.key("tried");
        j.beginArray();
        for (const std::string& path : tried) j.value(shownPath(path));
        j.endArray();
        j.endObject();
        printf("\n");
    } else {
        for (const std::string& path : tried) printf("tried  %s\n", shownPath(path).c_str());
        if (found)
            printf("found  %s\n", shownPath(result).c_str());
        else
            printf("not found; a design refers to it as %s\n", shownPath(result).c_str());
    }
    RemoveIniFileContext();
    return found ? ExitDone : ExitErrors;
}

KV_COMMAND({"find", "find NAME [--from DIR] [--ext EXT] [--ini FILE] [--json]",
            "where a name met in a design file is found",
            "Searches for NAME as the engine does for a name in a design text: '/' counts\n"
            "as '\\', three or more leading dots lead up one level less than their count\n"
            "('...\\x' is '..\\..\\x'), and EXT is added when NAME has no extension. A\n"
            "name with a drive (C:\\...) or a leading '\\\\' is only checked. Any other\n"
            "name is looked for in DIR, the directory of the file that names it, and then\n"
            "along the library path (LIBPATH of the INI file; see 'kelvault help libs').\n"
            "Each path tried is shown. Exit status 1 when nothing was found.",
            {{"from", "DIR", "the directory of the referring file, searched first"},
             {"ext", "EXT", "default extension, with or without its dot"},
             {"ini", "FILE", "the INI file of the installation (LIBPATH)"},
             {"json", nullptr, "machine-readable output"}},
            1, 1, runFind});
