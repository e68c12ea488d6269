// IFOmove: construction.
#include "operations/move.h"

IFOmove::IFOmove(callBack* client, const char* target, copyOptions* options, DesignWorkspace* workspace)
    : IFOcopy(client, target, options, workspace) {
    beginAction = KVE_callBackAction::BeginningMove;
    globalLibAction = KVE_callBackAction::MovingGlobalLibFile;
    finishAction = KVE_callBackAction::FinishedMove;
}
