// The whole-design operations that a workspace starts: copy, move, archive
// and restore of the selection.
//
// Each start makes the workspace directory the process's current directory
// (relative paths met in design files resolve through it, and it stays so
// after the call), builds its operation object on the stack, runs it and
// destroys it. All news goes to the client through its callback; the
// operation's destructor discards the scan caches, sweeps the items no
// Local item reaches any more, and sends the finish action.
#include "operations/archive.h"
#include "operations/copy.h"
#include "operations/move.h"
#include "operations/restore.h"
#include "workspace/workspace.h"

void DesignWorkspace::copyDesign(callBack* client, const char* target, copyOptions* options) {
    SetCurrentDirectoryA(directory.c_str());
    IFOcopy operation(client, target, options, this);
    operation.execute();
}

void DesignWorkspace::moveDesign(callBack* client, const char* target, copyOptions* options) {
    SetCurrentDirectoryA(directory.c_str());
    IFOmove operation(client, target, options, this);
    operation.execute();
}

void DesignWorkspace::archiveDesign(callBack* client, const char* target, copyOptions* options) {
    SetCurrentDirectoryA(directory.c_str());
    IFOarchive operation(client, target, options, this);
    operation.execute();
}

// A restore brings back the local design with its checkpoints and secondary
// files, whatever the client asked: its options are overwritten.
void DesignWorkspace::restoreDesign(callBack* client, const char* target, copyOptions* options) {
    SetCurrentDirectoryA(directory.c_str());
    if (options) {
        options->localize = KVE_localizeEnum::IncludeLocal;
        options->includeCheckPoints = true;
        options->includeSecondaryFiles = true;
    }
    IFOrestore operation(client, target, options, this);
    operation.execute();
}
