// The model index (MIF): which models of which model libraries the last
// simulation of a circuit or schematic used. It is not scanned as a file
// of its own but read at the end of its circuit (or of a schematic's
// @ANALYSIS section).
//
// Format notes. The file lies beside the design, with its stem and the
// extension MIF. Each line holds three keys in any order, each found by a
// plain search anywhere in the line:
//   lib=PATH       a model library, up to a comma or the end of the line
//   offset=N       where the model's text begins in the library (decimal)
//   size=N         its length; the entry stores N - 1
// for example  lib=models\opamp.lib,offset=1200,size=340
// A line that lacks a key or a number marks the file as damaged: reading
// stops and the simulation results count as stale.
//
// Contents:
//   1. findUsage, makeModelUsage.
//   2. readModelIndex.
#include <cstring>
#include <string>

#include "libraries/configuration.h"
#include "libraries/libraryitem.h"
#include "libraries/libraryusage.h"
#include "operations/operation.h"
#include "scanning/formats.h"
#include "scanning/lineengine.h"
#include "workspace/fileitem.h"
#include "workspace/workspace.h"

// ---------------------------------------------------------------------------
// 1. findUsage, makeModelUsage
// ---------------------------------------------------------------------------

libraryUsage* findUsage(const std::list<libraryUsage*>& list, const libraryUsage* usage) {
    if (!usage) return nullptr;
    for (libraryUsage* each : list)
        if (each->library == usage->library && _stricmp(each->name.c_str(), usage->name.c_str()) == 0) return each;
    return nullptr;
}

libraryUsage* DesignFileItem::makeModelUsage(pathstring& libraryPath, int offset, int size) {
    DesignWorkspace* ws = getDesignOwner();
    if (!ws) return nullptr;
    if (libraryPath.getPath().empty()) libraryPath.assignRelativeTo(ws->getDirectoryString());
    LibraryFileItem* library = dynamic_cast<LibraryFileItem*>(ws->addLibraryItem(libraryPath.c_str(), nullptr));
    if (!library) return nullptr;
    libraryIndexEntry* entry = new libraryIndexEntry;
    library->setLibraryKind(LibraryKindModels);
    library->determineType();
    entry->offset = offset;
    entry->size = size;
    library->addIndexEntry(entry);
    entry->owner = library;
    // A model has no name in the index: library and place stand for one.
    const std::string name = std::string(library->getFullPath()) + "_" + std::to_string(offset);
    return new libraryUsage(library, entry, name.c_str());
}

// ---------------------------------------------------------------------------
// 2. readModelIndex
// ---------------------------------------------------------------------------

// Reads "key" followed by a decimal number anywhere in line. False when
// the key or the number is missing.
static bool readNumberKey(const char* line, const char* key, int& value) {
    const char* at = strstr(line, key);
    if (!at) return false;
    return sscanf(at + strlen(key), "%d", &value) == 1;
}

void DesignFileItem::readModelIndex(InternalFunctionObject& op) {
    pathstring indexPath = fullPath;
    indexPath.changeExt("MIF");
    // Most designs have no index; a scan of many lists their directory once.
    if (!modelIndexMayExist(directoryPath, std::string(indexPath.getBase().c_str()))) return;
    FILE* in = kvFopen(indexPath.c_str(), "rt");
    if (!in) return;
    std::string saved;
    enterScanDirectory(directoryPath, saved);

    DesignWorkspace* ws = getDesignOwner();
    char line[scanLineSize];
    std::string libraryName;
    bool damaged = false;
    bool cancelled = false;
    while (!cancelled && readScanLine(in, line)) {
        int offset = 0, size = 0;
        const char* lib = strstr(line, "lib=");
        if (lib) libraryName.assign(lib + 4, strcspn(lib + 4, ","));
        if (!lib || !readNumberKey(line, "offset=", offset) || !readNumberKey(line, "size=", size)) {
            damaged = true;
            break;
        }
        pathstring path(libraryName.c_str()); // tidied
        // Relative to the design, which is also the current directory.
        path.assignRelativeTo(directoryPath);
        if (!path.exists()) {
            cancelled = op.reportProblem(KVE_callBackAction::SimulationMayBeStale, libraryName.c_str(), nullptr);
            continue;
        }
        // A library that the schematic of this design already names is
        // accounted for by the schematic.
        pathstring schematicPath = fullPath;
        schematicPath.changeExt("SCH");
        DesignFileItem* schematic = ws ? dynamic_cast<DesignFileItem*>(ws->findItem(schematicPath.c_str())) : nullptr;
        if (schematic) {
            std::string longName;
            path.getLFN(longName);
            const pathstring longPath{longName};
            bool named = false;
            for (fileItem* used : schematic->usedLibraries)
                if (pathstring(std::string(used->getFullPath())).compareEqualQuickly(longPath)) named = true;
            if (named) continue;
        }
        if (libraryUsage* usage = makeModelUsage(path, offset, size - 1)) {
            if (findUsage(usedModels, usage))
                delete usage;
            else
                usedModels.push_back(usage);
        }
        op.dependencyFound(path, false, true);
    }
    fclose(in);
    if (damaged) op.reportProblem(KVE_callBackAction::SimulationMayBeStale, libraryName.c_str(), nullptr);
    leaveScanDirectory(saved);
}
