// The whole-design operations that a workspace starts: copy, move, archive
// and restore of the selection.
//
// The operations are built on top of the workspace; until they are, a
// start does nothing and tells the client nothing. The operation code
// replaces the bodies in this file.
#include "workspace/workspace.h"

void DesignWorkspace::copyDesign(callBack*, const char*, copyOptions*) {}
void DesignWorkspace::moveDesign(callBack*, const char*, copyOptions*) {}
void DesignWorkspace::archiveDesign(callBack*, const char*, copyOptions*) {}
void DesignWorkspace::restoreDesign(callBack*, const char*, copyOptions*) {}
