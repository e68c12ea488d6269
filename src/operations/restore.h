// IFOrestore: an archive read into a staging directory and copied out of it.
//
// Contents: the class. Construction takes the archive path in place of a
// target directory and sets the restore's begin and finish actions, with
// the archive path as the detail of the finish; the run is that of IFOcopy.
#pragma once

#include "operations/copy.h"

class IFOrestore : public IFOcopy {
public:
    // As IFOcopy with an empty target; BeginningRestore and FinishedRestore,
    // whose %9 is archivePath.
    IFOrestore(callBack* client, const char* archivePath, copyOptions* options, DesignWorkspace* workspace);
};
