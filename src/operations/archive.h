// IFOarchive: a copy into a staging directory, written as one archive file.
//
// Contents: the class. Construction takes the archive path in place of a
// target directory and sets the archive's begin and finish actions, with
// the archive path as the detail of the finish; the run is that of IFOcopy.
#pragma once

#include "operations/copy.h"

class IFOarchive : public IFOcopy {
public:
    // As IFOcopy with an empty target; BeginningArchive and FinishedArchive,
    // whose %9 is archivePath.
    IFOarchive(callBack* client, const char* archivePath, copyOptions* options, DesignWorkspace* workspace);
};
