// IFOrestore: construction.
#include "operations/restore.h"

IFOrestore::IFOrestore(callBack* client, const char* archivePath, copyOptions* options, DesignWorkspace* workspace)
    : IFOcopy(client, "", options, workspace) {
    beginAction = KVE_callBackAction::BeginningRestore;
    finishAction = KVE_callBackAction::FinishedRestore;
    finishDetail = archivePath ? archivePath : "";
}
