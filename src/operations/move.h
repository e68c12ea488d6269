// IFOmove: a copy that deletes its local sources when all went well.
//
// Contents: the class. Construction sets the move's own begin, global
// library and finish actions; the run is that of IFOcopy.
#pragma once

#include "operations/copy.h"

class IFOmove : public IFOcopy {
public:
    // As IFOcopy, with BeginningMove, MovingGlobalLibFile and FinishedMove.
    IFOmove(callBack* client, const char* target, copyOptions* options, DesignWorkspace* workspace);
};
