// kelvault libs: the library configuration as the engine reads it.
//
// Sets the INI context (--ini FILE, else the installation's "tarnel91.ini"),
// then shows the library path, the configured part libraries with their
// kind and whether they exist, the special libraries, and the name of the
// externals subdirectory. --json gives the same as one object.
//
// Contents:
//   1. Showing paths and kinds.
//   2. The command.
#include <cstdio>
#include <string>
#include <vector>

#include "command.h"
#include "json.h"
#include "libraries/configuration.h"
#include "libraries/libraryitem.h"
#include "workspace/context.h"

// ---------------------------------------------------------------------------
// 1. Showing paths and kinds
// ---------------------------------------------------------------------------

// A path for a person: host form where the engine path maps to the host,
// else as the engine holds it (a relative path of the INI file, say).
static std::string shown(const std::string& enginePath) {
    std::string host = ToHostPath(enginePath.c_str());
    return host.empty() ? enginePath : host;
}

static const char* kindName(int kind) {
    switch (kind) {
    case LibraryKindSymbols: return "symbols";
    case LibraryKindModels: return "models";
    case LibraryKindPackages: return "packages";
    case LibraryKindFootprints: return "footprints";
    default: return "none";
    }
}

// The directories of the library path, quotes dropped.
static std::vector<std::string> libraryPath(const LibraryConfiguration& configuration) {
    std::vector<std::string> directories;
    TokenList entries(configuration.getSearchPath(), ";", '"', true);
    for (int i = 0; i < entries.count(); ++i) {
        std::string directory;
        for (char c : entries[i])
            if (c != '"') directory += c;
        directories.push_back(directory);
    }
    return directories;
}

// The INI file to hand to the engine: an engine path for a file given on the
// command line, the bare fixed name otherwise.
std::string iniFileArgument(const Args& args) {
    std::string file = args.get("ini");
    if (file.empty()) return getDefaultIniFile();
    return ToEnginePath(file.c_str());
}

// ---------------------------------------------------------------------------
// 2. The command
// ---------------------------------------------------------------------------

static void writeLibraries(JsonWriter& j, const std::list<LibraryFileItem*>& libraries) {
    j.beginArray();
    for (LibraryFileItem* item : libraries) {
        j.beginObject();
        j.field("path", shown(item->getFullPath()));
        j.field("kind", kindName(item->getLibraryKind()));
        j.field("exists", item->exists());
        j.endObject();
    }
    j.endArray();
}

static void printLibraries(const char* title, const std::list<LibraryFileItem*>& libraries) {
    printf("%s:\n", title);
    if (libraries.empty()) printf("  (none)\n");
    for (LibraryFileItem* item : libraries)
        printf("  %-9s %-7s %s\n", kindName(item->getLibraryKind()), item->exists() ? "" : "missing",
               shown(item->getFullPath()).c_str());
}

static int runLibs(const Args& args) {
    if (args.has("externals")) SetNameOfExternalsSubdirectory(args.get("externals").c_str());
    std::string ini = iniFileArgument(args);
    SetIniFileContext(ini.c_str(), nullptr);
    LibraryConfiguration* configuration = getLibraryConfiguration();
    if (!configuration) {
        fprintf(stderr, "kelvault: out of memory reading the library configuration\n");
        return ExitErrors;
    }
    std::vector<std::string> directories = libraryPath(*configuration);
    if (args.has("json")) {
        JsonWriter j(stdout);
        j.beginObject();
        j.field("ini", args.has("ini") ? shown(ini) : ini);
        j.key("libraryPath");
        j.beginArray();
        for (const std::string& d : directories) j.value(shown(d));
        j.endArray();
        j.key("partLibraries");
        writeLibraries(j, configuration->getPartLibraries());
        j.key("specialLibraries");
        writeLibraries(j, configuration->getSpecialLibraries());
        j.field("externalsSubdirectory", GetNameOfExternalsSubdirectory());
        j.endObject();
        printf("\n");
    } else {
        printf("INI file: %s\n", args.has("ini") ? shown(ini).c_str() : "tarnel91.ini (the installation's)");
        printf("library path:\n");
        if (directories.empty()) printf("  (none: no LIBPATH in [TARNEL])\n");
        for (const std::string& d : directories) printf("  %s\n", shown(d).c_str());
        printLibraries("part libraries", configuration->getPartLibraries());
        printLibraries("special libraries", configuration->getSpecialLibraries());
        printf("externals subdirectory: %s\n", GetNameOfExternalsSubdirectory());
    }
    RemoveIniFileContext();
    return ExitDone;
}

KV_COMMAND({"libs", "libs [--ini FILE] [--externals NAME] [--json]",
            "the library path and the configured libraries",
            "Reads the library configuration as the engine does: the library path from\n"
            "LIBPATH of [TARNEL] in the INI file (--ini FILE; without it the installation's\n"
            "tarnel91.ini), and the part and special libraries from [Part Libs] and\n"
            "[Special Libs] of tarnel91.ini, which is found in $KVENG_WINDIR, else in\n"
            "$XDG_CONFIG_HOME/kelvault, else in ~/.config/kelvault. A part library is\n"
            "listed only if it was found along the library path; a special library is\n"
            "listed even when missing. The kind comes from the path: .slb symbols,\n"
            ".plb packages, .lib models, .flb footprints.",
            {{"ini", "FILE", "the INI file of the installation (LIBPATH)"},
             {"externals", "NAME", "the name of the externals subdirectory"},
             {"json", nullptr, "machine-readable output"}},
            0, 0, runLibs});
